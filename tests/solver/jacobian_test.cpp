// Every derivative of the three equations against central differences of the residuals, in a lit three-layer cell away
// from 300 K and off the solution.
//
// Left out on purpose: nothing. Said otherwise: psi at the two points l and l + 1 of an interface is one unknown, kept
// equal by a row of its own; the elements of a row may stand in either column, and the row of psi at l holds both in l.
#include "solver/bulk_terms.h"
#include "solver/coupled.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/residuals.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

Device lit_cell(int half_cells)
{
    CellParameters cell = thin_film_cell();
    crowd(cell);
    let_absorb(cell.layer[0].srh[0][0]);
    let_absorb(cell.layer[1].srh[1][0]);
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
    shine_on_levels(device, 1e-3);
    return device;
}

/// The three unknowns of every point as one numbering, and their columns as -d res/d (psi, Fn, -Fp).
struct Differences {
    explicit Differences(Device& d) : device(d), N(d.cv.psi.size()) {}

    std::vector<double> residual() const
    {
        std::vector<double> res(3 * N), rho(N);
        const Problem problem = device.problem();
        totale_rdcbijdrage(problem, device.cv);
        total_charge(problem, device.cv, rho);
        const std::span all(res);
        calculate_dc_residue_psi(problem, device.cv, rho, all.first(N));
        calculate_dc_residue(problem, device.cv, Carrier::electrons, all.subspan(N, N));
        calculate_dc_residue(problem, device.cv, Carrier::holes, all.subspan(2 * N, N));
        return res;
    }

    void move(std::size_t unknown, std::size_t i, double h) const
    {
        CalculationVariables& cv = device.cv;
        (unknown == of_psi ? cv.psi : unknown == of_u ? cv.Fn : cv.Fp)[i] += unknown == of_v ? -h : h;
        update_psivar(device.set3, cv);
        update_Fn(cv);
        update_Fp(cv);
    }

    /// Central differences of fourth order.
    std::vector<double> column(std::size_t unknown, std::size_t i) const
    {
        constexpr double h = 1e-3;
        std::vector<double> sum(3 * N, 0.0);
        for (const auto& [step, weight] : {std::pair{-2 * h, -1.0}, {h, 8.0}, {2 * h, -8.0}, {h, 1.0}}) {
            move(unknown, i, step);
            const std::vector<double> res = residual();
            for (std::size_t k = 0; k < res.size(); ++k) sum[k] += weight * res[k] / (12.0 * h);
        }
        move(unknown, i, -2 * h);
        return sum;
    }

    Device& device;
    std::size_t N;
};

/// The system of all three equations as it is solved.
BlockSystem assembled(Device& device)
{
    Workspace work;
    work.resize(device.cv.psi.size(), device.layers(), true);
    assemble_psi_uv(device.problem(), work, device.cv);
    return work.block;
}

/// Element of the row of `r` at point i to the unknown c of point k, with k at most two points off.
double element(const Device& device, BlockSystem& s, Unknown r, std::size_t i, Unknown c, std::size_t k)
{
    if (k == i) return s.main(r, c)[i];
    if (k + 1 == i) return s.sub(r, c)[i];
    if (k == i + 1) return s.super(r, c)[i];
    for (std::size_t j = 0; j + 1 < device.layers(); ++j)
        if (r == of_psi && i == device.last(j) && k == i + 2) return s.extra[j][c];
    return 0.0;
}

TEST(Jacobian, EveryElementOfTheCoupledSystemAgainstDifferences)
{
    for (const int half_cells : {1, 0}) {
        Device device = lit_cell(half_cells);
        const CalculationVariables& cv = device.cv;
        const std::size_t N = cv.psi.size();
        BlockSystem system = assembled(device);
        const auto scale = [&](Unknown c, std::size_t k) {
            return c == of_psi ? 1.0 : c == of_u ? cv.expFn[k] : cv.expmFp[k];
        };
        // Elements of a row count against the largest one of the row: rounding of the differences leaves 1e-12 of it.
        std::array<std::vector<double>, 3> largest;
        for (const Unknown r : {of_psi, of_u, of_v})
            for (std::size_t i = 0; i < N; ++i) {
                double size = 0.0;
                for (const Unknown c : {of_psi, of_u, of_v})
                    for (std::size_t k = i > 0 ? i - 1 : 0; k < std::min(i + 3, N); ++k)
                        size = std::max(size, std::fabs(element(device, system, r, i, c, k) * scale(c, k)));
                largest[r].push_back(size);
            }
        std::vector<bool> ends_layer(N, false);
        for (std::size_t j = 0; j + 1 < device.layers(); ++j) ends_layer[device.last(j)] = true;

        const Differences differences(device);
        for (const Unknown c : {of_psi, of_u, of_v})
            for (std::size_t k = 0; k < N; ++k) {
                const bool together = c == of_psi && ends_layer[k];
                std::vector<double> column = differences.column(c, k);
                if (together) {
                    const std::vector<double> partner = differences.column(c, k + 1);
                    for (std::size_t i = 0; i < column.size(); ++i) column[i] += partner[i];
                }
                for (const Unknown r : {of_psi, of_u, of_v})
                    for (std::size_t i = 0; i < N; ++i) {
                        if (r == of_psi && (i == 0 || i == N - 1)) continue;  // psi is given
                        double analytic = element(device, system, r, i, c, k) * scale(c, k);
                        if (together) analytic += element(device, system, r, i, c, k + 1);
                        EXPECT_NEAR(analytic, column[r * N + i], 1e-8 * std::fabs(analytic) + 1e-11 * largest[r][i])
                            << "row " << r << " of " << i << " to " << c << " of " << k << ", half cells "
                            << half_cells;
                    }
                if (together) ++k;
            }
        // psi stays at the contacts, whatever the other unknowns do.
        for (const std::size_t i : {std::size_t{0}, N - 1})
            for (const Unknown c : {of_psi, of_u, of_v}) {
                EXPECT_EQ(system.main(of_psi, c)[i], c == of_psi ? 1.0 : 0.0);
                EXPECT_EQ(system.sub(of_psi, c)[i], 0.0);
                EXPECT_EQ(system.super(of_psi, c)[i], 0.0);
            }
    }
}

}  // namespace
}  // namespace kovin::testing
