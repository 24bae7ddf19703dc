// Photon fluxes through the layers and the generation they leave, for light from one side.
//
// With the optical depths D from the left and E from the right, T = E[0] + D[N-1], and the reflection Rb of the back
// and Rf of the front for light that meets it from inside, light from the left gives
//
//     flux[i] = Phi (exp(-D[i]) + Rb exp(-(D[N-1] + E[i]))) / (1 - Rf Rb exp(-T))
//
// and light from the right the same with D and E exchanged. D takes the absorption at the left end of each interval, E
// that at the right end; this makes a difference in graded layers only.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// CalculateFluxes for all wavelengths and CalculateGeneration in one pass: fluxes are summed up to
///
///     generation[i] = sum_k flux[k][i] alpha[k][i]   [D0 N0/x0^2]
///
/// as they arise. Wavelengths without light are passed over. Where no layer is graded a value depends on the place
/// alone and not on the other points, to the bit.
/// @pre incoming fluxes, filters and absorption are filled for this mesh
/// @param lit  mesh that gp.generation stands on, under the same light: points that both meshes have keep their value
void CalculateFluxesAndGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                                  const Mesh* lit = nullptr);

}  // namespace kovin
