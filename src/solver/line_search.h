// Line search: shortens a Newton step until the residual of its equation falls.
//
//     f(lambda) = 1/2 sum res_i^2 at X + lambda delta,     f'(0) = -2 f(0) for an exact Newton step
//
// A step is taken when f(lambda) < f(0) + alpha f'(0) lambda; otherwise lambda goes to the minimum of a parabola, then
// of a cubic through the values before. The cubic reads f of the pass before and of the one before that, not yet that
// of the pass itself.
// Source: Press et al., Numerical Recipes, section 9.7.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <span>

namespace kovin {

/// Half the sum of the squares.
[[nodiscard]] double HalfSumOfSquares(std::span<const double> x);

/// Sets psi, Fn (of_u) or Fp (of_v) to `start` + lambda `step` and brings everything up to date that its own residual
/// reads.
void UpdateBacktrackCalcVars(const Problem& problem, CalculationVariables& cv, Unknown unknown,
                             std::span<const double> start, double lambda, std::span<const double> step);

/// Searches along `delta`, a clamped step in psi, Fn (of_u) or Fp (of_v), by the residual of the equation of this
/// unknown. Does nothing but return 1 with `backtracking` off. At the end the unknown is as it was; what follows from
/// it is left to the caller, who makes the step. Of `work` the search arrays and rho_total are used.
/// @return lambda, by which the caller scales the step: in ]0, 1]
[[nodiscard]] double BacktrackingNewtonStep(const Problem& problem, Workspace& work, CalculationVariables& cv,
                                            Unknown unknown, std::span<const double> delta);

}  // namespace kovin
