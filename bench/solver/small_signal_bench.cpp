// One frequency of the small-signal analysis, at a state near the maximum power point.
#include "cases.h"
#include "solver/small_signal.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// With what all frequencies share (`anew`), as at a point of a C-V curve, or without, as in a C-f curve.
void small_signal(benchmark::State& state, Levels levels, bool anew)
{
    CigsAtHalfAVolt c(levels);
    const Problem problem = c.simulation->solver_problem(c.surroundings);
    const CalculationVariables& cv = c.simulation->currentCalcVars;
    SmallSignalWork work;
    SmallSignal answer;
    prepare_small_signal(problem, cv, work);
    for (auto _ : state) {
        if (anew) prepare_small_signal(problem, cv, work);
        if (!solve_small_signal(problem, cv, 1e6, work, answer)) state.SkipWithError("no number");
        benchmark::DoNotOptimize(answer.mean);
    }
    state.counters["points"] = cv.mesh.N;
}

BENCHMARK_CAPTURE(small_signal, single, Levels::single, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(small_signal, single_again, Levels::single, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(small_signal, gauss_again, Levels::as_shipped, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(small_signal, chains_again, Levels::chains, false)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kovin::bench
