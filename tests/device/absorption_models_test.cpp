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
}

double alpha_of(const AbsorptionModelSet& set, double hv)
{
    return CalculateAbsorptionFromModel(set, find_subbandgap_tail(set), at_energy(hv));
}

TEST(AbsorptionModels, TailJoinsTangentially)
{
    struct Row {
        const char* what;
        int edge_model;
        double E0;
        double E_join, tolerance;  // by hand; the samples are some meV apart there
    };
    constexpr Row rows[] = {
        {"(hv - Eg)^1/2 has the slope 1/E0 at Eg + E0/2", 63, 0.1, Eg + 0.05, 2e-3},
        {"a soft tail", 63, 0.4, Eg + 0.2, 6e-3},
        {"(hv - E1)^1 with E1 = 1.2 Eg at E1 + E0", 64, 0.1, 1.2 * Eg + 0.1, 3e-3},
        {"(hv - E1)^2 with E1 = 1.5 Eg at E1 + 2 E0", 65, 0.05, 1.5 * Eg + 0.1, 3e-3},
        {"a step: right above it", 62, 0.1, Eg, 1e-4},
    };
    for (const Row& r : rows) {
        AbsorptionModelSet set = default_absorption_models(0, Eg, r.edge_model);
        AbsorptionModelSet without_tail = set;
        set.models[5].on = true;
        set.models[5].values[0] = r.E0;
        const SubbandgapTail tail = find_subbandgap_tail(set);
        EXPECT_NEAR(tail.E, r.E_join, r.tolerance) << r.what;
        const double above = alpha_of(set, tail.E * (1 + 1e-9)), below = alpha_of(set, tail.E * (1 - 1e-9));
        EXPECT_NEAR(below, above, 1e-6 * above) << r.what << ": no step";
        EXPECT_EQ(alpha_of(set, 3.5), alpha_of(without_tail, 3.5)) << r.what << ": as without above";
        for (const double depth : {0.05, 0.6}) {
            EXPECT_NEAR(alpha_of(set, tail.E - depth), above * std::exp(-depth / r.E0), 1e-6 * above) << r.what;
        }
        set.models[0].on = true;  // background 1 /cm on top, without a say in where the tail joins
        EXPECT_EQ(find_subbandgap_tail(set).E, tail.E);
        EXPECT_NEAR(alpha_of(set, 0.3) - 1.0, above * std::exp(-(tail.E - 0.3) / r.E0), 1e-6 * above) << r.what;
    }

    // Nothing to join to, or nothing that joins: the absorption stays as it is.
    AbsorptionModelSet lone = default_absorption_models(0, Eg, 66);
    EXPECT_EQ(alpha_of(lone, 1.0), 0.0);
    lone.models[0].on = true;
    EXPECT_EQ(alpha_of(lone, 1.0), lone.models[0].values[0]) << "no edge, background only";
    for (const double E0 : {0.0, -0.1, 100.0}) {
        AbsorptionModelSet set = default_absorption_models(0, Eg, 63);
        set.models[5].on = true;
        set.models[5].values[0] = E0;
        EXPECT_EQ(alpha_of(set, 1.2), 0.0) << E0;
        EXPECT_GT(alpha_of(set, 1.3), 0.0) << E0;
    }
}

TEST(AbsorptionModels, SumsStayFiniteAndPositive)
{
    constexpr double extremes[] = {0.0, -1e308, 1e308, 1e-308, 1000.0};
    for (const int number : {61, 62, 63, 64, 65, 66})
        for (std::size_t k = 0; k < 5; ++k)
            for (const double extreme : extremes)
                for (const double hv : {0.01, Eg, 1.9, 50.0}) {
                    AbsorptionModelSet set = default_absorption_models(0, Eg, 64);
                    Model& model = set.models[static_cast<std::size_t>(number - 61)];
                    model.on = set.models[5].on = true;
                    model.values[k] = extreme;
                    const double alpha = alpha_of(set, hv);
                    EXPECT_TRUE(alpha >= 0.0 && alpha <= 1e12) << number << " value " << k << " = " << extreme;
                }
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
        EXPECT_NEAR((A + B / hv) * std::sqrt(hv - Eg), 100 * alpha_of(set, hv), 1.0) << hv;

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
        {"nor are other lengths, words, samples", "> data/m, 1/mm, nm^-1, cell m-1\n400 1e5\n500 1e3\n", 1e6, 0},
        {"power", "lambda (nm) alpha (m^-1)\n400 1e7\n500 1e5\n", 1e6, 0},
        {"bare power in brackets", "nm [m-1]\n400 1e7\n500 1e5\n", 1e6, 0},
        {"quantity over unit", "lambda/nm alpha/m^-1\n400 1e7\n500 1e5\n", 1e6, 0},
        {"stroke", "nm (/m)\n400 1e7\n500 1e5\n", 1e6, 0},
        {"blanks", "nm 1 / m\n400 1e7\n500 1e5\n", 1e6, 0},
        {"capitals", "NM 1/M\n400 1e7\n500 1e5\n", 1e6, 0},
        {"power of cm next to m", "> from 1/m\nalpha / cm^-1, not m^-1\n400 1e5\n500 1e3\n", 1e6, 0},
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
        absorption.pure_B_from_file = true;
        absorption.file_B = absorption.file_A;
        AbsorptionFiles files;
        for (const bool B : {false, true}) {  // the file is read, and warned about, once
            MaterialAbsorption material;
            ASSERT_TRUE(load_absorption(surroundings, files, absorption, B, 1.0, material)) << r.what;
            EXPECT_NEAR(alpha_at(material, 450.0), r.alpha, 1e-9 * r.alpha) << r.what;
        }
        EXPECT_EQ(surroundings.report.messages.size(), r.warnings) << r.what;
    }
}

}  // namespace
}  // namespace kovin
