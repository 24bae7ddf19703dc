// Currents and recombination of a solved state, in mA/cm2. Positive current flows from left to right.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <vector>

namespace kovin {

/// Fills the profile and the current fields of the state (median, spread, constancy).
void extraheer_stroom(const Problem& problem, CalculationVariables& cv, CurrentProfile& profile);

/// Recombination by mechanism at the mesh points [D0 N0/x0^2]: defects, radiative, Auger.
struct RecombinationProfile {
    std::vector<double> SRH, radiative, auger, total;
};
void extract_recombination(const Problem& problem, const CalculationVariables& cv, RecombinationProfile& profile);

/// Integral of a normalised rate over the device [mA/cm2], half an interval on both sides of each point.
[[nodiscard]] double integrated_current(const CalculationParameters& set3, const Mesh& mesh,
                                        std::span<const double> rate);

/// Occupation of one defect energy by electrons at the points of its layer; f and 1 - f.
struct Occupation {
    std::vector<double> f, one_minus_f;
};
[[nodiscard]] Occupation occupation(const CalculationVariables& cv, const DefectEnergy& level);

}  // namespace kovin
