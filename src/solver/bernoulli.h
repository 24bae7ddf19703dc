// The Bernoulli function of the Scharfetter-Gummel flux, B(x) = x/(exp(x) - 1).
//
// Source: Scharfetter, Gummel, IEEE Trans. Electron Devices 16 (1969) 64.
#pragma once

#include <algorithm>
#include <cmath>

namespace kovin {

/// B(x) by ranges, each accurate to rounding on its side of the bounds.
[[nodiscard]] inline double Bern(double x)
{
    if (x <= -37.4295) return -x;
    if (x < -6.67569999502574e-10) return x / (std::exp(x) - 1.0);
    if (x <= 2.5999200004478915e-06) return 1.0 - x / 2.0;
    if (x < 37.4295) {
        const double e = std::exp(-x);
        return x * e / (1.0 - e);
    }
    if (x < 46.7449) return x * std::exp(-x);
    return 0.0;
}

/// dB/dx by ranges of its own.
[[nodiscard]] inline double Bern_deriv(double x)
{
    if (x <= -41.1467) return -1.0;
    if (x >= 52.2919) return 0.0;
    if (x >= -0.00080011 && x <= 9e-05) return -0.5 + x / 6.0;
    const double e = std::exp(-std::fabs(x));
    if (x < 0.0) {
        const double top = (e - 1.0) - e * x;
        return x <= -37.4295 ? top : top / ((1.0 - e) * (1.0 - e));
    }
    if (x >= 37.4295) return (e - e * x) - e * e;
    return ((e - e * e) - e * x) / ((1.0 - e) * (1.0 - e));
}

/// B(x) and B(-x) with one exponential: B(-x) = B(x) + x.
struct BernoulliPair {
    double plus;   ///< B(x)
    double minus;  ///< B(-x)
};
[[nodiscard]] inline BernoulliPair bernoulli_pair(double x)
{
    const double t = std::fabs(x);
    // 1 - t/2 + t^2/12 - t^4/720; the next term, t^6/30240, is below rounding for t < 0.01. In neutral regions nearly
    // all intervals are such.
    const double b = t < 0.01 ? 1.0 + t * (t * (1.0 / 12.0 - t * t / 720.0) - 0.5) : t / std::expm1(t);
    const double other = b + t;
    return x < 0.0 ? BernoulliPair{other, b} : BernoulliPair{b, other};
}

/// B'(x) and B'(-x) from B(x) and B(-x), without another exponential: with t = |x| and exp(t) - 1 = t/B(t),
/// B'(t) = (1 - B(-t)) B(t)/t, and B'(-t) = -1 - B'(t).
[[nodiscard]] inline BernoulliPair bernoulli_slopes(const BernoulliPair& values)
{
    const double small = std::min(values.plus, values.minus), large = std::max(values.plus, values.minus);
    const double t = large - small;
    // Series of B' about 0; the term left out, t^7/151200, is below rounding for t < 0.01.
    const double near = t * (1.0 / 6.0 - t * t * (1.0 / 180.0 - t * t / 5040.0)) - 0.5;
    const double at_t = t < 0.01 ? near : (1.0 - large) * small / std::max(t, 0.01);
    return values.plus <= values.minus ? BernoulliPair{at_t, -1.0 - at_t} : BernoulliPair{-1.0 - at_t, at_t};
}

}  // namespace kovin
