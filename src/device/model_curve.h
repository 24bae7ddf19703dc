// The curves y(x) of the parametric models: spectra over wavelength, generation over position.
//
// Every parameter is taken as it stands within the bounds below, so that no value of a file can overflow a curve or
// make a number that is none: wavelengths 0.1 to 1e6 nm, lengths 1e-6 to 1e6 um, temperatures 1 to 1e8 K.
#pragma once

#include "device/model.h"

#include <vector>

namespace kovin {

/// Points of a curve; x rises and is not negative.
struct ModelCurve {
    std::vector<double> x, y;
};

/// What a generation profile takes from its cell.
struct ProfileFrame {
    double d_um = 2.0;                         ///< total thickness [um]; 2 stands for a cell without layers
    double widthtail = 7.0, widthgauss = 6.0;  ///< reach of exponential and Gaussian tails in their lengths
};

/// Displacement constant of a black body: temperature times the wavelength of its largest power per nm [nm K].
inline constexpr double wien_nm_K = 2897770.0;

/// Points of a curve have at least this many rows, whatever the model asks for.
inline constexpr int min_curve_points = 5;

/// Curve of a spectrum or a generation model; empty for any other number, and for a profile in front of the cell.
///
/// Spectra: wavelength [nm] and density [W/(cm2 nm)]. 41, 42 are rectangles framed by a zero 0.1 nm outside each
/// limit; 44, 45 the same about a centre, framed at a fifth of the width if that is less. The ramps of the frame add
/// their share, frame/range, to the whole. 43 is Planck's law, normalised by the trapezoid rule on its own grid.
///
/// Generation: position [um] and G [1/(cm3 s)], in all the first parameter [1/(cm2 s)]. Points at negative positions
/// are dropped; a line that crosses x = 0 upward gets a point there.
/// Source: Planck's radiation law; the other curves are definitions.
[[nodiscard]] ModelCurve CalculateBasicModelXY(const Model& model, const ProfileFrame& frame = {});

}  // namespace kovin
