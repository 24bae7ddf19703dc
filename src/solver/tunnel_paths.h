// Tunnelling within a band: between a contact and the semiconductor, through the spike of a band at an interface,
// through a barrier inside the stack and from interface to interface; and from band to band.
//
// Every energy slice of such a current ends between two points, half of it at each: paths (tunnel_work). The potential
// does not move while a continuity equation is solved: paths are found once for it, and each evaluation takes their
// sums with the present u or v alone. The flux of a path is that of the thermionic emission over its barrier at the
// energy of its slice, times the transmission:
//
//     strength = n_e S (E1 - E2) exp(E_top - E - T) supply_limit(X[source] exp(-E), X[target] exp(-E))
//
// with n_e = Wn exp(psi) and the velocity S at the top of the barrier, the mean of two energies E of the slice. The
// last factor (tunnel_walk) takes the X that the paths are found with: it stands still with them, the sums stay linear
// in X, and the state that everything has settled at has the one that belongs to it. Each row of the continuity
// equations takes what arrives there or leaves, in its own scale; at equilibrium all fluxes are exactly 0.
// Source: Yang, East, Haddad, Solid-State Electron. 36 (1993) 321; Ieong et al., IEDM (1998) 733.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"
#include "solver/state.h"

#include <span>

namespace kovin {

/// With tunnel paths the equations are solved one after the other, each with the elements of its paths: classic route,
/// scheme 11, whatever is set. @return something else was set
bool take_the_route_of_tunnelling(CalculationParameters& set3);

/// The paths of one carrier in the present potential; those from band to band come with the electrons.
void find_tunnel_paths(const Problem& problem, const CalculationVariables& cv, Carrier carrier, TunnelWork& work);

/// What drives a path from band to band, and its derivatives.
struct BandToBandOccupation {
    double net;         ///< f(level - Fn[from]) - f(level - Fp[to]), exact where the levels are nearly equal
    double per_Fn;      ///< d net/dFn
    double per_Fp;      ///< -d net/dFp
    double difference;  ///< per_Fn - per_Fp
};
[[nodiscard]] BandToBandOccupation occupation_of(const BandToBandPath& path, const CalculationVariables& cv);

/// Adds the paths to the residual of their carrier.
void add_tunnel_residue(const TunnelWork& work, const CalculationVariables& cv, Carrier carrier, std::span<double> res);
/// Adds their derivatives: to the band, and into work.outside what does not lie in it.
void add_tunnel_jacobian(TunnelWork& work, const CalculationVariables& cv, Carrier carrier, const Tridiagonal& jac);

/// Sums of the rows of the Jacobian with these into work.row_sums, elements outside the band included; formed from the
/// elements they would drown in rounding. Empty where there are paths into states, which hang on means.
void find_row_sums(const Problem& problem, const CalculationVariables& cv, Carrier carrier, TunnelWork& work);
/// Leaves the band alone of that Jacobian.
void drop_elements_outside(TunnelWork& work);

/// Tunnel currents of the intervals into cv.jn_tunnel and cv.jp_tunnel.
/// @pre the paths of both carriers are those of the present potential
void store_tunnel_currents(const Problem& problem, TunnelWork& work, CalculationVariables& cv);

}  // namespace kovin
