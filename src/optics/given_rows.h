// A given G(x) and the mesh: the rows that matter most, for a mesh that has no room for all, and what the mesh makes of
// them.
#pragma once

#include "base/report.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "device/work_point.h"
#include "optics/generation_parameters.h"

#include <cstddef>
#include <vector>

namespace kovin {

/// Positions of the rows of a profile, all of them or those that change its integral most: one after the other the row
/// goes whose neighbours, joined by a straight line, take or give the least area. Both ends stay, and the edges of a
/// rectangle.
/// @param most  rows that are kept, 4 at least
/// Source: Visvalingam, Whyatt, Cartographic J. 30 (1993) 46.
[[nodiscard]] std::vector<double> rows_that_matter(const GivenGeneration& given, std::size_t most);

/// How many rows of a given G(x) a mesh takes: all that leave room for a hundred points a layer, else half of what
/// these leave.
[[nodiscard]] std::size_t rows_in_mesh(std::size_t rows, int layers);

/// Tells a generation on the mesh that differs by more than 1 % from that of the given profile inside the cell, and a
/// file of which more than 1 % lies outside the cell.
void tell_lost_generation(Report& report, const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                          const GenerationParameters& gp);

}  // namespace kovin
