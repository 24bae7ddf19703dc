// A defect as a chain of charge states, and how its electrons spread over them in steady state.
//
// A defect with L levels has the states 0 .. L; state s + 1 holds one electron more than state s, and level s stands
// for the transition between the two. With A[s] the rate of the transition upward (an electron captured or a hole
// emitted) and B[s] downward, steady state asks f[s] A[s] = f[s+1] B[s] for every level.
// Source: Sah, Shockley, Phys. Rev. 109 (1958) 1103.
#pragma once

#include "device/cell.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace kovin {

using DefectLevels = std::array<BulkRecombinationParameters, max_levels>;

/// Levels of a defect in use.
[[nodiscard]] constexpr int level_count(const DefectLevels& levels)
{
    return std::clamp(levels[0].levels, 1, max_levels);
}

/// The first level that captures neither carrier, from 0; -1 if there is none. How often a defect is in the states on
/// either side of such a level is not defined in steady state.
[[nodiscard]] constexpr int level_without_capture(const DefectLevels& levels)
{
    for (int s = 0; s < level_count(levels); ++s)
        if (const auto& level = levels[static_cast<std::size_t>(s)]; level.sigma_n <= 0.0 && level.sigma_p <= 0.0)
            return s;
    return -1;
}

/// Does any level take part in the absorption of light?
[[nodiscard]] constexpr bool absorbs_light(const DefectLevels& levels)
{
    for (int s = 0; s < level_count(levels); ++s)
        if (const auto& level = levels[static_cast<std::size_t>(s)]; level.electrons.present || level.holes.present)
            return true;
    return false;
}

/// Charge of state 0, the most positive one, of a defect whose first level is `first` [elementary charges]. A defect
/// with a neutral first level holds no charge in any state.
[[nodiscard]] constexpr double charge_of_state_0(LevelType first)
{
    return first == LevelType::neutral ? 0.0 : static_cast<double>(static_cast<int>(first)) - 3.0;
}

/// Ratio of the numbers of ways to hold s + 1 and s electrons in `levels` places: (levels - s)/(1 + s). It divides the
/// emission of electrons and multiplies that of holes. 1 for a single level.
[[nodiscard]] constexpr double degeneracy_factor(int levels, int s)
{
    return static_cast<double>(levels - s) / static_cast<double>(1 + s);
}

/// Rate to add where both A and B may underflow: far below anything that counts, far above the smallest number.
inline constexpr double negligible_rate = 1e-280;

/// Fractions of the states of a chain with L levels, and what its charge needs of them. Loops are unrolled, so that a
/// loop over mesh points around it vectorises.
template <int L>
struct ChainOccupation {
    double f[L + 1];     ///< of state s; they sum to 1
    double below[L];     ///< of the states up to s, that is those on the lower side of level s
    double above[L];     ///< of the states beyond s: 1 - below, without the difference
    double response[L];  ///< how the mean number of electrons follows ln(A/B) of a level: the covariance of that number
                         ///< and of being above the level, as a sum of positive terms

    /// State by state: a chain of the first s levels is known up to a common factor when level s is added, so only one
    /// sum is divided by, and no product of ratios can overflow however far apart the levels are.
    /// @param A, B  L rates each, above 0
    ChainOccupation(const double* A, const double* B)
    {
        f[0] = 1.0;
#pragma GCC unroll 4
        for (int s = 0; s < L; ++s) {
            const double top = f[s] * A[s], r = 1.0 / (B[s] + top);
#pragma GCC unroll 4
            for (int t = 0; t <= s; ++t) f[t] *= B[s] * r;
            f[s + 1] = top * r;
        }
        double sum = 0.0, sum_of_sums = 0.0;
#pragma GCC unroll 4
        for (int s = L - 1; s >= 0; --s) {
            above[s] = sum += f[s + 1];
            response[s] = sum_of_sums += sum;
        }
        sum = sum_of_sums = 0.0;
#pragma GCC unroll 4
        for (int s = 0; s < L; ++s) {
            below[s] = sum += f[s];
            response[s] = below[s] * response[s] + above[s] * sum_of_sums;
            sum_of_sums += sum;
        }
    }

    /// d ln f[s] of all states from d ln(A/B) of the levels.
    /// @param slope  L values; @param d  L + 1 values
    void fraction_slopes(const double* slope, double* d) const
    {
        double down = 0.0, up = 0.0;
        d[L] = 0.0;
#pragma GCC unroll 4
        for (int s = L - 1; s >= 0; --s) d[s] = down -= slope[s] * above[s];
#pragma GCC unroll 4
        for (int s = 0; s < L; ++s) d[s + 1] += up += slope[s] * below[s];
    }
};

/// Calls `act` with the number of levels of a chain, 2 to max_levels, as a constant.
template <class Act>
void with_levels(int levels, const Act& act)
{
    switch (levels) {
        case 2:
            return act(std::integral_constant<int, 2>{});
        case 3:
            return act(std::integral_constant<int, 3>{});
        case 4:
            return act(std::integral_constant<int, 4>{});
        default:
            break;
    }
}

}  // namespace kovin
