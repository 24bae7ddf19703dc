// A parametric curve: spectrum, generation profile or absorption. Plain data; table in model_table.
#pragma once

#include "base/constants.h"

#include <array>
#include <string>

namespace kovin {

enum class ModelClass : int { none = -1, spectrum = 0, generation = 1, absorption = 2 };

struct Model {
    ModelClass model_class = ModelClass::none;
    int number = -1;  ///< 21-27 generation, 41-45 spectrum, 61-66 absorption
    std::string name;
    int parameters = 1;                           ///< number of values in use, 1 to 5
    int points = 41;                              ///< grid size of the curve
    std::array<double, 5> values{1, 1, 1, 1, 1};  ///< the fifth of 61 to 65 is the material's band gap [eV]
    bool on = false;                              ///< absorption: this model contributes
};

/// The six absorption models of one pure material, in the order 61 to 66.
struct AbsorptionModelSet {
    int material = 0;  ///< 0 pure A, 1 pure B
    double Eg = 1.2;   ///< [eV]
    std::array<Model, max_absorption_models> models;
};

}  // namespace kovin
