// One full run: equilibrium, short circuit under illumination, working point, sweeps; each rung from the one below.
#pragma once

#include "sweeps/simulation.h"

namespace kovin {

enum class RunOutcome { done, failed, stopped };

/// What a climb is for.
enum class RunMode {
    measure,  ///< to the working point, and the sweeps from there
    settle    ///< to the second working point, where the metastable pairs settle; no sweeps
};

/// Calculates what the panel asks for. Makes wp and actie from the panel (with the polarity of the cell), prepares the
/// device, climbs the ladder and runs the sweeps. A rung that fails ends the run (reported); a failed start or a cut
/// sweep does not. Takes `planted` for the densities of its defects.
RunOutcome calculate(Surroundings& surroundings, Simulation& simulation, RunMode mode = RunMode::measure);

/// The same of a cell whose metastable pairs, if it has any, first settle at the second working point: in a calculation
/// of their own, whose densities are planted in the real one. The cell itself is not touched. A pair that cannot react
/// ends the run (reported).
RunOutcome calculate_withMeta(Surroundings& surroundings, Simulation& simulation);

/// The conditions of the present run, for the headers of its files.
[[nodiscard]] RunRecord run_record(const Surroundings& surroundings, const Simulation& simulation);

}  // namespace kovin
