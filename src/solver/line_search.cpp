#include "solver/line_search.h"

#include "solver/bulk_terms.h"
#include "solver/estimates.h"
#include "solver/residuals.h"
#include "solver/tunnel_paths.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace kovin {

namespace {

std::vector<double>& values_of(CalculationVariables& cv, Unknown unknown)
{
    return unknown == of_psi ? cv.psi : unknown == of_u ? cv.Fn : cv.Fp;
}

double termination_of(const ConvergenceParameters& settings, Unknown unknown)
{
    return unknown == of_psi ? settings.termination_psi
           : unknown == of_u ? settings.termination_Fn
                             : settings.termination_Fp;
}

/// Brings up to date what the equation of an unknown reads of it.
void update_from(const Problem& problem, CalculationVariables& cv, Unknown unknown)
{
    if (unknown == of_psi)
        update_epsi(problem.set3, cv);
    else if (unknown == of_u)
        update_Fn(cv);
    else
        update_Fp(cv);
}

/// Half the sum of squares of the residual of one equation at the present state.
double judge(const Problem& problem, Workspace& work, CalculationVariables& cv, Unknown unknown)
{
    if (unknown == of_psi) {
        total_charge(problem, cv, work.rho_total);
        calculate_dc_residue_psi(problem, cv, work.rho_total, work.search_res);
    } else {
        const Carrier carrier = unknown == of_u ? Carrier::electrons : Carrier::holes;
        calculate_dc_residue(problem, cv, carrier, work.search_res);
        if (work.tunnel.active) add_tunnel_residue(work.tunnel, cv, carrier, work.search_res);
    }
    return HalfSumOfSquares(work.search_res);
}

/// What the next lambda is made from, beside f and lambda of the present pass.
struct History {
    double f0, slope;
    double f1, f2;  ///< f of the pass before, and of the one before that; f(0) as long as there is none
    double lambda_before = 1.0;
};

/// Minimum of the cubic; nothing where it falls without end.
std::optional<double> cubic_minimum(const History& h, double lambda)
{
    const double one = lambda, two = h.lambda_before;
    const double r1 = (h.f1 - h.f0) - h.slope * one, r2 = (h.f2 - h.f0) - h.slope * two;
    const double a = (r1 / (one * one) - r2 / (two * two)) / (one - two);
    const double b = (one * r2 / (two * two) - two * r1 / (one * one)) / (one - two);
    if (a == 0.0) return -h.slope / (2.0 * b);
    const double discriminant = b * b - 3.0 * a * h.slope;
    if (discriminant < 0.0) return std::nullopt;
    return (-b + std::sqrt(discriminant)) / (3.0 * a);
}

}  // namespace

double HalfSumOfSquares(std::span<const double> x)
{
    double sum = 0.0;
    for (const double value : x) sum += value * value;
    return 0.5 * sum;
}

void UpdateBacktrackCalcVars(const Problem& problem, CalculationVariables& cv, Unknown unknown,
                             std::span<const double> start, double lambda, std::span<const double> step)
{
    std::vector<double>& X = values_of(cv, unknown);
    for (std::size_t i = 0; i < X.size(); ++i) X[i] = start[i] + lambda * step[i];
    update_from(problem, cv, unknown);
    totale_rdcbijdrage(problem, cv, unknown == of_psi ? Terms::psi : unknown == of_u ? Terms::u : Terms::v);
}

double BacktrackingNewtonStep(const Problem& problem, Workspace& work, CalculationVariables& cv, Unknown unknown,
                              std::span<const double> delta)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    if (settings.backtracking == 0) return 1.0;
    std::vector<double>& X = values_of(cv, unknown);
    work.search_from = X;
    const auto f_at = [&](double lambda) {
        UpdateBacktrackCalcVars(problem, cv, unknown, work.search_from, lambda, delta);
        return judge(problem, work, cv, unknown);
    };

    const double T = termination_of(settings, unknown);
    const double small_enough = 0.05 * static_cast<double>(X.size()) * T * T;
    const double f0 = f_at(0.0);
    History h{f0, -2.0 * f0, f0, f0};
    double lambda = 1.0, f = std::numeric_limits<double>::infinity();
    // A residual beyond all numbers compares with nothing: the step is made as it is.
    for (int it = 0; std::isfinite(f0) && f > small_enough && it <= settings.backtrack_maxsteps; ++it) {
        f = f_at(lambda);
        if (f < f0 + h.slope * lambda * settings.backtrack_alpha) break;
        if (lambda < settings.backtrack_lambda_min) {
            lambda = 1.0;
            break;
        }
        const auto minimum = it == 0 ? std::optional(-h.slope / (2.0 * (f - f0 - h.slope))) : cubic_minimum(h, lambda);
        if (!minimum) {
            lambda = 1.0;
            break;
        }
        const double shortest = settings.backtrack_shrink_min * lambda;
        const double longest = settings.backtrack_shrink_max * lambda;
        h.f2 = h.f1;
        h.f1 = f;
        h.lambda_before = lambda;
        lambda = *minimum > shortest ? std::min(*minimum, longest) : shortest;  // also where it is no number
    }
    X = work.search_from;
    return lambda;
}

}  // namespace kovin
