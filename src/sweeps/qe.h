// Quantum efficiency: a monochromatic probe on top of the bias light of the working point, wavelength by wavelength.
//
//     QE = 100 % * (J(bias + probe) - J(bias)) / (-+ q Phi)
//
// Phi counts the photons that come to the cell, before any filter. Generation is linear in the light: that of the bias
// stays as it is, whether from a spectrum or given, and that of the probe is added.
#pragma once

#include "sweeps/iv.h"

#include <optional>
#include <span>

namespace kovin {

/// +1 where light drives a negative current through the cell, as at the short circuit of the run; a cell without light
/// is shown its spectrum in full, without cut-off and neutral filter (those of the contacts apply), beside the running
/// calculation: of that nothing remains but that currentCalcVars stands at equilibrium. @return nothing if that could
/// not be calculated (reported)
[[nodiscard]] std::optional<int> sign_of_light_current(Surroundings& surroundings, Simulation& simulation);

/// Runs the wavelengths of the running record from the working point, into `element`. Each begins at the working point,
/// on its mesh; a failure, or a probe that is lost in the rounding of the current, cuts the curve (reported;
/// failures.QE stays true). currentCalcVars is left at the last wavelength.
/// @param sign  of sign_of_light_current
/// @return refused for more than 2001 points, and a probe without photons or with too many (reported); stopped when the
/// user asked for it: the curve holds what has been done
SweepOutcome calcqe(Surroundings& surroundings, Simulation& simulation, int sign, DataListElement& element);

/// What a quantum efficiency [%] at the wavelengths [nm] collects of the rows (wavelength, photons per m2 and s) of a
/// spectrum [mA/cm2]: QE linear between its wavelengths, which rise or fall, and nothing outside.
[[nodiscard]] double collected_current(std::span<const double> wavelength, std::span<const double> qe,
                                       std::span<const double> lambda, std::span<const double> photons);

}  // namespace kovin
