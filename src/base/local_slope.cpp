#include "base/local_slope.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <vector>

namespace kovin {

// Expansion in polynomials that are orthogonal on the given points (Forsythe, J. SIAM 5 (1957) 74):
//
//     p[k+1] = (t - a[k]) p[k] - b[k] p[k-1],    a[k] = <t p[k], p[k]>/<p[k], p[k]>,  b[k] = <p[k], p[k]>/<p[k-1],
//     p[k-1]>
//
// t is x, shifted and scaled to [-1, 1]; no system of equations has to be solved.
double slope_of_fit(std::span<const double> x, std::span<const double> y, int degree, double at)
{
    assert(x.size() == y.size());
    const std::size_t n = x.size();
    if (n < 2) return 0.0;
    const auto [low, high] = std::minmax_element(x.begin(), x.end());
    const double middle = 0.5 * (*low + *high), half = 0.5 * (*high - *low);
    if (!(half > 0.0)) return 0.0;
    const double t_at = (at - middle) / half;

    std::vector<double> p(n, 1.0), before(n, 0.0);
    double p_at = 1.0, dp_at = 0.0, p_at_before = 0.0, dp_at_before = 0.0;
    double norm_before = 1.0, slope = 0.0;
    const int highest = std::min(degree, static_cast<int>(n) - 1);
    for (int k = 0; k <= highest; ++k) {
        double norm = 0.0, yp = 0.0, tpp = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            norm += p[i] * p[i];
            yp += y[i] * p[i];
            tpp += (x[i] - middle) / half * p[i] * p[i];
        }
        if (norm <= 1e-20) break;  // points at the same place: no higher degree
        slope += yp / norm * dp_at;
        const double a = tpp / norm, b = k > 0 ? norm / norm_before : 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            const double next = ((x[i] - middle) / half - a) * p[i] - b * before[i];
            before[i] = p[i];
            p[i] = next;
        }
        const double dp_next = p_at + (t_at - a) * dp_at - b * dp_at_before;
        const double p_next = (t_at - a) * p_at - b * p_at_before;
        p_at_before = p_at, dp_at_before = dp_at;
        p_at = p_next, dp_at = dp_next;
        norm_before = norm;
    }
    return slope / half;
}

int afgeleide(std::span<const double> x, std::span<const double> y, int points, int degreeMiddle, int degreeEnds,
              std::span<double> slope)
{
    assert(x.size() == y.size() && x.size() == slope.size());
    const std::size_t n = x.size();
    if (points < 2 || static_cast<std::size_t>(points) >= n) return -1;
    const auto window = static_cast<std::size_t>(points);
    for (std::size_t i = 0; i < n; ++i) {
        const bool at_start = i < window / 2, at_end = i >= n - window / 2;
        const std::size_t first = at_start ? 0 : at_end ? n - window : i - window / 2;
        slope[i] = slope_of_fit(x.subspan(first, window), y.subspan(first, window),
                                at_start || at_end ? degreeEnds : degreeMiddle, x[i]);
    }
    return 0;
}

}  // namespace kovin
