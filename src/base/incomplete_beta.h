// The regularised incomplete beta function.
#pragma once

namespace kovin {

/// ln Gamma(z) for z > 0, to some 1e-14. std::lgamma writes to a variable that all threads share.
///
/// Lanczos' series with g = 7 and nine terms.
/// Source: Lanczos, SIAM J. Numer. Anal. B 1 (1964) 86.
[[nodiscard]] double gammaln(double z);

/// I_x(a, b) = integral of t^(a-1) (1-t)^(b-1) from 0 to x over that from 0 to 1.
/// @param a,b  0.001 to 1000
/// @return 0 for x <= 0, rising to 1 for x >= 1
/// Source: Abramowitz, Stegun, Handbook of Mathematical Functions, 26.5.8 (continued fraction).
[[nodiscard]] double IncompleteBeta(double a, double b, double x);

}  // namespace kovin
