// Light that deep levels absorb: the impurity photovoltaic effect.
//
// A level takes photons below the gap in two ways. From a filled state the electron goes to the conduction band, with
// the cross section sigma_n; an empty state is filled from the valence band, with sigma_p. Its absorption stands beside
// that of the bands,
//
//     a = alpha + sum (sigma_n filled + sigma_p empty),
//
// and the photons in the box of a mesh point are shared out in these proportions, so that none is lost or counted
// twice. With the depth t = a width of the box and F the flux that meets it, from the front and from the back, the mean
// flux in it is F (1 - exp(-t))/t, and
//
//     pairs = alpha width mean flux,   g_n = sum sigma_n mean flux,   g_p = sum sigma_p mean flux
//
// over the wavelengths. How the states are filled comes from the solver (solver/optical_occupation.h).
// Source: Keevers, Green, J. Appl. Phys. 75 (1994) 4022; Schmeits, Mani, J. Appl. Phys. 85 (1999) 2207.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// Has any level in use optical capture?
[[nodiscard]] bool has_optical_capture(const CalculationParameters& set3);

/// The cross sections of all levels with optical capture, from their files or from the model, into gp.capture, at the
/// wavelengths of gp.
/// @param told  true: what absorbs nothing is told already; else it is told, and `told` is true afterwards
/// @return false if a file or the numbers of a model cannot be used (reported)
[[nodiscard]] bool ReadOpticalCaptureParameters(Surroundings& surroundings, const CalculationParameters& set3,
                                                GenerationParameters& gp, bool& told);

/// gp.capture at the wavelengths of gp: logarithmically between rows, 0 outside them.
void InterpolateOpticalCaptureProperties(GenerationParameters& gp);

/// Places for the values of all levels on this mesh. Where their number changes, states and rates are 0.
/// @return something was made anew
bool capture_on_mesh(const Mesh& mesh, GenerationParameters& gp);

/// Photons of bands, into gp.in_box, and rates of the levels (`CalculateGnpMax`), as the states are filled now.
/// @param anew  mesh or light have changed; else what no level absorbs stands as it is in gp.apart_from_levels
/// @pre incoming fluxes, filters and absorption are filled for this mesh, the levels have their places on it
void photons_with_capture(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp, bool anew);

}  // namespace kovin
