// A sweep over voltages: from a known state to the first point, in one leg or two, until a point does not converge.
// What is measured at a point is the caller's.
#pragma once

#include "sweeps/starting_point.h"

#include <functional>
#include <string>
#include <vector>

namespace kovin {

enum class SweepOutcome { done, stopped, refused };

/// Voltages in two legs around Vstart: those from it on, rising, then those below it, falling.
/// @param secondLeg  index of the first voltage of the second leg, -1 if there is none
void ReorderVoltagesAroundStartVoltage(std::vector<double>& v, double Vstart, int& secondLeg);

/// Range and texts of a sweep. Voltages in internal sign [V].
struct VoltageSweep {
    double start, stop;
    int points;                  ///< fewer than 2 count as 2
    std::string name;            ///< "I(V)"
    std::string progress;        ///< in front of the voltage of a point
    std::string refusal_title;   ///< of the message on too many points
    std::string failure_title;   ///< of the message on a point that does not converge
    std::string behind_volt;     ///< ends the lines of that message
    std::string no_answer = {};  ///< why a point that was solved failed all the same
    /// Brings the state to another voltage in place of volgende_iv_punt, terms and currents included, from any point
    /// before: one that fails is left out, and the sweep goes on. @return converged
    std::function<bool(double V)> go_to = {};
    std::string advice = {};  ///< where go_to fails
};

/// Why a solved state has no small signals.
inline constexpr const char* no_small_signal =
    "The small-signal equations have no solution there: so far in reverse bias exp(qV/kT) is beyond the numbers.";

enum class AfterPoint {
    go_on,
    leave_leg,  ///< the rest of this leg is left out
    failed      ///< the point counts as one that did not converge
};

struct SweepEnd {
    SweepOutcome outcome = SweepOutcome::done;
    bool failed = false;     ///< a point did not converge (reported)
    std::size_t points = 0;  ///< that the sweep was to reach, without those left out
};

/// Runs the sweep from the state that CalculateStartingPoint left. currentCalcVars is left at the last point.
/// @param measure  is called with each point that has been solved, with its voltage [V] and whether it continues a leg
/// @return refused for more than 2001 points (reported); stopped when the user asked for it
SweepEnd run_voltages(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                      const VoltageSweep& sweep,
                      const std::function<AfterPoint(double v_cell, bool continues_leg)>& measure);

}  // namespace kovin
