// Defects on the mesh against the neutrality sum of the contacts: two routes to the same charge.
#include "solver/devices.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

// A uniform layer between flat-band contacts is neutral everywhere, so its potential is flat: any difference between
// the charge that the contacts count on and the charge on the mesh bends it.
TEST(BulkDefects, FlatBandContactsLeaveAUniformLayerFlat)
{
    struct Row {
        const char* what;
        LevelType first;
        EnergyDistribution distribution;
        EnergyReference reference;
        std::vector<double> Et;
        int energies;
        bool degeneracy_one = false;
    };
    using enum LevelType;
    using enum EnergyDistribution;
    constexpr auto from_EV = EnergyReference::above_EV, from_EC = EnergyReference::below_EC;
    const Row rows[] = {
        {"donor, above EV", plus_zero, single, from_EV, {0.5}, 7},
        {"acceptor, below EC", zero_minus, single, from_EC, {0.4}, 7},
        {"Gaussian, from the intrinsic level", plus_zero, gauss, EnergyReference::above_Ei, {0.1}, 7},
        {"uniform, below EC", zero_minus, uniform, from_EC, {0.5}, 20},
        {"tail of EC, from EV", zero_minus, CB_tail, from_EV, {1.12}, 30},
        {"tail of EC, from EC: it must not turn into the band", zero_minus, CB_tail, from_EC, {0.0}, 30},
        {"tail of EV", plus_zero, VB_tail, from_EV, {0.0}, 30},
        {"a distribution of one energy keeps its total", plus_zero, gauss, from_EV, {0.5}, 1},
        {"a single level between two charged states", two_plus_plus, single, from_EV, {0.5}, 7},
        {"double donor", two_plus_plus, single, from_EV, {0.4, 0.7}, 7},
        {"double donor without degeneracy", two_plus_plus, single, from_EV, {0.4, 0.7}, 7, true},
        {"double acceptor, below EC", zero_minus, single, from_EC, {0.8, 0.5}, 7},
        {"amphoteric, negative correlation energy", plus_zero, single, from_EV, {0.7, 0.5}, 7},
        {"five charge states, Gaussian", two_plus_plus, gauss, from_EV, {0.3, 0.5, 0.6, 0.9}, 11},
    };
    for (const Row& r : rows)
        for (const double doping : {-2e23, -1.5e22, 1.7e22, 2e23}) {  // below and above the charge of the defects
            CellParameters cell;
            InitialiseCellDefinition(cell);
            cell.layers = 1;
            test::set_layer(cell.layer[0], 0, {.Na = std::max(-doping, 0.0), .Nd = std::max(doping, 0.0)});
            DefectLevels& levels = test::add_chain(cell.layer[0], r.first, r.Et, 1e22, r.distribution);
            for (auto& level : levels) {
                level.reference = r.reference;
                level.degeneracy_one = r.degeneracy_one;
            }
            Device device(cell, 300.0, [&](ConvergenceParameters& c) { c.defectdiscretisations = r.energies; });
            ASSERT_TRUE(device.solve_equilibrium());
            double bend = 0.0;
            for (const double psi : device.cv.psi) bend = std::max(bend, std::fabs(psi));
            EXPECT_LT(bend, 1e-6) << r.what << ", net doping " << doping;  // the walk to neutrality ends at 1e-7 kT
        }
}

// The energy that a result file prints, counted from its own reference, is that of the emission rate beside it.
TEST(BulkDefects, EnergiesAreToldFromTheirReference)
{
    for (const EnergyReference reference : {EnergyReference::above_EV, EnergyReference::below_EC}) {
        CellParameters cell;
        InitialiseCellDefinition(cell);
        cell.layers = 1;
        test::set_layer(cell.layer[0], 0, {.Nd = 1e22});
        auto& level = test::add_defect(cell.layer[0], DefectType::neutral, EnergyDistribution::uniform, 0.3, 1e20);
        level.reference = reference;
        const Device device(cell);
        for (const DefectEnergy& d : device.memory.defects.energies) {
            const bool from_EV = reference == EnergyReference::above_EV;
            const double emission =
                from_EV ? d.ep[0] / (d.cp[0] * device.set3.on.Nv[0]) : d.en[0] / (d.cn[0] * device.set3.on.Nc[0]);
            EXPECT_NEAR(-device.set3.kT * std::log(emission), d.energy, 1e-9) << from_EV;
        }
    }
}

}  // namespace
}  // namespace kovin::testing
