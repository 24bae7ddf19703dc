#include "solver/gummel.h"

#include "solver/band_solve.h"
#include "solver/bulk_terms.h"
#include "solver/estimates.h"
#include "solver/newton_steps.h"

#include <cmath>

namespace kovin {

namespace {

/// Action at an iteration limit: 1 message, 2 silent failure, 3 message and go on, 4 go on silently.
enum LimitAction { message_and_fail = 1, go_on_with_message = 3, go_on = 4 };

void tell_limit(const Problem& problem, const char* variable, int count)
{
    if (problem.monitor == nullptr) return;
    problem.monitor->post({1,
                           std::string("Max no of iterations exceeded during Gummel-calculation of variable ") +
                               variable + "\nIteration count: " + std::to_string(count),
                           0, 0});
}

bool solve_poisson_step(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    totale_rdcbijdrage(problem, cv, Terms::psi);
    total_charge(problem, cv, work.rho_total);
    calculate_dc_residue_psi(problem, cv, work.rho_total, work.res);
    calculate_dc_jacobian_psi(problem, cv, {work.sub, work.main, work.super}, work.extra);
    return calculate_dc_delta_psi(cv.mesh, work);
}

void add_to_psi(const Problem& problem, const Workspace& work, CalculationVariables& cv)
{
    for (std::size_t i = 0; i < cv.psi.size(); ++i) cv.psi[i] += work.delta[i];
    update_psivar(problem.set3, cv);
}

}  // namespace

bool dc_Gummel_iteration_psi(const Problem& problem, Workspace& work, CalculationVariables& cv, int limit)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    for (int k = 0;; ++k) {
        cv.its_psi = k;
        if (k > limit) {
            const int action = settings.on_limit_psi;
            if (action == message_and_fail || action == go_on_with_message) tell_limit(problem, "psi", k);
            if (action == message_and_fail || action == go_on_with_message || action == go_on) return true;
            cv.its_psi = -1;
            return false;
        }
        const bool solved = solve_poisson_step(problem, work, cv);
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
        cv.max_delta_psi = ApplyClamping(work.delta, settings, clamp_at(settings, settings.clamp_psi, k));
        add_to_psi(problem, work, cv);
    }
}

bool dc_Gummel_iteration_u_or_v(const Problem& problem, Workspace& work, CalculationVariables& cv, Carrier carrier)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const bool electrons = carrier == Carrier::electrons;
    const int limit = electrons ? settings.maxiter_n : settings.maxiter_p;
    const int action = electrons ? settings.on_limit_n : settings.on_limit_p;
    const double relax = electrons ? settings.relax_n : settings.relax_p;
    int& its = electrons ? cv.its_u : cv.its_v;
    for (int k = 0;; ++k) {
        its = k;
        if (k > limit) {
            if (action == message_and_fail || action == go_on_with_message)
                tell_limit(problem, electrons ? "'u' (function of electron density)" : "'v' (function of hole density)",
                           k);
            if (action == go_on_with_message || action == go_on) return true;
            its = -1;
            return false;
        }
        totale_rdcbijdrage(problem, cv, electrons ? Terms::u : Terms::v);
        calculate_dc_residue(problem, cv, carrier, work.res);
        calculate_dc_jacobian(problem, cv, carrier, {work.sub, work.main, work.super});
        if (!calculate_dc_delta_u_or_v(work)) {
            its = -1;
            return false;
        }
        for (double& step : work.delta) step *= relax;
        const bool more = clamping_u_or_v(settings, carrier, k, work.delta, cv);
        if (std::isnan(electrons ? cv.max_delta_Fn : cv.max_delta_Fp)) {
            its = -1;
            return false;
        }
        if (!more) return true;
    }
}

}  // namespace kovin
