// SI and user units: there and back, and the factors themselves.
#include "device/unit_systems.h"

#include "support/uniform_layer.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

/// A cell of two layers in which every converted number is different.
SiCell full_cell()
{
    SiCell si;
    InitialiseCellDefinition(si.cell);
    si.cell.layers = 2;
    test::set_layer(si.cell.layer[0], 0, {.d = 3e-6, .Na = 2e22, .Nd = 1e20});
    test::set_layer(si.cell.layer[1], 1, {.d = 5e-8, .Na = 3e20, .Nd = 4e23});
    LayerParameters& layer = si.cell.layer[0];
    layer.material.c_n_auger.pure_A = layer.material.c_n_auger.left = 2.2e-43;
    layer.material.K_rad.pure_A = 1e-16;
    layer.material.absorption.A_pure_A = 3e7;
    layer.material.Nd.dependence = Dependence::on_x;
    layer.material.Nd.law = Law::parabolic;
    layer.material.Nd.third = 5e19;  // carries the unit
    SetProfileScaleParameters(layer.material.Nd);
    BulkRecombinationParameters& level =
        test::add_defect(layer, DefectType::donor, EnergyDistribution::single, 0.4, 7e20);
    level.sigma_n = 2e-19;
    level.sigma_n_opt = 3e-20;
    level.sigma_p_opt = 5e-20;
    level.Lkar = 4e-7;
    level.Nleft = level.Nright = 6e20;
    level.holes.sigmas = {1e-21, 2e-21};
    InterfaceRecombinationParameters& sheet = si.cell.interfaces[0].defects[0];
    si.cell.interfaces[0].defect_count = 1;
    sheet.sigma_pright = 8e-20;
    sheet.N = 1e15;
    sheet.N_peak = 2e16;
    return si;
}

TEST(UnitSystems, FactorsOfEveryKindThereAndBack)
{
    const SiCell si = full_cell();
    const UserCell user = parameterset1_to_2(si);
    const SiCell back = parameterset2_to_1(user);
    const auto layer = [](const auto& c) -> const LayerParameters& { return c.cell.layer[0]; };
    const auto material = [&](const auto& c) -> const MaterialParameters& { return layer(c).material; };
    const auto level = [&](const auto& c) -> const BulkRecombinationParameters& { return layer(c).srh[0][0]; };
    const auto sheet = [](const auto& c) -> const InterfaceRecombinationParameters& {
        return c.cell.interfaces[0].defects[0];
    };
    const auto expect = [&](const char* what, double factor, const auto& value) {
        EXPECT_NEAR(value(user), value(si) * factor, 1e-12 * value(si) * factor) << what;
        EXPECT_NEAR(value(back), value(si), 1e-14 * value(si)) << what << ", back";
    };
    expect("thickness, m to um", 1e6, [&](const auto& c) { return material(c).d; });
    expect("thermal velocity, m/s to cm/s", 100, [&](const auto& c) { return material(c).v_th_n.pure_A; });
    expect("contact velocity", 100, [](const auto& c) { return c.cell.right.Sp; });
    expect("density, both ends", 1e-6, [&](const auto& c) { return material(c).Nc.right; });
    expect("doping", 1e-6, [&](const auto& c) { return material(c).Na.left; });
    expect("constant of a law that carries the unit", 1e-6, [&](const auto& c) { return material(c).Nd.third; });
    expect("mobility", 1e4, [&](const auto& c) { return material(c).mu_p.pure_A; });
    expect("radiative coefficient", 1e6, [&](const auto& c) { return material(c).K_rad.pure_A; });
    expect("Auger coefficient", 1e12, [&](const auto& c) { return material(c).c_n_auger.left; });
    expect("absorption coefficient", 0.01, [&](const auto& c) { return material(c).absorption.A_pure_A; });
    expect("cross section", 1e4, [&](const auto& c) { return level(c).sigma_n; });
    expect("capture table", 1e4, [&](const auto& c) { return level(c).holes.sigmas[1]; });
    expect("characteristic length", 1e6, [&](const auto& c) { return level(c).Lkar; });
    expect("defect density", 1e-6, [&](const auto& c) { return level(c).Nt.pure_A; });
    expect("interface density, m^-2 to cm^-2", 1e-4, [&](const auto& c) { return sheet(c).N; });
    expect("its peak", 1e-4, [&](const auto& c) { return sheet(c).N_peak; });
    expect("interface cross section", 1e4, [&](const auto& c) { return sheet(c).sigma_pright; });
    expect("gap", 1, [&](const auto& c) { return material(c).Eg.pure_A; });
    expect("permittivity", 1, [&](const auto& c) { return material(c).eps.left; });
    // The optical cross sections go to the other carrier, and back.
    EXPECT_NEAR(level(user).sigma_p_opt, 1e4 * level(si).sigma_n_opt, 1e-28);
    EXPECT_NEAR(level(user).sigma_n_opt, 1e4 * level(si).sigma_p_opt, 1e-28);
    EXPECT_NEAR(level(back).sigma_n_opt, level(si).sigma_n_opt, 1e-32);
    EXPECT_EQ(material(user).Eg.thickness, material(user).d) << "profiles know the thickness in the unit of their set";
}

TEST(UnitSystems, UniformLayersGetEqualEndsUnlessGradedInPosition)
{
    for (const int mode : {0, 20, 21}) {
        UserCell user = parameterset1_to_2(full_cell());
        LayerParameters& layer = user.cell.layer[0];
        layer.composition_mode = mode;
        layer.material.Eg.pure_B = 1.5;
        layer.material.Eg.left = 1.2;
        layer.material.Nd.left = 3.0;
        const SiCell si = parameterset2_to_1(user);
        const double expected = mode == 0 ? 1.12 : mode == 20 ? 1.5 : 1.2;
        EXPECT_NEAR(si.cell.layer[0].material.Eg.left, expected, 1e-12) << "composition mode " << mode;
        EXPECT_NEAR(si.cell.layer[0].material.Nd.left, 3e6, 1e-6) << "graded in position, mode " << mode;
    }
    SiCell cell = full_cell();
    EXPECT_FALSE(CheckMETAMode(cell.cell));
    cell.cell.layer[1].metastable[1].present = true;
    EXPECT_TRUE(CheckMETAMode(cell.cell));
}

}  // namespace
}  // namespace kovin
