// Metastable pairs settle at the second working point before a cell is measured at the first.
#pragma once

#include "sweeps/simulation.h"

namespace kovin {

/// Relaxes the ratios of all pairs at the bias of the running state, which is solved there: steps until no share is to
/// change by more than `termination_Meta_full`, `maxmetaiter_full` steps at most. The running state, its densities and
/// s.metastable agree when it ends. With `usemetaclamping` 1 each step is scaled by `clamp_meta` until that limit is
/// met, and goes on without.
/// @param settled  false if the limit was not met (reported); the ratios are those that were reached
/// A step that leads to no state is taken back and shortened.
/// @return false if no step was short enough or the user stopped
bool relax_metastable_pairs(Surroundings& surroundings, Simulation& simulation, bool& settled);

}  // namespace kovin
