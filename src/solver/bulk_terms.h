// Charge in defects and recombination at every mesh point, with their derivatives to psi, u and v.
//
// A single-level defect with the rates A = ep + cn n (towards the electron-filled state) and B = en + cp p holds the
// fraction f = A/(A + B) of electrons and recombines Nt cn cp (n p - ni^2)/(A + B). Since en ep = cn cp ni^2, the rate
// is Nt en ep P/(A + B) with P = exp(Fn - Fp) - 1, which keeps its digits near equilibrium. With the rates gn and gp of
// light, A = ep + gp + cn n and B = en + gn + cp p, and from the product en ep P goes what light adds to the emission:
// (en + gn)(ep + gp) - en ep.
// Source: Shockley, Read, Phys. Rev. 87 (1952) 835; Hall, Phys. Rev. 87 (1952) 387.
#pragma once

#include "solver/level_loop.h"
#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Adds one discrete energy of a defect with a single level to the terms.
void rdcbijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out,
                            Terms terms = Terms::all);

/// Adds all defects to the terms: single levels, and chains (chain_terms.h).
void rdcbijdrage_defects(const BulkDefects& defects, const CalculationVariables& cv, DcTerms& out,
                         Terms terms = Terms::all);

/// Adds K_rad (n p - ni^2) + (Cn n + Cp p)(n p - ni^2) at the points first to last.
void rdcbijdrage_radiative_auger(const OnMesh& on, std::size_t first, std::size_t last, const CalculationVariables& cv,
                                 DcTerms& out);

/// All contributions of the present state: those of the bulk into cv.terms_total and, complete whatever `terms`, those
/// of the interfaces into cv.terms_interface.
void totale_rdcbijdrage(const Problem& problem, CalculationVariables& cv, Terms terms = Terms::all);

}  // namespace kovin
