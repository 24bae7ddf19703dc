// Transmission of a barrier that is linear between mesh points, in the approximation of Wentzel, Kramers and Brillouin:
//
//     transmission = exp(-T),   T = (4 pi/h) integral of sqrt(2 m (E(x) - E)) dx   over the part with E(x) > E
//
// The integral over one step is exact. Source: Landau, Lifshitz, Quantum Mechanics, section 50.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kovin {

/// The mass of a path from those of its place (contact, interface) and of the layer.
/// @param choice  1 the larger, 2 their mean, 3 their geometric mean, 4 m1 m2/(m1 + m2), else the smaller
[[nodiscard]] double ChooseTunnelMass(double m1, double m2, int choice);

/// 3/2 of the mean of sqrt(E) over a step on which E runs linearly from a to b, where it is positive:
///
///     (a^1.5 - b^1.5)/(a - b) = (a + sqrt(ab) + b)/(sqrt(a) + sqrt(b))
///
/// without cancellation for a flat step; from a > 0 to b < 0 the share a/(a - b) of the step counts.
///
/// @param ra,rb  roots of a and b where these are positive
[[nodiscard]] inline double wkb_step(double a, double b, double ra, double rb)
{
    if (a > 0.0 && b > 0.0) return (a + ra * rb + b) / (ra + rb);
    if (a > 0.0) return a / (a - b) * ra;
    if (b > 0.0) return b / (b - a) * rb;
    return 0.0;
}
[[nodiscard]] inline double wkb_step(double a, double b)
{
    return wkb_step(a, b, std::sqrt(std::max(a, 0.0)), std::sqrt(std::max(b, 0.0)));
}

/// Sum of h wkb_step over the steps between the points from and to, from <= to.
/// @param E      barrier at the points [kT]
/// @param h      h[i] from point i to i + 1 [x0]; a step of no length adds nothing
/// @param level  energy of the carrier [kT]
[[nodiscard]] double wkb_integral(const double* E, const double* h, std::size_t from, std::size_t to, double level);

/// The two energies of Gauss in a slice of width 1, from its middle. Supply and transmission fall exponentially: over
/// 1 kT their middle is 4 % below the mean, the two are 2e-4.
inline constexpr double gauss_two = 0.28867513459481287;

/// T of a barrier is this times sqrt(m) times wkb_integral, m in electron masses.
/// @param kT  [eV]
/// @param x0  [m]
[[nodiscard]] double wkb_unit(double kT, double x0);

}  // namespace kovin
