// A profile inside one layer against the same profile cut into layers, whose meshes are fine at its turns by
// themselves.
#include "solver/profile_mesh.h"
#include "solver/devices.h"
#include "solver/fast_mesh.h"

#include "base/report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace kovin::testing {
namespace {

enum class Graded { Nt, Na, mu_n, K_rad, gap };

Profile& profile_of(LayerParameters& layer, Graded what)
{
    MaterialParameters& m = layer.material;
    switch (what) {
        case Graded::Nt:
            return layer.srh[0][0].Nt;
        case Graded::Na:
            return m.Na;
        case Graded::mu_n:
            return m.mu_n;
        case Graded::K_rad:
            return m.K_rad;
        case Graded::gap:
            return m.Eg;
    }
    return m.Eg;
}

/// A layer of an absorber of 1.2 eV; what crosses the planes between its parts does so freely.
LayerParameters& add_absorber(CellParameters& cell, double d, double Na, double Nd)
{
    LayerParameters& layer = add_layer(cell, {d, 1.2, 4.5, 10.0, 2e24, 2e25, 1e-2, 2.5e-3, Nd, Na});
    for (Profile* v : {&layer.material.v_th_n, &layer.material.v_th_p}) set_uniform(*v, 1e8);
    add_defect(layer, DefectType::neutral, 1e20, 0.6, 1e-21, 1e-21);
    return layer;
}

void grade(Profile& p, Law law, double left, double right)
{
    p.law = law;
    p.dependence = Dependence::on_x;
    p.pure_A = p.left = left;
    p.pure_B = p.right = right;
}

struct Row {
    const char* what;
    Graded graded;
    std::vector<double> x_um, values;
    bool log = true;
    double c3 = 0.0, c4 = 0.0, c5 = 0.0;  ///< of law 14 instead, between the second and the third place
};

CellParameters cell_with(const Row& row, bool cut)
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    const bool diffusion = row.c3 != 0.0;
    const std::size_t parts = cut ? row.x_um.size() - 1 : 1;
    for (std::size_t k = 0; k < parts; ++k) {
        const double from = cut ? row.x_um[k] : 0.0, to = cut ? row.x_um[k + 1] : row.x_um.back();
        Profile& p = profile_of(add_absorber(cell, (to - from) * 1e-6, 2e22, 0.0), row.graded);
        if (diffusion && (!cut || k == 1)) {
            grade(p, Law::diffusion_gauss, 0.0, 0.0);
            p.third = row.c3, p.fourth = row.c4, p.fifth = row.c5 - (row.x_um.back() - to);
        } else if (cut) {
            grade(p, row.log && !diffusion ? Law::logarithmic : Law::linear, row.values[k], row.values[k + 1]);
        } else {
            grade(p, Law::table, row.values.front(), row.values.back());
            p.table_x = row.x_um, p.table_y = row.values, p.table_log = row.log;
        }
        SetProfileScaleParameters(p);
    }
    add_absorber(cell, 1e-7, 0.0, 1e23);
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
    UpdateThicknessInProfiles_Cell(cell);
    return cell;
}

/// Currents in the dark and under exponential light, which a mesh takes nothing from, at 0.4 and 0.6 V.
struct Currents {
    int points = 0;
    std::vector<double> dark, lit;
};

Currents currents_of(const CellParameters& cell, bool fast)
{
    Currents found;
    for (const bool lit : {false, true}) {
        Device d(cell, 300.0, [&](ConvergenceParameters& c) {
            if (fast) c.route = Route::fast;
        });
        EXPECT_TRUE(fast ? fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv) : d.solve_equilibrium());
        if (lit)
            d.illuminate_boxes([&, c = 300.0 / elementary_charge](double a, double b) {
                const auto reaching = [&](double x) { return c * std::exp((x - d.set3.scale.x0) / 3e-7); };
                return (reaching(b) - reaching(a)) / (b - a);
            });
        EXPECT_TRUE(!lit || d.solve());
        for (const double V : {0.4, 0.6}) {
            EXPECT_TRUE(d.go_to(V, 12));
            (lit ? found.lit : found.dark).push_back(d.cv.J_median);
        }
        found.points = d.cv.mesh.N;
        Report told;
        tell_unresolved_profiles(told, d.set3, d.cv.mesh);
        EXPECT_TRUE(told.messages.empty());
    }
    return found;
}

TEST(ProfileMesh, SeesWhatAProfileDoesInsideItsLayer)
{
    const double Ld = 0.02, at_peak = 1e24;
    const Row rows[] = {
        {"peak of recombination, 20 nm", Graded::Nt, {0, 0.99, 1, 1.01, 2}, {1e22, 1e22, 1e27, 1e22, 1e22}},
        {"the same, 100 nm", Graded::Nt, {0, 0.95, 1, 1.05, 2}, {1e22, 1e22, 1e27, 1e22, 1e22}},
        {"wall of radiative recombination", Graded::K_rad, {0, 1.1, 1.10001, 1.15, 2}, {0, 0, 1e-13, 0, 0}, false},
        {"dip of the mobility", Graded::mu_n, {0, 0.97, 1, 1.03, 2}, {1e-2, 1e-2, 1e-6, 1e-2, 1e-2}},
        {"spike of the doping", Graded::Na, {0, 0.99, 1, 1.01, 2}, {2e21, 2e21, 2e24, 2e21, 2e21}},
        {"notch of the gap", Graded::gap, {0, 0.95, 1, 1.05, 2}, {1.2, 1.2, 0.9, 1.2, 1.2}, false},
        {"diffused peak",
         Graded::Nt,
         {0, 0.9, 1.1, 2},
         {0, 0, 0, 0},
         false,
         1e3 * at_peak * Ld * std::sqrt(3.14159265) / 2.0,
         Ld * Ld / 4.0,
         1.0},
    };
    for (const Row& row : rows)
        for (const bool fast : {true, false}) {
            const std::string what = std::string(row.what) + (fast ? ", fast" : ", classic");
            const Currents whole = currents_of(cell_with(row, false), fast);
            const Currents layers = currents_of(cell_with(row, true), fast);
            EXPECT_LT(whole.points, layers.points + 100) << what;
            for (std::size_t k = 0; k < whole.lit.size(); ++k) {
                // A millivolt is 4 % of the dark current, and 3e-3 of the lit one is what fill factors are told apart
                // by.
                EXPECT_NEAR(whole.dark[k] / layers.dark[k], 1.0, 0.04) << what;
                EXPECT_NEAR(whole.lit[k], layers.lit[k], 3e-3 * std::fabs(layers.lit[0])) << what;
            }
        }
}

TEST(ProfileMesh, TellsWhatItCannotFollow)
{
    Row comb{"comb", Graded::Nt, {0.0}, {1e20}};
    for (int k = 1; k <= 800; ++k) comb.x_um.push_back(0.0025 * k), comb.values.push_back(k % 2 ? 1e26 : 1e20);
    const CellParameters cell = cell_with(comb, false);
    for (const bool fast : {true, false}) {
        Device d(cell);
        EXPECT_TRUE(!fast || fast_equilibrium_with_mesh(d.problem(), d.memory.work, d.cv));
        Report told;
        tell_unresolved_profiles(told, d.set3, d.cv.mesh);
        ASSERT_EQ(told.messages.size(), 1u);
        EXPECT_NE(told.messages[0].text.find("Layer 1"), std::string::npos) << told.messages[0].text;
        EXPECT_NE(told.messages[0].text.find("Nt of defect 1"), std::string::npos) << told.messages[0].text;
        EXPECT_LT(d.cv.mesh.N, 900) << "room is left for what the solution does";
    }
}

// Nothing graded: no place is wished, no mesh changes. A gentle grading is left to the mesh as well.
TEST(ProfileMesh, LeavesGentleLayersAlone)
{
    EXPECT_TRUE(Device(thin_film_cell()).set3.profile_points[0].empty());
    Device gentle(graded_cell()), plain(thin_film_cell());
    ASSERT_FALSE(gentle.set3.profile_points[0].empty());
    EXPECT_EQ(gentle.cv.mesh.N, plain.cv.mesh.N);
}

}  // namespace
}  // namespace kovin::testing
