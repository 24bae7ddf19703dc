// Everything that the running program remembers. Made once, on the heap; two sessions know nothing of each other.
#pragma once

#include "base/surroundings.h"
#include "results/curve_files.h"
#include "sweeps/simulation.h"

#include <string>
#include <vector>

namespace kovin {

struct Session {
    Surroundings surroundings;
    Simulation simulation;
    CutCurves ActionListMode = CutCurves::truncate;  ///< rows of a result file for points behind a convergence failure
    std::vector<std::string> unsupported;            ///< what the last run asked for and did not get, by name
};

}  // namespace kovin
