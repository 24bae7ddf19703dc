// Starting estimates: the first one at equilibrium, and the step from one voltage to the next.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Recomputes exponentials and Bernoulli values of psi: to be called after every change of psi.
void update_psivar(const CalculationParameters& set3, CalculationVariables& cv);
/// Recomputes what depends on Fn (Fp) alone, and P: to be called after every change of Fn (Fp).
void update_Fn(CalculationVariables& cv);
void update_Fp(CalculationVariables& cv);

/// V = 0: psi linear between the contacts, flat quasi-Fermi levels.
void eerste_schatting(const CalculationParameters& set3, CalculationVariables& cv);

/// State at V from the state at V - dV: dV laid over the device linearly in x, on psi and both quasi-Fermi levels.
void volgende_schatting(const CalculationParameters& set3, CalculationVariables& cv, double V, double dV);

}  // namespace kovin
