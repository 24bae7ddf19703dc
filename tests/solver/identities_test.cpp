// What any solution must obey, whatever the device: no current in the dark at 0 V, the same current at every point,
// recombination minus generation equal to the current, the image of a mirrored cell, independence of the scales.
#include "solver/devices.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

struct Case {
    const char* name;
    CellParameters cell;
    double T, J_light, decay;
};

/// The thin-film cell with chains of charge states in absorber and window, one with negative correlation energy.
CellParameters chain_cell()
{
    CellParameters cell = thin_film_cell();
    test::add_chain(cell.layer[0], LevelType::plus_zero, {0.35, 0.7}, 1e21);
    test::add_chain(cell.layer[0], LevelType::two_plus_plus, {0.8, 0.6}, 1e21, EnergyDistribution::gauss);
    test::add_chain(cell.layer[1], LevelType::zero_minus, {0.8, 1.3}, 1e23);
    test::add_chain(cell.layer[2], LevelType::two_plus_plus, {0.5, 1.2, 1.9, 2.6}, 1e23);
    return cell;
}

std::vector<Case> cases()
{
    return {{"silicon junction", silicon_junction(), 300.0, 33.0, 1e-6},
            {"thin-film cell", thin_film_cell(), 300.0, 33.0, 0.5e-6},
            {"thin-film cell, 350 K", thin_film_cell(), 350.0, 33.0, 0.5e-6},
            {"graded absorber", graded_cell(), 300.0, 33.0, 0.5e-6},
            {"chains, 250 K", chain_cell(), 250.0, 33.0, 0.5e-6},
            {"chains", chain_cell(), 300.0, 33.0, 0.5e-6},
            {"chains, 400 K", chain_cell(), 400.0, 33.0, 0.5e-6},
            {"cliff with interface states", cliff_cell(), 300.0, 33.0, 0.5e-6},
            {"charged interfaces", charged_sheet_cell(), 300.0, 33.0, 0.5e-6}};
}

TEST(Identities, NoCurrentInTheDarkAtZeroVolt)
{
    for (const Case& c : cases()) {
        Device device(c.cell, c.T);
        ASSERT_TRUE(device.solve_equilibrium()) << c.name;
        ASSERT_TRUE(device.solve()) << c.name;
        EXPECT_LT(std::fabs(device.cv.J_median), 1e-20) << c.name;
        EXPECT_LT(device.cv.J_spread, 1e-20) << c.name;
    }
}

// The exit of the iteration bounds the identity: 1e-3 kT by default, 1e-6 kT when asked for.
TEST(Identities, CurrentIsConstantAndEqualsRecombinationMinusGeneration)
{
    struct Row {
        double termination, tolerance;
    };
    for (const Row& row : {Row{1e-3, 2e-5}, Row{1e-6, 1e-6}})
        for (const Case& c : cases()) {
            Device device(c.cell, c.T, terminations(row.termination));
            ASSERT_TRUE(device.solve_equilibrium()) << c.name;
            device.illuminate_exponentially(c.J_light, c.decay);
            ASSERT_TRUE(device.solve()) << c.name;
            for (const double V : {0.0, 0.2, 0.4, 0.5, 0.6}) {
                ASSERT_TRUE(device.go_to(V)) << c.name << " at " << V;
                const double J = device.cv.J_median;
                const double scale = std::max(std::fabs(J), c.J_light);
                EXPECT_NEAR(device.recombination_minus_generation(true), J, row.tolerance * scale)
                    << c.name << " at " << V << " V, termination " << row.termination;
                EXPECT_LT(device.cv.J_spread, 10.0 * row.tolerance * scale) << c.name << " at " << V;
                const double psi_end = (device.set3.phi_left - device.set3.phi_right - V) / device.set3.kT;
                EXPECT_EQ(device.cv.psi.back(), psi_end) << c.name;
                EXPECT_EQ(device.cv.psi.front(), 0.0) << c.name;
            }
        }
}

TEST(Identities, MirroredCellCarriesTheOppositeCurrent)
{
    struct Row {
        double termination;
        int adaptive_mesh;  // points are dropped in rows from the left: the image has other points
        double tolerance;
    };
    for (const Row& row : {Row{1e-3, 0, 1e-5}, Row{1e-6, 0, 1e-7}, Row{1e-6, 1, 1e-4}})
        for (const Case& c : cases()) {
            const auto settings = [&](ConvergenceParameters& s) {
                terminations(row.termination)(s);
                s.recalculate_mesh = row.adaptive_mesh;
            };
            Device device(c.cell, c.T, settings);
            Device image(mirrored(c.cell), c.T, settings);
            for (Device* d : {&device, &image}) {
                ASSERT_TRUE(d->solve_equilibrium()) << c.name;
                d->illuminate_exponentially(c.J_light, c.decay, d == &image);
                ASSERT_TRUE(d->solve()) << c.name;
            }
            for (const double V : {0.0, 0.3, 0.6}) {
                ASSERT_TRUE(device.go_to(V, 2) && image.go_to(-V, 2)) << c.name;
                const double scale = std::max(std::fabs(device.cv.J_median), c.J_light);
                EXPECT_NEAR(image.cv.J_median, -device.cv.J_median, row.tolerance * scale) << c.name << " at " << V;
            }
        }
}

TEST(Identities, ResultDoesNotDependOnTheDiffusionScale)
{
    for (const Case& c : cases()) {
        double J[2];
        for (int k = 0; k < 2; ++k) {
            Device device(c.cell, c.T, terminations(1e-6), 1, k == 0 ? 1.0 : 7.0);
            ASSERT_TRUE(device.solve_equilibrium()) << c.name;
            device.illuminate_exponentially(c.J_light, c.decay);
            ASSERT_TRUE(device.solve() && device.go_to(0.5, 3)) << c.name;
            J[k] = device.cv.J_median;
        }
        EXPECT_NEAR(J[1] / J[0], 1.0, 1e-8) << c.name;
    }
}

}  // namespace
}  // namespace kovin::testing
