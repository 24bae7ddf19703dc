#include "device/metastable.h"

#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>

namespace kovin {
namespace {

/// The (VSe-VCu) pair in CIGS: all five energies of the first flags.
MetaStableDefectParameters example(int electron_process, int hole_process)
{
    MetaStableDefectParameters pair;
    pair.present = true;
    pair.Eact_TR = 0.19;
    pair.Eact_EC = 0.10;
    pair.Eact_HC = 0.35;
    pair.electron_process = electron_process;
    pair.hole_process = hole_process;
    pair.derived_energy = interpretEactgiven(0);
    return pair;
}

TEST(Metastable, TheEnergiesThatFollowComeBackFromTheOthersByEveryCode)
{
    constexpr double Eg = 1.15;
    using P = MetaStableDefectParameters;
    constexpr double P::*energies[] = {&P::Eact_TR, &P::Eact_EC, &P::Eact_EE, &P::Eact_HC, &P::Eact_HE};
    P literature = example(1, 0);
    UpdateActivationEnergies(literature, Eg);
    EXPECT_NEAR(literature.Eact_EE, 0.87, 1e-12) << "as published";
    EXPECT_NEAR(literature.Eact_HE, 0.73, 1e-12);

    for (const int electrons : {0, 1})
        for (const int holes : {0, 1})
            for (const EnergyReference reference :
                 {EnergyReference::above_EV, EnergyReference::above_Ei, EnergyReference::below_EC}) {
                P whole = example(electrons, holes);
                whole.reference = reference;
                UpdateActivationEnergies(whole, Eg);
                for (int code = 0; code < 8; ++code) {
                    P pair = whole;
                    pair.derived_energy = interpretEactgiven(code);
                    EXPECT_EQ(interpretEactgiven(pair.derived_energy), code);
                    int follow = 0;
                    for (std::size_t k = 0; k < 5; ++k)
                        if (pair.derived_energy[k]) ++follow, pair.*energies[k] = 77.0;
                    EXPECT_EQ(follow, 2) << code;
                    UpdateActivationEnergies(pair, Eg);
                    for (const auto energy : energies)
                        EXPECT_NEAR(pair.*energy, whole.*energy, 1e-14) << code << electrons << holes;
                }
            }
}

TEST(Metastable, InEquilibriumTheBalanceKnowsTheTransitionEnergyAlone)
{
    // Closed formula: 2 (EF - E_TR)/kT + ln(P_D/P_A), for every mixture of processes, however slow one of them is.
    constexpr double Eg = 1.15;
    for (const double kT : {0.0017, 0.0259})  // barriers of 0.9 eV underflow in the colder one
        for (const int electrons : {0, 1})
            for (const int holes : {0, 1})
                for (const double EF : {0.05, 0.6, 1.05}) {
                    MetaStableDefectParameters pair = example(electrons, holes);
                    UpdateActivationEnergies(pair, Eg);
                    const MetaPlace place{.n_over_Nc = std::exp((EF - Eg) / kT),
                                          .p_over_Nv = std::exp(-EF / kT),
                                          .kT = kT,
                                          .k_electrons = 3e7,
                                          .k_holes = 5e12,
                                          .donor_share = 0.3,
                                          .acceptor_share = 1e-3};
                    const double expected = 2.0 * (EF - 0.19) / kT + std::log(0.3 / 1e-3);
                    EXPECT_NEAR(metastable_balance(pair, place), expected, 1e-12 * std::max(1.0, std::abs(expected)))
                        << kT << ' ' << electrons << holes << ' ' << EF;
                }
    MetaPlace closed{.n_over_Nc = 1e-9, .p_over_Nv = 1e-3, .kT = 0.0259};
    EXPECT_TRUE(std::isnan(metastable_balance(example(1, 1), closed))) << "no way is open";
    closed.k_electrons = 1e9;
    MetaStableDefectParameters blocked = example(1, 1);
    blocked.Eact_EC = blocked.Eact_EE = 1e300;
    EXPECT_TRUE(std::isnan(metastable_balance(blocked, closed))) << "a barrier that nothing passes";
    closed.acceptor_share = 0.0;
    EXPECT_EQ(metastable_balance(example(1, 1), closed), std::numeric_limits<double>::infinity()) << "one way alone";
}

TEST(Metastable, ThePartnersAreFoundByTheirChargeAndWhatCannotReactIsNamed)
{
    InputParameters set1 = test::cell_of({{.Eg = 1.15}});
    LayerParameters& layer = set1.cell.cell.layer[0];
    test::add_defect(layer, DefectType::donor, EnergyDistribution::single, 0.1, 1e22);
    test::add_defect(layer, DefectType::acceptor, EnergyDistribution::single, 0.1, 1e22).sigma_p = 4e-20;
    const DefectLevels& chain = test::add_chain(layer, LevelType::plus_zero, {0.3, 0.6}, 1e22);  // + 0 -
    test::add_defect(layer, DefectType::neutral, EnergyDistribution::single, 0.1, 1e22);
    test::add_chain(layer, LevelType::zero_minus, {0.3, 0.6}, 1e22);  // 0 - 2-
    struct State {
        const DefectLevels& levels;
        int charge_type, state;
    };
    for (const State& s : std::initializer_list<State>{{layer.srh[0], 4, 0},
                                                       {layer.srh[0], 3, 1},
                                                       {layer.srh[0], 2, -1},
                                                       {layer.srh[1], 2, 1},
                                                       {chain, 4, 0},
                                                       {chain, 3, 1},
                                                       {chain, 2, 2},
                                                       {chain, 5, -1},
                                                       {layer.srh[3], 3, -1}})
        EXPECT_EQ(GetDefectStateFromChargeType(s.levels, s.charge_type), s.state) << s.charge_type;

    MetaStableDefectParameters& pair = layer.metastable[0];
    pair = example(1, 0);
    UpdateActivationEnergies(pair, 1.15);
    struct Fault {
        const char* what;
        int donor, acceptor, charge_type;
        const char* message;  // nullptr: none
    };
    for (const Fault& f :
         {Fault{"a donor and an acceptor of one level", 0, 1, 4, nullptr}, Fault{"states of a chain", 2, 1, 4, nullptr},
          Fault{"the default charge state fits no single donor", 0, 1, 3,
                "no state of charge 2-; the donor could react as 4 (+)\n"},
          Fault{"chains offer more", 2, 4, 5, "no state of charge 2+; the donor could react as 3 (0), 4 (+)\n"},
          Fault{"an acceptor for a donor", 1, 0, 4, "no charge fits both defects"},
          Fault{"no donor", -1, 1, 4, "no defect stands"}, Fault{"one defect for both", 2, 2, 4, "takes part twice"},
          Fault{"a neutral defect", 3, 1, 4, "no state of charge +"},
          Fault{"no such charge", 0, 1, 9, "no state of charge 6"}}) {
        pair.donor_defect = f.donor;
        pair.acceptor_defect = f.acceptor;
        pair.donor_charge_state = f.charge_type;
        std::string all;
        for (const PairFinding& fault : metastable_faults(layer)) all += fault.text + '\n';
        EXPECT_TRUE(f.message == nullptr ? all.empty() : all.find(f.message) != std::string::npos) << f.what << all;
    }
    pair.donor_charge_state = 4;
    pair.donor_defect = 0;
    SynchroniseMetaCaptureCrossSectionsWithDefectCaptureCrossSections(pair, layer);
    EXPECT_EQ(pair.sigma_acc_p, 4e-20);

    layer.material.Eg.left = 1.15;
    EXPECT_TRUE(metastable_remarks(layer).empty());
    pair.hole_process = 1;  // HE = 2 E_TR + HC - Eg
    EXPECT_EQ(metastable_remarks(layer).size(), 2U) << "the stored energy disagrees, the barrier is negative";
    pair.derived_energy = {};
    EXPECT_EQ(metastable_remarks(layer).size(), 3U) << "and the flags say nothing";
    pair.sigma_don_n = pair.sigma_acc_p = 0.0;
    EXPECT_EQ(metastable_remarks(layer).size(), 4U) << "and no way is open";
    pair = example(0, 0);
    pair.Eact_EC = pair.Eact_HC = 1e300;
    const std::vector<PairFinding> blocked = metastable_remarks(layer);
    ASSERT_EQ(blocked.size(), 3U) << "the derived barriers are those of the small ones";
    EXPECT_NE(blocked[0].text.find("no process is open"), std::string::npos) << blocked[0].text;
    EXPECT_NE(blocked[1].text.find("as 1.000e+300 eV, not 0."), std::string::npos) << blocked[1].text;
}

}  // namespace
}  // namespace kovin
