// Absorption at the mesh points for all wavelengths of the spectrum.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// Does a layer mix the absorption of its two materials? Where its composition lies between them it does, whatever the
/// law of its absorption grading, unless that asks for pure B. Otherwise it absorbs as one of them throughout.
[[nodiscard]] bool absorption_follows_composition(const LayerParameters& layer);
/// Is that material B?
[[nodiscard]] bool absorption_of_pure_B(const LayerParameters& layer);

/// Takes the absorption data of all layers into gp.materials. @return false if a file cannot be used (reported)
[[nodiscard]] bool read_absorption(Surroundings& surroundings, const CalculationParameters& set3,
                                   GenerationParameters& gp);

/// The larger of the absorptions of the two pure materials of a layer at lambda [nm], in 1/m; 0 where none was read.
[[nodiscard]] double ExtractAlpha(const GenerationParameters& gp, double lambda, std::size_t layer);

/// Fills gp.absorption for the compositions on the mesh; each distinct composition of a layer is interpolated once.
/// Compositions that gp.absorption holds already, from another mesh of the same cell and light, are taken over.
/// The edge of a point stands at the gap of that point (alpha_interpolation), whatever grades the gap.
/// @pre read_absorption has succeeded; @param mesh  with its compositions, set3 with its gaps
void bepaal_alfa(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp);

}  // namespace kovin
