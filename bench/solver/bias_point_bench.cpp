// One bias point: from a converged state to the voltage 20 mV further, near the maximum power point.
#include "cases.h"
#include "sweeps/starting_point.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// Each pass begins at the stored state, so that all of them do the same work.
void bias_point(benchmark::State& state, Levels levels)
{
    CigsAtHalfAVolt c(levels);
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

BENCHMARK_CAPTURE(bias_point, single, Levels::single)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(bias_point, gauss, Levels::as_shipped)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
