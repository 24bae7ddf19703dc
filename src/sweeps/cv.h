// The capacitance-voltage sweep: the small-signal admittance of each point at the frequency of the working point.
#pragma once

#include "sweeps/voltage_sweep.h"

namespace kovin {

/// Runs the sweep of the running record from the state that CalculateStartingPoint left, into `element`, with the
/// depletion width and apparent doping of the settings in the problem. What the terminals show counts: with series
/// resistance and shunt. The states of the sweep join the I-V curve of the element, whose characteristics are read
/// anew. A point that does not converge cuts the curve before it (reported; failures.CV stays true).
/// @return as calciv
SweepOutcome calccv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element);

}  // namespace kovin
