// `parameterset3`: the cell at one temperature in solver units, and the scales that make them.
//
// Lengths in x0, densities in N0[layer], velocities in v0, diffusion constants in D0, energies in eV, potentials in
// kT/q. The arrays OnMesh hold one value a mesh point and are refilled by Full_x_Dependence whenever the mesh changes.
#pragma once

#include "base/constants.h"
#include "device/cell.h"
#include "device/numerical_settings.h"
#include "device/profile_points.h"
#include "device/tunnel_places.h"

#include <array>
#include <vector>

namespace kovin {

/// `schaal`: scales of the normalisation.
struct Scale {
    double x0 = 1.0;                          ///< total thickness [m]
    double D0 = 1.0;                          ///< reference diffusion constant [m2/s]
    double t0 = 1.0;                          ///< x0^2/D0 [s]
    double v0 = 1.0;                          ///< D0/x0 [m/s]
    std::array<double, max_layers> N0{};      ///< density of a layer [m^-3]
    std::array<double, max_layers> sigma0{};  ///< 1/(x0 N0), cross section of a layer [m2]
    std::array<double, max_layers> Lambda{};  ///< squared Debye length of a layer in x0^2
    /// Current density [A/m2] of one normalised flux in layer j.
    [[nodiscard]] double current(int j) const { return N0[static_cast<std::size_t>(j)] * D0 * elementary_charge / x0; }
};

/// Quantities at the mesh points, N values each.
struct OnMesh {
    std::vector<double> Eg, chi;       ///< [eV]
    std::vector<double> eps;           ///< relative
    std::vector<double> Dn, Dp;        ///< [D0]
    std::vector<double> Nc, Nv;        ///< at temperature [N0]
    std::vector<double> vth_n, vth_p;  ///< at temperature [v0]
    std::vector<double> K_rad;         ///< [D0/(x0^2 N0)]
    std::vector<double> Cn, Cp;        ///< Auger [D0/(x0^2 N0^2)]
    std::vector<double> m_e, m_h;
    std::vector<double> Na, Nd, doping;  ///< doping = Nd - Na [N0]
    std::vector<double> Wn, Wp;          ///< n = Wn exp(psi) exp(Fn), p = Wp exp(-psi) exp(-Fp)
    std::vector<double> Gn, Gp;          ///< band terms of the Scharfetter-Gummel arguments
};

struct CalculationParameters {
    double T = 300.0;        ///< [K]
    double kT = kT_at_300K;  ///< [eV] and [V]
    int layers = 0;
    double phi_left = 0.0, phi_right = 0.0;                      ///< contact work functions [eV]
    std::array<double, max_layers> d{};                          ///< thickness [x0]
    std::array<double, max_interfaces> dEc{}, dEv{};             ///< band steps at the interfaces [eV]
    std::array<double, max_layers> debye_left{}, debye_right{};  ///< [x0]
    std::array<double, max_layers> ni_left{}, ni_right{};        ///< [N0]
    std::array<int, max_layers> sign_left{}, sign_right{};       ///< doping sign: -1 n, +1 p, 0 none
    std::array<LayerParameters, max_layers> layer;         ///< profiles and levels; see scaling in parameterset1_to_3
    std::array<ProfilePoints, max_layers> profile_points;  ///< where the graded quantities of a layer want points
    std::array<std::array<InterfaceRecombinationParameters, max_interface_defects>, max_interfaces> interface_defects;
    std::array<int, max_interfaces> interface_defect_count{};
    std::array<double, max_interfaces> vn_if{}, vp_if{};                  ///< thermionic velocities [v0]
    double Sn_left = 0.0, Sp_left = 0.0, Sn_right = 0.0, Sp_right = 0.0;  ///< contact velocities [v0]
    TunnelPlaces tunnel;
    ConvergenceParameters convergence;
    Scale scale;
    OnMesh on;
};

}  // namespace kovin
