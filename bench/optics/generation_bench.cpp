// The optics of the CIGS sample and of the graded one under AM1.5G on their meshes of some 400 points.
#include "cases.h"
#include "optics/absorbed_photons.h"
#include "optics/absorption_on_mesh.h"
#include "optics/box_generation.h"
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

/// The same as photons absorbed in the boxes of the mesh: the generation of the fast route. The argument is the
/// reflection of the back in percent.
void generation_in_boxes(benchmark::State& state)
{
    CigsBaseline c(Levels::single, false);
    Simulation& s = *c.simulation;
    c.run();
    const Mesh& mesh = s.currentCalcVars.mesh;
    s.light.leftFilter.assign(s.light.lambda.size(), 0.01 * static_cast<double>(state.range(0)));
    for (auto _ : state) {
        photons_of_spectrum(s.set3, mesh, s.light);
        generation_of_boxes(s.set3, mesh, s.light.in_box, s.light.generation);
        benchmark::ClobberMemory();
    }
    state.counters["points"] = mesh.N;
}
BENCHMARK(generation_in_boxes)->Arg(0)->Arg(80)->Unit(benchmark::kMicrosecond);

/// One wavelength, as a quantum efficiency takes them.
void generation_of_one_wavelength(benchmark::State& state)
{
    CigsBaseline c(Levels::single, false);
    Simulation& s = *c.simulation;
    c.run();
    const Mesh& mesh = s.currentCalcVars.mesh;
    std::vector<double> photons(static_cast<std::size_t>(mesh.N));
    for (auto _ : state) {
        photons_of_wavelength(s.set3, mesh, s.light, 600, 1e20, photons);
        generation_of_boxes(s.set3, mesh, photons, s.light.generation);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(generation_of_one_wavelength)->Unit(benchmark::kMicrosecond);

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

/// Absorption at every point of graded layers, anew or as another mesh has left it, and the light through them.
void graded_optics(benchmark::State& state, bool anew)
{
    GradedCigs c(false);
    Simulation& s = *c.simulation;
    c.run();
    for (auto _ : state) {
        if (anew) s.light.absorption = {};
        bepaal_alfa(s.set3, s.currentCalcVars.mesh, s.light);
        CalculateFluxesAndGeneration(s.set3, s.currentCalcVars.mesh, s.light);
        benchmark::ClobberMemory();
    }
    state.counters["points"] = s.currentCalcVars.mesh.N;
    state.counters["lists"] = static_cast<double>(s.light.absorption.alpha.size());
}
BENCHMARK_CAPTURE(graded_optics, anew, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(graded_optics, again, false)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kovin::bench
