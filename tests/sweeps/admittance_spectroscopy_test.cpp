// Admittance spectroscopy of curves whose level is known.
#include "sweeps/admittance_spectroscopy.h"

#include "base/constants.h"
#include "device/model_table.h"
#include "device/on_mesh.h"
#include "device/parameterset3.h"
#include "results/capacitance_files.h"
#include "support/layer_mesh.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace kovin {
namespace {

constexpr double q = elementary_charge, eps0 = vacuum_permittivity;

/// A level that emits at 2 nu exp(-Et/kT): C = 30 + 12/(1 + (w/wt)^2) nF/cm2, from 10 Hz to 10 MHz.
CfCurve single_level(double T, double nu0, double Et, int points = 121, bool falling = false)
{
    const double wt = 2.0 * nu0 * (T / 300.0) * (T / 300.0) * std::exp(-Et / thermal_voltage(T));
    CfCurve curve;
    for (int i = 0; i < points; ++i) {
        const double f = std::pow(10.0, 1.0 + 6.0 * (falling ? points - 1 - i : i) / (points - 1));
        const double s = 2.0 * std::numbers::pi * f / wt;
        curve.cf_as.push_back(f);
        curve.cfcap.push_back(30.0 + 12.0 / (1.0 + s * s));
    }
    return curve;
}

std::size_t highest(const std::vector<double>& column)
{
    return static_cast<std::size_t>(std::max_element(column.begin(), column.end()) - column.begin());
}

TEST(Admittance, AKnownLevelPeaksAtItsEnergy)
{
    struct Row {
        const char* what;
        double T, nu0, Et;
        bool falling;
    };
    constexpr Row rows[] = {
        {"300 K", 300.0, 1e12, 0.42, false},
        {"nu grows with the square of the temperature", 200.0, 5e11, 0.25, false},
        {"falling frequencies", 300.0, 1e11, 0.40, true},
    };
    MottSchottkySettings NW;
    NW.constant_epsilon = 10.0;
    for (const Row& r : rows) {
        const CfCurve cf = single_level(r.T, r.nu0, r.Et, 121, r.falling);
        AsSettings settings;
        settings.nu0 = r.nu0;
        settings.Eref = 0.9;
        settings.Ebar = 0.8;
        settings.f_ref = 1e9;  // beyond the curve: C of its highest frequency
        const double kT = thermal_voltage(r.T);
        AsCurve as;
        const AsInput input{r.T, 0.1, cf.cf_as, cf.cfcap};
        ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, as), 0) << r.what;
        const std::size_t peak = highest(as.AS_deriv);
        EXPECT_NEAR(as.AS_Et[peak], r.Et, 0.3 * kT) << r.what;  // half a step is 0.06 kT
        EXPECT_NEAR(as.AS_deriv[peak], 6.0, 0.06) << r.what << ": half the step of C";
        EXPECT_NEAR(as.W, 1e2 * 10.0 * eps0 / 30e-5, 1e-3 * as.W) << r.what;

        // The band models against their formulas in SI.
        const double S = 1e-5 * as.AS_deriv[peak] / kT, A = 0.8, W = 1e-2 * as.W, B = as.AS_Et[peak] + 0.1;
        const double expected[] = {A * S / (q * W), A * A * S / (q * W * B), 2.0 * S * A * std::sqrt(A / B) / (q * W),
                                   1e6 * as.AS_deriv[peak]};
        for (int model = 0; model < 4; ++model) {
            settings.model = static_cast<AsModel>(model);
            ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, as), 0);
            EXPECT_NEAR(as.AS_Nt[peak] / (1e-6 * expected[model]), 1.0, 1e-9) << r.what << ", model " << model;
        }
    }
}

TEST(Admittance, TwoAttemptFrequenciesBandOffsetAndShortCurves)
{
    const CfCurve cf = single_level(300.0, 1e12, 0.42);
    const AsInput input{300.0, 0.0, cf.cf_as, cf.cfcap};
    MottSchottkySettings NW;
    AsSettings settings;
    AsCurve one, two;
    ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, one), 0);
    settings.two_levels = true;
    settings.nu0_a = settings.nu0_b = settings.nu0;
    settings.E_switch = 0.4;
    ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, two), 0);
    EXPECT_EQ(one.AS_Et, two.AS_Et) << "equal frequencies: the switch plays no role";
    settings.nu0_a = 1e10, settings.nu0_b = 1e14;  // their geometric mean is nu0
    ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, two), 0);
    for (std::size_t i = 0; i < cf.points(); ++i) {
        const double shift = (one.AS_Et[i] >= 0.4 ? 1.0 : -1.0) * kT_at_300K * std::log(100.0);
        EXPECT_NEAR(two.AS_Et[i] - one.AS_Et[i], shift, 1e-12) << i;
    }
    settings = {};
    settings.band_offset = true;
    settings.Eg_ref = 1.2, settings.ratio = 1e-6;
    ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, two), 0);
    const std::size_t peak = highest(one.AS_Nt);
    EXPECT_NEAR(two.AS_Nt[peak] / one.AS_Nt[peak], 1.2 + kT_at_300K * std::log(1e-6), 1e-9) << "Eref was 1 eV";

    // f_ref between two points: linear in ln f
    settings.f_ref = std::sqrt(cf.cf_as[60] * cf.cf_as[61]);
    ASSERT_EQ(Calculate_AS_single(input, settings, NW, {}, two), 0);
    EXPECT_NEAR(two.W, 1e2 * 10.0 * eps0 / (0.5e-5 * (cf.cfcap[60] + cf.cfcap[61])), 1e-12);

    const CfCurve short_curve = single_level(300.0, 1e12, 0.42, 3);
    ASSERT_EQ(Calculate_AS_single({300.0, 0.0, short_curve.cf_as, short_curve.cfcap}, {}, NW, {}, two), 0);
    EXPECT_EQ(two.AS_Nt, std::vector<double>(3, 0.0)) << "no longer than the window";
    const std::vector<double> no_frequency = {0.0, 1.0}, C = {1.0, 1.0};
    EXPECT_EQ(Calculate_AS_single({300.0, 0.0, no_frequency, C}, {}, NW, {}, two), -1);
    EXPECT_EQ(Calculate_AS_single({}, {}, NW, {}, two), -1);
}

// Defaults of p (1e22 m^-3) / n (1e23 m^-3) with Nc, Nv and band gap as in silicon, and of one layer with its contacts.
TEST(Admittance, DefaultsComeFromTheCell)
{
    test::LayerFigures p, n;
    p.Na = 1e22, n.Nd = 1e23;
    struct Row {
        const char* what;
        std::vector<test::LayerFigures> layers;
        int layer, side, eh_type, junction;
        double Eref;
    };
    const double kT = kT_at_300K, Ef_p = kT * std::log(p.Nv / p.Na), Ef_n = kT * std::log(n.Nc / n.Nd);
    const Row rows[] = {
        {"p-n from the p side", {p, n}, 0, 1, 1, 1, 1.12 - Ef_p - Ef_n},
        {"p-n from the n side", {p, n}, 1, -1, -1, 1, 1.12 - Ef_p - Ef_n},
        {"over a layer of the same type", {p, p, n}, 0, 1, 1, 1, 1.12 - Ef_p - Ef_n},
        {"only layers of the same type", {p, p}, 0, 1, 1, -1, 2.0 * Ef_p},
        {"left contact, holes", {p, n}, 0, -1, 1, -2, 4.05 + 1.12 - 4.4 - Ef_p},
        {"right contact, electrons", {p, n}, 1, 1, -1, 2, 4.7 - 4.05 - Ef_n},
        {"no doping: no correction", {test::LayerFigures{}, n}, 0, 1, 1, 1, 1.12},
    };
    for (const Row& r : rows) {
        InputParameters set1 = test::cell_of(r.layers);
        CellParameters& cell = set1.cell.cell;
        cell.left.flatband = cell.right.flatband = false;
        cell.left.Fi_m = 4.4, cell.right.Fi_m = 4.7;
        auto& level = test::add_defect(cell.layer[static_cast<std::size_t>(r.layer)], DefectType::neutral,
                                       EnergyDistribution::single, 0.4, 1e20);
        level.sigma_p = 2e-20, level.sigma_n = 3e-20;
        const auto memory = std::make_unique<CalculationParameters>();
        CalculationParameters& set3 = *memory;
        parameterset1_to_3(set1, 300.0, set3);
        Mesh mesh = test::layer_mesh(set3, 5);
        Full_x_Dependence(set3, mesh);
        MottSchottkySettings NW;
        NW.layer = r.layer, NW.side = r.side, NW.eh_type = r.eh_type;
        AsSettings settings;
        AsFromCell found;
        ASSERT_EQ(ASDataFromCellDefinition(set3, mesh, NW, settings, found), 0) << r.what;
        EXPECT_EQ(found.junction, r.junction) << r.what;
        EXPECT_NEAR(settings.Eref, r.Eref, 1e-9) << r.what;
        const double nu0 = r.eh_type > 0 ? 2e-20 * 1e5 * p.Nv : 3e-20 * 1e5 * n.Nc;
        EXPECT_NEAR(settings.nu0 / nu0, 1.0, 1e-9) << r.what;
        settings.band_offset = true, settings.Eref = 0.5;
        ASSERT_EQ(ASDataFromCellDefinition(set3, mesh, NW, settings, found), 0);
        EXPECT_EQ(settings.Eref, 0.5) << r.what;
        NW.layer = set3.layers;
        EXPECT_EQ(ASDataFromCellDefinition(set3, mesh, NW, settings, found), -1);
    }
}

TEST(AsFile, BlocksOfAnalysedCurves)
{
    std::vector<DataListElement> results(3);  // the one in the middle has no C-f curve
    for (DataListElement& element : results) element.run.wp = InitialiseWorkPoint();
    results[0].cf = results[2].cf = single_level(300.0, 1e12, 0.42, 21);
    results[2].Cf_points = 23;
    EXPECT_EQ(AS_naar_file("KOVIN", results), "") << "not analysed yet";
    EXPECT_EQ(Calculate_AS(results, {}, {}, {}), 2);
    const std::string text = AS_naar_file("KOVIN", results, CutCurves::zeros);
    EXPECT_TRUE(text.starts_with("KOVIN\nSimulation of Admittance Spectroscopy\nAdmittance analysis: mode 0\tnu0 = "))
        << text;
    const std::string heading = "       f(Hz)\t   C(nF/cm2)\t  Et(eV)\t-w*dC/dw(nF/cm\xb2)\tNt(cm^-3/eV)\n";
    const std::size_t first = text.find(heading), second = text.find(heading, first + 1);
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(text.find(heading, second + 1), std::string::npos);
    const std::string row =
        text.substr(first + heading.size(), text.find('\n', first + heading.size()) - first - heading.size());
    EXPECT_TRUE(row.starts_with("   1.00000000e+01\t   4.199999")) << row;
    EXPECT_EQ(row.size(), 5U * 17U + 4U) << "a blank and 16 places a number, parted by tabs";
    const auto rows = [&](std::size_t at) {
        at += heading.size();
        return std::count(text.begin() + static_cast<std::ptrdiff_t>(at),
                          text.begin() + static_cast<std::ptrdiff_t>(text.find("\n\n", at) + 1), '\n');
    };
    EXPECT_EQ(rows(first), 21);
    EXPECT_EQ(rows(second), 23);
}

// A level is a step inside the spectrum: C = 40 nF/cm2 and 4 more below f0, behind a series resistance.
TEST(Admittance, TheLevelIsNeitherAnEndNorTheSeriesResistance)
{
    struct Row {
        const char* what;
        double f0, Rs, stop;  // [Hz, ohm cm2, Hz]
        bool level, of_Rs;
    };
    for (const Row& r :
         {Row{"a level", 1e4, 0.0, 1e8, true, false}, Row{"hardly less of it", 1e4, 0.01, 1e7, true, false},
          Row{"the end of a roll-off", 1e4, 0.01, 1e8, false, false}, Row{"a roll-off", 1e4, 1.0, 1e8, false, true},
          Row{"a level beyond", 1e9, 0.0, 1e8, false, false}, Row{"a level in front", 1e-1, 0.0, 1e8, false, false}})
        for (const bool falling : {false, true}) {
            DataListElement element;
            element.run.wp.RsPresent = true;
            element.run.wp.Rs = 1e-4 * r.Rs;
            CfCurve& cf = element.cf;
            for (int i = 0; i <= 40; ++i) {
                const double share = (falling ? 40 - i : i) / 40.0, f = 1e2 * std::pow(r.stop / 1e2, share);
                const double w = 2.0 * std::numbers::pi * f;
                const double C = 40.0 + 4.0 / (1.0 + f / r.f0 * f / r.f0), im = -1e9 / (w * C);
                cf.cf_as.push_back(f);
                cf.cfZre.push_back(r.Rs);
                cf.cfZim.push_back(im);
                cf.cfcap.push_back(-im / (r.Rs * r.Rs + im * im) / w * 1e9);
            }
            ASSERT_EQ(Calculate_AS_single({300.0, 0.0, cf.cf_as, cf.cfcap}, {}, {}, {}, element.as), 0);
            const auto at = level_peak(element);
            EXPECT_EQ(at.has_value(), r.level) << r.what;
            EXPECT_EQ(peak_is_of_Rs(element), r.of_Rs) << r.what;
            if (at) {
                EXPECT_NEAR(std::log10(cf.cf_as[*at] / r.f0), 0.0, 0.1) << r.what;
            }
        }
}

}  // namespace
}  // namespace kovin
