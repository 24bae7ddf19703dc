// Levels that absorb light, in whole runs: what photons, states and currents owe each other.
#include "base/scratch_folder.h"
#include "device/boxes.h"
#include "optics/optical_capture.h"
#include "solver/occupation.h"
#include "sweeps/shipped_run.h"

#include <cmath>
#include <fstream>

namespace kovin {
namespace {

/// Photons [1/(m2 s)] of the running state.
struct PhotonBudget {
    double incident = 0.0, in_bands = 0.0, by_levels = 0.0, escaped = 0.0;
    double events = 0.0;       ///< g_n f + g_p (1 - f) in the boxes
    double from_states = 0.0;  ///< g_n f alone
};

PhotonBudget photon_budget(Simulation& s)
{
    PhotonBudget b;
    const GenerationParameters& gp = s.light;
    const Mesh& mesh = s.currentCalcVars.mesh;
    const auto box = [&](std::size_t i, std::size_t j) {
        const double left = i > static_cast<std::size_t>(mesh.first[j]) ? mesh.h[i - 1] : 0.0;
        const double right = i < static_cast<std::size_t>(mesh.last[j]) ? mesh.h[i] : 0.0;
        return 0.5 * (left + right) * s.set3.scale.x0;
    };
    for (const double pairs : gp.in_box) b.in_bands += pairs;
    for (std::size_t k = 0; k < gp.lambda.size(); ++k) {
        double T = 0.0;
        for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j)
            for (auto i = static_cast<std::size_t>(mesh.first[j]); i <= static_cast<std::size_t>(mesh.last[j]); ++i) {
                double a = gp.absorption.alpha[static_cast<std::size_t>(gp.absorption.of_point[i])][k];
                for (const OpticalCapture& level : gp.capture) {
                    if (level.layer != j) continue;
                    const std::size_t m = i - static_cast<std::size_t>(mesh.first[j]);
                    a += level.sigma_n[k] * level.filled[m] + level.sigma_p[k] * level.empty[m];
                }
                T += a * box(i, j);
            }
        const double Rb = (gp.side == -1 ? gp.rightFilter : gp.leftFilter)[k], Rf = gp.Rfront;
        const double t = std::exp(-T), F = gp.incomingFlux_us[k];
        b.incident += F;
        b.escaped += F * ((1.0 - Rb) * t + (1.0 - Rf) * Rb * t * t) / (1.0 - Rf * Rb * t * t);
    }
    b.by_levels = b.incident - b.in_bands - b.escaped;
    for (const DefectTransition& d : defect_transitions(s.memory.defects, s.currentCalcVars)) {
        if (d.gn.empty()) continue;
        const auto j = static_cast<std::size_t>(d.layer);
        for (std::size_t m = 0; m < d.Nt.size(); ++m) {
            const double states = d.Nt[m] * s.set3.scale.N0[j] * box(d.first + m, j) / s.set3.scale.t0;
            b.from_states += states * d.gn[m] * d.f_t[m];
            b.events += states * (d.gn[m] * d.f_t[m] + d.gp[m] * d.een_min_f_t[m]);
        }
    }
    return b;
}

/// The sample of silicon with indium in light of one wavelength, or in its own.
struct IndiumCell : ShippedRun {
    IndiumCell() : ShippedRun("impurity-photovoltaic") {}
    void monochromatic(double wavelength, double photons)
    {
        const std::string at = std::to_string(wavelength), file = (scratch.path() / "line.spe").string();
        std::ofstream(file) << wavelength - 1.0 << " 0\n"
                            << at << ' ' << photons / (wavelength * photons_per_nm_W) << '\n'
                            << wavelength + 1.0 << " 0\n";
        wp().spectrumFile = file;
    }
    [[nodiscard]] BulkRecombinationParameters& indium() { return s->zonnecel.cell.layer[1].srh[0][0]; }
    /// A gap of 2 eV with the level far from both bands; nothing else absorbs.
    void widen_gap()
    {
        for (std::size_t j = 0; j < 3; ++j) {
            LayerParameters& layer = s->zonnecel.cell.layer[j];
            test::set_uniform(layer.material.Eg, 2.0);
            layer.material.absorption.pure_A_from_file = layer.material.absorption.pure_B_from_file = false;
            layer.srh[0][0].Et = j == 1 ? 0.75 : 1.0;
        }
        for (OpticalCaptureProperties* capture : {&indium().electrons, &indium().holes}) {
            capture->from_model = true;
            capture->Emax = 3.0;
        }
        indium().sigma_p = 1e-20;  // heat empties and fills nothing
    }
    bool solve()
    {
        outcome = calculate(surroundings, *s);
        return outcome == RunOutcome::done;
    }
    ScratchFolder scratch;
};

TEST(ImpurityPhotovoltaic, EveryPhotonIsAbsorbedOnceOrEscapes)
{
    struct Row {
        const char* what;
        Route route;
        double wavelength, photons, Nt_cm3, V;
        void (*change)(IndiumCell&) = nullptr;
    };
    const Row rows[] = {
        {"sunlight", Route::fast, 0.0, 0.0, 1e17, 0.0},
        {"sunlight, classic route", Route::classic, 0.0, 0.0, 1e17, 0.3},
        {"below the gap, forward", Route::fast, 1200.0, 1e21, 1e17, 0.3},
        {"many levels", Route::fast, 1200.0, 1e22, 1e19, 0.0},
        {"strong light", Route::fast, 1200.0, 1e24, 1e17, 0.0},
        {"far in reverse", Route::fast, 1200.0, 1e22, 1e17, -20.0},
        {"in reverse, where the mesh moves", Route::fast, 1200.0, 1e22, 1e17, -3.0},
        {"the same, classic route", Route::classic, 1200.0, 1e22, 1e17, -3.0},
        {"levels spread over energies", Route::fast, 0.0, 0.0, 1e17, 0.3,
         [](IndiumCell& run) {
             run.indium().energy_distribution = EnergyDistribution::gauss;
             run.indium().Ekar = 0.05;
         }},
        {"two levels", Route::fast, 1200.0, 1e22, 1e17, 0.3,
         [](IndiumCell& run) {
             LayerParameters& layer = run.s->zonnecel.cell.layer[1];
             for (auto& level : test::add_chain(layer, LevelType::plus_zero, {0.2, 0.6}, 1e16)) {
                 testing::let_absorb(level);
                 level.electrons.from_model = level.holes.from_model = true;
             }
         }},
        {"strong light on few levels, classic route", Route::classic, 1200.0, 1e22, 3e16, 0.0},
        // One pass a round, each 1.6 times beyond the other: rounds of light must not build this up.
        {"passes that swing, classic route", Route::classic, 1200.0, 1e19, 1e17, 0.8,
         [](IndiumCell& run) {
             DefectLevels& levels =
                 test::add_chain(run.s->zonnecel.cell.layer[1], LevelType::two_plus_plus, {0.3, 0.6}, 3e16);
             levels[0].sigma_n = 1e-16, levels[0].sigma_p = 3e-16;
             levels[1].sigma_n = 2e-16, levels[1].sigma_p = 1e-17;
         }},
    };
    for (const Row& r : rows) {
        IndiumCell run;
        run.s->problem.input.convergence.route = r.route;
        run.wp().V = r.V;
        test::set_uniform(run.indium().Nt, r.Nt_cm3);
        if (r.change != nullptr) r.change(run);
        if (r.photons > 0.0) run.monochromatic(r.wavelength, r.photons);
        ASSERT_TRUE(run.solve()) << r.what;
        if (r.V == -3.0) {
            EXPECT_NE(run.s->currentCalcVars.mesh.x, run.s->evenwichtcv.mesh.x) << r.what;
        }
        const PhotonBudget b = photon_budget(*run.s);
        EXPECT_NEAR(b.events, b.by_levels, 1e-6 * b.by_levels) << r.what;
        EXPECT_GT(b.by_levels, 0.02 * b.incident) << r.what << ": this case shows nothing";
        // What recombines and what is generated make the current, light on levels included.
        const Problem problem = run.s->solver_problem();
        const CalculationVariables& cv = run.s->currentCalcVars;
        const ContactCurrents c = contact_currents(problem, cv);
        const double net = integrated_current(run.s->set3, cv.mesh, cv.terms_total.rec) -
                           integrated_current(run.s->set3, cv.mesh, run.s->light.generation);
        EXPECT_NEAR(c.j_n_left + c.j_p_right + net, cv.J_median, 1e-5 * std::fabs(cv.J_median) + 1e-6) << r.what;
    }
}

TEST(ImpurityPhotovoltaic, StartsApartMeetInOneState)
{
    IndiumCell run;
    run.monochromatic(1200.0, 1e22);
    test::set_uniform(run.indium().Nt, 1e18);
    ASSERT_TRUE(run.solve());
    Simulation& s = *run.s;
    const double J = s.JShortCircuit;
    const std::vector<double> g_n = s.light.capture.at(0).g_n;
    for (const double filled : {0.0, 1.0}) {
        CalculationVariables& cv = s.currentCalcVars;
        OpticalCapture& level = s.light.capture[0];
        ASSERT_TRUE(volgende_iv_punt(s.solver_problem(run.surroundings), s.memory.work, cv, 0.0, 0.4, 5));
        EXPECT_GT(std::fabs(s.light.capture[0].g_n[50] / g_n[50] - 1.0), 1e-4) << "this case shows nothing";
        std::fill(level.filled.begin(), level.filled.end(), filled * 1e24);
        std::fill(level.empty.begin(), level.empty.end(), (1.0 - filled) * 1e24);
        photons_with_capture(s.set3, cv.mesh, s.light, false);
        ASSERT_TRUE(volgende_iv_punt(s.solver_problem(run.surroundings), s.memory.work, cv, 0.4, 0.0, 5));
        EXPECT_NEAR(cv.J_median, J, 1e-7 * std::fabs(J) + 2.0 * cv.J_noise);
        ASSERT_EQ(level.g_n.size(), g_n.size());
        for (std::size_t i = 0; i < g_n.size(); ++i) EXPECT_NEAR(level.g_n[i], g_n[i], 1e-7 * g_n[i]);
    }
}

TEST(ImpurityPhotovoltaic, CurrentTakesBothTransitionsOfADeepLevel)
{
    constexpr double photons = 1e22;
    const double whole = 0.1 * elementary_charge * photons;
    struct Row {
        const char* what;
        bool deep, electrons, holes;
        double least, most;  ///< beyond what the bands generate, in that of all photons
    };
    const Row rows[] = {
        {"deep level, both", true, true, true, 1e-3, 1.0},
        {"deep level, electrons alone", true, true, false, 0.0, 1e-8},
        {"deep level, holes alone", true, false, true, 0.0, 1e-8},
        {"shallow level, both", false, true, true, 1e-2, 1.0},
        {"shallow level, electrons alone: heat fills it", false, true, false, 1e-1, 1.0},
        {"shallow level, holes alone", false, false, true, -1e-2, 0.0},
        {"none", false, false, false, -1e-2, 0.0},
    };
    for (const Row& r : rows) {
        IndiumCell run;
        if (r.deep) run.widen_gap();
        run.monochromatic(r.deep ? 900.0 : 1250.0, photons);
        run.indium().electrons.present = r.electrons;
        run.indium().holes.present = r.holes;
        ASSERT_TRUE(run.solve()) << r.what;
        const double share = (-run.s->JShortCircuit - run.s->light.total_mA_cm2) / whole;
        EXPECT_GE(share, r.least - 1e-12) << r.what;
        EXPECT_LE(share, r.most) << r.what;
        if (r.deep) {
            EXPECT_EQ(run.s->light.total_mA_cm2, 0.0) << r.what;
        }
    }
}

// The probe of a quantum efficiency in the dark is the light of a run of that wavelength, and what it adds to a bias is
// the difference of two runs.
TEST(ImpurityPhotovoltaic, QuantumEfficiencyIsThatOfRuns)
{
    constexpr double photons = 1e22;
    IndiumCell lit;
    lit.monochromatic(1200.0, photons);
    ASSERT_TRUE(lit.solve());
    for (const bool dark : {true, false}) {
        IndiumCell run;
        if (!dark) run.monochromatic(1200.0, 0.5 * photons);
        run.wp().dark = dark;
        run.s->problem.qe = {.mode = 1, .photons = dark ? photons : 0.5 * photons};
        run.actions().QE_calculate = true;
        run.actions().QE_startlambda = 1400.0, run.actions().QE_stoplambda = 1200.0, run.actions().QE_points = 3;
        const QeCurve& curve = run.calculated().qe;
        ASSERT_EQ(curve.points(), 3u);
        const double before = dark ? 0.0 : run.s->JShortCircuit;
        const double expected =
            100.0 * (before - lit.s->JShortCircuit) / (0.1 * elementary_charge * run.s->problem.qe.photons);
        EXPECT_NEAR(curve.qe[2], expected, 1e-4 * expected) << dark;
        EXPECT_GT(expected, 0.1);
        EXPECT_NEAR(curve.qe[0], 0.0, 1e-5) << "no electron comes up, but the levels are filled otherwise";
    }
}

// In a gap that sunlight does not cross only the levels tell which way a light current flows.
TEST(ImpurityPhotovoltaic, InTheDarkTheSignOfAQuantumEfficiencyComesFromTheLevels)
{
    for (const bool turned : {false, true}) {
        IndiumCell run;
        run.widen_gap();
        if (turned) run.turn();
        run.wp().dark = true;
        run.s->problem.qe = {.mode = 1, .photons = 1e22};
        run.actions().QE_calculate = true;
        run.actions().QE_startlambda = 900.0, run.actions().QE_stoplambda = 800.0, run.actions().QE_points = 2;
        const QeCurve& curve = run.calculated().qe;
        ASSERT_EQ(curve.points(), 2u);
        EXPECT_GT(curve.qe[0], 1e-3) << turned;
        EXPECT_EQ(run.s->JShortCircuit, 0.0);
        IndiumCell dark;
        dark.widen_gap();
        dark.wp().dark = true;
        if (turned) dark.turn();
        ASSERT_TRUE(dark.solve());
        EXPECT_EQ(run.s->currentCalcVars.psi, dark.s->currentCalcVars.psi) << "nothing of that light is left";
    }
}

TEST(ImpurityPhotovoltaic, WhatCannotBeUsedIsTold)
{
    struct Row {
        const char *what, *text;
        double n;
        bool runs;
        const char* told;  // once
    };
    const Row rows[] = {
        {"no file named", "", 3.0, false, "no file with the cross section is named"},
        {"a file that is not there", nullptr, 3.0, false, "gives no cross section"},
        {"no rows", "nothing\n", 3.0, false, "gives no cross section"},
        {"cross sections of no defect", "900 1e-20\n1100 1e250\n", 3.0, false, "no defect; files hold m2."},
        {"negative cross sections count as none", "900 -1e-20\n1100 -1\n", 3.0, true, "has no cross section above 0"},
        {"one row", "900 1e-20\n", 3.0, true, "it counts at 900.0 nm alone"},
        {"a heading in cm2", "nm\tcm2\n900 1e-18\n1100 1e-18\n", 3.0, true, "the heading says cm2; files hold m2."},
        {"wavelengths in um", "0.9 1e-20\n1.1 1e-20\n", 3.0, true, "its cross sections, from 0.9 to 1.1 nm"},
        {"two rows", "900 1e-20\n1100 1e-20\n", 3.0, true, ""},
        {"a model that divides by zero", "model", 0.0, false, "must be above 0"},
        {"a model beyond all defects", "model", 1e-300, false, "m2, the cross section of no defect, with n of 1e-300"},
        {"a model that no photon reaches", "model of few", 3.0, true, "the model ends at Emax, 0.100 eV"},
        {"a model of all energies", "model of all", 3.0, false, "can be calculated up to Emax, 1e+300 eV"},
        {"a model without a line that names its level", "model of none", 3.0, true, "it absorbs nothing"},
    };
    for (const Row& r : rows) {
        IndiumCell run;
        OpticalCaptureProperties& capture = run.indium().electrons;
        const std::string text = r.text == nullptr ? "" : r.text, file = (run.scratch.path() / "table.opt").string();
        capture.from_model = text.starts_with("model");
        if (text == "model of few") capture.Emax = 0.1;
        if (text == "model of all") capture.Emax = 1e300;
        if (text == "model of none") capture.present = false;
        run.actions().QE_calculate = r.runs;  // it reads them again
        run.actions().QE_points = 2;
        capture.file = text.empty() && r.text != nullptr ? "" : file;
        if (!text.empty()) std::ofstream(file) << text;
        capture.n = r.n;
        EXPECT_EQ(run.solve(), r.runs) << r.what;
        std::string told;
        for (const auto& message : run.surroundings.report.messages) told += message.text + '\n';
        EXPECT_NE(told.find(r.told), std::string::npos) << r.what << ": " << told;
        EXPECT_TRUE(*r.told == '\0' ? told.empty() : told.find(r.told) == told.rfind(r.told)) << told;
    }
}

}  // namespace
}  // namespace kovin
