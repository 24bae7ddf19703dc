// One bias point: from a converged state to the voltage 20 mV further, near the maximum power point.
#include "cases.h"
#include "sweeps/starting_point.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// Each pass begins at the stored state, so that all of them do the same work. Scheme 14 is switched at pass 3.
void bias_point(benchmark::State& state, Levels levels, int scheme)
{
    CigsAtHalfAVolt c(levels, scheme);
    Simulation& s = *c.simulation;
    const CalculationVariables start = s.currentCalcVars;
    const Problem problem = s.solver_problem(c.surroundings);
    for (auto _ : state) {
        ReturnToAKnownStartingPoint(s, start);
        if (!volgende_iv_punt(problem, s.memory.work, s.currentCalcVars, 0.5, 0.52, 2))
            state.SkipWithError("no convergence");
    }
    state.counters["passes"] = s.currentCalcVars.iterations;
    state.counters["points"] = s.currentCalcVars.mesh.N;
}

BENCHMARK_CAPTURE(bias_point, single, Levels::single, decoupled)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, gauss, Levels::as_shipped, decoupled)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, single_12, Levels::single, coupled_uv)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, single_14, Levels::single, gummel_then_coupled)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, gauss_12, Levels::as_shipped, coupled_uv)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, gauss_14, Levels::as_shipped, gummel_then_coupled)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
