#include "solver/coupled.h"

#include "solver/bulk_terms.h"
#include "solver/cross_terms.h"
#include "solver/estimates.h"
#include "solver/iteration_limit.h"
#include "solver/newton_steps.h"
#include "solver/residuals.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace kovin {

namespace {

Tridiagonal diagonal(BlockSystem& system, Unknown unknown)
{
    return {system.sub(unknown, unknown), system.main(unknown, unknown), system.super(unknown, unknown)};
}

/// Residuals and Jacobians of both continuity equations, each to its own variable.
void continuity(const Problem& problem, const CalculationVariables& cv, BlockSystem& system)
{
    calculate_dc_residue(problem, cv, Carrier::electrons, system.res[of_u]);
    calculate_dc_residue(problem, cv, Carrier::holes, system.res[of_v]);
    calculate_dc_jacobian(problem, cv, Carrier::electrons, diagonal(system, of_u));
    calculate_dc_jacobian(problem, cv, Carrier::holes, diagonal(system, of_v));
}

/// Makes the steps of both carriers, of pass k. @return more passes are needed
bool step_uv(const Problem& problem, Workspace& work, CalculationVariables& cv, int k, LevelStep form)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    auto& du = work.block.delta[of_u];
    auto& dv = work.block.delta[of_v];
    for (double& step : du) step *= settings.relax_n;
    for (double& step : dv) step *= settings.relax_p;
    const bool more_u = clamping_u_or_v(problem, work, Carrier::electrons, k, du, cv, form);
    const bool more_v = clamping_u_or_v(problem, work, Carrier::holes, k, dv, cv, form);
    return more_u || more_v;
}

/// A step this much below the termination leaves nothing to the next one.
constexpr double negligible = 1e-3;

/// Follows the largest step of each pass. Loops that converge bring it down within a few passes.
class Descent {
public:
    bool is_lost(int k, double step)
    {
        if (step < 0.9 * smallest_) {
            smallest_ = step;
            at_ = k;
        }
        return k - at_ >= patience;
    }

private:
    static constexpr int patience = 10;
    double smallest_ = std::numeric_limits<double>::infinity();
    int at_ = 0;
};

bool is_number(const CalculationVariables& cv)
{
    return !std::isnan(cv.max_delta_psi) && !std::isnan(cv.max_delta_Fn) && !std::isnan(cv.max_delta_Fp);
}

}  // namespace

void assemble_uv(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    BlockSystem& system = work.block;
    assert(system.points() == cv.psi.size());
    totale_rdcbijdrage(problem, cv);
    system.clear();
    continuity(problem, cv, system);
    AddCrossDerivativesToJacobian2x2(problem, cv, system);
}

void assemble_psi_uv(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    BlockSystem& system = work.block;
    assert(system.points() == cv.psi.size());
    totale_rdcbijdrage(problem, cv);
    system.clear();
    total_charge(problem, cv, work.rho_total);
    calculate_dc_residue_psi(problem, cv, work.rho_total, system.res[of_psi]);
    calculate_dc_jacobian_psi(problem, cv, diagonal(system, of_psi), work.extra);
    for (std::size_t j = 0; j < system.extra.size(); ++j) system.extra[j][of_psi] = work.extra[j];
    continuity(problem, cv, system);
    AddCrossDerivativesToJacobian3x3(problem, cv, system);
}

bool dc_Gummel_iteration_uv(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const auto failed = [&] {
        cv.its_u = cv.its_v = -1;
        return false;
    };
    for (int k = 0;; ++k) {
        cv.its_u = cv.its_v = k;
        if (k > settings.maxiter_n)
            return act_on_iteration_limit(problem, LimitedLoop::uv, settings.on_limit_n, k) || failed();
        assemble_uv(problem, work, cv);
        if (!tridiagonal_2x2(work.block, cv.expFn, cv.expmFp)) return failed();
        const bool more = step_uv(problem, work, cv, k, LevelStep::exact);
        if (!is_number(cv)) return failed();
        if (!more) return true;
    }
}

bool fully_coupled_iteration(const Problem& problem, Workspace& work, CalculationVariables& cv,
                             double largest_first_step)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const auto failed = [&] {
        cv.its_psi = cv.its_u = cv.its_v = -1;
        return false;
    };
    Descent descent;
    bool last = false;
    for (int k = 0;; ++k) {
        cv.its_psi = cv.its_u = cv.its_v = k;
        if (k > settings.maxiter_psi)
            return act_on_iteration_limit(problem, LimitedLoop::coupled, settings.on_limit_psi, k) || failed();
        assemble_psi_uv(problem, work, cv);
        if (!tridiagonal_3x3(cv.mesh, work.block, cv.expFn, cv.expmFp)) return failed();
        auto& dpsi = work.block.delta[of_psi];
        for (double& step : dpsi) step = damped_step(settings.relax_psi * step);
        cv.max_delta_psi = ApplyClamping(dpsi, settings, clamp_at(settings, settings.clamp_psi, k));
        // psi is given at both contacts: rounding in the elimination must not move it there.
        for (std::size_t i = 1; i + 1 < cv.psi.size(); ++i) cv.psi[i] += dpsi[i];
        update_psivar(problem.set3, cv);
        const bool more = step_uv(problem, work, cv, k, LevelStep::damped);
        if (!is_number(cv)) return failed();

        const double step = std::max({cv.max_delta_psi, cv.max_delta_Fn, cv.max_delta_Fp});
        if (k == 0 && step > largest_first_step) return failed();
        const bool small = !more && cv.max_delta_psi <= settings.termination_psi;
        if (small && (last || step <= negligible * settings.termination_psi)) return true;
        last = small;
        if (descent.is_lost(k, step)) return failed();
    }
}

}  // namespace kovin
