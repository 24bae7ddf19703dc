#include "solver/row_sum_solve.h"

#include <algorithm>
#include <cmath>

namespace kovin {

void solve_by_row_sums(const CoupledRows& rows)
{
    const std::size_t n = rows.n;
    const auto row = [&](std::size_t r) { return rows.couplings + r * rows.stride; };
    const auto begin_of = [&](std::size_t r) { return r > rows.half ? r - rows.half : 0; };
    const auto end_of = [&](std::size_t r) { return std::min(n, r + rows.half + 1); };
    for (std::size_t r = 0; r < n; ++r) {
        double* W = row(r);
        W[r] = 0.0;
        double largest = std::fabs(rows.sums[r]);
        for (std::size_t c = begin_of(r); c < end_of(r); ++c) largest = std::max(largest, std::fabs(W[c]));
        const double scale = 1.0 / largest;
        for (std::size_t c = begin_of(r); c < end_of(r); ++c) W[c] *= scale;
        rows.sums[r] *= scale;
        rows.b[r] *= scale;
    }
    for (std::size_t k = 0; k < n; ++k) {
        double* W = row(k);
        const std::size_t end = end_of(k);
        double pivot = rows.sums[k];
        for (std::size_t c = k + 1; c < end; ++c) pivot += W[c];
        const double r = W[k] = 1.0 / pivot;
        for (std::size_t i = k + 1; i < end; ++i) {
            double* below = row(i);
            const double share = below[k] * r;
            if (share == 0.0) continue;
            for (std::size_t c = k + 1; c < end; ++c) below[c] += share * W[c];
            rows.sums[i] += share * rows.sums[k];
            rows.b[i] += share * rows.b[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        const double* W = row(k);
        for (std::size_t c = k + 1; c < end_of(k); ++c) rows.b[k] += W[c] * rows.b[c];
        rows.b[k] *= W[k];
    }
}

}  // namespace kovin
