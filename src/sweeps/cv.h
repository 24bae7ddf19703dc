// The capacitance-voltage sweep: the small-signal admittance of each point at the frequency of the working point.
#pragma once

#include "solver/mis.h"
#include "sweeps/voltage_sweep.h"

#include <optional>
#include <string>

namespace kovin {

/// What there is to say of the layers of an insulator that conduct, a sentence each; empty if none does.
[[nodiscard]] std::string conducting_insulators(const CalculationParameters& set3, const MisStructure& mis);

/// The same of those without carriers whose levels have a charge.
[[nodiscard]] std::string charged_insulators(const Problem& problem, const MisStructure& mis);

/// Runs the sweep of the running record from the state that CalculateStartingPoint left, into `element`, with the
/// depletion width and apparent doping of the settings in the problem. What the terminals show counts: with series
/// resistance and shunt. The states of the sweep join the I-V curve of the element, whose characteristics are read
/// anew. A point that does not converge cuts the curve before it (reported; failures.CV stays true).
/// @param mis  the C-V of an MIS structure: every point is solved by mis_naar_spanning, from the present state in the
///             order asked for, and no state joins the I-V curve
/// @return as calciv
SweepOutcome calccv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element, const std::optional<MisStructure>& mis = std::nullopt);

}  // namespace kovin
