// From the cell in SI to the calculation set at one temperature.
#pragma once

#include "device/calculation_set.h"
#include "device/definition.h"

namespace kovin {

/// exp(x) for x < 0, 1 otherwise: share of carriers that pass a step of x kT.
[[nodiscard]] double ThermionicFunction(double x);

/// Derives `parameterset3` and its scales from `parameterset1` at T [K]. The arrays on the mesh stay empty. Contacts
/// must have been checked against their layers. Profiles of `set3.layer` keep SI numbers; cross sections, defect
/// densities and characteristic lengths of its levels and interface defects are normalised.
/// Ends of all profiles are refreshed first (RecalculateLeftRightValues).
void parameterset1_to_3(const InputParameters& set1, double T, CalculationParameters& set3);

}  // namespace kovin
