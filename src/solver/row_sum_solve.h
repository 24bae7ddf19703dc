// Elimination in systems that are held by their row sums.
//
// The equations of transport couple their points by numbers that may be 1e20 times what recombination, contacts and
// paths to somewhere else leave in the sum of a row: formed as differences, the pivots lose it. With rows in the form
//
//     (sum of the couplings + sum) x[i] - couplings x[..] = b[i]
//
// the sums are carried along and each pivot is put together from couplings and its sum. Where no sum is negative
// nothing cancels. Source: Grassmann, Taksar, Heyman, Operations Research 33 (1985) 1107; Alfa, Xue, Ye, Math. Comp. 71
// (2002) 217.
#pragma once

#include <cstddef>

namespace kovin {

/// n rows whose couplings lie within a band; dense with half = n - 1.
struct CoupledRows {
    std::size_t n, half;
    double* couplings;   ///< from row r to column c at [r * stride + c] for |r - c| <= half; the diagonal is not read
    std::size_t stride;  ///< of a row: n for a dense matrix, 2 half for a band
    double *sums, *b;    ///< n values each; the solution replaces b
};

/// Rows are scaled by their largest element first; everything is overwritten. A singular system gives no numbers.
void solve_by_row_sums(const CoupledRows& rows);

}  // namespace kovin
