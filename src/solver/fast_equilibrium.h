// Equilibrium from local charge neutrality: Poisson's equation by Newton steps that no setting holds back.
//
// Fn = Fp = 0 everywhere. Each point begins where its own charge vanishes, the contacts at their work functions. Inside
// the layers that is the solution already; at junctions and contacts the steps are large at first, and their elements
// are damped one by one. The charge falls with psi at every point, so that Newton's method finds its way from there.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Most Newton steps of one equilibrium.
inline constexpr int fast_equilibrium_steps = 100;

/// Sets V = 0, Fn = Fp = 0 and psi to local neutrality, defect charge included; contacts at their work functions. The
/// charge of interfaces does not take part; the Bernoulli values are left behind.
void start_from_neutrality(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Poisson's equation with Fn = Fp = 0, from psi as it stands, until a step is below 1e-9 kT or falls no further for
/// rounding. Fills terms and currents; `iterations` and `its_psi` count the steps. @return converged
bool fast_equilibrium_from_here(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Both; a start that leads nowhere is made good by the straight line of eerste_schatting. @return converged
bool fast_equilibrium(const Problem& problem, Workspace& work, CalculationVariables& cv);

}  // namespace kovin
