// The first mesh: fine at every interface and contact, wide in the middle of the layers.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

namespace kovin {

/// Makes the mesh of a cell and fills the arrays of `set3` on it (Full_x_Dependence).
/// @param refine  each interval of the mesh is cut into that many equal parts (1: as it is), as far as the limit of
///                1000 points allows: serves to show how far a result depends on the mesh
void DefineKOVINMesh(CalculationParameters& set3, Mesh& mesh, int refine = 1);

}  // namespace kovin
