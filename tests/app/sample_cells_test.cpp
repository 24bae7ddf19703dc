// The shipped cells under one sun, against figures of an independent program on the same data; the balance of
// currents; both polarities; sweeps in two legs; what is refused.
#include "app/sample_session.h"
#include "app/simulate.h"
#include "base/scratch_folder.h"
#include "base/text_format.h"
#include "device/charge_states.h"
#include "device/file_check.h"
#include "device/grading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace kovin {
namespace {

using test::session_with;

const DataListElement& curve_of(Session& session)
{
    EXPECT_EQ(Simulate(session), SimulateOutcome::done);
    EXPECT_FALSE(session.simulation.results.empty());
    return session.simulation.results.back();
}

struct Cell {
    const char* name;
    double Voc, Jsc, FF, eta;
    double phi_left, phi_right;  ///< flat-band work functions [eV]; 0: a fixed contact
    double to_Voc = 0.008, to_Jsc = 0.02, to_FF = 1.5, to_eta = 0.03;  ///< wide: other meshes, readings of absorption
};
const Cell cells[] = {
    {"cigs-baseline", 0.638, 33.4, 78.8, 16.8, 0.0, 4.4204},
    {"cdte-baseline", 0.838, 25.9, 73.5, 15.9, 0.0, 0.0},
    {"silicon-pn", 0.647, 38.7, 83.3, 20.9, 5.0851, 4.1369},
    {"perovskite-nip", 1.177, 23.2, 83.0, 22.7, 5.2431, 4.0596},
    {"graded-cigs", 0.600, 35.3, 68.0, 14.4, 0.0, 0.0, 0.015, 0.05, 4.0, 0.1},
    {"earliest-format", 0.641, 37.6, 50.0, 50.0, 0.0, 0.0, 0.015, 0.02, 50.0, 1.0},  // others give no more
};

TEST(SampleCells, MeetTheirFiguresAndBalanceTheirCurrents)
{
    struct Row {
        double termination, to_Voc, beyond;  ///< [kT], relative error of the balance
    };
    // Beyond Voc the bands go flat and psi, electrons and holes follow each other slowly: there a solve that stops
    // when no level moves by more than the termination is off by no more than that, in kT and so in the densities.
    for (const Row& row : {Row{1e-3, 2e-5, 1e-3}, Row{1e-6, 1e-6, 1e-6}})
        for (const Cell& cell : cells) {
            SCOPED_TRACE(cell.name);
            const auto session = session_with(cell.name);
            ConvergenceParameters& settings = session->simulation.problem.input.convergence;
            set_terminations(settings, row.termination);
            const DataListElement& element = curve_of(*session);
            EXPECT_TRUE(session->surroundings.report.messages.empty()) << "a shipped file needs a warning";
            const IVCharacteristics& r = element.characteristics;
            EXPECT_NEAR(r.Voc, cell.Voc, cell.to_Voc);
            EXPECT_NEAR(r.Jsc, cell.Jsc, cell.to_Jsc * cell.Jsc);
            EXPECT_NEAR(r.FF, cell.FF, cell.to_FF);
            EXPECT_NEAR(r.eta, cell.eta, cell.to_eta * cell.eta);
            EXPECT_TRUE(r.VocValid && r.JscValid && r.FFValid && r.etaValid);
            const CalculationParameters& set3 = session->simulation.set3;
            if (cell.phi_left > 0.0) {
                EXPECT_NEAR(set3.phi_left, cell.phi_left, 1e-3);
            }
            if (cell.phi_right > 0.0) {
                EXPECT_NEAR(set3.phi_right, cell.phi_right, 1e-3);
            }

            // All cells have their p side at the left: J = TotalRec - TotalGen.
            const IvCurve& c = element.iv;
            ASSERT_EQ(c.points(), static_cast<std::size_t>(session->simulation.actie.IV_points));
            for (std::size_t i = 0; i < c.points(); ++i) {
                const double largest = std::max({std::fabs(c.ivcurrent[i]), c.TotalRec[i], c.TotalGen[i]});
                EXPECT_NEAR(c.ivcurrent[i], c.TotalRec[i] - c.TotalGen[i],
                            largest * (c.iv_as[i] < r.Voc ? row.to_Voc : row.beyond))
                    << c.iv_as[i] << " V, termination " << row.termination;
                EXPECT_NEAR(c.ivbulk[i], c.recSRH[i] + c.recRadiative[i] + c.recAuger[i],
                            1e-9 * std::fabs(c.ivbulk[i]));
            }
        }
}

// Tunnelling carries the electrons through the spike almost as if there were none.
TEST(SampleCells, TunnelHeterojunctionLiesBetweenAShutSpikeAndNone)
{
    const auto run = [](void (*change)(Simulation&)) {
        const auto session = session_with("tunnel-heterojunction");
        session->simulation.problem.input.convergence.route = Route::classic;
        change(session->simulation);
        return curve_of(*session);
    };
    const DataListElement open = run([](Simulation&) {});
    const DataListElement shut = run([](Simulation& s) { s.zonnecel.cell.interfaces[1].tunneling = false; });
    const DataListElement none = run([](Simulation& s) {
        Profile& chi = s.zonnecel.cell.layer[2].material.chi;
        chi.pure_A = chi.pure_B = chi.left = chi.right = 4.5;
    });
    const IVCharacteristics& r = open.characteristics;
    EXPECT_NEAR(r.Voc, 0.344, 0.01);
    EXPECT_NEAR(r.Jsc, 55.6, 0.02 * 55.6);
    EXPECT_NEAR(r.FF, 75.0, 0.02 * 75.0);
    EXPECT_GT(r.FF, shut.characteristics.FF + 1.0);
    constexpr std::size_t forward = 40;  // 0.4 V
    EXPECT_GT(open.iv.ivcurrent[forward], 1.5 * shut.iv.ivcurrent[forward]);
    EXPECT_LT(open.iv.ivcurrent[forward], none.iv.ivcurrent[forward]);
    EXPECT_GT(open.iv.ivcurrent[forward], 0.98 * none.iv.ivcurrent[forward]);
    const auto session = session_with("tunnel-heterojunction");
    curve_of(*session);
    const std::vector<double>& tunnel = session->simulation.werkpuntcv.jn_tunnel;
    const double strongest = *std::min_element(tunnel.begin(), tunnel.end());
    EXPECT_LT(strongest, -0.5 * r.Jsc) << "most of the photocurrent tunnels at 0 V, and the state keeps it";
}

// Carriers that move slowly in a flat layer at a contact tunnel farther than they diffuse: X must not swing there.
TEST(SampleCells, OpenTunnelPathsHardlyMoveCellsWithoutBarriers)
{
    for (const Cell& cell : cells) {
        const auto session = session_with(cell.name);
        const IVCharacteristics shut = curve_of(*session).characteristics;
        session->simulation.problem.input.convergence.tunnel_paths = 0;
        const DataListElement& open = curve_of(*session);
        EXPECT_NEAR(open.characteristics.Voc, shut.Voc, 0.002) << cell.name;
        EXPECT_NEAR(open.characteristics.FF, shut.FF, 0.3) << cell.name;
        for (std::size_t i = 0; i < open.iv.points(); ++i)
            EXPECT_NEAR(open.iv.ivcurrent[i], open.iv.TotalRec[i] - open.iv.TotalGen[i],
                        1e-3 * std::max(std::fabs(open.iv.ivcurrent[i]), open.iv.TotalRec[i]))
                << cell.name << " at " << open.iv.iv_as[i] << " V";
        const auto never = session_with(cell.name);
        for (Simulation* s : {&session->simulation, &never->simulation}) s->problem.input.convergence.tunnel_paths = 1;
        EXPECT_EQ(curve_of(*session).iv.ivcurrent, curve_of(*never).iv.ivcurrent) << cell.name;
        const CalculationVariables &after = session->simulation.werkpuntcv, &without = never->simulation.werkpuntcv;
        EXPECT_EQ(after.psi, without.psi) << cell.name;
        EXPECT_EQ(after.Fn, without.Fn) << cell.name;
        EXPECT_TRUE(after.jn_tunnel.empty()) << cell.name << ": nothing stays once all paths are shut";
    }
}

TEST(SampleCells, DarkCellAtZeroVoltCarriesNoCurrentAndReadsNoFileOfTheLight)
{
    for (const Cell& cell : cells) {
        const auto session = session_with(cell.name);
        Simulation& s = session->simulation;
        WorkPoint& wp = s.panel.workPoint;
        wp.dark = true;
        wp.generationSpecified = &cell == &cells[1];
        wp.spectrumFile = wp.generationFile = s.zonnecel.cell.left.filter_file = "gone.dat";
        s.zonnecel.cell.left.filter = true;
        s.zonnecel.cell.left.filter_constant = false;
        for (LayerParameters& layer : s.zonnecel.cell.layer) layer.material.absorption.file_A = "gone.dat";
        EXPECT_TRUE(missing_files(session->surroundings, s.zonnecel.cell, s.panel).empty()) << cell.name;
        ActionList& actions = session->simulation.panel.actions;
        actions.IV_startV = 0.0;
        actions.IV_stopV = 0.2;
        actions.IV_points = 3;
        const DataListElement& element = curve_of(*session);
        ASSERT_EQ(element.iv.points(), 3u);
        EXPECT_NEAR(element.iv.ivcurrent[0], 0.0, 1e-15) << cell.name;
        EXPECT_EQ(element.iv.TotalGen[0], 0.0) << cell.name;
        EXPECT_GT(element.iv.ivcurrent[2], 0.0) << cell.name;
        EXPECT_FALSE(element.characteristics.VocValid) << cell.name;
        EXPECT_TRUE(session->surroundings.report.messages.empty()) << cell.name;
    }
}

/// Light I-V of silicon-pn after a change of session; interpolation-free comparison at shared voltages.
const DataListElement& silicon(Session& session, double start, double stop, int points)
{
    ActionList& actions = session.simulation.panel.actions;
    actions.IV_startV = start;
    actions.IV_stopV = stop;
    actions.IV_points = points;
    return curve_of(session);
}

TEST(IvSweep, OrderAndSignDoNotChangeTheCurve)
{
    const auto plain = session_with("silicon-pn");
    const IvCurve reference = silicon(*plain, -0.2, 0.6, 9).iv;  // in two legs from short circuit
    ASSERT_EQ(reference.points(), 9u);
    EXPECT_TRUE(std::is_sorted(reference.iv_as.begin(), reference.iv_as.end()));

    struct Row {
        const char* what;
        int voltage_reference, reference_system;
        double start, stop, V;
        double sign_V, sign_J;
        bool falls;
    };
    const Row rows[] = {
        {"given falling: sorted all the same", -1, 1, 0.6, -0.2, 0.0, 1, 1, false},
        {"from a working point in the range", -1, 1, 0.1, 0.6, 0.3, 1, 1, false},
        {"one leg from short circuit", -1, 1, 0.0, 0.6, 0.0, 1, 1, false},
        {"ends at short circuit: runs outward", -1, 1, 0.6, 0.0, 0.0, 1, 1, false},
        {"generator convention", -1, 0, -0.2, 0.6, 0.0, 1, -1, false},
        {"voltage at the right contact", 1, 1, -0.6, 0.2, 0.0, -1, -1, true},
        {"both", 1, 0, -0.6, 0.2, 0.0, -1, 1, true},
    };
    for (const Row& row : rows) {
        const auto session = session_with("silicon-pn");
        Simulation& s = session->simulation;
        s.zonnecel.cell.voltage_reference = row.voltage_reference;
        s.zonnecel.cell.reference_system = row.reference_system;
        s.panel.workPoint.V = row.V;
        const int points = 1 + static_cast<int>(std::lround(std::fabs(row.stop - row.start) / 0.1));
        const DataListElement& element = silicon(*session, row.start, row.stop, points);
        const IvCurve& c = element.iv;
        ASSERT_EQ(c.points(), static_cast<std::size_t>(points)) << row.what;
        EXPECT_TRUE(row.falls ? std::is_sorted(c.iv_as.rbegin(), c.iv_as.rend())
                              : std::is_sorted(c.iv_as.begin(), c.iv_as.end()))
            << row.what;
        for (std::size_t i = 0; i < c.points(); ++i) {
            const double V = row.sign_V * c.iv_as[i];
            EXPECT_FALSE(c.iv_as[i] == 0.0 && std::signbit(c.iv_as[i])) << "0 V must not be written as -0";
            const auto k = static_cast<std::size_t>(std::lround((V + 0.2) / 0.1));
            ASSERT_LT(k, reference.points()) << row.what;
            EXPECT_NEAR(V, reference.iv_as[k], 1e-12) << row.what;
            // Two ways to the same voltage differ by the termination of 1e-3 kT.
            EXPECT_NEAR(row.sign_J * c.ivcurrent[i], reference.ivcurrent[k], 2e-3) << row.what << ' ' << V;
        }
    }
}

TEST(IvSweep, StopsOnePointBehindVoc)
{
    struct Row {
        const char* what;
        double V, start, stop;
        int points;
    };
    const Row rows[] = {
        {"one leg", 0.0, 0.0, 1.0, 21},
        {"two legs: only the rest of the first is cut", 0.0, -0.1, 1.0, 23},
        {"two legs from a working point", 0.4, 0.2, 1.0, 17},
    };
    for (const Row& row : rows) {
        const auto session = session_with("silicon-pn");
        session->simulation.panel.actions.stopAfterVoc = true;
        session->simulation.panel.workPoint.V = row.V;
        const DataListElement& element = silicon(*session, row.start, row.stop, row.points);
        const IvCurve& c = element.iv;
        ASSERT_GE(c.points(), 2u) << row.what;
        EXPECT_EQ(element.IV_points, c.points()) << row.what;
        EXPECT_NEAR(c.iv_as.front(), row.start, 1e-12) << row.what;
        EXPECT_NEAR(c.iv_as.back(), 0.65, 1e-12) << row.what;
        EXPECT_GT(c.ivcurrent.back(), 0.0) << row.what;
        EXPECT_LT(c.ivcurrent[c.points() - 2], 0.0) << row.what;
    }
}

// The rows of a curve that was cut follow the setting; the end behind Voc above is no cut.
TEST(IvSweep, StoppedKeepsItsPointsAndKnowsOfTheRest)
{
    const auto session = session_with("silicon-pn");
    Monitor& monitor = session->surroundings.monitor;
    monitor.listener = [&](const Event& event) {
        if (event.total == 9 && event.done == 3) monitor.requestStop();
    };
    ActionList& actions = session->simulation.panel.actions;
    actions.IV_startV = 0.0;
    actions.IV_stopV = 0.4;
    actions.IV_points = 9;
    EXPECT_EQ(Simulate(*session), SimulateOutcome::stopped);
    const DataListElement& element = session->simulation.results.back();
    EXPECT_EQ(element.iv.points(), 3U);
    EXPECT_EQ(element.IV_points, 9U);
    EXPECT_TRUE(element.characteristics.JscValid) << "from the points that are there";
    const auto lines = [&] {
        const std::string text = result_texts(*session).iv;
        return std::count(text.begin(), text.end(), '\n');
    };
    const auto cut = lines();
    session->ActionListMode = CutCurves::blanks;
    EXPECT_EQ(lines(), cut + 6);
}

TEST(Supported, NamesWhatIsNotComputedAndCalculatesNothingThatWouldBeWrong)
{
    struct Row {
        const char* what;
        void (*change)(Simulation&);
        bool falsifies;
        const char* named;
    };
    const Row rows[] = {
        {"interface states with two levels",
         [](Simulation& s) {
             s.zonnecel.cell.interfaces[0].defect_count = 1;
             s.zonnecel.cell.interfaces[0].defects[0].defectType = DefectType::doubledonor;
         },
         true, "doubledonor"},
        {"a level that captures nothing between two charge states",
         [](Simulation& s) {
             DefectLevels& levels = s.zonnecel.cell.layer[0].srh[0];
             levels[0].levels = 2;
             levels[1] = levels[0];
             levels[1].sigma_n = levels[1].sigma_p = 0.0;
         },
         true, "level 2"},
        {"a defect that captures nothing",
         [](Simulation& s) {
             auto& level = s.zonnecel.cell.layer[0].srh[0][0];
             level.sigma_n = level.sigma_p = 0.0;
         },
         false, "has no effect"},
        {"levels that absorb light, under a given G(x)",
         [](Simulation& s) {
             s.panel.workPoint.generationSpecified = true;
             s.zonnecel.cell.layer[0].srh[0][0].holes.present = true;
         },
         false, "optical capture"},
        {"tunnelling into a contact and into interface states",
         [](Simulation& s) {
             s.zonnecel.cell.right.tunneling = true;
             s.zonnecel.cell.interfaces[0].defect_count = 1;
             s.zonnecel.cell.interfaces[0].defects[0].tunneling = true;
             ConvergenceParameters& c = s.problem.input.convergence;
             c.Tunnelcontact_allowed = c.Tunneliface_allowed = 1;
         },
         false, nullptr},
        {"tunnelling that is switched off", [](Simulation& s) { s.zonnecel.cell.right.tunneling = true; }, false,
         nullptr},
    };
    for (const Row& row : rows) {
        const auto session = session_with("silicon-pn");
        session->simulation.panel.actions.IV_points = 2;
        row.change(session->simulation);
        const SimulateOutcome outcome = Simulate(*session);
        EXPECT_EQ(outcome, row.falsifies ? SimulateOutcome::refused : SimulateOutcome::done) << row.what;
        EXPECT_EQ(session->simulation.results.empty(), row.falsifies) << row.what;
        ASSERT_EQ(session->unsupported.size(), row.named != nullptr ? 1u : 0u) << row.what;
        if (row.named != nullptr) {
            EXPECT_NE(session->unsupported[0].find(row.named), std::string::npos) << row.what;
        }
    }
}

TEST(SampleCells, GapFileThatCoversTheLayerOnlyGivesTheSameLight)
{
    // The gap of the sample as rows of a file, over all compositions and over those of the layer.
    const ScratchFolder scratch;
    const auto Jsc_with = [&](const char* manner, int from, int to) {
        const auto session = session_with("graded-cigs-file");
        Profile& Eg = session->simulation.zonnecel.cell.layer[0].material.Eg;
        std::string rows = std::string("> interpolation: ") + manner + '\n';
        for (int i = from; i <= to; ++i) {
            const std::array<double, 1> y{0.01 * i};
            std::array<double, 1> gap{};
            evaluate_profile(Eg, y, 1.0, gap);
            rows += shortest(y[0]) + ' ' + shortest(gap[0]) + '\n';
        }
        Eg.law = Law::from_file;
        Eg.file = scratch.put("Eg.grad", rows).string();
        return curve_of(*session).characteristics.Jsc;
    };
    for (const char* manner : {"lin", "log"}) {
        const double whole = Jsc_with(manner, 0, 100);
        EXPECT_NEAR(Jsc_with(manner, 15, 60), whole, 1e-3 * whole) << manner;
    }
}

}  // namespace
}  // namespace kovin
