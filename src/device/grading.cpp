#include "device/grading.h"

#include "base/incomplete_beta.h"
#include "base/interpolate.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <numbers>
#include <utility>

namespace kovin {

namespace {

constexpr double smallest_length = 0.001;                      // um, or composition
constexpr double exponent_min = 0.001, exponent_max = 1000.0;  // laws 5 and 8
constexpr double largest = 1e100;                              // values and constants of laws
constexpr double ten_orders = 1e-10;
constexpr double far = 80.0;  // exp(-80) = 2e-35

/// What a law sees: values at the ends of its abscissa, the constants, the length of the abscissa.
struct LawInput {
    double a, b, c3, c4, c5, w;
};

/// On x the ends are those of the layer, on y those of the pure materials; the uniform laws pick one of the two.
LawInput input_of(const Profile& p, double thickness_um)
{
    const auto limited = [](double value) { return std::clamp(value, -largest, largest); };
    const bool on_x = p.dependence == Dependence::on_x;
    LawInput in{limited(on_x ? p.left : p.pure_A),
                limited(on_x ? p.right : p.pure_B),
                limited(p.third),
                limited(p.fourth),
                limited(p.fifth),
                on_x ? thickness_um : 1.0};
    if (on_x && p.law == Law::parabolic) {
        in.a = limited(p.left - p.left_lift);
        in.b = limited(p.right - p.right_lift);
    }
    if (p.law == Law::uniform) in.b = in.a;
    if (p.law == Law::uniform_B) in.a = in.b;
    return in;
}

double line(const LawInput& in, double t) { return (1.0 - t) * in.a + t * in.b; }

/// result[i] = value(t, x) at the place x of x[i], t = x/w.
template <class Value>
void along(std::span<const double> x, double w, std::span<double> result, Value value)
{
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double z = std::clamp(x[i], 0.0, w);
        result[i] = value(z / w, z);
    }
}

/// The same for a law that holds a and b exactly at the ends, whatever the rounding.
template <class Value>
void between_ends(std::span<const double> x, const LawInput& in, std::span<double> result, Value value)
{
    along(x, in.w, result, [&](double t, double z) { return t == 0.0 ? in.a : t == 1.0 ? in.b : value(t, z); });
}

void parabolic(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    along(x, in.w, result, [&](double t, double) { return std::max(line(in, t) - (1.0 - t) * t * in.c3, in.c4); });
}

/// Free of scale: a zero end lies ten orders below the other, in whatever unit; nothing between two zero ends.
void logarithmic(std::span<const double> x, LawInput in, std::span<double> result)
{
    const double larger = std::max(in.a, in.b);
    if (!(larger > 0.0)) return std::fill(result.begin(), result.end(), 0.0);
    const double floor = ten_orders * larger;
    in.a = std::max(in.a, floor);
    in.b = std::max(in.b, floor);
    between_ends(x, in, result, [&](double t, double) { return std::pow(in.a, 1.0 - t) * std::pow(in.b, t); });
}

/// sinh((w-z)/l)/sinh(w/l), z the distance from the end; where sinh would overflow, the exponential.
double decay(double z, double w, double l)
{
    if (w / l < far) return std::sinh((w - z) / l) / std::sinh(w / l);
    return z / l > far ? 0.0 : std::exp(-z / l);
}

void exponential(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    const double left = std::max(in.c4, smallest_length), right = std::max(in.c5, smallest_length);
    between_ends(x, in, result, [&](double, double z) {
        return in.c3 + decay(z, in.w, left) * (in.a - in.c3) + decay(in.w - z, in.w, right) * (in.b - in.c3);
    });
}

void beta(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    const double p = std::clamp(in.c3, exponent_min, exponent_max);
    const double q = std::clamp(in.c4, exponent_min, exponent_max);
    between_ends(x, in, result, [&](double t, double) { return line(in, IncompleteBeta(p, q, t)); });
}

void effective_medium(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    between_ends(x, in, result, [&](double t, double) {
        const double P = (2.0 * in.a - in.b) * (1.0 - t) + (2.0 * in.b - in.a) * t;
        return 0.25 * (P + std::sqrt(std::max(8.0 * in.a * in.b + P * P, 0.0)));
    });
}

/// In units of the larger end, so that no power overflows. A negative end keeps its sign in every power.
void power(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    const double m = std::clamp(in.c3, exponent_min, exponent_max);
    const double unit = std::max(std::fabs(in.a), std::fabs(in.b));
    const auto signed_power = [](double v, double n) { return std::copysign(std::pow(std::fabs(v), n), v); };
    const double a = unit > 0.0 ? signed_power(in.a / unit, 1.0 / m) : 0.0;
    const double b = unit > 0.0 ? signed_power(in.b / unit, 1.0 / m) : 0.0;
    between_ends(x, in, result, [&](double t, double) { return unit * signed_power((1.0 - t) * a + t * b, m); });
}

/// Extremum c4 at x = c3. Inside, the share of an end falls with the square of the distance from c3. Outside, with
/// X = (x-c3)^2 the value is the polynomial of second order in X through (0, c4) and both ends, in Lagrange's form:
/// its factors stay finite however far c3 lies.
void parabolic_2(std::span<const double> x, const LawInput& in, std::span<double> result)
{
    const double w = in.w;
    const double c = std::fabs(in.c3) < 1e-12 * w ? 0.0 : std::fabs(in.c3 - w) < 1e-12 * w ? w : in.c3;
    const auto mixed = [&](double of_a, double of_b) {
        return of_a * in.a + of_b * in.b + (1.0 - of_a - of_b) * in.c4;
    };
    const auto squared = [](double v) { return v * v; };
    if (c >= 0.0 && c <= w) {
        along(x, w, result, [&](double, double z) {
            if (z < c) return mixed(squared((z - c) / c), 0.0);
            return mixed(0.0, c < w ? squared((z - c) / (w - c)) : 0.0);
        });
        return;
    }
    const double middle = 0.5 * w - c;
    between_ends(x, in, result, [&](double t, double z) {
        const double of_a = (1.0 - t) * (0.5 * (z + w) - c) / middle * squared((z - c) / c);
        const double of_b = t * (0.5 * z - c) / middle * squared((z - c) / (w - c));
        return mixed(of_a, of_b);
    });
}

double length_of_diffusion(double Dt) { return std::max(2.0 * std::sqrt(std::fabs(Dt)), smallest_length); }

double gaussian_tail(double t) { return t * t < far ? std::exp(-t * t) : 0.0; }
double erfc_tail(double t) { return t * t < far ? std::erfc(t) : 0.0; }

/// The two diffusion laws: their numbers, names and shapes have been exchanged before.
struct DiffusionLaw {
    Law law;
    std::string_view name;
    double (*shape)(double t);
    bool has_offset;
};
constexpr DiffusionLaw diffusion_laws[] = {
    {Law::diffusion_gauss, "diffusion", gaussian_tail, true},
    {Law::diffusion_erfc, "diffusion: erfc", erfc_tail, false},
};

void diffusion(const DiffusionLaw& law, std::span<const double> x, const LawInput& in, std::span<double> result)
{
    const double Ld = length_of_diffusion(in.c4);
    const double at_surface = in.c3 / (0.5 * Ld * std::sqrt(std::numbers::pi));
    const double offset = law.has_offset ? std::max(in.c5, smallest_length) : 0.0;
    const bool from_right = in.c4 >= 0.0;
    along(x, in.w, result,
          [&](double, double z) { return at_surface * law.shape(((from_right ? in.w - z : z) - offset) / Ld); });
}

/// A file is continued beyond its rows, a table is not: the mesh that it was made on covers the layer.
void from_table(const Profile& p, std::span<const double> x, double w, std::span<double> result)
{
    const bool held = p.law == Law::table && !p.table_x.empty();
    std::vector<double> places(x.begin(), x.end());
    for (double& z : places) {
        z = std::clamp(z, 0.0, w);
        if (held) z = std::clamp(z, p.table_x.front(), p.table_x.back());
    }
    interpolate_table(p.table_x, p.table_y, p.table_log ? TableLaw::logarithmic : TableLaw::linear, places, result);
}

}  // namespace

std::string_view law_name(Law law)
{
    static constexpr std::string_view names[] = {
        "uniform",     "linear",        "parabolic",           "logarithmic",
        "exponential", "Beta function", "effective medium",    "alpha interpolation",
        "power law",   "parabolic 2",   "uniform pure B(y=1)", "uniform y, 0<y<1",
        "from file",   "table"};
    for (const DiffusionLaw& row : diffusion_laws)
        if (row.law == law) return row.name;
    const auto number = static_cast<std::size_t>(law);
    return number < std::size(names) ? names[number] : "unknown";
}

double diffusion_length(const Profile& profile)
{
    return length_of_diffusion(std::clamp(profile.fourth, -largest, largest));
}

void evaluate_profile(const Profile& profile, std::span<const double> x, double thickness_um, std::span<double> result)
{
    assert(x.size() == result.size());
    if (profile.dependence == Dependence::uniform) {
        std::fill(result.begin(), result.end(), profile.pure_A);
        return;
    }
    const LawInput in = input_of(profile, thickness_um);
    if (!(in.w > 0.0)) {
        std::fill(result.begin(), result.end(), in.a);
        return;
    }
    switch (profile.law) {
        case Law::uniform:
        case Law::uniform_B:
        case Law::uniform_y:
            std::fill(result.begin(), result.end(), in.a);
            return;
        case Law::linear:
        case Law::alpha_interpolation:
            return along(x, in.w, result, [&](double t, double) { return line(in, t); });
        case Law::parabolic:
            return parabolic(x, in, result);
        case Law::logarithmic:
            return logarithmic(x, in, result);
        case Law::exponential:
            return exponential(x, in, result);
        case Law::beta:
            return beta(x, in, result);
        case Law::effective_medium:
            return effective_medium(x, in, result);
        case Law::power:
            return power(x, in, result);
        case Law::parabolic_2:
            return parabolic_2(x, in, result);
        case Law::from_file:
        case Law::table:
            return from_table(profile, x, in.w, result);
        case Law::diffusion_gauss:
        case Law::diffusion_erfc:
            for (const DiffusionLaw& row : diffusion_laws)
                if (row.law == profile.law) diffusion(row, x, in, result);
            return;
    }
}

void interpolation(Profile& profile, std::span<const double> x, double thickness_um, std::span<double> result,
                   bool storeEnds)
{
    evaluate_profile(profile, x, thickness_um, result);
    if (result.empty() || !(storeEnds || profile.dependence == Dependence::uniform)) return;
    const bool parabola_on_x = profile.dependence == Dependence::on_x && profile.law == Law::parabolic;
    profile.left_lift = parabola_on_x ? result.front() - (profile.left - profile.left_lift) : 0.0;
    profile.right_lift = parabola_on_x ? result.back() - (profile.right - profile.right_lift) : 0.0;
    profile.left = result.front();
    profile.right = result.back();
}

bool has_its_rows(const Profile& p)
{
    const bool needs_rows = p.dependence != Dependence::uniform && (p.law == Law::from_file || p.law == Law::table);
    return !needs_rows || !p.table_x.empty();
}

bool can_be_evaluated(const LayerParameters& layer, const Profile& profile)
{
    return has_its_rows(profile) && (profile.dependence != Dependence::on_y || has_its_rows(layer.composition));
}

void RecalculateLeftRightValues(Profile& profile, double y_left, double y_right, double thickness_um)
{
    const bool on_x = profile.dependence == Dependence::on_x;
    const std::array<double, 2> ends{on_x ? 0.0 : y_left, on_x ? thickness_um : y_right};
    std::array<double, 2> value{};
    interpolation(profile, ends, thickness_um, value, true);
}

void recalculate_ends(LayerParameters& layer)
{
    const double thickness_um = layer.material.d * 1e6;
    if (has_its_rows(layer.composition)) RecalculateLeftRightValues(layer.composition, 0.0, 1.0, thickness_um);
    const double y_left = layer.composition.left, y_right = layer.composition.right;
    for_each_profile(layer, [&](Profile& profile, const std::string&) {
        if (&profile != &layer.composition && can_be_evaluated(layer, profile))
            RecalculateLeftRightValues(profile, y_left, y_right, thickness_um);
    });
}

void SwapGradingLeftRight(Profile& p, double thickness_um)
{
    if (p.dependence != Dependence::on_x) return;
    std::swap(p.left, p.right);
    std::swap(p.left_lift, p.right_lift);
    switch (p.law) {
        case Law::exponential:
            std::swap(p.fourth, p.fifth);
            break;
        case Law::beta:
            std::swap(p.third, p.fourth);
            break;
        case Law::parabolic_2:
            p.third = thickness_um - p.third;
            break;
        case Law::diffusion_gauss:
        case Law::diffusion_erfc:
            p.fourth = -p.fourth;
            break;
        case Law::table:
            std::reverse(p.table_x.begin(), p.table_x.end());
            std::reverse(p.table_y.begin(), p.table_y.end());
            for (double& x : p.table_x) x = thickness_um - x;
            break;
        default:
            break;
    }
}

}  // namespace kovin
