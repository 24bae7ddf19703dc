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

TEST(UnitSystems, FactorsOfEveryKind)
{
    const SiCell si = full_cell();
    const UserCell user = parameterset1_to_2(si);
    const LayerParameters& s = si.cell.layer[0];
    const LayerParameters& u = user.cell.layer[0];
    struct Row {
        const char* what;
        double SI, shown, factor;
    };
    const Row rows[] = {
        {"thickness, m to um", s.material.d, u.material.d, 1e6},
        {"thermal velocity, m/s to cm/s", s.material.v_th_n.pure_A, u.material.v_th_n.pure_A, 100},
        {"contact velocity", si.cell.left.Sn, user.cell.left.Sn, 100},
        {"density, both ends", s.material.Nc.right, u.material.Nc.right, 1e-6},
        {"doping", s.material.Na.left, u.material.Na.left, 1e-6},
        {"constant of a law that carries the unit", s.material.Nd.third, u.material.Nd.third, 1e-6},
        {"mobility", s.material.mu_p.pure_B, u.material.mu_p.pure_B, 1e4},
        {"radiative coefficient", s.material.K_rad.pure_A, u.material.K_rad.pure_A, 1e6},
        {"Auger coefficient", s.material.c_n_auger.left, u.material.c_n_auger.left, 1e12},
        {"absorption coefficient A", s.material.absorption.A_pure_A, u.material.absorption.A_pure_A, 0.01},
        {"cross section", s.srh[0][0].sigma_n, u.srh[0][0].sigma_n, 1e4},
        {"optical sigma goes to the other carrier", s.srh[0][0].sigma_n_opt, u.srh[0][0].sigma_p_opt, 1e4},
        {"and the other way round", s.srh[0][0].sigma_p_opt, u.srh[0][0].sigma_n_opt, 1e4},
        {"capture table", s.srh[0][0].holes.sigmas[1], u.srh[0][0].holes.sigmas[1], 1e4},
        {"characteristic length", s.srh[0][0].Lkar, u.srh[0][0].Lkar, 1e6},
        {"defect density", s.srh[0][0].Nt.pure_A, u.srh[0][0].Nt.pure_A, 1e-6},
        {"interface density, m^-2 to cm^-2", si.cell.interfaces[0].defects[0].N, user.cell.interfaces[0].defects[0].N,
         1e-4},
        {"interface cross section", si.cell.interfaces[0].defects[0].sigma_pright,
         user.cell.interfaces[0].defects[0].sigma_pright, 1e4},
        {"gap", s.material.Eg.pure_A, u.material.Eg.pure_A, 1},
        {"permittivity", s.material.eps.left, u.material.eps.left, 1},
    };
    for (const Row& r : rows) EXPECT_NEAR(r.shown, r.SI * r.factor, 1e-12 * r.SI * r.factor) << r.what;
    EXPECT_EQ(u.material.Eg.thickness, u.material.d) << "profiles know the thickness in the unit of their set";
}

TEST(UnitSystems, ThereAndBackGivesTheSameCell)
{
    const SiCell si = full_cell();
    const SiCell back = parameterset2_to_1(parameterset1_to_2(si));
    const auto same = [](double a, double b, const char* what) { EXPECT_NEAR(a, b, 1e-14 * std::abs(a)) << what; };
    for (std::size_t i = 0; i < 2; ++i) {
        const LayerParameters &a = si.cell.layer[i], &b = back.cell.layer[i];
        same(a.material.d, b.material.d, "d");
        same(a.material.Nd.left, b.material.Nd.left, "Nd left");
        same(a.material.Nd.third, b.material.Nd.third, "Nd third");
        same(a.material.mu_n.pure_A, b.material.mu_n.pure_A, "mu_n");
        same(a.material.c_n_auger.pure_A, b.material.c_n_auger.pure_A, "c_n_auger");
        same(a.material.absorption.A_pure_A, b.material.absorption.A_pure_A, "A");
        same(a.srh[0][0].sigma_n_opt, b.srh[0][0].sigma_n_opt, "sigma_n_opt is back in its place");
        same(a.srh[0][0].sigma_p_opt, b.srh[0][0].sigma_p_opt, "sigma_p_opt is back in its place");
        same(a.srh[0][0].Nt.left, b.srh[0][0].Nt.left, "Nt");
        same(a.srh[0][0].Lkar, b.srh[0][0].Lkar, "Lkar");
    }
    same(si.cell.interfaces[0].defects[0].N_peak, back.cell.interfaces[0].defects[0].N_peak, "N peak");
    same(si.cell.right.Sp, back.cell.right.Sp, "Sp");
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
