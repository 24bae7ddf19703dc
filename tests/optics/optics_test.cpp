// Light: spectra, filters, incoming photons, absorption through the layers, given generation profiles.
#include "base/scratch_folder.h"
#include "device/model_table.h"
#include "device/on_mesh.h"
#include "device/parameterset3.h"
#include "device/work_point.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/fluxes.h"
#include "optics/generation.h"
#include "optics/incoming_flux.h"
#include "optics/spectrum.h"
#include "support/layer_mesh.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace kovin {
namespace {

WorkPoint lit()
{
    WorkPoint wp = InitialiseWorkPoint();
    wp.dark = false;
    return wp;
}

double sum(const std::vector<double>& v) { return std::accumulate(v.begin(), v.end(), 0.0); }

// ---- spectrum -----------------------------------------------------------------------------------------------------

TEST(Spectrum, StandardSunHasItsPowerAndFeedsIdealAbsorbers)
{
    Surroundings surroundings;
    surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
    WorkPoint wp = lit();
    GenerationParameters gp;
    ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
    EXPECT_NEAR(wp.powerFromSpectrum, 1000.37, 0.1) << "280 to 4000 nm, ASTM G173-03";
    ASSERT_TRUE(BerekenFilterSpectra(surroundings, {}, gp));
    CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
    // Every photon above the gap gives one electron; figures of the tabulated standard spectrum.
    struct Row {
        double Eg, J_mA_cm2;
    };
    for (const Row& r : {Row{1.00, 48.21}, Row{1.12, 43.83}, Row{1.42, 32.08}, Row{1.70, 22.47}}) {
        double photons = 0.0;
        for (std::size_t k = 0; k < gp.lambda.size(); ++k)
            if (hc_eV_nm / gp.lambda[k] >= r.Eg) photons += gp.incomingFlux_us[k];
        EXPECT_NEAR(photons * elementary_charge * 0.1, r.J_mA_cm2, 1e-3 * r.J_mA_cm2) << "gap " << r.Eg << " eV";
    }
}

TEST(SpectrumModels, BringTheirPowerOrTheirPhotons)
{
    struct Row {
        int number;
        std::array<double, 5> p;
        double total, tolerance;  // W/m2, or photons/(m2 s) for the models of constant flux
    };
    // A rectangle is as wide as its limits and one step of its frame, 0.1 nm or a fifth of the width.
    constexpr double flux = 6.242e16, per_m2 = 1e4;
    const Row rows[] = {
        {41, {flux, 400, 800}, flux * per_m2 * (1 + 0.1 / 400), 1e-6},
        {44, {flux, 600, 10}, flux * per_m2 * (1 + 0.1 / 10), 1e-6},
        {42, {1, 400, 800}, 1000 * (1 + 0.1 / 400), 1e-12},
        {45, {1, 600, 0.1}, 1000 * (1 + 0.02 / 0.1), 1e-12},
        // The end rows count their whole interval: they have some 1.5 W/m2 more than the trapezoid rule gives them.
        {43, {1, 6000, 300, 4000}, 1000, 2e-3},
    };
    for (const Row& r : rows) {
        Surroundings surroundings;
        WorkPoint wp = lit();
        wp.spectrumFromFile = false;
        wp.spectrumModel = model_of_number(r.number);
        wp.spectrumModel.values = r.p;
        GenerationParameters gp;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp)) << r.number;
        WorkPoint alone = wp;
        alone.neutralDensity = 1.0;
        EXPECT_EQ(CalculateIncidentLightIntensityFromSpectrumFileOrModel(surroundings, alone), wp.powerFromSpectrum);
        EXPECT_NEAR(alone.incidentPower, 0.1 * wp.powerFromSpectrum, 1e-9 * wp.powerFromSpectrum);
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, {}, gp));
        CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::full);
        EXPECT_NEAR(CalculateIncidentLightFluxFromFileOrFromModel(gp) / sum(gp.incomingFlux_us), 1.0, 1e-12);
        const bool of_flux = r.number == 41 || r.number == 44;
        const double total = of_flux ? sum(gp.incomingFlux_us) : wp.powerFromSpectrum;
        EXPECT_NEAR(total, r.total, r.tolerance * r.total) << r.number;
    }
}

TEST(Spectrum, CutOffCountsTheLightBetweenItsWavelengths)
{
    // A flat spectrum of 2 W/m2/nm from 400 to 800 nm every 10 nm: the power is 2 W times the width that is left.
    const ScratchFolder scratch;
    // And one of 1, 2, 4 and 1 W/m2/nm at uneven steps, linear between them: from 406 to 470 nm it has
    // 4 (1.6 + 2)/2 + 30 (2 + 4)/2 + 30 (4 + 2.5)/2 W/m2.
    const std::string sloping = scratch.put("sloping.spe", "400 5\n410 40\n440 180\n500 30\n").string();
    std::string text = "heading 1\n";
    for (int nm = 800; nm >= 400; nm -= 10)  // in falling order, which readers turn around
        text += std::to_string(nm) + (nm == 400 || nm == 800 ? " 10\n" : " 20 and more\n");
    Surroundings surroundings;
    WorkPoint wp = lit();
    const std::string flat = scratch.put("flat.spe", text).string();
    wp.cutOff = true;
    wp.neutralDensity = 1.0;
    GenerationParameters gp;
    struct Row {
        const char* what;
        double low, high, power;
        int rows;
        bool uneven = false;
    };
    constexpr Row rows[] = {
        {"on the rows: the middle at 600 is one as well", 500, 700, 400, 41},
        {"between the rows: two new ones, the middle on a row", 503, 697, 388, 43},
        {"everything", 200, 2000, 800, 41},
        {"nothing, all below", 200, 300, 0, 41},
        {"nothing, all above", 900, 1000, 0, 41},
        {"upper part", 655, 2000, 290, 42},
        {"uneven steps and slopes", 406, 470, 194.7, 7, true},
        {"their upper end", 440, 900, 150, 4, true},
    };
    for (const Row& r : rows) {
        wp.spectrumFile = r.uneven ? sloping : flat;
        wp.lambdaShort = r.low;
        wp.lambdaLong = r.high;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
        EXPECT_EQ(gp.n, r.rows) << r.what;
        EXPECT_NEAR(wp.powerFromSpectrum, r.uneven ? 255.0 : 800.0, 1e-9) << r.what;
        EXPECT_NEAR(wp.powerAfterCutOff, r.power, 1e-9) << r.what;
        EXPECT_NEAR(wp.incidentPower, 0.1 * r.power, 1e-9) << r.what << ", optical density 1";

        ASSERT_TRUE(BerekenFilterSpectra(surroundings, {}, gp));
        CalculateIncomingFluxes(gp, 1.0, FluxMode::work_point);
        double power = 0.0;
        for (std::size_t k = 0; k < gp.lambda.size(); ++k) power += gp.incomingFlux_us[k] / gp.lambda[k];
        EXPECT_NEAR(power, 0.1 * r.power, 1e-9) << r.what << ", by the weights of the photon flux";
        CalculateIncomingFluxes(gp, 1.0, FluxMode::none);
        EXPECT_EQ(sum(gp.incomingFlux_us), 0.0);
    }
}

// ---- filters ------------------------------------------------------------------------------------------------------

TEST(Filters, LightSideTransmitsTheOtherReflects)
{
    const ScratchFolder scratch;
    const std::string file = scratch.put("f.ftr", "500 20\n600 90\n").string();  // continued: -50, 160 % at 400, 700 nm
    struct Row {
        const char* what;
        int side;
        bool transmission_data;  // of both contacts, constant 0.05 at the right
        double right, left;
    };
    constexpr Row rows[] = {
        {"light from the right, reflection given", +1, false, 0.95, 0.0},
        {"light from the right, transmission given", +1, true, 0.05, 0.0},
        {"light from the left, reflection given", -1, false, 0.05, 1.0},
        {"light from the left, transmission given", -1, true, 0.95, 1.0},
    };
    for (const Row& r : rows) {
        Surroundings surroundings;
        GenerationParameters gp;
        gp.lambda = {400, 500, 550, 700};
        gp.side = r.side;
        CellParameters cell;
        cell.right.filter = cell.right.filter_constant = true;
        cell.right.filter_transmission = r.transmission_data;
        cell.right.filter_value = 0.05;
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
        EXPECT_NEAR(gp.rightFilter[2], r.right, 1e-12) << r.what;
        EXPECT_EQ(gp.leftFilter[2], r.left) << r.what << ", no filter at the left";

        // The same kind of data from a file on both sides: one takes it as it stands, the other its complement.
        for (ContactParameters* contact : {&cell.left, &cell.right}) {
            contact->filter = true;
            contact->filter_constant = false;
            contact->filter_transmission = r.transmission_data;
            contact->filter_file = file;
        }
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
        const double of_file[] = {0.0, 0.2, 0.55, 1.0}, complement[] = {1.0, 0.8, 0.45, 0.0};
        const bool right_as_it_stands = r.right == 0.05;
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(gp.rightFilter[k], (right_as_it_stands ? of_file : complement)[k], 1e-12) << r.what;
            EXPECT_NEAR(gp.leftFilter[k], (right_as_it_stands ? complement : of_file)[k], 1e-12) << r.what;
        }
        EXPECT_EQ(surroundings.report.messages.size(), 2u) << "forced values are told";
    }
    Surroundings surroundings;
    GenerationParameters gp;
    gp.lambda = {550};
    CellParameters cell;
    cell.left.filter = true;
    cell.left.filter_file = scratch.put("f.ftr", "500 0.2\n600 0.9\n").string();
    ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
    ASSERT_EQ(surroundings.report.messages.size(), 1u) << "fractions are told";
    EXPECT_NE(surroundings.report.messages[0].text.find("percent is meant"), std::string::npos);
}

// ---- absorption and fluxes ----------------------------------------------------------------------------------------

/// Layers with a constant absorption each [1/cm], on a mesh of `n` points a layer that is finer towards both ends.
struct Stack {
    InputParameters set1;
    CalculationParameters set3;
    Mesh mesh;

    struct Layer {
        double d, alpha, Na;
    };
    Stack(const std::vector<Layer>& layers, int n)
    {
        std::vector<test::LayerFigures> figures;
        for (const Layer& layer : layers) figures.push_back({.d = layer.d, .Na = layer.Na});
        set1 = test::cell_of(figures);
        for (std::size_t j = 0; j < layers.size(); ++j) {
            AbsorptionModelSet& models = set1.cell.cell.layer[j].material.absorption.model_A;
            models = default_absorption_models(0, 1.12, 61);
            models.models[0].values[0] = layers[j].alpha;
        }
        parameterset1_to_3(set1, 300.0, set3);
        mesh = test::layer_mesh(set3, n, test::Spacing::fine_at_ends);
        Full_x_Dependence(set3, mesh);
    }
};

TEST(Fluxes, BeerLambertWithBothReflections)
{
    struct Row {
        const char* what;
        int side;
        double front, back, Rfront;  // reflections: of the front filter, of the back, and of the front from inside
        double power = 1.0;
    };
    constexpr Row rows[] = {
        {"no reflection, from the right", +1, 0.0, 0.0, 0.0},
        {"no reflection, from the left", -1, 0.0, 0.0, 0.0},
        {"mirror at the back", +1, 0.1, 0.8, 0.0},
        {"mirror at the back, light from the left", -1, 0.1, 0.8, 0.0},
        {"light goes to and fro", +1, 0.0, 0.9, 0.7},
        {"to and fro, light from the left", -1, 0.05, 0.9, 0.7},
        {"no light gives exactly nothing", +1, 0.0, 0.9, 0.7, 0.0},
    };
    const std::vector<Stack::Layer> layers = {{2e-6, 3e3, 1e22}, {1e-7, 5e4, 3e23}, {3e-7, 1e3, 1e21}};
    const double depth[] = {2e-6 * 3e5, 1e-7 * 5e6, 3e-7 * 1e5};
    for (const Row& r : rows) {
        Stack stack(layers, 60);
        Surroundings surroundings;
        GenerationParameters gp;
        gp.lambda = {400, 401, 500};  // fewer than one pass takes
        gp.n = 3;
        gp.spectrum = {r.power, 0.0, 2.0 * r.power};
        gp.side = r.side;
        gp.Rfront = r.Rfront;
        CellParameters& cell = stack.set1.cell.cell;
        ContactParameters& front = r.side == 1 ? cell.right : cell.left;
        ContactParameters& back = r.side == 1 ? cell.left : cell.right;
        for (ContactParameters* contact : {&front, &back}) {
            contact->filter = contact->filter_constant = true;
            contact->filter_transmission = false;
        }
        front.filter_value = r.front;
        back.filter_value = r.back;
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
        ASSERT_TRUE(read_absorption(surroundings, stack.set3, gp));
        bepaal_alfa(stack.set3, stack.mesh, gp);
        EXPECT_EQ(gp.absorption.alpha.size(), 3u) << "one table a uniform layer";
        CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
        CalculateFluxesAndGeneration(stack.set3, stack.mesh, gp);
        std::vector<double> G;
        ExtractGeneration(stack.set3, stack.mesh, gp, G);

        // Closed formula: the geometric series of all passes. z is the depth from the light side.
        const double photons = photons_per_nm_W * (400 * 1.0 + 500 * 2.0) * r.power * (1 - r.front);
        const double T = depth[0] + depth[1] + depth[2];
        const double series = photons / (1 - r.back * r.Rfront * std::exp(-2 * T));
        double start_x = 0.0, start_D = 0.0;
        for (std::size_t j = 0; j < 3; ++j) {
            const double alpha = layers[j].alpha * 100;
            for (auto i = static_cast<std::size_t>(stack.mesh.first[j]);
                 i <= static_cast<std::size_t>(stack.mesh.last[j]); ++i) {
                const double D = start_D + (stack.mesh.x_m[i] - start_x) * alpha;
                const double z = r.side == -1 ? D : T - D;
                const double expected = series * (std::exp(-z) + r.back * std::exp(-(2 * T - z))) * alpha;
                EXPECT_NEAR(G[i], expected, 1e-10 * expected) << r.what << ", point " << i;
            }
            start_x += layers[j].d;
            start_D += depth[j];
        }
        // What is absorbed is what entered and did not leave; the sum over half intervals is good to its mesh.
        const double absorbed = series * (1 - std::exp(-T)) * (1 + r.back * std::exp(-T));
        EXPECT_NEAR(gp.total_mA_cm2, absorbed * elementary_charge * 0.1, 2e-3 * gp.total_mA_cm2) << r.what;

        // Taken for graded, the second layer goes interval by interval: the same light.
        const std::vector<double> uniform = gp.generation;
        const std::vector<double> alpha = gp.absorption.alpha[1];
        gp.absorption.alpha.insert(gp.absorption.alpha.begin() + 1, alpha);
        for (std::size_t i = 62; i < uniform.size(); ++i) ++gp.absorption.of_point[i];
        gp.absorption.first_entry = {0, 1, 3, 4};
        CalculateFluxesAndGeneration(stack.set3, stack.mesh, gp);
        for (std::size_t i = 0; i < uniform.size(); ++i)
            EXPECT_NEAR(gp.generation[i], uniform[i], 1e-10 * uniform[i]) << r.what << ", point " << i;
    }
}

TEST(AbsorptionOnMesh, EdgeOfEveryPointStandsAtItsGap)
{
    // Both materials absorb in a step at their own gap, A 1e6 and B 1e8 1/m: so must each point at its own, with the
    // geometric mean between them.
    struct Row {
        const char* what;
        void (*change)(LayerParameters&);
        std::array<double, 3> Eg, alpha;  // at the left, in the middle, at the right
    };
    static constexpr auto pure_A = [](LayerParameters& l) { l.composition_mode = 0, l.composition.law = Law::uniform; };
    static constexpr auto pure_B = [](LayerParameters& l) {
        l.composition_mode = 20, l.composition.law = Law::uniform_B;
    };
    static constexpr auto gap_on_x = [](LayerParameters& l) {
        l.material.Eg.dependence = Dependence::on_x;
        l.material.Eg.left = 1.0, l.material.Eg.right = 1.6;
        l.material.Eg.pure_A = l.material.Eg.pure_B = 1.1;  // say nothing
    };
    constexpr std::array rising{1.0, 1.3, 1.6}, mean{1e6, 1e7, 1e8}, of_A{1e6, 1e6, 1e6}, of_B{1e8, 1e8, 1e8};
    const Row rows[] = {
        {"composition graded", [](LayerParameters&) {}, rising, mean},
        {"absorption grading left as it is made",
         [](LayerParameters& l) { l.material.absorption.grading.law = Law::uniform; }, rising, mean},
        {"absorption of pure B asked for",
         [](LayerParameters& l) { l.material.absorption.grading.law = Law::uniform_B; }, rising, of_B},
        {"gap on position too", gap_on_x, rising, mean},
        {"pure A, gap on position", [](LayerParameters& l) { pure_A(l), gap_on_x(l); }, rising, of_A},
        {"pure B, gap on position", [](LayerParameters& l) { pure_B(l), gap_on_x(l); }, rising, of_B},
        {"a table of gaps, which differ from those of the pure materials",
         [](LayerParameters& l) {
             l.material.Eg.law = Law::table;
             l.material.Eg.table_x = {0.0, 0.5, 1.0};
             l.material.Eg.table_y = {0.8, 1.5, 1.2};
         },
         {0.8, 1.5, 1.2},
         mean},
        {"uniform gap, that of pure A",
         [](LayerParameters& l) { l.material.Eg.law = Law::uniform; },
         {1.0, 1.0, 1.0},
         mean},
    };
    for (const Row& r : rows) {
        Stack stack({{1e-6, 1e4, 1e22}}, 3);
        LayerParameters& layer = stack.set3.layer[0];
        layer.composition_mode = 1;
        layer.composition.law = layer.material.Eg.law = Law::linear;
        layer.composition.dependence = Dependence::on_x;
        layer.composition.left = 0.0, layer.composition.right = 1.0;
        layer.material.Eg.pure_A = 1.0, layer.material.Eg.pure_B = 1.6;
        Absorption& absorption = layer.material.absorption;
        absorption.grading.law = Law::alpha_interpolation;
        absorption.model_A = default_absorption_models(0, 1.0, 62);
        absorption.model_B = default_absorption_models(1, 1.6, 62);
        absorption.model_A.models[1].values[0] = 1e4;
        absorption.model_B.models[1].values[0] = 1e6;
        r.change(layer);
        Full_x_Dependence(stack.set3, stack.mesh);
        Surroundings surroundings;
        GenerationParameters gp;
        for (const double Eg : r.Eg)
            for (const double off : {-1.0, 1.0}) gp.lambda.push_back(hc_eV_nm / Eg + off);
        std::sort(gp.lambda.begin(), gp.lambda.end());
        ASSERT_TRUE(read_absorption(surroundings, stack.set3, gp)) << r.what;
        bepaal_alfa(stack.set3, stack.mesh, gp);
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t k = 0; k < gp.lambda.size(); ++k) {
                const bool absorbs = gp.lambda[k] < hc_eV_nm / r.Eg[i];
                const double alpha = gp.absorption.alpha[static_cast<std::size_t>(gp.absorption.of_point[i])][k];
                EXPECT_NEAR(alpha, absorbs ? r.alpha[i] : 0.0, 1e-9 * r.alpha[i])
                    << r.what << ", point " << i << ", " << gp.lambda[k] << " nm";
            }
    }
}

// The same gaps by a law on the composition, which knows the pure materials, and by one on x between 1.12 and 1.48 eV.
TEST(AbsorptionOnMesh, PureMaterialsKeepTheirGapsWhereTheGapIsGradedOnX)
{
    const auto absorption_of = [](bool on_x) {
        Stack stack({{1e-6, 1e4, 1e22}}, 5);
        LayerParameters& layer = stack.set3.layer[0];
        layer.composition_mode = 1;
        layer.composition.law = layer.material.Eg.law = Law::linear;
        layer.composition.dependence = Dependence::on_x;
        layer.composition.left = 0.2, layer.composition.right = 0.8;
        Profile& Eg = layer.material.Eg;
        Eg.dependence = on_x ? Dependence::on_x : Dependence::on_y;
        Eg.pure_A = 1.0, Eg.pure_B = 1.6, Eg.left = 1.12, Eg.right = 1.48;
        layer.material.absorption.grading.law = Law::alpha_interpolation;
        layer.material.absorption.model_A = default_absorption_models(0, 1.0, 63);
        layer.material.absorption.model_B = default_absorption_models(1, 1.6, 63);
        Full_x_Dependence(stack.set3, stack.mesh);
        Surroundings surroundings;
        GenerationParameters gp;
        for (double nm = 300.0; nm < 1250.0; nm += 50.0) gp.lambda.push_back(nm);
        EXPECT_TRUE(read_absorption(surroundings, stack.set3, gp));
        bepaal_alfa(stack.set3, stack.mesh, gp);
        std::vector<double> alpha;
        for (const int entry : gp.absorption.of_point)
            for (const double a : gp.absorption.alpha[static_cast<std::size_t>(entry)]) alpha.push_back(a);
        return alpha;
    };
    const std::vector<double> on_y = absorption_of(false), on_x = absorption_of(true);
    ASSERT_EQ(on_x.size(), on_y.size());
    for (std::size_t i = 0; i < on_x.size(); ++i) EXPECT_NEAR(on_x[i], on_y[i], 1e-6 * on_y[i] + 1e-3) << i;
}

// ---- given generation ---------------------------------------------------------------------------------------------

TEST(Generation, GivenProfilesStandOnTheMeshAndHoldTheirCurrent)
{
    // Half of each is left after attenuation, in a cell of 3 um; the ideal current is that of the whole.
    const ScratchFolder scratch;
    const std::string file = scratch.put("g.gen", "um G\n0.5 1e26\n1.0 3e26\n1.5 -2\n2.0 4e26\n").string();
    const std::string step = scratch.put("s.gen", "2.0 0\n2.0 3e26\n1.2 3e26\n1.2 1e26\n0.5 1e26\n").string();
    struct Row {
        const char* what;
        int model;  // 0: the file; -1: the other
        std::array<double, 5> p;
        double J_mA_cm2, tolerance;
        bool sharp_ends;
        double (*G)(double x_um);  // NaN: on an edge
    };
    const Row rows[] = {
        // 1e26 x 0.25 um + 3e26 x 0.5 um + 4e26 x 0.25 um; a negative row counts as 0, outside the file there is
        // nothing.
        {"file",
         0,
         {},
         2.75e20 * elementary_charge * 0.1,
         1e-9,
         false,
         [](double x) {
             if (x < 0.5 || x > 2.0) return 0.0;
             return x <= 1.0 ? 1e26 + (x - 0.5) * 4e26 : x <= 1.5 ? 6e26 * (1.5 - x) : 8e26 * (x - 1.5);
         }},
        {"file from right to left with a step in it and one at its end",
         -1,
         {},
         3.1e20 * elementary_charge * 0.1,
         1e-9,
         false,
         [](double x) {
             if (std::fabs(x - 1.2) < 1e-6 || std::fabs(x - 2.0) < 1e-6) return double{NAN};
             return x < 0.5 || x > 2.0 ? 0.0 : x < 1.2 ? 1e26 : 3e26;
         }},
        {"rectangle",
         24,
         {6.242e16, 1.25, 0.5},
         10.0,
         1e-3,
         true,
         [](double x) {
             const double inside = 0.25 - std::fabs(x - 1.25);
             return std::fabs(inside) < 1e-3 ? NAN : inside > 0.0 ? 6.242e20 / 0.5e-6 : 0.0;
         }},
        // The right side of the cell is where its layers end; the tail and the straight lines leave 0.3 %.
        {"decay from the right",
         23,
         {6.242e16, 0.2},
         10.0,
         0.03,
         false,
         [](double x) { return x < 2.999 ? NAN : 6.242e20 / 0.2e-6 * std::exp(-(3.0 - x) / 0.2); }},
    };
    Stack stack({{1e-6, 1e4, 1e22}, {2e-6, 1e4, 5e23}}, 41);
    WorkPoint wp = lit();
    wp.generationSpecified = true;
    wp.attenuation = 50.0;
    for (const Row& r : rows) {
        Surroundings surroundings;
        GenerationParameters gp;
        wp.generationFromFile = r.model <= 0;
        wp.generationFile = r.model == 0 ? file : step;
        if (r.model > 0) wp.generationModel = model_of_number(r.model);
        wp.generationModel.values = r.p;
        ASSERT_TRUE(read_given_generation(surroundings, wp, stack.set3, gp)) << r.what;
        EXPECT_NEAR(CalculateIdealCurrentFromGenerationFileOrModel(gp.given), r.J_mA_cm2, r.tolerance) << r.what;
        EXPECT_EQ(gp.given.sharp_ends, r.sharp_ends) << r.what;
        CalculateGenerationFromFileOrFromModel(wp, stack.set3, stack.mesh, gp);
        std::vector<double> G;
        ExtractGeneration(stack.set3, stack.mesh, gp, G);
        for (std::size_t i = 0; i < G.size(); ++i) {
            const double x = stack.mesh.x_um[i], expected = 0.5 * r.G(x);
            if (std::isnan(expected)) continue;
            EXPECT_NEAR(G[i], expected, 1e-9 * expected + 1e15) << r.what << ", x = " << x << " um";
        }
    }
    Surroundings surroundings;
    GenerationParameters gp;
    wp.generationModel = model_of_number(25);
    wp.generationModel.values = {6.242e16, -5, 0.1};
    EXPECT_FALSE(read_given_generation(surroundings, wp, stack.set3, gp)) << "all in front of the cell";
    EXPECT_EQ(surroundings.report.messages.size(), 1u);
    wp.generationFromFile = true;
    wp.generationFile = scratch.put("one.gen", "1 1e26\n").string();
    EXPECT_FALSE(read_given_generation(surroundings, wp, stack.set3, gp)) << "one row";
    EXPECT_EQ(surroundings.report.messages.size(), 2u);
}

}  // namespace
}  // namespace kovin
