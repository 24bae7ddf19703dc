// Each Jacobian against central differences of its own residual, in a lit three-layer cell away from 300 K.
//
// What the method leaves out of these blocks on purpose: the couplings between psi, u and v (the decoupled iteration
// holds the other two), and in row l of an interface the entry of psi[f], which is folded into the main element because
// row f says psi[f] = psi[l]. So psi[l] and psi[f] are moved together here.
#include "solver/bulk_terms.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/residuals.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

Device lit_cell(int half_cells)
{
    CellParameters cell = thin_film_cell();
    set_uniform(cell.layer[0].material.K_rad, 1e-16);
    set_uniform(cell.layer[0].material.c_n_auger, 1e-40);
    set_uniform(cell.layer[1].material.c_p_auger, 1e-40);
    add_defect(cell.layer[0], DefectType::acceptor, 5e20, 0.3, 1e-19, 2e-18).energy_distribution =
        EnergyDistribution::gauss;
    // Charged sheets whose exchange with both layers weighs as much as the thermionic current.
    InterfaceRecombinationParameters& donors =
        add_sheet(cell, 0, DefectType::donor, 1e17, EnergyReference::above_middle, 0.1, 2e-17, 5e-17);
    donors.energy_distribution = EnergyDistribution::gauss;
    donors.sigma_nright = 4e-18;
    donors.sigma_pright = 3e-16;
    add_sheet(cell, 0, DefectType::acceptor, 4e15, EnergyReference::above_EV_left, 0.5, 3e-17, 1e-17);
    add_sheet(cell, 1, DefectType::acceptor, 1e15, EnergyReference::below_lowest_EC, 0.6, 1e-17, 3e-17);
    Device device(cell, 350.0, [&](ConvergenceParameters& c) { c.interfacial_half_cells = half_cells; });
    device.solve_equilibrium();
    device.illuminate_exponentially(33.0, 0.5e-6);
    device.solve();
    device.go_to(0.4, 2);
    // Off the solution, so that no term of the residual is small by chance.
    for (std::size_t i = 0; i < device.cv.psi.size(); ++i) {
        device.cv.psi[i] += 0.3 * std::sin(0.37 * static_cast<double>(i));
        device.cv.Fn[i] += 0.2 * std::cos(0.23 * static_cast<double>(i));
        device.cv.Fp[i] -= 0.2 * std::sin(0.19 * static_cast<double>(i));
    }
    for (std::size_t j = 0; j + 1 < device.layers(); ++j)
        device.cv.psi[device.first(j + 1)] = device.cv.psi[device.last(j)];
    update_psivar(device.set3, device.cv);
    update_Fn(device.cv);
    update_Fp(device.cv);
    return device;
}

using Residual = std::function<void(Device&, std::vector<double>&)>;

/// -d res[row]/d x by central differences, where moving x by h is done by `move`.
std::vector<double> difference(Device& device, const Residual& residual, const std::function<void(double)>& move,
                               double h)
{
    std::vector<double> up(device.cv.psi.size()), down(up.size());
    move(h);
    residual(device, up);
    move(-2.0 * h);
    residual(device, down);
    move(h);
    for (std::size_t i = 0; i < up.size(); ++i) up[i] = (down[i] - up[i]) / (2.0 * h);
    return up;
}

void expect_close(double analytic, double numeric, double scale, const char* what, std::size_t row, std::size_t column)
{
    EXPECT_NEAR(analytic, numeric, 2e-6 * scale + 1e-6 * std::fabs(analytic))
        << what << " row " << row << " column " << column;
}

TEST(Jacobian, PoissonAgainstDifferences)
{
    for (const int half_cells : {1, 0}) {
        Device device = lit_cell(half_cells);
        CalculationVariables& cv = device.cv;
        const std::size_t N = cv.psi.size();
        const Residual residual = [](Device& d, std::vector<double>& res) {
            std::vector<double> rho(res.size());
            totale_rdcbijdrage(d.problem(), d.cv);
            total_charge(d.problem(), d.cv, rho);
            calculate_dc_residue_psi(d.problem(), d.cv, rho, res);
        };
        std::vector<double> sub(N), main(N), super(N), extra(device.layers());
        totale_rdcbijdrage(device.problem(), cv);
        calculate_dc_jacobian_psi(device.problem(), cv, {sub, main, super}, extra);

        for (std::size_t j = 0; j < device.layers(); ++j)
            for (std::size_t i = device.first(j); i <= device.last(j); ++i) {
                if (i == 0 || i == N - 1) continue;           // contacts: psi is given
                if (j > 0 && i == device.first(j)) continue;  // moved together with its partner
                const bool pair = i == device.last(j) && j + 1 < device.layers();
                const auto column = difference(
                    device, residual,
                    [&](double h) {
                        cv.psi[i] += h;
                        if (pair) cv.psi[i + 1] = cv.psi[i];
                        update_psivar(device.set3, cv);
                    },
                    1e-4);
                const double scale = std::fabs(main[i]);
                expect_close(main[i], column[i], scale, "main", i, i);
                if (i > 1 && i - 1 != device.first(j))
                    expect_close(super[i - 1], column[i - 1], scale, "super", i - 1, i);
                const bool next_is_row_f = pair;
                if (!next_is_row_f && i + 2 < N) expect_close(sub[i + 1], column[i + 1], scale, "sub", i + 1, i);
                if (pair) expect_close(sub[i + 2], column[i + 2], scale, "sub across the interface", i + 2, i + 1);
                if (j > 0 && i == device.first(j) + 1)
                    expect_close(extra[j - 1], column[i - 2], scale, "extra", i - 2, i);
            }
    }
}

TEST(Jacobian, ContinuityAgainstDifferences)
{
    for (const int half_cells : {1, 0})
        for (const Carrier carrier : {Carrier::electrons, Carrier::holes}) {
            Device device = lit_cell(half_cells);
            CalculationVariables& cv = device.cv;
            const std::size_t N = cv.psi.size();
            const bool electrons = carrier == Carrier::electrons;
            const Residual residual = [&](Device& d, std::vector<double>& res) {
                totale_rdcbijdrage(d.problem(), d.cv);
                calculate_dc_residue(d.problem(), d.cv, carrier, res);
            };
            std::vector<double> sub(N), main(N), super(N);
            totale_rdcbijdrage(device.problem(), cv);
            calculate_dc_jacobian(device.problem(), cv, carrier, {sub, main, super});
            const auto w_of = [&](std::size_t i) { return electrons ? cv.expFn[i] : cv.expmFp[i]; };
            for (std::size_t i = 0; i < N; ++i) {
                // The step is made on the level: dw = +-w dF.
                const double w = electrons ? w_of(i) : -w_of(i);
                const auto column = difference(
                    device, residual,
                    [&](double h) {
                        (electrons ? cv.Fn : cv.Fp)[i] += h;
                        electrons ? update_Fn(cv) : update_Fp(cv);
                    },
                    1e-4);
                const auto scale = [&](std::size_t row) {
                    return std::fabs(main[row]) * std::max(w_of(row), std::fabs(w));
                };
                expect_close(main[i] * w, column[i], scale(i), "main", i, i);
                if (i > 0) expect_close(super[i - 1] * w, column[i - 1], scale(i - 1), "super", i - 1, i);
                if (i + 1 < N) expect_close(sub[i + 1] * w, column[i + 1], scale(i + 1), "sub", i + 1, i);
            }
        }
}

}  // namespace
}  // namespace kovin::testing
