// Every quantity of the cell at the mesh points.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

#include <cstddef>
#include <span>
#include <vector>

namespace kovin {

/// Fills mesh.y and set3.on from the profiles, scaled for the solver: Nc, Nv by (T/300)^1.5/N0 (once), velocities by
/// (T/300)^0.5/v0, mobilities to diffusion constants by (T/300)^0.5 kT/D0, K_rad by x0^2 N0/D0, Auger by x0^2 N0^2/D0,
/// doping by 1/N0; then Wn, Wp, Gn, Gp. K_rad is raised to its limit by detailed balance where that follows the mesh.
void Full_x_Dependence(CalculationParameters& set3, Mesh& mesh);

/// A quantity of the material at all mesh points as its profile gives it (K_rad not below a limit that follows the
/// mesh), SI, without scales and factors of temperature.
/// @param values  N values
void graded_values(const CalculationParameters& set3, const Mesh& mesh, Profile MaterialParameters::*quantity,
                   std::span<double> values);

/// Density of a defect level of layer `layer` at its points in units of N0, times `weight`; `Nt` holds the layer's
/// points.
void Full_Nt_x_Dependence(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer,
                          const BulkRecombinationParameters& level, double weight, std::span<double> Nt);
/// The same of a metastable pair: of both configurations together.
void Full_MetaNt_x_Dependence(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer,
                              const MetaStableDefectParameters& pair, std::span<double> Nt);
/// Positions of the points of a layer from its left end [um].
[[nodiscard]] std::vector<double> places_in_layer(const Mesh& mesh, std::size_t layer);

}  // namespace kovin
