// The analyses as a user reaches them: the table of settings, and calculated curves of cells whose answer is known.
#include "app/analysis.h"
#include "app/simulate.h"
#include "base/constants.h"
#include "device/unit_systems.h"
#include "solver/devices.h"
#include "support/uniform_layer.h"
#include "sweeps/doping_profile.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <tuple>

namespace kovin {
namespace {

TEST(AnalysisSettings, EachKeyHasOneHomeAndKeepsItsBounds)
{
    std::set<std::string> help;
    for (const AnalysisKey& key : analysis_keys()) {
        AnalysisChoices choices;
        const std::string word(key.key),
            at_least = key.least > 0.0 && key.least < 1e-200 ? "1e-3" : std::to_string(key.least);
        EXPECT_EQ(add_analysis_choice(word + '=' + at_least, choices), "");
        EXPECT_NE(add_analysis_choice(word + '=' + std::to_string(key.least - 1.0), choices), "") << word;
        if (key.whole) {
            EXPECT_NE(add_analysis_choice(word + '=' + std::to_string(key.most + 1.0), choices), "") << word;
        }
        EXPECT_EQ(key.whole, add_analysis_choice(word + "=0.25", choices) != "") << word;
        EXPECT_NE(analysis_help().find("  " + word + ' '), std::string::npos);
        // Two values leave two different records, so that no row writes into the void.
        AnalysisSettings low, high;
        key.set(low, key.words.empty() ? 1.0 : key.words.front().value);
        key.set(high, key.words.empty() ? 2.0 : key.words.back().value);
        const auto print = [](const AnalysisSettings& s) {
            return std::make_tuple(s.as.nu0, s.as.Eref, s.as.f_ref, s.as.model, s.as.Ebar, s.as.band_offset,
                                   s.as.Eg_ref, s.as.ratio, s.as.two_levels, s.as.nu0_a, s.as.nu0_b, s.as.E_switch);
        };
        EXPECT_TRUE(print(low) != print(high) || !(low.NW == high.NW)) << word;
        EXPECT_TRUE(help.insert(word).second) << word << " stands twice";
    }
    EXPECT_EQ(help.size(), 23U);
}

TEST(AnalysisSettings, FaultsAreToldAndChangeNothing)
{
    struct Row {
        const char *text, *complaint;
    };
    const Row rows[] = {
        {"nuo=1e12", "'nuo' is no setting of an analysis; did you mean 'nu0'?"},
        {"f-ref=1e3", "did you mean 'f_ref'?"},
        {"colour=red", "'colour' is no setting of an analysis"},
        {"nu0", "is not of the form KEY=VALUE"},
        {"=1", "'' is no setting"},
        {"nu0=", "'' is no value of nu0 (above 0 1/s)"},
        {"nu0=1e999", "is no value of nu0"},
        {"nu0=nan", "is no value of nu0"},
        {"nu0=1e12 Hz", "is no value of nu0"},
        {"mode=0.5", "(whole, 0 to 3)"},
        {"side=0", "(left, right)"},
        {"type=exciton", "(electron, midgap, hole)"},
    };
    AnalysisChoices choices;
    for (const Row& r : rows) {
        EXPECT_NE(add_analysis_choice(r.text, choices).find(r.complaint), std::string::npos) << r.text;
        EXPECT_TRUE(choices.empty()) << r.text;
    }
    for (const char* text : {"NU0 = 1e11", "nu0=2e11", "type=Electron", "side=1"})
        EXPECT_EQ(add_analysis_choice(text, choices), "") << text;
    ASSERT_EQ(choices.size(), 3U) << "of two values for one key the later holds";
    EXPECT_EQ(choices[0].value, 2e11);
    EXPECT_EQ(choices[1].value, -1.0);
    EXPECT_EQ(choices[2].value, 1.0);
}

// Which settings come from whom, and what the cell does not have.
TEST(AnalysisSettings, TheUserStandsOverTheFileAndTheFileOverTheCell)
{
    struct Row {
        const char* what;
        std::vector<const char*> given;
        double epsilon_of_file;
        MottSchottkySettings expected;
        const char* complaint;
    };
    MottSchottkySettings file, user, second;
    file.constant_epsilon = 11.7;
    user.constant_epsilon = 12.0;
    second.layer = 1, second.side = -1;
    const Row rows[] = {
        {"the cell", {}, 10.0, {}, ""},
        {"the file", {}, 11.7, file, ""},
        {"the user", {"epsilon=12"}, 11.7, user, ""},
        {"a value and the way to use it", {"epsilonFromPosition=constant", "epsilon=12"}, 10.0, user, ""},
        {"a layer", {"layer=2", "side=left"}, 10.0, second, ""},
        {"no such layer", {"layer=3"}, 10.0, {}, "layer 3: the cell has 2"},
        {"no such defect", {"layer=2", "defect=1"}, 10.0, {}, "defect 1: layer 2 has 0"},
        {"no such level", {"layer=1", "level=2"}, 10.0, {}, "level 2: the defect of layer 1 has 1"},
    };
    for (const Row& r : rows) {
        const auto memory = std::make_unique<Simulation>();
        Simulation& s = *memory;
        s.zonnecel.cell.layers = 2;
        s.zonnecel.cell.layer[0].srhteller = 1;
        s.problem.NW.constant_epsilon = r.epsilon_of_file;
        AnalysisChoices choices;
        for (const char* text : r.given) ASSERT_EQ(add_analysis_choice(text, choices), "") << r.what;
        EXPECT_EQ(prepare_analysis(s, choices), r.complaint) << r.what;
        if (r.complaint[0] != '\0') continue;
        EXPECT_EQ(s.problem.NW, r.expected) << r.what;
    }
}

/// A dark run of a cell of these layers; what is measured stands in the actions.
struct DarkRun {
    explicit DarkRun(const std::vector<test::LayerFigures>& layers, bool turned = false)
    {
        InputParameters set1 = test::cell_of(layers);
        for (std::size_t j = 0; j < layers.size(); ++j) {
            auto& level =
                test::add_defect(set1.cell.cell.layer[j], DefectType::neutral, EnergyDistribution::single, 0.56, 1e20);
            level.sigma_n = level.sigma_p = 1e-19;
        }
        cell() = parameterset1_to_2(set1.cell).cell;
        if (turned) cell() = testing::mirrored(cell());
        session->simulation.panel = InitialiseActionPanel();
        session->simulation.panel.workPoint.dark = true;
        actions().IV_calculate = false;
    }
    CellParameters& cell() { return session->simulation.zonnecel.cell; }
    ActionList& actions() { return session->simulation.panel.actions; }
    /// From 0.8 V in reverse to 0.1 V in forward. @param forward  sign of a forward voltage
    void measure_CV(double forward)
    {
        actions().CV_calculate = true;
        actions().CV_startV = -0.8 * forward;
        actions().CV_stopV = 0.1 * forward;
        actions().CV_points = 19;
    }
    const DataListElement& analysed(const std::vector<const char*>& given = {})
    {
        AnalysisChoices choices;
        for (const char* text : given) EXPECT_EQ(add_analysis_choice(text, choices), "") << text;
        EXPECT_EQ(prepare_analysis(session->simulation, choices), "");
        EXPECT_EQ(Simulate(*session), SimulateOutcome::done);
        EXPECT_TRUE(analyse(*session, choices));
        return session->simulation.results.back();
    }
    std::unique_ptr<Session> session = std::make_unique<Session>();
};

// The C-V of an MIS structure is that of the semiconductor beside the insulator, also with a junction behind it.
TEST(Analysis, InsulatorOutweighsTheJunctionOfTheCell)
{
    test::LayerFigures oxide, p, n;
    oxide.d = 2e-8;
    p.Na = 1e22, n.Nd = 1e22, n.d = 2e-6;
    DarkRun run({oxide, p, n});
    LayerParameters& layer = run.cell().layer[0];
    layer.srhteller = 0;
    layer.functional_type = electrical_interlayer;
    test::set_uniform(layer.material.chi, 0.9);
    test::set_uniform(layer.material.Eg, 9.0);
    run.measure_CV(1.0);
    run.actions().CV_calculate = false;
    run.actions().MIS_CV_calculate = true;
    const CvCurve& curve = run.analysed().cv;
    EXPECT_EQ(curve.NW.layer, 1);
    EXPECT_EQ(curve.NW.side, -1);
}

// A calculated C-V of a uniform junction: straight, with the slope of the two dopings in series and the intercept of
// the built-in voltage; whichever side p is at.
TEST(Analysis, UniformJunctionHasItsDopingAndBuiltInVoltage)
{
    for (const bool turned : {false, true}) {
        test::LayerFigures p, n;
        p.Na = 1e22, n.Nd = 1e22, n.d = 2e-6;
        DarkRun run({p, n}, turned);
        run.measure_CV(turned ? -1.0 : 1.0);
        const DataListElement& element = run.analysed();
        const auto line = mott_schottky_line(element.cv);
        ASSERT_TRUE(line);
        const double Vbi = kT_at_300K * std::log(1e44 / (p.Nc * p.Nv)) + 1.12;
        EXPECT_NEAR(line->Vbi, Vbi, 0.1 * kT_at_300K) << turned;
        EXPECT_NEAR(line->N / 5e15, 1.0, 2e-3) << turned;
        EXPECT_DOUBLE_EQ(line->epsilon, 11.7);
        for (std::size_t i = 0; i < element.cv.points(); ++i)
            EXPECT_NEAR(std::abs(element.cv.cvN[i]) / 5e15, 1.0, 5e-3) << turned << element.cv.v_cell[i];
    }
}

// The depletion layer reaches through 0.1 um of low permittivity, then into the base; on the n side a tenth as far.
// With the field q N (W - x)/eps, Vbi - 2 kT - V is its integral.
TEST(Analysis, StackOfTwoPermittivitiesHasItsWidthInTheModeForIt)
{
    constexpr double s = 0.1e-6, N = 1e22, eps_spacer = 5.0, eps_base = 13.0, to_n = 0.1;
    test::LayerFigures base, spacer, n;
    base.Na = spacer.Na = N, base.eps = n.eps = eps_base, spacer.eps = eps_spacer;
    base.d = 2e-6, spacer.d = s, n.d = 0.5e-6, n.Nd = N / to_n;
    const double Vbi = kT_at_300K * std::log(N * n.Nd / (n.Nc * n.Nv)) + 1.12;
    for (const bool stack : {true, false}) {
        DarkRun run({base, spacer, n});
        run.measure_CV(1.0);
        const CvCurve& curve = stack ? run.analysed().cv : run.analysed({"epsilon=13"}).cv;
        EXPECT_EQ(curve.NW.layer, 1);
        EXPECT_EQ(curve.NW.side, 1);
        // From 0.2 V on the edge is three Debye lengths behind the spacer; the carriers' tails no longer feel it.
        for (std::size_t i = 0; curve.v_cell[i] < -0.19; ++i) {
            const double bending = Vbi - 2.0 * kT_at_300K - curve.v_cell[i];
            double low = s, high = base.d;
            for (int half = 0; half < 50; ++half) {
                const double W = 0.5 * (low + high), u = W - s;
                const double sum = (s * u + 0.5 * s * s) / eps_spacer + 0.5 * (u * u + to_n * W * W) / eps_base;
                (elementary_charge * N / vacuum_permittivity * sum < bending ? low : high) = W;
            }
            const double both_sides = 1e6 * low * (1.0 + to_n), too_wide = 1e6 * s * (eps_base / eps_spacer - 1.0);
            EXPECT_NEAR(curve.cvW[i], both_sides + (stack ? 0.0 : too_wide), 0.01 * both_sides) << curve.v_cell[i];
            EXPECT_NEAR(curve.cvN[i] * (1.0 + to_n) / 1e16, 1.0, 0.02) << curve.v_cell[i];
            EXPECT_NEAR(curve.cvx[i], stack ? 2.1 - curve.cvW[i] : curve.cvW[i], 1e-9);
        }
    }
}

// A donor level 0.35 eV above the valence band, 1e15 cm-3, beside the midgap level of the p layer. Its capture cross
// section gives the attempt frequency, at any temperature; the bias counts in the sense of the junction.
TEST(Analysis, KnownLevelPeaksAtItsEnergy)
{
    struct Row {
        double T, V;
        bool turned;
    };
    double Nt_peak = 0.0;
    for (const Row& r : {Row{300.0, -0.3, false}, Row{300.0, -0.3, true}, Row{250.0, 0.0, false}}) {
        test::LayerFigures p, n;
        p.d = 2e-6, p.Na = 1e22, n.Nd = 1e23;
        DarkRun run({p, n});
        LayerParameters& layer = run.cell().layer[0];
        auto& level = test::add_defect(layer, DefectType::donor, EnergyDistribution::single, 0.35, 1e15);
        level.sigma_n = level.sigma_p = 1e-15;  // user units: cm
        if (r.turned) run.cell() = testing::mirrored(run.cell());
        WorkPoint& wp = run.session->simulation.panel.workPoint;
        wp.T = r.T;
        wp.V = r.turned ? -r.V : r.V;
        ActionList& actions = run.actions();
        actions.Cf_calculate = true;
        actions.Cf_startf = 1e2, actions.Cf_stopf = 1e7, actions.Cf_points = 101;
        const DataListElement& element = run.analysed({"defect=2", "points=5"});
        const AsCurve& as = element.as;
        const auto peak = level_peak(element);
        ASSERT_TRUE(peak);
        EXPECT_NEAR(as.AS_Et[*peak], 0.35, 0.5 * thermal_voltage(r.T)) << r.T << r.turned;
        // The level answers where it crosses the Fermi level, at r = x/W. So the step of C is that of Nt (1 - r)
        // against the doping, and the uniform model sees Na/2 of it. Each edge has its kT of tail; the crossing is as
        // wide as several kT, a seventh of the way.
        const double kT = thermal_voltage(r.T), t = r.T / 300.0;
        const double bending = 1.12 + kT * std::log(1e45 / (p.Nv * n.Nc * t * t * t)) - r.V;
        const double over_Fermi = 0.35 - kT * std::log(p.Nv * t * std::sqrt(t) / p.Na);
        const double missing = 0.1 * std::sqrt((over_Fermi - kT) / (bending - 2.0 * kT));
        double total = 0.0;
        for (std::size_t i = 0; i + 1 < as.points(); ++i)
            total += 0.5 * (as.AS_Nt[i] + as.AS_Nt[i + 1]) * (as.AS_Et[i] - as.AS_Et[i + 1]);
        EXPECT_NEAR(total / (0.5e16 * missing / (1.0 - missing)), 1.0, 0.15) << r.T << r.turned;
        if (r.turned) {
            EXPECT_NEAR(as.AS_Nt[*peak] / Nt_peak, 1.0, 1e-2);
        }
        Nt_peak = as.AS_Nt[*peak];
    }
}

}  // namespace
}  // namespace kovin
