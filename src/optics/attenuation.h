// What is left of light behind an optical depth, and what stays in it: two sides of one exponential, both to full
// relative accuracy, in a form that loops over wavelengths vectorise.
#pragma once

#include <bit>
#include <cstdint>

namespace kovin {

struct Attenuation {
    double passed;    ///< exp(-t)
    double absorbed;  ///< 1 - exp(-t), exact also where t is small
};

/// Depths above 708 are taken as 708, where 3e-308 is left. @param t  optical depth, not negative
///
/// With t = r - k ln 2, |r| <= ln 2/2, and s = exp(-r) - 1 by its series to r^13 (the next term is below r times
/// 2e-17): exp(-t) = 2^k + 2^k s and 1 - exp(-t) = (1 - 2^k) - 2^k s.
inline Attenuation attenuation(double t)
{
    const double x = t < 708.0 ? -t : -708.0;
    constexpr double shifter = 0x1.8p52;  // adding it leaves the nearest integer in the last bits
    const double shifted = x * 1.4426950408889634 + shifter;
    const double k = shifted - shifter;
    const double r = (x - k * 0x1.62e42fee00000p-1) - k * 0x1.a39ef35793c76p-33;  // ln 2 in two parts
    // Even and odd powers apart: two short chains of dependent operations instead of a long one.
    const double z = r * r;
    double even = 1.0 / 479001600.0, odd = 1.0 / 6227020800.0;
    even = even * z + 1.0 / 3628800.0;
    odd = odd * z + 1.0 / 39916800.0;
    even = even * z + 1.0 / 40320.0;
    odd = odd * z + 1.0 / 362880.0;
    even = even * z + 1.0 / 720.0;
    odd = odd * z + 1.0 / 5040.0;
    even = even * z + 1.0 / 24.0;
    odd = odd * z + 1.0 / 120.0;
    even = even * z + 0.5;
    odd = odd * z + 1.0 / 6.0;
    const double s = r + z * (even + r * odd);
    const std::uint64_t exponent = (std::bit_cast<std::uint64_t>(shifted) << 52) + 0x3ff0000000000000ULL;
    const double power = std::bit_cast<double>(exponent);  // 2^k
    return {power + power * s, (1.0 - power) - power * s};
}

inline constexpr double thin = 1.0 / 16.0;

/// The same for t <= thin, by the series to t^9 (the next term is below t times 3e-18).
inline Attenuation attenuation_of_thin(double t)
{
    const double z = t * t;
    double even = 1.0 / 40320.0, odd = 1.0 / 362880.0;
    even = even * z + 1.0 / 720.0;
    odd = odd * z + 1.0 / 5040.0;
    even = even * z + 1.0 / 24.0;
    odd = odd * z + 1.0 / 120.0;
    even = even * z + 0.5;
    odd = odd * z + 1.0 / 6.0;
    const double absorbed = t - z * (even - t * odd);
    return {1.0 - absorbed, absorbed};
}

}  // namespace kovin
