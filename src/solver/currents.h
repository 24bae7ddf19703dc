// Currents and recombination of a solved state, in mA/cm2. Positive current flows from left to right.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <vector>

namespace kovin {

/// Fills the profile and the current fields of the state (median, spread, constancy).
void extraheer_stroom(const Problem& problem, CalculationVariables& cv, CurrentProfile& profile);

/// Currents at the two contacts, from the surface velocity times the excess of the carrier and what tunnels from the
/// metal. None in a parted cell, where each is in balance with the level beside it.
[[nodiscard]] ContactCurrents contact_currents(const Problem& problem, const CalculationVariables& cv);

/// What passes through the states of one interface and over it [mA/cm2]. The current on its left is
/// thermionic - n_left + p_left, that on its right thermionic + n_right - p_right.
struct InterfaceCurrents {
    double n_left = 0.0, n_right = 0.0;  ///< electrons that the states take from the left and the right layer
    double p_left = 0.0, p_right = 0.0;  ///< the same for holes
    double n_left_direct = 0.0, n_right_direct = 0.0;  ///< part of them that comes without tunnelling
    double p_left_direct = 0.0, p_right_direct = 0.0;
    double thermionic = 0.0;  ///< both carriers over the band steps, positive to the right
    double charge = 0.0;      ///< held by the states [C/cm2]
    /// As many electrons as holes end in the states: each pair is counted once, by the mean of the two.
    [[nodiscard]] double recombination() const { return 0.5 * (n_left + n_right + p_left + p_right); }
};
[[nodiscard]] InterfaceCurrents interface_currents(const Problem& problem, const CalculationVariables& cv,
                                                   std::size_t interface);

/// Recombination in the states of all interfaces [mA/cm2].
[[nodiscard]] double interface_recombination(const Problem& problem, const CalculationVariables& cv);

/// Recombination by mechanism at the mesh points [D0 N0/x0^2]: defects, radiative, Auger.
struct RecombinationProfile {
    std::vector<double> SRH, radiative, auger, total;
};
void extract_recombination(const Problem& problem, const CalculationVariables& cv, RecombinationProfile& profile);

}  // namespace kovin
