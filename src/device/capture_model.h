// The model of the cross section with which a deep level absorbs light, and what makes one useless.
#pragma once

#include "device/cell.h"

#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// No level is larger: a square of 1 um [m2]. Numbers stay finite with it, whatever a file or a model says.
inline constexpr double largest_cross_section = 1e-12;

/// Cross section over wavelength, wavelengths rising; empty where light does nothing.
struct CrossSections {
    std::vector<double> wavelength, sigma;  ///< [nm], [m2]
};

/// "the heading says cm2; files hold m2": what a line above the rows of a file says against the unit of its cross
/// sections. Empty if no word of it is another area than m2, or if it names m2 as well.
[[nodiscard]] std::string heading_against_m2(std::string_view line);

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
/// What is to be said of a model with the threshold E0 [eV]; empty if it absorbs, or if no model is asked for.
[[nodiscard]] std::vector<CaptureFinding> capture_findings(const OpticalCaptureProperties& capture, double E0);

}  // namespace kovin
