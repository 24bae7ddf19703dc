#include "sweeps/simulation.h"

#include "optics/generation.h"

namespace kovin {

Problem Simulation::solver_problem(Surroundings& surroundings)
{
    Problem solve = solver_problem();
    solve.monitor = &surroundings.monitor;
    solve.report = &surroundings.report;
    MeshAdaption& adaption = solve.adaption.emplace(MeshAdaption{set3, memory, light.generation});
    if (!wp.dark) adaption.relight = [this](const Mesh& mesh) { update_generation(wp, set3, mesh, light); };
    return solve;
}

}  // namespace kovin
