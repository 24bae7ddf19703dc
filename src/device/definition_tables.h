// Keywords of a definition file: the same rows serve the reader and the two writers.
//
// A row has the keyword as the line starts with it, the field, the numbers that are accepted, and the text that the
// writers put behind the value. Rows that differ between the writers say so in the writer.
#pragma once

#include "device/definition.h"
#include "device/keyed_source.h"

#include <string_view>

namespace kovin::definition_tables {

inline constexpr std::size_t definition_line_limit = 255;
inline constexpr std::size_t layer_name_limit = 39;
inline constexpr std::size_t interface_name_limit = 19;

// ---- numerical block ---------------------------------------------------------------------------------------------

/// When a line of the numerical block is written.
enum class Written {
    if_different,  ///< save command: if it differs from the default; unconditional writer: always
    save_command,  ///< only by the save command, if it differs from the default
    mesh,          ///< with the mesh switch on
};

/// Exactly one of `real` and `whole` is set.
struct NumericalKey {
    std::string_view word;
    double ConvergenceParameters::*real;
    int ConvergenceParameters::*whole;
    Limits limits;
    int width;              ///< of a whole number; real numbers are 9 wide with 2 digits
    std::string_view unit;  ///< behind the value
    Written written = Written::if_different;
    bool ends_old_tunnel_rule = false;  ///< a file with this line knows the switches of tunnelling
};

using C = ConvergenceParameters;
inline constexpr Limits from_0_to_1{0, 1}, count_of_iterations{1, 1000000};
inline constexpr NumericalKey numerical_keys[] = {
    {"clamp_psi", &C::clamp_psi, nullptr, positive, 0, " units kT"},
    {"clamp_n", &C::clamp_n, nullptr, positive, 0, " units kT"},
    {"clamp_p", &C::clamp_p, nullptr, positive, 0, " units kT"},
    {"termination_psi", &C::termination_psi, nullptr, positive, 0, " units kT"},
    {"termination_Fn", &C::termination_Fn, nullptr, positive, 0, " units kT"},
    {"termination_Fp", &C::termination_Fp, nullptr, positive, 0, " units kT"},
    {"termination_Meta_full", &C::termination_Meta_full, nullptr, positive, 0, " (rel.)"},
    {"maxmetaiter_full", nullptr, &C::maxmetaiter_full, count_of_iterations, 5, ""},
    {"clamp_meta", &C::clamp_meta, nullptr, positive, 0, " (rel.)"},
    {"usemetaclamping", nullptr, &C::usemetaclamping, from_0_to_1, 0, ""},
    {"maxiter", nullptr, &C::maxiter, count_of_iterations, 5, ""},
    // Values outside 1 to max_energies are cut by the reader, not refused.
    {"defectdiscretisations", nullptr, &C::defectdiscretisations, {-1e6, 1e6}, 5, ""},
    {"Shockley-Queisser limit", nullptr, &C::shockley_queisser, {0, 2}, 5, " (0: never; 1: if necessary; 2: always)"},
    {"widthtail", &C::widthtail, nullptr, positive, 0, ""},
    {"widthgauss", &C::widthgauss, nullptr, positive, 0, ""},
    {"TunnelMassChoice", nullptr, &C::TunnelMassChoice, {0, 100}, 5, "", Written::save_command},
    {"Apply allowed tunnel paths to",
     nullptr,
     &C::tunnel_paths,
     {0, 2},
     5,
     " (0 != to all layers, interfaces and contacts; 1 != to none; 2 != to individual user selected)",
     Written::save_command,
     true},
    {"TunnelBtoB_allowed", nullptr, &C::TunnelBtoB_allowed, from_0_to_1, 5, "", Written::save_command, true},
    {"Tunnelcontact_allowed", nullptr, &C::Tunnelcontact_allowed, from_0_to_1, 5, "", Written::save_command, true},
    {"Tunneliface_allowed", nullptr, &C::Tunneliface_allowed, from_0_to_1, 5, "", Written::save_command, true},
    {"Tunnelintraband_allowed", nullptr, &C::Tunnelintraband_allowed, from_0_to_1, 5, "", Written::save_command, true},
    {"maximum mesh changes per iteration step", nullptr, &C::mesh_changes, {0, 99}, 2, "", Written::mesh},
    {"maximum ratio between neighbouring points", &C::mesh_ratio_max, nullptr, positive, 0, "", Written::mesh},
    {"minimum ratio between neighbouring points", &C::mesh_ratio_min, nullptr, positive, 0, "", Written::mesh},
    {"generation limit", &C::generation_limit, nullptr, not_negative, 0, " microA/cm2", Written::mesh},
    {"recombination limit", &C::recombination_limit, nullptr, not_negative, 0, " microA/cm2", Written::mesh},
};

/// Written by the save command and never read: the lines on the references of the working point decide.
inline constexpr std::string_view written_only = "Allow change of Voltage or Current references";

/// Settings of the Mott-Schottky analysis: all lines start alike and are told apart by a word behind it.
struct MottSchottkyKey {
    std::string_view word;     ///< as the reader looks for it behind mott_schottky_start
    std::string_view written;  ///< as the writers print it, colon included
    int MottSchottkySettings::*whole;
    double MottSchottkySettings::*real;
    Limits limits;
    std::string_view unit;
};
using NWs = MottSchottkySettings;
inline constexpr std::string_view mott_schottky_start = "Mott-Schottky analysis";
// In the order of the save command. The written line on the order at the edges lacks the blank in front of the colon
// that the reader asks for, so that this value does not come back: files of all versions are like that.
inline constexpr MottSchottkyKey mott_schottky_keys[] = {
    {"side", " epsilon of sheet side :", &NWs::side, nullptr, {-1, 1}, "\t(left side = -1; right side = +1)"},
    {" number of points :", " number of points :", &NWs::points, nullptr, {3, 5}, "\t(3 or 5 as of december 2008)"},
    {" polynomial order middle :",
     " polynomial order middle :",
     &NWs::order_middle,
     nullptr,
     {1, 2},
     "\t(1 or 2 as of december 2008)"},
    {" polynomial order edges :",
     " polynomial order edges:",
     &NWs::order_edges,
     nullptr,
     {1, 2},
     "\t(1 or 2 as of december 2008)"},
    {"layer number", " epsilon of layer number :", &NWs::layer, nullptr, {-1, max_layers - 1}, ""},
    {"defect number", " defect number :", &NWs::defect, nullptr, {0, max_defects - 1}, ""},
    {"level number", " level number :", &NWs::level, nullptr, {0, max_levels - 1}, ""},
    {"eh type", " eh type :", &NWs::eh_type, nullptr, {-1, 2}, ""},
    {"constant epsilon", " constant epsilon :", nullptr, &NWs::constant_epsilon, positive, ""},
    {"epsilon(x) mode for NW", " epsilon(x) mode for NW :", &NWs::epsilon_mode, nullptr, {0, 2}, ""},
    {"smooth epsilon", " smooth epsilon for NW :", &NWs::smooth_epsilon, nullptr, {0, 1}, ""},
};

// ---- graded quantities -------------------------------------------------------------------------------------------

/// Values that a quantity can have in a file.
[[nodiscard]] constexpr Limits limits_of(Quantity quantity)
{
    switch (quantity) {
        case Quantity::chi:
        case Quantity::composition:
            return any_number;
        case Quantity::Nd:
        case Quantity::Na:
        case Quantity::Nt:
        case Quantity::K_rad:
        case Quantity::c_n_auger:
        case Quantity::c_p_auger:
        case Quantity::mu_n:
        case Quantity::mu_p:
        case Quantity::v_th_n:
        case Quantity::v_th_p:
            return not_negative;
        default:
            return positive;
    }
}

// ---- defects -----------------------------------------------------------------------------------------------------

/// A quantity that stands once in a line for the whole defect.
struct DefectKey {
    std::string_view word;
    double BulkRecombinationParameters::*field;
    Limits limits;
};
using B = BulkRecombinationParameters;
inline constexpr DefectKey single_defect_keys[] = {
    {"sigma_n_opt", &B::sigma_n_opt, not_negative},   {"sigma_p_opt", &B::sigma_p_opt, not_negative},
    {"sigma_n_plus", &B::sigma_n_plus, not_negative}, {"sigma_n_zero", &B::sigma_n_zero, not_negative},
    {"sigma_p_zero", &B::sigma_p_zero, not_negative}, {"sigma_p_min", &B::sigma_p_min, not_negative},
};
/// Quantities with one value a level; tested behind the longer keys above.
struct LevelKey {
    std::string_view word;
    double BulkRecombinationParameters::*field;
    Limits limits;
    std::string_view unit;
    bool scientific;
    int width, digits;
};
inline constexpr LevelKey level_keys[] = {
    {"sigma_n", &B::sigma_n, not_negative, "[m^2]", true, 9, 3},
    {"sigma_p", &B::sigma_p, not_negative, "[m^2]", true, 9, 3},
    {"Et", &B::Et, any_number, "[eV]", false, 7, 3},
};
/// Optical capture: "optical capture of electrons" and the word, one value a level.
struct OpticalKey {
    std::string_view word;
    double OpticalCaptureProperties::*field;
};
inline constexpr OpticalKey optical_keys[] = {
    {", n", &OpticalCaptureProperties::n},
    {", m*/m0", &OpticalCaptureProperties::m_over_m0},
    {", Eeff/E0", &OpticalCaptureProperties::Eeff_over_E0},
    {", Emax (eV)", &OpticalCaptureProperties::Emax},
};
struct Carrier {
    std::string_view word;
    OpticalCaptureProperties BulkRecombinationParameters::*capture;
};
inline constexpr Carrier carriers[] = {{"electrons", &B::electrons}, {"holes", &B::holes}};

/// Metastable pair, in the order of the file; exactly one of `real` and `whole` is set.
struct MetastableKey {
    std::string_view word;
    double MetaStableDefectParameters::*real;
    int MetaStableDefectParameters::*whole;
    Limits limits;
    bool scientific;
    int width, digits;
    std::string_view unit;
};
using P = MetaStableDefectParameters;
inline constexpr MetastableKey metastable_keys[] = {
    {"DonorDefect", nullptr, &P::donor_defect, {-1, max_defects - 1}, false, 2, 0, ""},
    {"AcceptorDefect", nullptr, &P::acceptor_defect, {-1, max_defects - 1}, false, 2, 0, ""},
    {"Donor charge state", nullptr, &P::donor_charge_state, {0, 6}, false, 2, 0, ""},
    {"Phonon frequency", &P::phonon_frequency, nullptr, positive, true, 9, 3, " [Hz]"},
    {"Metastability type", nullptr, &P::type, {0, 9}, false, 2, 0, ""},
    {"Electron process", nullptr, &P::electron_process, {0, 9}, false, 2, 0, ""},
    {"Hole process", nullptr, &P::hole_process, {0, 9}, false, 2, 0, ""},
    // The line on the activation energies that follow stands here.
    {"sigma_acc_n", &P::sigma_acc_n, nullptr, not_negative, true, 9, 3, " [m^2]"},
    {"sigma_acc_p", &P::sigma_acc_p, nullptr, not_negative, true, 9, 3, " [m^2]"},
    {"sigma_don_n", &P::sigma_don_n, nullptr, not_negative, true, 9, 3, " [m^2]"},
    {"sigma_don_p", &P::sigma_don_p, nullptr, not_negative, true, 9, 3, " [m^2]"},
    {"Eact_EE", &P::Eact_EE, nullptr, any_number, false, 7, 3, " [eV]"},
    {"Eact_HC", &P::Eact_HC, nullptr, any_number, false, 7, 3, " [eV]"},
    {"Eact_EC", &P::Eact_EC, nullptr, any_number, false, 7, 3, " [eV]"},
    {"Eact_HE", &P::Eact_HE, nullptr, any_number, false, 7, 3, " [eV]"},
    {"Eact_TR", &P::Eact_TR, nullptr, any_number, false, 7, 3, " [eV]"},
};
inline constexpr std::string_view last_metastable_key_before_energies = "Hole process";
inline constexpr std::string_view given_energies_key = "UserDefined Activation Energies";
inline constexpr std::string_view initial_configuration_key = "initialacceptorconfiguration";

/// Interface defect. "N" is looked for last, because every line with n in front would be taken for it.
struct InterfaceKey {
    std::string_view word;
    double InterfaceRecombinationParameters::*field;
    Limits limits;
    bool exact = false;
};
using I = InterfaceRecombinationParameters;
inline constexpr InterfaceKey interface_sigma_keys[] = {
    {"sigma_nleft", &I::sigma_nleft, not_negative},
    {"sigma_nright", &I::sigma_nright, not_negative},
    {"sigma_pleft", &I::sigma_pleft, not_negative},
    {"sigma_pright", &I::sigma_pright, not_negative},
};
inline constexpr InterfaceKey interface_mass_keys[] = {
    {"Relative electron mass", &I::m_e, positive},
    {"Relative hole mass", &I::m_h, positive},
};
inline constexpr InterfaceKey interface_energy_keys[] = {
    {"Et", &I::Et, any_number, true},
    {"Ekar", &I::Ekar, not_negative, true},
};

}  // namespace kovin::definition_tables
