// Which permittivity a capacitance measurement sees: constant, or that of the layers between junction and depletion
// edge.
//
// A depletion layer of width W is a plate capacitor, C = eps0 eps/W. In a stack the layers act as capacitors in series,
//
//     W/eps(W) = integral of dx/eps(x) over W,
//
// so that the width follows from C and eps(W) together. All lengths in um.
#pragma once

#include "device/calculation_set.h"
#include "device/mesh.h"
#include "device/numerical_settings.h"
#include "results/curves.h"

#include <span>
#include <vector>

namespace kovin {

/// What the analyses need to know of a cell. @param mesh  the one of set3's arrays
[[nodiscard]] CellOnMesh cell_on_mesh(const CalculationParameters& set3, const Mesh& mesh);

/// A permittivity at rising distances; two equal distances are a step.
struct PermittivityTable {
    std::vector<double> x;        ///< [um]
    std::vector<double> epsilon;  ///< relative, as many
};

/// MottSchottkySettings::epsilon_mode: constant_epsilon, or the permittivity of the stack.
inline constexpr int epsilon_constant = 0, epsilon_of_position = 1;

/// Value of the table at W: below 0 the first, beyond the last distance the last, in between linear in epsilon or in
/// ln epsilon. A table without any width gives 0.
[[nodiscard]] double WhichEpsilonEffectiveAtCalculatedW(double W, std::span<const double> x,
                                                        std::span<const double> epsilon, bool logarithmic = false);

/// Place of the junction [um]: the start of the chosen layer for side -1, else its end; 0 with a constant permittivity
/// or without that layer.
[[nodiscard]] double junction_position(const MottSchottkySettings& NW, const Mesh& mesh);

/// A position [um] W away from the junction, on the side to which the depletion layer grows.
[[nodiscard]] inline double depletion_edge(const MottSchottkySettings& NW, double W, double x0)
{
    return NW.side == -1 ? x0 + W : x0 - W;
}

/// Permittivity seen over the first x um from the junction: constant, or that of the layers in series.
[[nodiscard]] PermittivityTable SetNW_Epsilon_x(const MottSchottkySettings& NW, const CellOnMesh& cell);

struct DepletionWidth {
    double W = 0.0;        ///< [um]
    double edge = 0.0;     ///< position of its edge, or W itself with a constant permittivity [um]
    double epsilon = 0.0;  ///< that W was found with
};
/// Width of a depletion layer with the capacitance C [F/m2]. @param x0  junction_position
[[nodiscard]] DepletionWidth SCL_WidthFrom1_C(double C, const MottSchottkySettings& NW, const PermittivityTable& table,
                                              double x0);

/// Local permittivity at the depletion edge.
[[nodiscard]] double WhichEpsilonAtCalculatedW(const MottSchottkySettings& NW, const CellOnMesh& cell, double W,
                                               double x0, bool logarithmic = false);

/// The same, averaged over one Debye length sqrt(kT eps eps0/(q |Nd - Na|)), at least 5e-10 m, within the layer: the
/// edge of a depletion layer is no sharper than that. The weight is a Gauss curve, the permittivity linear between mesh
/// points, and the integral exact.
[[nodiscard]] double SmoothEpsilon_x(const MottSchottkySettings& NW, const CellOnMesh& cell, double W, double x0);

}  // namespace kovin
