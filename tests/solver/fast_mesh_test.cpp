// The mesh graded by the potential: how exact it is, what it keeps, and when it changes.
#include "solver/fast_mesh.h"
#include "solver/devices.h"
#include "support/sound_mesh.h"

#include "solver/residuals.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// An amorphous-like p-i-n cell.
CellParameters p_i_n_cell()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    const LayerSketch p{2e-7, 1.7, 3.8, 11.0, 2e25, 2e25, 1e-3, 1e-4, 0.0, 1e24};
    LayerSketch i = p, n = p;
    i.d = 5e-7;
    i.Na = n.Na = 0.0;
    n.Nd = 1e24;
    for (const LayerSketch& s : {p, i, n})
        add_defect(add_layer(cell, s), DefectType::neutral, 1e21, 0.85, 1e-19, 1e-19);
    return cell;
}

/// Exponential light of 30 mA/cm2 over 0.3 um from the right, as what the box of each point absorbs: the mesh then
/// takes no light away, whatever its width.
void light_by_boxes(Device& d, double factor)
{
    const Mesh& m = d.cv.mesh;
    const Scale& scale = d.set3.scale;
    const auto reaching = [&](double x) {
        return factor * 300.0 / elementary_charge * std::exp((x - scale.x0) / 3e-7);
    };
    const auto middle = [&](std::size_t i) { return 0.5 * (m.x_m[i] + m.x_m[i + 1]); };
    for (std::size_t j = 0; j < d.layers(); ++j) {
        const std::size_t f = d.first(j), l = d.last(j);
        const double c = scale.x0 * scale.x0 / (scale.D0 * scale.N0[j]);
        const auto mean = [&](double a, double b) { return c * (reaching(b) - reaching(a)) / (b - a); };
        for (std::size_t i = f + 1; i < l; ++i) d.G[i] = mean(middle(i - 1), middle(i));
        const auto end = [&](double mean_of_half, double neighbour) {  // the half cells at the ends weigh both points
            return (0.5 * mean_of_half - neighbour_half_cell * neighbour) / own_half_cell;
        };
        d.G[f] = end(mean(m.x_m[f], middle(f)), d.G[f + 1]);
        d.G[l] = end(mean(middle(l - 1), m.x_m[l]), d.G[l - 1]);
    }
}

struct Curve {
    int points = 0;
    std::vector<double> J;  ///< at 0, 0.1, ... V
};

/// J in forward direction with all errors but that of the mesh taken away: the graded mesh, or the first one.
Curve curve_on(const CellParameters& cell, bool graded, int refine, bool lit)
{
    Device d(
        cell, 300.0,
        [](ConvergenceParameters& c) {
            set_terminations(c, 1e-6);
            c.coupling_scheme = fully_coupled;
            c.clamp_psi = c.clamp_n = c.clamp_p = 3.0;
        },
        graded ? 1 : refine);
    d.memory.mesh_wishes.refine = refine;
    EXPECT_TRUE(graded ? fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv) : d.solve_equilibrium());
    d.set3.convergence.recalculate_mesh = 0;
    for (int decade = -8; lit && decade <= 0; decade += 2) {
        light_by_boxes(d, std::pow(10.0, decade));
        EXPECT_TRUE(d.solve());
    }
    Curve curve{d.cv.mesh.N, {d.cv.J_median}};
    while (curve.J.size() < 7 && d.go_to(0.1 * static_cast<double>(curve.J.size()), 4))
        curve.J.push_back(d.cv.J_median);
    return curve;
}

// Against five times as many points, and these against a mesh of another kind.
TEST(FastMesh, GivesTheCurrentWithFewPoints)
{
    struct Row {
        const char* what;
        CellParameters cell;
        int most_points;
    };
    const Row rows[] = {{"thin film", thin_film_cell(), 170},
                        {"graded gap", graded_cell(), 170},
                        {"states at a cliff", cliff_cell(), 190},
                        {"p-i-n", p_i_n_cell(), 160},
                        {"silicon", silicon_junction(), 160}};
    for (const Row& row : rows)
        for (const bool lit : {false, true}) {
            const Curve usual = curve_on(row.cell, true, 1, lit), fine = curve_on(row.cell, true, 5, lit);
            const Curve other = curve_on(row.cell, false, 3, lit);
            EXPECT_LE(usual.points, row.most_points) << row.what;
            EXPECT_GT(fine.points, 4.5 * usual.points) << row.what;
            ASSERT_EQ(usual.J.size(), 7u) << row.what;
            ASSERT_EQ(fine.J.size(), 7u) << row.what;
            ASSERT_EQ(other.J.size(), 7u) << row.what;
            for (std::size_t k = lit ? 0 : 1; k < fine.J.size(); ++k) {
                const double scale = lit ? std::max(std::fabs(fine.J[0]), std::fabs(fine.J[k])) : fine.J[k];
                EXPECT_NEAR(usual.J[k] / scale, fine.J[k] / scale, lit ? 1e-3 : 3e-3) << row.what << ", point " << k;
                EXPECT_NEAR(other.J[k] / scale, fine.J[k] / scale, lit ? 1e-3 : 2e-3) << row.what << ", point " << k;
            }
        }
}

/// Largest step of the potential from one point to the next [kT].
double largest_step(const CalculationVariables& cv)
{
    double largest = 0.0;
    for (std::size_t i = 1; i < cv.psi.size(); ++i) largest = std::max(largest, std::fabs(cv.psi[i] - cv.psi[i - 1]));
    return largest;
}

TEST(FastMesh, KeepsItsRules)
{
    Device d(charged_sheet_cell(), 200.0);
    d.illuminate_exponentially(30.0, 3e-7);
    const double x0 = d.set3.scale.x0;
    for (int k = 0; k < 40; ++k) d.memory.mesh_wishes.profile_x.push_back(x0 * (k + 0.5) / 40.0);
    ASSERT_TRUE(fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv));
    const Mesh mesh = d.cv.mesh;
    test::expect_sound(mesh, "graded");
    EXPECT_LT(largest_step(d.cv), 1.3);
    EXPECT_EQ(d.memory.first_mesh.x, mesh.x) << "the other route drops none of its points";
    for (std::size_t j = 0; j < d.layers(); ++j) {
        const double width = d.set3.layer[j].material.d;
        for (std::size_t i = d.first(j); i < d.last(j); ++i) EXPECT_LT(mesh.h[i] * x0, 0.041 * width);
        // Beside the states of both interfaces and at the contacts.
        EXPECT_LT(mesh.h[d.first(j)] * x0, j > 0 ? 0.6e-9 : 2.3e-9);
        EXPECT_LT(mesh.h[d.last(j) - 1] * x0, j + 1 < d.layers() ? 0.6e-9 : 2.3e-9);
    }
    for (const double x : d.memory.mesh_wishes.profile_x)
        EXPECT_TRUE(PointExists(mesh, 0, x / x0) || PointExists(mesh, 1, x / x0) || PointExists(mesh, 2, x / x0)) << x;
    // All that lives on the mesh has come along: the classic route finds the same equilibrium.
    ASSERT_EQ(d.G.size(), at(mesh.N));
    EXPECT_GT(d.G.back(), 1e3 * d.G.front());
    const std::vector<double> psi = d.cv.psi;
    set_terminations(d.set3.convergence, 1e-9);
    ASSERT_TRUE(d.solve_equilibrium());
    for (std::size_t i = 0; i < psi.size(); ++i) EXPECT_NEAR(d.cv.psi[i], psi[i], 1e-8);
}

TEST(FastMesh, StaysWithinItsLimit)
{
    // Fourteen junctions of 2 eV at 150 K; a profile with more rows than there is room for beside half the points.
    CellParameters cell;
    InitialiseCellDefinition(cell);
    for (int j = 0; j < 7; ++j)
        add_layer(cell, {1e-6, 2.2, 4.0, 10.0, 2e25, 2e25, 1e-3, 1e-3, j % 2 ? 1e24 : 0.0, j % 2 ? 0.0 : 1e24});
    for (const int rows : {0, 400, 900}) {
        Device d(cell, 150.0);
        for (int k = 0; k < rows; ++k) d.memory.mesh_wishes.profile_x.push_back(7e-6 * (k + 0.5) / rows);
        d.memory.mesh_wishes.refine = rows == 0 ? 4 : 1;
        ASSERT_TRUE(fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv)) << rows;
        test::expect_sound(d.cv.mesh, "full");
        EXPECT_LE(d.cv.mesh.N, max_mesh_points) << rows;
        EXPECT_GT(d.cv.mesh.N, rows == 0 ? 900 : 400) << rows;
        EXPECT_FALSE(fast_mesh_wants_change(d.problem(), d.cv)) << "more points cannot be had";
    }
}

TEST(FastMesh, ChangesBetweenSolvesWhereThePotentialIsTooSteep)
{
    Device d(thin_film_cell(), 300.0, terminations(1e-6));
    d.illuminate_exponentially(30.0, 3e-7);
    const Mesh first = d.cv.mesh;
    // A fixed mesh stays.
    d.set3.convergence.recalculate_mesh = 0;
    ASSERT_TRUE(fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv));
    EXPECT_EQ(d.cv.mesh.x, first.x);
    EXPECT_GT(largest_step(d.cv), 2.0);
    EXPECT_FALSE(fast_mesh_wants_change(d.problem(), d.cv));
    EXPECT_EQ(fast_mesh_change(d.problem(), d.memory.work, d.cv), MeshChange::none);

    d.set3.convergence.recalculate_mesh = 1;
    ASSERT_TRUE(fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv));
    EXPECT_EQ(fast_mesh_change(d.problem(), d.memory.work, d.cv), MeshChange::none) << "it has just been made";
    d.set3.convergence.recalculate_mesh = 0;  // the classic route would move the mesh
    ASSERT_TRUE(d.solve() && d.go_to(-8.0, 20));
    d.set3.convergence.recalculate_mesh = 1;
    const double J = d.cv.J_median;
    EXPECT_GT(largest_step(d.cv), 2.0);
    ASSERT_TRUE(fast_mesh_wants_change(d.problem(), d.cv));
    ASSERT_EQ(fast_mesh_change(d.problem(), d.memory.work, d.cv), MeshChange::changed);
    test::expect_sound(d.cv.mesh, "at -8 V");
    ASSERT_EQ(d.G.size(), at(d.cv.mesh.N));
    d.set3.convergence.recalculate_mesh = 0;
    ASSERT_TRUE(d.solve()) << "from the state that was carried over";
    d.set3.convergence.recalculate_mesh = 1;
    EXPECT_LT(largest_step(d.cv), 2.0);
    EXPECT_FALSE(fast_mesh_wants_change(d.problem(), d.cv));
    EXPECT_NEAR(d.cv.J_median / J, 1.0, 2e-3);
}

// A walk ends on a mesh that suits its last voltage; a change that led nowhere is undone, once and for all.
TEST(FastMesh, FollowsAWalkAndCanGoBack)
{
    Device d(thin_film_cell(), 300.0, [](ConvergenceParameters& c) { c.route = Route::fast; });
    d.illuminate_exponentially(30.0, 3e-7);
    ASSERT_TRUE(d.solve_equilibrium() && d.solve());
    const Mesh lit = d.cv.mesh;
    for (int k = 1; k <= 4; ++k) ASSERT_TRUE(d.go_to(-0.1 * k));
    EXPECT_EQ(d.cv.mesh.x, lit.x) << "points of a sweep share their mesh";
    const CalculationVariables before = d.cv;
    const std::vector<double> G = d.G;
    ASSERT_TRUE(d.go_to(-6.0, 12));
    EXPECT_GT(d.cv.mesh.N, lit.N);
    EXPECT_LT(largest_step(d.cv), 2.0);

    fast_mesh_back(d.problem(), d.memory.work, before, d.cv);
    EXPECT_EQ(d.cv.psi, before.psi);
    EXPECT_EQ(d.G, G);
    ASSERT_TRUE(d.go_to(-6.0, 12)) << "all that belongs to the old mesh has come back";
    EXPECT_EQ(d.cv.mesh.x, lit.x);
}

}  // namespace
}  // namespace kovin::testing
