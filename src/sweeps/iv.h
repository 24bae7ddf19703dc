// The current-voltage sweep.
#pragma once

#include "sweeps/starting_point.h"

#include <vector>

namespace kovin {

enum class SweepOutcome { done, stopped, refused };

/// Voltages in two legs around Vstart: those from it on, rising, then those below it, falling.
/// @param secondLeg  index of the first voltage of the second leg, -1 if there is none
void ReorderVoltagesAroundStartVoltage(std::vector<double>& v, double Vstart, int& secondLeg);

/// Runs the sweep of the running record from the state that CalculateStartingPoint left, into `element`. A point that
/// does not converge cuts the curve before it (reported; failures.IV stays true).
/// @return refused for more than 2001 points (reported); stopped when the user asked for it: the curve holds what has
///         been done
SweepOutcome calciv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element);

}  // namespace kovin
