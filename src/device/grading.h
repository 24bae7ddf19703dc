// The laws of a graded quantity.
//
// On position the abscissa runs from 0 at the left end of the layer to its thickness [um], on composition from 0 to 1.
// a and b are the values at its ends: those at the ends of the layer, or those of the pure materials. With t the place
// from 0 to 1, c3, c4, c5 the third to fifth parameter, w the length of the abscissa:
//
//      0, 10, 11  a constant
//      1, 7       (1-t) a + t b
//      2          the same - t (1-t) c3, not below c4
//      3          a^(1-t) b^t; an end that is not positive counts as 1e-10 of the other, none as less
//      4          c3 + (a-c3) sinh((w-x)/c4)/sinh(w/c4) + (b-c3) sinh(x/c5)/sinh(w/c5)
//      5          (1-I) a + I b, I = I_t(c3, c4) the regularised incomplete beta function
//      6          (P + sqrt(8 a b + P^2))/4, P = (2a-b)(1-t) + (2b-a) t: symmetric effective medium
//      8          ((1-t) a^(1/c3) + t b^(1/c3))^c3
//      9          parabolas from the extremum c4 at x = c3 to both ends; with c3 outside, a quartic in x - c3
//     12, 13      a table: from a file or held in the profile
//     14          2 c3/(sqrt(pi) Ld) exp(-((z-c5)/Ld)^2), z the distance from the surface, Ld = 2 sqrt(|c4|): from a
//                 finite source, c4 = D t [um2]; c4 >= 0 stands for the right surface, below 0 for the left
//     15          2 c3/(sqrt(pi) Ld) erfc(z/Ld): from an inexhaustible source
//
// Laws 1 to 9 hold a and b exactly at the ends (2 unless that lies below c4, 9 unless c3 is an end). Every constant
// gives a finite value: constants of size are limited to 1e100, lengths to 0.001 and more, exponents to 0.001 and 1000.
// Sources: 6 Bruggeman, Ann. Phys. 416 (1935) 636; 14, 15 Crank, The Mathematics of Diffusion, chapter 2.
#pragma once

#include "device/cell.h"
#include "device/profile.h"

#include <span>
#include <string_view>

namespace kovin {

/// Name of a law as lists show it.
[[nodiscard]] std::string_view law_name(Law law);

/// result[i] = value of the profile at x[i], for points of one layer.
/// @param x  positions from the left end of the layer [um] for a quantity graded on x, composition for one graded on y;
///           places beyond the ends count as the ends
/// @param thickness_um  of the layer
/// A profile from a file holds its rows, see grading_file; one without rows is 0.
void evaluate_profile(const Profile& profile, std::span<const double> x, double thickness_um, std::span<double> result);

/// The same; x begins and ends with the layer.
/// @param storeEnds  keep result's ends as the profile's left and right values, and the lifts of a parabola on x, whose
///                   ends stay where they were: doing it again changes nothing
void interpolation(Profile& profile, std::span<const double> x, double thickness_um, std::span<double> result,
                   bool storeEnds);

/// Are the rows there that the profile needs, if it needs any?
[[nodiscard]] bool has_its_rows(const Profile& profile);

/// Can the profile of a layer be computed? Not without its rows (a file that is not loaded, an empty table), nor on a
/// composition without them.
[[nodiscard]] bool can_be_evaluated(const LayerParameters& layer, const Profile& profile);

/// Left and right values for a layer whose composition runs from y_left to y_right.
void RecalculateLeftRightValues(Profile& profile, double y_left, double y_right, double thickness_um);

/// Ends of every profile of a layer, its composition first. What cannot be evaluated keeps its ends: they are those of
/// the law that takes the place of a missing file. @param layer  in SI units
void recalculate_ends(LayerParameters& layer);

/// The length Ld of laws 14 and 15 [um].
[[nodiscard]] double diffusion_length(const Profile& profile);

/// Turns a profile on x around; one on y follows its composition. Of a profile from a file only the ends change places,
/// until they are found anew: its rows belong to the file, which is read again before each calculation, and run as they
/// stand there. A table is the profile's own and is turned.
void SwapGradingLeftRight(Profile& profile, double thickness_um);

}  // namespace kovin
