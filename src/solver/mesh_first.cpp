#include "solver/mesh_first.h"

#include "device/on_mesh.h"
#include "solver/mesh_merge.h"
#include "solver/profile_mesh.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr int points_min = 40;
constexpr int points_max = 100;
constexpr double smallest_step_m = 1e-10;

/// Shortest length of a layer that the mesh must resolve [x0]: its Debye lengths, or the depth of ultraviolet light.
double shortest_length(const CalculationParameters& set3, std::size_t j, double alpha_300nm)
{
    const Profile& gap = set3.layer[j].material.Eg;
    double L = std::min(set3.debye_left[j] / std::sqrt(gap.left / set3.kT),
                        set3.debye_right[j] / std::sqrt(gap.right / set3.kT));
    const double a = set3.scale.x0 * alpha_300nm;
    if (std::fabs(a) > 1e-10) L = std::min(1.0 / a, L);
    return L;
}

/// Positions of the points of one layer, from 0 to d [x0], fine enough for a length L.
std::vector<double> layer_points(double d, double L, double x0, int budget)
{
    double step = std::min(L, smallest_step_m / x0);
    const double wanted = std::min(d / points_max / 2.0, L);
    const double count = d / wanted;  // compared before the conversion: huge for a tiny length, NaN without one
    const int wished = count < points_max ? std::max(static_cast<int>(count), points_min) : points_max;
    const int n = std::min(wished, budget);
    step = std::min(step, 0.8 * d / n);

    // Intervals grow from `step` at both ends to a maximum in the middle.
    const double a = std::exp(2.25 * std::pow(std::log(d / step / (n - 1)), 0.23));
    const double m = n - 2;
    std::vector<double> interval(static_cast<std::size_t>(n - 1));
    double sum = 0.0;
    for (std::size_t k = 0; k < interval.size(); ++k) {
        const double left = static_cast<double>(k), right = m - left;
        interval[k] = step * std::exp(4.0 * a * right * right * left * left / (m * m * m * m));
        sum += interval[k];
    }
    // Fit the sum to the thickness; the end intervals keep their width where there is something to stretch.
    const double even = step * (n - 1);
    if (sum <= even)
        for (double& h : interval) h *= d / sum;
    else
        for (double& h : interval) h = step + (h - step) * (d - even) / (sum - even);

    std::vector<double> X(static_cast<std::size_t>(n));
    for (std::size_t k = 0; k < interval.size(); ++k) X[k + 1] = X[k] + interval[k];
    X.back() = d;
    return X;
}

/// Each interval cut into `parts`.
std::vector<double> refined(const std::vector<double>& X, int parts)
{
    std::vector<double> fine{X.front()};
    for (std::size_t i = 1; i < X.size(); ++i)
        for (int k = 1; k <= parts; ++k) fine.push_back(X[i - 1] + (X[i] - X[i - 1]) * k / parts);
    return fine;
}

}  // namespace

void DefineKOVINMesh(CalculationParameters& set3, Mesh& mesh, const MeshWishes& wishes)
{
    const double x0 = set3.scale.x0;
    std::vector<std::vector<double>> X;
    int budget = max_mesh_points;
    for (std::size_t j = 0; j < static_cast<std::size_t>(set3.layers); ++j) {
        const double L = shortest_length(set3, j, wishes.alpha_300nm[j]);
        X.push_back(layer_points(set3.d[j], L, x0, budget / (set3.layers - static_cast<int>(j))));
        budget -= static_cast<int>(X.back().size());
    }
    // Half of the points that are left may go to what profiles do inside their layers; the rest follows the solution.
    const bool with_rows = set3.convergence.include_generation_mesh != 0;
    const int rows = with_rows ? static_cast<int>(std::min(wishes.profile_x.size(), std::size_t{max_mesh_points})) : 0;
    int room = (budget - rows) / 2;
    for (std::size_t j = 0; j < X.size(); ++j) {
        const auto before = static_cast<int>(X[j].size());
        cut_at_profiles(set3, j, room, X[j]);
        const int added = static_cast<int>(X[j].size()) - before;
        room -= added;
        budget -= added;
    }
    int total = max_mesh_points - budget;
    int refine = wishes.refine;
    while (refine > 1 && (total - set3.layers) * refine + set3.layers > max_mesh_points) --refine;
    if (refine > 1)
        for (auto& layer : X) layer = refined(layer, refine);

    total = 0;
    for (const auto& layer : X) total += static_cast<int>(layer.size());
    mesh = Mesh{};
    mesh.nlayers = set3.layers;
    mesh.resize(total);
    std::size_t i = 0;
    double start = 0.0;
    for (std::size_t j = 0; j < X.size(); ++j) {
        mesh.first[j] = static_cast<int>(i);
        mesh.n_in_layer[j] = static_cast<int>(X[j].size());
        for (const double x : X[j]) mesh.x[i++] = start + x;
        mesh.last[j] = static_cast<int>(i) - 1;
        start = mesh.x[i - 1];
    }
    if (set3.convergence.include_generation_mesh != 0)
        merge_profile_grid(wishes.profile_x, wishes.profile_has_edges, x0, mesh);
    mesh.measure(x0);
    Full_x_Dependence(set3, mesh);
}

}  // namespace kovin
