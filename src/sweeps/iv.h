// The current-voltage sweep.
#pragma once

#include "sweeps/voltage_sweep.h"

namespace kovin {

/// Runs the sweep of the running record from the state that CalculateStartingPoint left, into `element`. A point that
/// does not converge cuts the curve before it (reported; failures.IV stays true).
/// @return refused for more than 2001 points (reported); stopped when the user asked for it: the curve holds what has
///         been done
SweepOutcome calciv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element);

}  // namespace kovin
