// The boxes of the discrete equations, and integrals over them.
//
// The box of an inner point reaches half an interval to both sides. At contacts and interfaces the half interval inside
// the layer is the box of the boundary row; where it counts (interfacial_half_cells) its rate is that of the boundary
// point and of the inner neighbour, weighted, which makes it exact for a linear one.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

#include <span>

namespace kovin {

/// Share of the rate of a boundary half cell that the boundary point and its inner neighbour carry.
inline constexpr double own_half_cell = 0.375, neighbour_half_cell = 0.125;

/// Integral of a normalised rate over the device [mA/cm2], in the boxes of the equations, weighted as the residuals
/// weight them. With plain boxes a rate that drops within the first interval (a fast contact) would miss the current
/// by some 1e-5.
[[nodiscard]] double integrated_current(const CalculationParameters& set3, const Mesh& mesh,
                                        std::span<const double> rate);

}  // namespace kovin
