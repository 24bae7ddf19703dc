// The small-signal equations at a DC state, as far as they do not depend on the frequency.
//
// Unknowns are the changes of psi, Fn and Fp at every point. The Scharfetter-Gummel flux of either carrier between two
// points changes by
//
//     dj = right dF[i] - left dF[i-1] + slope dpsi[i] + (net - slope) dpsi[i-1],     net = right - left
//
// and the continuity row of a carrier is, with s = 1 for electrons and -1 for holes,
//
//     dj[i+1] - dj[i] - s H/2 dR - i omega H/2 n (dpsi + dF) = 0
//
// All rows are kept as their couplings to i - 1 and i + 1 and the sum of the row over the three points, not its main
// element: the sums are small (what the flux leaves behind, rates, storage) and are formed without cancellation. Where
// both levels move alike and psi against them nothing happens; the sums show it.
//
// What the half cells of contacts and interfaces hold is added in the elimination: their elements are complex.
// Source: Laux, IEEE Trans. Electron Devices 32 (1985) 2028; Selberherr, Analysis and Simulation of Semiconductor
// Devices (1984), chapters 5 and 6.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <array>
#include <vector>

namespace kovin {

/// Flux of one carrier over the interval (i - 1, i), at i, and its slopes, in the flux unit of the layer of i - 1; that
/// over an interface is the thermionic one. N + 1 values, 0 at both ends. The current is that of electrons or holes,
/// positive from left to right.
struct AcLinks {
    std::vector<double> left, right;  ///< slopes to -F[i-1] and F[i]
    std::vector<double> net;          ///< right - left without cancellation; the flux itself, for holes its negative
    std::vector<double> slope;        ///< to psi[i]
};

/// Continuity rows of one carrier, each divided by the size of its main element. N values each.
struct AcCarrierRows {
    AcLinks link;
    std::vector<double> sub_psi, sub, super_psi, super;  ///< to psi and to the own level at i - 1 and i + 1
    std::vector<double> sum_psi, sum_Fn, sum_Fp;         ///< of the whole row
    std::vector<double> storage;                         ///< H/2 times the density: factor of -i omega
    std::vector<double> rate;                            ///< s H/2: factor of minus a change of the rate
    std::vector<double> scale;                           ///< by which the row has been multiplied
    double to_V = 0.0;                                   ///< slope of the last row to the voltage [1/kT]
};

/// Poisson's rows; they have no cross elements beside the diagonal. N values each.
struct AcPoissonRows {
    std::vector<double> sub, super;
    std::vector<double> sum_psi, sum_Fn, sum_Fp;
    std::vector<double> charge;  ///< factor of a change of the charge
};

/// What the rows of the two points of an interface have beyond: by states, without the share of a finite frequency.
struct AcInterfaceRows {
    double displacement = 0.0;               ///< row of psi at l to psi of the point behind f
    double sheet = 0.0;                      ///< factor of a change of the sheet charge
    std::array<std::array<double, 3>, 3> C;  ///< rows of l to psi, Fn, Fp of f
    std::array<std::array<double, 3>, 3> A;  ///< rows of f to psi, Fn, Fp of l
    double n_left = 0.0, n_right = 0.0;      ///< factors of changes of the currents into the states
    double p_left = 0.0, p_right = 0.0;
};

struct AcRows {
    AcCarrierRows n, p;
    AcPoissonRows psi;
    std::vector<AcInterfaceRows> interfaces;
    std::vector<double> from_left;  ///< flux unit of the layer of i - 1 in that of i: 1 but at an interface
    void resize(std::size_t points, std::size_t interfaces_count);
};

/// Fills the rows. @pre cv has converged, and its charge and recombination terms are complete
void calculate_ac_jacobian(const Problem& problem, const CalculationVariables& cv, AcRows& rows);

}  // namespace kovin
