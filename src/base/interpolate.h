// Interpolation in tables with rising abscissae.
#pragma once

#include <span>

namespace kovin {

enum class Interpolated : int { done = 1, too_few_points = -1, extrapolated = -2, not_rising = -3 };

/// Linear, continued beyond the ends by the two outermost points; one point gives its y.
Interpolated LinearInterpolation(std::span<const double> x, std::span<const double> y, double at, double& result);

/// Linear in ln y; beyond the ends the logarithmic line goes on unless it would grow, then the outer y stands; a y
/// that is not positive gives 0 there, and inside counts as 1e-10 of a positive neighbour.
Interpolated LogarithmicInterpolation(std::span<const double> x, std::span<const double> y, double at, double& result);

enum class TableLaw { linear, logarithmic };
/// The values of a table at many places by one of the two laws above; each interval is looked for from the one before.
/// No row gives 0. @pre x rises
void interpolate_table(std::span<const double> x, std::span<const double> y, TableLaw law, std::span<const double> at,
                       std::span<double> result);

/// As LogarithmicInterpolation with the rules of absorption tables: x may repeat, and two values that are not positive
/// are joined linearly.
[[nodiscard]] double LogarithmicInterpolationolateFromTable(double at, std::span<const double> x,
                                                            std::span<const double> y);

/// Abscissae strictly rising?
[[nodiscard]] bool rises(std::span<const double> x);

}  // namespace kovin
