// Interface states: each kind of sheet against an evaluation in SI units and absolute energies, derivatives against
// differences, and what their currents and charge must obey in a solved cell.
#include "solver/interface_states.h"

#include "device/defect_levels.h"
#include "solver/bulk_terms.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/interface_terms.h"
#include "solver/residuals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace kovin::testing {
namespace {

using Terms = InterfaceTerms;

constexpr EnergyDistribution distributions[] = {EnergyDistribution::single, EnergyDistribution::uniform,
                                                EnergyDistribution::gauss, EnergyDistribution::CB_tail,
                                                EnergyDistribution::VB_tail};
constexpr DefectType types[] = {DefectType::neutral, DefectType::acceptor, DefectType::donor};

/// A lit state on the first mesh, off its solution, so that nothing balances by chance.
CalculationVariables lit_state(const CellParameters& cell, double T)
{
    Device device(cell, T, [](ConvergenceParameters& c) { c.recalculate_mesh = 0; });
    device.solve_equilibrium();
    device.illuminate_exponentially(33.0, 0.5e-6, cell.left.majority_type == -1);
    device.solve();
    for (std::size_t j = 0; j < device.layers(); ++j)
        for (const std::size_t i : {device.first(j), device.last(j)}) {
            device.cv.Fn[i] += 2.0 * std::cos(0.7 * static_cast<double>(i));
            device.cv.Fp[i] -= 2.0 * std::sin(0.3 * static_cast<double>(i));
        }
    update_Fn(device.cv);
    update_Fp(device.cv);
    return device.cv;
}

/// Charge [C/m2] and currents [1/(m2 s)]: rho, In left and right, Ip left and right.
using Sums = std::array<double, 5>;

/// The same by plain sums over the energies of the sheet.
Sums plain_evaluation(const Device& device, const InterfaceRecombinationParameters& d, std::size_t j, int energies)
{
    const OnMesh& on = device.set3.on;
    const double kT = device.set3.kT, v0 = device.set3.scale.v0;
    struct Side {
        double Ec, Ev, Ei, Nc, Nv, n, p, cn, cp;
    };
    const auto side = [&](std::size_t i, double N0, double sigma_n, double sigma_p) {
        const double Ec = -on.chi[i], Ev = Ec - on.Eg[i];
        return Side{Ec,
                    Ev,
                    0.5 * (Ec + Ev) + 0.5 * kT * std::log(on.Nv[i] / on.Nc[i]),
                    N0 * on.Nc[i],
                    N0 * on.Nv[i],
                    N0 * device.cv.n[i],
                    N0 * device.cv.p[i],
                    on.vth_n[i] * v0 * sigma_n,
                    on.vth_p[i] * v0 * sigma_p};
    };
    const std::size_t l = device.last(j);
    const Side L = side(l, device.set3.scale.N0[j], d.sigma_nleft, d.sigma_pleft);
    const Side R = side(l + 1, device.set3.scale.N0[j + 1], d.sigma_nright, d.sigma_pright);
    const double highest_EV = std::max(L.Ev, R.Ev), lowest_EC = std::min(L.Ec, R.Ec);
    const double zero[] = {0, 0, 0, highest_EV, lowest_EC, L.Ei, R.Ei, L.Ev, R.Ev, 0.5 * (highest_EV + lowest_EC)};
    const double sign = d.reference == EnergyReference::below_lowest_EC ? -1.0 : 1.0;
    const double Et = zero[static_cast<int>(d.reference)] + sign * d.Et, W = d.Ekar;

    double low = 0.0, high = 0.0;  // of the distribution, about Et
    if (d.energy_distribution == EnergyDistribution::uniform) low = -(high = 0.5 * W);
    if (d.energy_distribution == EnergyDistribution::gauss) low = -(high = 3.0 * W);
    if (d.energy_distribution == EnergyDistribution::CB_tail) low = -7.0 * W;
    if (d.energy_distribution == EnergyDistribution::VB_tail) high = 7.0 * W;
    const int count = high > low ? energies : 1;
    Sums sum{};
    for (int m = 0; m < count; ++m) {
        const double x = count > 1 ? low + (high - low) * m / (count - 1) : 0.0;
        double N = count > 1 ? d.N * (high - low) / (count - 1) * (m == 0 || m == count - 1 ? 0.5 : 1.0) : d.N;
        if (d.energy_distribution == EnergyDistribution::gauss) N *= std::exp(-x * x / W / W);
        if (d.energy_distribution >= EnergyDistribution::CB_tail) N *= std::exp(-std::fabs(x) / W);
        const double E = Et + x;
        const auto emitted_n = [&](const Side& s) { return s.cn * s.Nc * std::exp(-(s.Ec - E) / kT); };
        const auto emitted_p = [&](const Side& s) { return s.cp * s.Nv * std::exp(-(E - s.Ev) / kT); };
        const double fill = L.cn * L.n + R.cn * R.n + emitted_p(L) + emitted_p(R);
        const double empty = L.cp * L.p + R.cp * R.p + emitted_n(L) + emitted_n(R);
        const double f = fill / (fill + empty), g = empty / (fill + empty);
        if (d.defectType == DefectType::donor) sum[0] += elementary_charge * N * g;
        if (d.defectType == DefectType::acceptor) sum[0] -= elementary_charge * N * f;
        sum[1] += N * (L.cn * L.n * g - emitted_n(L) * f);
        sum[2] += N * (R.cn * R.n * g - emitted_n(R) * f);
        sum[3] += N * (L.cp * L.p * f - emitted_p(L) * g);
        sum[4] += N * (R.cp * R.p * f - emitted_p(R) * g);
    }
    return sum;
}

TEST(InterfaceStates, EveryKindOfSheetAgainstPlainSums)
{
    constexpr int energies = 9;
    // The image turns both band steps round.
    for (const CellParameters& bare : {cliff_cell(), mirrored(cliff_cell())}) {
        const std::size_t j = bare.interfaces[0].defect_count > 0 ? 0 : 1;
        const CalculationVariables state = lit_state(bare, 320.0);
        for (const DefectType type : types)
            for (const EnergyDistribution distribution : distributions)
                for (int reference = 3; reference <= 9; ++reference) {
                    CellParameters cell = bare;
                    InterfaceRecombinationParameters& d = cell.interfaces[j].defects[0];
                    d.defectType = type;
                    d.energy_distribution = distribution;
                    d.reference = static_cast<EnergyReference>(reference);
                    d.Et = 0.31;
                    d.Ekar = 0.07;
                    d.N = 2e16;
                    d.sigma_nleft = 2e-20;
                    d.sigma_nright = 3e-19;
                    d.sigma_pleft = 5e-20;
                    d.sigma_pright = 7e-18;
                    Device device(cell, 320.0, [](ConvergenceParameters& c) { c.defectdiscretisations = energies; });
                    device.cv = state;
                    totale_ifrdcbijdrage(device.problem(), device.cv);
                    const Terms& t = device.cv.terms_interface[j];
                    const Sums expected = plain_evaluation(device, d, j, energies);
                    const Scale& s = device.set3.scale;
                    const double left = s.N0[j] * s.v0, right = s.N0[j + 1] * s.v0;
                    const double got[] = {t.rho_if, left * t.In_left, right * t.In_right, left * t.Ip_left,
                                          right * t.Ip_right};
                    const double current = *std::max_element(expected.begin() + 1, expected.end());
                    for (std::size_t k = 0; k < expected.size(); ++k)
                        // The plain sums lose what capture and emission have in common.
                        EXPECT_NEAR(got[k], expected[k], 1e-9 * (k == 0 ? std::fabs(expected[0]) : current))
                            << "quantity " << k << ", type " << static_cast<int>(type) << ", distribution "
                            << static_cast<int>(distribution) << ", reference " << reference << ", interface " << j;
                }
    }
}

TEST(InterfaceStates, DerivativesAgainstDifferences)
{
    struct Row {
        const char* what;
        double Terms::*value;
        std::array<double Terms::*, 4> slopes;  ///< to u left, u right, v left, v right
    };
    const Row rows[] = {
        {"charge",
         &Terms::rho_if,
         {&Terms::drho_if_du_left, &Terms::drho_if_du_right, &Terms::drho_if_dv_left, &Terms::drho_if_dv_right}},
        {"In left",
         &Terms::In_left,
         {&Terms::dIn_left_du_left, &Terms::dIn_left_du_right, &Terms::dIn_left_dv_left, &Terms::dIn_left_dv_right}},
        {"In right",
         &Terms::In_right,
         {&Terms::dIn_right_du_left, &Terms::dIn_right_du_right, &Terms::dIn_right_dv_left,
          &Terms::dIn_right_dv_right}},
        {"Ip left",
         &Terms::Ip_left,
         {&Terms::dIp_left_du_left, &Terms::dIp_left_du_right, &Terms::dIp_left_dv_left, &Terms::dIp_left_dv_right}},
        {"Ip right",
         &Terms::Ip_right,
         {&Terms::dIp_right_du_left, &Terms::dIp_right_du_right, &Terms::dIp_right_dv_left,
          &Terms::dIp_right_dv_right}},
    };
    Device device(charged_sheet_cell(), 350.0);
    device.cv = lit_state(charged_sheet_cell(), 350.0);
    CalculationVariables& cv = device.cv;
    const auto renew = [&] {
        update_psivar(device.set3, cv);
        update_Fn(cv);
        update_Fp(cv);
        totale_ifrdcbijdrage(device.problem(), cv);
    };
    for (const std::size_t j : {0u, 1u}) {
        const std::size_t l = device.last(j), f = l + 1;
        renew();
        const Terms at = cv.terms_interface[j];
        const double dw_dF[] = {cv.expFn[l], cv.expFn[f], -cv.expmFp[l], -cv.expmFp[f]};
        double* const level[] = {&cv.Fn[l], &cv.Fn[f], &cv.Fp[l], &cv.Fp[f]};
        const auto difference = [&](const std::vector<double*>& moved, double Terms::*value) {
            constexpr double h = 1e-4;
            const auto shifted = [&](double by) {
                for (double* x : moved) *x += by;
                renew();
                return cv.terms_interface[j].*value;
            };
            const double up = shifted(h), down = shifted(-2.0 * h);
            shifted(h);
            return (up - down) / (2.0 * h);
        };
        for (const Row& row : rows) {
            double along_psi = 0.0, largest = 0.0;
            for (std::size_t k = 0; k < 4; ++k) {
                along_psi += std::fabs(dw_dF[k]) * (k < 2 ? 1.0 : -1.0) * at.*row.slopes[k];
                largest = std::max(largest, std::fabs(dw_dF[k] * at.*row.slopes[k]));
            }
            // The second term is the rounding of the value over the step.
            const double tolerance = 1e-7 * largest + 1e-11 * std::fabs(at.*row.value);
            for (std::size_t k = 0; k < 4; ++k)
                EXPECT_NEAR(dw_dF[k] * at.*row.slopes[k], difference({level[k]}, row.value), tolerance)
                    << row.what << ", variable " << k << ", interface " << j;
            EXPECT_NEAR(along_psi, difference({&cv.psi[l], &cv.psi[f]}, row.value), tolerance) << row.what;
        }
        EXPECT_NEAR(at.drho_if_dpsi, difference({&cv.psi[l], &cv.psi[f]}, &Terms::rho_if),
                    1e-7 * std::fabs(at.drho_if_dpsi) + 1e-11 * std::fabs(at.rho_if));
    }
}

TEST(InterfaceStates, EnergiesOfADistributionHoldItsDensity)
{
    for (const EnergyDistribution distribution : distributions) {
        CellParameters cell = cliff_cell();
        InterfaceRecombinationParameters& d = cell.interfaces[0].defects[0];
        d.energy_distribution = distribution;
        d.N = 1e17 * peak_to_total(distribution, d.Ekar);  // total times the ratio of peak to total
        // The ends of the Gaussian hold erfc(3), those of a tail exp(-7).
        const double tolerance = distribution >= EnergyDistribution::CB_tail ? 1.1e-3 : 3e-5;
        for (const int energies : {1, 99}) {
            Device device(cell, 300.0, [&](ConvergenceParameters& c) { c.defectdiscretisations = energies; });
            double total = 0.0;
            for (const InterfaceEnergy& e : device.memory.interface_states.energies) total += e.Nt;
            EXPECT_NEAR(total, 1e17, tolerance * 1e17) << static_cast<int>(distribution) << ", " << energies;
        }
        d.sigma_nleft = d.sigma_nright = d.sigma_pleft = d.sigma_pright = 0.0;
        EXPECT_TRUE(Device(cell).memory.interface_states.energies.empty()) << "states that capture nothing";
    }
}

TEST(InterfaceStates, CurrentsBalance)
{
    for (const CellParameters& cell : {cliff_cell(), charged_sheet_cell()}) {
        Device device(cell, 300.0, terminations(1e-6));
        ASSERT_TRUE(device.solve_equilibrium());
        const auto currents = [&](std::size_t j) { return interface_currents(device.problem(), device.cv, j); };
        const InterfaceCurrents none = currents(0);
        for (const double j : {none.n_left, none.n_right, none.p_left, none.p_right, none.thermionic})
            EXPECT_EQ(j, 0.0);
        device.illuminate_exponentially(33.0, 0.5e-6);
        ASSERT_TRUE(device.solve());
        for (const double V : {0.0, 0.2, 0.4, 0.5, 0.6}) {
            ASSERT_TRUE(device.go_to(V)) << V;
            const double J = device.cv.J_median, scale = std::max(33.0, std::fabs(J));
            for (const std::size_t j : {0u, 1u}) {
                const InterfaceCurrents c = currents(j);
                const double largest =
                    std::max({std::fabs(c.n_left), std::fabs(c.n_right), std::fabs(c.p_left), std::fabs(c.p_right)});
                EXPECT_NEAR(c.n_left + c.n_right, c.p_left + c.p_right, 1e-12 * largest) << V;
                // The thermionic current and what the states take from either layer make up the current beside them;
                // between the interface and the next interval lies half of the latter's generation.
                EXPECT_NEAR(c.thermionic - c.n_left + c.p_left, J, 1e-5 * scale) << V;
                EXPECT_NEAR(c.thermionic + c.n_right - c.p_right, J, 1e-5 * scale) << V;
            }
        }
        EXPECT_GT(currents(0).recombination(), 0.1) << "the states must count";
    }
}

// Gauss' law between the two contacts: the displacement grows by the charge of the boxes and of the sheets.
TEST(InterfaceStates, SheetChargeEndsTheField)
{
    Device device(charged_sheet_cell(), 300.0, terminations(1e-7));
    ASSERT_TRUE(device.solve_equilibrium() && device.solve() && device.go_to(0.3, 3));
    const CalculationVariables& cv = device.cv;
    const Mesh& mesh = cv.mesh;
    const Scale& scale = device.set3.scale;
    std::vector<double> rho(cv.psi.size());
    total_charge(device.problem(), cv, rho);
    const auto displacement = [&](std::size_t i) {  // in the interval behind point i [C/m2]
        return -vacuum_permittivity * device.set3.on.eps[i] * device.set3.kT * (cv.psi[i + 1] - cv.psi[i]) /
               (mesh.h[i] * scale.x0);
    };
    double charge = 0.0, sheets = 0.0, largest = 0.0;
    for (std::size_t j = 0; j < device.layers(); ++j) {
        const double unit = elementary_charge * scale.N0[j] * scale.x0;
        const std::size_t first = device.first(j), last = device.last(j);
        for (std::size_t i = first + 1; i < last; ++i) charge += unit * rho[i] * 0.5 * (mesh.h[i - 1] + mesh.h[i]);
        if (j > 0) charge += unit * mesh.h[first] * (0.375 * rho[first] + 0.125 * rho[first + 1]);
        if (j + 1 == device.layers()) break;
        charge += unit * mesh.h[last - 1] * (0.375 * rho[last] + 0.125 * rho[last - 1]);
        sheets += cv.terms_interface[j].rho_if;
        largest = std::max(largest, std::fabs(displacement(last - 1)));
    }
    EXPECT_GT(std::fabs(sheets), 0.1 * largest) << "the sheets must count";
    EXPECT_NEAR(displacement(cv.psi.size() - 2) - displacement(0), charge + sheets, 1e-6 * largest);
}

// Many states make decoupled passes overshoot: without relaxation every third of these sweeps ends in a swing.
TEST(InterfaceStates, SweepsConvergeWithEveryKindOfSheet)
{
    struct Row {
        DefectType type;
        double N, Et, sigma;
    };
    constexpr Row rows[] = {{DefectType::acceptor, 1e13, 0.6, 1e-19},
                            {DefectType::acceptor, 1e16, 0.95, 1e-18},
                            {DefectType::acceptor, 1e17, 0.95, 1e-19},
                            {DefectType::donor, 1e17, 0.6, 1e-18},
                            {DefectType::neutral, 1e17, 0.6, 1e-18}};
    for (const Row& row : rows)
        for (const EnergyDistribution distribution : distributions)
            for (const double J : {0.0, 33.0}) {
                CellParameters cell = thin_film_cell();
                InterfaceRecombinationParameters& d = add_sheet(
                    cell, 0, row.type, row.N, EnergyReference::above_highest_EV, row.Et, row.sigma, row.sigma);
                d.energy_distribution = distribution;
                d.N *= peak_to_total(distribution, d.Ekar);
                Device device(cell);
                ASSERT_TRUE(device.solve_equilibrium());
                device.illuminate_exponentially(J, 0.5e-6);
                ASSERT_TRUE(device.solve());
                for (int k = 0; k <= 8; ++k) {
                    ASSERT_TRUE(device.go_to(0.1 * k))
                        << "type " << static_cast<int>(row.type) << ", distribution " << static_cast<int>(distribution)
                        << ", N " << row.N << ", J " << J << ", V " << 0.1 * k;
                    EXPECT_LE(device.cv.iterations, 60);
                    // As everywhere beyond Voc: off by no more than the termination, in kT and so in the densities.
                    EXPECT_NEAR(device.recombination_minus_generation(true), device.cv.J_median,
                                1e-3 * std::max(J, std::fabs(device.cv.J_median)));
                }
            }
}

// A heavily doped window pins the electrons' Fermi level at the interface. Holes reach it over the barrier
// phi = Eg - cliff - (Ec - EF of the window), and where all photocurrent is lost there
//
//     q Voc = phi - kT ln(q S Nv/Jph) - F L + kT S/(mu F),     S = sigma v N,
//
// with the field F at the interface, the small potential drop F L of the window (L its Debye length) and that of the
// holes' level over the space charge.
// Source: Scheer, Schock, Chalcogenide Photovoltaics (2011), chapter 2.
TEST(InterfaceStates, VocFallsWithTheInterfaceVelocity)
{
    constexpr double Eg = 1.15, cliff = 0.2, eps = 10.0, Nc = 2.2e25, Nv = 1.8e25, Na = 1e22, Nd = 1e25, mu = 5e-3;
    constexpr double J = 33.0, eps_SI = eps * vacuum_permittivity;
    CellParameters cell;
    InitialiseCellDefinition(cell);
    add_layer(cell, {2e-6, Eg, 4.5, eps, Nc, Nv, 1e-2, mu, 0.0, Na});
    add_layer(cell, {1e-7, 2.4, 4.5 + cliff, eps, Nc, Nv, 1e-2, mu, Nd, 0.0});
    cell.left.Sn = cell.right.Sp = 0.0;  // no other losses
    cell.left.Sp = cell.right.Sn = 1e5;
    for (const double S : {1.0, 10.0, 100.0}) {  // m/s
        CellParameters with_sheet = cell;
        add_sheet(with_sheet, 0, DefectType::neutral, S * 1e14, EnergyReference::above_highest_EV, 0.6, 1e-19, 1e-19);
        Device device(with_sheet);
        ASSERT_TRUE(device.solve_equilibrium());
        device.illuminate_exponentially(J, 0.5e-6);
        ASSERT_TRUE(device.solve());
        double below = 0.0, Voc = 0.0;  // V and J of the point before; then the zero of the line through the last two
        for (double V = 0.05, J_below = device.cv.J_median; Voc == 0.0 && V < 1.0; V += 0.05) {
            ASSERT_TRUE(device.go_to(V)) << V;
            while (device.cv.J_median > 0.0 && V - below > 1e-4) {
                V = 0.5 * (V + below);
                ASSERT_TRUE(device.go_to(V)) << V;
            }
            if (device.cv.J_median > 0.0) Voc = below + (V - below) * J_below / (J_below - device.cv.J_median);
            below = V;
            J_below = device.cv.J_median;
        }
        const double kT = device.set3.kT;
        const double plain =
            Eg - cliff - kT * std::log(Nc / Nd) - kT * std::log(elementary_charge * S * Nv / (10.0 * J));
        // Bending of the absorber's bands from p = Na to p = Jph/(q S), exact for a neutral or depleted layer.
        const double bending = std::log(Na * elementary_charge * S / (10.0 * J));
        const double field =
            std::sqrt(2.0 * elementary_charge * Na * kT / eps_SI * (bending - 1.0 + std::exp(-bending)));
        const double debye = std::sqrt(eps_SI * kT / (elementary_charge * Nd));
        // 0.3 mV: the window's drop is not quite linear, and the light adds some charge to the absorber.
        EXPECT_NEAR(Voc, plain - field * debye + kT * S / (mu * field), 3e-4) << S;
    }
}

}  // namespace
}  // namespace kovin::testing
