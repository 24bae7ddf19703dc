#include "solver/gummel.h"

#include "solver/band_solve.h"
#include "solver/bulk_terms.h"
#include "solver/estimates.h"
#include "solver/iteration_limit.h"
#include "solver/line_search.h"
#include "solver/newton_steps.h"
#include "solver/tunnel_paths.h"
#include "solver/tunnel_solve.h"
#include "solver/tunnel_states.h"

#include <cmath>

namespace kovin {

bool poisson_step(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    totale_rdcbijdrage(problem, cv, Terms::psi);
    total_charge(problem, cv, work.rho_total);
    calculate_dc_residue_psi(problem, cv, work.rho_total, work.res);
    calculate_dc_jacobian_psi(problem, cv, {work.sub, work.main, work.super}, work.extra);
    return calculate_dc_delta_psi(cv.mesh, work);
}

void add_to_psi(const Problem& problem, const Workspace& work, CalculationVariables& cv, double lambda)
{
    for (std::size_t i = 0; i < cv.psi.size(); ++i) cv.psi[i] += lambda * work.delta[i];
    update_epsi(problem.set3, cv);
}

namespace {

/// The loop of Poisson's equation; the Bernoulli values are left behind.
bool iterate_psi(const Problem& problem, Workspace& work, CalculationVariables& cv, int limit)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    for (int k = 0;; ++k) {
        cv.its_psi = k;
        if (k > limit) {
            if (act_on_iteration_limit(problem, LimitedLoop::psi, settings.on_limit_psi, k)) return true;
            cv.its_psi = -1;
            return false;
        }
        const bool solved = poisson_step(problem, work, cv);
        const double largest = solved ? MaximumAbsoluteValue(work.delta) : std::nan("");
        if (std::isnan(largest)) {
            cv.its_psi = -1;
            return false;
        }
        cv.max_delta_psi = largest;
        if (largest <= settings.termination_psi) {
            add_to_psi(problem, work, cv);
            return true;
        }
        for (double& step : work.delta) step *= settings.relax_psi;
        const double clamped = ApplyClamping(work.delta, settings, clamp_at(settings, settings.clamp_psi, k));
        const double lambda = BacktrackingNewtonStep(problem, work, cv, of_psi, work.delta);
        cv.max_delta_psi = lambda * clamped;
        add_to_psi(problem, work, cv, lambda);
    }
}

}  // namespace

bool dc_Gummel_iteration_psi(const Problem& problem, Workspace& work, CalculationVariables& cv, int limit)
{
    const bool converged = iterate_psi(problem, work, cv, limit);
    update_bernoulli(problem.set3, cv);
    return converged;
}

bool dc_Gummel_iteration_u_or_v(const Problem& problem, Workspace& work, CalculationVariables& cv, Carrier carrier)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const bool electrons = carrier == Carrier::electrons;
    const int limit = electrons ? settings.maxiter_n : settings.maxiter_p;
    const int action = electrons ? settings.on_limit_n : settings.on_limit_p;
    const double relax = electrons ? settings.relax_n : settings.relax_p;
    int& its = electrons ? cv.its_u : cv.its_v;
    TunnelWork& tunnel = work.tunnel;
    // A choice for experts: with the band of the matrix alone strong paths take four times the passes.
    const int use_sparse = electrons ? settings.use_sparse_n : settings.use_sparse_p;
    const bool use_outside = use_sparse == 1 || use_sparse == 3;
    if (tunnel.active) {
        if (electrons) find_paths_into_states(problem, cv, tunnel);  // those of both carriers; psi stands still
        find_tunnel_paths(problem, cv, carrier, tunnel);
    }
    for (int k = 0;; ++k) {
        its = k;
        if (k > limit) {
            if (act_on_iteration_limit(problem, electrons ? LimitedLoop::u : LimitedLoop::v, action, k,
                                       tunnel.outside.size()))
                return true;
            its = -1;
            return false;
        }
        totale_rdcbijdrage(problem, cv, electrons ? Terms::u : Terms::v);
        calculate_dc_residue(problem, cv, carrier, work.res);
        const Tridiagonal jac{work.sub, work.main, work.super};
        calculate_dc_jacobian(problem, cv, carrier, jac);
        if (tunnel.active) {
            add_tunnel_residue(tunnel, cv, carrier, work.res);
            add_tunnel_jacobian(tunnel, cv, carrier, jac);
            find_row_sums(problem, cv, carrier, tunnel);
            if (!use_outside) drop_elements_outside(tunnel);
        }
        if (tunnel.active ? !solve_with_tunnel_paths(carrier, work) : !calculate_dc_delta_u_or_v(work)) {
            its = -1;
            return false;
        }
        const auto& w = electrons ? cv.expFn : cv.expmFp;
        for (std::size_t i = 0; i < w.size(); ++i) work.delta[i] = relax * work.delta[i] / w[i];
        const bool more = clamping_u_or_v(problem, work, carrier, k, work.delta, cv);
        if (std::isnan(electrons ? cv.max_delta_Fn : cv.max_delta_Fp)) {
            its = -1;
            return false;
        }
        if (!more) return true;
    }
}

}  // namespace kovin
