// Exponential and logarithm for loops over the mesh: inline, without branches, so that the compiler vectorises them.
//
// To be included by the kernel's builds only: everything has internal linkage, since a build with wider instructions
// must not lend its copy to the others.
#pragma once

namespace kovin {
namespace {

/// The polynomial in x with these coefficients, the highest power first, by Horner's rule.
template <class... Coefficients>
[[gnu::always_inline]] inline double horner(double x, double highest, Coefficients... rest)
{
    double sum = highest;
    ((sum = sum * x + rest), ...);
    return sum;
}

/// exp(x) for |x| <= 708, beyond as at the bound. Range reduction by multiples of ln 2 and a polynomial of degree 13 on
/// [-ln 2/2, ln 2/2]; error about 1 unit in the last place.
[[gnu::always_inline]] inline double exp_inline(double x)
{
    x = x > 708.0 ? 708.0 : x;
    x = x < -708.0 ? -708.0 : x;
    constexpr double shifter = 0x1.8p52;  // adding it leaves the nearest integer in the last bits
    const double t = x * 1.4426950408889634 + shifter;
    const double k = t - shifter;
    const double r = (x - k * 0x1.62e42fee00000p-1) - k * 0x1.a39ef35793c76p-33;
    const double q =
        horner(r, 1.0 / 6227020800.0, 1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0, 1.0 / 362880.0,
               1.0 / 40320.0, 1.0 / 5040.0, 1.0 / 720.0, 1.0 / 120.0, 1.0 / 24.0, 1.0 / 6.0, 0.5, 1.0, 1.0);
    const long long bits = __builtin_bit_cast(long long, t);
    const auto power = static_cast<long long>((static_cast<unsigned long long>(bits) << 52) + 0x3ff0000000000000ULL);
    return q * __builtin_bit_cast(double, power);
}

/// exp(x) - 1 for |x| < 0.4 by its series; the term left out is below x times 3e-18.
[[gnu::always_inline]] inline double expm1_series(double x)
{
    const double q =
        horner(x, 1.0 / 87178291200.0, 1.0 / 6227020800.0, 1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0,
               1.0 / 362880.0, 1.0 / 40320.0, 1.0 / 5040.0, 1.0 / 720.0, 1.0 / 120.0, 1.0 / 24.0, 1.0 / 6.0, 0.5, 1.0);
    return q * x;
}

/// exp(x) - 1, x from -708 to 708.
[[gnu::always_inline]] inline double expm1_inline(double x)
{
    const double far = exp_inline(x) - 1.0, near = expm1_series(x);
    return __builtin_fabs(x) < 0.4 ? near : far;
}

/// ln(1 + a), a > -1. With 1 + a = 2^k m, m in [sqrt(1/2), sqrt(2)): k ln 2 + 2 artanh((m - 1)/(m + 1)).
[[gnu::always_inline]] inline double log1p_inline(double a)
{
    const double u = 1.0 + a;
    // The bits of u less those of sqrt(1/2): the exponent field is then k + 1023 - 1022.
    const auto bits = __builtin_bit_cast(unsigned long long, u);
    const unsigned long long shifted = bits - 0x3fe6a09e667f3bcdULL + 0x3ff0000000000000ULL;
    const unsigned long long field = shifted >> 52;  // k + 1023
    const double m = __builtin_bit_cast(double, bits - ((field - 1023ULL) << 52));
    // An integer below 2^52 to double by the bits of 2^52.
    const double k = __builtin_bit_cast(double, field | 0x4330000000000000ULL) - (0x1p52 + 1023.0);
    const double f = k == 0.0 ? a : m - 1.0;
    const double s = f / (2.0 + f), z = s * s;
    const double q = horner(z, 1.0 / 23.0, 1.0 / 21.0, 1.0 / 19.0, 1.0 / 17.0, 1.0 / 15.0, 1.0 / 13.0, 1.0 / 11.0,
                            1.0 / 9.0, 1.0 / 7.0, 1.0 / 5.0, 1.0 / 3.0, 1.0);
    return k * 0.6931471805599453 + 2.0 * s * q;
}

}  // namespace
}  // namespace kovin
