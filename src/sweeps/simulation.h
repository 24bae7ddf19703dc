// Everything that a simulation remembers: the problem, what is asked for, the running state and the stored ones.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/definition.h"
#include "device/work_point.h"
#include "optics/generation_parameters.h"
#include "results/result_list.h"
#include "solver/metastable_ratios.h"
#include "solver/problem.h"
#include "solver/state.h"

#include <vector>

namespace kovin {

/// What a run did not obtain; true means "not there".
struct Failures {
    bool input = false;  ///< something that is read could not be used: nothing was calculated
    bool equilibrium = true, short_circuit = true, work_point = true;
    bool first_IV_point = true, IV = true;
    bool CV = true, Cf = true, QE = true;
    bool admittance = false;  ///< of the working point, where a capacitance is asked for
    bool mis = false;         ///< the C-V is not in the mode that was asked for, or its insulator conducts
    bool metastable = false;  ///< the pairs have not settled at the second working point
};

/// Large: keep it on the heap and hand on references.
struct Simulation {
    // the problem
    Definition problem;  ///< as in the file; its cell is made anew from zonnecel in each run
    DateTime problem_date;
    UserCell zonnecel;  ///< the cell in the user's units: the one that is edited
    ActionPanel panel;  ///< what is asked for, user sign

    // the run, made from the panel, internal sign
    WorkPoint wp;
    ActionList actie;
    Polarity polarity;
    std::string started;
    int SingleShotSimulationNumber = 0;
    int mesh_refinement = 1;  ///< parts that each interval of the first mesh is cut into

    // the device in solver units, its light, its states
    CalculationParameters set3;
    GenerationParameters light;
    SolverMemory memory;
    CalculationVariables currentCalcVars, evenwichtcv, kortsluitcv, werkpuntcv;
    MetaRatios metastable;                ///< of the pairs, while they settle and as they were left
    std::vector<PlantedDensity> planted;  ///< densities that stand in for those of the cell in the present run
    bool told_of_capture = false;         ///< that light does nothing to a level, in the present run
    double JShortCircuit = 0.0, JWorkingPoint = 0.0;  ///< internal sign [mA/cm2]

    // bookkeeping: which rungs were calculated
    bool equiberekend = false, kortberekend = false, werkberekend = false;
    Failures failures;

    std::vector<DataListElement> results;

    /// What the running state is read with. Set, rates and generation stand on the mesh of currentCalcVars, whatever
    /// the stored states have.
    [[nodiscard]] Problem solver_problem() const
    {
        return {set3, memory.grid, memory.defects, memory.interface_states, light.generation};
    }
    /// What one solve reads: with the user's wish to stop, the door for messages, and a mesh that may move.
    [[nodiscard]] Problem solver_problem(Surroundings& surroundings);
    /// Do levels absorb the light of this run?
    [[nodiscard]] bool levels_absorb() const { return !light.capture.empty(); }
    /// The light of the levels follows the running state, which has been taken up or changed.
    void settle_light_of_levels();
};

}  // namespace kovin
