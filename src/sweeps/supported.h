// What a run asks for that is not computed yet. Nothing of it is left out silently.
#pragma once

#include "sweeps/simulation.h"

#include <string>
#include <vector>

namespace kovin {

struct UnsupportedPhysics {
    std::vector<std::string> falsifies;  ///< without it the figures would be wrong: no calculation
    std::vector<std::string> left_out;   ///< a measurement or setting that other figures do not depend on
};

/// Names everything that the problem and the panel ask for and that is not there, by layer or interface (from 1) and
/// name.
[[nodiscard]] UnsupportedPhysics unsupported_physics(const Simulation& simulation);

}  // namespace kovin
