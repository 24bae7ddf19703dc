// The spectrum of a work point: wavelengths and the power of each wavelength interval.
#pragma once

#include "base/surroundings.h"
#include "device/work_point.h"
#include "optics/generation_parameters.h"

#include <vector>

namespace kovin {

/// Fills wavelengths and spectrum of `gp` from the spectrum file or model of `wp` (two dark rows when it is dark), with
/// its intensity, side, cut-off and internal reflection, and the three powers of `wp`.
/// @return false when there is no usable spectrum (reported)
[[nodiscard]] bool bepaal_spectrum(Surroundings& surroundings, WorkPoint& wp, GenerationParameters& gp);

/// The light of a work point outside a run: its three powers are filled.
/// @return the power of the spectrum [W/m2], before cut-off and neutral filter; 0 without a usable one (reported)
double CalculateIncidentLightIntensityFromSpectrumFileOrModel(Surroundings& surroundings, WorkPoint& wp);

/// Photons of the spectrum that `gp` holds [1/(m2 s)], before cut-off, neutral filter and the filters of the contacts.
[[nodiscard]] double CalculateIncidentLightFluxFromFileOrFromModel(const GenerationParameters& gp);

/// Wavelengths [nm] of a spectrum model and the power of their intervals [W/m2]: half the way to both neighbours, and
/// for the two ends the whole of their one interval. Only a black body has light there.
void GetSpectrumFromModel(const Model& model, std::vector<double>& lambda, std::vector<double>& spectrum);

/// Adds those of three wavelengths that lie inside the table and more than 0.0001 nm off its rows. The spectrum holds
/// powers of intervals: it is interpolated as a density, so that the sum stays that of the same density.
/// @param lambda,spectrum  n rows each, made rising
void SpectrumInterpolation(std::vector<double>& lambda, std::vector<double>& spectrum,
                           const std::array<double, 3>& added);

}  // namespace kovin
