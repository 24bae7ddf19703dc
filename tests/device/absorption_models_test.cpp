// Absorption of pure materials: the formulas, and files with their units.
#include "device/absorption_models.h"

#include "base/scratch_folder.h"
#include "device/model_table.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

constexpr double Eg = 1.25;
double at_energy(double hv) { return hc_eV_nm / hv; }

TEST(AbsorptionModels, FormulasAroundTheirEdges)
{
    struct Row {
        const char* what;
        int number;
        std::array<double, 4> p;
        double lambda, alpha;
    };
    const Row rows[] = {
        {"background everywhere", 61, {3.0}, 5000.0, 3.0},
        {"step: above the gap", 62, {1e5}, at_energy(1.3), 1e5},
        {"step: half at the edge", 62, {1e5}, hc_eV_nm / Eg, 5e4},
        {"step: nothing below", 62, {1e5}, at_energy(1.2), 0.0},
        {"square root: 0 at the gap", 63, {1e5, 1e4}, hc_eV_nm / Eg, 0.0},
        {"square root at twice the gap: (p1 + p2/2)", 63, {1e5, 1e4}, at_energy(2 * Eg), 1.05e5},
        {"power law with an edge in eV", 64, {1e5, 0, 2.0, 2.0}, at_energy(3.0), 2.5e4},
        {"power law: below its edge", 64, {1e5, 0, 2.0, 2.0}, at_energy(1.9), 0.0},
        {"power law with an edge at 1.2 gaps = 1.5 eV", 65, {1e5, 0, -1.2, 1.0}, at_energy(3.0), 1e5},
        {"and nothing at 1.45 eV", 65, {1e5, 0, -1.2, 1.0}, at_energy(1.45), 0.0},
    };
    for (const Row& r : rows) {
        Model model = model_of_number(r.number);
        std::copy(r.p.begin(), r.p.end(), model.values.begin());
        model.values[4] = Eg;
        EXPECT_NEAR(AbsorptionContributionOfModel(model, r.lambda), r.alpha, 1e-9 * r.alpha) << r.what;
    }
    AbsorptionModelSet set = default_absorption_models(0, Eg, 63);
    set.models[0].on = true;  // background
    const double root_only = AbsorptionContributionOfModel(set.models[2], at_energy(2.0));
    EXPECT_NEAR(CalculateAbsorptionFromModel(set, at_energy(2.0)), root_only + set.models[0].values[0], 1e-9);
}

TEST(AbsorptionModels, SquareRootLawSurvivesItsOldForm)
{
    // alpha = (A + B/hv) sqrt(hv - Eg) per m is the square-root law in other constants.
    AbsorptionModelSet set = default_absorption_models(0, Eg, 63);
    set.models[2].values[0] = 7e4;
    set.models[2].values[1] = 2e4;
    double A = 0.0, B = 0.0;
    ExtractBestAandBFromAbsorptionModel(set, A, B);
    for (const double hv : {1.26, 1.7, 3.0})
        EXPECT_NEAR((A + B / hv) * std::sqrt(hv - Eg), 100 * CalculateAbsorptionFromModel(set, at_energy(hv)), 1.0)
            << hv;

    set = default_absorption_models(0, Eg, 61);
    ExtractBestAandBFromAbsorptionModel(set, A, B);
    EXPECT_NEAR(A, 100 * set.models[0].values[0], 1e-9) << "background alone";
    EXPECT_EQ(B, 0.0);
}

TEST(AbsorptionFile, HeadingDecidesTheUnit)
{
    struct Row {
        const char* what;
        const char* text;
        double alpha;  // at 450 nm [1/m]
        std::size_t warnings;
    };
    constexpr Row rows[] = {
        {"without a heading 1/cm", "400 1e5\n500 1e3\n", 1e6, 0},
        {"1/cm named", "nm\talpha [1/cm]\n400 1e5\n500 1e3\n", 1e6, 0},
        {"1/m named", "nm\talpha (1/m)\n400 1e7\n500 1e5\n", 1e6, 0},
        {"1/m2 is no 1/m", "> sheet of 1/m2\n400 1e5\n500 1e3\n", 1e6, 0},
        {"the line next to the table counts", "> converted from 1/m\nalpha [1/cm]\n400 1e5\n500 1e3\n", 1e6, 0},
        {"far too small for 1/cm", "400 50\n500 0.5\n", 500.0, 1},
        {"far too large for 1/cm", "400 1e9\n500 1e7\n", 1e10, 1},
    };
    const ScratchFolder scratch;
    for (const Row& r : rows) {
        Surroundings surroundings;
        Absorption absorption;
        absorption.pure_A_from_file = true;
        absorption.file_A = scratch.put("a.abs", r.text).string();
        const std::array<double, 1> lambda{450.0};
        std::array<double, 1> alpha{};
        ASSERT_TRUE(DetermineLayerAlpha(surroundings, absorption, false, lambda, alpha)) << r.what;
        EXPECT_NEAR(alpha[0], r.alpha, 1e-9 * r.alpha) << r.what;
        EXPECT_EQ(surroundings.report.messages.size(), r.warnings) << r.what;
    }
    Surroundings surroundings;
    Absorption absorption;
    absorption.pure_B_from_file = true;
    absorption.file_B = "missing.abs";
    std::array<double, 1> alpha{};
    EXPECT_FALSE(DetermineLayerAlpha(surroundings, absorption, true, std::array<double, 1>{450.0}, alpha));
    EXPECT_FALSE(surroundings.report.messages.empty());
}

}  // namespace
}  // namespace kovin
