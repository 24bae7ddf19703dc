// Metastable pairs: one centre that is a donor in one atomic configuration and an acceptor in the other.
//
// Going from the donor D to the acceptor A the centre takes up two electrons (EC), or gives off two holes (HE); going
// back it takes up two holes (HC), or gives off two electrons (EE). Each way has a barrier. With E_TR the transition
// energy above the valence band, at which the two configurations are equally likely, detailed balance ties the
// barriers of each pair of ways:
//
//     two equal carriers (process 0)   EC - EE = 2 (E_TR - Eg)   HE - HC = 2 E_TR
//     one of each (any other process)  EC - EE = 2 E_TR - Eg     HE - HC = 2 E_TR - Eg
//
// EC, EE go with the electron process, HC, HE with the hole process. Of the five energies three are given, two follow.
// Source: Lany, Zunger, J. Appl. Phys. 100 (2006) 113725.
#pragma once

#include "device/cell.h"
#include "device/charge_states.h"

#include <array>
#include <string>
#include <vector>

namespace kovin {

/// The energies in the order of the flags of a pair.
enum class ActivationEnergy : int { TR = 0, EC = 1, EE = 2, HC = 3, HE = 4 };
using DerivedEnergies = std::array<bool, 5>;  ///< set: this energy follows from the others
inline constexpr const char* activation_energy_words[] = {"Eact_TR", "Eact_EC", "Eact_EE", "Eact_HC", "Eact_HE"};

/// Which two energies follow by a selection code: 1 EE, HC; 2 EC, HE; 3 EC, HC; 4 TR, HE; 5 TR, HC; 6 TR, EE; 7 TR, EC;
/// any other EE, HE.
[[nodiscard]] DerivedEnergies interpretEactgiven(int code);
/// The code of the flags; 0 also for flags that have none: then the energies are not fixed by the others.
[[nodiscard]] int interpretEactgiven(const DerivedEnergies& flags);

/// Recomputes one energy from its relation, in place.
/// @param side  process flag of the relation: 0 two equal carriers, otherwise one of each
/// @param from_electrons  of TR: follows from EC and EE, otherwise from HC and HE
/// @param Eg    [eV]
void RecalculateActivationEnergy(MetaStableDefectParameters& pair, int side, ActivationEnergy which,
                                 bool from_electrons, double Eg);

/// Recomputes the two energies that follow.
void UpdateActivationEnergies(MetaStableDefectParameters& pair, double Eg);

/// Transition energy above the valence band [eV].
[[nodiscard]] double transition_energy(const MetaStableDefectParameters& pair, double Eg);

/// Charge of a type number 0 to 6 of the files, "3-" to "3+": 4 is "+".
[[nodiscard]] constexpr int charge_of_type(int charge_type) { return charge_type - 3; }
inline constexpr const char* chargeTypeStrings[] = {"3-", "2-", "-", "0", "+", "2+", "3+"};

/// The state of a defect that holds this charge, as charge_states numbers them; -1 if there is none. A neutral defect
/// has none: its states are not told apart.
[[nodiscard]] int GetDefectStateFromChargeType(const DefectLevels& levels, int charge_type);

/// The charge types of the donor that fit both defects: the donor has a state of this charge, the acceptor one with two
/// electrons more.
[[nodiscard]] std::vector<int> fill_meta_chargestates(const DefectLevels& donor, const DefectLevels& acceptor);

/// Capture cross sections of the pair from the levels beside the states that take part, where they exist.
void SynchroniseMetaCaptureCrossSectionsWithDefectCaptureCrossSections(MetaStableDefectParameters& pair,
                                                                       const LayerParameters& layer);

/// Something that is to be said of a pair.
struct PairFinding {
    int transition = 0;  ///< from 0
    std::string key;     ///< line of the definition file that it is about
    std::string text;    ///< one sentence with the number of the pair
};
/// Why the pairs of a layer cannot be calculated; empty if they can.
[[nodiscard]] std::vector<PairFinding> metastable_faults(const LayerParameters& layer);
/// What can be calculated and is hardly meant: flags without a code, processes that are none, energies that disagree
/// with what follows from the others, negative barriers, no way that is open. @param layer  its Eg with the values at
/// the left end
[[nodiscard]] std::vector<PairFinding> metastable_remarks(const LayerParameters& layer);
/// The pair in one line: its defects with their charges, processes and energies as they are used.
/// @param layer  in the user's units
[[nodiscard]] std::string pair_text(const LayerParameters& layer, const MetaStableDefectParameters& pair);

/// One place of a pair, as its rates need it.
struct MetaPlace {
    double n_over_Nc = 0.0, p_over_Nv = 0.0;
    double kT = 0.0;                          ///< [eV]
    double k_electrons = 0.0, k_holes = 0.0;  ///< attempt rates, in one unit: phonon frequency with process 0, with the
                                              ///< other sigma_don_n vth_n Nc and sigma_acc_p vth_p Nv
    double donor_share = 1.0, acceptor_share = 1.0;  ///< of each configuration in the charge state that reacts
};

/// ln(R1/R2), R1 the rate from donor to acceptor and R2 back; in steady state the logarithm of acceptors over donors.
///
///     R1 = P_D (c_EC exp(-EC/kT) + c_HE exp(-HE/kT))     R2 = P_A (c_HC exp(-HC/kT) + c_EE exp(-EE/kT))
///
/// with c_EC/c_EE = n'^2 (process 0), n'/p' (else) and c_HC/c_HE = p'^2, p'/n'; n' = n/Nc, p' = p/Nv. In equilibrium
/// R1/R2 = exp(2 (EF - E_TR)/kT) P_D/P_A, whatever the processes. Computed in logarithms, so that nothing underflows.
/// @param pair  its barriers are taken as they stand
/// @return NaN if neither way is open
[[nodiscard]] double metastable_balance(const MetaStableDefectParameters& pair, const MetaPlace& place);

}  // namespace kovin
