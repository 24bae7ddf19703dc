// The columns of a current-voltage curve, point by point, as every sweep over the voltage collects them.
#pragma once

#include "solver/currents.h"
#include "sweeps/simulation.h"

namespace kovin {

/// Adds the columns of the point that has just been solved; everything in internal sign.
/// @param problem        that was solved
/// @param v_cell         voltage over the device [V]
/// @param recombination  work space
void add_dc_point(const Simulation& simulation, const Problem& problem, double v_cell,
                  RecombinationProfile& recombination, IvCurve& curve);

/// Rows of a curve in rising order of its voltage.
[[nodiscard]] std::vector<std::size_t> rising_voltage(const IvCurve& curve);
/// Puts a column into such an order.
void reorder(std::vector<double>& column, const std::vector<std::size_t>& order);

/// Brings voltage and current into the user's sign.
void to_user_sign(IvCurve& curve, const Polarity& polarity);

/// Characteristics of a curve in the user's sign under the light of the run; `record` stays in the dark.
void extract_characteristics(const Simulation& simulation, const IvCurve& curve, IVCharacteristics& record);

}  // namespace kovin
