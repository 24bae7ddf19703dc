// The mesh that follows the solution, and the profile grid in the first mesh.
#include "solver/mesh_adapt.h"
#include "solver/bulk_terms.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/mesh_merge.h"
#include "solver/occupation.h"
#include "support/sound_mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace kovin::testing {
namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// One change of the mesh at a lit state of three layers, finer and coarser in turn.
TEST(MeshAdaption, OneChangeKeepsTheStateAndItsRules)
{
    Device d(thin_film_cell());
    d.illuminate_exponentially(30.0, 3e-7);
    ASSERT_TRUE(d.solve_equilibrium() && d.solve() && d.go_to(-0.5, 2));
    struct Row {
        const char* what;
        double largest, smallest;
        bool finer, coarser;
    };
    constexpr Row rows[] = {{"fine", 1.3, 1.0, true, false},
                            {"finer", 1.16, 1.0, true, false},
                            {"coarse: points between the first ones go", 3.0, 1.3, false, true}};
    for (const Row& row : rows) {
        d.set3.convergence.mesh_ratio_max = row.largest;
        d.set3.convergence.mesh_ratio_min = row.smallest;
        const CalculationVariables old = d.cv;
        const BulkDefects old_defects = d.memory.defects;
        ASSERT_EQ(RecalculateIntervals(d.problem(), d.memory.work, d.cv), MeshChange::changed) << row.what;
        const CalculationVariables& cv = d.cv;
        test::expect_sound(cv.mesh, row.what);
        for (const std::size_t size : {cv.psi.size(), cv.n.size(), cv.terms_total.rec.size(), d.set3.on.Eg.size(),
                                       d.memory.grid.psi_left.size(), d.memory.work.res.size(), d.G.size()})
            EXPECT_EQ(size, at(cv.mesh.N)) << row.what;
        int added = 0, dropped = 0;
        for (std::size_t j = 0; j < d.layers(); ++j) {
            for (int i = d.memory.first_mesh.first[j]; i <= d.memory.first_mesh.last[j]; ++i)
                EXPECT_TRUE(PointExists(cv.mesh, j, d.memory.first_mesh.x[at(i)])) << row.what << ", point " << i;
            int run = 0;
            for (std::size_t i = at(old.mesh.first[j]); i <= at(old.mesh.last[j]); ++i) {
                run = PointExists(cv.mesh, j, old.mesh.x[i]) ? 0 : run + 1;
                dropped += run > 0 ? 1 : 0;
                EXPECT_LE(run, 4) << row.what;
            }
            run = 0;
            for (std::size_t i = d.first(j), k = at(old.mesh.first[j]); i <= d.last(j); ++i) {
                const bool common = PointExists(old.mesh, j, cv.mesh.x[i]);
                run = common ? 0 : run + 1;
                added += run > 0 ? 1 : 0;
                EXPECT_LE(run, 5) << row.what;
                while (k < at(old.mesh.last[j]) && old.mesh.x[k + 1] <= cv.mesh.x[i]) ++k;
                if (common) {
                    for (const auto v : {&CalculationVariables::psi, &CalculationVariables::Fn,
                                         &CalculationVariables::Fp, &CalculationVariables::n, &CalculationVariables::p})
                        EXPECT_EQ((cv.*v)[i], (old.*v)[k]) << row.what << ", point " << i;
                } else {  // u and v linear in x
                    const double t = (cv.mesh.x[i] - old.mesh.x[k]) / (old.mesh.x[k + 1] - old.mesh.x[k]);
                    const double u = (1 - t) * old.expFn[k] + t * old.expFn[k + 1];
                    const double v = (1 - t) * old.expmFp[k] + t * old.expmFp[k + 1];
                    EXPECT_NEAR(cv.expFn[i], u, 1e-12 * u) << row.what << ", point " << i;
                    EXPECT_NEAR(cv.expmFp[i], v, 1e-12 * v) << row.what << ", point " << i;
                    EXPECT_NEAR(cv.psi[i], (1 - t) * old.psi[k] + t * old.psi[k + 1], 1e-12) << row.what;
                }
            }
        }
        EXPECT_EQ(added > 0, row.finer) << row.what;
        EXPECT_EQ(dropped > 0, row.coarser) << row.what;
        // Occupations at the points that stay, from the renewed rates.
        const auto before = defect_transitions(old_defects, old), after = defect_transitions(d.memory.defects, cv);
        ASSERT_EQ(before.size(), after.size());
        for (std::size_t e = 0; e < after.size(); ++e) {
            const auto j = at(after[e].layer);
            for (std::size_t i = d.first(j), k = at(old.mesh.first[j]); i <= d.last(j); ++i) {
                while (k < at(old.mesh.last[j]) && old.mesh.x[k] < cv.mesh.x[i]) ++k;
                if (old.mesh.x[k] != cv.mesh.x[i]) continue;
                EXPECT_EQ(after[e].f_t[i - after[e].first], before[e].f_t[k - before[e].first]) << row.what;
            }
        }
        // What the equations stand on has been renewed: they find the same current again.
        totale_rdcbijdrage(d.problem(), d.cv);
        ASSERT_TRUE(d.solve()) << row.what;
        EXPECT_NEAR(d.cv.J_median, old.J_median, 5e-3 * std::fabs(old.J_median)) << row.what;
    }
}

// Points that a single jump between two points draws: round(ln r/ln r_max - 1/2), 1 to 5, from r_max on.
TEST(MeshAdaption, AJumpDrawsPoints)
{
    struct Row {
        const char* what;
        double power;  // of the largest ratio
        int points;
    };
    constexpr Row rows[] = {{"below the ratio", 0.99, 0}, {"just above", 1.01, 1}, {"r^1.5", 1.5, 1},
                            {"r^2.4: 1.9", 2.4, 2},       {"r^4.6", 4.6, 4},       {"at most five", 30.0, 5}};
    constexpr double limit = 1e-3 * 0.01;  // 1e-3 uA/cm2 in A/m2
    enum What { psi, Fn, Fp, rate, small_rate, rate_of_either_sign };
    for (const What what : {psi, Fn, Fp, rate, small_rate, rate_of_either_sign})
        for (const Row& row : rows) {
            Device d(silicon_junction());
            CalculationVariables& cv = d.cv;
            const double ratio = std::pow(d.set3.convergence.mesh_ratio_max, row.power);
            const double R = limit / d.set3.scale.current(1) * (what == small_rate ? 0.99 / ratio : 1.01);
            for (std::size_t i = 150; i < at(cv.mesh.N); ++i) {
                if (what == psi) cv.psi[i] = std::log(ratio);
                if (what == Fn) cv.Fn[i] = -std::log(ratio);
                if (what == Fp) cv.Fp[i] = std::log(ratio);
            }
            if (what >= rate)
                for (std::size_t i = 0; i < at(cv.mesh.N); ++i)
                    cv.terms_total.rec[i] = i < 150 ? R : (what == rate_of_either_sign ? -R : R) * ratio;
            update_psivar(d.set3, cv);
            update_Fn(cv);
            update_Fp(cv);
            const int before = cv.mesh.N, expected = what >= small_rate ? 0 : row.points;
            const MeshChange change = RecalculateIntervals(d.problem(), d.memory.work, cv);
            EXPECT_EQ(change, expected > 0 ? MeshChange::changed : MeshChange::none) << row.what << ", kind " << what;
            EXPECT_EQ(cv.mesh.N - before, expected) << row.what << ", kind " << what;
        }
}

TEST(MeshAdaption, AFullMeshStaysAsItIs)
{
    Device d(thin_film_cell(), 300.0, {}, 3);  // 894 points
    Report report;
    ASSERT_TRUE(d.solve_equilibrium());
    d.set3.convergence.mesh_ratio_max = 1.1;
    const CalculationVariables before = d.cv;
    const OnMesh on = d.set3.on;
    const std::vector<double> G = d.G;
    Problem problem = d.problem();
    problem.report = &report;
    for (int k = 0; k < 2; ++k) EXPECT_EQ(RecalculateIntervals(problem, d.memory.work, d.cv), MeshChange::full);
    EXPECT_EQ(report.messages.size(), 1u) << "told once";
    EXPECT_EQ(d.cv.mesh.x, before.mesh.x);
    EXPECT_EQ(d.cv.psi, before.psi);
    EXPECT_EQ(d.set3.on.Wn, on.Wn);
    EXPECT_EQ(d.G, G);
    d.illuminate_exponentially(30.0, 3e-7);
    EXPECT_TRUE(d.solve()) << "goes on with the mesh as it is";
}

// Random profile grids: strictly rising layers, ends untouched, no profile point farther than 1 nm from the mesh.
TEST(ProfileGrid, GoesIntoTheFirstMesh)
{
    Device d(thin_film_cell());
    const Mesh bare = d.cv.mesh;
    const double x0 = d.set3.scale.x0, nm = 1e-9 / x0;
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<double> profile;
        const int count = std::uniform_int_distribution<int>(1, 700)(random);
        std::uniform_real_distribution<double> anywhere(-0.05, 1.05), close(-3.0, 3.0);
        while (static_cast<int>(profile.size()) < count) {
            double x = anywhere(random);
            if (round % 3 == 1) x = bare.x[at(static_cast<int>(x * 250) + 20)] + nm * close(random);  // close to points
            if (round % 3 == 2 && count % 5 == 0) x = bare.x[at(static_cast<int>(x * 250) + 20)];     // on points
            profile.push_back(x * x0);
        }
        std::sort(profile.begin(), profile.end());
        Mesh mesh = bare;
        merge_profile_grid(profile, false, x0, mesh);
        test::expect_sound(mesh, "merged");
        for (std::size_t j = 0; j < at(bare.nlayers); ++j) {
            ASSERT_EQ(mesh.x[at(mesh.first[j])], bare.x[at(bare.first[j])]);
            ASSERT_EQ(mesh.x[at(mesh.last[j])], bare.x[at(bare.last[j])]);
        }
        for (const double x_m : profile) {
            const double x = x_m / x0;
            if (x < 0.0 || x > 1.0) continue;
            const auto above = std::lower_bound(mesh.x.begin(), mesh.x.end(), x);
            const double right = above == mesh.x.end() ? 1e9 : *above - x;
            const double left = above == mesh.x.begin() ? 1e9 : x - *(above - 1);
            ASSERT_LE(std::min(left, right), nm) << "x = " << x_m << ", round " << round;
        }
    }
    std::vector<double> too_many(at(max_mesh_points - bare.N + 1), 0.5 * x0);
    Mesh mesh = bare;
    merge_profile_grid(too_many, false, x0, mesh);
    EXPECT_EQ(mesh.x, bare.x);
}

}  // namespace
}  // namespace kovin::testing
