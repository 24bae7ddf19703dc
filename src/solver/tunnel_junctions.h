// Tunnel junctions: electrons on one side of a path from band to band and holes on the other one.
//
// The continuity equation of one carrier cannot tell whether the current goes on in the other one behind such a path.
// Where the path conducts well a difference of currents moves the levels by less than any termination: what the
// iteration is judged by here is the current itself.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Is the current the same on both sides of every path from band to band? Layers, cut where paths pass, are compared by
/// their median currents: the rounding of single intervals cancels in these, and what is left of it is measured by the
/// differences of neighbours.
/// @pre work.currents and work.tunnel.band_to_band are those of the state
[[nodiscard]] bool current_passes_junctions(Workspace& work, const CalculationVariables& cv);

}  // namespace kovin
