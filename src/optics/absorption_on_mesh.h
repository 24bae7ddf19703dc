// Absorption at the mesh points for all wavelengths of the spectrum.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// Does the absorption of a layer follow its composition, or is it that of one pure material throughout?
[[nodiscard]] bool absorption_follows_composition(const LayerParameters& layer);
/// Is that material B?
[[nodiscard]] bool absorption_of_pure_B(const LayerParameters& layer);

/// Fills gp.absorption for the compositions on the mesh; each distinct composition of a layer is interpolated once.
/// Where a layer's composition varies its absorption follows (alpha_interpolation), unless its absorption grading says
/// that it is uniform.
/// @param set3  its layers give the absorption data; @param mesh  with its compositions
/// @return false if an absorption file cannot be used (reported)
[[nodiscard]] bool bepaal_alfa(Surroundings& surroundings, const CalculationParameters& set3, const Mesh& mesh,
                               GenerationParameters& gp);

}  // namespace kovin
