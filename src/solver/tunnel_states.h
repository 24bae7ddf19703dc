// Tunnelling into the states at an interface. Beside the carriers at the interface itself, a state captures those of
// the flank at its side, out of all energies of the band that lie above the state (for holes below it):
//
//     capture = c (1 + gamma) b X,   gamma = sum of w,   w = (E1 - E2) exp(E_b - E - T),   E = (E1 + E2)/2
//
// with E_b and b = n/u (p/v) at the point b beside the interface, one slice w for each step of the mesh, and X the mean
// of u (v), each point with its share: w/(1 + gamma) of a path, the rest of b. Where the level of the carriers is flat,
// X is that of b and c (1 + gamma) stands for c in every rate; detailed balance holds in any case. The current of one
// path,
//
//     flux = share (I + K (X[point] - X)),   I the whole current from this side, K = dI/dX at a given filling,
//
// leaves the point instead of b.
// Source: Hurkx, Klaassen, Knuvers, IEEE Trans. Electron Devices 39 (1992) 331, for the field-enhanced capture.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"
#include "solver/state.h"

#include <span>

namespace kovin {

/// Paths of both carriers into the states, and the states with what they bring. Nothing where no state is open.
void find_paths_into_states(const Problem& problem, CalculationVariables& cv, TunnelWork& work);

/// Adds the states to the terms of their interfaces. @pre there are paths into states
void terms_with_tunnelling(const Problem& problem, CalculationVariables& cv);

/// The current into all states of a group by its paths.
struct GroupCurrent {
    double I = 0.0, K = 0.0;  ///< of the whole group
    double X_b, sign;         ///< u or v at b; of the level F in ln X
    double F_b, excess;
    /// X of a point less the mean.
    [[nodiscard]] double beyond_mean(double F) const;
    /// Per unit of share.
    [[nodiscard]] double flux(double F) const { return I + K * beyond_mean(F); }
};
[[nodiscard]] GroupCurrent current_of_group(const CalculationVariables& cv, Carrier carrier,
                                            const TunnelStates::Group& group);

/// Adds what leaves the points of the paths instead of the interface to the residual of a carrier.
void add_states_residue(const CalculationVariables& cv, Carrier carrier, std::span<double> res);
/// Adds its derivatives, with what the mean of each group exceeds its point b by as an unknown more.
void add_states_jacobian(const CalculationVariables& cv, Carrier carrier, const Tridiagonal& jac,
                         std::vector<TunnelElement>& outside);

}  // namespace kovin
