// From SI to the user's units and back, and the copying of cells.
#pragma once

#include "device/cell.h"

namespace kovin {

/// The same cell in the user's units. sigma_n_opt and sigma_p_opt of each level exchange places on the way, and back
/// on the way back.
[[nodiscard]] UserCell parameterset1_to_2(const SiCell& si);

/// The same cell in SI. Layers of uniform composition get equal values at both ends of every quantity graded on y.
[[nodiscard]] SiCell parameterset2_to_1(const UserCell& user);

/// Any layer with a metastable pair present?
[[nodiscard]] bool CheckMETAMode(const CellParameters& cell);

}  // namespace kovin
