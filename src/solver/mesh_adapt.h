// The mesh follows the solution: points go in where a quantity jumps from one point to the next, and out where nothing
// happens. Each layer is treated by itself; its two end points stay, and so do all points of the first mesh.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <array>
#include <span>
#include <vector>

namespace kovin {

enum class MeshChange {
    full = -1,  ///< the mesh would pass its limit of points: nothing was changed
    none = 0,
    changed = 1
};

/// Adapts the mesh to the state, once. Where it changes, everything on the mesh is renewed: `set3.on`, discretisation,
/// defects and interface states, work space, generation; psi is carried over linearly in x, and so are u = exp(Fn) and
/// v = exp(-Fp), from which Fn and Fp are taken. Occupations follow from these. terms_total is sized and holds zeros:
/// it must be computed before it is read. Spans into arrays of state, problem or work space dangle.
///
/// The ratio r of a link between two points is the largest ratio of the values at its ends, over exp(psi), u, v, and
/// generation and recombination where these matter (more than the limits of the settings). A link with r above
/// `mesh_ratio_max` is cut evenly, by at most 5 new points; a point between two links whose product is at most
/// `mesh_ratio_min` is dropped, at most 4 in a row.
/// @return none also for a Problem without adaption and with the setting `recalculate_mesh` off
MeshChange RecalculateIntervals(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// The mesh of points that rise within their layers.
/// @param x           positions [x0], layer after layer; both sides of an interface are points
/// @param n_in_layer  points of each layer, 2 at least
[[nodiscard]] Mesh mesh_of(const std::vector<double>& x, const std::array<int, max_layers>& n_in_layer, int layers,
                           double x0);

/// Takes a new mesh into use with all that RecalculateIntervals renews, but for the generation: that stays on its mesh
/// until it is relit.
void carry_over(const MeshAdaption& adaption, Workspace& work, Mesh&& new_mesh, CalculationVariables& cv);

/// Brings the generation from the mesh that it stands on to another.
void relight(const MeshAdaption& adaption, const Mesh& from, const Mesh& to);

/// Is x exactly a point of this layer?
[[nodiscard]] bool PointExists(const Mesh& mesh, std::size_t layer, double x);

/// Where the points of a new mesh lie in an old one of the same layers: values at both sides and the way between.
struct MeshTransfer {
    std::vector<std::size_t> left;  ///< old point at or left of the new one; never the last of its layer
    std::vector<double> share;      ///< 0 at that point to 1 at the next; both ends exact
};
[[nodiscard]] MeshTransfer mesh_transfer(const Mesh& old_mesh, const Mesh& new_mesh);

/// Carries values per point from the old mesh to the new one, linearly in x within each layer; points of both meshes
/// keep their value exactly. @return one value a new point
[[nodiscard]] std::vector<double> InterpolateAndCopy(const MeshTransfer& transfer, std::span<const double> old_values);

/// The same for a level F, so that exp(F) is linear in x: in differences of F, without loss of digits near 0.
[[nodiscard]] std::vector<double> InterpolateLevel(const MeshTransfer& transfer, std::span<const double> old_levels);

}  // namespace kovin
