// One full run: equilibrium, short circuit under illumination, working point, sweeps; each rung from the one below.
#pragma once

#include "sweeps/simulation.h"

namespace kovin {

enum class RunOutcome { done, failed, stopped };

/// Calculates what the panel asks for. Makes wp and actie from the panel (with the polarity of the cell), prepares the
/// device, climbs the ladder and runs the sweeps. A rung that fails ends the run (reported); a failed start or a cut
/// sweep does not.
RunOutcome calculate(Surroundings& surroundings, Simulation& simulation);

/// The conditions of the present run, for the headers of its files.
[[nodiscard]] RunRecord run_record(const Surroundings& surroundings, const Simulation& simulation);

}  // namespace kovin
