#include "device/graded_values.h"

#include "base/text_format.h"
#include "device/definition_tables.h"
#include "device/grading.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <utility>

namespace kovin {

namespace {

/// Limits in a cell that is to be computed: carriers that do not move at all leave no continuity equation.
Limits limits_to_compute(const Profile& profile)
{
    const bool mobility = profile.quantity == Quantity::mu_n || profile.quantity == Quantity::mu_p;
    return mobility ? positive : limits_of_profile(profile);
}

double thickness_um(const LayerParameters& layer) { return layer.material.d * 1e6; }

/// Where a law turns round, or a table has its rows, on an abscissa from 0 to w.
void add_turns(const Profile& p, double w, std::vector<double>& at)
{
    const bool on_x = p.dependence == Dependence::on_x;
    const double a = on_x ? p.left : p.pure_A, b = on_x ? p.right : p.pure_B;
    const auto add = [&](double place) {
        if (place >= 0.0 && place <= w) at.push_back(place);
    };
    if (p.law == Law::parabolic && p.third != 0.0) add(w * 0.5 * (1.0 + (a - b) / p.third));
    if (p.law == Law::parabolic_2) add(p.third);
    if (p.law == Law::diffusion_gauss || p.law == Law::diffusion_erfc) {
        const double Ld = diffusion_length(p), depth = p.law == Law::diffusion_gauss ? p.fifth : 0.0;
        for (const double t : {-3.0, -2.0, -1.0, -0.5, 0.0, 0.5, 1.0, 2.0, 3.0})
            add(p.fourth >= 0.0 ? w - depth - t * Ld : depth + t * Ld);
    }
    if (p.law == Law::from_file || p.law == Law::table)
        for (const double place : p.table_x) add(place);
}

std::vector<double> composition_at(const LayerParameters& layer, const std::vector<double>& x)
{
    std::vector<double> y(x.size());
    evaluate_profile(layer.composition, x, thickness_um(layer), y);
    for (double& value : y) value = std::clamp(value, 0.0, 1.0);
    return y;
}

/// The places, a few at most, with each of the wanted compositions that the layer has: bracketed by the places so far,
/// then by halving.
void add_compositions(const LayerParameters& layer, const std::vector<double>& wanted, LayerPlaces& places)
{
    constexpr int halvings = 40, most_places = 8;
    std::vector<double> x = places.x_um;
    std::sort(x.begin(), x.end());
    const std::vector<double> y = composition_at(layer, x);
    std::vector<double> below, above, target;  // ends of the interval at which y <= target, y >= target
    for (const double t : wanted)
        for (std::size_t i = 0, found = 0; i + 1 < x.size() && found < most_places; ++i) {
            if ((y[i] - t) * (y[i + 1] - t) > 0.0) continue;
            const bool rises = y[i] <= t;
            below.push_back(x[rises ? i : i + 1]);
            above.push_back(x[rises ? i + 1 : i]);
            target.push_back(t);
            ++found;
        }
    std::vector<double> middle(target.size());
    for (int n = 0; n < halvings && !target.empty(); ++n) {
        for (std::size_t k = 0; k < middle.size(); ++k) middle[k] = 0.5 * (below[k] + above[k]);
        const std::vector<double> found = composition_at(layer, middle);
        for (std::size_t k = 0; k < middle.size(); ++k) (found[k] < target[k] ? below : above)[k] = middle[k];
    }
    places.x_um.insert(places.x_um.end(), middle.begin(), middle.end());
    places.y.insert(places.y.end(), target.begin(), target.end());
}

}  // namespace

Limits limits_of_profile(const Profile& profile)
{
    constexpr double rounding = 1e-9;
    if (profile.quantity == Quantity::composition) return {-rounding, 1.0 + rounding};
    return definition_tables::limits_of(profile.quantity);
}

LayerPlaces places_to_check(const LayerParameters& layer, std::span<const Profile* const> profiles)
{
    constexpr int parts = 100;
    const double end = thickness_um(layer);
    LayerPlaces places;
    for (int i = 0; i <= parts; ++i) places.x_um.push_back(end * i / parts);
    add_turns(layer.composition, end, places.x_um);
    std::vector<double> compositions;
    for (const Profile* p : profiles) {
        if (p->dependence == Dependence::on_x) add_turns(*p, end, places.x_um);
        if (p->dependence == Dependence::on_y) add_turns(*p, 1.0, compositions);
    }
    places.y = composition_at(layer, places.x_um);
    add_compositions(layer, compositions, places);
    return places;
}

LayerPlaces places_at(const LayerParameters& layer, std::vector<double> x_um)
{
    LayerPlaces places{std::move(x_um), {}};
    places.y = composition_at(layer, places.x_um);
    return places;
}

std::vector<double> values_at(const LayerParameters& layer, const Profile& profile, const LayerPlaces& places)
{
    std::vector<double> values(places.x_um.size());
    evaluate_profile(profile, profile.dependence == Dependence::on_x ? places.x_um : places.y, thickness_um(layer),
                     values);
    return values;
}

bool graded_values_hold(Report& report, const SiCell& cell)
{
    bool hold = true;
    const auto check = [&](std::size_t j, const Profile& profile, const std::string& name) {
        const LayerParameters& layer = cell.cell.layer[j];
        const auto tell = [&](const std::string& fault) {
            const std::string law = profile.dependence == Dependence::uniform
                                        ? ""
                                        : " by law " + integer(static_cast<long>(profile.law)) + " (" +
                                              std::string(law_name(profile.law)) + ")";
            KOVINErrorMessage(report, "Grading", place_of_profile(j, layer, name) + law + fault);
            hold = false;
        };
        if (profile.law == Law::table && !has_its_rows(profile)) return tell(" has no rows");
        if (!can_be_evaluated(layer, profile)) return;
        const LayerPlaces places = places_to_check(layer, {&profile});
        const std::vector<double> values = values_at(layer, profile, places);
        const Limits limits = limits_to_compute(profile);
        const auto bad = std::find_if(values.begin(), values.end(), [&](double value) { return !limits.hold(value); });
        if (bad == values.end()) return;
        const double x = places.x_um[static_cast<std::size_t>(bad - values.begin())];
        tell(" is " + shortest(*bad) + " at x = " + shortest(x) + " um, with which nothing can be computed");
    };
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.cell.layers); ++j)
        for_each_profile(cell.cell.layer[j],
                         [&](const Profile& profile, const std::string& name) { check(j, profile, name); });
    return hold;
}

}  // namespace kovin
