// The capacitance-frequency sweep: the small-signal admittance of the working point.
#pragma once

#include "sweeps/voltage_sweep.h"

#include <optional>

namespace kovin {

/// Runs the frequencies of the running record, equally spaced in their logarithm, at the working point, into `element`.
/// What the terminals show counts: with series resistance and shunt. G is told as 1e-12 S/cm2 at least. A frequency
/// without an answer cuts the curve (reported; failures.Cf stays true). currentCalcVars is left at the working point.
/// @return refused for more than 2001 points and frequencies that are not positive (reported); stopped when the user
///         asked for it: the curve holds what has been done
SweepOutcome calccf(Surroundings& surroundings, Simulation& simulation, DataListElement& element);

/// Admittance of the terminals at the working point and its frequency, as a C-V point there; empty where there is none
/// (reported; failures.admittance is then true).
/// @pre currentCalcVars stands at the working point
[[nodiscard]] std::optional<WorkPointAdmittance> work_point_admittance(Surroundings& surroundings,
                                                                       Simulation& simulation);

}  // namespace kovin
