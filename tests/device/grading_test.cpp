// The grading laws: closed formulas, ends, constants beyond all sense, turning around.
#include "device/grading.h"

#include "base/incomplete_beta.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace kovin {
namespace {

Profile profile_of(Law law, Dependence dependence, double a, double b, double c3 = 0, double c4 = 0, double c5 = 0)
{
    Profile p;
    p.law = law;
    p.dependence = dependence;
    p.pure_A = p.left = a;
    p.pure_B = p.right = b;
    p.third = c3, p.fourth = c4, p.fifth = c5;
    return p;
}

double value_at(const Profile& p, double x, double thickness)
{
    double result = 0.0;
    evaluate_profile(p, std::span(&x, 1), thickness, std::span(&result, 1));
    return result;
}

TEST(Grading, LawsFollowTheirFormulasAndMeetBothEnds)
{
    // x runs from 0 to w, t = x/w; a and b stand at the ends.
    using F = std::function<double(double x, double w)>;
    struct Row {
        const char* what;
        Profile p;
        bool meets_ends;
        F formula;
    };
    const auto on = [](Law law, double a, double b, double c3 = 0, double c4 = 0, double c5 = 0) {
        return profile_of(law, Dependence::on_x, a, b, c3, c4, c5);
    };
    const auto quartic = [](double a, double b, double c3, double c4) -> F {
        return [=](double x, double w) {
            const double l = (0 - c3) * (0 - c3), r = (w - c3) * (w - c3), z = (x - c3) * (x - c3);
            const double D = w * (w - 2 * c3) * r * l;
            const double A = l * (b - c4) - r * (a - c4), B = r * r * (a - c4) - l * l * (b - c4);
            return (z * A / D + B / D) * z + c4;
        };
    };
    const double root_pi = std::sqrt(std::numbers::pi);
    const Row rows[] = {
        {"0", on(Law::uniform, 2, 5), false, [](double, double) { return 2.0; }},
        {"10", on(Law::uniform_B, 2, 5), false, [](double, double) { return 5.0; }},
        {"11", on(Law::uniform_y, 2, 2), true, [](double, double) { return 2.0; }},
        {"1", on(Law::linear, 2, 5), true, [](double x, double w) { return 2 + 3 * x / w; }},
        {"7", on(Law::alpha_interpolation, 2, 5), true, [](double x, double w) { return 2 + 3 * x / w; }},
        {"2", on(Law::parabolic, 2, 5, 4, -9), true,
         [](double x, double w) { return 2 + 3 * x / w - (w - x) * x * 4 / w / w; }},
        {"2, floor", on(Law::parabolic, 1, 1.5, 4, 0.7), true,
         [](double x, double w) { return std::max(1 + 0.5 * x / w - (w - x) * x * 4 / w / w, 0.7); }},
        {"3", on(Law::logarithmic, 1e14, 1e20), true, [](double x, double w) { return 1e14 * std::pow(1e6, x / w); }},
        {"4", on(Law::exponential, 5, 3, 1, 0.3, 0.7), true,
         [](double x, double w) {
             return 1 + 4 * std::sinh((w - x) / 0.3) / std::sinh(w / 0.3) + 2 * std::sinh(x / 0.7) / std::sinh(w / 0.7);
         }},
        {"4, short decays", on(Law::exponential, 5, 3, 1, 0.01, 0.002), true,
         [](double x, double w) { return 1 + 4 * std::exp(-x / 0.01) + 2 * std::exp(-(w - x) / 0.002); }},
        {"5", on(Law::beta, 2, 5, 2, 3), true,
         [](double x, double w) {
             const double t = x / w;
             return 2 + 3 * t * t * (6 - 8 * t + 3 * t * t);
         }},
        {"6: both materials weigh the same at t = 1/2", on(Law::effective_medium, 2, 8), true,
         [](double x, double w) {  // Bruggeman: (1-t) (a-e)/(a+2e) + t (b-e)/(b+2e) = 0
             const double t = x / w, P = (2 * 2 - 8.0) * (1 - t) + (2 * 8 - 2.0) * t;
             const double e = (P + std::sqrt(8 * 2 * 8 + P * P)) / 4;
             EXPECT_NEAR((1 - t) * (2 - e) / (2 + 2 * e) + t * (8 - e) / (8 + 2 * e), 0.0, 1e-14);
             return e;
         }},
        {"8", on(Law::power, 4, 9, 2), true, [](double x, double w) { return std::pow(2 + x / w, 2); }},
        {"9, minimum inside", on(Law::parabolic_2, 0.6, 0.25, 0.5, 0.15), true,
         [](double x, double w) {
             return x < 0.5 ? 0.15 + 0.45 * std::pow(1 - x / 0.5, 2) : 0.15 + 0.1 * std::pow((x - 0.5) / (w - 0.5), 2);
         }},
        {"9, minimum at the left end", on(Law::parabolic_2, 0.6, 0.25, 0.0, 0.15), false,
         [](double x, double w) { return 0.15 + 0.1 * x * x / w / w; }},
        {"9, extremum left of the layer", on(Law::parabolic_2, 2, 5, -1.5, 0.5), true, quartic(2, 5, -1.5, 0.5)},
        {"9, extremum right of it", on(Law::parabolic_2, 2, 5, 9.0, 0.5), true, quartic(2, 5, 9.0, 0.5)},
        {"14 from the right", on(Law::diffusion_gauss, 2, 5, 3, 0.16, 0.1), false,
         [=](double x, double w) { return 3 / (0.8 * root_pi / 2) * std::exp(-std::pow((w - x - 0.1) / 0.8, 2)); }},
        {"15 from the left", on(Law::diffusion_erfc, 2, 5, 3, -0.16, 0.1), false,
         [=](double x, double) { return 3 / (0.8 * root_pi / 2) * std::erfc(x / 0.8); }},
    };
    for (const Row& row : rows)
        for (const Dependence dependence : {Dependence::on_x, Dependence::on_y}) {
            const double w = dependence == Dependence::on_x ? 2.0 : 1.0;
            Profile p = row.p;
            p.dependence = dependence;
            const std::array<double, 5> x{0.0, 0.21 * w, 0.5 * w, 0.86 * w, w};
            std::array<double, 5> value{};
            evaluate_profile(p, x, 2.0, value);
            for (std::size_t i = 0; i < x.size(); ++i) {
                const double expected = row.formula(x[i], w);
                EXPECT_NEAR(value[i], expected, 1e-12 * std::fabs(expected)) << row.what << " at " << x[i];
            }
            EXPECT_TRUE(!row.meets_ends || (value[0] == p.left && value[4] == p.right)) << row.what;
            interpolation(p, x, 2.0, value, true);
            EXPECT_TRUE(p.left == value[0] && p.right == value[4]) << row.what;
        }
}

TEST(Grading, NoConstantGivesAnInfiniteValue)
{
    constexpr double big = std::numeric_limits<double>::max(), small = std::numeric_limits<double>::denorm_min();
    constexpr double values[] = {0.0, 1.0, -1.0, small, 1e-30, -1e-10, 1e25, big, -big};
    const std::array<double, 5> x{0.0, 1e-9, 0.7, 1.0, 2.0};
    std::array<double, 5> value{};
    for (int law = 0; law <= 15; ++law)
        for (const double a : values)
            for (const double b : {1.0, 1e-42, -big})
                for (const double c3 : values)
                    for (const double c4 : values)
                        for (const double thickness : {2.0, 1e-5}) {
                            const Profile p = profile_of(static_cast<Law>(law), Dependence::on_x, a, b, c3, c4, c4);
                            evaluate_profile(p, x, thickness, value);
                            for (const double v : value)
                                ASSERT_TRUE(std::isfinite(v)) << law << ": " << a << ' ' << b << ' ' << c3 << ' ' << c4;
                        }
}

TEST(Grading, SpecialCases)
{
    const auto x = Dependence::on_x;
    struct Row {
        const char* what;
        Profile p;
        double at, thickness, expected;
    };
    const Row rows[] = {
        {"a layer without thickness is uniform", profile_of(Law::linear, x, 2, 5), 0.0, 0.0, 2.0},
        {"a zero end is ten orders down", profile_of(Law::logarithmic, x, 0, 1e20), 0.0, 2.0, 1e10},
        {"and halfway between in ln", profile_of(Law::logarithmic, x, 0, 1e20), 1.0, 2.0, 1e15},
        {"also where the unit makes all values small", profile_of(Law::logarithmic, x, 0, 1e-42), 0.0, 2.0, 1e-52},
        {"two zero ends", profile_of(Law::logarithmic, x, 0, 0), 1.0, 2.0, 0.0},
        {"exponential: the background in between", profile_of(Law::exponential, x, 5, 3, 1, 1e-9, 1e-9), 1.0, 2.0, 1.0},
        {"power: exponents are limited", profile_of(Law::power, x, 4, 9, -7), 1.0, 2.0, 9 * std::pow(0.5, 0.001)},
        {"power of a negative end", profile_of(Law::power, x, -1, 3, 1), 1.0, 2.0, 1.0},
        {"diffusion ends at t^2 = 80", profile_of(Law::diffusion_gauss, x, 1, 1, 1e30, -1e-4, 0), 0.2, 2.0, 0.0},
        {"places beyond the layer count as its end", profile_of(Law::linear, x, 2, 5), 2.1, 2.0, 5.0},
        {"a file that was not loaded", profile_of(Law::from_file, x, 2, 5), 1.0, 2.0, 0.0},
    };
    for (const Row& r : rows) EXPECT_NEAR(value_at(r.p, r.at, r.thickness), r.expected, 1e-12 * r.expected) << r.what;
    // The total of a finite source is its constant, however far it has spread.
    const Profile dose = profile_of(Law::diffusion_gauss, x, 0, 0, 7e15, -0.04, 0.001);
    double sum = 0.0;
    for (int i = 0; i < 40000; ++i) sum += 1e-4 * value_at(dose, (i + 0.5) * 1e-4 + 0.001, 10.0);
    EXPECT_NEAR(sum, 7e15, 1e-6 * 7e15);
}

TEST(Grading, TurnedAroundTwiceIsTheSame)
{
    for (int law = 0; law <= 15; ++law) {
        Profile p = profile_of(static_cast<Law>(law), Dependence::on_x, 0.6, 0.25, 0.7, 0.3, 0.05);
        p.table_x = {0.0, 0.4, 2.0};
        p.table_y = {1.0, 3.0, 2.0};
        if (p.law == Law::uniform || p.law == Law::uniform_B) continue;
        if (p.law == Law::from_file) {  // the file keeps its direction, and is read in it again
            SwapGradingLeftRight(p, 2.0);
            EXPECT_TRUE(p.table_x.back() == 2.0 && p.table_y.back() == 2.0);
            continue;
        }
        if (p.law == Law::uniform_y) p.right = p.left;
        Profile turned = p;
        SwapGradingLeftRight(turned, 2.0);
        for (const double x : {0.0, 0.3, 1.1, 2.0})
            EXPECT_NEAR(value_at(turned, x, 2.0), value_at(p, 2.0 - x, 2.0), 1e-12) << "law " << law;
        SwapGradingLeftRight(turned, 2.0);
        EXPECT_NEAR(turned.third, p.third, 1e-15);
        EXPECT_EQ(turned.fourth, p.fourth);
    }
}

TEST(Grading, EndsFollowTheComposition)
{
    LayerParameters layer;
    test::set_layer(layer, 0, {.d = 2e-6});
    layer.composition = profile_of(Law::parabolic_2, Dependence::on_x, 0.6, 0.2, 1.5, 0.1);
    MaterialParameters& m = layer.material;
    m.Eg = profile_of(Law::parabolic, Dependence::on_y, 1.0, 1.7, 0.2, 0.5);
    m.Eg.left = m.Eg.right = 99.0;  // stale
    m.Nd = profile_of(Law::linear, Dependence::on_x, 1e20, 3e20);
    recalculate_ends(layer);
    EXPECT_NEAR(m.Eg.left, 1.0 + 0.7 * 0.6 - 0.2 * 0.24, 1e-14);
    EXPECT_NEAR(m.Eg.right, 1.0 + 0.7 * 0.2 - 0.2 * 0.16, 1e-14);
    EXPECT_EQ(m.Nd.right, 3e20);
}

TEST(Grading, MinimumOfAParabolaActsOnItsValues)
{
    // The minimum 0.7 lifts the left end, and not the parabola that starts at 0.3 there: 0.9 is left of 1.1 in the
    // middle.
    LayerParameters layer;
    test::set_layer(layer, 0, {.d = 2e-6});
    Profile& Eg = layer.material.Eg;
    Eg = profile_of(Law::parabolic, Dependence::on_x, 0.3, 1.9, 0.8, 0.7);
    for (int pass = 0; pass < 3; ++pass) {  // the contacts and the scales make the ends anew, each for itself
        EXPECT_NEAR(value_at(Eg, 1.0, 2.0), 0.9, 1e-14) << pass;
        EXPECT_EQ(value_at(Eg, 0.0, 2.0), 0.7) << pass;
        recalculate_ends(layer);
        EXPECT_TRUE(Eg.left == 0.7 && Eg.right == 1.9) << pass;
    }
    SwapGradingLeftRight(Eg, 2.0);
    EXPECT_NEAR(value_at(Eg, 1.0, 2.0), 0.9, 1e-14) << "turned around";
    EXPECT_EQ(value_at(Eg, 2.0, 2.0), 0.7) << "turned around";
}

TEST(IncompleteBeta, Identities)
{
    for (const double x : {0.0, 1e-6, 0.1, 0.5, 0.77, 1.0})
        for (const double a : {0.001, 0.3, 1.0, 2.5, 40.0, 1000.0}) {
            EXPECT_NEAR(IncompleteBeta(a, 1, x), std::pow(x, a), 1e-11) << a << ' ' << x;
            EXPECT_NEAR(IncompleteBeta(1, a, x), 1 - std::pow(1 - x, a), 1e-11) << a << ' ' << x;
            for (const double b : {0.001, 0.7, 1000.0})
                EXPECT_NEAR(IncompleteBeta(a, b, x) + IncompleteBeta(b, a, 1 - x), 1.0, 1e-11) << a << ' ' << b;
        }
    EXPECT_NEAR(IncompleteBeta(2, 3, 0.5), 0.6875, 1e-14);
    EXPECT_NEAR(IncompleteBeta(0.5, 0.5, 0.25), 1.0 / 3.0, 1e-13) << "arcsine law";
    EXPECT_NEAR(gammaln(0.5), 0.5 * std::log(std::numbers::pi), 1e-14);
}

}  // namespace
}  // namespace kovin
