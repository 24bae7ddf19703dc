// G at the mesh points from the pairs that light generates in their boxes, such that the discrete equations find in
// each layer as many pairs as there are: integrated_current of G is their number to rounding.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

#include <span>
#include <vector>

namespace kovin {

/// G [D0 N0/x0^2] of the pairs in the boxes.
///
///     G[i] = pairs[i]/width[i],    G[k] = (pairs[k]/h - G[m]/8)/(3/8)
///
/// at an inner point i, and at a boundary point k whose half cell h/2 shares its rate with the inner neighbour m (see
/// device/boxes.h). Where the half cell has less than the share of m (light that hardly comes there, or no half cells
/// in the settings), its pairs are given to m, whose G is taken over its whole weight, and G[k] is 0: nothing is lost
/// and nothing negative.
/// @pre every layer has at least 3 points
/// @param pairs  generated in the box of a mesh point [1/(m2 s)]
void generation_of_boxes(const CalculationParameters& set3, const Mesh& mesh, std::span<const double> pairs,
                         std::vector<double>& G);

/// Pairs [1/(m2 s)] that a given profile generates in the boxes: the integral of the straight lines between its rows.
void pairs_of_profile(const GivenGeneration& given, const Mesh& mesh, std::vector<double>& pairs);

}  // namespace kovin
