// Pseudo-transient continuation: the storage of free carriers carries a hard step of bias or light over.
//
// Source: Kelley, Keyes, SIAM J. Numer. Anal. 35 (1998) 508.
#pragma once

#include "solver/fast_newton.h"

namespace kovin {

/// Follows the cell in time from the state as it stands, which holds the contacts of the new bias but the inside of the
/// old one, until its stationary state is found. @param arrays  with the new light; its storage terms are set here
/// @return how the last stationary attempt ended, with the steps of all attempts
[[nodiscard]] FastSolve fast_transient(const Problem& problem, FastWork& work, FastArrays& arrays,
                                       CalculationVariables& cv);

}  // namespace kovin
