// What happens when an inner loop comes to its limit of iterations: message, failure, or going on as if converged.
#pragma once

#include "solver/problem.h"

namespace kovin {

/// The loops that have a limit.
enum class LimitedLoop { psi, u, v, uv, coupled };

/// Acts as the settings on_limit_psi, on_limit_n, on_limit_p ask for. Messages go to the report of the problem.
///
///     1 message, then failure (the loop of psi alone: message, then on)     3 message, then on as if converged
///     2 failure without a message                                           4 on without a message
///
/// @param action  value of the setting that belongs to the loop; an unknown one acts as 2
/// @param count   iterations made, for the message
/// @param outside elements of the Jacobian outside its band, for the message
/// @return go on as if converged; false: the loop has failed
[[nodiscard]] bool act_on_iteration_limit(const Problem& problem, LimitedLoop loop, int action, int count,
                                          std::size_t outside = 0);

}  // namespace kovin
