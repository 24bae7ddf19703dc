// The inner loops of the decoupled iteration: Poisson's equation, electrons, holes, each by Newton steps.
//
// Source: Gummel, IEEE Trans. Electron Devices 11 (1964) 455.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"
#include "solver/state.h"

namespace kovin {

/// The raw Newton step of Poisson's equation from the present state, into work.delta. @return false if it is not finite
[[nodiscard]] bool poisson_step(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Adds lambda times work.delta to psi; the Bernoulli values are left behind.
void add_to_psi(const Problem& problem, const Workspace& work, CalculationVariables& cv, double lambda = 1.0);

/// Poisson's equation with quasi-Fermi levels held. A first step below the termination is added all the same.
/// @param limit  of iterations
/// @return false on failure (its_psi is then -1); otherwise its_psi counts the steps above the termination
[[nodiscard]] bool dc_Gummel_iteration_psi(const Problem& problem, Workspace& work, CalculationVariables& cv,
                                           int limit);

/// One continuity equation with psi and the other carrier held. Sets its_u or its_v. @return false on failure
[[nodiscard]] bool dc_Gummel_iteration_u_or_v(const Problem& problem, Workspace& work, CalculationVariables& cv,
                                              Carrier carrier);

}  // namespace kovin
