// The tunnel sample: its I-V curve with paths shut, at the contacts, within the bands, everywhere; and the paths of its
// interface alone.
#include "cases.h"
#include "solver/tunnel_paths.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

enum class Paths { shut, contacts, intraband, all };

struct TunnelSample : SampleCell {
    explicit TunnelSample(Paths paths)
        : SampleCell("tunnel-heterojunction.def", Levels::as_shipped, true, Route::classic)
    {
        CellParameters& cell = simulation->zonnecel.cell;
        ConvergenceParameters& settings = simulation->problem.input.convergence;
        settings.tunnel_paths = paths == Paths::all ? 0 : paths == Paths::shut ? 1 : 2;
        settings.Tunnelcontact_allowed = paths == Paths::contacts ? 1 : 0;
        settings.Tunnelintraband_allowed = paths == Paths::intraband ? 1 : 0;
        cell.left.tunneling = cell.right.tunneling = true;
        ActionList& actions = simulation->panel.actions;
        actions.IV_startV = 0.0;
        actions.IV_stopV = 0.5;
        actions.IV_points = 51;
    }
};

void tunnel_iv(benchmark::State& state, Paths paths)
{
    TunnelSample c(paths);
    for (auto _ : state) c.run();
}
BENCHMARK_CAPTURE(tunnel_iv, shut, Paths::shut)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tunnel_iv, contacts, Paths::contacts)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tunnel_iv, intraband, Paths::intraband)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tunnel_iv, all, Paths::all)->Unit(benchmark::kMillisecond);

/// The sample at 0.4 V on its first mesh.
struct AtBias : TunnelSample {
    explicit AtBias(Paths paths) : TunnelSample(paths)
    {
        simulation->panel.actions.IV_calculate = false;
        simulation->problem.input.convergence.recalculate_mesh = 0;
        run();
        go_to(0.4);
    }
};

void paths_of_an_interface(benchmark::State& state)
{
    AtBias c(Paths::intraband);
    Simulation& s = *c.simulation;
    TunnelWork& work = s.memory.work.tunnel;
    for (auto _ : state) find_tunnel_paths(s.solver_problem(), s.currentCalcVars, Carrier::electrons, work);
    state.counters["points"] = s.currentCalcVars.mesh.N;
    state.counters["paths"] = static_cast<double>(work.n.paths.size());
}
BENCHMARK(paths_of_an_interface)->Unit(benchmark::kMicrosecond);

void currents_of_all_paths(benchmark::State& state)
{
    AtBias c(Paths::all);
    Simulation& s = *c.simulation;
    TunnelWork& work = s.memory.work.tunnel;
    for (auto _ : state) store_tunnel_currents(s.solver_problem(), work, s.currentCalcVars);
    state.counters["paths"] = static_cast<double>(work.n.paths.size() + work.p.paths.size());
}
BENCHMARK(currents_of_all_paths)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kovin::bench
