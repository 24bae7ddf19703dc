// The light I-V curves of the CIGS sample and of the graded one, 41 points from 0 to 0.8 V: the calculation from
// equilibrium on, and the reading of spectrum and absorption that belongs to it. Neither the definition file nor the
// result files.
#include "cases.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

void time_run(benchmark::State& state, SampleCell& c)
{
    for (auto _ : state) c.run();
    const Simulation& s = *c.simulation;
    state.counters["points"] = s.results.empty() ? 0.0 : static_cast<double>(s.results.back().iv.points());
}

void light_iv(benchmark::State& state, Levels levels, Route route)
{
    CigsBaseline c(levels, true, route);
    time_run(state, c);
}
void light_iv_graded(benchmark::State& state, Route route)
{
    GradedCigs c(true, route);
    time_run(state, c);
}

BENCHMARK_CAPTURE(light_iv_graded, fast, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv_graded, classic, Route::classic)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, single, Levels::single, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, gauss, Levels::as_shipped, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, classic_single, Levels::single, Route::classic)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, classic_gauss, Levels::as_shipped, Route::classic)->Unit(benchmark::kMillisecond);

/// The solves alone on the fast route: 101 points in steps of 10 mV from -0.2 to 0.8 V. The time told is that of a
/// point.
void fast_sweep(benchmark::State& state, Levels levels, const FastKernel* kernel)
{
    CigsBaseline c(levels, false);
    c.run();
    Simulation& s = *c.simulation;
    const Problem problem = s.solver_problem(c.surroundings);
    s.memory.work.fast.kernel = kernel;
    constexpr double start = -0.2, step = 0.01;
    constexpr int points = 101;
    if (!volgende_iv_punt(problem, s.memory.work, s.currentCalcVars, 0.0, start, 2)) state.SkipWithError("no start");
    long passes = 0;
    for (auto _ : state) {
        CalculationVariables& cv = s.currentCalcVars;
        for (int k = 1; k < points; ++k) {
            const double V = start + k * step;
            if (!volgende_iv_punt(problem, s.memory.work, cv, cv.V, V, 2)) state.SkipWithError("a point failed");
            passes += cv.iterations;
        }
        if (!volgende_iv_punt(problem, s.memory.work, cv, cv.V, start, 6)) state.SkipWithError("no way back");
    }
    const double solved = static_cast<double>(state.iterations()) * (points - 1);
    state.counters["per_point"] = benchmark::Counter(solved, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["steps"] = static_cast<double>(passes) / solved;
    state.counters["mesh"] = s.currentCalcVars.mesh.N;
}
BENCHMARK_CAPTURE(fast_sweep, single, Levels::single, &fast_kernel())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fast_sweep, single_baseline, Levels::single, &fast_kernel_baseline())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fast_sweep, gauss, Levels::as_shipped, &fast_kernel())->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
