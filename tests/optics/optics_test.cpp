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

#include <array>
#include <cmath>
#include <fstream>
#include <numeric>

namespace kovin {
namespace {

/// Surroundings in the shipped tree.
struct Shipped : Surroundings {
    Shipped() { folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home"; }
};

WorkPoint lit()
{
    WorkPoint wp = InitialiseWorkPoint();
    wp.dark = false;
    return wp;
}

double sum(const std::vector<double>& v) { return std::accumulate(v.begin(), v.end(), 0.0); }

// ---- spectrum -----------------------------------------------------------------------------------------------------

class Spectrum : public ::testing::Test {
protected:
    Shipped surroundings;
    ScratchFolder scratch;
    WorkPoint wp = lit();
    GenerationParameters gp;
};

TEST_F(Spectrum, StandardSunHasItsPowerAndFeedsIdealAbsorbers)
{
    ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
    EXPECT_NEAR(wp.powerFromSpectrum, 1000.37, 0.1) << "280 to 4000 nm, ASTM G173-03";
    EXPECT_EQ(wp.incidentPower, wp.powerFromSpectrum);

    CellParameters bare;
    ASSERT_TRUE(BerekenFilterSpectra(surroundings, bare, gp));
    CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
    // Every photon above the gap gives one electron; figures of the tabulated standard spectrum.
    struct Row {
        double Eg, J_mA_cm2;
    };
    constexpr Row rows[] = {{1.00, 48.21}, {1.12, 43.83}, {1.42, 32.08}, {1.70, 22.47}};
    for (const Row& r : rows) {
        double photons = 0.0;
        for (std::size_t k = 0; k < gp.lambda.size(); ++k)
            if (hc_eV_nm / gp.lambda[k] >= r.Eg) photons += gp.incomingFlux_us[k];
        EXPECT_NEAR(photons * elementary_charge * 0.1, r.J_mA_cm2, 1e-3 * r.J_mA_cm2) << "gap " << r.Eg << " eV";
    }
}

TEST_F(Spectrum, DarkHasTwoRowsAndTouchesNoFile)
{
    wp.dark = true;
    wp.spectrumFile = "not there.spe";
    ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
    EXPECT_EQ(gp.lambda, (std::vector<double>{200.0, 5000.0}));
    EXPECT_EQ(sum(gp.spectrum), 0.0);
    EXPECT_TRUE(surroundings.report.messages.empty());
    wp.dark = false;
    EXPECT_FALSE(bepaal_spectrum(surroundings, wp, gp));
    EXPECT_FALSE(surroundings.report.messages.empty());
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
        {42, {1, 400, 800}, 1000 * (1 + 0.1 / 400), 1e-12},
        {44, {flux, 600, 10}, flux * per_m2 * (1 + 0.1 / 10), 1e-6},
        {45, {2, 600, 10}, 2000 * (1 + 0.1 / 10), 1e-12},
        {45, {1, 600, 0.1}, 1000 * (1 + 0.02 / 0.1), 1e-12},
        // The end rows count their whole interval: they have some 1.5 W/m2 more than the trapezoid rule gives them.
        {43, {1, 6000, 300, 4000}, 1000, 2e-3},
        {43, {0.25, 3000, 1, 1e6}, 250, 1e-5},
    };
    for (const Row& r : rows) {
        Surroundings surroundings;
        WorkPoint wp = lit();
        wp.spectrumFromFile = false;
        wp.spectrumFile = "not asked for.spe";
        wp.spectrumModel = model_of_number(r.number);
        wp.spectrumModel.values = r.p;
        wp.neutralDensity = 1.0;
        GenerationParameters gp;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp)) << r.number;
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, {}, gp));
        CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::full);
        const bool of_flux = r.number == 41 || r.number == 44;
        const double total = of_flux ? sum(gp.incomingFlux_us) : wp.powerFromSpectrum;
        EXPECT_NEAR(total, r.total, r.tolerance * r.total) << r.number;
        EXPECT_NEAR(wp.incidentPower, 0.1 * wp.powerFromSpectrum, 1e-12 * wp.powerFromSpectrum) << "optical density 1";

        // A cut through the middle of the wavelengths of a rectangle halves it.
        wp.cutOff = true;
        wp.lambdaShort = 0.5 * (gp.lambda.front() + gp.lambda.back());
        wp.lambdaLong = 1e7;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
        if (r.number == 42 || r.number == 45) {
            EXPECT_NEAR(wp.powerAfterCutOff, 0.5 * r.total, 1e-9 * r.total) << r.number;
        }
        EXPECT_TRUE(surroundings.report.messages.empty());
    }

    Surroundings surroundings;
    WorkPoint wp = lit();
    wp.spectrumFromFile = false;
    GenerationParameters gp;
    wp.spectrumModel.values[0] = 1e308;
    EXPECT_FALSE(bepaal_spectrum(surroundings, wp, gp)) << "more light than can be computed with";
    wp.spectrumModel = model_of_number(42);
    wp.spectrumModel.points = MAX_NUMBER_OF_INPUT_POINTS + 1;
    EXPECT_FALSE(bepaal_spectrum(surroundings, wp, gp)) << "too many wavelengths";
    EXPECT_EQ(surroundings.report.messages.size(), 2u);
}

TEST_F(Spectrum, FileRules)
{
    std::ofstream(scratch.path() / "s.spe") << "heading 1\n700\t2\n500 -3 and more\n600 5\n";
    std::ofstream big(scratch.path() / "big.spe");
    for (int i = 0; i < MAX_NUMBER_OF_INPUT_POINTS + 1; ++i) big << 300 + i << " 1\n";
    big.close();
    wp.neutralDensity = 1.0;
    wp.spectrumFile = (scratch.path() / "s.spe").string();
    ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
    EXPECT_EQ(gp.lambda, (std::vector<double>{500, 600, 700})) << "sorted, headings passed over";
    EXPECT_EQ(gp.spectrum, (std::vector<double>{0, 5, 2})) << "negative power is none";
    EXPECT_NEAR(wp.incidentPower, 0.7, 1e-12) << "optical density 1";
    wp.spectrumFile = (scratch.path() / "big.spe").string();
    EXPECT_FALSE(bepaal_spectrum(surroundings, wp, gp)) << "one row too many";
}

TEST_F(Spectrum, CutOffCountsTheLightBetweenItsWavelengths)
{
    // A flat spectrum of 2 W/m2/nm from 400 to 800 nm every 10 nm: the power is 2 W times the width that is left.
    {
        std::ofstream out(scratch.path() / "flat.spe");
        for (int i = 0; i <= 40; ++i) out << 400 + 10 * i << ' ' << (i == 0 || i == 40 ? 10 : 20) << '\n';
    }
    struct Row {
        const char* what;
        double low, high, power;
        int rows;
    };
    constexpr Row rows[] = {
        {"on the rows: the middle at 600 is one as well", 500, 700, 400, 41},
        {"between the rows: two new ones, the middle on a row", 503, 697, 388, 43},
        {"everything", 200, 2000, 800, 41},
        {"nothing, all below", 200, 300, 0, 41},
        {"nothing, all above", 900, 1000, 0, 41},
        {"upper part", 655, 2000, 290, 42},
    };
    for (const Row& r : rows) {
        wp.spectrumFile = (scratch.path() / "flat.spe").string();
        wp.cutOff = true;
        wp.lambdaShort = r.low;
        wp.lambdaLong = r.high;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
        EXPECT_EQ(gp.n, r.rows) << r.what;
        EXPECT_NEAR(wp.powerFromSpectrum, 800.0, 1e-9) << r.what;
        EXPECT_NEAR(wp.powerAfterCutOff, r.power, 1e-9) << r.what;

        CellParameters bare;
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, bare, gp));
        CalculateIncomingFluxes(gp, 1.0, FluxMode::work_point);
        double power = 0.0;
        for (std::size_t k = 0; k < gp.lambda.size(); ++k) power += gp.incomingFlux_us[k] / gp.lambda[k];
        EXPECT_NEAR(power, r.power, 1e-9) << r.what << ", by the weights of the photon flux";
        CalculateIncomingFluxes(gp, 1.0, FluxMode::none);
        EXPECT_EQ(sum(gp.incomingFlux_us), 0.0);
    }
}

// ---- filters ------------------------------------------------------------------------------------------------------

TEST(Filters, LightSideTransmitsTheOtherReflects)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.path() / "f.ftr") << "500 20\n600 90\n";  // continued: -50 and 160 % at 400 and 700 nm
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

        cell.left.filter = true;
        cell.left.filter_transmission = r.side == -1;  // as it is wanted
        cell.left.filter_file = (scratch.path() / "f.ftr").string();
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
        const double expected[] = {0.0, 0.2, 0.55, 1.0};
        for (std::size_t k = 0; k < 4; ++k) EXPECT_NEAR(gp.leftFilter[k], expected[k], 1e-12) << r.what;
        EXPECT_EQ(surroundings.report.messages.size(), 1u) << "forced values are told";

        const std::vector<double> before = gp.leftFilter;
        cell.left.filter_file = (scratch.path() / "missing.ftr").string();
        EXPECT_FALSE(BerekenFilterSpectra(surroundings, cell, gp));
        EXPECT_EQ(gp.leftFilter, before);
    }
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
        CellParameters& cell = set1.cell.cell;
        InitialiseCellDefinition(cell);
        cell.layers = static_cast<int>(layers.size());
        for (std::size_t j = 0; j < layers.size(); ++j) {
            test::set_layer(cell.layer[j], static_cast<int>(j), {.d = layers[j].d, .Na = layers[j].Na});
            AbsorptionModelSet& models = cell.layer[j].material.absorption.model_A;
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

TEST(AbsorptionOnMesh, MixturesKeepTheirOwnEdge)
{
    // Both materials absorb in a step at their own gap: so must the mixture at its own, with the geometric mean above,
    // since the wavelengths are mapped edge to edge.
    Stack stack({{1e-6, 1e4, 1e22}}, 3);
    LayerParameters& layer = stack.set3.layer[0];
    layer.composition_mode = 1;
    layer.composition.dependence = Dependence::on_x;
    layer.composition.law = Law::linear;
    layer.composition.left = 0.0;
    layer.composition.right = 1.0;
    layer.material.Eg.law = Law::linear;
    layer.material.Eg.pure_A = 1.0;
    layer.material.Eg.pure_B = 1.6;
    Absorption& absorption = layer.material.absorption;
    absorption.grading.law = Law::alpha_interpolation;
    absorption.grading.third = absorption.grading.fourth = 250.0;
    absorption.model_A = default_absorption_models(0, 1.0, 62);
    absorption.model_B = default_absorption_models(1, 1.6, 62);
    absorption.model_A.models[1].values[0] = 1e4;
    absorption.model_B.models[1].values[0] = 1e6;
    Full_x_Dependence(stack.set3, stack.mesh);

    Surroundings surroundings;
    GenerationParameters gp;
    const double edge = hc_eV_nm / 1.3;  // at y = 0.5
    gp.lambda = {300, edge - 1, edge + 1, 1200};
    ASSERT_TRUE(read_absorption(surroundings, stack.set3, gp));
    bepaal_alfa(stack.set3, stack.mesh, gp);
    ASSERT_EQ(gp.absorption.alpha.size(), 3u);
    const auto at = [&](std::size_t point, std::size_t k) {
        return gp.absorption.alpha[static_cast<std::size_t>(gp.absorption.of_point[point])][k];
    };
    EXPECT_NEAR(at(0, 3), 1e6, 1e-3) << "pure A absorbs to its own edge";
    EXPECT_NEAR(at(2, 0), 1e8, 1e-1) << "pure B";
    EXPECT_EQ(at(2, 2), 0.0);
    EXPECT_NEAR(at(1, 0), 1e7, 1e-1) << "geometric mean in the middle";
    EXPECT_NEAR(at(1, 1), 1e7, 1e-1) << "up to the edge of the mixture";
    EXPECT_EQ(at(1, 2), 0.0);
}

// ---- given generation ---------------------------------------------------------------------------------------------

TEST(Generation, ProfileFromFile)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.path() / "g.gen") << "um G\n0.5 1e26\n1.0 3e26\n1.5 -2\n2.0 4e26\n";
    Stack stack({{1e-6, 1e4, 1e22}, {2e-6, 1e4, 5e23}}, 41);
    Surroundings surroundings;
    WorkPoint wp = lit();
    wp.generationSpecified = wp.generationFromFile = true;
    wp.generationFile = (scratch.path() / "g.gen").string();
    wp.attenuation = 50.0;
    GenerationParameters gp;
    ASSERT_TRUE(read_given_generation(surroundings, wp, stack.set3, gp));
    CalculateGenerationFromFileOrFromModel(wp, stack.set3, stack.mesh, gp);
    std::vector<double> G;
    ExtractGeneration(stack.set3, stack.mesh, gp, G);
    for (std::size_t i = 0; i < G.size(); ++i) {
        const double x = stack.mesh.x_um[i];
        double expected = 0.0;  // outside the file
        if (x >= 0.5 && x <= 1.0) expected = 1e26 + (x - 0.5) * 4e26;
        if (x > 1.0 && x <= 1.5) expected = 3e26 * (1.5 - x) / 0.5;  // negative rows count as 0
        if (x > 1.5 && x <= 2.0) expected = 4e26 * (x - 1.5) / 0.5;
        EXPECT_NEAR(G[i], 0.5 * expected, 1e15) << "x = " << x << " um";
    }
    // 1e26 x 0.25 um + 3e26 x 0.5 um + 4e26 x 0.25 um, whatever the attenuation.
    EXPECT_NEAR(CalculateIdealCurrentFromGenerationFileOrModel(gp.given), 2.75e20 * elementary_charge * 0.1, 1e-9);

    wp.dark = true;
    wp.generationFile = "missing.gen";
    ASSERT_TRUE(read_given_generation(surroundings, wp, stack.set3, gp));
    CalculateGenerationFromFileOrFromModel(wp, stack.set3, stack.mesh, gp);
    EXPECT_EQ(sum(gp.generation), 0.0) << "dark, and no file is touched";
    wp.dark = false;
    for (const char* name : {"missing.gen", ""}) {
        wp.generationFile = name;
        const std::size_t told = surroundings.report.messages.size();
        EXPECT_FALSE(read_given_generation(surroundings, wp, stack.set3, gp));
        EXPECT_GT(surroundings.report.messages.size(), told) << "'" << name << "'";
    }
}

TEST(Generation, ProfileFromModel)
{
    // A rectangle of 0.5 um about 1.25 um, 10 mA/cm2, half of it after attenuation, in a cell of 3 um.
    Stack stack({{1e-6, 1e4, 1e22}, {2e-6, 1e4, 5e23}}, 41);
    Surroundings surroundings;
    WorkPoint wp = lit();
    wp.generationSpecified = true;
    wp.generationFromFile = false;
    wp.generationFile = "not asked for.gen";
    wp.generationModel = model_of_number(24);
    wp.generationModel.values = {6.242e16, 1.25, 0.5};
    wp.attenuation = 50.0;
    GenerationParameters gp;
    ASSERT_TRUE(read_given_generation(surroundings, wp, stack.set3, gp));
    EXPECT_TRUE(gp.given.sharp_ends);
    EXPECT_NEAR(CalculateIdealCurrentFromGenerationFileOrModel(gp.given), 10.0, 1e-3);
    CalculateGenerationFromFileOrFromModel(wp, stack.set3, stack.mesh, gp);
    std::vector<double> G;
    ExtractGeneration(stack.set3, stack.mesh, gp, G);
    for (std::size_t i = 0; i < G.size(); ++i) {
        const double x = stack.mesh.x_um[i];
        if (std::fabs(std::fabs(x - 1.25) - 0.25) < 1e-3) continue;  // on an edge
        EXPECT_NEAR(G[i], std::fabs(x - 1.25) < 0.25 ? 0.5 * 6.242e20 / 0.5e-6 : 0.0, 1e16) << "x = " << x << " um";
    }

    // The right side of the cell is where the layers end.
    wp.generationModel = model_of_number(23);
    ASSERT_TRUE(read_given_generation(surroundings, wp, stack.set3, gp));
    EXPECT_FALSE(gp.given.sharp_ends);
    EXPECT_NEAR(gp.given.x.back(), 3e-6, 1e-18);
    CalculateGenerationFromFileOrFromModel(wp, stack.set3, stack.mesh, gp);
    ExtractGeneration(stack.set3, stack.mesh, gp, G);
    EXPECT_NEAR(G.back(), 0.5 * 6.242e26, 1e18) << "the last mesh point is lit";

    struct Row {
        const char* what;
        std::array<double, 5> p;
    };
    constexpr Row refused[] = {{"all in front of the cell", {6.242e16, -5, 0.1}}, {"overflow", {1e308, 1, 0.1}}};
    for (const Row& r : refused) {
        wp.generationModel = model_of_number(25);
        wp.generationModel.values = r.p;
        surroundings.report.messages.clear();
        EXPECT_FALSE(read_given_generation(surroundings, wp, stack.set3, gp)) << r.what;
        EXPECT_EQ(surroundings.report.messages.size(), 1u) << r.what;
    }
}

TEST(Generation, ShippedProfileHoldsItsCurrent)
{
    Shipped surroundings;
    WorkPoint wp = lit();
    wp.generationSpecified = wp.generationFromFile = true;
    wp.generationFile = "exponential_right_40mA.gen";
    GenerationParameters gp;
    ASSERT_TRUE(read_given_generation(surroundings, wp, {}, gp));
    EXPECT_NEAR(CalculateIdealCurrentFromGenerationFileOrModel(gp.given), 40.0, 0.05)
        << "trapezoid rule on the rows of the file";
}

}  // namespace
}  // namespace kovin
