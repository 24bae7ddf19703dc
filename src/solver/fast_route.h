// The fast route from one solution to the next: coupled Newton steps, and what to do where they fail.
//
// Rungs, each tried where the one before has failed:
//
//     newton     the whole change at once, from a linear prediction
//     steps      light in powers of ten, voltage in halves of the step
//     transient  the cell charges from the last good state, with time steps that grow
//     careful    newton and steps once more with psi bounded to 5 kT a step
//     classic    the decoupled iteration
#pragma once

#include "solver/fast_newton.h"

namespace kovin {

struct Workspace;

enum class FastRung { newton, steps, transient, careful, classic };

/// Brings the light of the problem onto the present state. @return converged
bool fast_onder_belichting(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Solves once more at the present bias, after something small has changed; where that fails, as fast_onder_belichting.
/// The next voltage is still predicted from the last two. @return converged
bool fast_settle(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// From the present voltage to V [V, internal sign]. Where it fails the state is left as it was at the last voltage
/// that converged, marked as failed. @return converged
bool fast_naar_spanning(const Problem& problem, Workspace& work, CalculationVariables& cv, double V);

/// Makes all variables of the state follow from psi, Fn, Fp, and the current. @return the current has settled, see
/// fast_current
bool fast_complete_state(const Problem& problem, Workspace& work, CalculationVariables& cv);

}  // namespace kovin
