// Tunnelling into the states at an interface. Beside the carriers at the interface itself, a state captures those of
// the flank at its side, out of all energies of the band that lie above the state (for holes below it):
//
//     capture = c n_b (1 + gamma),   gamma = sum of w,   w = (E1 - E2) exp(E_b - E - T),   E = (E1 + E2)/2
//
// with n_b and E_b at the point b beside the interface and one slice w for each step of the mesh. The level of the
// carriers is taken to be flat from there to b. In every rate of the state c (1 + gamma) stands for c; so detailed
// balance holds, and the share w/(1 + gamma) of each current leaves the points where its slice ends.
// Source: Hurkx, Klaassen, Knuvers, IEEE Trans. Electron Devices 39 (1992) 331, for the field-enhanced capture.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"
#include "solver/state.h"

namespace kovin {

/// Paths of both carriers into the states, and the states with what they bring. Nothing where no state is open.
void find_paths_into_states(const Problem& problem, CalculationVariables& cv, TunnelWork& work);

/// What one energy of the states takes from one side, and the derivatives to u or v at both sides.
struct StateCurrent {
    double I, dI_dleft, dI_dright;
};
[[nodiscard]] StateCurrent current_into_state(const InterfaceTerms& terms, Carrier carrier, bool right);

}  // namespace kovin
