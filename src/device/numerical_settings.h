// Numerical settings that travel with a cell. Keywords, defaults and rules: definition_tables, docs/numerics.md.
#pragma once

#include <algorithm>
#include <array>
#include <utility>

namespace kovin {

/// Which equations are solved together. `gummel_then_coupled` goes over at gummel_to_coupled_iteration.
enum CouplingScheme { decoupled = 11, coupled_uv = 12, fully_coupled = 13, gummel_then_coupled = 14 };
[[nodiscard]] constexpr bool is_coupled(int scheme) { return scheme >= coupled_uv && scheme <= gummel_then_coupled; }

/// Way to the solution of the discrete equations, which are the same for both: `fast` solves all of them together in
/// the densities, `classic` has the coupling schemes.
enum class Route { fast, classic };

struct ConvergenceParameters {
    double clamp_psi = 0.5, clamp_p = 0.5, clamp_n = 0.5;                         ///< [kT]
    double clamp_start = 10.0;                                                    ///< clamp at iteration 0 [kT]
    int maxiter = 1000;                                                           ///< outer iterations
    double termination_psi = 1e-3, termination_Fn = 1e-3, termination_Fp = 1e-3;  ///< [kT]
    double termination_Ft = 1e-9;
    double current_abs_tol = 1e-6;  ///< [A/m2]
    double current_rel_tol = 1e-5;
    double uniform_abs_tol = 1e-15, uniform_rel_tol = 1e-6;  ///< spread of the current along x
    int interfacial_half_cells = 1;  ///< charge and recombination in the half cells at contacts and interfaces
    double termination_Meta_full = 1e-3;
    int maxmetaiter_full = 250;
    int usemetaclamping = 0;
    double clamp_meta = 0.01;
    int shockley_queisser = 0;      ///< 0 never, 1 if necessary, 2 always
    int defectdiscretisations = 7;  ///< 1 to 100
    int TunnelMassChoice = 0;
    double widthtail = 7.0, widthgauss = 6.0;  ///< in characteristic energies
    int tunnel_paths = 2;                      ///< 0 all, 1 none, 2 individual
    int TunnelBtoB_allowed = 0, Tunneliface_allowed = 0, Tunnelintraband_allowed = 0, Tunnelcontact_allowed = 0;
    int gummel_to_coupled_iteration = 10;
    int maxiter_psi_equilibrium = 1000, maxiter_psi = 1000, maxiter_n = 1000, maxiter_p = 1000;
    int maxiter_Ft = 50;
    Route route = Route::fast;  ///< a setting of the program; no file holds it
    int coupling_scheme = 11;   ///< see CouplingScheme; an unknown number acts as 11
    int clamp_mode = 1;         ///< 0 none; 1, 3 scale; 2 clip; 4 soft
    int clamp_ramp_iterations = 10;
    int on_limit_psi = 2, on_limit_n = 2, on_limit_p = 2;
    int use_sparse_psi = 2, use_sparse_n = 1, use_sparse_p = 1;
    double relax_psi = 1.0, relax_n = 1.0, relax_p = 1.0;
    int backtracking = 0, backtrack_maxsteps = 20;
    double backtrack_alpha = 1e-4, backtrack_lambda_min = 1e-3, backtrack_shrink_min = 0.2, backtrack_shrink_max = 0.7;
    double an_ap_alpha = 1.0, an_ap_beta = 1.0, an_ap_gamma = 1.0;
    int an_ap_mode = 0;
    int allow_references = 1;       ///< the user may change the voltage and current references
    int flatband_with_defects = 1;  ///< defect charge takes part in the flat-band condition
    int same_N0_all_layers = 0;
    int versieschatting = 0;              ///< predictor from one voltage to the next, see estimates; no file holds it
    double tunnel_barrier_minimum = 2.0;  ///< [kT]
    int recalculate_mesh = 1;
    int mesh_changes = 10;  ///< most changes of the mesh per iteration step
    double mesh_ratio_max = 1.6, mesh_ratio_min = 1.05;
    double generation_limit = 1.0, recombination_limit = 1e-3;  ///< [uA/cm2]
    int include_generation_mesh = 1;

    bool operator==(const ConvergenceParameters&) const = default;
};

/// Keeps the two ratios of the adaptive mesh sensible together: exchanged if the largest is below the smallest, then
/// the largest cut to [1.1, 3], the smallest to [1, 1.3].
inline void GovernMaxMinMesh(ConvergenceParameters& settings)
{
    if (settings.mesh_ratio_max < settings.mesh_ratio_min) std::swap(settings.mesh_ratio_max, settings.mesh_ratio_min);
    settings.mesh_ratio_max = std::clamp(settings.mesh_ratio_max, 1.1, 3.0);
    settings.mesh_ratio_min = std::clamp(settings.mesh_ratio_min, 1.0, 1.3);
}

/// Sets the terminations of psi, Fn and Fp [kT].
inline void set_terminations(ConvergenceParameters& c, double termination)
{
    c.termination_psi = c.termination_Fn = c.termination_Fp = termination;
}

/// Settings of the Mott-Schottky analysis (`NW`).
struct MottSchottkySettings {
    int side = 0;    ///< -1 left, +1 right
    int layer = -1;  ///< from 0; -1 none
    int points = 3;  ///< 3 or 5
    int order_middle = 2, order_edges = 1;
    int defect = 0, level = 0, eh_type = 1;
    double constant_epsilon = 10.0;
    int epsilon_mode = 0, smooth_epsilon = 0;

    bool operator==(const MottSchottkySettings&) const = default;
};

/// Settings of the quantum-efficiency calculation.
struct QeSettings {
    int mode = 1;           ///< what the probe holds constant: 0 its power, 1 its photons
    double power = 1.0;     ///< [W/m2]
    double photons = 3e22;  ///< [1/(m2 s)]

    bool operator==(const QeSettings&) const = default;
};

}  // namespace kovin
