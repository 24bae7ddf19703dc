// I-V and C-V of one run as one current-voltage curve.
#pragma once

#include "results/curves.h"

namespace kovin {

/// The points of both curves in rising order of the voltage on the axis. Of two points within 1e-5 V the first is kept,
/// the I-V one if they are equal; once one curve has come to its end the rest of the other follows untouched, and the
/// last point of all is left out. So a C-V at the voltages of the I-V adds nothing. Without an I-V curve the C-V stands
/// alone and complete, in rising order. Units as in both.
[[nodiscard]] IvCurve merge_IV_and_CV(const IvCurve& iv, const IvCurve& cv);

}  // namespace kovin
