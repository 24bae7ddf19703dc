// Starting estimates: the first one at equilibrium, and the step from one voltage to the next.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Recomputes exponentials of psi and the densities: all that Poisson's equation reads of a new psi.
void update_epsi(const CalculationParameters& set3, CalculationVariables& cv);
/// Recomputes the Bernoulli values of the intervals, which only the currents read.
void update_bernoulli(const CalculationParameters& set3, CalculationVariables& cv);
/// Both: to be called after every change of psi.
void update_psivar(const CalculationParameters& set3, CalculationVariables& cv);
/// Recomputes what depends on Fn (Fp) alone, and P: to be called after every change of Fn (Fp).
void update_Fn(CalculationVariables& cv);
void update_Fp(CalculationVariables& cv);

/// V = 0: psi linear between the contacts, flat quasi-Fermi levels.
void eerste_schatting(const CalculationParameters& set3, CalculationVariables& cv);

/// Predicts the state at V from that at V - dV, in the way of the setting versieschatting:
///
///      0     dV laid over the device linearly in x, on psi and both quasi-Fermi levels
///     20     linear in x on psi alone; Fn follows dV as a whole where it lies within |V| of 0 (for a step away from
///            V = 0) or beyond (for a step back); Fp stays
///     other  as 20, but psi stays as well, except at the right contact
///
/// 20 and the others suit a p side at the left, where the electrons follow the right contact.
void volgende_schatting(const CalculationParameters& set3, CalculationVariables& cv, double V, double dV);

}  // namespace kovin
