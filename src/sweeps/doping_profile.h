// Mott-Schottky analysis of a C-V curve: depletion width and apparent doping, as an experimenter derives them.
//
//     W = eps0 eps/C,    N(W) = -2/(q eps0 eps d(1/C^2)/dV)
//
// The insulator of an MIS structure is in series: W is that of C_s = 1/(1/C - 1/C_ins), and N is the same with and
// without it. Source: Sze and Ng, Physics of Semiconductor Devices, chapters 2.2 and 4.3. N is positive where C grows
// with the voltage in internal sign: p-type at the left. A mirrored cell has the same figures with the other sign.
#pragma once

#include "device/cell.h"
#include "results/curves.h"
#include "sweeps/effective_permittivity.h"

#include <optional>
#include <span>

namespace kovin {

/// Chooses layer and side: of the junctions between p and n (and of all interfaces that follow the first one) the one
/// with the smallest doping charge |Nd - Na| d on one side; that side's layer is where the depletion layer grows.
/// A cell without a junction gets layer 0, side +1.
void KOVINSearchOfJunctionAndSCLSide(const CellParameters& cell, MottSchottkySettings& NW);

/// The settings as an analysis takes them: with the junction of the cell if the layer is none of the cell's.
[[nodiscard]] MottSchottkySettings with_junction(const CellParameters& cell, MottSchottkySettings NW);

/// Fills in what the settings leave open, a layer that is none of the cell's and a side 0: of the p-n junctions that
/// agree with the rest the end of a layer with the lowest doping, where the edge of the depletion layer moves most.
/// Without such a junction as KOVINSearchOfJunctionAndSCLSide has it.
[[nodiscard]] MottSchottkySettings with_lighter_side(const CellParameters& cell, MottSchottkySettings NW);

/// Whether the settings have a word on the permittivity, or the ones that hold without any.
[[nodiscard]] bool says_permittivity(const MottSchottkySettings& NW);
/// Whether the permittivity is one of the ways that are known: without one there is no doping.
[[nodiscard]] bool knows_permittivity(const MottSchottkySettings& NW);

/// Apparent doping [1/cm3] from the slope d(1/C^2)/dV [m4/(F2 V)]; 0 for an unknown epsilon_mode, and where the slope
/// is 0 or no number.
/// @param epsilon_used  is told the permittivity
[[nodiscard]] double ApparentDopingFromMottSchottkySlope(double slope, const MottSchottkySettings& NW,
                                                         const CellOnMesh& cell, double W, double x0,
                                                         double& epsilon_used);

/// Fills all columns of the analysis from v_cell, cvcap and cell, and keeps the settings with them. With fewer points
/// than the slope needs, W, x, N and the slope are 0; in an MIS structure W is 0 and x that of
/// the inner end of the insulator where C is not below the insulator's, and its layer is the semiconductor beside the
/// insulator if the settings give none.
void mott_schottky_columns(CvCurve& curve, const MottSchottkySettings& NW);

/// The same for other settings of width and doping; a slope that was calculated stays. The line takes its doping with
/// them too. @return whether the curve is long enough for a slope
bool RecalculateNW(CvCurve& curve, const MottSchottkySettings& NW);

/// What the straight line through 1/C^2 against V tells of a uniform junction.
///
///     1/C^2 = 2 (Vbi - 2 kT/q - V)/(q eps0 eps N)
///
/// Source: Sze and Ng, chapter 2.2; the tails of the carriers at the two edges make the 2 kT.
struct MottSchottkyLine {
    // NaN where the line is none of a junction: Vbi not above 0, or beyond the widest gap of the cell by more than 0.1
    // V
    double intercept = 0.0;  ///< where 1/C^2 vanishes, forward positive [V]
    double Vbi = 0.0;        ///< built-in voltage [V]
    double N = 0.0;          ///< doping of the lighter side [1/cm3]; NaN for an unknown epsilon_mode too
    double epsilon = 0.0;    ///< relative permittivity that N was found with: mean of the fitted points
    std::size_t points = 0;  ///< that were fitted
};
/// Least squares through the points in reverse and at 0 V, where C is that of the depletion layer. If those are fewer
/// than three, through all from the lowest voltage on up to the first where it no longer is: G > omega C, or C not
/// above 0 or below that of the point before. @return empty for fewer than three points, or without a slope
[[nodiscard]] std::optional<MottSchottkyLine> mott_schottky_line(const CvCurve& curve);

}  // namespace kovin
