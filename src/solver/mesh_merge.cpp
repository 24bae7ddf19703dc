#include "solver/mesh_merge.h"

#include <algorithm>
#include <numeric>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

bool of_profile(PointOrigin origin) { return origin >= PointOrigin::profile; }

/// All points in rising order. The sort is stable: mesh points come before profile points at the same place.
MergedMesh merged_list(std::span<const double> profile_x, bool has_edges, double x0, const Mesh& mesh)
{
    MergedMesh m{mesh.x, std::vector<PointOrigin>(mesh.x.size(), PointOrigin::mesh)};
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        m.origin[at(mesh.first[j])] = m.origin[at(mesh.last[j])] = PointOrigin::fixed;
    for (std::size_t k = 0; k < profile_x.size(); ++k) {
        const double x = profile_x[k] / x0;
        if (!(x > mesh.x.front() && x < mesh.x.back())) continue;
        const bool at_edge = has_edges && (k < 2 || k + 2 >= profile_x.size());
        m.x.push_back(x);
        m.origin.push_back(at_edge ? PointOrigin::profile_edge : PointOrigin::profile);
    }
    std::vector<std::size_t> order(m.x.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return m.x[a] < m.x[b]; });
    MergedMesh sorted;
    for (const std::size_t k : order) {
        sorted.x.push_back(m.x[k]);
        sorted.origin.push_back(m.origin[k]);
    }
    return sorted;
}

/// Points that fall together within `near`: a mesh point makes room for a profile point, which goes beside a fixed one;
/// of two alike the left one goes.
void drop_coinciding(double near, MergedMesh& m)
{
    for (std::size_t k = 0; k + 1 < m.x.size();) {
        const bool left_of_profile = of_profile(m.origin[k]), right_of_profile = of_profile(m.origin[k + 1]);
        if (m.x[k + 1] == m.x[k] && right_of_profile && m.origin[k] == PointOrigin::fixed)
            RemovePointFromMergedMesh(m, k + 1);
        else if (m.x[k + 1] - m.x[k] >= near || m.origin[k] == PointOrigin::fixed)
            ++k;
        else if (left_of_profile && m.origin[k + 1] == PointOrigin::mesh)
            RemovePointFromMergedMesh(m, k + 1);
        else
            RemovePointFromMergedMesh(m, k);
    }
}

/// Makes room around the profile points; their neighbours within `near` go, or they themselves beside a fixed point.
void clear_neighbourhood(double near, MergedMesh& m)
{
    for (std::size_t k = 1; k + 1 < m.x.size(); ++k) {
        if (!of_profile(m.origin[k])) continue;
        const auto pair = [&](std::size_t other) {
            return m.origin[k] == PointOrigin::profile_edge && m.origin[other] == PointOrigin::profile_edge;
        };
        const bool near_left = m.x[k] - m.x[k - 1] < near && !pair(k - 1);
        const bool near_right = m.x[k + 1] - m.x[k] < near && !pair(k + 1);
        if ((near_left && m.origin[k - 1] == PointOrigin::fixed) ||
            (near_right && m.origin[k + 1] == PointOrigin::fixed)) {
            RemovePointFromMergedMesh(m, k);
            --k;
        } else if (near_left) {
            RemovePointFromMergedMesh(m, k - 1);
            k -= 2;  // the point once more, now with its next neighbour to the left
        } else if (near_right) {
            RemovePointFromMergedMesh(m, k + 1);
            --k;
        }
    }
}

/// Mesh points beside profile points go to the middle of their neighbours: of two, the nearer one.
void even_out(MergedMesh& m)
{
    const auto centre = [&](std::size_t k) { m.x[k] = 0.5 * (m.x[k - 1] + m.x[k + 1]); };
    for (std::size_t k = 1; k + 1 < m.x.size(); ++k) {
        if (!of_profile(m.origin[k])) continue;
        const PointOrigin left = m.origin[k - 1], right = m.origin[k + 1];
        const bool left_moves = left == PointOrigin::mesh, right_moves = right == PointOrigin::mesh;
        if (left_moves && (right_moves || of_profile(right)) &&
            (of_profile(right) || m.x[k] - m.x[k - 1] <= m.x[k + 1] - m.x[k]))
            centre(k - 1);
        else if (right_moves && (left_moves || of_profile(left)))
            centre(k + 1);
    }
}

}  // namespace

void RemovePointFromMergedMesh(MergedMesh& merged, std::size_t k)
{
    if (k >= merged.x.size()) return;
    merged.x.erase(merged.x.begin() + static_cast<std::ptrdiff_t>(k));
    merged.origin.erase(merged.origin.begin() + static_cast<std::ptrdiff_t>(k));
}

void merge_profile_grid(std::span<const double> profile_x, bool has_edges, double x0, Mesh& mesh, double near)
{
    if (profile_x.empty() || profile_x.size() + mesh.x.size() > at(max_mesh_points)) return;
    MergedMesh m = merged_list(profile_x, has_edges, x0, mesh);
    drop_coinciding(std::min(1e-11, near) / x0, m);
    clear_neighbourhood(std::min(0.01 * mesh.x.back(), near / x0), m);
    even_out(m);

    // Two fixed points at one place are the two sides of an interface.
    const int layers = mesh.nlayers;
    mesh.resize(static_cast<int>(m.x.size()));
    mesh.x = std::move(m.x);
    std::size_t first = 0, j = 0;
    for (std::size_t i = 0; i < mesh.x.size(); ++i) {
        if (i + 1 < mesh.x.size() && mesh.x[i + 1] != mesh.x[i]) continue;
        mesh.first[j] = static_cast<int>(first);
        mesh.last[j] = static_cast<int>(i);
        mesh.n_in_layer[j] = static_cast<int>(i + 1 - first);
        first = i + 1;
        if (++j == at(layers)) break;
    }
}

}  // namespace kovin
