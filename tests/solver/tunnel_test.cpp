// Tunnel paths: the exponent against closed forms, the equations with them against differences, what opens and shuts
// them.
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/interface_terms.h"
#include "solver/newton_steps.h"
#include "solver/small_signal.h"
#include "solver/tunnel_ends.h"
#include "solver/tunnel_junctions.h"
#include "solver/tunnel_paths.h"
#include "solver/tunnel_solve.h"
#include "solver/tunnel_states.h"
#include "solver/tunnel_walk.h"
#include "solver/tunnel_wkb.h"
#include "tunnel_cells.h"
#include "tunnel_quadrature.h"

#include <gtest/gtest.h>

#include <array>
#include <numbers>
#include <utility>

namespace kovin {
namespace {

using namespace testing;
using namespace testing::tunnelling;

TEST(Wkb, IsExactForStraightBarriersAndAtTheirEdges)
{
    const std::vector<double> h{0.25, 0.5, 0.0, 1.25};
    const std::vector<double> rectangle(5, 9.0);
    EXPECT_NEAR(wkb_integral(rectangle.data(), h.data(), 0, 4, 5.0), 1.5 * 2.0 * 2.0, 1e-15 * 6.0);
    // From 8 at the left down to 0 over a length of 2: the carrier at 2 turns round at 1.5.
    const std::vector<double> triangle{8.0, 7.0, 5.0, 5.0, 0.0};
    EXPECT_NEAR(wkb_integral(triangle.data(), h.data(), 0, 4, 2.0), std::pow(6.0, 1.5) / 4.0, 1e-15 * 4.0);
    EXPECT_EQ(wkb_integral(triangle.data(), h.data(), 0, 4, 8.0), 0.0);
    // Steps that are nearly flat lose nothing.
    for (const double rise : {1e-3, 1e-9, 1e-12, 0.0})
        EXPECT_NEAR(wkb_step(4.0, 4.0 + rise), 1.5 * (2.0 + 0.125 * rise), 1e-2 * rise * rise + 1e-15) << rise;
    // 0.5 eV over 5 nm with a mass of 0.3.
    EXPECT_NEAR(wkb_unit(0.0259, 5e-9) * std::sqrt(0.3) * 1.5 * std::sqrt(0.5 / 0.0259), 19.84, 0.005);
    const double masses[] = {0.2, 0.8, 0.5, 0.4, 0.16, 0.2};
    for (int choice = 0; choice < 6; ++choice)
        EXPECT_NEAR(ChooseTunnelMass(0.2, 0.8, choice), masses[choice], 1e-15) << choice;
    EXPECT_EQ(ChooseTunnelMass(0.0, 0.0, 4), 0.0);
}

TEST(Wkb, SupplyIsThatOfStatesWithOneCarrierEach)
{
    for (const double a : {0.0, 1e-9, 1e-3, 1.0, 1e5, 1e200})
        for (const double b : {0.0, 1e-9, 1e-3, 0.9, 1e8}) {
            const double limit = supply_limit(a, b), exact = std::log1p(a) - std::log1p(b);
            EXPECT_NEAR(limit * (a - b), exact, 1e-6 * std::fabs(exact)) << a << ' ' << b;
            EXPECT_EQ(limit, supply_limit(b, a));
            EXPECT_TRUE(limit > 0.0 && limit <= 1.0) << a << ' ' << b;
        }
    for (const double a : {0.5, 1e6}) {
        EXPECT_NEAR(supply_limit(a, a) * (1.0 + a), 1.0, 1e-15);
        EXPECT_NEAR(supply_limit(a * (1.0 + 1e-15), a) * (1.0 + a), 1.0, 1e-14) << "nothing cancels";
    }
    EXPECT_TRUE(std::isfinite(supply_limit(HUGE_VAL, HUGE_VAL)));
}

/// A state with levels that vary from point to point, so that no path is idle.
void disturb(Device& device)
{
    for (std::size_t i = 0; i < device.cv.psi.size(); ++i) {
        device.cv.Fn[i] += 0.3 * std::sin(0.37 * static_cast<double>(i));
        device.cv.Fp[i] += 0.3 * std::cos(0.41 * static_cast<double>(i));
    }
    update_Fn(device.cv);
    update_Fp(device.cv);
}

/// The equations with the means of states put in: each is a sum over points.
void write_out_means(TunnelWork& t, const Tridiagonal& jac)
{
    const std::size_t N = jac.main.size();
    const std::vector<TunnelElement> elements = std::exchange(t.outside, {});
    const auto add = [&](std::size_t row, std::size_t column, double value) {
        if (row == column)
            jac.main[row] += value;
        else if (column == row + 1)
            jac.super[row] += value;
        else if (column + 1 == row)
            jac.sub[row] += value;
        else
            t.outside.push_back({row, column, value});
    };
    for (const TunnelElement& e : elements) {
        if (e.row >= N) continue;
        if (e.column < N) add(e.row, e.column, e.value);
        for (const TunnelElement& mean : elements)
            if (e.column >= N && mean.row == e.column && mean.column < N) add(e.row, mean.column, e.value * mean.value);
    }
}

// Both ways to solve meet the right-hand side in every row; where a barrier cuts carriers off their solutions may
// differ.
TEST(Tunnelling, JacobianIsTheDerivativeAndBothSolversSolveIt)
{
    for (const Case& c : cases())
        for (const Carrier carrier : {Carrier::electrons, Carrier::holes}) {
            Device device(c.cell, 300.0, fixed_mesh);
            ASSERT_TRUE(device.solve_equilibrium() && device.go_to(c.V)) << c.name;
            disturb(device);
            const Problem problem = device.problem();
            Workspace& work = device.memory.work;
            CalculationVariables& cv = device.cv;
            find_tunnel_paths(problem, cv, Carrier::electrons, work.tunnel);
            find_tunnel_paths(problem, cv, carrier, work.tunnel);
            totale_ifrdcbijdrage(problem, cv);
            const std::size_t N = cv.psi.size();
            const bool electrons = carrier == Carrier::electrons;
            const std::vector<double> X = electrons ? cv.expFn : cv.expmFp;

            std::vector<double> main(N, 0.0), sub(N, 0.0), super(N, 0.0), scale(N, 1e-300);
            // The currents into states hang on the points of their paths: they belong to what is compared.
            const Discretisation& g = problem.grid;
            const auto per_current = [&](std::size_t i) {
                return electrons ? g.n_C[i] / cv.bn[i] : g.p_C[i] / cv.bp[i];
            };
            for (std::size_t j = 0; j + 1 < device.layers(); ++j) {
                const std::size_t l = device.last(j), f = l + 1;
                const StateCurrent left = current_beside_interface(cv, carrier, j, false);
                const StateCurrent right = current_beside_interface(cv, carrier, j, true);
                main[l] = per_current(l) * left.dI_dleft;
                super[l] = per_current(l) * left.dI_dright;
                sub[f] = per_current(f) * right.dI_dleft;
                main[f] = per_current(f) * right.dI_dright;
            }
            add_tunnel_jacobian(work.tunnel, cv, carrier, {sub, main, super});
            write_out_means(work.tunnel, {sub, main, super});
            std::vector<double> dense(N * N, 0.0);
            for (std::size_t i = 0; i < N; ++i) {
                dense[i * N + i] = main[i];
                if (i > 0) dense[i * N + i - 1] = sub[i];
                if (i + 1 < N) dense[i * N + i + 1] = super[i];
            }
            for (const TunnelElement& e : work.tunnel.outside) dense[e.row * N + e.column] += e.value;
            std::vector<double> plus(N), minus(N);
            for (std::size_t k = 0; k < N; ++k) {
                const auto residual = [&](double factor, std::vector<double>& res) {
                    const double before = std::exchange((electrons ? cv.Fn : cv.Fp)[k],
                                                        (electrons ? cv.Fn[k] + factor : cv.Fp[k] - factor));
                    electrons ? update_Fn(cv) : update_Fp(cv);
                    totale_ifrdcbijdrage(problem, cv);
                    std::fill(res.begin(), res.end(), 0.0);
                    for (std::size_t j = 0; j + 1 < device.layers(); ++j) {
                        const std::size_t l = device.last(j), f = l + 1;
                        res[l] -= per_current(l) * current_beside_interface(cv, carrier, j, false).I;
                        res[f] -= per_current(f) * current_beside_interface(cv, carrier, j, true).I;
                    }
                    add_tunnel_residue(work.tunnel, cv, carrier, res);
                    (electrons ? cv.Fn : cv.Fp)[k] = before;
                };
                constexpr double step = 3e-4;
                residual(step, plus);
                residual(-step, minus);
                for (std::size_t i = 0; i < N; ++i) {
                    const double slope = -(plus[i] - minus[i]) / (2.0 * step * X[k]);
                    const double size = std::fabs(dense[i * N + i]) + std::fabs(slope);
                    ASSERT_NEAR(dense[i * N + k], slope, 1e-6 * size) << c.name << " row " << i << " column " << k;
                }
            }

            electrons ? update_Fn(cv) : update_Fp(cv);
            totale_ifrdcbijdrage(problem, cv);
            const auto full = [&] {
                calculate_dc_residue(problem, cv, carrier, work.res);
                calculate_dc_jacobian(problem, cv, carrier, {work.sub, work.main, work.super});
                add_tunnel_residue(work.tunnel, cv, carrier, work.res);
                add_tunnel_jacobian(work.tunnel, cv, carrier, {work.sub, work.main, work.super});
                find_row_sums(problem, cv, carrier, work.tunnel);
            };
            const auto solved = [&](bool bordered) {
                full();
                if (!bordered) write_out_means(work.tunnel, {work.sub, work.main, work.super});
                const std::vector<double> A_main = work.main, A_sub = work.sub, A_super = work.super, b = work.res;
                const bool done = bordered ? solve_bordered(work, electrons ? work.tunnel.n : work.tunnel.p)
                                           : calculate_dc_delta_u_or_v_sparse(work);
                std::vector<double> left(N, 0.0), size(N, 0.0);
                const auto add = [&](std::size_t row, std::size_t column, double value) {
                    left[row] += value * work.delta[column];
                    size[row] += std::fabs(value * work.delta[column]);
                };
                for (std::size_t i = 0; i < N; ++i) {
                    add(i, i, A_main[i]);
                    if (i > 0) add(i, i - 1, A_sub[i]);
                    if (i + 1 < N) add(i, i + 1, A_super[i]);
                }
                const auto mean = [&](std::size_t column) {
                    double sum = 0.0;
                    for (const TunnelElement& e : work.tunnel.outside)
                        if (e.row == column && e.column < N) sum += e.value * work.delta[e.column];
                    return sum;
                };
                for (const TunnelElement& e : work.tunnel.outside)
                    if (e.row < N && e.column < N) {
                        add(e.row, e.column, e.value);
                    } else if (e.row < N) {
                        left[e.row] += e.value * mean(e.column);
                        size[e.row] += std::fabs(e.value * mean(e.column));
                    }
                double worst = done ? 0.0 : 1.0;
                for (std::size_t i = 0; i < N; ++i) worst = std::max(worst, std::fabs(left[i] - b[i]) / size[i]);
                return worst;
            };
            EXPECT_LT(solved(false), 1e-12) << c.name;
            EXPECT_LT(solved(true), 1e-12) << c.name;
        }
}

// Sources on both sides of their targets, pairs around a barrier, one of which ends at a source.
TEST(Tunnelling, BorderAndEnvelopeGiveOneSolutionOnLongMeshes)
{
    for (const std::size_t N : {60U, 600U, 3600U}) {
        Workspace w;
        w.resize(N, 1, false);
        TunnelPaths found;
        const auto path = [&](std::size_t from, std::size_t to) {
            found.paths.push_back({static_cast<int>(from), static_cast<int>(to), 0.0, 0.0, 0.0});
        };
        for (std::size_t k = 2; k < N / 20; ++k) path(N / 2 - k, N / 2 + k);
        path(N / 2 - N / 20, N / 3 * 2);
        found.pairs = found.paths.size();
        for (const std::size_t source : {N / 3, N / 3 + 1, N / 3 * 2})
            for (std::size_t k = 2; k < N / 10; ++k) path(source, source == N / 3 ? source - k : source + k);
        const auto solution = [&](bool bordered) {
            w.tunnel.outside.clear();
            for (std::size_t i = 0; i < N; ++i) {
                const double x = static_cast<double>(i);
                w.sub[i] = -1.0 - 0.3 * std::sin(x);
                w.super[i] = -1.0 - 0.3 * std::cos(2.0 * x);
                w.main[i] = 0.01 - w.sub[i] - w.super[i];
                w.res[i] = std::sin(0.7 * x * x);
            }
            double strength = 0.1;
            for (const TunnelPath& t : found.paths) {
                const auto s = static_cast<std::size_t>(t.source), e = static_cast<std::size_t>(t.target);
                strength = std::fmod(strength + 0.37, 1.0);
                w.main[s] += strength;
                w.main[e] += strength;
                w.tunnel.outside.push_back({s, e, -strength});
                w.tunnel.outside.push_back({e, s, -strength});
            }
            EXPECT_TRUE(bordered ? solve_bordered(w, found) : calculate_dc_delta_u_or_v_sparse(w)) << N;
            return w.delta;
        };
        const std::vector<double> a = solution(true), b = solution(false);
        EXPECT_EQ(w.tunnel.border.size(), 3U);
        EXPECT_FALSE(w.tunnel.inside.empty());
        const double size = *std::max_element(b.begin(), b.end());
        for (std::size_t i = 0; i < N; ++i) ASSERT_NEAR(a[i], b[i], 1e-12 * size) << N << " at " << i;
    }
}

// A state captures the carriers beside it and those whose energy lies above it; it gives as many electrons as holes, at
// the points that its paths lead to. In the cold nearly all comes by tunnelling, and where both layers are degenerate
// energies below their levels give little: what they hold meets no room to come back.
TEST(Tunnelling, StatesCaptureFromTheFlanksOfBothBands)
{
    CellParameters degenerate = junction_with_states();
    set_uniform(degenerate.layer[0].material.Na, 1e26);
    set_uniform(degenerate.layer[1].material.Nd, 1e26);
    const struct {
        const char* name;
        CellParameters cell;
        double T, V, least_gain;
        double least_boltzmann;  ///< supply without that limit, against it
    } rows[] = {{"one level", junction_with_states(), 300.0, 0.3, 50.0, 1.0},
                {"spread, mirrored", mirrored(junction_with_spread_states()), 300.0, -0.3, 50.0, 1.0},
                {"cold", junction_with_states(), 100.0, 0.3, 1e14, 1.0},
                {"degenerate", degenerate, 300.0, 0.1, 50.0, 1.5}};
    for (const auto& [name, cell, T, V, least_gain, least_boltzmann] : rows) {
        SCOPED_TRACE(name);
        Device device(cell, T, fixed_mesh);
        const bool n_left = V < 0.0;
        ASSERT_TRUE(device.solve_equilibrium() && device.solve());
        EXPECT_EQ(device.cv.J_median, 0.0);
        ASSERT_TRUE(device.go_to(V, 2));
        const CalculationVariables& cv = device.cv;
        TunnelWork& work = device.memory.work.tunnel;
        find_paths_into_states(device.problem(), device.cv, work);
        totale_ifrdcbijdrage(device.problem(), device.cv);
        const std::size_t l = device.last(0);
        const auto from = [&](double bottom, bool right, bool electrons, Drive drive) {
            const auto& E = electrons ? work.Ec : work.Ev;
            const auto split = E.begin() + static_cast<std::ptrdiff_t>(l) + (right ? 1 : 0);
            const double end = right ? *std::min_element(split, E.end()) : *std::min_element(E.begin(), split + 1);
            return descent(device, E, right ? l + 1 : l, right ? 1 : -1, std::max(bottom, end), 0.1, device.set3.on.m_e,
                           0.0, 1.0, electrons ? cv.expFn : cv.expmFp, drive);
        };
        const Drive room = [](double level, double, double X) { return 1.0 / (1.0 + X * std::exp(-level)); };
        const Drive no_limit = [](double, double, double) { return 1.0; };
        double n_sum = 0.0, p_sum = 0.0, gain_sum = 0.0, boltzmann_sum = 0.0;
        for (std::size_t e = 0; e < cv.tunnel_states.energies.size(); ++e) {
            const InterfaceEnergy &with = cv.tunnel_states.energies[e],
                                  &plain = device.memory.interface_states.energies[e];
            const double level = with.above_EV_left / device.set3.kT - work.Ev[l];
            const double got[] = {with.cnL / plain.cnL, with.cnR / plain.cnR, with.cpL / plain.cpL,
                                  with.cpR / plain.cpR};
            for (std::size_t k = 0; k < 4; ++k) {
                const double exact = from(k < 2 ? level : -level, k % 2 == 1, k < 2, room);
                EXPECT_NEAR(got[k] / (1.0 + exact), 1.0, 1e-3) << e << " " << k;
                boltzmann_sum += from(k < 2 ? level : -level, k % 2 == 1, k < 2, no_limit);
            }
            const InterfaceTerms& t = cv.tunnel_states.terms[e];
            n_sum += device.set3.scale.N0[0] * t.In_left + device.set3.scale.N0[1] * t.In_right;
            p_sum += device.set3.scale.N0[0] * t.Ip_left + device.set3.scale.N0[1] * t.Ip_right;
            gain_sum += got[0] + got[1] + got[2] + got[3];
        }
        EXPECT_GT(gain_sum, least_gain);
        EXPECT_GT(boltzmann_sum / gain_sum, 0.9 * least_boltzmann);
        EXPECT_NEAR(n_sum, p_sum, 1e-13 * std::fabs(n_sum));
        const InterfaceCurrents c = interface_currents(device.problem(), cv, 0);
        const double tunnelling = std::fabs(c.n_left - c.n_left_direct + c.n_right - c.n_right_direct);
        EXPECT_GT(tunnelling, 0.5 * std::fabs(c.recombination()));
        if (!n_left) {  // one state, and levels that are flat along its paths
            const double gain = cv.tunnel_states.energies[0].cnR / device.memory.interface_states.energies[0].cnR;
            EXPECT_NEAR(c.n_right / c.n_right_direct / gain, 1.0, 1e-3);
        }
        // What tunnels from the flanks stands in the currents beside the interface.
        EXPECT_LE(std::fabs(cv.jn_tunnel[n_left ? l - 1 : l + 1]), tunnelling);
        EXPECT_GT(std::fabs(cv.jn_tunnel[n_left ? l - 1 : l + 1]), 0.8 * tunnelling);
    }
}

// In light electrons leave through a flank whose level falls steeply: few are there for the states to take, however
// well their paths transmit.
TEST(Tunnelling, StatesTakeNoMoreThanTheFlanksHold)
{
    const auto J = [](int paths) {
        CellParameters cell = cliff_cell();
        for (std::size_t j = 0; j < 3; ++j) {
            set_uniform(cell.layer[j].material.m_e, 0.1);
            set_uniform(cell.layer[j].material.m_h, 0.1);
        }
        add_sheet(cell, 0, DefectType::acceptor, 2.5e17, EnergyReference::above_highest_EV, 0.1, 1e-20, 1e-20);
        for (InterfaceRecombinationParameters& d : cell.interfaces[0].defects) {
            d.tunneling = true;
            d.m_e = d.m_h = 0.1;
        }
        Device device(cell, 300.0, [=](ConvergenceParameters& c) {
            c.tunnel_paths = paths;
            c.Tunneliface_allowed = 1;
        });
        device.illuminate_exponentially(30.0, 3e-7);
        EXPECT_TRUE(device.solve_equilibrium() && device.solve());
        EXPECT_LT(device.cv.iterations, 20);
        EXPECT_NEAR(device.recombination_minus_generation(true), device.cv.J_median, 1e-4);
        double gain = 0.0;
        for (const TunnelStates::Group& group : device.cv.tunnel_states.n.groups) gain = std::max(gain, group.gain);
        EXPECT_TRUE(paths == 1 || gain > 100.0);
        return device.cv.J_median;
    };
    const double shut = J(1);
    EXPECT_NEAR(J(2), shut, 0.05 * std::fabs(shut));
}

// The same in the cold, where what the flank holds is lost in the digits of what the interface does.
TEST(Tunnelling, InColdLightStatesTakeTheMeanOfTheirPaths)
{
    for (const double T : {150.0, 110.0, 77.0}) {
        Device device(junction_with_states(), T, fixed_mesh);
        device.illuminate_exponentially(30.0, 3e-7);
        ASSERT_TRUE(device.solve_equilibrium() && device.solve()) << T;
        const CalculationVariables& cv = device.cv;
        const std::size_t l = device.last(0), f = l + 1;
        const auto mean = [&](const TunnelStates::Carriers& found, const std::vector<double>& X, bool right) {
            const int number = found.group_of[0][right];
            if (number < 0) return X[right ? f : l];
            const TunnelStates::Group& group = found.groups[static_cast<std::size_t>(number)];
            double sum = 0.0;
            for (std::size_t k = group.first_path; k < group.end_path; ++k)
                sum += found.paths[k].share * X[found.paths[k].point];
            return sum;
        };
        const TunnelStates& states = cv.tunnel_states;
        const double u = mean(states.n, cv.expFn, true);
        EXPECT_TRUE(T > 110.0 || u < 1e-12 * cv.expFn[f]) << u / cv.expFn[f];
        const double nL = cv.bn[l] * mean(states.n, cv.expFn, false), nR = cv.bn[f] * u;
        const double pL = cv.bp[l] * mean(states.p, cv.expmFp, false), pR = cv.bp[f] * mean(states.p, cv.expmFp, true);
        const InterfaceEnergy& s = states.energies[0];
        const double fills = s.cnL * nL + s.cnR * nR + s.cpL * s.epL + s.cpR * s.epR;
        const double empties = s.cpL * pL + s.cpR * pR + s.cnL * s.enL + s.cnR * s.enR;
        const double taken = s.Nt / (device.set3.scale.N0[1] * device.set3.scale.x0) * s.cnR *
                             (nR * empties - s.enR * fills) / (fills + empties);
        EXPECT_NEAR(states.terms[0].In_right / taken, 1.0, 1e-6) << T;
    }
}

TEST(Tunnelling, IntoStatesFollowsTheirSwitchAndConvergesForAnyNumber)
{
    const auto allow = [](int paths, int allowed) {
        return [=](ConvergenceParameters& c) {
            c.recalculate_mesh = 0;
            c.tunnel_paths = paths;
            c.Tunneliface_allowed = allowed;
        };
    };
    CellParameters shut = junction_with_states();
    shut.interfaces[0].defects[0].tunneling = false;
    const double off = current(shut, 0.4, allow(2, 0));
    EXPECT_EQ(current(shut, 0.4, allow(2, 1)), off);
    EXPECT_EQ(current(junction_with_states(), 0.4, allow(2, 0)), off);
    EXPECT_EQ(current(junction_with_states(), 0.4, allow(1, 1)), off);
    const double open = current(junction_with_states(), 0.4, allow(2, 1));
    EXPECT_GT(open, 5.0 * off);
    EXPECT_EQ(current(shut, 0.4, allow(0, 0)), current(junction_with_states(), 0.4, allow(0, 0)));
    CellParameters heavy = junction_with_states();
    heavy.interfaces[0].defects[0].m_e = heavy.interfaces[0].defects[0].m_h = 0.2;
    for (LayerParameters& layer : heavy.layer) {
        set_uniform(layer.material.m_e, 0.2);
        set_uniform(layer.material.m_h, 0.2);
    }
    EXPECT_LT(current(heavy, 0.4, allow(2, 1)), 0.8 * open);
    for (const double N : {1e17, 1e18}) {
        Device device(junction_with_states(N), 300.0, allow(0, 0));
        ASSERT_TRUE(device.solve_equilibrium() && device.solve()) << N;
        EXPECT_EQ(device.cv.J_median, 0.0) << N;
        ASSERT_TRUE(device.go_to(0.4, 2)) << N;
        EXPECT_LT(device.cv.iterations, 10) << N;
        EXPECT_GT(10.0 * std::log10(device.cv.J_median / open), 5.0) << N;
    }
}

TEST(Tunnelling, SmallSignalsOfStatesAreThoseOfTheirPathsAtEquilibriumToo)
{
    const auto conductance = [](double V) {
        Device device(junction_with_states(), 300.0, [](ConvergenceParameters& c) { c.tunnel_paths = 0; });
        EXPECT_TRUE(device.solve_equilibrium() && (V == 0.0 || device.go_to(V, 1))) << V;
        SmallSignalWork work;
        SmallSignal answer;
        EXPECT_TRUE(calculate_small_signal_ac(device.problem(), device.cv, 0.1, work, answer));
        return answer.J_mean.re;
    };
    EXPECT_NEAR(conductance(0.0) / conductance(1e-4), 1.0, 0.01);
}

// What stops the classic route far in reverse is told, with the way out.
TEST(Tunnelling, BeyondTheRangeOfExponentialsTheAdviceIsToCloseThePaths)
{
    for (const bool open : {true, false}) {
        CellParameters cell = silicon_junction();
        cell.right.tunneling = open;
        Device device(cell, 300.0, fixed_mesh);
        ASSERT_TRUE(device.solve_equilibrium() && device.go_to(-16.0, 32));
        const double Fn = device.cv.Fn.back();
        EXPECT_FALSE(device.go_to(-20.0, 8));
        EXPECT_EQ(device.cv.Fn.back() == Fn, open) << "with paths it is told at once";
        EXPECT_EQ(device.cv.V == -20.0, open);
        const std::string advice = failure_advice(device.problem(), device.memory.work);
        EXPECT_NE(advice.find("out of the range of numbers"), std::string::npos) << advice;
        EXPECT_EQ(advice.find("all tunnel paths closed") != std::string::npos, open) << advice;
        // In light at 0 V there was no step of the voltage.
        Device lit(cell, 300.0, [](ConvergenceParameters& c) {
            fixed_mesh(c);
            c.maxiter = 1;
        });
        lit.illuminate_exponentially(30.0, 2e-7);
        ASSERT_TRUE(lit.solve_equilibrium());
        EXPECT_FALSE(lit.solve());
        EXPECT_EQ(failure_advice(lit.problem(), lit.memory.work).find("Smaller steps"), std::string::npos);
    }
}

// At the energies of a step of the band there are states on its lower side alone.
TEST(Tunnelling, OverAStepCarriersEndAtItsFoot)
{
    Device device(metal_on_barrier(), 300.0, fixed_mesh);
    ASSERT_TRUE(device.solve_equilibrium());
    find_tunnel_paths(device.problem(), device.cv, Carrier::electrons, device.memory.work.tunnel);
    double head = 0.0, foot = 0.0;
    for (const TunnelPath& t : device.memory.work.tunnel.n.paths) {
        if (t.target == static_cast<int>(device.last(0))) head += t.strength;
        if (t.target == static_cast<int>(device.last(0)) + 1) foot += t.strength;
    }
    EXPECT_GT(foot, 0.0);
    EXPECT_LT(head, 0.1 * foot);
}

// The current does not depend on the elements outside the band, but a strong path takes more passes without them.
TEST(Tunnelling, ElementsOutsideTheBandSavePasses)
{
    for (const int use : {0, 1, 3}) {
        const auto settings = [use](int limit) {
            return [=](ConvergenceParameters& c) {
                fixed_mesh(c);
                c.use_sparse_n = c.use_sparse_p = use;
                c.maxiter_n = c.maxiter_p = limit;
            };
        };
        for (const CellParameters& cell : {window(), thin_barrier(), junction_with_states()})
            EXPECT_NEAR(current(cell, 0.02, settings(100)) / current(cell, 0.02), 1.0, 1e-5) << use;
        Device device(thin_barrier(), 300.0, settings(5));
        ASSERT_TRUE(device.solve_equilibrium());
        EXPECT_EQ(device.go_to(0.02), use != 0) << use;
    }
}

TEST(Tunnelling, FollowsMassWindowAndSettings)
{
    const auto J = [](double m, double Nd, double least) {
        CellParameters cell = window(Nd);
        open(cell.interfaces[0], m);
        return current(cell, 0.02, [=](ConvergenceParameters& c) {
            fixed_mesh(c);
            c.tunnel_barrier_minimum = least;
        });
    };
    EXPECT_GT(std::fabs(J(0.05, 3e24, 2.0)), 1.3 * std::fabs(J(0.075, 3e24, 2.0)));
    const double closed = current(window(), 0.02, [](ConvergenceParameters& c) {
        all_kinds(c);
        c.recalculate_mesh = 0;
        c.tunnel_paths = 1;
    });
    EXPECT_NEAR(J(0.075, 3e24, 1e3) / closed, 1.0, 1e-12) << "no barrier is high enough";
    CellParameters shut = window();
    shut.interfaces[0].tunneling = false;
    EXPECT_EQ(current(shut, 0.02), closed);
    EXPECT_EQ(current(shut, 0.02,
                      [](ConvergenceParameters& c) {
                          c.recalculate_mesh = 0;
                          c.tunnel_paths = 0;
                          c.TunnelMassChoice = 1;
                      }),
              current(window(), 0.02,
                      [](ConvergenceParameters& c) {
                          c.recalculate_mesh = 0;
                          c.tunnel_paths = 0;
                          c.TunnelMassChoice = 1;
                      }))
        << "all paths are open whatever the cell says, but for the masses";
}

// Zener: the reverse current goes as exp(-const/field); the field of an abrupt junction rises with the square root of
// doping and voltage.
TEST(Tunnelling, FromBandToBandGrowsWithTheFieldAndNeedsCrossedBands)
{
    const auto J = [](double N, double V) {
        Device device(tunnel_diode(N), 300.0, fixed_mesh);
        EXPECT_TRUE(device.solve_equilibrium() && device.go_to(V, 4));
        double sum = 0.0, field = 0.0;
        for (const double j : device.cv.jn_tunnel) sum = std::min(sum, j);
        for (std::size_t i = 1; i < device.cv.psi.size(); ++i)
            if (device.cv.mesh.h[i - 1] > 0.0)
                field = std::max(field, std::fabs(device.cv.psi[i] - device.cv.psi[i - 1]) / device.cv.mesh.h[i - 1]);
        return std::pair(std::fabs(sum), field);
    };
    EXPECT_EQ(J(2e23, 0.3).first, 0.0) << "no state of one band lies beside one of the other";
    std::array<std::pair<double, double>, 3> points{J(1.0e25, -0.6), J(1.3e25, -0.6), J(1.7e25, -0.6)};
    const auto slope = [&](std::size_t a, std::size_t b) {
        return (std::log(points[b].first) - std::log(points[a].first)) /
               (1.0 / points[a].second - 1.0 / points[b].second);
    };
    EXPECT_GT(slope(0, 1), 0.0);
    EXPECT_NEAR(slope(1, 2) / slope(0, 1), 1.0, 0.15);
}

void allow_band_to_band(ConvergenceParameters& c) { c.TunnelBtoB_allowed = c.Tunnelintraband_allowed = 1; }

void expect_one_current(const Device& device, double tolerance)
{
    EXPECT_NEAR(device.memory.work.currents.j_tot.front(), device.cv.J_median, tolerance);
    EXPECT_NEAR(device.memory.work.currents.j_tot.back(), device.cv.J_median, tolerance);
}

// One current along a stack: subcells in series share its voltage, and the one with least light sets the current.
TEST(Tunnelling, AJunctionInsideAStackPutsSubcellsInSeries)
{
    const auto voltage = [](const CellParameters& subcell, double J) {  // of a subcell alone
        Device device(subcell, 300.0, allow_band_to_band);
        EXPECT_TRUE(device.solve_equilibrium());
        double before = 0.0;
        for (double V = 0.02; V < 0.9; V += 0.02) {
            EXPECT_TRUE(device.go_to(V)) << V;
            if (device.cv.J_median > J)
                return V - 0.02 * std::log(device.cv.J_median / J) / std::log(device.cv.J_median / before);
            before = device.cv.J_median;
        }
        return 0.0;
    };
    struct Stack {
        CellParameters cell;
        std::vector<CellParameters> subcells;
        std::vector<double> voltages;
    };
    const Stack stacks[] = {{tandem(), {subcell(0), subcell(1)}, {0.4, 0.8, 1.1}},
                            {three_junctions(), {graded_subcell(0), graded_subcell(1), graded_subcell(2)}, {1.0, 1.6}}};
    for (const Stack& stack : stacks) {
        Device dark(stack.cell, 300.0, allow_band_to_band);
        ASSERT_TRUE(dark.solve_equilibrium());
        for (const double V : stack.voltages) {
            ASSERT_TRUE(dark.go_to(V, 4)) << V;
            EXPECT_LT(dark.cv.iterations, 20) << V;
            const double J = dark.cv.J_median;
            // In a heavily doped layer at a contact single currents drown in rounding.
            if (stack.subcells.size() == 2) expect_one_current(dark, 1e-3 * J + 5e-3);
            double sum = 0.0;
            for (const CellParameters& subcell : stack.subcells) sum += voltage(subcell, J);
            EXPECT_NEAR(sum, V, 3e-3) << stack.subcells.size();
        }
    }
    // 30 mA/cm2 from the right, of which the left subcell absorbs those that pass 0.64 um.
    Device lit(tandem(), 300.0, allow_band_to_band);
    lit.illuminate_exponentially(30.0, 2e-7);
    ASSERT_TRUE(lit.solve_equilibrium() && lit.solve());
    expect_one_current(lit, 5e-3);
    const double left = 30.0 * std::exp(-0.62 / 0.2);
    EXPECT_LT(std::fabs(lit.cv.J_median), left + 0.02);
    EXPECT_GT(std::fabs(lit.cv.J_median), 0.5 * left);
}

// Through a spike behind a junction the current is that of the stack, point for point, however little the spike holds.
TEST(Tunnelling, ASpikeBehindAJunctionLeavesTheCurveSmooth)
{
    std::vector<double> ln_J[2];
    for (const bool open_spike : {false, true}) {
        const CellParameters cell = stack_with_spike(1e26, open_spike);
        Device dark(cell, 300.0, allow_band_to_band);
        ASSERT_TRUE(dark.solve_equilibrium() && dark.go_to(0.9, 3));
        for (double V = 0.9; V < 1.0; V += 0.01) {
            ASSERT_TRUE(dark.go_to(V)) << V;
            EXPECT_LT(dark.cv.iterations, 20) << V;
            ln_J[open_spike].push_back(std::log(dark.cv.J_median));
        }
        Device lit(cell, 300.0, allow_band_to_band);
        lit.illuminate_exponentially(30.0, 2e-7);
        ASSERT_TRUE(lit.solve_equilibrium() && lit.solve()) << open_spike;
        EXPECT_LT(lit.cv.iterations, 60);
    }
    for (std::size_t k = 0; k < ln_J[0].size(); ++k) EXPECT_NEAR(ln_J[0][k], ln_J[1][k], 1e-4) << k;
}

// A junction whose bands do not cross in light passes nothing: the stack is what it is without paths.
TEST(Tunnelling, AJunctionThatDoesNotConductConvergesInLight)
{
    for (const double N : {1e25, 2e25}) {
        double J[2];
        for (const int paths : {1, 2}) {
            Device lit(stack_with_spike(N, true), 300.0, [=](ConvergenceParameters& c) {
                allow_band_to_band(c);
                c.tunnel_paths = paths;
                c.route = Route::fast;  // not with paths
            });
            lit.illuminate_exponentially(30.0, 3e-7);
            ASSERT_TRUE(lit.solve_equilibrium() && lit.solve()) << N << ' ' << paths;
            J[paths - 1] = lit.cv.J_median;
        }
        EXPECT_NEAR(J[1] / J[0], 1.0, 1e-3) << N;
    }
}

// Rows that nothing but a leak of 1e-22 at one point holds: the sum of all rows tells what stands there.
TEST(Tunnelling, LeaksAreNotLostInTheCouplings)
{
    constexpr std::size_t N = 40;
    constexpr double leak = 1e-22;
    const auto coupling = [](std::size_t i) { return std::pow(10.0, 4.0 * std::sin(static_cast<double>(i))); };
    for (const std::size_t paths : {0U, 8U}) {
        Workspace w;
        w.resize(N, 1, false);
        for (std::size_t i = 0; i < N; ++i) {
            w.sub[i] = i > 0 ? -coupling(i) : 0.0;
            w.super[i] = i + 1 < N ? -coupling(i + 1) : 0.0;
            w.main[i] = -w.sub[i] - w.super[i] + (i == 0 ? leak : 0.0);
            w.res[i] = i == N - 1 ? 1.0 : 0.0;
        }
        for (const std::size_t source : {N / 3, N / 2})
            for (std::size_t target = source + 2; target < source + 2 + paths; ++target) {
                const double c = coupling(3 * target);
                w.main[source] += c;
                w.main[target] += c;
                w.tunnel.n.paths.push_back({static_cast<int>(source), static_cast<int>(target), 0.0, 0.0, 0.0});
                w.tunnel.outside.push_back({source, target, -c});
                w.tunnel.outside.push_back({target, source, -c});
            }
        w.tunnel.row_sums.assign(N, 0.0);
        w.tunnel.row_sums[0] = leak;
        ASSERT_TRUE(solve_with_tunnel_paths(Carrier::electrons, w));
        for (const double x : w.delta) EXPECT_NEAR(x * leak, 1.0, 1e-12) << paths;
    }
    // Two chains that paths link in the middle; one within the first chain passes a point by.
    JunctionWork j;
    for (JunctionWork::Chain* c : {&j.n, &j.p}) {
        for (auto* v : {&c->left, &c->right, &c->sum, &c->res, &c->pivot, &c->step}) v->assign(N, 0.0);
        for (std::size_t i = 1; i < N; ++i) c->left[i] = c->right[i - 1] = coupling(i);
        for (std::size_t k = 0; k < 9; ++k) c->ends.push_back(N / 3 + k + (c == &j.p ? 2 * k : 0));
    }
    const auto link = [&](std::size_t a, std::size_t b) {
        j.couplings.push_back({a, b, coupling(a + b)});
        j.couplings.push_back({b, a, coupling(a + b)});
    };
    for (std::size_t k = 0; k < 9; ++k) link(k, 17 - k);
    link(2, 4);
    j.n.sum[0] = leak;
    j.p.res[N - 1] = 1.0;
    j.sums.assign(18, 0.0);
    eliminate_between_ends(j.n);
    eliminate_between_ends(j.p);
    solve_ends(j);
    steps_between_ends(j.n, j.steps.data());
    steps_between_ends(j.p, j.steps.data() + 9);
    for (const auto* c : {&j.n, &j.p})
        for (const double x : c->step) EXPECT_NEAR(x * leak, 1.0, 1e-12);
}

// Where paths leave no stretch between them and a contact, the current of the contact counts.
TEST(Tunnelling, AJunctionAtAContactIsComparedWithIt)
{
    CellParameters cell = subcell(0);
    add(cell, silicon, 2e-9, 0.0, 1e26, 0.1).material.tunneling = true;
    Device device(cell, 300.0, allow_band_to_band);
    ASSERT_TRUE(device.solve_equilibrium() && device.go_to(0.6, 3));
    EXPECT_TRUE(current_passes_junctions(device.problem(), device.memory.work, device.cv));
    for (std::size_t i = device.last(2) + 1; i < device.cv.Fp.size(); ++i) device.cv.Fp[i] -= 1e-3;
    update_Fp(device.cv);
    EXPECT_FALSE(current_passes_junctions(device.problem(), device.memory.work, device.cv));
}

}  // namespace
}  // namespace kovin
