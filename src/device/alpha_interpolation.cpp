#include "device/alpha_interpolation.h"

#include "base/constants.h"
#include "device/grading.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <limits>

namespace kovin {

namespace {

constexpr double nothing = -std::numeric_limits<double>::infinity();
constexpr double ln_floor = -23.025850929940457;  // ln 1e-10: stands for zero beside a positive value
constexpr double anchor_distance = 10.0;          // of an anchor from its edge, at least [nm]
constexpr double shortest_wavelength = 1.0;       // [nm]: a map may not lead to 0 and below

constexpr double smallest_gap = 1e-3;  // [eV]: the edge of a smaller one counts as that of this one

double edge_of(double Eg) { return hc_eV_nm / std::max(Eg, smallest_gap); }

double ln_or_nothing(double alpha) { return alpha > 0.0 ? std::log(alpha) : nothing; }

}  // namespace

PureGaps pure_gaps(const Profile& gap, bool mixes)
{
    if (gap.dependence == Dependence::on_x) {
        const auto stated = [mixes](double pure, double end) { return mixes && pure > 0.0 ? pure : end; };
        return {stated(gap.pure_A, gap.left), stated(gap.pure_B, gap.right)};
    }
    constexpr std::array<double, 2> pure{0.0, 1.0};
    std::array<double, 2> Eg{};
    evaluate_profile(gap, pure, 1.0, Eg);
    if ((gap.law == Law::from_file || gap.law == Law::table) && !gap.table_x.empty()) {
        if (gap.table_x.front() > 0.0) Eg[0] = gap.pure_A;
        if (gap.table_x.back() < 1.0) Eg[1] = gap.pure_B;
    }
    return {Eg[0], Eg[1]};
}

LogAbsorption::LogAbsorption(const MaterialAbsorption& material) : material_(material)
{
    if (!material.from_file) return;
    constexpr double endless = std::numeric_limits<double>::infinity();
    const std::vector<double>&x = material.table.lambda, &y = material.table.alpha;
    const std::size_t n = std::min(x.size(), y.size());
    if (n < 2) {
        stretches_.push_back({endless, 0.0, n == 1 ? ln_or_nothing(y[0]) : nothing, 0.0});
        return;
    }
    const auto between = [&](std::size_t i) {
        double from = ln_or_nothing(y[i]), to = ln_or_nothing(y[i + 1]);
        if (from == nothing && to == nothing) return Stretch{x[i + 1], x[i], nothing, 0.0};
        if (from == nothing) from = to + ln_floor;
        if (to == nothing) to = from + ln_floor;
        return Stretch{x[i + 1], x[i], from, (to - from) / (x[i + 1] - x[i])};
    };
    // Outside the table its outermost line goes on where it falls; nothing grows there, and a zero stays one.
    Stretch before = between(0), behind = between(n - 2);
    before.to = x[0];
    if (y[0] <= 0.0 || before.slope < 0.0) before = {x[0], x[0], ln_or_nothing(y[0]), 0.0};
    behind.to = endless;
    if (y[n - 1] <= 0.0 || behind.slope > 0.0) behind = {endless, x[n - 1], ln_or_nothing(y[n - 1]), 0.0};
    stretches_.push_back(before);
    for (std::size_t i = 0; i + 1 < n; ++i) stretches_.push_back(between(i));
    stretches_.push_back(behind);
}

void LogAbsorption::at(std::span<const double> lambda, double start, double slope, std::span<double> ln_alpha) const
{
    assert(lambda.size() == ln_alpha.size() && slope > 0.0);
    std::size_t i = 0;
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        const double mapped = std::max(start + slope * lambda[k], shortest_wavelength);
        if (!material_.from_file) {
            ln_alpha[k] = ln_or_nothing(alpha_at(material_, mapped));
            continue;
        }
        while (i + 1 < stretches_.size() && mapped > stretches_[i].to) ++i;
        const Stretch& s = stretches_[i];
        ln_alpha[k] = s.value + s.slope * (mapped - s.from);
    }
}

AlphaInterpolation::AlphaInterpolation(const PureGaps& gap, double anchor_A, double anchor_B,
                                       const MaterialAbsorption& A, const MaterialAbsorption& B)
    : A_(A),
      B_(B),
      edge_A_(edge_of(gap.A)),
      edge_B_(edge_of(gap.B)),
      anchor_A_(std::min(anchor_A, edge_A_ - anchor_distance)),
      anchor_B_(std::min(anchor_B, edge_B_ - anchor_distance))
{
}

void AlphaInterpolation::InterpolateAlpha(double y, double Eg, std::span<const double> lambda, std::span<double> alpha)
{
    assert(lambda.size() == alpha.size());
    ln_A_.resize(lambda.size());
    ln_B_.resize(lambda.size());
    const double edge = edge_of(Eg);
    const double anchor = std::min(anchor_B_ * y + anchor_A_ * (1.0 - y), edge - anchor_distance);
    const auto map = [&](const LogAbsorption& pure, double s, double its_edge, std::span<double> ln_alpha) {
        const double slope = (its_edge - s) / (edge - anchor);
        pure.at(lambda, s - slope * anchor, slope, ln_alpha);
    };
    map(A_, anchor_A_, edge_A_, ln_A_);
    map(B_, anchor_B_, edge_B_, ln_B_);
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        double a = ln_A_[k], b = ln_B_[k];
        if (a == nothing && b == nothing) {
            alpha[k] = 0.0;
            continue;
        }
        if (a == nothing) a = b + ln_floor;
        if (b == nothing) b = a + ln_floor;
        alpha[k] = std::exp((1.0 - y) * a + y * b);
    }
}

}  // namespace kovin
