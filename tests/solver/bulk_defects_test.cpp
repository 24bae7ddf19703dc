// Defects on the mesh against the neutrality sum of the contacts: two routes to the same charge.
#include "solver/bulk_defects.h"

#include "device/defect_levels.h"
#include "device/on_mesh.h"
#include "device/parameterset3.h"
#include "solver/mesh_first.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

TEST(BulkDefects, ChargeOnTheMeshIsThatOfTheNeutralitySum)
{
    struct Row {
        const char* what;
        EnergyDistribution distribution;
        EnergyReference reference;
        double Et;
        int energies;
    };
    constexpr Row rows[] = {
        {"single, above EV", EnergyDistribution::single, EnergyReference::above_EV, 0.5, 7},
        {"single, below EC", EnergyDistribution::single, EnergyReference::below_EC, 0.4, 7},
        {"Gaussian, from the intrinsic level", EnergyDistribution::gauss, EnergyReference::above_Ei, 0.1, 7},
        {"uniform, below EC", EnergyDistribution::uniform, EnergyReference::below_EC, 0.5, 20},
        {"tail of EC, from EV", EnergyDistribution::CB_tail, EnergyReference::above_EV, 1.12, 30},
        {"tail of EC, from EC: it must not turn into the band", EnergyDistribution::CB_tail, EnergyReference::below_EC,
         0.0, 30},
        {"tail of EV", EnergyDistribution::VB_tail, EnergyReference::above_EV, 0.0, 30},
        {"a distribution of one energy keeps its total", EnergyDistribution::gauss, EnergyReference::above_EV, 0.5, 1},
    };
    for (const Row& r : rows) {
        for (const DefectType type : {DefectType::donor, DefectType::acceptor}) {
            InputParameters set1;
            InitialiseCellDefinition(set1.cell.cell);
            set1.cell.cell.layers = 1;
            LayerParameters& layer = set1.cell.cell.layer[0];
            test::set_layer(layer, 0, {.Na = 1e21});
            BulkRecombinationParameters& level = test::add_defect(layer, type, r.distribution, r.Et, 1e22, 0.05);
            level.reference = r.reference;
            set1.convergence.defectdiscretisations = r.energies;
            CalculationParameters set3;
            Mesh mesh;
            parameterset1_to_3(set1, 300.0, set3);
            DefineKOVINMesh(set3, mesh);
            BulkDefects defects;
            define_defects(set3, mesh, defects);

            NeutralBulk bulk{.Nc = 2.86e25,
                             .Nv = 3.1e25,
                             .Nd = 0,
                             .Na = 1e21,
                             .Eg = 1.12,
                             .kT = set3.kT,
                             .levels = {},
                             .discretisations = r.energies};
            bulk.levels.push_back({type, r.distribution,
                                   level_above_EV(r.reference, r.Et, bulk.Eg, bulk.kT, bulk.Nv / bulk.Nc), 0.05, 1e22,
                                   1e5 * level.sigma_n, 1e5 * level.sigma_p});
            for (const double F : {0.3, 0.6, 0.9}) {  // Fermi level above EV [eV]
                const double n = bulk.Nc * std::exp((F - bulk.Eg) / bulk.kT), p = bulk.Nv * std::exp(-F / bulk.kT);
                double unused = 0.0;
                const double expected = NChargedInDefects(bulk, n, p, unused);
                const double N0 = set3.scale.N0[0];
                double charge = 0.0;
                for (const DefectEnergy& e : defects.energies) {
                    const double fill = n / N0 * e.cn[0] + e.ep[0], empty = p / N0 * e.cp[0] + e.en[0];
                    const double f = fill / (fill + empty);
                    charge += N0 * e.Nt[0] * (type == DefectType::donor ? 1 - f : -f);
                }
                // 1 - f keeps the digits of 1: rounding of the density.
                EXPECT_NEAR(charge, expected, 1e-9 * std::abs(expected) + 1e-14 * 1e22) << r.what << ", F = " << F;
            }
        }
    }
}

}  // namespace
}  // namespace kovin
