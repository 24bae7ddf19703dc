#include "optics/given_rows.h"

#include "device/boxes.h"
#include "device/parameterset3.h"
#include "optics/generation.h"
#include "solver/mesh_first.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kovin::test {
namespace {

/// 2.1 um, and by default a spike of 6 nm in 900 rows; or the same light in exponential rows.
GivenGeneration profile_of(std::size_t rows, bool spike)
{
    GivenGeneration given;
    for (std::size_t k = 0; k < rows; ++k) {
        const double x = 2.1e-6 * static_cast<double>(k) / static_cast<double>(rows - 1);
        given.x.push_back(x);
        given.G.push_back(!spike ? 1e28 * std::exp(-x / 3e-7) : std::fabs(x - 1e-6) < 3e-9 ? 1e27 : 1e20);
    }
    return given;
}

double integral(const GivenGeneration& given, const std::vector<double>& kept)
{
    double sum = 0.0;
    const auto at = [&](double x) {
        return given.G[static_cast<std::size_t>(std::lower_bound(given.x.begin(), given.x.end(), x) - given.x.begin())];
    };
    for (std::size_t k = 1; k < kept.size(); ++k)
        sum += 0.5 * (at(kept[k]) + at(kept[k - 1])) * (kept[k] - kept[k - 1]);
    return sum;
}

TEST(GivenRows, ThoseThatMatterStay)
{
    struct Row {
        bool spike;
        std::size_t most;
        double tolerance;
    };
    for (const Row& r : {Row{true, 10, 1e-12}, Row{true, 400, 1e-12}, Row{false, 40, 3e-3}, Row{false, 2000, 0.0}}) {
        const GivenGeneration given = profile_of(900, r.spike);
        const std::vector<double> kept = rows_that_matter(given, r.most);
        EXPECT_EQ(kept.size(), std::min<std::size_t>(r.most, 900));
        EXPECT_EQ(kept.front(), given.x.front());
        EXPECT_EQ(kept.back(), given.x.back());
        EXPECT_NEAR(integral(given, kept) / integral(given, given.x), 1.0, r.tolerance) << r.most;
    }
    GivenGeneration box = profile_of(900, true);
    box.sharp_ends = true;
    const std::vector<double> kept = rows_that_matter(box, 20);
    EXPECT_EQ(kept[1], box.x[1]);
    EXPECT_EQ(kept[kept.size() - 2], box.x[898]);
}

// Rows that did not fit beside the points of the mesh were left out, one and all, without a word.
TEST(GivenRows, TheMeshHoldsTheLightOfALongFile)
{
    LayerFigures p{.d = 2e-6, .Na = 2e22}, n{.d = 1e-7, .Nd = 1e23};
    const InputParameters cell = cell_of({p, n});
    WorkPoint wp;
    wp.dark = false;
    wp.generationSpecified = true;
    for (const bool merged : {true, false}) {
        CalculationParameters set3;
        parameterset1_to_3(cell, 300.0, set3);
        set3.convergence.route = Route::classic;
        GenerationParameters gp;
        gp.given = profile_of(900, true);
        MeshWishes wishes;
        if (merged) wishes.profile_x = rows_that_matter(gp.given, rows_in_mesh(900, set3.layers));
        Mesh mesh;
        DefineKOVINMesh(set3, mesh, wishes);
        CalculateGenerationFromFileOrFromModel(wp, set3, mesh, gp);
        const double ideal = CalculateIdealCurrentFromGenerationFileOrModel(gp.given);
        Report told;
        tell_lost_generation(told, wp, set3, mesh, gp);
        EXPECT_EQ(told.messages.size(), merged ? 0u : 1u);
        EXPECT_NEAR(integrated_current(set3, mesh, gp.generation) / ideal, merged ? 1.0 : 0.0, 5e-3);
        if (!merged) continue;
        // A file for a thicker cell: its last fiftieth is lost, or its last two hundredths.
        for (const double depth : {1.02, 1.005}) {
            gp.given.x = {0.0, depth * 2.1e-6};
            gp.given.G = {1e27, 1e27};
            wp.generationFromFile = true;
            CalculateGenerationFromFileOrFromModel(wp, set3, mesh, gp);
            told.messages.clear();
            tell_lost_generation(told, wp, set3, mesh, gp);
            EXPECT_EQ(told.messages.size(), depth > 1.01 ? 1u : 0u) << depth;
        }
    }
}

}  // namespace
}  // namespace kovin::test
