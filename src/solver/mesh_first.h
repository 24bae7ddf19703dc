// The first mesh: fine at every interface and contact, wide in the middle of the layers.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

#include <array>
#include <vector>

namespace kovin {

/// What the first mesh looks at beside the cell.
struct MeshWishes {
    /// Each interval is cut into that many equal parts (1: as it is), as far as the limit of 1000 points allows: serves
    /// to show how far a result depends on the mesh.
    int refine = 1;
    std::array<double, max_layers>
        alpha_300nm{};                ///< absorption of each layer at 300 nm [1/m]; 0: no light of that kind
    std::vector<double> profile_x{};  ///< grid of a given generation profile [m]; see mesh_merge
    bool profile_has_edges = false;   ///< its first two and last two points are the edges of a rectangle
};

/// Makes the mesh of a cell and fills the arrays of `set3` on it (Full_x_Dependence). The grid of a given generation
/// profile goes in if the setting `include_generation_mesh` is on.
void DefineKOVINMesh(CalculationParameters& set3, Mesh& mesh, const MeshWishes& wishes = {});

}  // namespace kovin
