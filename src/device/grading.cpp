#include "device/grading.h"

#include "device/quantities.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace kovin {

namespace {

/// Values of a profile at the two ends of its abscissa.
struct Ends {
    double a = 0.0, b = 0.0;
};

/// On x the ends are those of the layer, on y those of the pure materials; the uniform laws pick one of the two.
Ends ends_of(const Profile& p)
{
    if (p.dependence == Dependence::uniform) return {p.pure_A, p.pure_A};
    const Ends ends = p.dependence == Dependence::on_x ? Ends{p.left, p.right} : Ends{p.pure_A, p.pure_B};
    switch (p.law) {
        case Law::uniform:
            return {ends.a, ends.a};
        case Law::uniform_B:
            return {ends.b, ends.b};
        default:
            return ends;
    }
}

}  // namespace

bool law_is_computed(Law law)
{
    return law == Law::uniform || law == Law::uniform_B || law == Law::uniform_y || law == Law::linear;
}

void evaluate_profile(const Profile& profile, std::span<const double> x, std::span<double> result)
{
    assert(x.size() == result.size());
    if (x.empty()) return;
    assert(profile.dependence == Dependence::uniform || law_is_computed(profile.law));
    const auto [a, b] = ends_of(profile);
    const bool on_x = profile.dependence == Dependence::on_x;
    const double L = on_x ? x.front() : 0.0;
    const double R = on_x ? x.back() : 1.0;
    const double w = R - L;
    if (profile.dependence == Dependence::uniform || profile.law != Law::linear || w == 0.0) {
        std::fill(result.begin(), result.end(), a);
        return;
    }
    for (std::size_t i = 0; i < x.size(); ++i) result[i] = ((x[i] - L) * b + (R - x[i]) * a) / w;
}

void interpolation(Profile& profile, std::span<const double> x, std::span<double> result, bool storeEnds)
{
    evaluate_profile(profile, x, result);
    if (result.empty() || !(storeEnds || profile.dependence == Dependence::uniform)) return;
    profile.left = result.front();
    profile.right = result.back();
}

void RecalculateLeftRightValues(Profile& profile, double y_left, double y_right)
{
    if (profile.dependence == Dependence::uniform) {
        profile.left = profile.right = profile.pure_A;
    } else if (profile.dependence == Dependence::on_x) {
        if (profile.law == Law::uniform) profile.right = profile.left;
        if (profile.law == Law::uniform_B) profile.left = profile.right;
    } else if (law_is_computed(profile.law)) {
        const std::array<double, 2> y{y_left, y_right};
        std::array<double, 2> value{};
        interpolation(profile, y, value, true);
    }
}

void recalculate_ends(LayerParameters& layer)
{
    RecalculateLeftRightValues(layer.composition, 0.0, 1.0);
    const double y_left = layer.composition.left;
    const double y_right = layer.composition.right;
    for (const QuantityRow& row : graded_quantities())
        RecalculateLeftRightValues(layer.material.*row.member, y_left, y_right);
    for (auto& levels : layer.srh)
        for (auto& level : levels) RecalculateLeftRightValues(level.Nt, y_left, y_right);
    for (auto& pair : layer.metastable) RecalculateLeftRightValues(pair.Nt, y_left, y_right);
}

}  // namespace kovin
