// The mesh of the fast route: graded by the potential, made from the equilibrium and renewed between solves only.
//
// The density of points in a layer of thickness d, a distance s from its nearer end, is
//
//     rho(x) = max(|dpsi/dx| / dpsi_max, 1 / min(h_min + 0.1 s, 0.04 d), rho_profiles(x))
//
// so that no interval holds more than dpsi_max = 1 kT of potential, at the ends of a layer they grow from h_min by a
// tenth each, and no layer has less than 25. With graded bands psi stands for the largest change among psi itself and
// the two band edges, as the fluxes see them. The last term is what graded quantities ask for (profile_mesh): a peak of
// theirs need not show in psi. Layers without carriers of a parted cell (mis.h) ask for no points by their potential.
// Points lie where the integral of rho passes equal parts, four at least.
#pragma once

#include "solver/mesh_adapt.h"
#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Equilibrium and the mesh that belongs to it: solved on a helper mesh first, then on the mesh graded by that
/// solution, to which the rows of a given generation profile are added. Everything on the mesh is renewed as
/// RecalculateIntervals does, and the mesh counts as first mesh of the calculation from then on. `iterations` counts
/// the steps on all meshes. A mesh that may not move stays as it is: fast_equilibrium.
/// @return converged; if not, the mesh is the one before
bool fast_equilibrium_with_mesh(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Potential of one interval, in units of dpsi_max, from which a mesh is made anew: for a state that others start from,
/// and for one point of a sweep, whose neighbours had better share its mesh and the error of that.
inline constexpr double fast_mesh_too_steep = 2.0, fast_mesh_too_steep_in_sweep = 5.0;

/// Does any interval hold more potential than that? A mesh that is full for want of points is measured by what they can
/// do. Never for a mesh that may not move.
[[nodiscard]] bool fast_mesh_wants_change(const Problem& problem, const CalculationVariables& cv,
                                          double too_much = fast_mesh_too_steep);

/// The mesh graded by the present psi where it is wanted, between two solves. The state is carried over and has to be
/// solved again.
MeshChange fast_mesh_change(const Problem& problem, Workspace& work, CalculationVariables& cv,
                            double too_much = fast_mesh_too_steep);

/// Undoes a change that led nowhere: back to the state of before and its mesh, which then stays.
void fast_mesh_back(const Problem& problem, Workspace& work, const CalculationVariables& before,
                    CalculationVariables& cv);

}  // namespace kovin
