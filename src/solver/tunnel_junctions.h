// Tunnel junctions: electrons on one side of a path from band to band and holes on the other one.
//
// The continuity equation of one carrier cannot tell whether the current goes on in the other one behind such a path.
// Where the path conducts well a difference of currents moves the levels by less than any termination: what the
// iteration is judged by here is the current itself.
//
// The two equations together have the sides of a junction move as one. With steps of the levels as unknowns a row is
//
//     (left + right + paths + sum) x[i] - left x[i-1] - right x[i+1] - paths x'[end] = res
//
// and the stack between two junctions is held by its row sums alone, which may be 1e-20 of the couplings. Elimination
// therefore carries the row sums along (row_sum_solve): points between two ends of paths first, then the ends, of paths
// within a band too (tunnel_ends). The sum of a row is what all levels together change in it. Where recombination or
// the other end of a path takes more than that change gives back it is negative: pivots are positive as long as no such
// sum outweighs the couplings of its row, and what is lost then is no more than the sums lose against each other.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Is the current the same on both sides of every path from band to band? Layers, cut where paths pass, are compared by
/// their median currents: the rounding of single intervals cancels in these, and what is left of it is measured by the
/// differences of neighbours. Between paths and a contact with hardly a point the current of the contact is taken.
/// @pre work.currents and work.tunnel.band_to_band are those of the state
[[nodiscard]] bool current_passes_junctions(const Problem& problem, Workspace& work, const CalculationVariables& cv);

/// Newton steps of electrons and holes together with psi held, across all paths from band to band; recombination is
/// differentiated to the own carrier only, paths into states at interfaces are left to the equations of one carrier.
/// Larger steps than work.tunnel.junctions.limit are shortened to it; it follows how they go on.
/// @param moved  set where a level moved by more than its termination, else left alone
/// @return false if a step is no number
[[nodiscard]] bool couple_junctions(const Problem& problem, Workspace& work, CalculationVariables& cv, bool& moved);

}  // namespace kovin
