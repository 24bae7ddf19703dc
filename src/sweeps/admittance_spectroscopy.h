// Admittance spectroscopy: densities of defect states from a C-f curve, as an experimenter derives them.
//
// A level at the depth Et answers below the frequency at which it emits, w = 2 nu exp(-Et/kT); its capacitance is lost
// above. So the frequency is an energy, Et(w) = kT ln(2 nu/w), and -dC/dln(w) is a density at that energy.
// Source: Walter, Herberholz, Mueller and Schock, J. Appl. Phys. 80 (1996) 4411.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"
#include "results/result_list.h"
#include "sweeps/effective_permittivity.h"

#include <optional>
#include <span>
#include <string>

namespace kovin {

/// Band model that turns -dC/dln(w) into a density of states.
enum class AsModel : int {
    uniform_bending = 0,    ///< Nt = A S/(q W)
    linear_bands = 1,       ///< p-i-n junction: Nt = S A^2/(q W (Et + Eref - Ebar))
    parabolic_bands = 2,    ///< p-n+ junction:  Nt = 2 S A^1.5/(q W sqrt(Et + Eref - Ebar))
    capacitance_slope = 3,  ///< no model: Nt holds -dC/dln(w)
};

struct AsSettings {
    double nu0 = 1e12;   ///< attempt-to-escape frequency at 300 K [1/s]
    double Eref = 1.0;   ///< reference energy: the band bending at zero bias [eV]
    double f_ref = 1e6;  ///< the depletion width is taken from C at this frequency [Hz]
    AsModel model = AsModel::uniform_bending;
    double Ebar = 0.0;         ///< of the models 1 and 2: the gap less the bending that fills the level [eV]
    bool band_offset = false;  ///< Eref = Eg_ref + kT ln(ratio)
    double Eg_ref = 1.0, ratio = 1.0;
    bool two_levels = false;            ///< two attempt frequencies: nu0_b for depths from E_switch on
    double nu0_a = 1e12, nu0_b = 1e12;  ///< at 300 K [1/s]
    double E_switch = 0.0;              ///< [eV]
};

/// What the cell tells about the defaults, beside nu0 and Eref themselves.
struct AsFromCell {
    /// The layer's partner: a layer of the other type (1), a layer of its own type (-1), the left (-2) or right (2)
    /// contact.
    int junction = 0;
    double ratio = 0.0;       ///< r, doping over density of states, multiplied for both partners
    double distance = 0.0;    ///< -kT ln r [eV], 0 unless r > 0
    double d300 = 0.0;        ///< -0.0259 (10/3) ln r
    double nu0_per_K2 = 0.0;  ///< 2 nu0/300^2 [1/(s K2)]
    bool has_defect = false;  ///< the chosen defect exists; without it nu0 stays as it was
};

/// Defaults from the last calculation: nu0 = sigma v_th N of the chosen carrier and defect, as it is at 300 K, Eref the
/// band bending of the junction, Ebar the gap there. Eref is left alone if `settings` has the band offset.
/// @param mesh  the one of set3's arrays
/// @return 0, or -1 if there is no calculation or NW names no layer of it: nothing is changed
int ASDataFromCellDefinition(const CalculationParameters& set3, const Mesh& mesh, const MottSchottkySettings& NW,
                             AsSettings& settings, AsFromCell& found);

/// The curve that is analysed.
struct AsInput {
    double T = 300.0;                            ///< [K]
    double V = 0.0;                              ///< bias, forward positive [V]
    std::span<const double> frequency;           ///< [Hz], rising or falling
    std::span<const double> capacitance_nF_cm2;  ///< as many
};

/// Analyses one curve, calculated or measured. Window and degrees of the derivative are those of NW; a curve that is
/// no longer than the window has the derivative 0. A density without a finite value is 0.
/// @param table  SetNW_Epsilon_x; may be empty with a constant permittivity
/// @return 0, or -1 if there is no point or one without a positive frequency: `out` is unchanged
int Calculate_AS_single(const AsInput& curve, const AsSettings& settings, const MottSchottkySettings& NW,
                        const PermittivityTable& table, AsCurve& out);

/// Analyses all elements of the list that hold a C-f curve. @return their number
/// @param forward  sign that the internal voltage of a forward bias has: 1 where p is at the left, -1 at the right
int Calculate_AS(std::span<DataListElement> results, const AsSettings& settings, const MottSchottkySettings& NW,
                 const PermittivityTable& table, int forward = 1);

/// Index of the largest -dC/dln(w) between the ends of the spectrum of an element: the level. Empty if it falls or
/// rises throughout, or is below 1e-3 of C: the foot of a step elsewhere. Empty too where the series resistance makes
/// a quarter of it or more: C gives way to Rs there, at w = 1/(Rs C).
[[nodiscard]] std::optional<std::size_t> level_peak(const DataListElement& element);

/// Whether the largest -dC/dln(w) between the ends is the work of the series resistance.
[[nodiscard]] bool peak_is_of_Rs(const DataListElement& element);

/// The settings in one line, for the head of the result file.
[[nodiscard]] std::string settings_line(const AsSettings& settings);

}  // namespace kovin
