// The current of a solved state with an estimate of its own error.
//
// The current is the same at every x, but not equally well known there: where the fluxes of a carrier to the left and
// to the right are large and nearly equal, their difference is rounding. Taken is the estimate with the least noise of
//
//     every interval inside a layer:  J = jn + jp,  noise about 4 eps of the opposing fluxes
//     the balance from the left:      J = jn(left contact) + integral of R - G - jp(right contact)
//     the balance from the right:     J = jn(right contact) - integral of R - G - jp(left contact)
//
// with jp counted as the flux of holes. The link over an interface is none of them: what recombines through the states
// there crosses it as capture, not as flux.
#pragma once

#include "solver/fast_system.h"

namespace kovin {

/// Sets J_median, J_error and J_noise of the state.
/// @return the two best estimates agree, to 1e-6 of J or their rounding
/// @pre fast_physics of this state; the variables of the state follow from psi, Fn, Fp; terms_interface is of this
/// state
bool fast_current(const Problem& problem, const FastArrays& arrays, FastWork& work, CalculationVariables& cv);

}  // namespace kovin
