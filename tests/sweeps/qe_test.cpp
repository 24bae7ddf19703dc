// Quantum efficiency: what must hold for any cell, the figures of the sample cells, and curves that end early.
#include "sweeps/qe.h"
#include "base/scratch_folder.h"
#include "device/model_table.h"
#include "optics/absorption_on_mesh.h"
#include "results/curve_files.h"
#include "sweeps/shipped_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

namespace kovin {
namespace {

/// A run of a shipped cell that asks for nothing but its QE, with a probe that changes little.
struct QeRun : ShippedRun {
    explicit QeRun(const std::string& name, double from = 400.0, double to = 1000.0, int points = 7) : ShippedRun(name)
    {
        s->problem.qe = {.mode = 1, .photons = 1e18};
        actions().QE_calculate = true;
        actions().QE_startlambda = from;
        actions().QE_stoplambda = to;
        actions().QE_points = points;
    }
    const QeCurve& curve() { return calculated().qe; }
};

// Figures of an independent program on the same cells; and the curve collects of the spectrum what the cell does.
TEST(QuantumEfficiency, OfTheSampleCells)
{
    struct Row {
        const char* name;
        double wavelength, expected, to_within;
    };
    for (const Row& row : {Row{"cigs-baseline", 550.0, 93.0, 3.0}, Row{"cigs-baseline", 900.0, 73.0, 3.0},
                           Row{"silicon-pn", 600.0, 98.8, 0.1}})
        for (const bool dark : {false, true}) {
            QeRun run(row.name, row.wavelength, row.wavelength + 1.0, 2);
            run.wp().dark = dark;
            EXPECT_NEAR(run.curve().qe[0], row.expected, row.to_within) << row.name << row.wavelength << dark;
        }
    for (const char* name : {"cigs-baseline", "silicon-pn", "perovskite-nip", "cdte-baseline"}) {
        QeRun run(name, 300.0, 1250.0, 191);
        const QeCurve& curve = run.curve();
        ASSERT_TRUE(curve.J_AM15G && curve.Jsc) << name;
        EXPECT_NEAR(*curve.J_AM15G / *curve.Jsc, 1.0, 0.01) << name;
        EXPECT_TRUE(run.surroundings.report.messages.empty()) << name;
    }
}

// Nothing recombines: what is absorbed is collected, by Beer's law.
TEST(QuantumEfficiency, OfAnIdealCollectorIsTheAbsorbedFraction)
{
    QeRun run("silicon-pn", 500.0, 1100.0, 7);
    CellParameters& cell = run.s->zonnecel.cell;
    for (LayerParameters& layer : cell.layer) {
        layer.srhteller = 0;
        for (Profile MaterialParameters::*rate :
             {&MaterialParameters::K_rad, &MaterialParameters::c_n_auger, &MaterialParameters::c_p_auger})
            test::set_uniform(layer.material.*rate, 0.0);
    }
    const bool p_left = cell.layer[0].material.Na.left > cell.layer[0].material.Nd.left;
    for (ContactParameters* contact : {&cell.left, &cell.right}) {
        contact->filter = false;
        ((contact == &cell.left) == p_left ? contact->Sn : contact->Sp) = 1e-12;  // of the minority
    }
    const QeCurve& curve = run.curve();
    const GenerationParameters& light = run.s->light;
    for (std::size_t k = 0; k < curve.points(); ++k) {
        double depth = 0.0;
        for (std::size_t j = 0; j < light.materials.size(); ++j)
            depth += ExtractAlpha(light, curve.qe_as[k], j) * run.s->set3.layer[j].material.d;
        EXPECT_NEAR(curve.qe[k], -100.0 * std::expm1(-depth), 1e-3) << curve.qe_as[k];
    }
    EXPECT_LT(curve.qe.back(), 50.0) << "light that passes shows more than light that stays";
}

// Probe, bias light, sense of the wavelengths and orientation leave the QE of a cell alone that is nearly linear.
TEST(QuantumEfficiency, IsThatOfTheCell)
{
    struct Row {
        const char* what;
        std::function<void(QeRun&)> change;
        double relative;  ///< difference: 1e-3 where depletion layer and traps feel the bias
    };
    const auto turn = [](QeRun& run) { run.turn(); };
    const auto given = [](QeRun& run) {
        run.wp().generationSpecified = true;
        run.wp().generationFromFile = false;
        run.wp().generationModel = InitialiseWorkPoint().generationModel;
    };
    const auto other_side = [](QeRun& run) { run.s->zonnecel.cell.voltage_reference *= -1; };
    const Row rows[] = {
        {"constant power", [](QeRun& run) { run.s->problem.qe = {.mode = 0, .power = 1.0}; }, 1e-6},
        {"weaker", [](QeRun& run) { run.s->problem.qe.photons = 1e16; }, 1e-6},
        {"under little bias", [](QeRun& run) { run.wp().neutralDensity = 2.0; }, 1e-3},
        {"under blue bias",
         [](QeRun& run) {
             run.wp().cutOff = true;
             run.wp().lambdaLong = 500.0;
         },
         1e-3},
        {"dark", [](QeRun& run) { run.wp().dark = true; }, 1e-3},
        {"under light that is cut off, turned",
         [&](QeRun& run) {
             turn(run);
             run.wp().cutOff = true;
             run.wp().lambdaShort = 4100.0;
             run.wp().lambdaLong = 4200.0;
         },
         1e-3},
        {"given light", given, 1e-3},
        {"turned", turn, 1e-6},
        {"turned, dark", [&](QeRun& run) { turn(run), run.wp().dark = true; }, 1e-3},
        {"turned, given light", [&](QeRun& run) { turn(run), given(run); }, 1e-3},
        {"dark beside given light", [&](QeRun& run) { given(run), run.wp().dark = true; }, 1e-3},
        {"other reference", other_side, 1e-9},
        {"other reference, dark, turned", [&](QeRun& run) { other_side(run), turn(run), run.wp().dark = true; }, 1e-3},
        // Point values of G overrate light that few intervals absorb: by 1e-2 on the usual mesh.
        {"classic route, on a third of the intervals",
         [](QeRun& run) {
             run.s->problem.input.convergence.route = Route::classic;
             run.s->mesh_refinement = 3;
         },
         2e-3},
    };
    QeRun usual("silicon-pn");
    const QeCurve expected = usual.curve();
    for (const Row& row : rows) {
        QeRun run("silicon-pn");
        row.change(run);
        const QeCurve& curve = run.curve();
        ASSERT_EQ(curve.points(), expected.points()) << row.what;
        EXPECT_FALSE(run.s->failures.QE) << row.what;
        for (std::size_t k = 0; k < curve.points(); ++k)
            EXPECT_NEAR(curve.qe[k] / expected.qe[k], 1.0, row.relative) << row.what << ' ' << curve.qe_as[k];
    }

    // Where a layer mixes two materials the absorption is made for all wavelengths together.
    QeRun rising("graded-cigs"), falling("graded-cigs", 1000.0, 400.0);
    const QeCurve &up = rising.curve(), &down = falling.curve();
    for (std::size_t k = 0; k < 7; ++k) EXPECT_NEAR(up.qe[k], down.qe[6 - k], 1e-9) << up.qe_as[k];
    EXPECT_NEAR(*up.J_AM15G, *down.J_AM15G, 1e-9);
    QeRun one("silicon-pn", 600.0, 600.0, 2);
    EXPECT_FALSE(one.curve().J_AM15G) << "two wavelengths that are one";
}

// At forward bias the probe changes a large current by little: each route tells how well it knows the difference, and
// where that is the probe itself there is no curve.
TEST(QuantumEfficiency, OfWeakProbesIsRightOrNotTold)
{
    for (const Route route : {Route::fast, Route::classic}) {
        const auto at = [&](double photons) {
            QeRun run("silicon-pn", 600.0, 700.0, 2);
            run.s->problem.input.convergence.route = route;
            run.s->problem.qe.photons = photons;
            run.wp().V = run.s->panel.workPoint.V = 0.75;
            const QeCurve curve = run.curve();
            const auto& messages = run.surroundings.report.messages;
            const bool told =
                qe_naar_file("KOVIN", run.s->results).find("remark: the probe is weak") != std::string::npos;
            EXPECT_EQ(told,
                      curve.points() > 0 && *std::max_element(curve.uncertain.begin(), curve.uncertain.end()) > 0.1);
            EXPECT_EQ(curve.failed, curve.points() < 2);
            EXPECT_EQ(messages.size(), curve.failed ? 1u : 0u) << photons;
            if (curve.failed) {
                EXPECT_NE(messages[0].text.find("600.00 nm is lost"), std::string::npos) << messages[0].text;
            }
            return curve;
        };
        const QeCurve right = at(1e15);
        ASSERT_EQ(right.points(), 2u);
        EXPECT_NEAR(right.qe[0], route == Route::fast ? 77.21 : 78.05, 0.01);
        for (const double photons : {1e14, 1e12, 1e10, 1e9, 1e8, 1e7, 1e6}) {
            const QeCurve weak = at(photons);
            EXPECT_EQ(weak.points(), photons >= 1e12 ? 2u : photons < 1e7 ? 0u : weak.points()) << photons;
            for (std::size_t k = 0; k < weak.points(); ++k) {
                EXPECT_NEAR(weak.qe[k], right.qe[k], 1e-2 + weak.uncertain[k]) << photons;
                EXPECT_LT(weak.uncertain[k], photons >= 1e12 ? 1.0 : 100.0) << photons;
            }
        }
    }
}

// A filter of 0.5 % that rises beyond 100 % outside its file: each of the two warnings comes once.
TEST(QuantumEfficiency, ReadsFiltersOnce)
{
    const ScratchFolder scratch;
    for (const bool dark : {false, true}) {
        QeRun run("silicon-pn", 300.0, 1100.0, 3);
        run.wp().dark = dark;
        ContactParameters& front = run.wp().lightFromRight ? run.s->zonnecel.cell.right : run.s->zonnecel.cell.left;
        front.filter = front.filter_transmission = true;
        front.filter_constant = false;
        front.filter_file = scratch.put("f.ftr", "900 0.5\n901 1\n").string();
        run.surroundings.report.InterpolationWarningMessageMode = 1;
        const QeCurve& curve = run.curve();
        ASSERT_EQ(curve.points(), 3u);
        EXPECT_NEAR(curve.qe[0], 0.0, 1e-9) << "forced to 0 %";
        EXPECT_GT(curve.qe[2], 5.0) << "forced to 100 %";
        EXPECT_EQ(run.surroundings.report.messages.size(), 2u) << dark;
    }
}

// The state, the settings and the light of the working point are there again, however it ended.
TEST(QuantumEfficiency, EndsAtTheWorkingPointWhateverHappens)
{
    struct Row {
        const char* what;
        double at;  ///< where something happens [nm]; 0: while the sign of a light current is sought; -1: in the light
        bool stop;
        std::size_t points;
        RunOutcome outcome;
        const char* told;
    };
    const Row rows[] = {
        {"nothing", 1.0, false, 7, RunOutcome::done, ""},
        {"a wavelength fails", 700.0, false, 3, RunOutcome::done,
         "Convergence failure at lambda = 700.00 nm.\nQE calculation cut at lambda = 600.00 nm."},
        {"the first one fails", 400.0, false, 0, RunOutcome::done, "Convergence failure at lambda = 400.00 nm."},
        {"a stop", 600.0, true, 2, RunOutcome::stopped, ""},
        {"a stop on the way", 0.0, true, 0, RunOutcome::stopped, ""},
        {"the working point fails", -1.0, false, 0, RunOutcome::done, "Convergence failure at the working point"},
        {"no sign", 0.0, false, 0, RunOutcome::done, "for the sign of a light current"},
    };
    for (const Row& row : rows) {
        QeRun run("silicon-pn");
        run.wp().dark = row.at >= 0.0;
        const std::string mark =
            row.at > 0.0 ? "nm: " + std::to_string(static_cast<int>(row.at)) + "." : "calculating qu";
        run.surroundings.monitor.listener = [&](const Event& event) {
            if (event.text.find(mark) == std::string::npos) return;
            if (row.stop)
                run.surroundings.monitor.requestStop();
            else
                run.s->memory.work.fast.left_out = ~0u;  // no way to a solution is tried any more
        };
        const QeCurve& curve = run.curve();
        EXPECT_EQ(run.outcome, row.outcome) << row.what;
        EXPECT_EQ(curve.points(), row.points) << row.what;
        EXPECT_EQ(run.s->failures.QE, row.points < 7) << row.what;
        const auto& messages = run.surroundings.report.messages;
        ASSERT_EQ(messages.size(), *row.told != '\0' ? 1u : 0u) << row.what;
        if (!messages.empty()) {
            EXPECT_NE(messages[0].text.find(row.told), std::string::npos) << messages[0].text;
        }
        EXPECT_EQ(run.s->results.back().QE_points, 7u) << row.what;
        const std::string file = qe_naar_file("KOVIN", run.s->results);
        EXPECT_EQ(file.empty(), row.points == 0) << row.what;
        EXPECT_EQ(file.find("the curve is cut at lambda") != std::string::npos, row.points > 0 && row.points < 7);

        const Simulation& s = *run.s;
        EXPECT_EQ(s.currentCalcVars.psi, s.werkpuntcv.psi) << row.what;
        EXPECT_EQ(s.currentCalcVars.J_median, s.werkpuntcv.J_median) << row.what;
        EXPECT_EQ(s.wp.dark, row.at >= 0.0) << row.what;
        EXPECT_EQ(s.light.total_mA_cm2 == 0.0, s.wp.dark) << row.what;
        EXPECT_EQ(s.set3.convergence, s.problem.input.convergence) << row.what;
        EXPECT_EQ(s.memory.work.fast.tolerance, FastWork{}.tolerance) << row.what;
    }
}

}  // namespace
}  // namespace kovin
