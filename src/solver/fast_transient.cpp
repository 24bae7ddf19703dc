#include "solver/fast_transient.h"

#include "solver/problem.h"

#include <algorithm>

namespace kovin {

namespace {

constexpr double first_dt = 1e-18, last_dt = 1e32, least_dt = 1e-40;  // [s]
constexpr int most_time_steps = 400;
constexpr FastLimits within_a_time_step{.steps = 15};
constexpr int easy_steps = 3;  ///< a time step of so few steps may mean that the end is near
constexpr int easy_steps_per_attempt = 6;

/// How much further the next time step reaches after a solve of so many steps.
double growth(int steps)
{
    if (steps <= 4) return 10.0;
    return steps <= 7 ? 4.0 : 1.5;
}

void keep(const FastArrays& a, FastWork& work)
{
    std::copy_n(a.psi, a.N, work.psi_in_time.begin());
    std::copy_n(a.Fn, a.N, work.Fn_in_time.begin());
    std::copy_n(a.Fp, a.N, work.Fp_in_time.begin());
}

void restore(const FastArrays& a, const FastWork& work)
{
    std::copy_n(work.psi_in_time.begin(), a.N, a.psi);
    std::copy_n(work.Fn_in_time.begin(), a.N, a.Fn);
    std::copy_n(work.Fp_in_time.begin(), a.N, a.Fp);
}

}  // namespace

FastSolve fast_transient(const Problem& problem, FastWork& work, FastArrays& a, CalculationVariables& cv)
{
    const double t0 = problem.set3.scale.t0;
    double dt = first_dt;
    int easy = 0, steps = 0;
    FastSolve result;
    keep(a, work);
    for (int k = 0; k < most_time_steps && dt > least_dt; ++k) {
        work.kernel->carriers(a);
        std::copy_n(a.n, a.N, work.n_old.begin());
        std::copy_n(a.p, a.N, work.p_old.begin());
        a.per_dt = t0 / dt;
        FastSolve solve = fast_newton(problem, *work.kernel, a, cv, within_a_time_step);
        a.per_dt = 0.0;
        steps += solve.steps;
        if (solve.outcome == FastOutcome::stopped) return solve;
        if (!solve.good()) {
            restore(a, work);
            dt /= 5.0;
            continue;
        }
        keep(a, work);
        if (solve.steps <= easy_steps) ++easy;
        dt *= growth(solve.steps);
        if ((easy < easy_steps_per_attempt) && dt <= last_dt) continue;
        easy = 0;
        result = fast_newton(problem, *work.kernel, a, cv);
        steps += result.steps;
        result.steps = steps;
        if (result.good() || result.outcome == FastOutcome::stopped) return result;
        restore(a, work);
        dt = std::min(dt, last_dt);
    }
    result.steps = steps;
    return result;
}

}  // namespace kovin
