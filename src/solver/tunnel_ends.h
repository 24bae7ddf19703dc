// Steps of both carriers together across the paths of a cell (tunnel_junctions): the points between two ends of paths
// are eliminated along the chain of each carrier, what is left couples the ends. All of it carries row sums along
// (row_sum_solve).
#pragma once

#include "solver/tunnel_work.h"

namespace kovin {

/// Eliminates the points between the ends: what is left couples each end to the next ones.
void eliminate_between_ends(JunctionWork::Chain& c);

/// The steps of the ends into j.steps, from the chains after elimination and what the paths add in j.couplings and
/// j.sums. Ends are numbered anew, so that those which a path or a stretch of chain couples stay near each other: paths
/// of a junction are parallel, the band is a few elements wide, and the work grows linearly with their number.
/// @pre j.sums holds what paths add to the rows, electrons first; @post j.couplings contains the chains
void solve_ends(JunctionWork& j);

/// From the steps of the ends to those of all points. @param at_ends  those of this carrier
void steps_between_ends(JunctionWork::Chain& c, const double* at_ends);

}  // namespace kovin
