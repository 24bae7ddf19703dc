// Tables of the graded material and of the absorption.
#include "results/material_tables.h"

#include "base/scratch_folder.h"
#include "base/text_scan.h"
#include "device/absorption_models.h"
#include "device/parameterset3.h"
#include "solver/mesh_first.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kovin {
namespace {

TEST(MaterialTables, GradedMaterialInTheUnitsOfItsHeadingsAtAnyTemperature)
{
    InputParameters set1 = test::cell_of(
        {{.d = 2e-6, .Na = 1e22}, {.d = 1e-6, .Eg = 1.4, .Nc = 2e24, .Na = 1e22, .Nd = 3e22, .mu_n = 0.02}});
    LayerParameters& layer = set1.cell.cell.layer[0];
    layer.composition_mode = 1;
    layer.composition.law = Law::linear;
    layer.composition.right = 1.0;
    layer.material.Eg.law = Law::linear;
    layer.material.Eg.pure_A = 1.0;
    layer.material.Eg.pure_B = 1.6;
    CalculationParameters set3;
    Mesh mesh;
    parameterset1_to_3(set1, 350.0, set3);
    DefineKOVINMesh(set3, mesh);

    std::istringstream table(grading_table("KOVIN", {}, set3, mesh));
    std::string line;
    while (std::getline(table, line) && !line.starts_with("i\t")) {
    }
    EXPECT_TRUE(line.starts_with("i\tx(\xB5m)\ty\tEg (eV)\tChi (eV)\tNC (1/cm3)")) << line;
    std::size_t rows = 0;
    for (; std::getline(table, line); ++rows) {
        const std::vector<double> v = number_list(line, 20).values;
        ASSERT_EQ(v.size(), 16u) << line;
        const bool first = static_cast<int>(rows) <= mesh.last[0];
        EXPECT_EQ(v[0], static_cast<double>(rows));
        EXPECT_NEAR(v[2], first ? v[1] / 2.0 : 0.0, 1e-6);
        EXPECT_NEAR(v[3], first ? 1.0 + 0.6 * v[2] : 1.4, 1e-7);
        EXPECT_NEAR(v[5], first ? 2.86e19 : 2e18, 1e12) << "1/cm3, without the factor of temperature";
        EXPECT_NEAR(v[7], first ? 1000.0 : 200.0, 1e-5) << "cm2/Vs";
        EXPECT_NEAR(v[9], first ? -1e16 : 2e16, 1e9) << "donors less acceptors";
        EXPECT_NEAR(v[11], 1e7, 1e0) << "cm/s";
    }
    EXPECT_EQ(rows, static_cast<std::size_t>(mesh.N));
}

TEST(MaterialTables, AbsorptionReadsBackAndIsRefusedWithoutASpectrum)
{
    CalculationParameters set3;
    set3.layer[0].name = "Si";
    Mesh mesh;
    mesh.nlayers = 1;
    mesh.resize(3);
    mesh.n_in_layer[0] = 3;
    GenerationParameters gp;
    Surroundings surroundings;
    EXPECT_EQ(BewaarAlfa(surroundings.report, {}, set3, mesh, gp), "");
    ASSERT_EQ(surroundings.report.messages.size(), 1u);
    EXPECT_EQ(surroundings.report.messages[0].title, "Error from Show Alpha");

    gp.lambda = {300, 500.25, 900};
    gp.absorption.alpha = {{1.25e8, 3e6, 0.0}, {1, 1, 1}};
    gp.absorption.of_point = {0, 1, 1};  // the table shows the leftmost point
    const ScratchFolder scratch;
    RunRecord run;
    run.wp.spectrumFromFile = false;
    run.wp.spectrumModel.number = 43;  // a panel changes the number and leaves the rest
    run.wp.spectrumModel.name = "another";
    const std::string text = BewaarAlfa(surroundings.report, run, set3, mesh, gp);
    EXPECT_NE(text.find("none, model Black body spectrum\n"), std::string::npos) << text.substr(0, 400);
    const auto file = scratch.put("t.abs", text);
    AbsorptionFiles files;
    const AbsorptionTable* table = files.read(surroundings, file.string());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->lambda, gp.lambda);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(table->alpha[k], gp.absorption.alpha[0][k], 1e-6 * table->alpha[k]);
}

}  // namespace
}  // namespace kovin
