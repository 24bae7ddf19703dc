#include "results/iv_characteristics.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <optional>
#include <vector>

namespace kovin {

namespace {

struct Point {
    double V, J;
};
using Curve = std::vector<Point>;

/// J at V = 0 of the line through two points.
std::optional<double> line_at_zero_V(const Point& a, const Point& b)
{
    if (a.V == b.V) return std::nullopt;
    return a.J - a.V * (b.J - a.J) / (b.V - a.V);
}

/// V at J = 0 of the line through two points.
std::optional<double> line_at_zero_J(const Point& a, const Point& b)
{
    if (a.J == b.J) return std::nullopt;
    return a.V - a.J * (b.V - a.V) / (b.J - a.J);
}

/// The two outermost points of one end; a duplicate neighbour is passed over once.
struct EndPair {
    Point outer, inner;
};
std::optional<EndPair> end_pair(const Curve& c, bool first_end)
{
    const std::size_t n = c.size();
    for (std::size_t k = 1; k <= 2 && k < n; ++k) {
        const Point& outer = first_end ? c[0] : c[n - 1];
        const Point& inner = first_end ? c[k] : c[n - 1 - k];
        if (inner.V != outer.V) return EndPair{outer, inner};
    }
    return std::nullopt;
}

/// First of the three points that surround the interval (i, i + 1).
std::size_t three_from(std::size_t i, std::size_t n)
{
    if (i < 2) return 0;
    return i == n - 2 ? n - 3 : i - 1;
}

/// Coefficients of J = a V^2 - b V + c through three points; nothing if two voltages are equal.
struct Parabola {
    double a, b, c;
};
std::optional<Parabola> parabola(const Point* p)
{
    const double d01 = p[0].V - p[1].V, d02 = p[0].V - p[2].V, d12 = p[1].V - p[2].V;
    if (d01 == 0.0 || d02 == 0.0 || d12 == 0.0) return std::nullopt;
    const double w0 = p[0].J / (d01 * d02), w1 = -p[1].J / (d01 * d12), w2 = p[2].J / (d02 * d12);
    return Parabola{w0 + w1 + w2, w0 * (p[1].V + p[2].V) + w1 * (p[0].V + p[2].V) + w2 * (p[0].V + p[1].V),
                    w0 * p[1].V * p[2].V + w1 * p[0].V * p[2].V + w2 * p[0].V * p[1].V};
}

void find_Jsc(const Curve& c, IVCharacteristics& r)
{
    const std::size_t n = c.size();
    std::optional<double> J;
    r.JscExtrapolated = c.front().V * c.back().V > 0.0;
    if (n == 2) {
        J = line_at_zero_V(c[0], c[1]);
    } else if (r.JscExtrapolated) {
        const double low = std::fabs(c.front().V), high = std::fabs(c.back().V);
        if (low != high)
            if (const auto pair = end_pair(c, low < high)) J = line_at_zero_V(pair->outer, pair->inner);
    } else {
        std::size_t i = 0;
        while (i < n - 2 && c[i].V * c[i + 1].V > 0.0 && std::fabs(c[i].V) > 1e-10) ++i;
        if (const auto fit = parabola(&c[three_from(i, n)])) J = fit->c;
    }
    r.JscValid = J.has_value() && std::isfinite(*J);
    r.Jsc = r.JscValid ? std::fabs(*J) : 0.0;
}

/// Zero of the parabola through three points around a sign change of J.
std::optional<double> zero_of_three(const Point* p)
{
    if (p[0].J == p[1].J && p[1].J == p[2].J) return std::nullopt;
    const auto fit = parabola(p);
    const double discriminant = fit ? fit->b * fit->b - 4.0 * fit->a * fit->c : 0.0;
    // A straight line is no parabola: its second root is at infinity.
    if (!fit || discriminant <= 0.0 || fit->a == 0.0) {
        if (p[0].J != p[2].J) return line_at_zero_J(p[0], p[2]);
        return p[0].J != p[1].J ? line_at_zero_J(p[0], p[1]) : line_at_zero_J(p[1], p[2]);
    }
    // (b - s)/2a and (b + s)/2a, the one that cancels taken from the product of the roots c/a.
    const double s = std::sqrt(discriminant);
    const double q = 0.5 * (fit->b + (fit->b >= 0.0 ? s : -s));
    const double minus_root = fit->b >= 0.0 ? fit->c / q : q / fit->a;
    const double plus_root = fit->b >= 0.0 ? q / fit->a : fit->c / q;
    const double low = std::min(p[0].V, p[2].V), high = std::max(p[0].V, p[2].V);
    if (minus_root > low && minus_root < high) return minus_root;
    // A zero exactly at an end of the interval counts as inside when the other root lies elsewhere.
    const bool plus_outside = plus_root < low || plus_root > high;
    return plus_outside && minus_root >= low && minus_root <= high ? minus_root : plus_root;
}

void find_Voc(const Curve& c, IVCharacteristics& r)
{
    const std::size_t n = c.size();
    std::optional<double> V;
    r.VocExtrapolated = c.front().J * c.back().J > 0.0;
    if (n == 2) {
        V = line_at_zero_J(c[0], c[1]);
    } else if (r.VocExtrapolated) {
        // The end that is nearer to J = 0, so that cells of either orientation are continued on the right side.
        const double first = std::fabs(c.front().J), last = std::fabs(c.back().J);
        const bool first_end = first != last ? first < last : c.front().J > 0.0;
        if (const auto pair = end_pair(c, first_end)) V = line_at_zero_J(pair->outer, pair->inner);
    } else {
        std::size_t i = 0;
        while (i < n - 2 && c[i].J * c[i + 1].J > 0.0) ++i;
        V = zero_of_three(&c[three_from(i, n)]);
    }
    if (V) V = std::fabs(*V);
    r.VocValid = V.has_value() && *V <= 10.0;  // more than ten volts (or nan) is a failed extrapolation
    r.Voc = r.VocValid ? *V : 0.0;
}

struct PowerPoint {
    double V, J, P;  ///< J positive when power is delivered
};
PowerPoint power_at(const Point& p) { return {p.V, -p.J, -p.V * p.J}; }

/// Largest power around the middle one of three points, which has the largest of the three.
PowerPoint maximum_of_three(const Point* p)
{
    const PowerPoint low = power_at(p[0]), mid = power_at(p[1]), high = power_at(p[2]);
    if (mid.P == high.P) return {0.5 * (mid.V + high.V), 0.5 * (mid.J + high.J), mid.P};
    if (mid.P == low.P) return {0.5 * (mid.V + low.V), 0.5 * (mid.J + low.J), mid.P};
    const bool rises = p[0].J < p[1].J && p[1].J < p[2].J;
    const double second = p[0].J + p[2].J - 2.0 * p[1].J;
    const double h = p[1].V - p[0].V;
    if (!rises || h <= 0.0) return mid;
    if (second == 0.0) {
        const double curvature = low.P - 2.0 * mid.P + high.P;
        const double shift = 0.5 * (low.P - high.P) / curvature;  // in steps; the middle is the largest: curvature < 0
        const double J = mid.J + shift * 0.5 * (high.J - low.J);
        const double V = mid.V + shift * h;
        return {V, J, mid.P - 0.25 * (low.P - high.P) * shift};
    }
    // J(V) = J0 + Jb exp(c V) through three equidistant points.
    const double ratio = (p[2].J - p[1].J) / (p[1].J - p[0].J);
    const double J0 = (p[0].J * p[2].J - p[1].J * p[1].J) / second;
    const double c = std::log(ratio) / h;
    const double Jb = (p[1].J - p[0].J) / (std::pow(ratio, p[1].V / h) - std::pow(ratio, p[0].V / h));
    const auto g = [&](double V) { return J0 + (1.0 + c * V) * Jb * std::exp(c * V); };  // -dP/dV
    const bool upper = g(p[1].V) <= 0.0;
    double left = upper ? p[1].V : p[0].V, right = upper ? p[2].V : p[1].V, V = left;
    for (int step = 0; step < 10; ++step) {
        V = 0.5 * (left + right);
        (g(V) <= 0.0 ? left : right) = V;
    }
    const double J = -(J0 + Jb * std::exp(c * V));
    return std::isfinite(J * V) ? PowerPoint{V, J, J * V} : mid;
}

PowerPoint maximum_power(const Curve& c, bool& extrapolated)
{
    std::size_t best = 0;
    for (std::size_t i = 1; i < c.size(); ++i)
        if (power_at(c[i]).P > power_at(c[best]).P) best = i;
    extrapolated = best == 0 || best + 1 == c.size();
    return extrapolated ? power_at(c[best]) : maximum_of_three(&c[best - 1]);
}

}  // namespace

bool IVParameters(std::span<const double> V, std::span<const double> J, const CurveLight& light,
                  IVCharacteristics& record)
{
    assert(V.size() == J.size());
    if (light.dark || V.size() < 2 || V[1] == V[0]) return false;
    Curve curve;
    for (std::size_t i = 0; i < V.size(); ++i) curve.push_back({V[i], J[i]});
    if (V.back() < V.front()) std::reverse(curve.begin(), curve.end());

    IVCharacteristics r;
    find_Jsc(curve, r);
    find_Voc(curve, r);
    const PowerPoint mpp = maximum_power(curve, r.FFExtrapolated);
    r.etaExtrapolated = r.FFExtrapolated;
    r.Vmpp = mpp.V;
    r.Jmpp = mpp.J;

    r.etaIsCollection = light.generationSpecified;
    if (light.generationSpecified) {
        const double light_current = light.attenuation * light.idealCurrent * 0.01;
        r.eta = light_current > 0.0 ? r.Jsc * 100.0 / light_current : 0.0;
    } else {
        r.eta = light.Pin > 0.0 ? mpp.P * 1000.0 / light.Pin : 0.0;
    }
    if (r.VocValid && r.JscValid && r.Voc > 0.0 && r.Jsc > 0.0) r.FF = mpp.P * 100.0 / r.Voc / r.Jsc;
    r.FFValid = r.FF > 0.0 && r.FF <= 150.0;
    r.etaValid = r.eta > 0.0 && r.eta <= 1000.0;
    if (!r.FFValid) r.FF = 0.0;
    if (!r.etaValid) r.eta = 0.0;
    if (r.VocExtrapolated || r.JscExtrapolated) r.FFExtrapolated = true;
    record = r;
    return true;
}

}  // namespace kovin
