#include "solver/tunnel_junctions.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Of the currents beside a junction [-], far above what decoupled passes leave with the usual terminations (1e-4).
constexpr double tolerated_difference = 1e-3;
/// Below this no difference counts [mA/cm2].
constexpr double smallest_difference = 1e-7;
/// Times the rounding that is seen.
constexpr double rounding_margin = 3.0;
/// With fewer points a stretch has no median to speak of.
constexpr std::size_t least_points = 4;

/// The upper median; reorders the values.
double median_of(std::vector<double>& values)
{
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), half, values.end());
    return *half;
}

}  // namespace

bool current_passes_junctions(Workspace& work, const CalculationVariables& cv)
{
    TunnelWork& tunnel = work.tunnel;
    const std::vector<double>&J = work.currents.j_tot, &jn = work.currents.j_n, &jp = work.currents.j_p;
    std::vector<double>& values = work.currents.sorted;
    // Paths that begin less those that end at a point, then the number of those that pass the interval behind it.
    std::vector<int>& passing = tunnel.paths;
    passing.assign(J.size(), 0);
    for (const BandToBandPath& t : tunnel.band_to_band) {
        ++passing[at(std::min(t.from, t.to))];
        --passing[at(std::max(t.from, t.to))];
    }
    for (std::size_t i = 1; i < passing.size(); ++i) passing[i] += passing[i - 1];

    // Where J is 0 both carriers may flow.
    values.clear();
    for (std::size_t i = 0; i < J.size(); ++i) values.push_back(std::fabs(jn[i]) + std::fabs(jp[i]));
    const double size = median_of(values);
    // The median of a stretch lies between the smallest of the upper ends and the largest of the lower ends of all.
    double lowest_upper = 0.0, highest_lower = 0.0;
    bool first_stretch = true;
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        const auto is_free = [&](std::size_t i) {
            return i <= last && (i == first || passing[i - 1] == 0) && passing[i] == 0;
        };
        for (std::size_t i = first; i <= last; ++i) {
            if (!is_free(i)) continue;
            const std::size_t begin = i;
            while (is_free(i)) ++i;
            if (i - begin < least_points) continue;
            values.clear();
            for (std::size_t k = begin + 1; k < i; ++k) values.push_back(std::fabs(J[k] - J[k - 1]));
            const double rounding = rounding_margin * median_of(values);
            values.assign(J.begin() + static_cast<std::ptrdiff_t>(begin), J.begin() + static_cast<std::ptrdiff_t>(i));
            const double median = median_of(values);
            lowest_upper = first_stretch ? median + rounding : std::min(lowest_upper, median + rounding);
            highest_lower = first_stretch ? median - rounding : std::max(highest_lower, median - rounding);
            first_stretch = false;
        }
    }
    const double tolerance =
        std::max(smallest_difference, tolerated_difference * std::max(size, std::fabs(cv.J_median)));
    return highest_lower - lowest_upper <= tolerance;
}

}  // namespace kovin
