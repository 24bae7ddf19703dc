// One complete numerical state of the device at one bias.
//
// The unknowns are psi and the two quasi-Fermi levels, all in kT/q:
//
//     n = Wn exp(psi) exp(Fn),   p = Wp exp(-psi) exp(-Fp)          in units of N0 of the layer
//
// The equations are written in the Slotboom variables exp(Fn) and exp(-Fp). Their differences are formed from the
// differences of Fn and Fp, so that no digits are lost where a level hardly moves or where the variables are huge.
// psi[0] = 0 at the left contact; V is the voltage of the left contact against the right one.
#pragma once

#include "device/mesh.h"
#include "solver/interface_energy.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace kovin {

/// Charge and recombination at every mesh point with their derivatives to psi, u = exp(Fn) and v = exp(-Fp).
struct DcTerms {
    std::vector<double> rho, drho_dpsi, drho_du, drho_dv;  ///< defect charge [N0 of the layer]
    std::vector<double> rec, drec_dpsi, drec_du, drec_dv;  ///< net recombination [D0 N0/x0^2]
    void resize(std::size_t n)
    {
        for (auto* a : {&rho, &drho_dpsi, &drho_du, &drho_dv, &rec, &drec_dpsi, &drec_du, &drec_dv}) a->assign(n, 0.0);
    }
    void clear()
    {
        for (auto* a : {&rho, &drho_dpsi, &drho_du, &drho_dv, &rec, &drec_dpsi, &drec_du, &drec_dv})
            std::fill(a->begin(), a->end(), 0.0);
    }
};

/// States at one interface: their charge, the currents of carriers they take from the left and the right layer, and the
/// derivatives of all of these to u and v at both sides. Currents in the flux unit D0 N0/x0 of the layer on their side.
/// psi acts through the densities alone: d/dpsi of one side is u d/du - v d/dv of that side.
struct InterfaceTerms {
    double rho_if = 0.0;        ///< sheet charge [C/m2]
    double drho_if_dpsi = 0.0;  ///< with psi of both sides moving together
    double drho_if_du_left = 0.0, drho_if_du_right = 0.0, drho_if_dv_left = 0.0, drho_if_dv_right = 0.0;
    double In_left = 0.0, In_right = 0.0;  ///< electrons
    double Ip_left = 0.0, Ip_right = 0.0;  ///< holes
    double dIn_left_du_left = 0.0, dIn_left_du_right = 0.0, dIn_left_dv_left = 0.0, dIn_left_dv_right = 0.0;
    double dIn_right_du_left = 0.0, dIn_right_du_right = 0.0, dIn_right_dv_left = 0.0, dIn_right_dv_right = 0.0;
    double dIp_left_du_left = 0.0, dIp_left_du_right = 0.0, dIp_left_dv_left = 0.0, dIp_left_dv_right = 0.0;
    double dIp_right_du_left = 0.0, dIp_right_du_right = 0.0, dIp_right_dv_left = 0.0, dIp_right_dv_right = 0.0;
};

/// States at interfaces that carriers reach by tunnelling as well, see tunnel_states; empty without. One element for
/// each discrete energy of all interfaces, in their order.
struct TunnelStates {
    /// A mean of u or v over the points of paths against its value at b. Close to that the excess has its digits, far
    /// below it the ratio, a sum of positive parts.
    struct Mean {
        double excess = 0.0, ratio = 1.0;  ///< ratio: 1 + excess, formed where that is low
        [[nodiscard]] bool is_low() const { return excess < -0.5; }
        [[nodiscard]] double over_b() const { return is_low() ? ratio : 1.0 + excess; }
        [[nodiscard]] double log_over_b() const { return is_low() ? std::log(ratio) : std::log1p(excess); }
    };
    /// Those of an energy for both carriers and sides.
    struct Sides {
        Mean nL, nR, pL, pR;
    };
    /// From a point to the states.
    struct Path {
        std::size_t point;
        double share;  ///< of all that the states capture from their side
        double row;    ///< what one unit of current does to the row of the point
    };
    /// Energies, one after the other, that a carrier reaches from one side by the same paths.
    struct Group {
        bool right;             ///< the side
        std::size_t b, beyond;  ///< points at the interface: on this side, on the other one
        std::size_t first_energy, end_energy;
        std::size_t first_path, end_path;  ///< the first one is that of b, what ends there by tunnelling included
        std::size_t largest;               ///< path of the largest share
        double gain;                       ///< gamma
        double row_beyond;                 ///< what one unit of current does to the row of `beyond`
        double N0;                         ///< of the side [m^-3]
        Mean mean;                         ///< of u or v over the paths
    };
    struct Carriers {
        std::vector<Group> groups;
        std::vector<Path> paths;
        std::vector<std::array<int, 2>> group_of;  ///< of each energy, left and right; -1: reached from b alone
    };
    /// What one unit of u or v more at all paths adds to the captured current, and its derivatives to the means.
    struct Supply {
        double K = 0.0, dK_dleft = 0.0, dK_dright = 0.0;
    };
    Carriers n, p;
    std::vector<InterfaceEnergy> energies;        ///< capture coefficients with tunnelling: c (1 + gamma)
    std::vector<Sides> means;                     ///< of the group of each energy
    std::vector<InterfaceTerms> terms;            ///< of each energy alone, to the means of u and v
    std::vector<std::array<Supply, 4>> supplies;  ///< nL, nR, pL, pR
    void clear() { *this = {}; }
};

/// Current densities at the mesh points [mA/cm2], positive from left to right.
struct CurrentProfile {
    std::vector<double> j_n, j_p, j_tot;
    std::vector<double> jn_tunnel, jp_tunnel;  ///< part of j_tot alone; empty without tunnelling
    std::vector<double> sorted;                ///< work space of the median
};

/// Currents at the two contacts [mA/cm2], positive from left to right. They lie half an interval further out than the
/// outermost values of the profile: under strongly absorbed light the generation between is what the balance of
/// recombination, generation and current would miss.
struct ContactCurrents {
    double j_n_left = 0.0, j_p_left = 0.0, j_n_right = 0.0, j_p_right = 0.0;
};

/// All arrays have one value a mesh point; a quantity of the interval (i - 1, i) stands at i.
struct CalculationVariables {
    Mesh mesh;
    std::vector<double> psi, Fn, Fp;      ///< [kT/q], [kT], [kT]
    std::vector<double> epsi, empsi;      ///< exp(psi), exp(-psi)
    std::vector<double> bn, bp;           ///< Wn exp(psi), Wp exp(-psi): n/u and p/v
    std::vector<double> expFn, expmFp;    ///< u = exp(Fn), v = exp(-Fp)
    std::vector<double> n, p;             ///< carrier densities [N0 of the layer]
    std::vector<double> du, dv;           ///< u[i] - u[i-1], v[i] - v[i-1], without cancellation; 0 at i = 0
    std::vector<double> P;                ///< exp(Fn - Fp) - 1
    std::vector<double> Bn_plus, Bn_min;  ///< Bern of +-((Gn + psi)[i] - (Gn + psi)[i-1]); 0 at i = 0
    std::vector<double> Bp_plus, Bp_min;  ///< the same with Gp
    DcTerms terms_total;
    std::vector<double> jn_tunnel, jp_tunnel;  ///< of the interval (i, i + 1) [mA/cm2]; empty without tunnelling
    ContactCurrents contact_tunnel;            ///< from the metals; 0 without tunnelling
    std::array<InterfaceTerms, max_interfaces> terms_interface;  ///< 0 where an interface has no states
    TunnelStates tunnel_states;
    double V = 0.0;                                                      ///< [V]
    double V_kT = 0.0;                                                   ///< V/kT
    double max_delta_psi = 0.0, max_delta_Fn = 0.0, max_delta_Fp = 0.0;  ///< last updates [kT]
    double J_median = 0.0;                                               ///< total current density [mA/cm2]
    double J_spread = 0.0;                                               ///< largest deviation from it along x [mA/cm2]
    double J_error = 0.0;  ///< difference between J and the second best estimate of it; NaN where not known [mA/cm2]
    double J_noise = 0.0;  ///< rounding of J; fast route only [mA/cm2]
    bool noise_limited = false;             ///< rounding moves the state by more than the tolerance
    bool J_constant = false;                ///< the spread is within the tolerance
    int iterations = 0;                     ///< outer passes of the last solve; -1 marks a failed state
    int its_psi = 0, its_u = 0, its_v = 0;  ///< inner iterations of the last pass

    /// Sizes all arrays for the mesh; zero state.
    void resize();
    [[nodiscard]] bool failed() const { return iterations == -1; }
};

}  // namespace kovin
