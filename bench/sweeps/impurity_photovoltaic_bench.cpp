// Light and occupation of the levels of the sample: one pass of both, and a point at short circuit in sunlight.
#include "cases.h"
#include "solver/optical_occupation.h"
#include "sweeps/starting_point.h"

#include <benchmark/benchmark.h>

namespace {

using namespace kovin;

/// From the equilibrium: solves and passes of light in turn, until neither moves.
void light_of_levels_point(benchmark::State& state, Route route)
{
    bench::SampleCell cell("impurity-photovoltaic.def", bench::Levels::as_shipped, false, route);
    cell.run();
    Simulation& s = *cell.simulation;
    for (auto _ : state) {
        state.PauseTiming();
        const CalculationVariables start = s.evenwichtcv;
        ReturnToAKnownStartingPoint(s, start);
        state.ResumeTiming();
        if (!onder_belichting(s.solver_problem(cell.surroundings), s.memory.work, s.currentCalcVars))
            state.SkipWithError("not converged");
    }
    state.counters["steps"] = s.currentCalcVars.iterations;
}

/// One pass: how the levels are filled, what they absorb, what that adds to their rates. At a settled state.
void light_of_levels_pass(benchmark::State& state)
{
    bench::SampleCell cell("impurity-photovoltaic.def", bench::Levels::as_shipped, false);
    cell.run();
    Simulation& s = *cell.simulation;
    const Problem problem = s.solver_problem(cell.surroundings);
    for (auto _ : state) benchmark::DoNotOptimize(IterateFt(problem, s.currentCalcVars, 1));
    state.counters["wavelengths"] = s.light.n;
    state.counters["points"] = static_cast<double>(s.currentCalcVars.mesh.x.size());
}

BENCHMARK_CAPTURE(light_of_levels_point, fast, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_of_levels_point, classic, Route::classic)->Unit(benchmark::kMillisecond);
BENCHMARK(light_of_levels_pass)->Unit(benchmark::kMicrosecond);

}  // namespace
