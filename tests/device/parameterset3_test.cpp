// The calculation set and its arrays on the mesh: scales, temperature, interfaces.
#include "device/parameterset3.h"

#include "device/contacts.h"
#include "device/on_mesh.h"
#include "device/shockley_queisser.h"
#include "device/unit_systems.h"
#include "support/layer_mesh.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace kovin {
namespace {

/// p-type silicon-like layer, a wider n-type layer.
InputParameters two_layers()
{
    InputParameters set1 = test::cell_of(
        {{.d = 2e-6, .Na = 1e22},
         {.d = 1e-6, .Eg = 1.42, .chi = 3.95, .eps = 10.0, .Nc = 4e23, .Nv = 7e24, .Nd = 3e22, .mu_n = 0.02}});
    test::add_defect(set1.cell.cell.layer[1], DefectType::donor, EnergyDistribution::single, 0.7, 6e20).sigma_n = 1e-19;
    return set1;
}

TEST(Parameterset3, ScalesAndSigns)
{
    InputParameters set1 = two_layers();
    check_contacts(set1.cell, 300.0, set1.convergence);
    CalculationParameters set3;
    parameterset1_to_3(set1, 300.0, set3);
    EXPECT_NEAR(set3.scale.x0, 3e-6, 1e-20);
    EXPECT_NEAR(set3.d[0] + set3.d[1], 1.0, 1e-15);
    EXPECT_NEAR(set3.scale.N0[0], 1e22, 1e10) << "net doping";
    EXPECT_NEAR(set3.scale.D0, 0.0259 * 0.1, 1e-15) << "the fastest electrons";
    EXPECT_EQ(set3.sign_left[0], +1);
    EXPECT_EQ(set3.sign_right[1], -1);
    // Squared Debye length over squared thickness; textbook value 0.0409 um for 1e16 cm^-3 in silicon.
    EXPECT_NEAR(std::sqrt(set3.scale.Lambda[0]) * 3.0, 0.0409, 1e-4);
    EXPECT_NEAR(set3.debye_left[0], std::sqrt(set3.scale.Lambda[0]), 1e-12);
    // Levels: density in N0, cross section in 1/(x0 N0).
    EXPECT_NEAR(set3.layer[1].srh[0][0].Nt.left, 6e20 / 3e22, 1e-15);
    EXPECT_NEAR(set3.layer[1].srh[0][0].sigma_n, 1e-19 * 3e-6 * 3e22, 1e-12);
    EXPECT_EQ(set3.layer[1].material.Nd.left, 3e22) << "the material keeps SI";
}

TEST(Parameterset3, ReferenceDiffusionConstantIsNeverZero)
{
    struct Row {
        const char* what;
        double mu_n_first, mu_p;
        double D0;
    };
    constexpr Row rows[] = {
        {"holes faster: the electrons' constant of that layer", 0.001, 0.04, 0.02 * 0.0259},
        {"no electron mobility in the first layer", 0.0, 0.0, 0.02 * 0.0259},
    };
    for (const Row& r : rows) {
        InputParameters set1 = two_layers();
        MaterialParameters &first = set1.cell.cell.layer[0].material, &second = set1.cell.cell.layer[1].material;
        test::set_uniform(first.mu_n, r.mu_n_first);
        test::set_uniform(first.mu_p, 0.0);
        test::set_uniform(second.mu_p, r.mu_p);
        CalculationParameters set3;
        parameterset1_to_3(set1, 300.0, set3);
        EXPECT_NEAR(set3.scale.D0, r.D0, 1e-12) << r.what;
        for (Profile* mu : {&first.mu_n, &second.mu_n, &second.mu_p}) test::set_uniform(*mu, 0.0);
        parameterset1_to_3(set1, 300.0, set3);
        EXPECT_GT(set3.scale.D0, 0.0) << "nothing moves";
    }
}

TEST(Parameterset3, StaleEndsAreRefreshed)
{
    InputParameters set1 = two_layers();
    Profile& Nd = set1.cell.cell.layer[1].material.Nd;
    Nd.pure_A = 5e22;  // as a batch changes it; left and right still hold 3e22
    CalculationParameters set3;
    parameterset1_to_3(set1, 300.0, set3);
    EXPECT_NEAR(set3.scale.N0[1], 5e22, 1e10);
}

TEST(Parameterset3, TemperatureEntersOnceIntoDensitiesAndVelocities)
{
    for (const double T : {300.0, 350.0}) {
        InputParameters set1 = two_layers();
        check_contacts(set1.cell, T, set1.convergence);
        CalculationParameters set3;
        parameterset1_to_3(set1, T, set3);
        Mesh mesh = test::layer_mesh(set3, 5);
        Full_x_Dependence(set3, mesh);

        // At the flat-band contact, psi = 0 and Fn = 0: n = Wn is the doping (p = Wp on the p side), and n p = ni^2.
        const double t = T / 300.0, kT = 0.0259 * t;
        const double ni2 = 2.86e25 * 3.1e25 * t * t * t * std::exp(-1.12 / kT);
        const double N0 = set3.scale.N0[0];
        EXPECT_NEAR(set3.on.Wp[0] * N0, 1e22, 1e22 * 1e-6) << T << " K";
        EXPECT_NEAR(set3.on.Wn[0] * set3.on.Wp[0] * N0 * N0, ni2, 1e-9 * ni2) << T << " K";
        EXPECT_NEAR(set3.ni_left[0] * N0, std::sqrt(ni2), 1e-9 * std::sqrt(ni2)) << T << " K";

        EXPECT_NEAR(set3.on.Dn[0] * set3.scale.D0, std::sqrt(t) * kT * 0.1, 1e-12) << T << " K";
        EXPECT_NEAR(set3.on.vth_n[9] * set3.scale.v0, std::sqrt(t) * 1e5, 1e-6) << T << " K";
        EXPECT_EQ(set3.on.Gn[2], 0.0) << "uniform layers have no band terms";
        EXPECT_EQ(set3.on.Gp[7], 0.0);

        // Interface: the smaller emission current, over the density of states on the left, with its own root of T.
        EXPECT_NEAR(set3.dEc[0], -0.1, 1e-12);
        EXPECT_NEAR(set3.dEv[0], -0.2, 1e-12);
        EXPECT_NEAR(set3.vn_if[0] * set3.scale.v0, std::sqrt(t) * 1e5 * 4e23 / 2.86e25 * std::exp(-0.1 / kT), 1e-6)
            << T << " K";
        EXPECT_NEAR(set3.vp_if[0] * set3.scale.v0, std::sqrt(t) * 1e5 * 7e24 / 3.1e25 * std::exp(-0.2 / kT), 1e-6)
            << T << " K";
    }
}

TEST(Parameterset3, ThermionicFunctionIsContinuousAndNeverAboveOne)
{
    EXPECT_EQ(ThermionicFunction(0.0), 1.0);
    EXPECT_EQ(ThermionicFunction(25.0), 1.0);
    EXPECT_NEAR(ThermionicFunction(-2.0), std::exp(-2.0), 1e-15);
}

TEST(OnMesh, LinearGradingInPositionAndComposition)
{
    InputParameters set1 = two_layers();
    LayerParameters& layer = set1.cell.cell.layer[1];
    layer.composition_mode = 1;
    layer.composition.law = Law::linear;
    layer.composition.dependence = Dependence::on_x;
    layer.composition.left = 0.2;
    layer.composition.right = 0.6;
    layer.material.Eg.law = Law::linear;
    layer.material.Eg.pure_A = 1.0;
    layer.material.Eg.pure_B = 2.0;
    layer.material.Nd.law = Law::linear;
    layer.material.Nd.dependence = Dependence::on_x;
    layer.material.Nd.left = 1e22;
    layer.material.Nd.right = 3e22;
    CalculationParameters set3;
    parameterset1_to_3(set1, 300.0, set3);
    EXPECT_NEAR(set3.dEv[0], 1.12 - (3.95 - 4.05) - 1.2, 1e-12) << "the gap at the interface is that of y = 0.2";
    Mesh mesh = test::layer_mesh(set3, 5);
    Full_x_Dependence(set3, mesh);
    EXPECT_NEAR(mesh.y[7], 0.4, 1e-12);
    EXPECT_NEAR(set3.on.Eg[7], 1.4, 1e-12);
    EXPECT_NEAR(set3.on.Nd[7] * set3.scale.N0[1], 2e22, 1e10);
    EXPECT_NEAR(set3.on.Gp[9] - set3.on.Gp[5], (1.6 - 1.2) / 0.0259, 1e-9);

    std::vector<double> Nt(5);
    Full_Nt_x_Dependence(set3, mesh, 1, set3.layer[1].srh[0][0], 0.5, Nt);
    EXPECT_NEAR(Nt[4], 0.5 * 6e20 / 3e22, 1e-15);
}

TEST(ShockleyQueisser, LimitMatchesDetailedBalance)
{
    // K ni^2 d = photon flux of a black body above the gap into a half space, the gap far above kT:
    // 2 pi c (kT/hc)^3 x^2 exp(-x) with x = Eg/kT; both sides emit, each in n = 1.
    constexpr double Eg = 1.42, Nc = 4.7e17, Nv = 7e18, d_um = 2.0, kT = 0.0259;
    constexpr double h_eVs = 4.135667e-15, c_m_s = 2.99792458e8;
    const double x = Eg / kT;
    const double k = kT / (h_eVs * c_m_s);
    const double flux_m2 = 2 * std::numbers::pi * c_m_s * k * k * k * x * x * std::exp(-x);
    const double ni2 = Nc * Nv * std::exp(-x);  // cm^-6
    const double one_side = flux_m2 * 1e-4 / (ni2 * d_um * 1e-4);
    EXPECT_NEAR(shockley_queisser_K_rad(Eg, Nc, Nv, d_um, 300.0) / one_side, 1.0, 1e-3);
    EXPECT_NEAR(shockley_queisser_K_rad(Eg, Nc, Nv, 2 * d_um, 300.0) / one_side, 0.5, 1e-3);
}

// A limit of a material that is graded on x or from rows holds at every point with what is there.
TEST(ShockleyQueisser, FollowsWhatIsGradedOnXOrHasRows)
{
    const auto on_x = [](Profile& p, Law law, double left, double right) {
        p.law = law, p.dependence = Dependence::on_x, p.left = left, p.right = right;
        p.table_x = {0.0, 1.0}, p.table_y = {left, right};
    };
    constexpr double K = 1e-19;  // m3/s: between the limits of both ends
    const std::function<void(MaterialParameters&)> changes[] = {
        [&](MaterialParameters& m) { on_x(m.K_rad, Law::linear, 0.0, K); },
        [&](MaterialParameters& m) { on_x(m.K_rad, Law::table, 0.0, K); },
        [&](MaterialParameters& m) { on_x(m.Eg, Law::linear, 0.7, 1.9), test::set_uniform(m.K_rad, K); },
        [&](MaterialParameters& m) { on_x(m.Nc, Law::table, 1e23, 1e25), test::set_uniform(m.K_rad, K); },
        [&](MaterialParameters& m) {
            m.K_rad.law = Law::table;  // on composition, which is that of pure A
            m.K_rad.table_x = {0.0, 1.0}, m.K_rad.table_y = {0.0, K};
        },
    };
    for (std::size_t row = 0; row < std::size(changes); ++row)
        for (const int mode : {0, 1, 2}) {
            InputParameters set1 = test::cell_of({{.d = 1e-6, .Eg = 1.3, .Na = 1e22}});
            changes[row](set1.cell.cell.layer[0].material);
            set1.convergence.shockley_queisser = mode;
            UserCell user = parameterset1_to_2(set1.cell);
            CheckShockleyQueisserLimitForBandToBandRecombination(user, 350.0, mode);
            set1.cell = parameterset2_to_1(user);
            CalculationParameters set3;
            parameterset1_to_3(set1, 350.0, set3);
            Mesh mesh = test::layer_mesh(set3, 5);
            Full_x_Dependence(set3, mesh);
            std::vector<double> given(5), shown(5), Eg(5), Nc(5), Nv(5);
            evaluate_profile(set3.layer[0].material.K_rad, mesh.x_um, 1.0, given);
            if (row > 3) given.assign(5, 0.0);
            graded_values(set3, mesh, &MaterialParameters::K_rad, shown);
            graded_values(set3, mesh, &MaterialParameters::Eg, Eg);
            graded_values(set3, mesh, &MaterialParameters::Nc, Nc);
            graded_values(set3, mesh, &MaterialParameters::Nv, Nv);
            const double rate = set3.scale.x0 * set3.scale.x0 * set3.scale.N0[0] / set3.scale.D0;
            for (std::size_t i = 0; i < 5; ++i) {
                const double limit = shockley_queisser_K_rad(Eg[i], Nc[i] * 1e-6, Nv[i] * 1e-6, 1.0, 350.0) * 1e-6;
                const double expected = mode == 0 ? given[i] : mode == 1 ? std::max(given[i], limit) : limit;
                EXPECT_NEAR(set3.on.K_rad[i], expected * rate, 1e-9 * expected * rate)
                    << row << ", mode " << mode << ", point " << i;
                EXPECT_NEAR(shown[i], expected, 1e-9 * expected) << row << ", mode " << mode << ", point " << i;
            }
        }
}

}  // namespace
}  // namespace kovin
