#include "results/result_list.h"

#include <algorithm>
#include <cmath>

namespace kovin {

CurveAccuracy accuracy(const IvCurve& curve)
{
    CurveAccuracy all;
    for (std::size_t i = 0; i < curve.J_error.size(); ++i) {
        const double J = std::fabs(curve.ivcurrent[i]), error = curve.J_error[i], noise = curve.J_noise[i];
        all.largest_error = std::max(all.largest_error, error);
        if (curve.noise_limited[i] != 0.0) all.limited_below = std::max({all.limited_below, noise, error});
        // At V = 0 in the dark the current is rounding alone.
        if (curve.iv_as[i] != 0.0 && J > 0.0 && error / J > all.worst_relative) {
            all.worst_relative = error / J;
            all.at_V = curve.iv_as[i];
        }
    }
    return all;
}

std::size_t maximum_of(const QeCurve& curve)
{
    return static_cast<std::size_t>(std::max_element(curve.qe.begin(), curve.qe.end()) - curve.qe.begin());
}

}  // namespace kovin
