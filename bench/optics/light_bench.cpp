// The whole light of the CIGS sample: absorption and generation for the standard spectrum on the first mesh.
#include <benchmark/benchmark.h>

#include "device/contacts.h"
#include "device/definition_reader.h"
#include "device/parameterset3.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/fluxes.h"
#include "optics/incoming_flux.h"
#include "optics/spectrum.h"
#include "solver/mesh_first.h"

namespace kovin {
namespace {

struct Sample {
    Surroundings surroundings;
    Definition definition;
    CalculationParameters set3;
    Mesh mesh;
    WorkPoint wp = InitialiseWorkPoint();

    bool load()
    {
        surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
        wp.dark = false;
        const auto file = surroundings.folders.root / "def" / "cigs-baseline.def";
        if (!lees_structuurfile(surroundings, file, definition)) return false;
        check_contacts(definition.input.cell, wp.T, definition.input.convergence);
        parameterset1_to_3(definition.input, wp.T, set3);
        DefineKOVINMesh(set3, mesh);
        return true;
    }
    bool prepare(GenerationParameters& gp)
    {
        if (!bepaal_spectrum(surroundings, wp, gp)) return false;
        if (!BerekenFilterSpectra(surroundings, definition.input.cell.cell, gp)) return false;
        return bepaal_alfa(surroundings, set3, mesh, gp);
    }
};

/// From files to the generation on the mesh.
void light_from_files(benchmark::State& state)
{
    Sample sample;
    if (!sample.load()) return state.SkipWithError("cigs-baseline.def cannot be read");
    for (auto _ : state) {
        GenerationParameters gp;
        if (!sample.prepare(gp)) return state.SkipWithError("an input file cannot be read");
        CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
        CalculateFluxesAndGeneration(sample.set3, sample.mesh, gp);
        benchmark::DoNotOptimize(gp.generation.data());
    }
}
BENCHMARK(light_from_files)->Unit(benchmark::kMillisecond);

/// The fluxes alone, as after a change of the mesh.
void fluxes_and_generation(benchmark::State& state)
{
    Sample sample;
    GenerationParameters gp;
    if (!sample.load() || !sample.prepare(gp)) return state.SkipWithError("an input file cannot be read");
    CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
    for (auto _ : state) {
        CalculateFluxesAndGeneration(sample.set3, sample.mesh, gp);
        benchmark::DoNotOptimize(gp.generation.data());
    }
}
BENCHMARK(fluxes_and_generation)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin
