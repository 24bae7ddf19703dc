// Where a mesh needs points so that it sees what the graded quantities of a layer do between its ends: a peak of a
// density, a row of a table, a front of diffusion.
#pragma once

#include "device/cell.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace kovin {

/// Places in one layer, one step of the mesh apart: closest where a graded quantity changes fast, and further apart by
/// a quarter of the distance from there. Empty for a layer in which nothing is graded.
struct ProfilePoints {
    std::vector<double> x_um;       ///< rising from 0 to the end of the layer or beyond
    std::vector<std::size_t> by;    ///< which quantity changes most behind each place
    std::vector<std::string> name;  ///< of these quantities
    double coarsened = 1.0;         ///< how many times wider than wished the steps are, for want of points

    [[nodiscard]] bool empty() const { return x_um.size() < 2; }
    /// How many steps lie between the left end of the layer and x; counts beyond the places are those of the ends.
    [[nodiscard]] double steps_to(double x_um) const;
    /// The place that many steps from the left end [um].
    [[nodiscard]] double place_of(double steps) const;
};

/// The places of a layer. A step may hold kT of gap and affinity, a twentieth of composition, and a factor exp(0.4) of
/// any other quantity, as far as that exceeds a millionth of its largest value. No step is below 0.1 nm.
/// @param layer  in SI units, with its grading files loaded
/// @param kT     [eV]
/// @param shares of densities over the layer, 0 to 1, of which a step may hold 0.03
[[nodiscard]] ProfilePoints profile_points(const LayerParameters& layer, double kT,
                                           std::span<const Profile> shares = {});

}  // namespace kovin
