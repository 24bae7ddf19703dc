// Meshes of a given number of points a layer, for tests that do not want the solver's.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"

#include <cmath>
#include <numbers>

namespace kovin::test {

enum class Spacing { even, fine_at_ends };

inline Mesh layer_mesh(const CalculationParameters& set3, int n, Spacing spacing = Spacing::even)
{
    Mesh mesh;
    mesh.nlayers = set3.layers;
    mesh.resize(n * set3.layers);
    double start = 0.0;
    for (int j = 0; j < set3.layers; ++j) {
        const auto l = static_cast<std::size_t>(j);
        mesh.first[l] = j * n;
        mesh.last[l] = j * n + n - 1;
        mesh.n_in_layer[l] = n;
        for (int i = 0; i < n; ++i) {
            const double even = static_cast<double>(i) / (n - 1);
            const double s = spacing == Spacing::even ? even : 0.5 - 0.5 * std::cos(std::numbers::pi * even);
            mesh.x[static_cast<std::size_t>(j * n + i)] = start + set3.d[l] * s;
        }
        start += set3.d[l];
    }
    for (std::size_t i = 0; i < mesh.x.size(); ++i) {
        mesh.x_m[i] = mesh.x[i] * set3.scale.x0;
        mesh.x_um[i] = mesh.x_m[i] * 1e6;
        const bool at_interface = (i + 1) % static_cast<std::size_t>(n) == 0;  // two points at one place
        mesh.h[i] = at_interface ? 0.0 : mesh.x[i + 1] - mesh.x[i];
    }
    return mesh;
}

}  // namespace kovin::test
