#include "base/interpolate.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>

namespace kovin {

namespace {

struct Point {
    double x, y;
};

/// The straight line through two points at different x.
double straight(Point a, Point b, double at) { return a.y + (at - a.x) / (b.x - a.x) * (b.y - a.y); }

/// The straight line in ln y; both y > 0.
double logarithmic(Point a, Point b, double at)
{
    if (at == a.x) return a.y;
    if (at == b.x) return b.y;
    return std::exp(straight({a.x, std::log(a.y)}, {b.x, std::log(b.y)}, at));
}

/// The interval that holds `at`, or the outermost one on its side, as the index of its right end; N >= 2.
///
/// Inside the table this is the first x[i] >= at.
std::size_t right_end(std::span<const double> x, double at)
{
    const auto found = static_cast<std::size_t>(std::lower_bound(x.begin(), x.end(), at) - x.begin());
    return std::clamp<std::size_t>(found, 1, x.size() - 1);
}

/// Between two rows of an absorption table.
double between_rows(Point a, Point b, double at)
{
    if (a.x == b.x) return a.y > 0.0 && b.y > 0.0 ? std::sqrt(a.y * b.y) : 0.5 * (a.y + b.y);
    constexpr double floor = 1e-10;  // stands for zero next to a positive value
    if (a.y <= 0.0 && b.y <= 0.0) return straight(a, b, at);
    if (a.y <= 0.0) a.y = floor * b.y;
    if (b.y <= 0.0) b.y = floor * a.y;
    return logarithmic(a, b, at);
}

/// True if `at` lies outside and y grows from the inner to the outer of the two outermost points on that side.
bool grows_outward(std::span<const double> x, std::span<const double> y, double at)
{
    const std::size_t n = x.size();
    return (at < x[0] && y[0] > y[1]) || (at > x[n - 1] && y[n - 1] > y[n - 2]);
}

/// What both interpolations check first; `done` when the general case is left.
Interpolated check(std::span<const double> x, std::span<const double> y)
{
    if (x.empty() || y.size() < x.size()) return Interpolated::too_few_points;
    return rises(x) ? Interpolated::done : Interpolated::not_rising;
}

bool is_outside(std::span<const double> x, double at) { return at < x.front() || at > x.back(); }

/// By the straight line through the points i - 1 and i, inside or outside.
double linear_at(std::span<const double> x, std::span<const double> y, std::size_t i, double at)
{
    return at == x[i] ? y[i] : straight({x[i - 1], y[i - 1]}, {x[i], y[i]}, at);
}

/// The same in ln y. Inside, a zero counts as in an absorption table; outside nothing grows, and it gives 0.
double logarithmic_at(std::span<const double> x, std::span<const double> y, std::size_t i, double at)
{
    if (at == x[i]) return y[i];
    if (at == x[i - 1]) return y[i - 1];
    if (y[i - 1] <= 0.0 || y[i] <= 0.0)
        return is_outside(x, at) ? 0.0 : std::max(between_rows({x[i - 1], y[i - 1]}, {x[i], y[i]}, at), 0.0);
    if (grows_outward(x, y, at)) return at < x[0] ? y[0] : y[x.size() - 1];
    return logarithmic({x[i - 1], y[i - 1]}, {x[i], y[i]}, at);
}

}  // namespace

bool rises(std::span<const double> x)
{
    return std::adjacent_find(x.begin(), x.end(), [](double a, double b) { return !(a < b); }) == x.end();
}

Interpolated LinearInterpolation(std::span<const double> x, std::span<const double> y, double at, double& result)
{
    result = 0.0;
    if (const auto fault = check(x, y); fault != Interpolated::done) return fault;
    result = x.size() == 1 ? y[0] : linear_at(x, y, right_end(x, at), at);
    return is_outside(x, at) ? Interpolated::extrapolated : Interpolated::done;
}

Interpolated LogarithmicInterpolation(std::span<const double> x, std::span<const double> y, double at, double& result)
{
    result = 0.0;
    if (const auto fault = check(x, y); fault != Interpolated::done) return fault;
    result = x.size() == 1 ? y[0] : logarithmic_at(x, y, right_end(x, at), at);
    return is_outside(x, at) ? Interpolated::extrapolated : Interpolated::done;
}

void interpolate_table(std::span<const double> x, std::span<const double> y, TableLaw law, std::span<const double> at,
                       std::span<double> result)
{
    const std::size_t n = std::min(x.size(), y.size());
    assert(result.size() == at.size() && rises(x));
    if (n < 2) {
        std::fill(result.begin(), result.end(), n == 1 ? y[0] : 0.0);
        return;
    }
    std::size_t i = 1;
    for (std::size_t k = 0; k < at.size(); ++k) {
        while (i + 1 < n && x[i] < at[k]) ++i;
        while (i > 1 && x[i - 1] >= at[k]) --i;
        result[k] = law == TableLaw::linear ? linear_at(x, y, i, at[k]) : logarithmic_at(x, y, i, at[k]);
    }
}

double LogarithmicInterpolationolateFromTable(double at, std::span<const double> x, std::span<const double> y)
{
    const std::size_t n = std::min(x.size(), y.size());
    if (n == 0) return 0.0;
    if (n == 1) return y[0];
    x = x.first(n);
    y = y.first(n);
    if (is_outside(x, at)) {
        const double outer = at < x[0] ? y[0] : y[n - 1];
        if (!(outer > 0.0)) return 0.0;
        if (grows_outward(x, y, at)) return outer;
    }
    std::size_t i = right_end(x, at);
    // Of a double row at `at` itself both values count.
    if (at == x[i] && i + 1 < n && x[i + 1] == at) ++i;
    return between_rows({x[i - 1], y[i - 1]}, {x[i], y[i]}, at);
}

}  // namespace kovin
