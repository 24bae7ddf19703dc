// Characteristics of curves whose figures are known in closed form.
#include "results/iv_characteristics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kovin {
namespace {

constexpr double JL = 35.0, kT = 0.0259;

/// Ideal diode under light, p side at the left: J = Js (exp(V/kT) - 1) - JL, Voc = 0.65 V.
const double Js = JL / std::expm1(0.65 / kT);
double diode(double V) { return Js * std::expm1(V / kT) - JL; }

struct Samples {
    std::vector<double> V, J;
};
Samples diode_curve(double from, double to, int points)
{
    Samples s;
    for (int i = 0; i < points; ++i) {
        s.V.push_back(from + (to - from) * i / (points - 1));
        s.J.push_back(diode(s.V.back()));
    }
    return s;
}

/// Maximum power of the diode by Newton's iteration on d(V J)/dV = 0.
double exact_maximum_power()
{
    double V = 0.55;
    for (int i = 0; i < 50; ++i) {
        const double e = Js * std::exp(V / kT);
        V -= (e * (1.0 + V / kT) - Js - JL) / (e * (2.0 + V / kT) / kT);
    }
    return -V * diode(V);
}

constexpr CurveLight one_sun{.dark = false, .Pin = 1000.0};

TEST(IVParameters, MeetsTheIdealDiode)
{
    const double P = exact_maximum_power();
    struct Row {
        const char* what;
        double from, to;
        int points;
        bool Voc_extrapolated, Jsc_extrapolated;
        double Voc_tolerance;
    };
    const Row rows[] = {
        {"from short circuit, fine", 0.0, 0.7, 71, false, false, 2e-4},
        {"negative start", -0.3, 0.7, 51, false, false, 1e-3},
        {"falling voltage", 0.7, 0.0, 71, false, false, 2e-4},
        // a chord of h = 10 mV continued by another h is off by about h^2/kT
        {"ends just before Voc", 0.0, 0.64, 65, true, false, 5e-3},
        {"starts above 0", 0.1, 0.7, 61, false, true, 2e-4},
    };
    for (const Row& row : rows) {
        const Samples s = diode_curve(row.from, row.to, row.points);
        IVCharacteristics r;
        ASSERT_TRUE(IVParameters(s.V, s.J, one_sun, r)) << row.what;
        EXPECT_TRUE(r.VocValid && r.JscValid && r.FFValid && r.etaValid) << row.what;
        EXPECT_NEAR(r.Voc, 0.65, row.Voc_tolerance) << row.what;
        EXPECT_NEAR(r.Jsc, JL, 1e-6) << row.what;
        // The model through three points is exact for a single exponential; ten bisections leave 1e-5 V.
        EXPECT_NEAR(r.eta, P, 1e-4) << row.what;
        EXPECT_NEAR(r.Vmpp * r.Jmpp, P, 1e-4) << row.what;
        EXPECT_NEAR(r.FF, 100.0 * P / r.Voc / JL, 1e-3) << row.what;
        EXPECT_EQ(r.VocExtrapolated, row.Voc_extrapolated) << row.what;
        EXPECT_EQ(r.JscExtrapolated, row.Jsc_extrapolated) << row.what;
        EXPECT_EQ(r.FFExtrapolated, row.Voc_extrapolated || row.Jsc_extrapolated) << row.what;
    }
}

TEST(IVParameters, CellWithItsNSideAtTheLeftHasTheSameFigures)
{
    const Samples s = diode_curve(0.0, 0.7, 71);
    Samples mirrored = s;
    for (double& V : mirrored.V) V = -V;
    for (double& J : mirrored.J) J = -J;
    IVCharacteristics a, b;
    ASSERT_TRUE(IVParameters(s.V, s.J, one_sun, a));
    ASSERT_TRUE(IVParameters(mirrored.V, mirrored.J, one_sun, b));
    EXPECT_NEAR(a.Voc, b.Voc, 1e-12);
    EXPECT_NEAR(a.Jsc, b.Jsc, 1e-9);
    EXPECT_NEAR(a.FF, b.FF, 2e-3);  // the bisection runs from the other side
}

TEST(IVParameters, StraightLineIsSolvedExactly)
{
    // J = 40 V - 20: Voc 0.5 V, Jsc 20, maximum at half of both.
    const std::vector<double> V{0.0, 0.125, 0.25, 0.375, 0.5, 0.625};
    std::vector<double> J;
    for (double v : V) J.push_back(40.0 * v - 20.0);
    IVCharacteristics r;
    ASSERT_TRUE(IVParameters(V, J, one_sun, r));
    EXPECT_NEAR(r.Voc, 0.5, 1e-12);
    EXPECT_NEAR(r.Jsc, 20.0, 1e-12);
    EXPECT_NEAR(r.FF, 25.0, 1e-9);
    EXPECT_NEAR(r.Vmpp, 0.25, 1e-12);
    EXPECT_FALSE(r.FFExtrapolated);

    // Two of its points: everything from the line; the larger of the two powers.
    ASSERT_TRUE(IVParameters(std::vector{0.125, 0.25}, std::vector{-15.0, -10.0}, one_sun, r));
    EXPECT_NEAR(r.Voc, 0.5, 1e-12);
    EXPECT_NEAR(r.Jsc, 20.0, 1e-12);
    EXPECT_NEAR(r.Jmpp * r.Vmpp, 2.5, 1e-12);
    EXPECT_TRUE(r.FFExtrapolated && r.etaExtrapolated);
}

TEST(IVParameters, FindsNothingWhereNothingIs)
{
    const std::vector<double> V{0.0, 0.1, 0.2}, J{-30.0, -30.0, -30.0};
    IVCharacteristics r;
    r.Voc = 7.0;
    EXPECT_FALSE(IVParameters(V, J, CurveLight{}, r)) << "dark";
    EXPECT_FALSE(IVParameters(std::vector{0.0}, std::vector{1.0}, one_sun, r)) << "one point";
    EXPECT_FALSE(IVParameters(std::vector{0.1, 0.1, 0.2}, J, one_sun, r)) << "equal first voltages";
    EXPECT_EQ(r.Voc, 7.0) << "record untouched";

    ASSERT_TRUE(IVParameters(V, J, one_sun, r));
    EXPECT_FALSE(r.VocValid) << "constant current";
    EXPECT_FALSE(r.FFValid);
    EXPECT_NEAR(r.Jsc, 30.0, 1e-12);

    ASSERT_TRUE(IVParameters(V, std::vector{-30.0, -29.9, -29.8}, one_sun, r));
    EXPECT_FALSE(r.VocValid) << "30 V is no open-circuit voltage";
    EXPECT_EQ(r.Voc, 0.0);
}

TEST(IVParameters, GivenGenerationMakesTheEfficiencyACollectionFigure)
{
    const Samples s = diode_curve(0.0, 0.7, 71);
    IVCharacteristics r;
    const CurveLight light{.dark = false, .generationSpecified = true, .attenuation = 50.0, .idealCurrent = 80.0};
    ASSERT_TRUE(IVParameters(s.V, s.J, light, r));
    EXPECT_TRUE(r.etaIsCollection);
    EXPECT_NEAR(r.eta, 100.0 * JL / 40.0, 1e-6);
}

}  // namespace
}  // namespace kovin
