#include "solver/outer_iteration.h"

#include "solver/bulk_terms.h"
#include "solver/coupled.h"
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/fast_mesh.h"
#include "solver/fast_route.h"
#include "solver/gummel.h"
#include "solver/mesh_adapt.h"
#include "solver/optical_occupation.h"
#include "solver/tunnel_junctions.h"
#include "solver/tunnel_paths.h"
#include "solver/tunnel_states.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace kovin {

namespace {

/// Currents of the two passes before, for the test beyond the minimum number of passes [A/m2].
struct CurrentTest {
    double J1 = 0.0, J2 = 0.0;
};

void find_current(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (work.tunnel.active) store_tunnel_currents(problem, work.tunnel, cv);
    extraheer_stroom(problem, cv, work.currents);
}

double current_A_m2(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    find_current(problem, work, cv);
    return 10.0 * cv.J_median;
}

void keep_for_averaging(Workspace& work, const CalculationVariables& cv)
{
    work.psi_before = cv.psi;
    work.Fn_before = cv.Fn;
    work.Fp_before = cv.Fp;
}

/// The mean of this pass and the pass before: ends an oscillation between two states.
void AverageDynamicVariables(const Problem& problem, const Workspace& work, CalculationVariables& cv)
{
    for (std::size_t i = 0; i < cv.psi.size(); ++i) {
        cv.psi[i] = 0.5 * (cv.psi[i] + work.psi_before[i]);
        cv.Fn[i] = 0.5 * (cv.Fn[i] + work.Fn_before[i]);
        cv.Fp[i] = 0.5 * (cv.Fp[i] + work.Fp_before[i]);
    }
    update_psivar(problem.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    totale_rdcbijdrage(problem, cv);
}

bool has_junctions(const Workspace& work) { return work.tunnel.active && !work.tunnel.band_to_band.empty(); }

bool tunnels_into_states(const CalculationVariables& cv)
{
    return !cv.tunnel_states.n.groups.empty() || !cv.tunnel_states.p.groups.empty();
}

/// Nothing moves: has what is left on one side of a tunnel junction no part in the current?
bool junctions_agree(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (!has_junctions(work)) return true;
    find_current(problem, work, cv);
    return current_passes_junctions(problem, work, cv);
}

/// Has the current settled, and is it constant along the device?
bool current_has_settled(const Problem& problem, Workspace& work, CalculationVariables& cv, CurrentTest& test)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    double J = current_A_m2(problem, work, cv);
    const double tol = std::max(settings.current_abs_tol, settings.current_rel_tol * std::fabs(J));
    if (std::fabs(J - test.J1) < tol && cv.J_constant) return true;
    const double last = std::fabs(J - test.J1), one_before = std::fabs(J - test.J2);
    // A mesh that moves ends such a swing by itself; with a line search the averaging is open all the same.
    const bool may_average = !problem.mesh_may_move() || settings.backtracking != 0;
    if (last > one_before && one_before < 1e10 * tol && may_average) {
        AverageDynamicVariables(problem, work, cv);
        J = current_A_m2(problem, work, cv);
    }
    test = {J, test.J1};
    keep_for_averaging(work, cv);
    return false;
}

bool failed(CalculationVariables& cv)
{
    cv.iterations = -1;
    return false;
}

/// exp(709) is the largest number; the factors of the equations take a little of it.
constexpr double largest_exponent = 690.0;

/// A failure of the classic route, which works with exp(psi), exp(Fn) and exp(-Fp) themselves.
bool classic_failed(Workspace& work, CalculationVariables& cv)
{
    const auto beyond = [](double factor) { return std::fabs(std::log(factor)) >= largest_exponent; };
    work.failed_at = cv.V;
    work.beyond_exponentials = false;
    for (const auto* factor : {&cv.bn, &cv.bp, &cv.expFn, &cv.expmFp})
        work.beyond_exponentials |= std::any_of(factor->begin(), factor->end(), beyond);
    return failed(cv);
}

/// One pass of the decoupled schemes. @return false on failure; `moved` tells whether anything did
bool decoupled_pass(const Problem& problem, Workspace& work, CalculationVariables& cv, bool& moved)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    if (!dc_Gummel_iteration_psi(problem, work, cv, settings.maxiter_psi)) return false;
    if (settings.coupling_scheme == coupled_uv) {
        if (!dc_Gummel_iteration_uv(problem, work, cv)) return false;
    } else if (!dc_Gummel_iteration_u_or_v(problem, work, cv, Carrier::electrons) ||
               !dc_Gummel_iteration_u_or_v(problem, work, cv, Carrier::holes)) {
        return false;
    }
    moved = cv.its_psi >= 1 || cv.its_u >= 1 || cv.its_v >= 1;
    if (!has_junctions(work)) return true;
    // The common steps do not know paths into states: they lead astray while these still move the state.
    if (tunnels_into_states(cv) && (moved || junctions_agree(problem, work, cv))) return true;
    return couple_junctions(problem, work, cv, moved);
}

/// Two decoupled passes bring any state that has been met near enough for the coupled loop.
constexpr int surely_near_pass = 3;
/// Before, as after a step of the voltage by a few mV, its first step tells [kT]: loops that begin with less converge.
constexpr double near_first_step = 0.5;

/// The coupled loop in outer pass `it`; if it fails, the state is as it was before. @return converged
bool try_coupled(const Problem& problem, Workspace& work, CalculationVariables& cv, int it)
{
    work.psi_start = cv.psi;
    work.Fn_start = cv.Fn;
    work.Fp_start = cv.Fp;
    const double largest_first_step = it < surely_near_pass ? near_first_step : std::numeric_limits<double>::infinity();
    if (fully_coupled_iteration(problem, work, cv, largest_first_step)) return true;
    cv.psi = work.psi_start;
    cv.Fn = work.Fn_start;
    cv.Fp = work.Fp_start;
    update_psivar(problem.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    return false;
}

/// From this pass on the mesh waits until nothing else moves, so that a swing of the solution and one of the mesh do
/// not keep each other going.
constexpr int mesh_waits_from = 10;

/// Neither equilibrium nor the classic route tells how exact its current is.
void nothing_known_of_the_error(CalculationVariables& cv)
{
    cv.J_error = cv.J_noise = std::numeric_limits<double>::quiet_NaN();
    cv.noise_limited = false;
}

constexpr int never = std::numeric_limits<int>::max();

/// First pass of the outer iteration that solves all equations together.
int first_coupled_pass(const ConvergenceParameters& settings)
{
    if (settings.coupling_scheme == gummel_then_coupled) return settings.gummel_to_coupled_iteration;
    if (settings.coupling_scheme == fully_coupled) return 1;
    return never;
}

}  // namespace

bool dc_Gummel_iteration_all(const Problem& problem, Workspace& work, CalculationVariables& cv, SolveStart start)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    assert(problem.G.size() == cv.psi.size());
    const int min_outer = std::max(2, static_cast<int>(0.2 * settings.maxiter));
    cv.max_delta_psi = cv.max_delta_Fn = cv.max_delta_Fp = 1e30;
    nothing_known_of_the_error(cv);
    keep_for_averaging(work, cv);
    CurrentTest test;
    if (start == SolveStart::anew) work.relaxation.start();
    work.tunnel.junctions.start_solve();
    work.beyond_exponentials = false;
    int mesh_alone = 0;  // passes in a row in which nothing but the mesh moved
    int coupled_from = first_coupled_pass(settings);
    for (int it = 1;; ++it) {
        cv.iterations = it;
        if (problem.monitor != nullptr && problem.monitor->stopRequested()) return classic_failed(work, cv);
        bool moved = false;
        // Too far off, the coupled loop fails: decoupled passes go on from where it began, until they have finished the
        // point or there are twice as many.
        if (it >= coupled_from && !try_coupled(problem, work, cv, it))
            coupled_from = std::max(surely_near_pass, 2 * it);
        if (it < coupled_from) {
            work.relaxation.before_pass(cv);
            if (!decoupled_pass(problem, work, cv, moved)) return classic_failed(work, cv);
            if (moved || start == SolveStart::goes_on) relax_pass(problem.set3, work.relaxation, cv);
        }
        if (it >= settings.maxiter) return classic_failed(work, cv);
        // A solve ends when nothing moves; the test of the current is for long fights. It comes before the mesh moves,
        // so that the state that is left has been solved on its mesh.
        if (moved && it > min_outer && current_has_settled(problem, work, cv, test)) break;
        // A mesh that alone keeps moving swings between two shapes: either will do.
        const bool mesh_moved = (moved ? it < mesh_waits_from : mesh_alone < std::max(settings.mesh_changes, 1)) &&
                                RecalculateIntervals(problem, work, cv) == MeshChange::changed;
        if (mesh_moved) {
            keep_for_averaging(work, cv);  // the same state, on the mesh of the next pass
            work.relaxation.mesh_has_changed();
        }
        mesh_alone = moved ? 0 : mesh_alone + (mesh_moved ? 1 : 0);
        if (!moved && !mesh_moved && junctions_agree(problem, work, cv)) break;
    }
    totale_rdcbijdrage(problem, cv);
    find_current(problem, work, cv);
    return true;
}

namespace {

bool on_fast_route(const Problem& problem) { return problem.set3.convergence.route == Route::fast; }

/// Solves after solves in which the light of levels still moves the state.
constexpr int most_rounds_of_light = 300;

/// A solve by `solve` with light that follows the occupation of levels: both in turn until neither moves. Without such
/// levels it is the solve alone.
template <class Solve>
bool with_light_of_levels(const Problem& problem, Workspace& work, CalculationVariables& cv, const Solve& solve)
{
    if (!problem.exchange) return solve();
    IterateFt(problem, cv);
    if (!solve()) return false;
    for (int round = 0, passes = cv.iterations; round < most_rounds_of_light; ++round) {
        // A pass of the light costs more than a solve: one of each in turn.
        if (!IterateFt(problem, cv, 1)) {
            cv.iterations = passes;
            return true;
        }
        const bool settled = on_fast_route(problem) ? fast_settle(problem, work, cv)
                                                    : dc_Gummel_iteration_all(problem, work, cv, SolveStart::goes_on);
        if (!settled) return false;
        passes += cv.iterations;
    }
    work.fast.failure = {.V = cv.V};
    work.failed_at = cv.V;
    return failed(cv);
}

/// After a solve on the fast route the mesh follows the potential where it has become too steep. Where the state is not
/// found again on the new mesh, the old one and its solution stay.
void mesh_follows(const Problem& problem, Workspace& work, CalculationVariables& cv, double too_steep)
{
    if (!fast_mesh_wants_change(problem, cv, too_steep)) return;
    const CalculationVariables solved = cv;
    fast_mesh_change(problem, work, cv, too_steep);
    const int steps = solved.iterations;
    const auto solve = [&] { return fast_onder_belichting(problem, work, cv); };
    if (with_light_of_levels(problem, work, cv, solve)) {
        cv.iterations += steps;
        return;
    }
    fast_mesh_back(problem, work, solved, cv);
    settle_light(problem, cv);
}

}  // namespace

bool equilibrium(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    nothing_known_of_the_error(cv);
    work.fast.failure = {};
    work.failed_at = 0.0;
    work.beyond_exponentials = false;
    if (on_fast_route(problem) && fast_equilibrium_with_mesh(problem, work, cv)) return true;
    eerste_schatting(problem.set3, cv);
    const bool converged = dc_Gummel_iteration_psi(problem, work, cv, problem.set3.convergence.maxiter_psi_equilibrium);
    cv.iterations = cv.its_psi;
    if (converged) find_paths_into_states(problem, cv, work.tunnel);  // small signals answer with them
    totale_rdcbijdrage(problem, cv);
    extraheer_stroom(problem, cv, work.currents);
    return converged;
}

bool onder_belichting(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (cv.failed()) return false;
    const bool fast = on_fast_route(problem);
    const auto solve = [&] {
        return fast ? fast_onder_belichting(problem, work, cv) : dc_Gummel_iteration_all(problem, work, cv);
    };
    if (!with_light_of_levels(problem, work, cv, solve)) return false;
    if (!fast) return true;
    mesh_follows(problem, work, cv, fast_mesh_too_steep);
    return true;
}

void renew_mesh(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (on_fast_route(problem)) mesh_follows(problem, work, cv, 0.0);
}

void renew_current(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (on_fast_route(problem))
        fast_complete_state(problem, work, cv);
    else
        extraheer_stroom(problem, cv, work.currents);
}

double failed_voltage(const Problem& problem, const Workspace& work, const CalculationVariables& cv)
{
    return on_fast_route(problem) ? work.fast.failure.V : cv.V;
}

std::string failure_advice(const Problem& problem, const Workspace& work)
{
    if (work.beyond_exponentials && !on_fast_route(problem))
        return "Some 700 kT/q (15 V to 18 V at 300 K) take the exponentials of the classic route" +
               std::string(work.tunnel.active ? ", which open tunnel paths need," : "") +
               " out of the range of numbers. " +
               (work.tunnel.active ? "With all tunnel paths closed the fast route goes on." : "--route fast goes on.");
    // At 0 V there was no step of the voltage.
    const bool stepped = work.failed_at != 0.0;
    if (work.tunnel.active)
        return std::string(stepped ? "Smaller steps of the voltage may help"
                                   : "Less light or less extreme values may help") +
               ", or all tunnel paths closed: the fast route takes over then.";
    if (!on_fast_route(problem))
        return stepped ? "Smaller steps of the voltage or --route fast may help."
                       : "Less extreme values or --route fast may help.";
    const FastFailure& failure = work.fast.failure;
    if (!failure.known) return "Look at the units of the cell; less extreme values may help.";
    constexpr const char* names[] = {"The potential", "The electron density", "The hole density"};
    return std::string(names[static_cast<std::size_t>(failure.quantity)]) + " in layer " +
           std::to_string(failure.layer + 1) + " did not settle. " +
           (failure.V != 0.0 ? "Smaller steps of the voltage, a" : "A") +
           " finer mesh or less extreme values in this layer may help.";
}

bool volgende_iv_punt(const Problem& problem, Workspace& work, CalculationVariables& cv, double Vfrom, double Vto,
                      int npoints)
{
    if (cv.failed()) return false;
    if (std::fabs(Vto - Vfrom) < 1e-9) return true;
    // With paths the fast route does not take over: passes until maxiter lead nowhere.
    if (work.tunnel.active && std::fabs(Vto) >= largest_exponent * problem.set3.kT) {
        cv.V = work.failed_at = Vto;
        work.beyond_exponentials = true;
        return failed(cv);
    }
    const int steps = std::max(npoints, 2) - 1;  // a count below two acts as one step
    const double dV = (Vto - Vfrom) / steps;
    for (int k = 1; k <= steps; ++k) {
        const double V = Vfrom + k * (Vto - Vfrom) / steps;
        const auto solve = [&] {
            if (on_fast_route(problem)) return fast_naar_spanning(problem, work, cv, V);
            volgende_schatting(problem.set3, cv, V, dV);
            return dc_Gummel_iteration_all(problem, work, cv);
        };
        if (!with_light_of_levels(problem, work, cv, solve)) return false;
    }
    if (on_fast_route(problem))
        mesh_follows(problem, work, cv, steps > 1 ? fast_mesh_too_steep : fast_mesh_too_steep_in_sweep);
    return true;
}

}  // namespace kovin
