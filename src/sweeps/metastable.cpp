#include "sweeps/metastable.h"

#include "base/text_format.h"
#include "solver/bulk_defects.h"
#include "solver/outer_iteration.h"

#include <algorithm>

namespace kovin {

namespace {

/// Solves the running state with the densities of the present ratios.
bool solve_with_ratios(Surroundings& surroundings, Simulation& s)
{
    SwitchDefectsToMetaDependence(s.metastable, s.set3);
    renew_densities(s.set3, s.currentCalcVars.mesh, s.memory.defects);
    return onder_belichting(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars);
}

}  // namespace

bool relax_metastable_pairs(Surroundings& surroundings, Simulation& s, bool& settled)
{
    const ConvergenceParameters& settings = s.set3.convergence;
    CalculationVariables& cv = s.currentCalcVars;
    bool clamp = settings.usemetaclamping == 1;
    double deviation = 0.0;
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
        Update_Meta_Ratios(s.metastable, clamp ? std::min(settings.clamp_meta, 1.0) : 1.0);
        if (!solve_with_ratios(surroundings, s)) return false;
    }
    // The last solve may have moved the mesh; what is handed on stands on the one that it ended on.
    SwitchDefectsToMetaDependence(s.metastable, s.set3);
    renew_densities(s.set3, cv.mesh, s.memory.defects);
    KOVINErrorMessage(surroundings.report, "Warning",
                      "No convergence in update metastable defects\nRemaining error: " + scientific(deviation, 13, 4));
    return true;
}

}  // namespace kovin
