// The optics of the CIGS sample under AM1.5G on its mesh of some 400 points.
#include "cases.h"
#include "optics/absorption_on_mesh.h"
#include "optics/fluxes.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// Fluxes through all layers at all wavelengths, with both reflections.
void fluxes_and_generation(benchmark::State& state)
{
    CigsBaseline c(Levels::single, false);
    Simulation& s = *c.simulation;
    c.run();
    for (auto _ : state) {
        CalculateFluxesAndGeneration(s.set3, s.currentCalcVars.mesh, s.light);
        benchmark::ClobberMemory();
    }
    state.counters["wavelengths"] = static_cast<double>(s.light.lambda.size());
}
BENCHMARK(fluxes_and_generation)->Unit(benchmark::kMicrosecond);

/// Absorption files read and interpolated at the wavelengths of the spectrum.
void absorption_of_the_layers(benchmark::State& state)
{
    CigsBaseline c(Levels::single, false);
    Simulation& s = *c.simulation;
    c.run();
    for (auto _ : state) {
        if (!read_absorption(c.surroundings, s.set3, s.light)) state.SkipWithError("not read");
        bepaal_alfa(s.set3, s.currentCalcVars.mesh, s.light);
    }
}
BENCHMARK(absorption_of_the_layers)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kovin::bench
