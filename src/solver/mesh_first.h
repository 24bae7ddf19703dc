// The first mesh: fine at every interface and contact, wide in the middle of the layers.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

#include <span>

namespace kovin {

/// Makes the mesh of a cell and fills the arrays of `set3` on it.
/// @param alpha_300  absorption of each layer at 300 nm, times x0; empty in the dark or with a given G(x)
/// @param refine     each interval of the mesh is cut into that many equal parts (1: as it is), within the limit of
///                   1000 points: serves to show how far a result depends on the mesh
void DefineKOVINMesh(CalculationParameters& set3, Mesh& mesh, std::span<const double> alpha_300 = {}, int refine = 1);

}  // namespace kovin
