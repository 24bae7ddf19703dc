// Absorption of a material between two pure ones.
//
// An edge of the mixture stands where its own gap is: the wavelengths between a short-wavelength anchor s and the edge
// are mapped linearly from the mixture onto each pure material, and
//
//     alpha(lambda, y) = alpha_A(lambda_A)^(1-y) alpha_B(lambda_B)^y,
//     lambda_M = s_M + (lambda - s_y) (edge_M - s_M)/(edge_y - s_y),   edge = hc/Eg,   s_y = (1-y) s_A + y s_B.
//
// With one material for both the same moves its edge to another gap. Gaps count from 0.001 eV.
#pragma once

#include "device/absorption_models.h"
#include "device/cell.h"

#include <span>
#include <vector>

namespace kovin {

/// Gaps of the two pure materials of a layer [eV].
struct PureGaps {
    double A = 1.0, B = 1.0;
};
/// What the law of a gap says at y = 0 and y = 1. Where the rows of a file or table do not reach a pure material, the
/// gap stated for that material: its absorption has its edge there, wherever the line through the rows would lead.
/// A gap graded on x says nothing of pure materials: in a layer that mixes two, those stated beside it count (where
/// that is not above 0, and in a layer of one material, the left and right values).
/// @param mixes  the layer mixes two materials
[[nodiscard]] PureGaps pure_gaps(const Profile& gap, bool mixes);

/// ln(alpha) of a pure material, made for many wavelengths at a time: the logarithms of a table are taken once.
class LogAbsorption {
public:
    explicit LogAbsorption(const MaterialAbsorption& material);

    /// ln_alpha[k] = ln(alpha [1/m]) at the wavelength start + slope lambda[k], -infinity where nothing is absorbed.
    /// @param lambda  [nm], rising; @param slope  above 0
    void at(std::span<const double> lambda, double start, double slope, std::span<double> ln_alpha) const;

private:
    /// Between two rows, or beyond the last: ln(alpha) = value + slope (lambda - from) for lambda below `to`.
    struct Stretch {
        double to, from, value, slope;
    };
    const MaterialAbsorption& material_;
    std::vector<Stretch> stretches_;  ///< of a table
};

/// A layer that mixes two materials. Keeps references: the materials must outlive it.
class AlphaInterpolation {
public:
    /// @param gap                 where the absorption of A and of B has its edge
    /// @param anchor_A, anchor_B  short-wavelength anchors [nm]; kept 10 nm below the edges
    AlphaInterpolation(const PureGaps& gap, double anchor_A, double anchor_B, const MaterialAbsorption& A,
                       const MaterialAbsorption& B);

    /// alpha[k] [1/m] at lambda[k] [nm], rising, for composition 0 <= y <= 1 with the gap Eg [eV]. A material that
    /// absorbs nothing counts as 1e-10 of the other. Without allocation after the first call.
    void InterpolateAlpha(double y, double Eg, std::span<const double> lambda, std::span<double> alpha);

private:
    LogAbsorption A_, B_;
    double edge_A_, edge_B_, anchor_A_, anchor_B_;  ///< [nm]
    std::vector<double> ln_A_, ln_B_;
};

}  // namespace kovin
