// Where a voltage sweep begins: the known state nearest to its range, and the way from there to the first point.
#pragma once

#include "sweeps/simulation.h"

#include <string>

namespace kovin {

enum class StartFrom { present, short_circuit, work_point };

/// How a sweep begins. Voltages in internal sign [V].
struct StartDecision {
    int startCase = 2;  ///< 0 to 7
    StartFrom from = StartFrom::short_circuit;
    double Vfrom = 0.0;   ///< of the state that is taken up
    double Vfirst = 0.0;  ///< first point to be solved
    double start, stop;   ///< the range, exchanged or sorted where the case asks for it
    int steps = 2;        ///< points from Vfrom to Vfirst, both included
    [[nodiscard]] bool in_two_legs() const { return startCase >= 6; }  ///< the known state lies inside the range
};

/// Chooses the start case of a sweep from Vs to Ve.
///
///     0 starts, 1 ends where the solver stands     2 starts, 3 ends at short circuit
///     4 starts, 5 ends at the working point        6 contains short circuit, 7 the working point
///
/// Exact matches come first, then a range around a known state, then the nearest known state.
/// @param Vwp  working point, Va present voltage of the solver, numberOfPoints steps for a longer way
/// @param present_failed  the present state did not converge: the working point stands in for it
[[nodiscard]] StartDecision choose_starting_point(double Vs, double Ve, double Vwp, double Va, int numberOfPoints,
                                                  bool present_failed);

/// Takes up a stored state; material arrays, equations and generation follow to its mesh, if it is another one.
void ReturnToAKnownStartingPoint(Simulation& simulation, const CalculationVariables& state);

/// Brings the light G, which `problem` refers to, onto a state without it. Where the mesh moves, and on the fast route,
/// it comes at once, and so it does where levels absorb it; on a fixed mesh of the classic route in steps,
/// logarithmically from 1e-10 to 1.
/// @return converged; G is as it was
bool light_up(const Problem& problem, Workspace& work, CalculationVariables& cv, std::vector<double>& G, int steps);

/// A stored state with what belongs to its mesh, beside a running calculation that stands on another one.
class StateOnItsMesh {
public:
    StateOnItsMesh(const Simulation& simulation, const CalculationVariables& state);
    /// What the state is read with; refers to this object.
    [[nodiscard]] Problem problem() const
    {
        return {set3, memory.grid, memory.defects, memory.interface_states, light.generation};
    }

private:
    CalculationParameters set3;
    GenerationParameters light;
    SolverMemory memory;
};

enum class StartOutcome { failed, good, stopped };

/// Brings currentCalcVars to the first point of a sweep and writes the range it will run to `start` and `stop`.
/// @param name  of the sweep in messages: "I(V)"
StartOutcome CalculateStartingPoint(Surroundings& surroundings, Simulation& simulation, const std::string& name,
                                    double& start, double& stop, StartDecision& decision);

}  // namespace kovin
