#include "base/incomplete_beta.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

/// The continued fraction of I_x(a, b) by Lentz's method; converges fast for x < (a + 1)/(a + b + 2).
double betacf(double a, double b, double x)
{
    constexpr double tiny = 1e-300;
    constexpr int most_terms = 1000;  // some 3 sqrt(max(a, b)) are needed
    const auto not_zero = [](double value) { return std::fabs(value) < tiny ? tiny : value; };
    double c = 1.0;
    double d = 1.0 / not_zero(1.0 - (a + b) * x / (a + 1.0));
    double fraction = d;
    for (int m = 1; m <= most_terms; ++m) {
        const double even = m * (b - m) * x / ((a + 2 * m - 1.0) * (a + 2 * m));
        d = 1.0 / not_zero(1.0 + even * d);
        c = not_zero(1.0 + even / c);
        fraction *= d * c;
        const double odd = -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1.0));
        d = 1.0 / not_zero(1.0 + odd * d);
        c = not_zero(1.0 + odd / c);
        fraction *= d * c;
        if (std::fabs(d * c - 1.0) < 1e-15) break;
    }
    return fraction;
}

}  // namespace

double gammaln(double z)
{
    constexpr double g = 7.0;
    constexpr double series[] = {0.99999999999980993,  676.5203681218851,      -1259.1392167224028,
                                 771.32342877765313,   -176.61502916214059,    12.507343278686905,
                                 -0.13857109526572012, 9.9843695780195716e-06, 1.5056327351493116e-07};
    if (z < 0.5) return gammaln(z + 1.0) - std::log(z);
    double sum = series[0];
    for (int k = 1; k < 9; ++k) sum += series[k] / (z - 1.0 + k);
    const double t = z - 0.5 + g;
    return 0.5 * std::log(2.0 * std::numbers::pi) + (z - 0.5) * std::log(t) - t + std::log(sum);
}

double IncompleteBeta(double a, double b, double x)
{
    if (!(x > 0.0)) return 0.0;
    if (x >= 1.0) return 1.0;
    const double front = std::exp(gammaln(a + b) - gammaln(a) - gammaln(b) + a * std::log(x) + b * std::log1p(-x));
    const bool direct = x < (a + 1.0) / (a + b + 2.0);
    const double value = direct ? front * betacf(a, b, x) / a : 1.0 - front * betacf(b, a, 1.0 - x) / b;
    return std::clamp(value, 0.0, 1.0);
}

}  // namespace kovin
