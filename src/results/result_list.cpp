#include "results/result_list.h"

#include <algorithm>
#include <cmath>

namespace kovin {

CurveAccuracy accuracy(const IvCurve& curve)
{
    CurveAccuracy all;
    for (std::size_t i = 0; i < curve.J_error.size(); ++i) {
        const double J = std::fabs(curve.ivcurrent[i]), error = curve.J_error[i], noise = curve.J_noise[i];
        if (!std::isfinite(error)) continue;
        all.largest_error = std::isfinite(all.largest_error) ? std::max(all.largest_error, error) : error;
        if (curve.noise_limited[i] != 0.0) all.limited_below = std::max(all.limited_below, error);
        if (J > noise && error / J > all.worst_relative) {
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
