// Graded quantities along their layer: where to look at them, and values that no material has.
#pragma once

#include "base/report.h"
#include "device/cell.h"
#include "device/keyed_source.h"

#include <initializer_list>
#include <span>
#include <vector>

namespace kovin {

/// Values that a material can have.
[[nodiscard]] Limits limits_of_profile(const Profile& profile);

/// Places of one layer, in no order.
struct LayerPlaces {
    std::vector<double> x_um;  ///< from the left end of the layer
    std::vector<double> y;     ///< composition there
};

/// Places that show the largest and smallest values of the profiles: both ends, a hundred between them, extrema and
/// fronts of the laws, and every row of a file or table, those on composition wherever the layer has that composition.
/// @param layer  in SI units, with its grading files loaded
[[nodiscard]] LayerPlaces places_to_check(const LayerParameters& layer, std::span<const Profile* const> profiles);
[[nodiscard]] inline LayerPlaces places_to_check(const LayerParameters& layer,
                                                 std::initializer_list<const Profile*> profiles)
{
    return places_to_check(layer, std::span(profiles.begin(), profiles.size()));
}

/// These positions with the composition that the layer has there.
[[nodiscard]] LayerPlaces places_at(const LayerParameters& layer, std::vector<double> x_um);

/// Values of a profile of the layer at such places.
[[nodiscard]] std::vector<double> values_at(const LayerParameters& layer, const Profile& profile,
                                            const LayerPlaces& places);

/// Looks for values with which nothing can be computed, along every profile of the layers in use: a gap, a density of
/// states or a mobility that is not above 0, a composition outside 0 to 1, a table without rows, and the like. Profiles
/// from a file that is not loaded, and those on such a composition, are passed over.
/// @param cell  ends of the profiles as recalculate_ends makes them
/// @return false if there is one (the first of each profile is reported by layer, name, law, value and place)
[[nodiscard]] bool graded_values_hold(Report& report, const SiCell& cell);

}  // namespace kovin
