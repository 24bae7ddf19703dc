// Tridiagonal systems, with one element outside the band at each interface for Poisson's equation.
//
// Source: Press et al., Numerical Recipes, section 2.4 (Thomas algorithm).
#pragma once

#include "device/mesh.h"
#include "solver/problem.h"

namespace kovin {

/// Solves work.sub, main, super with right-hand side work.res and work.extra (coupling of the last point l of a layer
/// to l + 2) into work.delta. Rows are scaled by their largest element first. @return false if singular or not finite
[[nodiscard]] bool calculate_dc_delta_psi(const Mesh& mesh, Workspace& work);

/// The same without elements outside the band.
[[nodiscard]] bool calculate_dc_delta_u_or_v(Workspace& work);

}  // namespace kovin
