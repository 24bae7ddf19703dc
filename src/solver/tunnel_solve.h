// Newton's step of a continuity equation with tunnel paths: a tridiagonal matrix with elements far outside its band.
//
// Paths of contacts stay in the band. Those of interfaces begin at two points an interface at most: these are taken
// out as border columns and rows, and what is left is tridiagonal, so that the cost is linear in the mesh. Paths from
// point to point through the bulk form nested pairs; with them what is left is decomposed within its envelope.
// Without pairs the pivots come from the row sums (row_sum_solve): a junction from band to band leaves a stack to
// leaks. Source: Duff, Erisman, Reid, Direct Methods for Sparse Matrices (1986), chapters 8 and 11.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"

namespace kovin {

/// Solves work.sub, main, super and work.tunnel.outside with right-hand side work.res into work.delta. Where
/// work.tunnel.row_sums are known these take the place of work.main.
/// @return false if singular or not finite
[[nodiscard]] bool solve_with_tunnel_paths(Carrier carrier, Workspace& work);

/// The way that it takes. @param paths  of the carrier whose elements are solved
[[nodiscard]] bool solve_bordered(Workspace& work, const TunnelPaths& paths);
/// The same with all elements within one envelope, without means: cubic in the length of a path whose source lies left
/// of its targets.
[[nodiscard]] bool calculate_dc_delta_u_or_v_sparse(Workspace& work);

}  // namespace kovin
