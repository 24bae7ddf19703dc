// Charge and recombination of the states at the interfaces, with their derivatives to u and v at both sides.
//
// One energy of a sheet exchanges carriers with four populations: electrons and holes on the left (L) and on the right
// (R). With D the sum of c (n + en) and c (p + ep) over the four it holds the fraction f = A/D of electrons,
//
//     A = epL cpL + epR cpR + nL cnL + nR cnR,     B = D - A
//
// and takes the particle current Nt cnL (nL (1 - f) - enL f) of electrons from the left, and so on. Written out, this
// is recombination of the electrons of side a with the holes of side b,
//
//     R_ab = cn_a cp_b (n_a p_b - en_a ep_b) = cn_a cp_b en_a ep_b (exp(Fn_a - Fp_b) - 1)
//
// and the transfer of electrons (and likewise of holes) through the states from one side to the other,
//
//     T_n = cnL cnR (enR nL - enL nR) = cnL cnR enR bnL (uL - uR)
//
// all times Nt/D. Formed in this way the currents keep their digits near equilibrium, and electrons and holes recombine
// equally often to the last bits. psi has no step at an interface, so that it drops out of the exponents.
// Source: Shockley, Read, Phys. Rev. 87 (1952) 835, extended to the carriers of two layers.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// What all energies of one interface share: the carriers beside it. Densities in N0 of their own layer.
struct InterfaceCarriers {
    double nL, nR, pL, pR;
    double bnL, bnR, bpL, bpR;             ///< n/u and p/v
    double du, dv;                         ///< u and v at the right less those at the left
    double P_LL, P_RR, P_LR, P_RL;         ///< exp(Fn - Fp) - 1: electrons of the first side, holes of the second
    double flux_per_left, flux_per_right;  ///< 1/(N0 x0): sheet density to the flux unit of either layer
};
[[nodiscard]] InterfaceCarriers carriers_at_interface(const Problem& problem, const CalculationVariables& cv,
                                                      std::size_t interface);
/// What the carriers are taken from: the points of the mesh, names as in CalculationVariables.
struct CarrierArrays {
    const double *n, *p, *bn, *bp, *Fn, *Fp, *P;
};
/// The same with the densities as variables: bn and bp may be n and p themselves.
/// @param l      last point of the left layer
/// @param du,dv  in the unit that bn and bp divide n and p by
[[nodiscard]] InterfaceCarriers carriers_at_interface(const Scale& scale, const CarrierArrays& at,
                                                      std::size_t interface, std::size_t l, double du, double dv);
/// The largest argument of an exponential.
inline constexpr double exponent_limit = 708.0;
/// exp(split) - 1 of a split of two levels, finite for any.
[[nodiscard]] double bounded_expm1(double split);

/// How the currents into one sheet answer when the densities on both sides rise alike, d/d ln nL + d/d ln nR: the sums
/// of two slopes that nearly cancel where the sheet mainly passes carriers on from one side to the other.
struct InterfaceTransferSums {
    double In_left_n = 0.0, In_right_n = 0.0;  ///< electrons
    double Ip_left_p = 0.0, Ip_right_p = 0.0;  ///< holes
};
/// Adds one energy to the sums, without that cancellation.
/// @pre bn and bp of the carriers are the densities themselves, du and dv their relative steps: slopes are to ln n, ln
/// p
void add_transfer_sums(const InterfaceEnergy& level, const InterfaceCarriers& c, InterfaceTransferSums& out);

/// How far one energy is filled, f, what is left, g = 1 - f, and the slopes of f.
struct StateFilling {
    double r;  ///< 1/D
    double f, g;
    double df_duL, df_duR, df_dvL, df_dvR;
};
[[nodiscard]] StateFilling filling_of(const InterfaceEnergy& level, const InterfaceCarriers& c);

/// Adds one energy to the terms of its interface.
void ifrdcbijdrage_een_niveau(const InterfaceEnergy& level, const InterfaceCarriers& c, InterfaceTerms& out);

/// The energies as the present state has them: with the capture by tunnelling, where there is any.
[[nodiscard]] const std::vector<InterfaceEnergy>& interface_energies(const Problem& problem,
                                                                     const CalculationVariables& cv);

/// All interface contributions of the present state into cv.terms_interface: the whole currents into the states,
/// wherever their carriers come from.
void totale_ifrdcbijdrage(const Problem& problem, CalculationVariables& cv);

}  // namespace kovin
