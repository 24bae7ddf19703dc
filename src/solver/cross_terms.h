// The coupled Jacobians: what the three tridiagonal ones leave out, the derivatives of each equation to the unknowns of
// the two others.
//
//     row psi:  charge to u and v
//     row u:    Bernoulli functions, recombination and the factor exp(-psi) to psi; recombination to v
//     row v:    the same with exp(psi), and recombination to u
//
// With them the systems hold every derivative of the residuals, half cells and interface states included, so that the
// steps of a coupled loop converge quadratically. One thing is said otherwise: psi at the two points of an interface is
// one unknown, since a row of its own keeps the two equal. What acts on it may stand in the column of either point.
// Source: Selberherr, Analysis and Simulation of Semiconductor Devices (1984), chapter 7.
#pragma once

#include "solver/block_solve.h"
#include "solver/problem.h"
#include "solver/state.h"

namespace kovin {

/// Derivatives of the electrons' rows to v and of the holes' rows to u.
/// @pre terms_total is complete (Terms::all); the elements that are set here are 0
void AddCrossDerivativesToJacobian2x2(const Problem& problem, const CalculationVariables& cv, BlockSystem& system);

/// These, and the derivatives of Poisson's rows to u and v and of the continuity rows to psi.
void AddCrossDerivativesToJacobian3x3(const Problem& problem, const CalculationVariables& cv, BlockSystem& system);

}  // namespace kovin
