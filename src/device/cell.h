// The cell as data: layers, interfaces, contacts, defects. Plain records; defaults live in cell_defaults.
//
// One record type serves two sets of units, kept apart by the wrappers at the end: SiCell (m, m^-3, m2/Vs: as in
// definition files) and UserCell (um, cm^-3, cm2/Vs: what panels, batch and scripts show).
#pragma once

#include "base/constants.h"
#include "device/model.h"
#include "device/profile.h"

#include <array>
#include <string>
#include <vector>

namespace kovin {

/// Type of a defect as files name it: index into defect_type_words.
enum class DefectType : int {
    neutral = 0,
    acceptor = 1,
    donor = 2,
    doubleacceptor = 3,
    doubledonor = 4,
    amphoteric = 5,
    custom_multilevel = 6
};
/// Transition of a level (`aard`): index into level_type_words.
enum class LevelType : int {
    neutral = 0,
    two_minus_three_minus = 1,
    minus_two_minus = 2,
    zero_minus = 3,
    plus_zero = 4,
    two_plus_plus = 5,
    three_plus_two_plus = 6
};
enum class EnergyDistribution : int { single = 0, uniform = 1, gauss = 2, CB_tail = 3, VB_tail = 4 };
enum class SpatialDistribution : int { homogenous = 0, linear = 1, exponential = 2 };
/// Reference of a bulk level: 0 to 2; of an interface level: 3 to 9.
enum class EnergyReference : int {
    above_EV = 0,
    above_Ei = 1,
    below_EC = 2,
    above_highest_EV = 3,
    below_lowest_EC = 4,
    above_Ei_left = 5,
    above_Ei_right = 6,
    above_EV_left = 7,
    above_EV_right = 8,
    above_middle = 9
};

inline constexpr std::string_view defect_type_words[] = {
    "neutral", "acceptor", "donor", "doubleacceptor", "doubledonor", "amphoteric", "custom multilevel"};
inline constexpr std::string_view energy_distribution_words[] = {"single", "uniform", "gauss", "CB tail", "VB tail"};
inline constexpr std::string_view spatial_distribution_words[] = {"homogenous", "linear", "exponential"};
inline constexpr std::string_view level_type_words[] = {"neutral", "2-/3-", "-/2-", "0/-", "+/0", "2+/+", "3+/2+"};

/// Optical capture of one carrier by one level.
struct OpticalCaptureProperties {
    std::string file;
    std::vector<double> sigmas;       ///< m2 (SI), cm2 (user)
    std::vector<double> wavelengths;  ///< nm
    bool present = false;
    double n = 3.0;  ///< exponent of the model
    double m_over_m0 = 1.0;
    double Eeff_over_E0 = 1.0;
    double Emax = 10.0;  ///< [eV]
    bool from_model = false;
};

/// One level of a bulk defect; what belongs to the defect as a whole stands in its level 0.
struct BulkRecombinationParameters {
    int layer = 0, defect = 0, level = 0;
    LevelType aard = LevelType::neutral;
    DefectType defectType = DefectType::neutral;
    int levels = 1;                           ///< 1 to 4
    double sigma_n = 1e-19, sigma_p = 1e-19;  ///< m2 (SI), cm2 (user)
    double sigma_n_plus = 1e-25, sigma_n_zero = 1e-25, sigma_p_zero = 1e-25, sigma_p_min = 1e-25;
    double sigma_n_opt = 0.0, sigma_p_opt = 0.0;
    OpticalCaptureProperties holes, electrons;
    EnergyDistribution energy_distribution = EnergyDistribution::single;
    double Ekar = 0.1;  ///< characteristic energy [eV]
    double Ecor = 0.0;  ///< correlation energy [eV]
    double Et = 0.6;    ///< [eV]
    EnergyReference reference = EnergyReference::above_EV;
    bool correlation = false, degeneracy_one = false;
    SpatialDistribution spatial = SpatialDistribution::homogenous;
    double Lkar = 1e-7;                  ///< characteristic length of the oldest files, m (SI), um (user)
    double Nleft = 1e20, Nright = 1e20;  ///< densities of the oldest files, m^-3 (m^-3 eV^-1)
    Profile Nt;
    double peak_to_total = 1.0;      ///< [1/eV], 1 for a single level
    int metastable_transition = -1;  ///< -1: none
    int metastable_role = -1;        ///< 0 donor, 1 acceptor
};

/// A metastable pair of defects.
struct MetaStableDefectParameters {
    bool present = false;
    int number = 0;  ///< transition, from 0
    Profile Nt;
    int donor_defect = -1, acceptor_defect = -1;  ///< from 0; -1 none
    int donor_charge_state = 0;
    double phonon_frequency = 1e13;  ///< [Hz]
    int type = 0, electron_process = 0, hole_process = 0;
    std::array<bool, 5> derived_energy{};  ///< in the order TR, EC, EE, HC, HE: follows from the others
    double sigma_acc_n = 1e-19, sigma_acc_p = 1e-19, sigma_don_n = 1e-19, sigma_don_p = 1e-19;  ///< m2 / cm2
    double Eact_EE = 0.0, Eact_HC = 0.0, Eact_EC = 0.0, Eact_HE = 0.0, Eact_TR = 0.0;           ///< [eV]
    EnergyReference reference = EnergyReference::above_EV;
    double initial_acceptor_configuration = 0.5;  ///< fraction
};

/// Absorption of a layer's material.
struct Absorption {
    Profile grading;                                                        ///< anchor wavelengths [nm]
    double A_pure_A = 1e7, B_pure_A = 0.0, A_pure_B = 1e7, B_pure_B = 0.0;  ///< square-root law, per m (SI), per cm
    bool pure_A_from_file = false, pure_B_from_file = false;
    std::string file_A, file_B;
    AbsorptionModelSet model_A, model_B;
};

struct MaterialParameters {
    std::string name;
    int composition_mode = 0;
    double d = 2e-6;  ///< thickness, m (SI), um (user)
    Profile chi, Eg, eps, Nc, Nv, Nd, Na, mu_n, mu_p, m_e, m_h, v_th_n, v_th_p, K_rad;
    bool tunneling = false;
    Profile c_n_auger, c_p_auger;
    Absorption absorption;
};

/// What a layer is for: 0 physical layer; interlayers 1 optical, 2 electrical, 3 electro-optical; contact layers 11,
/// 12, 13 likewise. Only the C-V of an MIS structure asks.
inline constexpr int electrical_interlayer = 2, electro_optical_interlayer = 3, last_functional_type = 13;
[[nodiscard]] constexpr bool is_functional_type(int type)
{
    return (type >= 0 && type <= 3) || (type >= 11 && type <= last_functional_type);
}
/// Is it an insulator that no carrier passes?
[[nodiscard]] constexpr bool is_electrical_interlayer(int functional_type)
{
    return functional_type == electrical_interlayer || functional_type == electro_optical_interlayer;
}

struct LayerParameters {
    std::string name;
    int layernumber = 0;
    MaterialParameters material;
    std::array<std::array<BulkRecombinationParameters, max_levels>, max_defects> srh;
    int srhteller = 0;         ///< bulk defects in use
    int composition_mode = 0;  ///< 0 uniform pure A, 20 uniform pure B, 21 uniform y, 1 graded in position
    Profile composition;
    bool is_new = true;
    std::array<MetaStableDefectParameters, max_metastable> metastable;
    int functional_type = 0;  ///< see is_electrical_interlayer
};

/// One sheet of states at an interface.
struct InterfaceRecombinationParameters {
    int interface_number = 0, defect = 0;
    DefectType defectType = DefectType::neutral;
    double sigma_nleft = 1e-19, sigma_nright = 1e-19, sigma_pleft = 1e-19, sigma_pright = 1e-19;  ///< m2 / cm2
    double N = 1e10;       ///< m^-2 (m^-2 eV^-1 if distributed) / cm^-2
    double N_peak = 1e10;  ///< N over the peak-to-total factor: with a distribution, in spite of its name, the total
    bool tunneling = false;
    double m_h = 1.0, m_e = 1.0;
    EnergyDistribution energy_distribution = EnergyDistribution::single;
    double Ekar = 0.1, Ecor = 0.0, Et = 0.6;  ///< [eV]
    EnergyReference reference = EnergyReference::above_highest_EV;
    double peak_to_total = 1.0;
};

/// Interface i lies between layers i and i + 1.
struct InterfaceParameters {
    int number = 0;
    std::array<InterfaceRecombinationParameters, max_interface_defects> defects;
    std::string name;
    bool tunneling = false;
    double m_h = 1.0, m_e = 1.0;
    int defect_count = 0;
};

struct ContactParameters {
    double Fi_m = 5.0;                ///< work function [eV]
    double barrier = 0.2;             ///< to the majority band [eV], computed
    double excess_barrier = 0.0;      ///< beyond flat band [eV], computed
    double Sn = 1e5, Sp = 1e5;        ///< surface recombination velocities, m/s (SI), cm/s (user)
    bool flatband = true;             ///< work function follows from flat bands
    bool recalculate = true;          ///< in each batch step
    bool filter = false;              ///< an optical filter is present
    bool filter_constant = false;     ///< filter value holds for all wavelengths
    bool filter_transmission = true;  ///< the filter data are transmission, else reflection
    double filter_value = 0.0;        ///< fraction
    std::string filter_file;
    bool tunneling = false;
    double m_h = 1.0, m_e = 1.0;
    int majority_type = 0;  ///< of the adjacent layer: -1 n-type, +1 p-type, 0 none; computed
};

struct CellParameters {
    std::array<LayerParameters, max_layers> layer;
    std::array<InterfaceParameters, max_interfaces> interfaces;
    int layers = 0;                          ///< in use
    ContactParameters left, right;           ///< "back contact", "front contact"
    int voltage_reference = -1;              ///< contact the voltage is applied to: -1 left, +1 right
    int reference_system = 1;                ///< 1 as a consumer, 0 as a generator
    int voltage_sign = 1, current_sign = 1;  ///< derived
};

/// A cell in SI units, as in a definition file.
struct SiCell {
    CellParameters cell;
};
/// A cell in the user's units.
struct UserCell {
    CellParameters cell;
};

}  // namespace kovin
