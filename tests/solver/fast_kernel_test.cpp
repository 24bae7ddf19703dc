// The linear system of the fast route: every element against differences of the residual, and its elimination against
// one with twice the digits.
#include "solver/fast_kernel.h"
#include "solver/devices.h"
#include "solver/fast_newton.h"

#include <gtest/gtest.h>

#include <random>

namespace kovin::testing {
namespace {

constexpr std::size_t psi = 0, n = 1, p = 2;

/// One block row in full, whatever form it has.
FastFullRow row_of(const FastArrays& a, std::size_t i)
{
    for (std::size_t j = 0; j < a.layers; ++j) {
        if (i == a.layer[j].first) return a.full[2 * j];
        if (i == a.layer[j].last) return a.full[2 * j + 1];
    }
    return {{-a.psi_left[i], 0.0, 0.0, a.n_A_psi[i], a.n_A[i], 0.0, a.p_A_psi[i], 0.0, a.p_A[i]},
            {0.0, a.psi_S_n[i], a.psi_S_p[i], 0.0, a.n_S_n[i], a.n_S_p[i], 0.0, a.p_S_n[i], a.p_S_p[i]},
            {-a.psi_right[i], 0.0, 0.0, a.n_C_psi[i], a.n_C[i], 0.0, a.p_C_psi[i], 0.0, a.p_C[i]},
            {a.psi_r[i], a.n_r[i], a.p_r[i]}};
}

/// Of row i, the blocks to i - 1, i and i + 1.
struct BlockRow {
    double block[3][9];
    double r[3];
};
BlockRow blocks_of(const FastArrays& a, std::size_t i)
{
    const FastFullRow row = row_of(a, i);
    BlockRow b{};
    for (std::size_t k = 0; k < 9; ++k) {
        b.block[0][k] = row.A[k];
        b.block[1][k] = row.S[k] - row.A[k] - row.C[k];
        b.block[2][k] = row.C[k];
    }
    std::copy_n(row.r, 3, b.r);
    return b;
}

/// The rows of the state, those of psi at the two points of an interface added up at the left one.
std::vector<BlockRow> all_rows(Device& device, const FastArrays& a)
{
    const Problem problem = device.problem();
    fast_physics(problem, fast_kernel_baseline(), a);
    fast_rows(problem, fast_kernel_baseline(), a, device.cv);
    std::vector<BlockRow> rows;
    for (std::size_t i = 0; i < a.N; ++i) rows.push_back(blocks_of(a, i));
    return rows;
}

TEST(FastKernel, DerivativesAgainstDifferences)
{
    CellParameters cell = charged_sheet_cell();
    set_uniform(cell.layer[0].material.K_rad, 1e-16);
    set_uniform(cell.layer[1].material.c_p_auger, 1e-40);
    let_absorb(test::add_chain(cell.layer[0], LevelType::plus_zero, {0.7, 0.4}, 5e20)[0]);
    let_absorb(cell.layer[1].srh[0][0]);
    for (const int half_cells : {0, 1}) {
        Device device(cell, 350.0, [&](ConvergenceParameters& c) {
            c.route = Route::fast;
            c.recalculate_mesh = 0;
            c.interfacial_half_cells = half_cells;
        });
        device.illuminate_exponentially(33.0, 0.5e-6);
        ASSERT_TRUE(device.solve_equilibrium());
        shine_on_levels(device, 1e-3);
        ASSERT_TRUE(device.solve() && device.go_to(0.4));
        // At a solution a residual over its diagonal changes as the residual alone does.
        const Problem problem = device.problem();
        const FastArrays a = device.memory.work.fast.arrays(problem, device.cv);
        for (int k = 0; k < 3; ++k) {
            all_rows(device, a);
            fast_kernel_baseline().eliminate(a);
            (void)fast_kernel_baseline().update(a, 500.0);
        }
        const std::vector<BlockRow> rows = all_rows(device, a);
        const auto is_left_of_interface = [&](std::size_t i) {
            return i + 1 < a.N && device.cv.mesh.x[i] == device.cv.mesh.x[i + 1];
        };
        constexpr double step = 1e-4;
        const auto moved = [&](std::size_t i, std::size_t unknown, double by) {
            const auto move = [&](std::size_t k) {
                if (unknown == psi) a.psi[k] += by;
                if (unknown != p) a.Fn[k] += unknown == n ? by : -by;
                if (unknown != n) a.Fp[k] -= by;
            };
            move(i);
            if (unknown == psi && is_left_of_interface(i)) move(i + 1);
        };
        const auto entry = [&](std::size_t i, std::size_t k, std::size_t column, std::size_t unknown) {
            return column + 1 >= i && column <= i + 1 ? rows[i].block[column + 1 - i][3 * k + unknown] : 0.0;
        };
        const auto near_interface = [&](std::size_t c) {
            return is_left_of_interface(c - 1) || is_left_of_interface(c) || is_left_of_interface(c + 1) ||
                   (c > 1 && is_left_of_interface(c - 2));
        };
        for (std::size_t c = 1; c + 1 < a.N; ++c) {
            if (c > 5 && c % 7 > 0 && !near_interface(c)) continue;
            for (std::size_t unknown = 0; unknown < 3; ++unknown) {
                if (unknown == psi && is_left_of_interface(c - 1)) continue;  // moves with the point on its left
                moved(c, unknown, step);
                const std::vector<BlockRow> above = all_rows(device, a);
                moved(c, unknown, -2.0 * step);
                const std::vector<BlockRow> below = all_rows(device, a);
                moved(c, unknown, step);
                const bool both = unknown == psi && is_left_of_interface(c);
                const auto element = [&](std::size_t i, std::size_t k) {
                    return entry(i, k, c, unknown) + (both ? entry(i, k, c + 1, unknown) : 0.0);
                };
                for (std::size_t i = c - std::min<std::size_t>(c, 2); i <= std::min(c + 2, a.N - 1); ++i)
                    for (std::size_t k = 0; k < 3; ++k) {
                        if (k == psi && i > 0 && is_left_of_interface(i - 1)) continue;  // added to the row on its left
                        double analytic = element(i, k), rounding = 1e-9;
                        if (k == psi && is_left_of_interface(i)) {
                            // The two rows over their diagonals, which the link of 1e6 fills: it drops out of the sum.
                            analytic += rows[i].block[2][0] / rows[i + 1].block[0][0] * element(i + 1, k);
                            rounding = 1e-14;
                        }
                        const double difference = -(above[i].r[k] - below[i].r[k]) / (2.0 * step);
                        EXPECT_NEAR(analytic, difference, 2e-7 * std::fabs(difference) + rounding)
                            << "row " << i << '/' << k << " column " << c << '/' << unknown;
                    }
            }
        }
    }
}

__extension__ using Wide = __float128;

/// Solves the dense system, with pivoting.
std::vector<Wide> solve_wide(std::vector<std::vector<Wide>> m, std::vector<Wide> r)
{
    const std::size_t N = r.size();
    const auto size = [](Wide x) { return x < 0 ? -x : x; };
    for (std::size_t k = 0; k < N; ++k) {
        std::size_t best = k;
        for (std::size_t i = k; i < N; ++i)
            if (size(m[i][k]) > size(m[best][k])) best = i;
        std::swap(m[k], m[best]);
        std::swap(r[k], r[best]);
        for (std::size_t i = k + 1; i < N; ++i) {
            const Wide f = m[i][k] / m[k][k];
            if (f == 0) continue;
            for (std::size_t c = k; c < N; ++c) m[i][c] -= f * m[k][c];
            r[i] -= f * r[k];
        }
    }
    for (std::size_t k = N; k-- > 0;) {
        for (std::size_t c = k + 1; c < N; ++c) r[k] -= m[k][c] * r[c];
        r[k] /= m[k][k];
    }
    return r;
}

// Rows whose sums are 1e-16 of their diagonals: a layer that exchanges hardly anything with its surroundings.
TEST(FastKernel, FloatingLayerKeepsItsDigits)
{
    constexpr std::size_t N = 40;
    std::mt19937 random(7);
    const auto between = [&](double a, double b) { return a + (b - a) * static_cast<double>(random()) / 4294967296.0; };
    std::vector<double> store(18 * N);
    FastArrays a{};
    a.N = N;
    a.layers = 1;
    const FastLayer layer{0, N - 1};
    a.layer = &layer;
    FastFullRow full[2] = {};
    a.full = full;
    double* next = store.data();
    const auto array = [&](double least, double most) {
        double* v = next;
        next += N;
        for (std::size_t i = 0; i < N; ++i) v[i] = between(least, most);
        return v;
    };
    double* left = array(0.4, 0.6);
    double* right = array(0.0, 0.0);
    for (std::size_t i = 0; i < N; ++i) right[i] = 1.0 - left[i];
    a.psi_left = left;
    a.psi_right = right;
    a.psi_S_n = array(1e-4, 1e-3), a.psi_S_p = array(-1e-3, -1e-4), a.psi_r = array(-1e-3, 1e-3);
    for (auto* v : {&a.n_A, &a.n_C, &a.p_A, &a.p_C}) *v = array(-0.6, -0.4);
    for (auto* v : {&a.n_A_psi, &a.n_C_psi}) *v = array(0.1, 0.3);
    for (auto* v : {&a.p_A_psi, &a.p_C_psi}) *v = array(-0.3, -0.1);
    for (auto* v : {&a.n_S_n, &a.p_S_p}) *v = array(1e-16, 2e-16);
    for (auto* v : {&a.n_S_p, &a.p_S_n}) *v = array(1e-17, 2e-17);
    std::vector<double> n_r(N), p_r(N), E(9 * N), x(3 * N);
    for (std::size_t i = 0; i < N; ++i) n_r[i] = between(-1e-17, 1e-17), p_r[i] = between(-1e-17, 1e-17);
    a.n_r = n_r.data(), a.p_r = p_r.data(), a.E = E.data(), a.x = x.data();
    for (FastFullRow& row : full) row.S[0] = 1.0;
    for (const std::size_t carrier : {n, p}) {
        full[0].C[4 * carrier] = full[1].A[4 * carrier] = -1.0;
        full[0].S[4 * carrier] = full[1].S[4 * carrier] = 1e-16;
        full[0].r[carrier] = 1e-17;
    }

    std::vector<std::vector<Wide>> m(3 * N, std::vector<Wide>(3 * N, 0));
    std::vector<Wide> r(3 * N);
    for (std::size_t i = 0; i < N; ++i) {
        const FastFullRow row = row_of(a, i);
        for (std::size_t k = 0; k < 3; ++k) {
            r[3 * i + k] = row.r[k];
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t e = 3 * k + c;
                if (i > 0) m[3 * i + k][3 * (i - 1) + c] = row.A[e];
                m[3 * i + k][3 * i + c] = Wide(row.S[e]) - Wide(row.A[e]) - Wide(row.C[e]);
                if (i + 1 < N) m[3 * i + k][3 * (i + 1) + c] = row.C[e];
            }
        }
    }
    const std::vector<Wide> exact = solve_wide(std::move(m), std::move(r));
    fast_kernel_baseline().eliminate(a);
    for (std::size_t i = 0; i < 3 * N; ++i)
        EXPECT_NEAR(x[i], static_cast<double>(exact[i]), 1e-11 * std::fabs(static_cast<double>(exact[i])) + 1e-14) << i;
}

}  // namespace
}  // namespace kovin::testing
