// The kernels of one Newton step on the CIGS sample: 400 points, in the light at 0.5 V.
#include "cases.h"
#include "solver/band_solve.h"
#include "solver/bulk_terms.h"
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/residuals.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// Times `kernel(problem, work, state)`.
template <class Kernel>
void time_kernel(benchmark::State& state, Levels levels, const Kernel& kernel)
{
    const CigsAtHalfAVolt c(levels);
    Simulation& s = *c.simulation;
    const Problem problem = s.solver_problem();
    for (auto _ : state) {
        kernel(problem, s.memory.work, s.currentCalcVars);
        benchmark::ClobberMemory();
    }
    state.counters["points"] = s.currentCalcVars.mesh.N;
    state.counters["energies"] = static_cast<double>(s.memory.defects.energies.size() + s.memory.defects.chains.size());
}

void recombination_single(benchmark::State& state)
{
    time_kernel(state, Levels::single,
                [](const Problem& p, Workspace&, CalculationVariables& cv) { totale_rdcbijdrage(p, cv); });
}
BENCHMARK(recombination_single);

void recombination_gauss(benchmark::State& state)
{
    time_kernel(state, Levels::as_shipped,
                [](const Problem& p, Workspace&, CalculationVariables& cv) { totale_rdcbijdrage(p, cv); });
}
BENCHMARK(recombination_gauss);

void recombination_chains(benchmark::State& state)
{
    time_kernel(state, Levels::chains,
                [](const Problem& p, Workspace&, CalculationVariables& cv) { totale_rdcbijdrage(p, cv); });
}
BENCHMARK(recombination_chains);

void update_psivar_and_bernoulli(benchmark::State& state)
{
    time_kernel(state, Levels::single,
                [](const Problem& p, Workspace&, CalculationVariables& cv) { update_psivar(p.set3, cv); });
}
BENCHMARK(update_psivar_and_bernoulli);

void update_Fn_alone(benchmark::State& state)
{
    time_kernel(state, Levels::single, [](const Problem&, Workspace&, CalculationVariables& cv) { update_Fn(cv); });
}
BENCHMARK(update_Fn_alone);

void residue_psi(benchmark::State& state)
{
    time_kernel(state, Levels::single, [](const Problem& p, Workspace& w, CalculationVariables& cv) {
        total_charge(p, cv, w.rho_total);
        calculate_dc_residue_psi(p, cv, w.rho_total, w.res);
    });
}
BENCHMARK(residue_psi);

void jacobian_psi(benchmark::State& state)
{
    time_kernel(state, Levels::single, [](const Problem& p, Workspace& w, CalculationVariables& cv) {
        calculate_dc_jacobian_psi(p, cv, {w.sub, w.main, w.super}, w.extra);
    });
}
BENCHMARK(jacobian_psi);

void residue_u(benchmark::State& state)
{
    time_kernel(state, Levels::single, [](const Problem& p, Workspace& w, CalculationVariables& cv) {
        calculate_dc_residue(p, cv, Carrier::electrons, w.res);
    });
}
BENCHMARK(residue_u);

void jacobian_u(benchmark::State& state)
{
    time_kernel(state, Levels::single, [](const Problem& p, Workspace& w, CalculationVariables& cv) {
        calculate_dc_jacobian(p, cv, Carrier::electrons, {w.sub, w.main, w.super});
    });
}
BENCHMARK(jacobian_u);

/// Solves work on a copy of the system, as the solve scales its rows: the copy of four diagonals is in the figure.
template <class Assemble, class Solve>
void time_solve(benchmark::State& state, const Assemble& assemble, const Solve& solve)
{
    const CigsAtHalfAVolt c(Levels::single);
    Simulation& s = *c.simulation;
    assemble(s.solver_problem(), s.memory.work, s.currentCalcVars);
    const Workspace system = s.memory.work;
    Workspace work = system;
    for (auto _ : state) {
        work.res = system.res;
        work.sub = system.sub;
        work.main = system.main;
        work.super = system.super;
        work.extra = system.extra;
        if (!solve(s.currentCalcVars.mesh, work)) state.SkipWithError("singular");
        benchmark::ClobberMemory();
    }
}

void solve_psi(benchmark::State& state)
{
    time_solve(
        state,
        [](const Problem& p, Workspace& w, CalculationVariables& cv) {
            total_charge(p, cv, w.rho_total);
            calculate_dc_residue_psi(p, cv, w.rho_total, w.res);
            calculate_dc_jacobian_psi(p, cv, {w.sub, w.main, w.super}, w.extra);
        },
        [](const Mesh& mesh, Workspace& w) { return calculate_dc_delta_psi(mesh, w); });
}
BENCHMARK(solve_psi);

void solve_u(benchmark::State& state)
{
    time_solve(
        state,
        [](const Problem& p, Workspace& w, CalculationVariables& cv) {
            calculate_dc_residue(p, cv, Carrier::electrons, w.res);
            calculate_dc_jacobian(p, cv, Carrier::electrons, {w.sub, w.main, w.super});
        },
        [](const Mesh&, Workspace& w) { return calculate_dc_delta_u_or_v(w); });
}
BENCHMARK(solve_u);

void currents(benchmark::State& state)
{
    time_kernel(state, Levels::single,
                [](const Problem& p, Workspace& w, CalculationVariables& cv) { extraheer_stroom(p, cv, w.currents); });
}
BENCHMARK(currents);

}  // namespace
}  // namespace kovin::bench
