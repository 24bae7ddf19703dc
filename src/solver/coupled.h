// The coupled inner loops: electrons and holes together, and all three equations together, each by Newton steps with
// every derivative.
//
// Source: Selberherr, Analysis and Simulation of Semiconductor Devices (1984), chapter 7.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Terms, residuals and all derivatives of the present state into work.block: both continuity equations, or all three.
void assemble_uv(const Problem& problem, Workspace& work, CalculationVariables& cv);
void assemble_psi_uv(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Both continuity equations with psi held. Sets its_u and its_v. @return false on failure (the counts are then -1)
[[nodiscard]] bool dc_Gummel_iteration_uv(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// All three equations. Sets its_psi, its_u and its_v. The steps come down quadratically; after the first one below the
/// terminations there is one more, as the currents hang on differences of the levels that are far smaller. Too far from
/// the solution the steps do not come down: the loop then gives up, and the state is not worth keeping.
/// @param largest_first_step  [kT] beyond it the loop gives up at once
/// @return false on failure (the counts are then -1)
[[nodiscard]] bool fully_coupled_iteration(const Problem& problem, Workspace& work, CalculationVariables& cv,
                                           double largest_first_step);

}  // namespace kovin
