// Photons that the box of each mesh point absorbs. None is lost or counted twice: absorbed, transmitted and reflected
// photons add up to the incident ones on any mesh.
//
// The absorption of a point holds in its box (device/boxes.h), whose optical depth is t = alpha width. With the depths
// D of all boxes between it and the front, where the flux Phi enters, B of those between it and the back, T = D + t +
// B, and the reflection Rb of the back and Rf of the front for light that meets it from inside,
//
//     absorbed = Phi (1 - exp(-t)) (exp(-D) + Rb exp(-T - B)) / (1 - Rf Rb exp(-2 T))
//
// a flux on its way in and, from the back, one on its way out, each lessened by what box after box takes.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

#include <span>
#include <vector>

namespace kovin {

/// Photons absorbed in the boxes [1/(m2 s)] of the incoming fluxes at all wavelengths, into gp.in_box. Wavelengths
/// without light are passed over, layers that absorb nothing as well.
/// @pre incoming fluxes, filters and absorption are filled for this mesh
/// @param lit  mesh that gp.in_box stands on, under the same light: layers that have the same points there keep their
///             values, unless a layer is graded. To the bit they are what would be computed anew.
void photons_of_spectrum(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                         const Mesh* lit = nullptr);

/// The same for `flux` photons [1/(m2 s)] that enter at wavelength k of gp alone.
/// @param photons  N values
void photons_of_wavelength(const CalculationParameters& set3, const Mesh& mesh, const GenerationParameters& gp,
                           std::size_t k, double flux, std::span<double> photons);

}  // namespace kovin
