// The light of the shipped cells on their first mesh, against the photons that the layers take up in all.
#include "device/definition_reader.h"
#include "device/parameterset3.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/fluxes.h"
#include "optics/generation.h"
#include "optics/incoming_flux.h"
#include "optics/spectrum.h"
#include "solver/mesh_first.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace kovin {
namespace {

TEST(ShippedCells, GenerateWhatTheirLayersAbsorb)
{
    for (const std::string name : {"cigs-baseline", "cdte-baseline", "silicon-pn", "perovskite-nip"}) {
        SCOPED_TRACE(name);
        Surroundings surroundings;
        surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
        Definition definition;
        ASSERT_TRUE(lees_structuurfile(surroundings, surroundings.folders.root / "def" / (name + ".def"), definition));
        InputParameters& input = definition.input;
        const CellParameters& cell = input.cell.cell;

        CalculationParameters set3;
        Mesh mesh;
        parameterset1_to_3(input, 300.0, set3);
        DefineKOVINMesh(set3, mesh);
        WorkPoint wp = InitialiseWorkPoint();
        wp.dark = false;
        GenerationParameters gp;
        ASSERT_TRUE(bepaal_spectrum(surroundings, wp, gp));
        ASSERT_TRUE(BerekenFilterSpectra(surroundings, cell, gp));
        ASSERT_TRUE(read_absorption(surroundings, set3, gp));
        bepaal_alfa(set3, mesh, gp);
        CalculateIncomingFluxes(gp, photons_per_nm_W, FluxMode::work_point);
        set3.convergence.route = Route::classic;
        CalculateFluxesAndGeneration(set3, mesh, gp);
        update_generation_current(set3, mesh, gp);
        ASSERT_EQ(gp.absorption.alpha.size(), 3u) << "one table a uniform layer";

        // Light from the right, back reflection at the left: all that is taken up on the two ways.
        double photons = 0.0;
        for (std::size_t k = 0; k < gp.lambda.size(); ++k) {
            double T = 0.0;
            for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j)
                T += gp.absorption.alpha[j][k] * cell.layer[j].material.d;
            photons += gp.incomingFlux_us[k] * (1 - std::exp(-T)) * (1 + gp.leftFilter[k] * std::exp(-T));
        }
        // Point values times half intervals overrate a steep profile, by 0.2 to 0.5 % on this mesh.
        const double expected = photons * elementary_charge * 0.1;
        EXPECT_GT(gp.total_mA_cm2, expected);
        EXPECT_NEAR(gp.total_mA_cm2, expected, 1e-2 * expected);
        set3.convergence.route = Route::fast;
        update_generation(wp, set3, mesh, gp);
        EXPECT_NEAR(gp.total_mA_cm2, expected, 1e-12 * expected) << "in boxes nothing is overrated";
        EXPECT_TRUE(surroundings.report.messages.empty()) << "the shipped files need no warning";
    }
}

}  // namespace
}  // namespace kovin
