// The mesh sees what graded quantities do between the ends of their layer (device/profile_points).
#pragma once

#include "base/report.h"
#include "device/calculation_set.h"
#include "device/mesh.h"

#include <cstddef>
#include <vector>

namespace kovin {

/// Steps of the graded quantities of layer j between two places [x0] from its left end: points that a mesh should have
/// there. 0 where nothing is graded.
[[nodiscard]] double profile_steps(const CalculationParameters& set3, std::size_t j, double from, double to);

/// Cuts the intervals of a layer that hold more than one such step, evenly by steps; all others stay as they are.
/// @param X     points of layer j [x0]
/// @param room  points that may come in; with less than are wanted the cuts are thinned
void cut_at_profiles(const CalculationParameters& set3, std::size_t j, int room, std::vector<double>& X);

/// Tells, once for each layer, which graded quantity changes faster than the mesh can follow.
void tell_unresolved_profiles(Report& report, const CalculationParameters& set3, const Mesh& mesh);

}  // namespace kovin
