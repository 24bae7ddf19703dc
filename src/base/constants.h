// Constants of nature as the whole program uses them, and the bounds of a problem.
//
// The values of q, eps0 and kT are rounded on purpose: results stay comparable with curves
// that were stored with the same figures.
#pragma once

namespace kovin {

inline constexpr double elementary_charge = 1.602e-19;    ///< q [C]
inline constexpr double vacuum_permittivity = 8.854e-12;  ///< eps0 [F/m]
inline constexpr double kT_at_300K = 0.0259;              ///< kT/q at 300 K [V]
inline constexpr double hc_eV_nm = 1239.977;              ///< photon energy times wavelength [eV nm]
inline constexpr double photons_per_nm_W = 5.035e15;      ///< 1e-9/(h c): photons/(m2 s) of 1 W/m2, per nm wavelength

/// Thermal voltage kT/q [V] at T [K].
[[nodiscard]] constexpr double thermal_voltage(double T) { return T / 300.0 * kT_at_300K; }

/// Per area as laboratories tell it.
inline constexpr double nF_cm2_per_F_m2 = 1e5, S_cm2_per_S_m2 = 1e-4, ohm_cm2_per_ohm_m2 = 1e4;

/// Photons or pairs per m2 and s that a calculation takes, 1e14 suns: more is a slip, and numbers stay finite.
inline constexpr double most_photons = 1e35;

inline constexpr int max_layers = 7;
inline constexpr int max_interfaces = max_layers - 1;
inline constexpr int max_defects = 7;  ///< bulk defects of one layer
inline constexpr int max_levels = 4;   ///< levels of one bulk defect
inline constexpr int max_interface_defects = 3;
inline constexpr int max_metastable = 2;         ///< metastable transitions of one layer
inline constexpr int max_absorption_models = 6;  ///< of one pure material
inline constexpr int max_energies = 100;         ///< discrete energies of a distributed defect
inline constexpr int max_mesh_points = 1000;

inline constexpr int MAX_NUMBER_OF_INPUT_POINTS = 2500;  ///< rows of a two-column input file
inline constexpr int max_generation_rows = 2000;         ///< rows read from a generation file
inline constexpr int max_generation_points = 1000;       ///< rows of a generation file that are accepted
inline constexpr int MAX_NUM_CALCULATION_STEPS = 2001;   ///< points of a sweep

}  // namespace kovin
