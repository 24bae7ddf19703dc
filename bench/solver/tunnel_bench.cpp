// The tunnel sample: its I-V curve with paths shut, at the contacts, within the bands, everywhere; and the paths of its
// interface alone. A silicon junction whose interface has states: its I-V curve and the paths into them.
#include "cases.h"
#include "solver/tunnel_paths.h"
#include "solver/tunnel_states.h"

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

/// p+n silicon in the dark, 2.5e18 and 1e18 cm-3, with 1e12 states per cm2 between p and n: defects of one energy each
/// amid the gap, or of seven, 0.1 eV apart.
struct JunctionWithStates : SampleCell {
    JunctionWithStates(int defects, EnergyDistribution distribution, bool open, bool with_IV)
        : SampleCell("silicon-pn.def", Levels::as_shipped, with_IV, Route::classic)
    {
        CellParameters& cell = simulation->zonnecel.cell;
        const auto set = [](Profile& p, double value) { p.pure_A = p.pure_B = p.left = p.right = value; };
        for (LayerParameters& layer : cell.layer)
            for (Profile* mass : {&layer.material.m_e, &layer.material.m_h}) set(*mass, 0.1);
        set(cell.layer[1].material.Na, 2.5e24);
        set(cell.layer[2].material.Nd, 1e24);
        for (std::size_t j = 0; j < 3; ++j) cell.layer[j].material.d = 2e-7;
        InterfaceParameters& interface = cell.interfaces[1];
        for (int k = 0; k < defects; ++k) {
            InterfaceRecombinationParameters& d = interface.defects[static_cast<std::size_t>(k)];
            InitialiseInterfaceRecombinationParameters(d, 1, k);
            d.defectType = DefectType::neutral;
            d.energy_distribution = distribution;
            d.N = 1e16 / defects;
            d.reference = EnergyReference::above_EV_left;
            d.Et = 0.56 + 0.1 * (k - defects / 2);
            d.sigma_nleft = d.sigma_nright = d.sigma_pleft = d.sigma_pright = 1e-19;
            d.tunneling = true;
            d.m_e = d.m_h = 0.1;
        }
        interface.defect_count = defects;
        ConvergenceParameters& settings = simulation->problem.input.convergence;
        settings.tunnel_paths = 2;
        settings.Tunneliface_allowed = open ? 1 : 0;
        simulation->panel.workPoint.dark = true;
        ActionList& actions = simulation->panel.actions;
        actions.IV_startV = 0.0;
        actions.IV_stopV = 0.5;
        actions.IV_points = 51;
    }
};

void states_iv(benchmark::State& state, int defects, EnergyDistribution distribution, bool open)
{
    JunctionWithStates c(defects, distribution, open, true);
    for (auto _ : state) c.run();
}
BENCHMARK_CAPTURE(states_iv, one_closed, 1, EnergyDistribution::single, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(states_iv, one_open, 1, EnergyDistribution::single, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(states_iv, three_times_seven_closed, 3, EnergyDistribution::gauss, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(states_iv, three_times_seven_open, 3, EnergyDistribution::gauss, true)->Unit(benchmark::kMillisecond);

void paths_into_states(benchmark::State& state, int defects, EnergyDistribution distribution)
{
    JunctionWithStates c(defects, distribution, true, false);
    c.simulation->problem.input.convergence.recalculate_mesh = 0;
    c.run();
    c.go_to(0.4);
    Simulation& s = *c.simulation;
    for (auto _ : state) find_paths_into_states(s.solver_problem(), s.currentCalcVars, s.memory.work.tunnel);
    const TunnelStates& states = s.currentCalcVars.tunnel_states;
    state.counters["points"] = s.currentCalcVars.mesh.N;
    state.counters["groups"] = static_cast<double>(states.n.groups.size() + states.p.groups.size());
    state.counters["paths"] = static_cast<double>(states.n.paths.size() + states.p.paths.size());
}
BENCHMARK_CAPTURE(paths_into_states, one, 1, EnergyDistribution::single)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(paths_into_states, three_times_seven, 3, EnergyDistribution::gauss)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kovin::bench
