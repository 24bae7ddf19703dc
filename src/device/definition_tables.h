// Keywords of a definition file: the same rows serve the reader and the two writers.
//
// A row has the keyword as the line starts with it, the field, the numbers that are accepted, and the text that the
// writers put behind the value. Rows that differ between the writers say so in the writer.
#pragma once

#include "device/definition.h"
#include "device/keyed_rows.h"

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

/// Switches of the block that are written apart from the rows above.
inline constexpr KeyRow<C> switch_keys[] = {
    {.word = "recalculate mesh",
     .whole = &C::recalculate_mesh,
     .limits = from_0_to_1,
     .unit = " (0: fixed mesh, 1: adaptive mesh)"},
    {.word = "Include charge in defects in the calculation of the flatband condition",
     .whole = &C::flatband_with_defects,
     .limits = from_0_to_1,
     .unit = "\t(1=yes, 0=no)"},
};
inline constexpr KeyRow<QeSettings> quantum_efficiency_keys[] = {
    {.word = "QE calculation mode",
     .whole = &QeSettings::mode,
     .limits = from_0_to_1,
     .unit = " (0: cst. # of photons, 1: cst. incident power)",
     .colon = ": "},
    {.word = "number of photons",
     .real = &QeSettings::photons,
     .limits = positive,
     .width = 9,
     .digits = 2,
     .scientific = true},
    {.word = "incident power",
     .real = &QeSettings::power,
     .limits = positive,
     .width = 9,
     .digits = 2,
     .scientific = true},
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

// ---- contacts, working point ----------------------------------------------------------------------------------------

// In the order of the file. Flat bands and work function exclude each other; the lines behind the masses are written
// with a filter only.
using K = ContactParameters;
inline constexpr KeyRow<K> contact_keys[] = {
    {.word = "flatband",
     .flag = &K::flatband,
     .width = 1,
     .unit = " (1: flatband contact imposed; 0: fixed Phi_m value)"},
    {.word = "recalculate",
     .flag = &K::recalculate,
     .width = 1,
     .unit = " (1 = do or 0 = do not recalculate phi_m to set flatband in each batch step)"},
    {.word = "Fi_m", .real = &K::Fi_m, .width = 10, .digits = 6, .unit = " [eV]"},
    {.word = "Sn",
     .real = &K::Sn,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m/s]"},
    {.word = "Sp",
     .real = &K::Sp,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m/s]"},
    {.word = "Tunneling to contact", .flag = &K::tunneling, .width = 1, .colon = ": "},
    {.word = "Relative electron mass", .real = &K::m_e, .limits = positive, .scientific = true},
    {.word = "Relative hole mass", .real = &K::m_h, .limits = positive, .scientific = true},
};
inline constexpr KeyRow<K> filter_keys[] = {
    {.word = "wavelength independent", .flag = &K::filter_constant, .width = 1, .colon = ": "},
    {.word = "filter value",
     .real = &K::filter_value,
     .limits = a_fraction,
     .width = 14,
     .digits = 8,
     .scientific = true,
     .colon = ": "},
};

using Point = DefinitionWorkPoint;
inline constexpr KeyRow<Point> front_keys[] = {
    {.word = "internal Rfront", .real = &Point::Rfront, .limits = a_fraction, .width = 12, .digits = 8},
    {.word = "internal Tfront",
     .real = &Point::Tfront,
     .limits = a_fraction,
     .width = 11,
     .digits = 4,
     .scientific = true},
};
/// Is T one minus R, to the digits with which it is written?
[[nodiscard]] inline bool is_transmission_of(double R, double T) { return std::abs(T - (1.0 - R)) <= 0.5001e-4 * T; }
// Each switch is followed by its value; both are written where it is on.
inline constexpr KeyRow<Point> resistance_keys[] = {
    {.word = "Series resistance", .flag = &Point::RsPresent, .unit = " (1: Rs enabled; 0: Rs disabled)"},
    {.word = "Rs [Ohm.m2]", .real = &Point::Rs, .limits = not_negative, .width = 14, .digits = 6, .scientific = true},
    {.word = "Shunt conductance", .flag = &Point::GshPresent, .unit = " (1: Gsh enabled; 0: Gsh disabled)"},
    {.word = "Gsh [S/m2]", .real = &Point::Gsh, .limits = not_negative, .width = 14, .digits = 6, .scientific = true},
};
inline constexpr KeyRow<CellParameters> reference_keys[] = {
    {.word = "voltage V applied to",
     .whole = &CellParameters::voltage_reference,
     .limits = {-1, 1},
     .unit = " (+1: right contact; -1: left contact)"},
    {.word = "cell reference system",
     .whole = &CellParameters::reference_system,
     .limits = {0, 1},
     .unit = " (1: as a consumer (consumed power = +VJ; 0: as a generator (generated power = +VJ) )"},
};

/// Without this line a layer is a physical one; it is written for others alone.
inline constexpr KeyRow<LayerParameters> functional_key = {
    .word = "functional type",
    .whole = &LayerParameters::functional_type,
    .limits = {0, last_functional_type},
    .unit = " (0: physical layer; 2: interlayer, electrical; 3: interlayer, electro-optical)"};

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

/// Quantities that stand once in a line for the whole defect; of old files, read and not written.
using B = BulkRecombinationParameters;
inline constexpr KeyRow<B> single_defect_keys[] = {
    {.word = "sigma_n_opt", .real = &B::sigma_n_opt, .limits = not_negative},
    {.word = "sigma_p_opt", .real = &B::sigma_p_opt, .limits = not_negative},
    {.word = "sigma_n_plus", .real = &B::sigma_n_plus, .limits = not_negative},
    {.word = "sigma_n_zero", .real = &B::sigma_n_zero, .limits = not_negative},
    {.word = "sigma_p_zero", .real = &B::sigma_p_zero, .limits = not_negative},
    {.word = "sigma_p_min", .real = &B::sigma_p_min, .limits = not_negative},
    {.word = "Ecor", .real = &B::Ecor, .exact = true},
};
/// The same, written; the correlation energy where there is one.
inline constexpr KeyRow<B> defect_energy_keys[] = {
    {.word = "Ekar", .real = &B::Ekar, .limits = not_negative, .width = 7, .digits = 4, .unit = " [eV]", .exact = true},
    {.word = "Correlation energy", .real = &B::Ecor, .width = 7, .digits = 3, .unit = " [eV]"},
};
/// Density in the form of the oldest files, behind a line on its "profile"; the densities' unit is that of their
/// distribution.
inline constexpr KeyRow<B> old_density_keys[] = {
    {.word = "Lkar", .real = &B::Lkar, .limits = positive, .width = 9, .digits = 3, .scientific = true, .unit = " [m]"},
    {.word = "Nleft", .real = &B::Nleft, .limits = not_negative, .width = 9, .digits = 3, .scientific = true},
    {.word = "Nright", .real = &B::Nright, .limits = not_negative, .width = 9, .digits = 3, .scientific = true},
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

/// Metastable pair, in the order of the file.
using P = MetaStableDefectParameters;
inline constexpr KeyRow<P> metastable_keys[] = {
    {.word = "DonorDefect", .whole = &P::donor_defect, .limits = {-1, max_defects - 1}},
    {.word = "AcceptorDefect", .whole = &P::acceptor_defect, .limits = {-1, max_defects - 1}},
    {.word = "Donor charge state", .whole = &P::donor_charge_state, .limits = {0, 6}},
    {.word = "Phonon frequency",
     .real = &P::phonon_frequency,
     .limits = positive,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [Hz]"},
    {.word = "Metastability type", .whole = &P::type, .limits = {0, 9}},
    {.word = "Electron process", .whole = &P::electron_process, .limits = {0, 9}},
    {.word = "Hole process", .whole = &P::hole_process, .limits = {0, 9}},
    // The line on the activation energies that follow stands here.
    {.word = "sigma_acc_n",
     .real = &P::sigma_acc_n,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_acc_p",
     .real = &P::sigma_acc_p,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_don_n",
     .real = &P::sigma_don_n,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_don_p",
     .real = &P::sigma_don_p,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "Eact_EE", .real = &P::Eact_EE, .width = 7, .digits = 3, .unit = " [eV]"},
    {.word = "Eact_HC", .real = &P::Eact_HC, .width = 7, .digits = 3, .unit = " [eV]"},
    {.word = "Eact_EC", .real = &P::Eact_EC, .width = 7, .digits = 3, .unit = " [eV]"},
    {.word = "Eact_HE", .real = &P::Eact_HE, .width = 7, .digits = 3, .unit = " [eV]"},
    {.word = "Eact_TR", .real = &P::Eact_TR, .width = 7, .digits = 3, .unit = " [eV]"},
};
inline constexpr std::string_view last_metastable_key_before_energies = "Hole process";
inline constexpr std::string_view given_energies_key = "UserDefined Activation Energies";
inline constexpr std::string_view initial_configuration_key = "initialacceptorconfiguration";

/// Interfaces; in the plain form of a file masses are shorter.
using F = InterfaceParameters;
inline constexpr std::string_view tunneling_unit = " (0: no tunneling, 1: with tunneling)";
inline constexpr KeyRow<F> interface_keys[] = {
    {.word = "Intraband tunneling", .flag = &F::tunneling, .width = 1, .unit = tunneling_unit},
    {.word = "Relative electron mass",
     .real = &F::m_e,
     .limits = positive,
     .width = 9,
     .digits = 2,
     .scientific = true},
    {.word = "Relative hole mass", .real = &F::m_h, .limits = positive, .width = 9, .digits = 2, .scientific = true},
};
using I = InterfaceRecombinationParameters;
inline constexpr KeyRow<I> interface_capture_keys[] = {
    {.word = "sigma_nleft",
     .real = &I::sigma_nleft,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_nright",
     .real = &I::sigma_nright,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_pleft",
     .real = &I::sigma_pleft,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "sigma_pright",
     .real = &I::sigma_pright,
     .limits = not_negative,
     .width = 9,
     .digits = 3,
     .scientific = true,
     .unit = " [m^2]"},
    {.word = "Tunneling to trap", .flag = &I::tunneling, .width = 1, .unit = tunneling_unit, .colon = ": "},
    {.word = "Relative electron mass",
     .real = &I::m_e,
     .limits = positive,
     .width = 9,
     .digits = 2,
     .scientific = true},
    {.word = "Relative hole mass", .real = &I::m_h, .limits = positive, .width = 9, .digits = 2, .scientific = true},
};
/// Behind the lines on distribution and reference.
inline constexpr KeyRow<I> interface_energy_keys[] = {
    {.word = "Et", .real = &I::Et, .width = 5, .digits = 2, .unit = " [eV]", .exact = true},
    {.word = "Ekar", .real = &I::Ekar, .limits = not_negative, .width = 5, .digits = 2, .unit = " [eV]", .exact = true},
};
/// Looked for last, because every line with n in front would be taken for it; the unit is that of the distribution.
inline constexpr KeyRow<I> interface_density_key[] = {
    {.word = "N", .real = &I::N, .limits = not_negative, .width = 9, .digits = 3, .scientific = true},
};

}  // namespace kovin::definition_tables
