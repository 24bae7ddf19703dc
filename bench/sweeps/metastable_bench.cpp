// Metastable pairs of the sample settle, from the file's share: equilibrium, light or dark, and all steps.
#include "cases.h"

#include <benchmark/benchmark.h>

namespace {

using namespace kovin;

void metastable_relaxation(benchmark::State& state, bool dark)
{
    bench::SampleCell cell("metastable-cigs.def", bench::Levels::as_shipped, false);
    Simulation& s = *cell.simulation;
    s.panel.secondWorkPoint = s.panel.workPoint;
    s.panel.secondWorkPoint.dark = dark;
    for (auto _ : state)
        if (calculate(cell.surroundings, s, RunMode::settle) != RunOutcome::done) state.SkipWithError("not settled");
    state.counters["steps"] = s.metastable.steps;
}

BENCHMARK_CAPTURE(metastable_relaxation, dark, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(metastable_relaxation, light, false)->Unit(benchmark::kMillisecond);

}  // namespace
