// Charge in defects with several levels and recombination through them, with their derivatives to psi, u and v.
//
// The fractions f[s] of the states come from device/charge_states.h, with A[s] = ep + cn n and B[s] = en + cp p. Each
// level recombines like a single one of which only the fraction w = f[s] + f[s+1] takes part:
//
//     R = Nt sum of w P en ep/(A + B),   P = exp(Fn - Fp) - 1
//
// Emission rates enter as their product alone, in which the degeneracy cancels; what light adds to the product is taken
// from P en ep, see bulk_terms.h. With L = d ln(A/B) of a level, the
// fractions follow as
//
//     d ln f[s] = sum over k < s of L[k] below[k]  -  sum over k >= s of L[k] above[k]
//
// where every L has one sign for all levels. Nothing is lost by cancellation, whichever state holds nearly all.
// Source: Sah, Shockley, Phys. Rev. 109 (1958) 1103.
#pragma once

#include "solver/bulk_terms.h"

namespace kovin {

/// Adds one discrete energy of a defect with 2 to max_levels levels to the terms.
void rdcbijdrage_een_niveau_multilevel(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out,
                                       Terms terms = Terms::all);

/// The same with the carriers as they are given, from the first point of the chain on: charge, rate and their slopes to
/// the carriers (the sums of Terms::carriers).
void add_chain_by_carriers(const DefectChain& chain, const LevelCarriers& with, const LevelSums& out);

}  // namespace kovin
