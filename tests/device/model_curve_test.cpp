// The curves of the parametric models against their formulas and against known integrals.
#include "device/model_curve.h"

#include "device/model_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kovin {
namespace {

Model model_with(int number, std::array<double, 5> p)
{
    Model model = model_of_number(number);
    model.values = p;
    return model;
}

/// Integral of weight(x) y(x) up to x = `end`, by the trapezoid rule.
template <class Weight>
double integral(const ModelCurve& c, Weight weight, double end = 1e300)
{
    double sum = 0.0;
    for (std::size_t i = 1; i < c.x.size(); ++i)
        if (c.x[i] <= end)
            sum += 0.5 * (c.x[i] - c.x[i - 1]) * (weight(c.x[i]) * c.y[i] + weight(c.x[i - 1]) * c.y[i - 1]);
    return sum;
}
double integral(const ModelCurve& c)
{
    return integral(c, [](double) { return 1.0; });
}

/// On the straight lines between the points, 0 outside.
double value_at(const ModelCurve& c, double x)
{
    for (std::size_t i = 1; i < c.x.size(); ++i)
        if (x >= c.x[i - 1] && x <= c.x[i] && c.x[i] > c.x[i - 1])
            return c.y[i - 1] + (x - c.x[i - 1]) / (c.x[i] - c.x[i - 1]) * (c.y[i] - c.y[i - 1]);
    return 0.0;
}

TEST(SpectrumModels, RectanglesHaveTheirLimitsFrameAndHeight)
{
    struct Row {
        const char* what;
        int number;
        std::array<double, 5> p;
        double first, low, high;  // frame, limits [nm]
        double y_low;             // density at the lower limit [W/(cm2 nm)]
    };
    const Row rows[] = {
        {"power", 42, {1, 400, 800}, 399.9, 400, 800, 0.1 / 400},
        {"limits in any order", 42, {2, 800, 400}, 399.9, 400, 800, 0.2 / 400},
        {"equal limits: 0.1 nm", 42, {1, 500, 500}, 499.9, 500, 500.1, 1.0},
        {"no light without a wavelength", 42, {1, -7, 100.2}, 0.1, 0.2, 100.2, 0.001},
        {"flux: p1/range photons of 1239.977 eV nm/lambda each, in J",
         41,
         {6.242e16, 400, 800},
         399.9,
         400,
         800,
         6.242e16 / 400 * 1239.977 / 400 * 1.602e-19},
        {"band about its centre", 45, {1, 600, 10}, 594.9, 595, 605, 0.01},
        {"narrow band: a fifth of it frames it", 45, {1, 600, 0.1}, 599.93, 599.95, 600.05, 1.0},
        {"flux in a band", 44, {6.242e16, 600, 10}, 594.9, 595, 605, 6.242e16 / 10 * 1239.977 / 595 * 1.602e-19},
    };
    for (const Row& r : rows) {
        const ModelCurve c = CalculateBasicModelXY(model_with(r.number, r.p));
        ASSERT_EQ(c.x.size(), 41u) << r.what;
        EXPECT_NEAR(c.x[0], r.first, 1e-9) << r.what;
        EXPECT_NEAR(c.x[1], r.low, 1e-9) << r.what;
        EXPECT_NEAR(c.x[39], r.high, 1e-9) << r.what;
        EXPECT_NEAR(c.x[40] - c.x[39], c.x[1] - c.x[0], 1e-9) << r.what;
        EXPECT_EQ(c.y[0] + c.y[40], 0.0) << r.what;
        // The two photon constants of the program agree to four digits.
        EXPECT_NEAR(c.y[1], r.y_low, 2e-4 * r.y_low) << r.what;
        EXPECT_NEAR(c.y[39] * (r.number % 3 == 2 ? r.high / r.low : 1.0), c.y[1], 1e-9 * c.y[1]) << r.what;
    }
}

TEST(SpectrumModels, BlackBodyHasThePropertiesOfPlancksLaw)
{
    // A quarter of the power lies below the wavelength of the maximum, 2.7012 kT is the mean photon energy.
    // Here the range ends at 40 times the maximum, which keeps away cut^2/2 of 2.404 parts of the photons, and k is
    // 0.17 % larger than in the tables of today: a grid that meets at the maximum passes it by as much.
    const double cut = hc_eV_nm / (40 * 2897770.0) / thermal_voltage(1.0);
    for (const double T : {300.0, 3000.0, 6000.0}) {
        Model model = model_with(43, {1, T, 1, 1e6});
        model.points = 1001;
        const ModelCurve c = CalculateBasicModelXY(model);
        const double peak = 2897770.0 / T;
        EXPECT_NEAR(c.x.front(), 0.2 * peak, 1e-9 * peak);
        EXPECT_NEAR(c.x.back(), 40 * peak, 1e-9 * peak);
        EXPECT_NEAR(integral(c), 0.1, 1e-12) << "one sun";
        EXPECT_NEAR(integral(
                        c, [](double) { return 1.0; }, peak * 1.000001) /
                        0.1,
                    0.2501 + 0.0017 * 0.657, 3e-4);
        const double mean_photon = 0.1 / integral(c, [](double x) { return x / hc_eV_nm; });
        EXPECT_NEAR(mean_photon / thermal_voltage(T), 2.7012 * (1 + cut * cut / 2 / 2.404), 1e-3);
        const std::size_t top = static_cast<std::size_t>(std::max_element(c.y.begin(), c.y.end()) - c.y.begin());
        EXPECT_NEAR(c.x[top], peak, 0.01 * peak) << "Wien";
    }
    struct Row {
        const char* what;
        std::array<double, 5> p;
        double first, last;
    };
    constexpr Row rows[] = {
        {"limits", {1, 6000, 300, 4000}, 300, 4000},
        {"limits in any order", {1, 6000, 4000, 300}, 300, 4000},
        {"at least 10 nm apart", {1, 6000, 500, 501}, 500, 510},
        {"peak outside", {1, 6000, 600, 900}, 600, 900},
        {"far too cold for its window: still normalised", {1, 10, 300, 4000}, 4000, 4010},
    };
    for (const Row& r : rows) {
        const ModelCurve c = CalculateBasicModelXY(model_with(43, r.p));
        ASSERT_EQ(c.x.size(), 101u) << r.what;
        EXPECT_NEAR(c.x.front(), r.first, 1e-9) << r.what;
        EXPECT_NEAR(c.x.back(), r.last, 1e-9) << r.what;
        EXPECT_NEAR(integral(c), 0.1, 1e-12) << r.what;
    }
}

TEST(GenerationModels, FormulasAndIntegrals)
{
    // In a cell of 3 um: G [1/(cm3 s)] at x [um], and the whole, which is the first parameter.
    constexpr double p1 = 6.242e16, um = 1e4, root_2pi = 2.5066282746;
    struct Row {
        const char* what;
        int number;
        std::array<double, 5> p;
        double x, G;
        double share;  // of p1 that lies in x > 0
    };
    const Row rows[] = {
        {"constant", 21, {p1}, 2.9, p1 * um / 3, 1},
        {"constant, behind the cell", 21, {p1}, 3.0011, 0, 1},
        {"from the left: surface", 22, {p1, 0.2}, 0, p1 * um / 0.2, 1},
        {"from the left: one decay length", 22, {p1, 0.2}, 0.2, p1 * um / 0.2 * std::exp(-1), 1},
        {"from the left: its end", 22, {p1, 0.2}, 1.4001, 0, 1},
        {"from the right: surface", 23, {p1, 0.2}, 3, p1 * um / 0.2, 1},
        {"from the right: one decay length", 23, {p1, 0.2}, 2.8, p1 * um / 0.2 * std::exp(-1), 1},
        {"from the right through the whole cell", 23, {p1, 1.5}, 0, p1 * um / 1.5 * std::exp(-2), 1 - std::exp(-2)},
        {"rectangle: inside", 24, {p1, 1, 1}, 1.498, p1 * um, 1},
        {"rectangle: outside", 24, {p1, 1, 1}, 1.502, 0, 1},
        {"rectangle: on the edge", 24, {p1, 1, 1}, 0.5, p1 * um / 2, 1},
        {"rectangle thinner than its edges", 24, {p1, 1, 1e-4}, 1, p1 * um / 1e-4, 1},
        {"rectangle from before the cell", 24, {p1, 0.1, 0.4}, 0, p1 * um / 0.4, 0.75},
        {"Gaussian: top", 25, {p1, 1, 0.2}, 1, p1 * um / (root_2pi * 0.2), 1},
        {"Gaussian: one standard deviation", 25, {p1, 1, 0.2}, 1.2, p1 * um / (root_2pi * 0.2) * std::exp(-0.5), 1},
        {"Gaussian: half of it in the cell", 25, {p1, 0, 0.2}, 0, p1 * um / (root_2pi * 0.2), 0.5},
        {"exponential tails: plateau", 26, {p1, 1.5, 0.2, 0.1}, 1.42, p1 * um / (0.2 + 2 * 0.1), 1},
        {"exponential tails: tail", 26, {p1, 1.5, 0.2, 0.1}, 1.7, p1 * um / 0.4 * std::exp(-1), 1},
        {"gaussian tails: plateau", 27, {p1, 1.5, 0.2, 0.1}, 1.58, p1 * um / (0.2 + root_2pi * 0.1), 1},
        {"gaussian tails: tail", 27, {p1, 1.5, 0.2, 0.1}, 1.3, p1 * um / (0.2 + root_2pi * 0.1) * std::exp(-0.5), 1},
    };
    for (const Row& r : rows) {
        const ModelCurve c = CalculateBasicModelXY(model_with(r.number, r.p), {.d_um = 3.0});
        // A straight line between two points runs 1 % above the curve at most; tails are cut at 7 decay lengths.
        EXPECT_NEAR(value_at(c, r.x), r.G, 0.015 * r.G) << r.what;
        EXPECT_NEAR(integral(c) / um, r.share * p1, 3e-3 * p1) << r.what;
    }
    EXPECT_TRUE(CalculateBasicModelXY(model_with(25, {p1, -5, 0.1})).x.empty()) << "in front of the cell";
    EXPECT_NEAR(value_at(CalculateBasicModelXY(model_with(21, {p1})), 1.0), p1 * um / 2, 1e9) << "2 um without layers";
}

TEST(ModelCurves, NoParameterMakesNumbersThatAreNone)
{
    constexpr double extremes[] = {0.0, -1.0, -1e308, 1e308, 5e-324, 1e9};
    for (const Model& row : ActualModelParameters())
        for (std::size_t k = 1; k < 4 && row.model_class != ModelClass::absorption; ++k)
            for (const double extreme : extremes)
                for (const int points : {-3, 41, 1000000}) {
                    Model model = row;
                    model.values[k] = extreme;
                    model.points = points;
                    const ModelCurve c =
                        CalculateBasicModelXY(model, {.d_um = k == 1 ? extreme : 1.0, .widthtail = std::abs(extreme)});
                    const std::string what = row.name + ", value " + std::to_string(k + 1);
                    ASSERT_LE(c.x.size(), 2500u) << what;
                    EXPECT_TRUE(std::is_sorted(c.x.begin(), c.x.end())) << what;
                    for (std::size_t i = 0; i < c.x.size(); ++i)
                        ASSERT_TRUE(c.x[i] >= 0.0 && std::isfinite(c.x[i] + c.y[i])) << what << " = " << extreme;
                    if (row.model_class == ModelClass::spectrum) {
                        EXPECT_GT(integral(c), 0.0) << what;
                    }
                }
    EXPECT_TRUE(CalculateBasicModelXY(model_with(63, {1})).x.empty()) << "no curve of this kind";
    for (const Model& row : ActualModelParameters()) EXPECT_EQ(model_of_number(row.number).name, row.name);
}

TEST(ModelTable, OtherFormsOfAValueAndBack)
{
    struct Row {
        int number, parameter;
        double value, bis, tolerance;
        const char* name;
    };
    constexpr Row rows[] = {
        {41, 0, 6.242e16, 10.0, 1e-3, "Ideal light current, mA/cm2"},
        {23, 0, 6.242e16, 10.0, 1e-3, "Ideal light current, mA/cm2"},
        {42, 0, 0.5, 50.0, 1e-12, "Total photon power, mW/cm2"},
        {42, 1, 500.0, 2.48, 1e-3, "High photon energy limit, eV"},
        {43, 3, 1239.977, 1.0, 1e-12, "Low photon energy limit, eV"},
        {43, 1, 5772.0, 502.0, 0.1, "Wavelength at max photon flux, nm"},  // the sun is brightest at 502 nm
        {45, 1, 600.0, 2.0666, 1e-4, "Central photon energy, eV"},
        {45, 2, 10.0, 10.0, 0.0, ""},
        {25, 2, 0.2, 0.2, 0.0, ""},
        {63, 0, 1e5, 1e5, 0.0, ""},
    };
    for (const Row& r : rows) {
        const double bis = ParameterValueToBisParameterValue(r.number, r.parameter, r.value);
        EXPECT_NEAR(bis, r.bis, r.tolerance) << r.number << ' ' << r.parameter;
        EXPECT_NEAR(BisParameterValueToParameterValue(r.number, r.parameter, bis), r.value, 1e-12 * r.value);
        EXPECT_EQ(model_bis_parameter_name(r.number, r.parameter), r.name);
    }
    EXPECT_EQ(ParameterValueToBisParameterValue(45, 1, 0.0), 0.0);
    EXPECT_EQ(BisParameterValueToParameterValue(45, 1, -1.0), 0.0);
}

}  // namespace
}  // namespace kovin
