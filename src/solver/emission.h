// Emission from levels by detailed balance: en = cn Nc exp(-(Ec - Et)/kT), ep = cp Nv exp(-(Et - Ev)/kT).
#pragma once

#include <algorithm>
#include <cmath>

namespace kovin {

/// exp(-E/kT) for an energy above a level [kT]. A level 300 kT outside the gap is filled or empty for good: farther out
/// it stays as it is, since rates without bound leave an occupation of inf/inf.
[[nodiscard]] inline double emission_factor(double E_kT)
{
    constexpr double farthest = 300.0;
    return std::exp(-std::max(E_kT, -farthest));
}

}  // namespace kovin
