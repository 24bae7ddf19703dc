// Occupation of levels and the light that they absorb, brought into line with each other.
//
// How a level is filled decides what it takes from the light, and the light changes how it is filled. With the carriers
// as they are the two follow each other in turn; the solve of the carriers and this alternate until neither moves.
// Source: Keevers, Green, J. Appl. Phys. 75 (1994) 4022.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Occupation and light in turn, at the carriers of `cv`, until the largest change of states and rates is below
/// `termination_Ft`, `most` times at most: G, and the emission by light of all defects. Both start from what they are.
/// Changes count against the value itself, or 1e-9 of the largest of its level where that is more.
/// @param most  passes; 0: `maxiter_Ft`
/// @return the first pass moved something; false without levels that absorb light
bool IterateFt(const Problem& problem, const CalculationVariables& cv, int most = 0);

/// The same to the end, for a state that is taken up or read: also a start far off settles.
void settle_light(const Problem& problem, const CalculationVariables& cv);

/// No light on any level.
void clear_optical_emission(BulkDefects& defects);

}  // namespace kovin
