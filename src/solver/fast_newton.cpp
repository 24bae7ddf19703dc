#include "solver/fast_newton.h"

#include "solver/problem.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kovin {

namespace {

/// Follows the sizes of the steps and judges them.
class Descent {
public:
    /// @return the outcome if step k (from 1) of this size ends the iteration; `going` otherwise
    enum class Verdict { going, noise, lost };
    Verdict judge(int k, double size)
    {
        constexpr double still_small = 0.01;
        if (k > patience && size > 0.5 * sizes_[0]) ++slow_;
        std::shift_right(sizes_.begin(), sizes_.end(), 1);
        sizes_[0] = size;
        if (slow_ > patience + 1) return Verdict::lost;
        if (k <= patience || size >= still_small) return Verdict::going;
        const double recent = *std::min_element(sizes_.begin(), sizes_.begin() + 4);
        const double earlier = *std::min_element(sizes_.begin() + 4, sizes_.end());
        return recent > 0.1 * earlier ? Verdict::noise : Verdict::going;
    }

private:
    static constexpr int patience = 7;
    std::array<double, 8> sizes_ = filled(std::numeric_limits<double>::infinity());  ///< the last ones, latest first
    int slow_ = 0;
    static constexpr std::array<double, 8> filled(double value)
    {
        std::array<double, 8> a{};
        a.fill(value);
        return a;
    }
};

}  // namespace

double size_of(const FastStep& step) { return std::max({step.psi, step.ln_n, step.ln_p}); }

FastSolve fast_newton(const Problem& problem, const FastKernel& kernel, const FastArrays& arrays,
                      CalculationVariables& cv, const FastLimits& limits)
{
    FastSolve solve;
    Descent descent;
    for (int k = 1; k <= limits.steps; ++k) {
        if (problem.monitor != nullptr && problem.monitor->stopRequested()) {
            solve.outcome = FastOutcome::stopped;
            return solve;
        }
        fast_physics(problem, kernel, arrays);
        fast_rows(problem, kernel, arrays, cv);
        kernel.eliminate(arrays);
        const FastStep step = kernel.update(arrays, limits.psi_limit);
        solve.steps = k;
        if (!step.is_number) return solve;
        solve.last = step;
        const double size = size_of(step);
        if (size < limits.tolerance && step.share == 1.0) {
            solve.outcome = FastOutcome::converged;
            return solve;
        }
        switch (descent.judge(k, size)) {
            case Descent::Verdict::going:
                break;
            case Descent::Verdict::noise:
                solve.outcome = FastOutcome::noise_limited;
                return solve;
            case Descent::Verdict::lost:
                return solve;
        }
    }
    return solve;
}

}  // namespace kovin
