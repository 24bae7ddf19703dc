// The curves of the shipped cells: resistances and references, the mesh, odd conditions, a composition between two
// materials.
#include "device/action_file.h"
#include "device/definition_reader.h"
#include "device/unit_systems.h"
#include "solver/devices.h"
#include "sweeps/ladder.h"
#include "sweeps/supported.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

TEST(ShippedCells, FixedMeshIsFineEnough)
{
    IVCharacteristics result[2];
    double generation[2] = {};
    for (const int parts : {1, 2}) {
        AtHome surroundings;
        auto s = sample(surroundings, "cigs-baseline");
        ASSERT_TRUE(s);
        s->mesh_refinement = parts;
        run(surroundings, *s);
        result[parts - 1] = s->results.back().characteristics;
        generation[parts - 1] = s->light.total_mA_cm2;
    }
    const auto& [coarse, fine] = result;
    EXPECT_NEAR(coarse.Voc, fine.Voc, 3e-3);
    EXPECT_NEAR(coarse.FF, fine.FF, 0.3);
    EXPECT_NEAR(coarse.Jsc / fine.Jsc, 1.0, 5e-3);
    EXPECT_NEAR((coarse.Jsc / generation[0]) / (fine.Jsc / generation[1]), 1.0, 2e-3);
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

}  // namespace
}  // namespace kovin
