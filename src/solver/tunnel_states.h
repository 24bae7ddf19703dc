// Tunnelling into the states at an interface. Beside the carriers at the interface itself, a state captures those of
// the flank at its side, out of all energies of the band that lie above the state (for holes below it):
//
//     capture = c (1 + gamma) b X,   gamma = sum of w,   w = (E1 - E2) exp(E_b - E - T)/(1 + a),   a = X exp(-E)
//
// with E_b and b = n/u (p/v) at the point b beside the interface, one slice w for each step of the mesh, and X the mean
// of u (v), each point with its share: w/(1 + gamma) of a path, the rest of b. 1/(1 + a) is the limit that states of
// the band have which hold one carrier each, for capture and emission alike; a is that of the pass. Where the level of
// the carriers is flat, X is that of b and c (1 + gamma) stands for c in every rate; detailed balance holds in any
// case. The current of one path,
//
//     flux = share (I + K (X[point] - X)),   I the whole current from this side, K = dI/dX at a given filling,
//
// leaves its point; b is the point of a path too. In the cold gamma reaches 1e14 and more, so that nothing is put at b
// to be taken back from there, and the path of the largest share takes what the others leave of I: as many electrons
// as holes, to the last bits.
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

/// A current into states from one side of their interface, with its derivatives to u or v of both sides.
struct StateCurrent {
    double I = 0.0, dI_dleft = 0.0, dI_dright = 0.0;
};
/// What the states of an interface take from its point at one side, but for those that are reached by paths from there.
/// Derivatives to the other side leave out those that are reached by paths from that one.
[[nodiscard]] StateCurrent current_beside_interface(const CalculationVariables& cv, Carrier carrier,
                                                    std::size_t interface, bool right);

/// The current into all states of a group by its paths.
struct GroupCurrent {
    double I = 0.0, K = 0.0;  ///< of the whole group
    double X_b, sign;         ///< u or v at b; of the level F in ln X
    double F_b;
    TunnelStates::Mean mean;
    /// X of a point less the mean.
    [[nodiscard]] double beyond_mean(double F) const;
    /// Per unit of share.
    [[nodiscard]] double flux(double F) const { return I + K * beyond_mean(F); }
};
[[nodiscard]] GroupCurrent current_of_group(const CalculationVariables& cv, Carrier carrier,
                                            const TunnelStates::Group& group);

/// Calls take(path, flux) for all paths of a group. The fluxes make up I to the last bits.
template <class Take>
void share_out(const CalculationVariables& cv, Carrier carrier, const TunnelStates::Group& group, const Take& take)
{
    const bool electrons = carrier == Carrier::electrons;
    const std::vector<TunnelStates::Path>& paths = (electrons ? cv.tunnel_states.n : cv.tunnel_states.p).paths;
    const std::vector<double>& F = electrons ? cv.Fn : cv.Fp;
    const GroupCurrent c = current_of_group(cv, carrier, group);
    double rest = c.I;
    for (std::size_t k = group.first_path; k < group.end_path; ++k) {
        if (k == group.largest) continue;
        const double flux = paths[k].share * c.flux(F[paths[k].point]);
        rest -= flux;
        take(paths[k], flux);
    }
    take(paths[group.largest], rest);
}

/// Adds what leaves the points of the paths to the residual of a carrier.
void add_states_residue(const CalculationVariables& cv, Carrier carrier, std::span<double> res);
/// Adds its derivatives, with one unknown more for each group: its mean where that is low, else what the mean exceeds
/// the value at b by.
void add_states_jacobian(const CalculationVariables& cv, Carrier carrier, const Tridiagonal& jac,
                         std::vector<TunnelElement>& outside);
/// Adds the sums of its rows: the answer to u or v that rise alike everywhere.
void add_states_row_sums(const CalculationVariables& cv, Carrier carrier, std::span<double> sums);

}  // namespace kovin
