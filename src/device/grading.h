// The laws of a graded quantity.
#pragma once

#include "device/cell.h"
#include "device/profile.h"

#include <span>

namespace kovin {

/// Laws whose computation is in place; the others are held and written but not computed.
[[nodiscard]] bool law_is_computed(Law law);

/// result[i] = value of the profile at x[i], for points of one layer in rising order.
/// @param x  positions [um] for a quantity graded on x, composition for one graded on y
/// @param storeEnds  keep result's ends as the profile's left and right values
/// @pre law_is_computed(profile.law)
void interpolation(Profile& profile, std::span<const double> x, std::span<double> result, bool storeEnds);

/// The same without keeping anything.
void evaluate_profile(const Profile& profile, std::span<const double> x, std::span<double> result);

/// Left and right values from the pure values, for a layer whose composition runs from y_left to y_right.
void RecalculateLeftRightValues(Profile& profile, double y_left, double y_right);

/// Ends of every profile of a layer, its composition first. A profile whose law is not computed keeps its ends.
void recalculate_ends(LayerParameters& layer);

}  // namespace kovin
