#include "sweeps/simulation.h"

#include "optics/generation.h"
#include "solver/optical_occupation.h"

namespace kovin {

Problem Simulation::solver_problem(Surroundings& surroundings)
{
    Problem solve = solver_problem();
    solve.monitor = &surroundings.monitor;
    solve.voltage_sign = polarity.V;
    solve.report = &surroundings.report;
    MeshAdaption& adaption = solve.adaption.emplace(MeshAdaption{set3, memory, light.generation});
    if (!wp.dark)
        adaption.relight = [this](const Mesh& from, const Mesh& to) { update_generation(wp, set3, to, light, &from); };
    if (levels_absorb()) solve.exchange.emplace(OpticalExchange{memory.defects, light});
    return solve;
}

void Simulation::settle_light_of_levels()
{
    if (!levels_absorb()) return;
    Problem own = solver_problem();
    own.exchange.emplace(OpticalExchange{memory.defects, light});
    settle_light(own, currentCalcVars);
}

}  // namespace kovin
