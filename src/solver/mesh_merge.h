// The grid of a given generation profile goes into the first mesh, so that no feature of the profile falls between
// two points.
#pragma once

#include "device/mesh.h"

#include <span>
#include <vector>

namespace kovin {

/// Where a point of a merged list comes from.
enum class PointOrigin {
    mesh,         ///< inner point of a layer
    fixed,        ///< end of a layer: contact or one side of an interface; never moved or dropped
    profile,      ///< row of the profile
    profile_edge  ///< one of the two points of an edge of a rectangular profile
};

/// Mesh and profile points in one rising list; parallel arrays.
struct MergedMesh {
    std::vector<double> x;  ///< [x0]
    std::vector<PointOrigin> origin;
};

/// Drops entry k; one outside the list is ignored.
void RemovePointFromMergedMesh(MergedMesh& merged, std::size_t k);

/// Puts the points of a profile into a mesh, all but those that lie outside the device or within 1 nm of a contact, an
/// interface, or a profile point that is kept. Mesh points within 1 nm of a profile point make room for it, and the
/// one beside it moves to the middle of its neighbours. Nothing happens if all points together would pass the limit of
/// the mesh. Only x, N and the counts of the layers are set: see Mesh::measure.
/// @param profile_x  positions from the left contact [m]
/// @param has_edges  the first two and the last two positions are the edges of a rectangle: both points of a pair stay
/// @param x0         thickness of the device [m]
/// @param near       what is said of 1 nm, for a mesh with smaller intervals [m]
void merge_profile_grid(std::span<const double> profile_x, bool has_edges, double x0, Mesh& mesh, double near = 1e-9);

}  // namespace kovin
