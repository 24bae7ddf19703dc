// The model of the cross section with which a deep level absorbs light, and what makes one useless.
#pragma once

#include "device/cell.h"

#include <string>
#include <vector>

namespace kovin {

/// No level is larger: a square of 1 um [m2]. Numbers stay finite with it, whatever a file or a model says.
inline constexpr double largest_cross_section = 1e-12;

/// Cross section over wavelength, wavelengths rising; empty where light does nothing.
struct CrossSections {
    std::vector<double> wavelength, sigma;  ///< [nm], [m2]
};

/// The model of a level that is bound by a short-range potential, at 50 wavelengths from 1239.977/Emax to 1239.977/E0:
///
///     sigma = 9.3e-21 m2 eV (Eeff/E0)^2 / (E0 n m*/m0) sqrt((r - 1)^3)/r^3,   r = hv/E0
///
/// @param E0  threshold [eV]; at or above Emax, or not positive, there are no rows
/// Source: Lucovsky, Solid State Commun. 3 (1965) 299; 9.3e-21 m2 eV is (16 pi/3)(fine structure) hbar^2/m0.
[[nodiscard]] CrossSections ReadOpticalCaptureParametersFromModel(const OpticalCaptureProperties& capture, double E0);

/// Something that is to be said of a model.
struct CaptureFinding {
    std::string key;       ///< line that it is about, behind "optical capture of electrons" or "of holes"
    std::string text;      ///< without the level
    bool refused = false;  ///< it cannot be calculated; else it absorbs nothing
};
/// What is to be said of a model with the threshold E0 [eV]; empty if it absorbs.
[[nodiscard]] std::vector<CaptureFinding> capture_findings(const OpticalCaptureProperties& capture, double E0);

}  // namespace kovin
