#include "device/boxes.h"

namespace kovin {

double integrated_current(const CalculationParameters& set3, const Mesh& mesh, std::span<const double> rate)
{
    const bool half_cells = set3.convergence.interfacial_half_cells != 0;
    double sum = 0.0;
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const auto first = static_cast<std::size_t>(mesh.first[j]), last = static_cast<std::size_t>(mesh.last[j]);
        const double h_first = mesh.h[first], h_last = mesh.h[last - 1];
        double layer = 0.0;
        for (std::size_t i = first + 1; i < last; ++i) layer += rate[i] * 0.5 * (mesh.h[i - 1] + mesh.h[i]);
        if (half_cells)
            layer += h_first * (own_half_cell * rate[first] + neighbour_half_cell * rate[first + 1]) +
                     h_last * (own_half_cell * rate[last] + neighbour_half_cell * rate[last - 1]);
        sum += 0.1 * set3.scale.current(static_cast<int>(j)) * layer;
    }
    return sum;
}

}  // namespace kovin
