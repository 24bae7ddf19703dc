#include "sweeps/metastable.h"

#include "base/text_format.h"
#include "solver/bulk_defects.h"
#include "solver/outer_iteration.h"
#include "sweeps/starting_point.h"

#include <algorithm>

namespace kovin {

namespace {

/// Takes the present ratios into the densities of the set and of the solver.
void densities_follow(Simulation& s)
{
    SwitchDefectsToMetaDependence(s.metastable, s.set3);
    for (const MetaPairRatios& pair : s.metastable.pairs) {
        const MetaStableDefectParameters& record = s.set3.layer[pair.layer].metastable[pair.transition];
        for (const int defect : {record.donor_defect, record.acceptor_defect})
            renew_density(s.set3, s.currentCalcVars.mesh, pair.layer, defect, s.memory.defects);
    }
}

/// Solves the running state with the densities of the present ratios.
bool solve_with_ratios(Surroundings& surroundings, Simulation& s)
{
    densities_follow(s);
    return onder_belichting(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars);
}

/// A step and the solve with it. One that leads to no state, as in the cold where densities change by decades, is taken
/// back and tried half as long.
/// @return false if no step was short enough, or the user stopped; the state is then none
bool take_step(Surroundings& surroundings, Simulation& s, double damping)
{
    constexpr int most_trials = 12;
    MetaRatios before = s.metastable;
    const CalculationVariables solved = s.currentCalcVars;
    for (int trial = 1;; ++trial) {
        Update_Meta_Ratios(s.metastable, damping);
        if (solve_with_ratios(surroundings, s)) return true;
        if (trial == most_trials || surroundings.monitor.stopRequested()) return false;
        halve_next_step(before);
        s.metastable = before;
        ReturnToAKnownStartingPoint(s, solved);
    }
}

}  // namespace

bool relax_metastable_pairs(Surroundings& surroundings, Simulation& s, bool& settled)
{
    const ConvergenceParameters& settings = s.set3.convergence;
    CalculationVariables& cv = s.currentCalcVars;
    bool clamp = settings.usemetaclamping == 1;
    constexpr double near_the_end = 0.1;  // of a share
    double deviation = 0.0;
    bool mesh_of_start = true;
    settled = false;
    for (int step = 0;; ++step) {
        if (surroundings.monitor.stopRequested()) return false;
        // Where the mesh has moved, the tables are still those of the mesh before: they need another solve.
        const bool moved = carry_ratios(cv.mesh, s.metastable);
        deviation = Bereken_MetaUpdate_afwijking(s.set3, s.memory.defects, cv, s.metastable);
        if (!moved && deviation < settings.termination_Meta_full) {
            if (!clamp) {
                settled = true;
                return true;
            }
            clamp = false;
        }
        if (step >= settings.maxmetaiter_full) break;
        if (!find_wishes(s.solver_problem(surroundings), s.memory.work, cv, s.metastable)) return false;
        if (!take_step(surroundings, s, clamp ? std::min(settings.clamp_meta, 1.0) : 1.0)) return false;
        // Near the end the mesh is made for the densities as they are now; those of the start are forgotten.
        if (mesh_of_start && deviation < near_the_end) {
            mesh_of_start = false;
            mesh_sees_shares(relaxed_densities(s.metastable, s.set3), s.problem.input.cell.cell, s.set3);
            renew_mesh(s.solver_problem(surroundings), s.memory.work, cv);
        }
    }
    // The last solve may have moved the mesh; what is handed on stands on the one that it ended on.
    densities_follow(s);
    s.metastable.unsettled = deviation;
    KOVINErrorMessage(surroundings.report, "Warning",
                      "No convergence in update metastable defects\nRemaining error: " + scientific(deviation, 13, 4));
    return true;
}

}  // namespace kovin
