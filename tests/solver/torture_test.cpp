// The torture set: that its cells are the ones that others can make from the recipe, and that they are solved.
#include "torture/torture_cell.h"
#include "torture/torture_walk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace kovin::torture {
namespace {

// Made from the recipe by another program in another language. The last draw of a cell is its absorption length: it is
// right only if the number of all draws before it is.
TEST(TortureCell, FollowsFromItsNumber)
{
    struct Row {
        std::uint64_t id, first_draw;
        int layers;
        const char *defects, *sheets;  ///< a digit for each layer and interface
        bool p_left, light_from_left;
        double T, last_gap, Sp_right, suns, absorption_length;
    };
    constexpr Row rows[] = {
        {0, 0x4f3f30995a36bc25, 6, "110122", "01011", false, false, 227.38948760975603, 2.9030129373580937,
         23073.64125654203, 0.0, 1.3053255646623211e-06},
        {1, 0xdf7e648c0f218019, 3, "333", "10", true, false, 368.25558762410105, 1.9576017176541565, 9746.476901135791,
         0.0062613011207336795, 1.4529677327992111e-06},
        {2, 0xafa593f9cc3220ee, 6, "220212", "01000", true, true, 321.5300675596599, 3.5, 412.801304928243,
         61.50432393847901, 1.0208328284639647e-07},
        {3, 0x8d1ca5c947e5722, 1, "1", "", false, false, 158.61278715194507, 1.6501862544303103, 16.303989563445416,
         70.34744667394752, 8.78681044262794e-07},
        {4, 0x86490f6cbae7dea, 6, "020002", "00010", true, true, 158.1961298591708, 3.0753828051009107,
         11.224010624926441, 0.0032522594702562514, 2.809951769738167e-06},
    };
    const auto torture = std::make_unique<TortureCell>();
    for (const Row& row : rows) {
        EXPECT_EQ(Draws(usual_seed, row.id).next(), row.first_draw);
        make_torture_cell(usual_seed, row.id, *torture);
        const CellParameters& cell = torture->cell;
        ASSERT_EQ(cell.layers, row.layers) << row.id;
        std::string defects, sheets;
        for (const LayerParameters& layer : cell.layer) defects += std::to_string(layer.srhteller);
        for (const InterfaceParameters& interface : cell.interfaces) sheets += std::to_string(interface.defect_count);
        const auto inner = static_cast<std::size_t>(cell.layers - 1);
        defects.resize(inner + 1), sheets.resize(inner);
        EXPECT_EQ(defects, row.defects) << row.id;
        EXPECT_EQ(sheets, row.sheets) << row.id;
        EXPECT_EQ(torture->p_left, row.p_left) << row.id;
        EXPECT_EQ(torture->light_from_left, row.light_from_left) << row.id;
        const auto near = [&](double value, double expected) {
            EXPECT_NEAR(value, expected, 1e-13 * std::fabs(expected)) << row.id;
        };
        near(torture->T, row.T);
        near(cell.layer[inner].material.Eg.right, row.last_gap);
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

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t every = 6;  // cells run one of so many, as each takes forty times as long
#else
constexpr std::size_t every = 1;
#endif

testing::Device::Settings on_route(Route route)
{
    return [route](ConvergenceParameters& c) {
        c.route = route;
        c.recalculate_mesh = 0;
        if (route == Route::fast) return;
        c.coupling_scheme = gummel_then_coupled;
        set_terminations(c, 1e-9);
    };
}

// From equilibrium to light, forward beyond the gap and back to -1 V, on a fixed mesh of 100 points a layer. One cell
// in ten of the set in the order of the steps that they need, and the hardest.
TEST(Torture, FastRouteFinishes)
{
    constexpr std::uint64_t ids[] = {3,   5,   6,   13,  26,  53,  56,  78,  88,  94,  95,  99,  110, 120, 126,
                                     127, 132, 142, 161, 179, 186, 210, 219, 221, 230, 244, 264, 266, 271, 280,
                                     289, 308, 310, 313, 324, 369, 376, 380, 382, 386, 410, 414, 459, 471, 476,
                                     477, 483, 97,  155, 462, 52,  232, 371, 293, 405, 358, 285, 412, 136, 394};
    const auto torture = std::make_unique<TortureCell>();
    for (std::size_t k = 0; k < std::size(ids); k += every) {
        make_torture_cell(usual_seed, ids[k], *torture);
        const Walk walk = Walker(*torture, on_route(Route::fast), Generation::box_means).walk();
        EXPECT_TRUE(walk.finished()) << "cell " << ids[k] << ": " << end_words[static_cast<std::size_t>(walk.end)]
                                     << " at " << walk.V << " V";
    }
}

// The same equations on the same mesh have the same solution. Cells that the classic route finishes too and that carry
// a current above its rounding at every voltage.
TEST(Torture, BothRoutesGiveTheSameCurrent)
{
    constexpr std::uint64_t ids[] = {1, 3, 5, 7, 8, 9, 10, 11, 12, 14, 15, 16, 17, 20, 21, 24, 25, 27, 30, 32};
    constexpr Route routes[] = {Route::fast, Route::classic};
    const auto torture = std::make_unique<TortureCell>();
    for (std::size_t k = 0; k < std::size(ids); k += every) {
        make_torture_cell(usual_seed, ids[k], *torture);
        std::vector<double> J[2], noise;
        for (const Route route : routes) {
            const auto device = std::make_unique<testing::Device>(torture->cell, torture->T, on_route(route));
            ASSERT_TRUE(device->solve_equilibrium()) << ids[k];
            device->illuminate([&](double x) { return torture->generation(x); });
            ASSERT_TRUE(device->solve()) << ids[k];
            for (double V = 0.0; V < 1.2 * torture->smallest_gap; V += 0.2) {
                // A step of 1e-3 kT leaves 1e-6; solving once more takes that away.
                ASSERT_TRUE(device->go_to(torture->p_left ? V : -V, 8) && device->solve()) << ids[k] << ' ' << V;
                J[static_cast<std::size_t>(route)].push_back(device->cv.J_median);
                if (route == Route::fast) noise.push_back(device->cv.J_noise);
            }
        }
        for (std::size_t i = 0; i < noise.size(); ++i)
            EXPECT_NEAR(J[0][i], J[1][i], 1e-8 * std::fabs(J[1][i]) + noise[i]) << "cell " << ids[k] << " point " << i;
    }
}

}  // namespace
}  // namespace kovin::torture
