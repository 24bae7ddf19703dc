// Derivative of a measured curve by polynomials fitted to a few neighbouring points (Savitzky and Golay, Anal. Chem. 36
// (1964) 1627, for abscissae at any distances).
#pragma once

#include <span>

namespace kovin {

/// Derivative at `at` of the polynomial that fits the points with least squares.
/// @param degree  is cut to one less than there are different abscissae
[[nodiscard]] double slope_of_fit(std::span<const double> x, std::span<const double> y, int degree, double at);

/// dy/dx at each point: a fit of degreeMiddle to the `points` points around it or, within points/2 of an end, of
/// degreeEnds to the outermost `points` ones.
/// @param slope  as many values as x
/// @return 0, or -1 unless 2 <= points < x.size(): `slope` is left as it was
int afgeleide(std::span<const double> x, std::span<const double> y, int points, int degreeMiddle, int degreeEnds,
              std::span<double> slope);

}  // namespace kovin
