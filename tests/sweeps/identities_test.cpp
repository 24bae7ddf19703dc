// The curves of the shipped cells: resistances and references, the mesh, odd conditions, a composition between two
// materials.
#include "base/scratch_folder.h"
#include "device/action_file.h"
#include "device/definition_reader.h"
#include "device/unit_systems.h"
#include "results/profiles.h"
#include "solver/devices.h"
#include "sweeps/ladder.h"
#include "sweeps/starting_point.h"
#include "sweeps/supported.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <string>

namespace kovin {
namespace {

/// The shipped folders.
struct AtHome : Surroundings {
    AtHome() { folders.root = KOVIN_SOURCE_DIR "/home"; }
};

/// A shipped cell with its own action list, ready to run; null if it cannot be read.
std::unique_ptr<Simulation> sample(Surroundings& surroundings, const std::string& name)
{
    auto s = std::make_unique<Simulation>();
    s->panel = InitialiseActionPanel();
    const auto folder = surroundings.folders.root / "def";
    if (!lees_structuurfile(surroundings, folder / (name + ".def"), s->problem) ||
        !SetActionPanelFromFile(surroundings, folder / (name + ".act"), s->panel))
        return nullptr;
    s->zonnecel = parameterset1_to_2(s->problem.input.cell);
    s->panel.workPoint.lightFromRight = s->problem.workPoint.lightFromRight;
    s->panel.workPoint.Rfront = s->problem.workPoint.Rfront;
    return s;
}

const IvCurve& run(Surroundings& surroundings, Simulation& s)
{
    EXPECT_EQ(calculate(surroundings, s), RunOutcome::done);
    EXPECT_FALSE(s.failures.IV);
    return s.results.back().iv;
}

// A series resistance moves the voltage by J Rs, a shunt adds V Gsh to the current, whatever the references; and a cell
// that is turned round, with its light and its references, is the same cell.
TEST(ShippedCells, ResistancesShiftTheCurveExactly)
{
    constexpr double Rs = 2e-4, Gsh = 30.0;  // [ohm m2], [S/m2]
    AtHome surroundings;
    auto plain = sample(surroundings, "cigs-baseline");
    ASSERT_TRUE(plain);
    // On a fixed mesh: a moving one drops points from left to right, which shows as 3e-6 of J in a turned cell.
    const auto settle = [](Simulation& s) {
        s.problem.input.convergence.recalculate_mesh = 0;
        set_terminations(s.problem.input.convergence, 1e-6);
    };
    settle(*plain);
    const IvCurve expected = run(surroundings, *plain);
    for (const bool turned : {false, true})
        for (const int side : {-1, 1})
            for (const int reference : {0, 1}) {
                auto s = sample(surroundings, "cigs-baseline");
                settle(*s);
                CellParameters& cell = s->zonnecel.cell;
                if (turned) {
                    cell = testing::mirrored(cell);
                    s->panel.workPoint.lightFromRight = !s->panel.workPoint.lightFromRight;
                }
                cell.voltage_reference = turned ? -side : side;
                cell.reference_system = reference;
                WorkPoint& wp = s->panel.workPoint;
                wp.RsPresent = wp.GshPresent = true;
                wp.Rs = Rs;
                wp.Gsh = Gsh;
                s->panel.actions.IV_stopV *= -side;
                const IvCurve& curve = run(surroundings, *s);
                ASSERT_EQ(curve.points(), expected.points());
                // To the user's signs: forward voltage and current positive where the reference lies at the p side.
                const double sign_V = -side, sign_J = reference == 1 ? -side : side;
                for (std::size_t i = 0; i < curve.points(); ++i) {
                    const double J = expected.ivcurrent[i] + 0.1 * Gsh * expected.iv_as[i];
                    const double exact = turned ? 1e-7 * std::max(33.0, std::fabs(J)) : 1e-12 * std::fabs(J);
                    EXPECT_NEAR(sign_J * curve.ivcurrent[i], J, exact) << side << reference << turned;
                    EXPECT_NEAR(sign_V * curve.iv_as[i], expected.iv_as[i] + 10.0 * Rs * J, 1e-12 + 10.0 * Rs * exact)
                        << side << reference << turned;
                }
            }
}

TEST(ShippedCells, StrangeConditionsGiveFiniteFigures)
{
    struct Row {
        const char* what;
        void (*change)(Simulation&);
    };
    const Row rows[] = {
        {"perfect mirrors on both sides",
         [](Simulation& s) {
             s.panel.workPoint.Rfront = 1.0;
             ContactParameters& back = s.zonnecel.cell.left;
             back.filter = back.filter_constant = true;
             back.filter_transmission = false;
             back.filter_value = 1.0;
         }},
        {"cut-off wavelengths exchanged",
         [](Simulation& s) {
             s.panel.workPoint.cutOff = true;
             s.panel.workPoint.lambdaShort = 800.0;
             s.panel.workPoint.lambdaLong = 400.0;
         }},
        {"a single point", [](Simulation& s) { s.panel.actions.IV_points = 1; }},
        {"levels in eV typed as meV, in the bulk and at an interface",
         [](Simulation& s) {
             s.zonnecel.cell.layer[0].srh[0][0].Et = 575.0;
             InterfaceParameters& interface = s.zonnecel.cell.interfaces[0];
             interface.defect_count = 1;
             interface.defects[0].N = interface.defects[0].N_peak = 1e12;
             interface.defects[0].Et = -600.0;
         }},
    };
    for (const Row& row : rows) {
        AtHome surroundings;
        auto s = sample(surroundings, "cigs-baseline");
        ASSERT_TRUE(s);
        row.change(*s);
        const IvCurve& curve = run(surroundings, *s);
        EXPECT_LT(s->JShortCircuit, -10.0) << row.what;
        for (const double J : curve.ivcurrent) EXPECT_TRUE(std::isfinite(J)) << row.what;
    }
}

/// Figures that show how fine a mesh is: dark currents in forward direction, and the collected share of the light.
struct MeshFigures {
    double dark[3] = {}, collected = 0.0;
    int points = 0;
};

MeshFigures figures_of(const char* name, int refine, double ratio_max, double ratio_min)
{
    MeshFigures figures;
    for (const bool dark : {false, true}) {
        AtHome surroundings;
        auto s = sample(surroundings, name);
        ConvergenceParameters& settings = s->problem.input.convergence;
        settings.termination_psi = settings.termination_Fn = settings.termination_Fp = 1e-5;
        settings.mesh_ratio_max = ratio_max;
        settings.mesh_ratio_min = ratio_min;
        s->mesh_refinement = refine;
        s->panel.actions = {};
        s->panel.workPoint.dark = dark;
        EXPECT_EQ(calculate(surroundings, *s), RunOutcome::done) << name;
        if (!dark) figures.collected = s->JShortCircuit / s->light.total_mA_cm2;
        figures.points = s->currentCalcVars.mesh.N;
        double V = 0.0;  // all cells have their p side at the left
        for (double& J : figures.dark) {
            if (!dark) continue;
            EXPECT_TRUE(
                volgende_iv_punt(s->solver_problem(surroundings), s->memory.work, s->currentCalcVars, V, V + 0.2, 6));
            V += 0.2;
            J = s->currentCalcVars.J_median;
            figures.points = s->currentCalcVars.mesh.N;
        }
        EXPECT_TRUE(surroundings.report.messages.empty()) << name;
    }
    return figures;
}

// Against intervals of half the width, cut further wherever a quantity changes by more than 1.2 instead of 1.6.
TEST(ShippedCells, AdaptiveMeshIsFineEnough)
{
    for (const char* name : {"cigs-baseline", "cdte-baseline", "silicon-pn", "perovskite-nip"}) {
        const MeshFigures usual = figures_of(name, 1, 1.6, 1.05), fine = figures_of(name, 2, 1.2, 1.0);
        EXPECT_LT(usual.points, 450) << name;
        EXPECT_GT(fine.points, 1.9 * usual.points) << name;
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(usual.dark[k] / fine.dark[k], 1.0, 2e-3) << name << " at " << 0.2 * (k + 1) << " V";
        EXPECT_NEAR(usual.collected / fine.collected, 1.0, 1e-3) << name;
    }
}

// Point values overrate light that is absorbed within few intervals, and Jsc with it; what the boxes absorb is exact on
// any mesh. With intervals of a third both are nearer together by about a factor of nine.
TEST(ShippedCells, GenerationInBoxesAndAtPointsMeetOnAFineMesh)
{
    for (const char* name : {"cigs-baseline", "perovskite-nip"}) {
        double Jsc[2][2], apart[2];
        for (const std::size_t fine : {0u, 1u}) {
            for (const std::size_t boxes : {0u, 1u}) {
                AtHome surroundings;
                auto s = sample(surroundings, name);
                ASSERT_TRUE(s);
                ConvergenceParameters& settings = s->problem.input.convergence;
                settings.route = boxes == 1 ? Route::fast : Route::classic;
                settings.recalculate_mesh = 0;
                set_terminations(settings, 1e-6);
                s->mesh_refinement = fine == 1 ? 3 : 1;
                s->panel.actions = {};
                s->panel.workPoint.dark = false;
                ASSERT_EQ(calculate(surroundings, *s), RunOutcome::done) << name;
                Jsc[fine][boxes] = s->JShortCircuit;
                const Profiles profiles = extract_profiles(s->solver_problem(), s->currentCalcVars);
                const double total = s->light.total_mA_cm2, cumulated = profiles.cumulative_generation.back();
                EXPECT_NEAR(cumulated, total, (boxes == 1 ? 1e-12 : 1e-5) * total) << name;
            }
            apart[fine] = std::fabs(Jsc[fine][0] / Jsc[fine][1] - 1.0);
        }
        EXPECT_GT(apart[0], 1e-4) << name << ": this case shows nothing";
        EXPECT_NEAR(apart[0] / apart[1], 9.0, 2.0) << name;
        EXPECT_NEAR(Jsc[0][1] / Jsc[1][1], 1.0, 0.25 * apart[0]) << name;
    }
}

// In the cold the step to the buffer limits the current, and light heaps electrons up before it: their last nanometre
// decides. The first mesh, held, has intervals of 1 Angstrom there.
TEST(ShippedCells, MeshResolvesWhatLightHeapsUp)
{
    double Jsc[2];
    for (const int moves : {0, 1}) {
        AtHome surroundings;
        auto s = sample(surroundings, "cigs-baseline");
        s->problem.input.convergence.recalculate_mesh = moves;
        s->panel.actions = {};
        s->panel.workPoint.dark = false;
        s->panel.workPoint.T = 150.0;
        ASSERT_EQ(calculate(surroundings, *s), RunOutcome::done);
        Jsc[moves] = s->JShortCircuit;
    }
    EXPECT_NEAR(Jsc[1], Jsc[0], 2e-3 * std::fabs(Jsc[0]));
}

// Both routes solve the same equations: on one mesh, under the point values of the light that the classic route takes.
TEST(ShippedCells, BothRoutesGiveOneCurrentOnOneMesh)
{
    for (const char* name :
         {"cigs-baseline", "cdte-baseline", "silicon-pn", "perovskite-nip", "graded-cigs", "earliest-format"}) {
        AtHome surroundings;
        auto s = sample(surroundings, name);
        ConvergenceParameters& settings = s->problem.input.convergence;
        settings.route = Route::classic;
        settings.recalculate_mesh = 0;
        set_terminations(settings, 1e-9);
        s->panel.actions = {};
        s->panel.workPoint.dark = false;
        ASSERT_EQ(calculate(surroundings, *s), RunOutcome::done) << name;
        CalculationVariables& cv = s->currentCalcVars;
        const double Jsc = std::fabs(s->JShortCircuit);
        std::vector<double> classic;
        for (const Route route : {Route::classic, Route::fast}) {
            s->set3.convergence.route = route;
            prepare_solver(s->set3, cv.mesh, s->memory);
            cv = s->kortsluitcv;
            for (std::size_t k = 0; k < 3; ++k) {
                const Problem problem = s->solver_problem();
                const double V = cv.V + 0.25;
                ASSERT_TRUE(volgende_iv_punt(problem, s->memory.work, cv, cv.V, V, 3)) << name << ' ' << V;
                if (route == Route::classic) {
                    classic.push_back(cv.J_median);
                    continue;
                }
                ASSERT_TRUE(onder_belichting(problem, s->memory.work, cv)) << name;
                EXPECT_NEAR(cv.J_median, classic[k], 1e-8 * std::max(Jsc, std::fabs(classic[k])) + cv.J_noise)
                    << name << " at " << V << " V";
            }
        }
    }
}

// The way from a stored state is the same to the bit, whatever mesh the solver stood on before.
TEST(ShippedCells, AStoredStateBringsItsMeshBack)
{
    // Either route moves the mesh in its own way: the classic one anywhere, the fast one where psi becomes steep.
    for (const auto& [route, V] : {std::pair{Route::classic, 0.8}, std::pair{Route::fast, -3.0}}) {
        AtHome surroundings;
        auto s = sample(surroundings, "cigs-baseline");
        s->problem.input.convergence.route = route;
        s->panel.actions = {};
        s->panel.workPoint.dark = false;
        ASSERT_EQ(calculate(surroundings, *s), RunOutcome::done);
        const std::vector<double> G = s->light.generation;
        double J[2], total[2];
        for (const std::size_t k : {0u, 1u}) {
            ReturnToAKnownStartingPoint(*s, s->kortsluitcv);
            EXPECT_EQ(s->light.generation, G);
            EXPECT_TRUE(
                volgende_iv_punt(s->solver_problem(surroundings), s->memory.work, s->currentCalcVars, 0.0, V, 9));
            J[k] = s->currentCalcVars.J_median;
            total[k] = s->light.total_mA_cm2;
        }
        EXPECT_EQ(J[0], J[1]);
        EXPECT_EQ(total[0], total[1]);
        ASSERT_NE(s->currentCalcVars.mesh.x, s->kortsluitcv.mesh.x) << "this case shows nothing";
        // Beside the running state, for its files.
        const StateOnItsMesh stored(*s, s->kortsluitcv);
        EXPECT_EQ(stored.problem().G, G);
        EXPECT_EQ(stored.problem().set3.on.Wn.size(), G.size());
        CalculationVariables cv = s->kortsluitcv;
        CurrentProfile currents;
        extraheer_stroom(stored.problem(), cv, currents);
        EXPECT_NEAR(cv.J_median, s->JShortCircuit, 1e-6);  // the median of the intervals, or the best of them
    }
}

// A line of 40 nm that the mesh alone (127 nm there) would not see.
TEST(ShippedCells, AGivenProfileKeepsItsCurrentOnTheMesh)
{
    const ScratchFolder scratch;
    std::ofstream(scratch.path() / "line.gen") << "0.5 1e25\n1.48 1e25\n1.50 2e28\n1.52 1e25\n2.5 1e25\n";
    AtHome surroundings;
    auto s = sample(surroundings, "cigs-baseline");
    s->panel.actions = {};
    WorkPoint& wp = s->panel.workPoint;
    wp.dark = false;
    wp.generationSpecified = wp.generationFromFile = true;
    wp.generationFile = (scratch.path() / "line.gen").string();
    ASSERT_EQ(calculate(surroundings, *s), RunOutcome::done);
    // Between the rows G is linear, and all rows are points; at its ends the profile drops to 0 within an interval.
    EXPECT_NEAR(s->light.total_mA_cm2, s->wp.idealCurrent, 5e-3 * s->wp.idealCurrent);
    EXPECT_LT(s->JShortCircuit, 0.0);
    EXPECT_TRUE(surroundings.report.messages.empty());
}

// A layer of uniform composition y between two materials is the layer of the interpolated material.
TEST(ShippedCells, UniformCompositionIsTheMaterialBetweenItsPureOnes)
{
    AtHome surroundings;
    auto plain = sample(surroundings, "cigs-baseline"), mixed = sample(surroundings, "cigs-baseline");
    ASSERT_TRUE(plain && mixed);
    LayerParameters& layer = mixed->zonnecel.cell.layer[0];
    layer.composition_mode = 21;
    layer.composition.law = Law::uniform_y;
    layer.composition.pure_A = layer.composition.left = layer.composition.right = 0.25;
    // Linear in y, equal to the plain material at y = 1/4; the ends of the layer are left stale on purpose.
    for (Profile MaterialParameters::*quantity :
         {&MaterialParameters::chi, &MaterialParameters::eps, &MaterialParameters::mu_n, &MaterialParameters::Nc}) {
        Profile& p = layer.material.*quantity;
        p.law = Law::linear;
        p.pure_A *= 0.9;
        p.pure_B = p.left + 3.0 * (p.left - p.pure_A);
    }
    ASSERT_TRUE(unsupported_physics(*mixed).falsifies.empty());
    const IvCurve reference = run(surroundings, *plain);
    const IvCurve& curve = run(surroundings, *mixed);
    ASSERT_EQ(curve.points(), reference.points());
    for (std::size_t i = 0; i < curve.points(); ++i)
        EXPECT_NEAR(curve.ivcurrent[i], reference.ivcurrent[i],
                    1e-6 * std::max(33.0, std::fabs(reference.ivcurrent[i])))
            << reference.iv_as[i];
}

// The same grading by law, by file in each manner and by table is the same cell.
TEST(ShippedCells, AGradingByLawFileAndTableGivesOneCurve)
{
    const ScratchFolder scratch;
    const std::string lin = "> interpolation: lin\n", log = "> interpolation: log\n", rel = "> position: rel\n";
    // Files of the gap on the composition, the composition and the doping on x; empty: the law or a table.
    struct Row {
        const char* what;
        std::string Eg, y, Na;
    };
    const Row rows[] = {
        {"law", "", "", ""},
        {"absolute", lin + "0 1.1\n1 1.5\n", lin + "0 0.6\n3 0\n", log + "0 4e22\n3 1e22\n"},
        {"relative", rel + "0 1.1\n0.25 1.2\n1 1.5\n", rel + "0 0.6\n0.5 0.3\n1 0\n",
         log + rel + "0 4e22\n0.5 2e22\n1 1e22\n"},
        {"table", "", "", ""},
    };
    IvCurve expected;
    for (const Row& row : rows) {
        AtHome surroundings;
        auto s = sample(surroundings, "cigs-baseline");
        ASSERT_TRUE(s);
        LayerParameters& layer = s->zonnecel.cell.layer[0];
        layer.composition_mode = 1;
        const auto grade = [&](Profile& p, Law law, Dependence dependence, double left, double right,
                               const std::string& file) {
            const bool on_y = dependence == Dependence::on_y, table = row.what == std::string("table");
            p.law = !file.empty() ? Law::from_file : table ? Law::table : law;
            p.dependence = dependence;
            p.pure_A = p.left = left;
            p.pure_B = p.right = right;
            p.file = scratch.put("p" + std::to_string(static_cast<int>(law) + 20 * on_y) + ".grad", file).string();
            p.table_x = {0.0, on_y ? 1.0 : 3.0};
            p.table_y = {left, right};
            p.table_log = law == Law::logarithmic;
        };
        grade(layer.material.Eg, Law::linear, Dependence::on_y, 1.1, 1.5, row.Eg);
        grade(layer.composition, Law::linear, Dependence::on_x, 0.6, 0.0, row.y);
        grade(layer.material.Na, Law::logarithmic, Dependence::on_x, 4e16, 1e16, row.Na);  // the file holds 1/m3
        const IvCurve& curve = run(surroundings, *s);
        if (expected.points() == 0) expected = curve;
        ASSERT_EQ(curve.points(), expected.points()) << row.what;
        for (std::size_t i = 0; i < curve.points(); ++i)
            EXPECT_NEAR(curve.ivcurrent[i], expected.ivcurrent[i],
                        1e-6 * std::max(33.0, std::fabs(expected.ivcurrent[i])))
                << row.what << " at " << expected.iv_as[i] << " V";
    }
}

}  // namespace
}  // namespace kovin
