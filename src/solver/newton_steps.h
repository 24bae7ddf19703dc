// From a raw Newton step to the step that is made: clamps on psi and on the quasi-Fermi levels.
#pragma once

#include "device/numerical_settings.h"
#include "solver/residuals.h"
#include "solver/state.h"

#include <span>

namespace kovin {

/// Largest |x[i]|; NaN if any element is.
[[nodiscard]] double MaximumAbsoluteValue(std::span<const double> x);

/// Limit of a step at inner iteration k: falls linearly from clamp_start to `final_clamp` [kT].
[[nodiscard]] double clamp_at(const ConvergenceParameters& settings, double final_clamp, int k);

/// Limits `delta` to `limit` in the way of clamp_mode. @return the largest element afterwards; NaN if any is
double ApplyClamping(std::span<double> delta, const ConvergenceParameters& settings, double limit);

/// How a relative step du/u (or dv/v) becomes one of the level.
enum class LevelStep {
    exact,  ///< ln(1 + du/u): for the equation in u alone, which is nearly linear
    damped  ///< damped_step of du/u
};

/// sign(x) ln(1 + |x|): small steps as they are, of large ones the order of magnitude. Where equations are solved
/// together, a linear step in u says as little about a fall as about a rise; and where psi and a level have to move by
/// the same amount in opposite directions, as in every neutral layer, equal damping keeps them together.
/// Source: Brown, Lindsay, Solid-State Electronics 19 (1976) 991.
[[nodiscard]] double damped_step(double x);

/// Turns `delta`, a relative step du/u or dv/v, into a clamped step of Fn or Fp and makes it. The density falls at most
/// by exp(-10 clamp) in one step, so the logarithm never sees a number that is not positive. With `backtracking` on the
/// step is shortened by a line search on the residual of this carrier.
/// @return true if the step was larger than the termination: not yet converged
bool clamping_u_or_v(const Problem& problem, Workspace& work, Carrier carrier, int k, std::span<double> delta,
                     CalculationVariables& cv, LevelStep form = LevelStep::exact);

}  // namespace kovin
