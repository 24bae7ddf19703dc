// Devices whose answer is known in closed form.
#include "solver/devices.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

constexpr double q = elementary_charge;

// Built-in potential and depletion width of a step junction; the Debye correction -2 kT/q belongs to the majority
// tails. Source: Sze, Ng, Physics of Semiconductor Devices (2007), section 2.2.
TEST(Textbook, StepJunctionHasItsDepletionWidth)
{
    Device device(silicon_junction());
    ASSERT_TRUE(device.solve_equilibrium());
    for (const double V : {0.0, -2.0, -5.0}) {
        ASSERT_TRUE(device.go_to(V, V == 0.0 ? 1 : 10));
        const double kT = device.set3.kT;
        const double ni2 = 2.8e25 * 1.04e25 * std::exp(-1.12 / kT);
        const double Vbi = kT * std::log(1e22 * 1e22 / ni2);
        const double eps = 11.9 * vacuum_permittivity;
        const double N = 1e22;
        const double W = std::sqrt(2.0 * eps * (Vbi - V - 2.0 * kT) * 2.0 / (q * N));
        const double Emax = 2.0 * (Vbi - V - 2.0 * kT) / W;
        // The field at the junction holds the whole charge of one side.
        const std::size_t l = device.last(0);
        const double field =
            (device.cv.psi[l] - device.cv.psi[l - 1]) * kT / (device.cv.mesh.x_m[l] - device.cv.mesh.x_m[l - 1]);
        EXPECT_NEAR(std::fabs(field) / Emax, 1.0, 0.02) << V << " V";
        // Width from the majority carriers: holes missing on the p side, electrons on the n side.
        double missing = 0.0;
        for (std::size_t i = 1; i < device.cv.psi.size(); ++i) {
            if (i == device.first(1)) continue;
            const bool p_side = i <= l;
            const auto depleted = [&](std::size_t k) {
                return 1.0 - (p_side ? device.cv.p[k] : device.cv.n[k]) * device.set3.scale.N0[p_side ? 0 : 1] / N;
            };
            missing += 0.5 * (depleted(i) + depleted(i - 1)) * (device.cv.mesh.x_m[i] - device.cv.mesh.x_m[i - 1]);
        }
        EXPECT_NEAR(missing / W, 1.0, 0.03) << V << " V";
    }
}

struct DiodeRow {
    const char* what;
    double lifetime, tolerance;
};

// A one-sided n+p diode in the dark, forward current from the p side against
//     J = q D n_p0/L coth(d/L) (exp(V/kT) - 1)       contact of infinite velocity at d
// which is the short diode (q D n_p0/d) for L >> d and the long one (q D n_p0/L) for L << d.
// Source: Sze, Ng, section 2.3. At 0.62 V recombination in the junction adds some 2 % to the long diode.
TEST(Textbook, ShortAndLongDiodeCarryTheirCurrent)
{
    const double d_p = 20e-6;
    for (const DiodeRow& row : {DiodeRow{"short", 1e-5, 0.03}, DiodeRow{"long", 1e-8, 0.04}}) {
        CellParameters cell;
        InitialiseCellDefinition(cell);
        LayerSketch p{d_p, 1.12, 4.05, 11.9, 2.8e25, 1.04e25, 0.1, 0.04, 0.0, 1e22};
        LayerSketch n = p;
        n.d = 0.5e-6;
        n.Nd = 1e25;
        n.Na = 0.0;
        // sigma vth Nt = 1/lifetime
        const double v_th = 1e5, sigma = 1e-19;
        add_defect(add_layer(cell, p), DefectType::neutral, 1.0 / (row.lifetime * v_th * sigma), 0.56, sigma, sigma);
        add_layer(cell, n);
        for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
        Device device(cell, 300.0, terminations(1e-5));
        ASSERT_TRUE(device.solve_equilibrium());
        const double V = 0.62;
        ASSERT_TRUE(device.go_to(V, 12)) << row.what;
        const double kT = device.set3.kT;
        const double D = kT * 0.1;
        const double L = std::sqrt(D * row.lifetime);
        const double np0 = 2.8e25 * 1.04e25 * std::exp(-1.12 / kT) / 1e22;
        // The neutral p layer is shorter than the layer by the depletion width, all of it on the p side.
        const double ni2 = np0 * 1e22;
        const double W =
            std::sqrt(2.0 * 11.9 * vacuum_permittivity * (kT * std::log(1e22 * 1e25 / ni2) - V) / (q * 1e22));
        const double J = 0.1 * q * D * np0 / L / std::tanh((d_p - W) / L) * std::expm1(V / kT);
        EXPECT_NEAR(device.cv.J_median / J, 1.0, row.tolerance) << row.what;
    }
}

// A p-type slab in weak uniform light whose contacts block electrons: generation equals recombination at every point.
TEST(Textbook, SlabUnderUniformLightBalancesEachMechanism)
{
    static constexpr double p = 1e21, dn = 1e18, lifetime = 1e-8, B = 1e-16, Cn = 3e-41, Cp = 1e-40;
    struct Row {
        const char* what;
        double K_rad, Cn, Cp, Nt, rate;
    };
    const Row rows[] = {
        {"lifetime", 0.0, 0.0, 0.0, 1.0 / (lifetime * 1e5 * 1e-19), dn / lifetime},
        {"radiative", B, 0.0, 0.0, 0.0, B * dn * (p + dn)},
        {"Auger", 0.0, Cn, Cp, 0.0, (Cn * dn + Cp * (p + dn)) * dn * (p + dn)},
    };
    for (const Row& row : rows) {
        CellParameters cell;
        InitialiseCellDefinition(cell);
        LayerParameters& layer = add_layer(cell, {1e-6, 1.12, 4.05, 11.9, 2.8e25, 1.04e25, 0.1, 0.04, 0.0, p});
        set_uniform(layer.material.K_rad, row.K_rad);
        set_uniform(layer.material.c_n_auger, row.Cn);
        set_uniform(layer.material.c_p_auger, row.Cp);
        if (row.Nt > 0.0) add_defect(layer, DefectType::neutral, row.Nt, 0.56, 1e-19, 1e-17);
        for (ContactParameters* c : {&cell.left, &cell.right}) {
            c->Sn = 1e-9;
            c->Sp = 1e5;
        }
        Device device(cell, 300.0, terminations(1e-6));
        ASSERT_TRUE(device.solve_equilibrium());
        device.illuminate([&](double) { return row.rate; });
        ASSERT_TRUE(device.solve()) << row.what;
        for (const std::size_t i : {std::size_t{10}, std::size_t{50}, std::size_t{90}})
            // Injection is 1e-3 of the doping: that is how far the closed rates hold at the contacts.
            EXPECT_NEAR(device.cv.n[i] * device.set3.scale.N0[0] / dn, 1.0, 3e-3) << row.what << " at point " << i;
    }
}

// Electrons over a step of the conduction band between two n layers: at the interface the current is the thermionic
// one, q v (n_left - n_left_eq), with the velocity of the declared thermal motion times the Boltzmann factor.
// Source: Sze, Ng, section 3.3 (emission), in the form J = q v_th exp(-step/kT) (n(l) - n(f) Nc_l/Nc_f exp(..)).
TEST(Textbook, StepLimitsTheCurrentByThermionicEmission)
{
    for (const double step : {0.15, 0.25}) {
        CellParameters cell;
        InitialiseCellDefinition(cell);
        const LayerSketch low{0.5e-6, 1.6, 4.2, 10.0, 2e24, 2e24, 0.1, 0.01, 1e22, 0.0};
        LayerSketch high = low;
        high.chi -= step;
        add_layer(cell, low);
        add_layer(cell, high);
        for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
        Device device(cell, 300.0, terminations(1e-6));
        ASSERT_TRUE(device.solve_equilibrium());
        ASSERT_TRUE(device.go_to(0.1, 2));
        const std::size_t l = device.last(0), f = l + 1;
        const double kT = device.set3.kT, v = 1e5;
        const double n_l = device.cv.n[l] * device.set3.scale.N0[0], n_f = device.cv.n[f] * device.set3.scale.N0[1];
        // Emission to the right over the step, back without a barrier; equal densities of states.
        const double J = 0.1 * q * v * (n_f - n_l * std::exp(-step / kT));
        EXPECT_NEAR(device.cv.J_median / J, 1.0, 1e-4) << step << " eV";
        EXPECT_GT(std::fabs(device.cv.J_median), 1e-6);
    }
}

// Halving every interval twice must move the answers little: the first mesh is fine enough for a curve.
TEST(Textbook, RefiningTheMeshMovesTheCurveLittle)
{
    double Voc[2], Jsc[2], collected[2];
    for (int k = 0; k < 2; ++k) {
        Device device(thin_film_cell(), 300.0, {}, k == 0 ? 1 : 3);
        ASSERT_TRUE(device.solve_equilibrium());
        device.illuminate([](double x) { return x < 2.9999999e-6 ? 2e26 * std::exp((x - 3e-6) / 1e-6) : 0.0; });
        ASSERT_TRUE(device.solve());
        Jsc[k] = device.cv.J_median;
        collected[k] = Jsc[k] / integrated_current(device.set3, device.cv.mesh, device.G);
        double V = 0.4, J = Jsc[k];
        ASSERT_TRUE(device.go_to(V, 4));
        while (device.cv.J_median < 0.0) {
            J = device.cv.J_median;
            ASSERT_TRUE(device.go_to(V += 0.005));
        }
        Voc[k] = V - 0.005 * device.cv.J_median / (device.cv.J_median - J);
    }
    EXPECT_NEAR(Voc[1], Voc[0], 3e-3);
    EXPECT_NEAR(Jsc[1] / Jsc[0], 1.0, 5e-3);
    // Intervals of 127 nm against a diffusion length of 0.7 um: h^2/(12 L^2) is 3e-3.
    EXPECT_NEAR(collected[1] / collected[0], 1.0, 4e-3);
}

}  // namespace
}  // namespace kovin::testing
