// Solving one bias point, and walking from one voltage to another.
//
// A point that does not converge is a result: `iterations` of the state is -1 and the functions return false.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <string>

namespace kovin {

/// How a solve begins.
enum class SolveStart {
    anew,
    goes_on,  ///< behind a solve of the same point after which a little of the problem has changed: what its passes
              ///< told of a swing holds. Such a solve is often one pass that moves next to nothing, and left to
              ///< themselves these passes would build up the swing again.
};

/// The outer iteration of Poisson's and the two continuity equations at the present bias, from the state as it stands.
/// @return converged
bool dc_Gummel_iteration_all(const Problem& problem, Workspace& work, CalculationVariables& cv,
                             SolveStart start = SolveStart::anew);

/// Equilibrium: first estimate, then Poisson's equation alone. @return converged
bool equilibrium(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Solves at the present bias; refuses a state that has failed before. @return converged
bool onder_belichting(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Makes the mesh anew from the potential of a solved state, which is solved on it again; where that fails, the mesh
/// and the state stay. Nothing on the classic route, whose mesh follows in every solve, and for a mesh that may not
/// move.
void renew_mesh(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Renews the current of a state that was solved before and has been taken up again.
void renew_current(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// Voltage of the solve that has just failed [V, internal sign]; the state may stand at the last one that converged.
[[nodiscard]] double failed_voltage(const Problem& problem, const Workspace& work, const CalculationVariables& cv);

/// What did not settle in the solve that has just failed, and what to try: one or two sentences for the user.
[[nodiscard]] std::string failure_advice(const Problem& problem, const Workspace& work);

/// From Vfrom to Vto [V, internal sign] in npoints - 1 equal steps; the state at Vfrom is taken as it stands. Steps
/// below 1e-9 V do nothing. @return converged, at the voltage that `cv` then holds
bool volgende_iv_punt(const Problem& problem, Workspace& work, CalculationVariables& cv, double Vfrom, double Vto,
                      int npoints);

}  // namespace kovin
