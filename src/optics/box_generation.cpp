#include "optics/box_generation.h"

#include "device/boxes.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace kovin {

namespace {

/// A boundary point k of a layer, its inner neighbour m, and the interval between.
struct LayerEnd {
    std::size_t k, m;
    double h;
    double weight_m;     ///< of G[m] in its own box, and in half cells that gave it their pairs
    bool keeps = false;  ///< has pairs of its own
};

/// Moves the pairs of a half cell to the neighbour's G where the half cell cannot hold them.
void settle(LayerEnd& end, double pairs, bool half_cells, std::vector<double>& G)
{
    const double share = half_cells ? neighbour_half_cell * end.h : 0.0;
    end.keeps = half_cells && pairs >= share * G[end.m];
    if (end.keeps) return;
    const double in_m = end.weight_m * G[end.m];
    end.weight_m += share;
    G[end.m] = (in_m + pairs) / end.weight_m;
}

}  // namespace

void generation_of_boxes(const CalculationParameters& set3, const Mesh& mesh, std::span<const double> pairs,
                         std::vector<double>& G)
{
    assert(pairs.size() == mesh.x.size());
    const bool half_cells = set3.convergence.interfacial_half_cells != 0;
    G.assign(pairs.size(), 0.0);
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const auto first = static_cast<std::size_t>(mesh.first[j]), last = static_cast<std::size_t>(mesh.last[j]);
        assert(last >= first + 2);
        const double unit = set3.scale.x0 / (set3.scale.D0 * set3.scale.N0[j]);
        const auto box = [&](std::size_t i) { return 0.5 * (mesh.h[i - 1] + mesh.h[i]); };
        for (std::size_t i = first + 1; i < last; ++i) G[i] = unit * pairs[i] / box(i);

        LayerEnd left{first, first + 1, mesh.h[first], box(first + 1)};
        LayerEnd right{last, last - 1, mesh.h[last - 1], box(last - 1)};
        settle(left, unit * pairs[left.k], half_cells, G);
        if (right.m == left.m) right.weight_m = left.weight_m;
        settle(right, unit * pairs[right.k], half_cells, G);
        // Settling at the right can lower the G of a neighbour that both ends share: the left end still holds it.
        for (const LayerEnd& end : {left, right})
            if (end.keeps)
                G[end.k] = std::max(unit * pairs[end.k] / end.h - neighbour_half_cell * G[end.m], 0.0) / own_half_cell;
    }
}

void pairs_of_profile(const GivenGeneration& given, const Mesh& mesh, std::vector<double>& pairs)
{
    const std::vector<double>&x = given.x, &G = given.G;
    pairs.assign(mesh.x_m.size(), 0.0);
    std::size_t row = 0;  // of the straight line to the next row
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const auto first = static_cast<std::size_t>(mesh.first[j]), last = static_cast<std::size_t>(mesh.last[j]);
        for (std::size_t i = first; i <= last; ++i) {
            const double begin = 0.5 * (mesh.x_m[i] + mesh.x_m[std::max(i, first + 1) - 1]);
            const double end = 0.5 * (mesh.x_m[i] + mesh.x_m[std::min(i + 1, last)]);
            while (row + 1 < x.size() && x[row + 1] <= begin) ++row;
            for (std::size_t k = row; k + 1 < x.size() && x[k] < end; ++k) {
                const double from = std::max(begin, x[k]), to = std::min(end, x[k + 1]);
                if (to <= from) continue;
                const auto at = [&](double place) {
                    const double share = (place - x[k]) / (x[k + 1] - x[k]);
                    return (1.0 - share) * G[k] + share * G[k + 1];
                };
                pairs[i] += 0.5 * (at(from) + at(to)) * (to - from);
            }
        }
    }
}

}  // namespace kovin
