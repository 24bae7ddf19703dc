// C-V and C-f measurements: the figures of the sample cells, what holds for any cell, and curves that end early.
#include "sweeps/cv.h"

#include "results/capacitance_files.h"
#include "sweeps/cf.h"
#include "sweeps/shipped_run.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <numbers>

namespace kovin {
namespace {

/// A run in the dark that asks for C-V from -0.8 to 0.4 V.
struct CvRun : ShippedRun {
    explicit CvRun(const std::string& name, int points = 7) : ShippedRun(name)
    {
        wp().dark = true;
        actions().CV_calculate = true;
        actions().CV_startV = -0.8;
        actions().CV_stopV = 0.4;
        actions().CV_points = points;
    }
    const CvCurve& curve() { return calculated().cv; }
};

// C at 1 MHz of an independent program on the same cells. Silicon is a textbook junction: the doping that a
// Mott-Schottky plot shows is that of both sides in series, but for the electrons that the n+ side spills over the
// junction, kT of the band bending.
TEST(CapacitanceVoltage, OfTheSampleCells)
{
    struct Row {
        const char* name;
        std::size_t at;
        double V, C;
    };
    for (const Row& row : {Row{"cigs-baseline", 0, -0.8, 29.8}, Row{"cigs-baseline", 4, 0.0, 38.9},
                           Row{"silicon-pn", 4, 0.0, 33.2}, Row{"perovskite-nip", 4, 0.0, 42.1}})
        for (const Route route : {Route::fast, Route::classic}) {
            SCOPED_TRACE(row.name);
            CvRun run(row.name);
            run.s->problem.input.convergence.route = route;
            const CvCurve& curve = run.curve();
            ASSERT_EQ(curve.points(), 7u);
            EXPECT_NEAR(curve.cv_as[row.at], row.V, 1e-12);
            EXPECT_NEAR(curve.cvcap[row.at] / row.C, 1.0, 0.05);
            EXPECT_NEAR(run.s->results[0].work_point->C / curve.cvcap[4], 1.0, 1e-4);
            EXPECT_TRUE(run.surroundings.report.messages.empty());
        }
    CvRun silicon("silicon-pn", 13);
    silicon.actions().CV_stopV = -0.2;
    silicon.s->problem.NW.constant_epsilon = 11.9;
    const CvCurve& curve = silicon.curve();
    for (std::size_t i = 1; i + 1 < curve.points(); ++i) {
        const double kT_of_bending = kT_at_300K / (0.93 - curve.cv_as[i]);
        EXPECT_NEAR(std::fabs(curve.cvN[i]) / (1e16 / 1.01), 1.0, kT_of_bending) << curve.cv_as[i];
        EXPECT_NEAR(curve.cvW[i] * curve.cvcap[i], 1e11 * 11.9 * vacuum_permittivity, 1e-6) << curve.cv_as[i];
    }
    EXPECT_EQ(curve.layer_name, "n+ front") << "it holds less doping than the thick base";
}

// Order of the points, signs, orientation and what was measured before do not change what is measured.
TEST(CapacitanceVoltage, IsThatOfTheCell)
{
    struct Row {
        const char* what;
        std::function<void(CvRun&)> change;
        int sign;  ///< of the voltage
        double relative;
    };
    const auto other_sign = [](CvRun& run) {
        run.actions().CV_startV *= -1.0;
        run.actions().CV_stopV *= -1.0;
    };
    const Row rows[] = {
        {"falling", [](CvRun& run) { std::swap(run.actions().CV_startV, run.actions().CV_stopV); }, 1, 1e-12},
        {"from a working point", [](CvRun& run) { run.wp().V = 0.4; }, 1, 1e-4},
        {"behind an I-V",
         [](CvRun& run) {
             run.actions().IV_calculate = true;
             run.actions().IV_points = 5;
         },
         1, 1e-4},
        {"turned",
         [&](CvRun& run) {
             run.turn();
             other_sign(run);
         },
         -1, 1e-4},
        {"other reference",
         [&](CvRun& run) {
             run.s->zonnecel.cell.voltage_reference *= -1;
             other_sign(run);
         },
         -1, 1e-9},
    };
    CvRun usual("cigs-baseline");
    const CvCurve expected = usual.curve();
    for (const Row& row : rows) {
        CvRun run("cigs-baseline");
        row.change(run);
        const CvCurve& curve = run.curve();
        ASSERT_EQ(curve.points(), expected.points()) << row.what;
        for (std::size_t i = 0; i < curve.points(); ++i) {
            const auto near = [&](double V) { return std::fabs(row.sign * V - expected.cv_as[i]) < 1e-9; };
            const auto found = std::find_if(curve.cv_as.begin(), curve.cv_as.end(), near);
            ASSERT_NE(found, curve.cv_as.end()) << row.what << expected.cv_as[i];
            const auto k = static_cast<std::size_t>(found - curve.cv_as.begin());
            EXPECT_NEAR(curve.cvcap[k] / expected.cvcap[i], 1.0, row.relative) << row.what << ' ' << curve.cv_as[k];
            EXPECT_NEAR(curve.cvcon[k] / expected.cvcon[i], 1.0, 10.0 * row.relative) << row.what << curve.cv_as[k];
            EXPECT_NEAR(std::fabs(curve.cvN[k] / expected.cvN[i]), 1.0, 50.0 * row.relative) << row.what;
        }
    }
}

// Resistances around the device: what the meter sees at low frequency is the slope of the I-V curve that the same
// sweep measured; the impedance is that of the device and Rs in series; at high frequency C gives way to Rs.
TEST(CapacitanceFrequency, SeesSeriesResistanceAndShunt)
{
    const auto surround = [](ShippedRun& run) {
        run.wp().RsPresent = run.wp().GshPresent = true;
        run.wp().Rs = 2e-4;
        run.wp().Gsh = 30.0;
    };
    for (const int half_cells : {0, 1}) {
        CvRun run("cigs-baseline", 5);
        surround(run);
        run.wp().dark = false;
        run.wp().frequency = 0.1;
        run.actions().CV_startV = 0.5996;
        run.actions().CV_stopV = 0.6004;
        run.s->problem.input.convergence.interfacial_half_cells = half_cells;
        const DataListElement& element = run.calculated();
        const CvCurve& c = element.cv;
        ASSERT_EQ(c.points(), 5u);
        // Device voltages are equally spaced, those of the terminals not: both derived by the device voltage.
        const auto slope = [](const std::vector<double>& y) { return (y[0] - 8.0 * y[1] + 8.0 * y[3] - y[4]) / 12.0; };
        const double dJ_dV = 1e-3 * slope(c.dc.ivcurrent) / slope(c.cv_as);  // mA -> A
        EXPECT_NEAR(c.cvcon[2] / dJ_dV, 1.0, 1e-6) << half_cells;
        EXPECT_EQ(element.iv.points(), 5u) << "the states of the C-V are an I-V curve";
    }

    const auto spectrum = [&](bool surrounded) {
        ShippedRun measured("cigs-baseline");
        measured.wp().dark = true;
        measured.actions().Cf_calculate = true;
        measured.actions().Cf_startf = 1e3;
        measured.actions().Cf_stopf = 1e9;
        measured.actions().Cf_points = 13;
        if (surrounded) surround(measured);
        return measured.calculated().cf;
    };
    const CfCurve bare = spectrum(false), seen = spectrum(true);
    ASSERT_EQ(seen.points(), 13u);
    EXPECT_NEAR(bare.cf_as[0] / 1e3, 1.0, 1e-12);
    EXPECT_NEAR(bare.cf_as[6] / 1e6, 1.0, 1e-12);
    for (std::size_t i = 0; i < seen.points(); ++i) {
        const double omega = 2.0 * std::numbers::pi * seen.cf_as[i];
        // Admittance out of the impedance without resistances, less Rs, is that of device and shunt.
        const double re = seen.cfZre[i] - 2.0, im = seen.cfZim[i], square = re * re + im * im;
        EXPECT_NEAR((re / square - 3e-3) / bare.cfcon[i], 1.0, 1e-3 + 1e-6 / bare.cfcon[i]) << seen.cf_as[i];
        EXPECT_NEAR(-im / square / (omega * 1e-9 * bare.cfcap[i]), 1.0, 1e-9) << seen.cf_as[i];
        EXPECT_NEAR(std::polar(seen.cfZmagn[i], seen.cfZphase[i] * std::numbers::pi / 180.0).imag() / im, 1.0, 1e-9);
    }
    EXPECT_NEAR(seen.cfcon.back(), 1.0 / 2.0, 1e-2) << "nothing but Rs is left";
    EXPECT_LT(seen.cfcap.back(), 1e-3 * bare.cfcap.back());
}

// A curve that a failure or the user cuts keeps what has been done and says so.
TEST(CapacitanceCurves, EndEarlyWithAReason)
{
    struct Row {
        const char* what;
        const char* at;  ///< text of the event at which something happens
        bool stop;
        std::size_t cv, cf;
        RunOutcome outcome;
        const char* told;
    };
    const Row rows[] = {
        {"nothing", "nowhere", false, 7, 5, RunOutcome::done, ""},
        {"a voltage fails", "V: V = -0.600", false, 4, 5, RunOutcome::done,
         "Convergence failure at V = -0.600000 Volt\nC(V) calculation cut at V = -0.500000 Volt"},
        {"the first voltage fails", "C(V): from", false, 0, 5, RunOutcome::done, "convergence failure at V = -0."},
        {"a stop of the C-V", "V: V = -0.400", true, 2, 0, RunOutcome::stopped, ""},
        {"a stop of the C-f", "f = 1.00e+04", true, 7, 3, RunOutcome::stopped, ""},
    };
    for (const Row& row : rows) {
        CvRun run("silicon-pn");
        run.actions().Cf_calculate = true;
        run.actions().Cf_points = 5;
        run.actions().CV_stopV = -0.2;
        run.surroundings.monitor.listener = [&](const Event& event) {
            if (event.text.find(row.at) == std::string::npos) return;
            if (row.stop)
                run.surroundings.monitor.requestStop();
            else
                run.s->memory.work.fast.left_out = ~0u;  // no way to a solution is tried any more
        };
        const DataListElement& element = run.calculated();
        EXPECT_EQ(run.outcome, row.outcome) << row.what;
        EXPECT_EQ(element.cv.points(), row.cv) << row.what;
        EXPECT_EQ(element.cf.points(), row.cf) << row.what;
        EXPECT_EQ(run.s->failures.CV, row.cv < 7) << row.what;
        EXPECT_EQ(run.s->failures.Cf, row.cf < 5) << row.what;
        const auto& messages = run.surroundings.report.messages;
        ASSERT_EQ(messages.size(), *row.told != '\0' ? 1u : 0u) << row.what;
        if (!messages.empty()) {
            EXPECT_NE(messages[0].text.find(row.told), std::string::npos) << messages[0].text;
        }
        const std::string cv = cv_naar_file("KOVIN", run.s->results), cf = cf_naar_file("KOVIN", run.s->results);
        EXPECT_EQ(cv.empty(), row.cv == 0) << row.what;
        EXPECT_EQ(cv.find("the curve is cut") != std::string::npos, row.cv > 0 && row.cv < 7) << row.what;
        EXPECT_EQ(cv.find("stopped: the curve") != std::string::npos, row.stop && row.cv < 7) << row.what;
        EXPECT_EQ(cf.find("stopped: the curve") != std::string::npos, row.cf > 0 && row.cf < 5) << row.what;
    }
}

}  // namespace
}  // namespace kovin
