// Equilibrium from local neutrality: the same as the classic one, in a few steps, whatever the settings.
#include "solver/fast_equilibrium.h"
#include "solver/bulk_terms.h"
#include "solver/devices.h"
#include "solver/residuals.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

/// An undoped layer of 5 um and 3.3 eV between a p and an n side of 0.1 um: no carrier lives in its middle at 150 K.
CellParameters insulating_cell()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    const LayerSketch insulator{5e-6, 3.3, 3.9, 9.0, 2e24, 2e25, 1e-8, 1e-8, 0.0, 0.0};
    LayerSketch p = insulator, n = insulator;
    p.d = n.d = 1e-7;
    p.Na = n.Nd = 1e24;
    for (const LayerSketch& s : {p, insulator, n}) add_layer(cell, s);
    return cell;
}

/// Doped against its contacts: a barrier that empties both ends of a heavily doped layer.
CellParameters barrier_cell()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    add_layer(cell, {1e-6, 1.5, 4.0, 10.0, 5e25, 5e25, 1e-2, 1e-2, 1e26, 0.0});
    for (ContactParameters* c : {&cell.left, &cell.right}) {
        c->flatband = false;
        c->Fi_m = c == &cell.left ? 5.3 : 4.6;
    }
    return cell;
}

/// The thin-film cell with defects that carry more charge than its doping: double acceptors and a Gaussian of donors.
CellParameters deep_level_cell()
{
    CellParameters cell = thin_film_cell();
    test::add_chain(cell.layer[0], LevelType::zero_minus, {0.2, 0.6}, 1e23);
    test::add_chain(cell.layer[1], LevelType::two_plus_plus, {1.8, 2.2}, 3e24, EnergyDistribution::gauss);
    test::add_defect(cell.layer[2], DefectType::donor, EnergyDistribution::gauss, 2.9, 3e24);
    return cell;
}

TEST(FastEquilibrium, IsTheClassicOne)
{
    struct Row {
        const char* what;
        CellParameters cell;
        double T;
    };
    const Row rows[] = {{"silicon", silicon_junction(), 300.0},
                        {"silicon, cold", silicon_junction(), 150.0},
                        {"thin film", thin_film_cell(), 300.0},
                        {"thin film, n side left, cold", mirrored(thin_film_cell()), 150.0},
                        {"graded gap, doping and defects", graded_cell(), 300.0},
                        {"graded, turned round, hot", mirrored(graded_cell()), 400.0},
                        {"cliff", cliff_cell(), 250.0},
                        {"charged sheets", charged_sheet_cell(), 300.0},
                        {"deep levels carry the charge", deep_level_cell(), 300.0},
                        {"the same, cold", deep_level_cell(), 150.0},
                        {"insulator", insulating_cell(), 300.0},
                        {"insulator, cold", insulating_cell(), 150.0},
                        {"barriers at heavy doping", barrier_cell(), 200.0}};
    for (const Row& row : rows) {
        // No setting holds the fast one back: neither the limit nor the clamps.
        Device fast(row.cell, row.T, [](ConvergenceParameters& c) {
            c.maxiter_psi_equilibrium = 1;
            c.clamp_psi = c.clamp_start = 1e-3;
        });
        Device classic(row.cell, row.T, [](ConvergenceParameters& c) { c.termination_psi = 1e-9; });
        ASSERT_TRUE(classic.solve_equilibrium()) << row.what;
        ASSERT_TRUE(fast_equilibrium(fast.problem(), fast.memory.work, fast.cv)) << row.what;
        EXPECT_LE(fast.cv.iterations, 40) << row.what;
        double largest = 0.0;
        for (std::size_t i = 0; i < fast.cv.psi.size(); ++i) {
            largest = std::max(largest, std::fabs(fast.cv.psi[i] - classic.cv.psi[i]));
            ASSERT_EQ(fast.cv.Fn[i], 0.0) << row.what;
            ASSERT_EQ(fast.cv.terms_total.rec[i], 0.0) << row.what;
            ASSERT_NEAR(fast.cv.n[i] / classic.cv.n[i], 1.0, 1e-7) << row.what;
        }
        EXPECT_LT(largest, 1e-8) << row.what;
        EXPECT_EQ(fast.cv.J_median, 0.0) << row.what;
    }
}

// Without junctions there is nothing left to solve: local neutrality is the solution, graded doping and defects or not.
TEST(FastEquilibrium, StartsNeutral)
{
    Device d(deep_level_cell());
    start_from_neutrality(d.problem(), d.memory.work, d.cv);
    totale_rdcbijdrage(d.problem(), d.cv, Terms::psi);
    std::vector<double> rho(d.cv.psi.size());
    total_charge(d.problem(), d.cv, rho);
    for (std::size_t j = 0; j < d.layers(); ++j)
        for (std::size_t i = d.first(j) + 1; i < d.last(j); ++i) {
            const double slope = d.cv.terms_total.drho_dpsi[i] - d.cv.n[i] - d.cv.p[i];
            EXPECT_LT(std::fabs(rho[i] / slope), 0.5) << "layer " << j << ", point " << i;
        }
}

}  // namespace
}  // namespace kovin::testing
