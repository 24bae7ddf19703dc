#include "solver/newton_steps.h"

#include "solver/estimates.h"
#include "solver/line_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kovin {

double MaximumAbsoluteValue(std::span<const double> x)
{
    // Four maxima side by side; a comparison drops NaN, so that it is looked for by itself.
    std::array<double, 4> lane{};
    bool is_nan = false;
    std::size_t i = 0;
    for (; i + lane.size() <= x.size(); i += lane.size())
        for (std::size_t l = 0; l < lane.size(); ++l) {
            lane[l] = std::max(lane[l], std::fabs(x[i + l]));
            is_nan |= x[i + l] != x[i + l];
        }
    for (; i < x.size(); ++i) {
        lane[0] = std::max(lane[0], std::fabs(x[i]));
        is_nan |= x[i] != x[i];
    }
    if (is_nan) return std::numeric_limits<double>::quiet_NaN();
    return std::max(std::max(lane[0], lane[1]), std::max(lane[2], lane[3]));
}

double clamp_at(const ConvergenceParameters& settings, double final_clamp, int k)
{
    if (k >= settings.clamp_ramp_iterations) return final_clamp;
    return settings.clamp_start + k * (final_clamp - settings.clamp_start) / settings.clamp_ramp_iterations;
}

double ApplyClamping(std::span<double> delta, const ConvergenceParameters& settings, double L)
{
    double m = MaximumAbsoluteValue(delta);
    if (settings.clamp_mode == 0 || !(m > L)) return m;  // NaN goes out as it is
    const auto clip = [&](double limit) {
        for (double& step : delta) step = std::clamp(step, -limit, limit);
    };
    if (settings.clamp_mode == 2) {
        clip(L);
        return L;
    }
    if (m > 5.0 * L) {
        clip(5.0 * L);
        m = 5.0 * L;
    }
    if (settings.clamp_mode == 4)
        for (double& step : delta) step /= 1.0 + (m - L) / m / L * std::fabs(step);
    else
        for (double& step : delta) step *= L / m;
    return L;
}

double damped_step(double x) { return std::copysign(std::log1p(std::fabs(x)), x); }

bool clamping_u_or_v(const Problem& problem, Workspace& work, Carrier carrier, int k, std::span<double> delta,
                     CalculationVariables& cv, LevelStep form)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const bool electrons = carrier == Carrier::electrons;
    const double s = electrons ? 1.0 : -1.0;
    const double clamp = clamp_at(settings, electrons ? settings.clamp_n : settings.clamp_p, k);
    const double lowest = std::exp(-10.0 * clamp);
    auto& F = electrons ? cv.Fn : cv.Fp;
    if (form == LevelStep::damped)
        for (double& step : delta) step = s * damped_step(step);
    else
        for (double& step : delta) step = 1.0 + step <= lowest ? -s * 10.0 * clamp : s * std::log1p(step);
    const double clamped = ApplyClamping(delta, settings, clamp);
    const double lambda = BacktrackingNewtonStep(problem, work, cv, electrons ? of_u : of_v, delta);
    for (std::size_t i = 0; i < delta.size(); ++i) F[i] += lambda * delta[i];
    (electrons ? cv.max_delta_Fn : cv.max_delta_Fp) = lambda * clamped;
    if (electrons)
        update_Fn(cv);
    else
        update_Fp(cv);
    return !(clamped <= (electrons ? settings.termination_Fn : settings.termination_Fp));
}

}  // namespace kovin
