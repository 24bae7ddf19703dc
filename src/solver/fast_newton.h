// One bias point by Newton steps of psi, n and p together.
//
// The steps are relative in the densities: n changes by the factor 1 + a, not by exp(a), so that a density that is far
// too small or too large is right after one step. No damping but a bound of the step of psi and of the fall of a
// density to a tenth. With it the iteration finishes from nearly anywhere in a few steps.
#pragma once

#include "solver/fast_system.h"

namespace kovin {

enum class FastOutcome {
    converged,
    noise_limited,  ///< the steps are small and stay as they are: rounding moves the state
    failed,
    stopped  ///< by the user
};

/// The limits of one attempt.
struct FastLimits {
    double tolerance = 1e-3;   ///< of a step of psi [kT], ln n, ln p; the state holds that step: it errs by its square
    double psi_limit = 500.0;  ///< most that psi moves in a step [kT]
    int steps = 25;
};

struct FastSolve {
    FastOutcome outcome = FastOutcome::failed;
    int steps = 0;
    FastStep last;  ///< of the last step made
    [[nodiscard]] bool good() const
    {
        return outcome == FastOutcome::converged || outcome == FastOutcome::noise_limited;
    }
};

/// Solves at the present bias from the present psi, Fn, Fp, and changes these alone. psi must stand at the contacts.
[[nodiscard]] FastSolve fast_newton(const Problem& problem, const FastKernel& kernel, const FastArrays& arrays,
                                    CalculationVariables& cv, const FastLimits& limits = {});

/// Largest change that a step made: of psi [kT], ln n, ln p.
[[nodiscard]] double size_of(const FastStep& step);

}  // namespace kovin
