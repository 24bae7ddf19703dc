#include "results/merge_curves.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kovin {

namespace {

std::vector<std::size_t> rising(const std::vector<double>& v)
{
    std::vector<std::size_t> order(v.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return v[a] < v[b]; });
    return order;
}

}  // namespace

IvCurve merge_IV_and_CV(const IvCurve& iv, const IvCurve& cv)
{
    constexpr double same_voltage = 1e-5;
    struct Point {
        const IvCurve* curve;
        std::size_t at;
        [[nodiscard]] double V() const { return curve->iv_as[at]; }
    };
    const std::vector<std::size_t> a = rising(iv.iv_as), b = rising(cv.iv_as);
    std::vector<Point> merged;
    std::size_t i = 0, k = 0;
    while (i < a.size() && k < b.size()) {
        const Point next = iv.iv_as[a[i]] <= cv.iv_as[b[k]] ? Point{&iv, a[i++]} : Point{&cv, b[k++]};
        if (merged.empty() || std::abs(next.V() - merged.back().V()) > same_voltage) merged.push_back(next);
    }
    while (i < a.size()) merged.push_back({&iv, a[i++]});
    while (k < b.size()) merged.push_back({&cv, b[k++]});
    if (!a.empty() && !b.empty()) merged.pop_back();

    IvCurve out;
    out.left_contact_label = a.empty() ? cv.left_contact_label : iv.left_contact_label;
    out.right_contact_label = a.empty() ? cv.right_contact_label : iv.right_contact_label;
    for (const auto column : iv_curve_columns)
        for (const Point& point : merged) {
            const std::vector<double>& from = point.curve->*column;
            (out.*column).push_back(point.at < from.size() ? from[point.at] : 0.0);
        }
    return out;
}

}  // namespace kovin
