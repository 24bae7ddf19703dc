// The discrete equations: residuals and tridiagonal Jacobians of Poisson's and the two continuity equations.
//
// Box scheme on a non-uniform mesh with Scharfetter-Gummel fluxes, H = h[i-1] + h[i]. Inner points:
//
//     psi:  rho H^2/(4 Lambda) + psi_left (psi[i-1] - psi[i]) + psi_right (psi[i+1] - psi[i])
//     u:    -(R - G) exp(-psi) n_source + Bn_plus[i] n_left (u[i-1] - u[i]) + Bn_min[i+1] n_right (u[i+1] - u[i])
//     v:    the same with exp(psi), Bp_min in place of Bn_plus and Bp_plus in place of Bn_min
//
// Every interface has two rows: the left point l carries the balance of the left layer (and of the displacement), the
// right point f that of the right layer (and psi[f] = psi[l]). Contacts are finite-rate boundaries. A Jacobian holds
// the negative derivative of its residual: jac delta = res gives the step to be added.
// Source: Selberherr, Analysis and Simulation of Semiconductor Devices (1984), chapters 5 and 6.
#pragma once

#include "device/boxes.h"
#include "solver/problem.h"
#include "solver/state.h"

#include <span>

namespace kovin {

enum class Carrier { electrons, holes };

/// Tridiagonal matrix by its diagonals, N values each.
struct Tridiagonal {
    std::span<double> sub, main, super;
};

/// Total charge at every point [N0]: defects, doping, holes, electrons.
void total_charge(const Problem& problem, const CalculationVariables& cv, std::span<double> rho);

/// @param rho  N values of the total charge
void calculate_dc_residue_psi(const Problem& problem, const CalculationVariables& cv, std::span<const double> rho,
                              std::span<double> res);
/// @param extra  one value an interface: coupling of row l to psi[f + 1], outside the band
void calculate_dc_jacobian_psi(const Problem& problem, const CalculationVariables& cv, const Tridiagonal& jac,
                               std::span<double> extra);

void calculate_dc_residue(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                          std::span<double> res);
void calculate_dc_jacobian(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                           const Tridiagonal& jac);
/// Sums of the rows of that Jacobian, without the fluxes, which cancel in them: what recombination, interface states
/// (by tunnelling as well) and contacts take. Formed from the elements they would drown in rounding.
void dc_jacobian_row_sums(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                          std::span<double> sums);

}  // namespace kovin
