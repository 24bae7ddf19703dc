// Voc, Jsc, fill factor and efficiency of a current-voltage curve.
#pragma once

#include <span>

namespace kovin {

/// The characteristics of one curve.
struct IVCharacteristics {
    double Voc = 0.0;   ///< [V]
    double Jsc = 0.0;   ///< [mA/cm2]
    double FF = 0.0;    ///< [%]
    double eta = 0.0;   ///< efficiency, or collected share of a given G(x) [%]
    double Jmpp = 0.0;  ///< at maximum power, positive when the cell delivers [mA/cm2]
    double Vmpp = 0.0;  ///< [V]
    bool VocExtrapolated = false, JscExtrapolated = false, FFExtrapolated = false, etaExtrapolated = false;
    bool VocValid = false, JscValid = false, FFValid = false, etaValid = false;
    bool etaIsCollection = false;  ///< eta is a collection figure: G(x) was given, no spectrum
};

/// The light under which a curve was taken.
struct CurveLight {
    bool dark = true;
    bool generationSpecified = false;  ///< G(x) given in place of a spectrum
    double Pin = 0.0;                  ///< incident power [W/m2]; unused with a given G(x)
    double attenuation = 100.0;        ///< of a given G(x) [%]
    double idealCurrent = 0.0;         ///< of the given G(x) before attenuation [mA/cm2]
};

/// Extracts the characteristics of a curve in internal sign (a cell delivers power where V J < 0).
///
/// Jsc and Voc are read from a parabola through three points around the zero, or from a line through the two
/// outermost points when the curve does not reach it ("extrapolated"). The maximum power lies on the curve
/// J0 + Jb exp(c V) through the three points around the largest -V J.
///
/// @param V [V], J [mA/cm2]: one value a point, in order along the voltage, rising or falling
/// @return false, with `record` as it was, when there is nothing to extract: dark, fewer than two points, or two
///         first points at the same voltage
bool IVParameters(std::span<const double> V, std::span<const double> J, const CurveLight& light,
                  IVCharacteristics& record);

}  // namespace kovin
