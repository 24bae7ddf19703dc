// Ends the swing of decoupled passes between two states.
//
// A decoupled pass takes the state x to f(x). Where charge and recombination hang on the other unknowns, as with many
// states at an interface, every pass may overshoot: the movement r = f(x) - x then turns round from pass to pass,
// r' = rho r with rho < 0, and beyond rho = -1 the passes swing for ever. The next pass therefore begins at x + omega
// r, where omega follows the last two movements,
//
//     omega' = omega/(1 - rho),     rho = <r', r>/<r, r>,
//
// which is the secant step for the part that swings. Passes that do not swing are left alone: omega stays 1.
// Source: Irons, Tuck, Int. J. Numer. Meth. Eng. 1 (1969) 275.
#pragma once

#include "solver/state.h"

#include <vector>

namespace kovin {

struct CalculationParameters;

/// Memory of the relaxation of one solve; one value a mesh point.
struct Relaxation {
    std::vector<double> psi, Fn, Fp;                    ///< before the pass
    std::vector<double> moved_psi, moved_Fn, moved_Fp;  ///< by the pass before
    double omega = 1.0;
    bool knows_movement = false;  ///< a pass before on the same mesh

    void resize(std::size_t points);
    void start();                                      ///< of a solve
    void before_pass(const CalculationVariables& cv);  ///< keeps the state
    void mesh_has_changed() { knows_movement = false; }
};

/// After a decoupled pass: takes the state back to x + omega r if passes swing. The charge and recombination terms are
/// then those of the pass. @return the state was changed
bool relax_pass(const CalculationParameters& set3, Relaxation& relaxation, CalculationVariables& cv);

}  // namespace kovin
