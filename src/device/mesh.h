// The mesh: two points with equal x at every interface, the last of the left layer and the first of the right one.
#pragma once

#include "base/constants.h"

#include <array>
#include <vector>

namespace kovin {

struct Mesh {
    int N = 0;  ///< points, at most max_mesh_points
    int nlayers = 0;
    std::array<int, max_layers> n_in_layer{}, first{}, last{};  ///< per layer
    std::vector<double> x;                                      ///< N, in units of the total thickness x0
    std::vector<double> x_m;                                    ///< N [m]
    std::vector<double> x_um;                                   ///< N [um]
    std::vector<double> h;  ///< N, h[i] = x[i+1] - x[i]; 0 across an interface (never divide by it); h[N-1] = 0
    std::vector<double> y;  ///< N, composition

    void resize(int points)
    {
        N = points;
        const auto n = static_cast<std::size_t>(points);
        for (auto* v : {&x, &x_m, &x_um, &h, &y}) v->assign(n, 0.0);
    }
    /// Fills h and the positions in m and um from x; x0 is the total thickness [m].
    void measure(double x0)
    {
        for (std::size_t i = 0; i < x.size(); ++i) {
            h[i] = i + 1 < x.size() ? x[i + 1] - x[i] : 0.0;
            x_m[i] = x[i] * x0;
            x_um[i] = x_m[i] * 1e6;
        }
    }
};

}  // namespace kovin
