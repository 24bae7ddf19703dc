// Block-tridiagonal systems of the coupled iterations: psi, u and v of a point together, or u and v alone.
//
// Rows and columns of a block are in the order psi, u, v; the system of u and v alone is its lower right part. At each
// interface the row of psi at the last point l of the left layer also reaches psi, u and v at l + 2. The unknowns are
// dpsi and the relative steps du/u and dv/v: all of them are of order one where u and v span hundreds of decades.
//
// Source: Golub, Van Loan, Matrix Computations, section 4.5 (block elimination).
#pragma once

#include "device/mesh.h"

#include <array>
#include <span>
#include <vector>

namespace kovin {

/// Unknowns of a point, and with them the rows and columns of a block.
enum Unknown : std::size_t { of_psi = 0, of_u = 1, of_v = 2 };

/// The system and its work space. Elements are the negative derivatives of the residuals to psi, u and v themselves;
/// each element has an array of its own along the mesh, so that the loops that fill it vectorise.
struct BlockSystem {
    std::array<std::vector<double>, 3> res, delta;  ///< right-hand side and solution, by unknown
    std::vector<std::array<double, 3>> extra;       ///< by interface: row psi of l to psi, u, v of l + 2

    /// @param interfaces  one less than the layers
    void resize(std::size_t points, std::size_t interfaces);
    void clear();  ///< all elements 0
    [[nodiscard]] std::size_t points() const { return points_; }
    [[nodiscard]] std::span<double> sub(Unknown row, Unknown column) { return element(0, row, column); }
    [[nodiscard]] std::span<double> main(Unknown row, Unknown column) { return element(1, row, column); }
    [[nodiscard]] std::span<double> super(Unknown row, Unknown column) { return element(2, row, column); }

    /// Elimination from the left: G couples a point to its right neighbour, E a point l to l + 2.
    std::vector<std::array<double, 9>> G;
    std::vector<std::array<double, 9>> E;
    std::array<std::vector<double>, 4> slope_step;  ///< for the assembly: see cross_terms

private:
    std::span<double> element(std::size_t band, Unknown row, Unknown column)
    {
        return std::span(elements_).subspan(((band * 3 + row) * 3 + column) * points_, points_);
    }
    std::size_t points_ = 0;
    std::vector<double> elements_;
};

/// Solves for u and v: the lower right part with res[of_u], res[of_v] into delta, as du/u and dv/v.
/// @param u, v  the present variables: scales of the columns
/// @return false if singular or not finite
[[nodiscard]] bool tridiagonal_2x2(BlockSystem& system, std::span<const double> u, std::span<const double> v);

/// Solves for psi, u and v, with the elements outside the band.
[[nodiscard]] bool tridiagonal_3x3(const Mesh& mesh, BlockSystem& system, std::span<const double> u,
                                   std::span<const double> v);

}  // namespace kovin
