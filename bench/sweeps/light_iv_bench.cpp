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

void light_iv(benchmark::State& state, Levels levels)
{
    CigsBaseline c(levels, true);
    time_run(state, c);
}
void light_iv_graded(benchmark::State& state)
{
    GradedCigs c(true);
    time_run(state, c);
}

BENCHMARK(light_iv_graded)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, single, Levels::single)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(light_iv, gauss, Levels::as_shipped)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
