// The torture set: that its cells are the ones that others can make from the recipe, and that they are solved.
#include "torture/torture_cell.h"
#include "torture/torture_walk.h"

#include <gtest/gtest.h>

#include <memory>

namespace kovin::torture {
namespace {

// Made from the recipe by another program in another language. The last draw of a cell is its absorption length: it is
// right only if the number of all draws before it is.
TEST(TortureCell, FollowsFromItsNumber)
{
    struct Row {
        std::uint64_t id, first_draw;
        double T;
        int layers;
        bool p_left;
        double last_gap;
        std::vector<int> defects, sheets;
        double Sp_right, suns;
        bool light_from_left;
        double absorption_length;
    };
    const Row rows[] = {
        {0,
         0x4f3f30995a36bc25,
         227.38948760975603,
         6,
         false,
         2.9030129373580937,
         {1, 1, 0, 1, 2, 2},
         {0, 1, 0, 1, 1},
         23073.64125654203,
         0.0,
         false,
         1.3053255646623211e-06},
        {1,
         0xdf7e648c0f218019,
         368.25558762410105,
         3,
         true,
         1.9576017176541565,
         {3, 3, 3},
         {1, 0},
         9746.476901135791,
         0.0062613011207336795,
         false,
         1.4529677327992111e-06},
        {2,
         0xafa593f9cc3220ee,
         321.5300675596599,
         6,
         true,
         3.5,
         {2, 2, 0, 2, 1, 2},
         {0, 1, 0, 0, 0},
         412.801304928243,
         61.50432393847901,
         true,
         1.0208328284639647e-07},
        {3,
         0x8d1ca5c947e5722,
         158.61278715194507,
         1,
         false,
         1.6501862544303103,
         {1},
         {},
         16.303989563445416,
         70.34744667394752,
         false,
         8.78681044262794e-07},
        {4,
         0x86490f6cbae7dea,
         158.1961298591708,
         6,
         true,
         3.0753828051009107,
         {0, 2, 0, 0, 0, 2},
         {0, 0, 0, 1, 0},
         11.224010624926441,
         0.0032522594702562514,
         true,
         2.809951769738167e-06},
    };
    const auto torture = std::make_unique<TortureCell>();
    for (const Row& row : rows) {
        EXPECT_EQ(Draws(usual_seed, row.id).next(), row.first_draw);
        make_torture_cell(usual_seed, row.id, *torture);
        const CellParameters& cell = torture->cell;
        ASSERT_EQ(cell.layers, row.layers) << row.id;
        std::vector<int> defects, sheets;
        for (std::size_t j = 0; j < row.defects.size(); ++j) defects.push_back(cell.layer[j].srhteller);
        for (std::size_t i = 0; i < row.sheets.size(); ++i) sheets.push_back(cell.interfaces[i].defect_count);
        EXPECT_EQ(defects, row.defects) << row.id;
        EXPECT_EQ(sheets, row.sheets) << row.id;
        EXPECT_EQ(torture->p_left, row.p_left) << row.id;
        EXPECT_EQ(torture->light_from_left, row.light_from_left) << row.id;
        const auto near = [&](double value, double expected) {
            EXPECT_NEAR(value, expected, 1e-13 * std::fabs(expected)) << row.id;
        };
        near(torture->T, row.T);
        near(cell.layer[static_cast<std::size_t>(row.layers - 1)].material.Eg.right, row.last_gap);
        near(cell.right.Sp, row.Sp_right);
        near(torture->flux, 2.5e21 * row.suns);
        near(torture->absorption_length, row.absorption_length);
    }
}

// What is drawn holds at the temperature of the cell (368 K), and the light is shared out among the boxes.
TEST(TortureCell, KeepsItsFiguresAndItsPhotons)
{
    const auto torture = std::make_unique<TortureCell>();
    make_torture_cell(usual_seed, 1, *torture);
    testing::Device device(torture->cell, torture->T);
    const Scale& scale = device.set3.scale;
    const OnMesh& on = device.set3.on;
    EXPECT_NEAR(on.vth_p[0] * scale.v0, 1e5, 1e-7);
    EXPECT_NEAR(on.Nc[0] * scale.N0[0], 1.172948036244263e+24, 1e12);
    EXPECT_NEAR(on.Dp[0] * scale.D0 / device.set3.kT, 1.5368026846228425e-07, 1e-19);

    device.illuminate_boxes([&](double a, double b) { return torture->mean_generation(a, b); });
    double photons = 0.0;
    for (std::size_t j = 0; j < device.layers(); ++j)
        for (std::size_t i = device.first(j); i <= device.last(j); ++i) {
            const double left = i > device.first(j) ? device.cv.mesh.h[i - 1] : 0.0;
            const double box = 0.5 * (left + device.cv.mesh.h[i]);
            photons += device.G[i] * box * scale.D0 * scale.N0[j] / scale.x0;
        }
    const double absorbed = torture->flux * -std::expm1(-torture->thickness() / torture->absorption_length);
    EXPECT_NEAR(photons / absorbed, 1.0, 1e-12);
}

// From equilibrium to light, forward beyond the gap and back to -1 V, on a fixed mesh of 100 points a layer.
TEST(Torture, CellsFinish)
{
    const auto torture = std::make_unique<TortureCell>();
    const auto settings = [](ConvergenceParameters& c) {
        c.route = Route::fast;
        c.recalculate_mesh = 0;
    };
    for (const std::uint64_t id : {1, 2, 3, 53, 54}) {
        make_torture_cell(usual_seed, id, *torture);
        const Walk walk = Walker(*torture, settings, Generation::box_means).walk();
        EXPECT_TRUE(walk.finished()) << "cell " << id << ": " << end_words[static_cast<std::size_t>(walk.end)] << " at "
                                     << walk.V << " V";
    }
}

}  // namespace
}  // namespace kovin::torture
