// The small tools of the solver against slow and plain ones.
#include "solver/band_solve.h"
#include "solver/bernoulli.h"
#include "solver/block_solve.h"
#include "solver/devices.h"
#include "solver/newton_steps.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace kovin::testing {
namespace {

long double exact_bernoulli(long double x) { return x == 0.0L ? 1.0L : x / std::expm1(x); }

TEST(Bernoulli, AllFormsAgreeWithExtendedPrecision)
{
    std::vector<double> xs{0.0, 37.4295, 46.7449, -37.4295, 41.1467, 52.2919, 700.0, -700.0};
    for (double x = 1e-12; x < 60.0; x *= 1.07) xs.insert(xs.end(), {x, -x});
    for (const double x : xs) {
        const double exact = static_cast<double>(exact_bernoulli(x));
        const BernoulliPair pair = bernoulli_pair(x);
        EXPECT_NEAR(pair.plus, exact, 4e-16 * std::max(exact, 1.0)) << x;
        EXPECT_EQ(bernoulli_pair(-x).minus, pair.plus) << x;
        // Bern itself loses digits of exp(x) - 1 near zero, and is cut to 0 far out.
        EXPECT_NEAR(Bern(x), exact, 3e-7 * exact + 1e-18) << x;
        const long double h = 1e-4L * std::max(1.0L, std::fabs(static_cast<long double>(x)) / 10.0L);
        const double slope = static_cast<double>((exact_bernoulli(x + h) - exact_bernoulli(x - h)) / (2.0L * h));
        EXPECT_NEAR(Bern_deriv(x), slope, 2e-7) << x;
        EXPECT_NEAR(bernoulli_slopes(pair).plus, slope, 1e-8) << x;
        EXPECT_EQ(bernoulli_slopes(bernoulli_pair(-x)).minus, bernoulli_slopes(pair).plus) << x;
    }
    EXPECT_EQ(Bern(0.0), 1.0);
    EXPECT_EQ(Bern_deriv(0.0), -0.5);
    EXPECT_EQ(Bern(46.7449), 0.0);
    EXPECT_EQ(Bern_deriv(-41.1467), -1.0);
}

/// Dense elimination with pivoting, on rows brought to equal size.
std::vector<double> dense_solve(std::vector<std::vector<double>> A, std::vector<double> b)
{
    const std::size_t N = b.size();
    for (std::size_t i = 0; i < N; ++i) {
        const double size = std::fabs(A[i][i]);
        for (double& a : A[i]) a /= size;
        b[i] /= size;
    }
    for (std::size_t k = 0; k < N; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k; i < N; ++i)
            if (std::fabs(A[i][k]) > std::fabs(A[pivot][k])) pivot = i;
        std::swap(A[k], A[pivot]);
        std::swap(b[k], b[pivot]);
        for (std::size_t i = k + 1; i < N; ++i) {
            const double factor = A[i][k] / A[k][k];
            for (std::size_t j = k; j < N; ++j) A[i][j] -= factor * A[k][j];
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t i = N; i-- > 0;) {
        for (std::size_t j = i + 1; j < N; ++j) b[i] -= A[i][j] * b[j];
        b[i] /= A[i][i];
    }
    return b;
}

TEST(BandSolve, AgreesWithDenseEliminationAndRefusesSingularSystems)
{
    Mesh mesh;
    mesh.nlayers = 3;
    mesh.first = {0, 5, 9};
    mesh.last = {4, 8, 14};
    Workspace w;
    w.resize(15, 3, false);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    for (const bool with_extra : {true, false}) {
        std::vector<std::vector<double>> A(15, std::vector<double>(15, 0.0));
        for (std::size_t i = 0; i < 15; ++i) {
            const double scale = std::pow(10.0, 20.0 * number(random));  // rows of very different size
            A[i][i] = w.main[i] = scale * (4.0 + number(random));
            w.sub[i] = i > 0 ? scale * number(random) : 0.0;
            w.super[i] = i < 14 ? scale * number(random) : 0.0;
            if (i > 0) A[i][i - 1] = w.sub[i];
            if (i < 14) A[i][i + 1] = w.super[i];
            w.res[i] = scale * number(random);
        }
        for (std::size_t j = 0; j < 2; ++j) {
            const auto l = static_cast<std::size_t>(mesh.last[j]);
            w.extra[j] = with_extra ? 0.7 * w.main[l] : 0.0;
            A[l][l + 2] = w.extra[j];
        }
        const std::vector<double> x = dense_solve(A, w.res);
        ASSERT_TRUE(with_extra ? calculate_dc_delta_psi(mesh, w) : calculate_dc_delta_u_or_v(w));
        for (std::size_t i = 0; i < 15; ++i) EXPECT_NEAR(w.delta[i], x[i], 1e-12) << "row " << i;
    }
    for (const double bad : {0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        std::fill(w.main.begin(), w.main.end(), bad);
        std::fill(w.sub.begin(), w.sub.end(), 0.0);
        std::fill(w.super.begin(), w.super.end(), 0.0);
        std::fill(w.res.begin(), w.res.end(), 1.0);
        EXPECT_FALSE(calculate_dc_delta_u_or_v(w)) << bad;
        EXPECT_FALSE(calculate_dc_delta_psi(mesh, w)) << bad;
    }
}

TEST(BlockSolve, AgreesWithDenseEliminationAndRefusesSingularSystems)
{
    constexpr std::size_t N = 15;
    Mesh mesh;
    mesh.nlayers = 3;
    mesh.first = {0, 5, 9};
    mesh.last = {4, 8, 14};
    BlockSystem s;
    s.resize(N, 2);
    std::mt19937 random(11);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    for (const std::size_t first : {std::size_t{of_psi}, std::size_t{of_u}}) {
        const std::size_t n = 3 - first;
        std::vector<double> u(N), v(N);  // the unknowns du/u and dv/v are of order one, u and v are not
        for (std::size_t i = 0; i < N; ++i) {
            u[i] = std::pow(10.0, 40.0 * number(random));
            v[i] = std::pow(10.0, 40.0 * number(random));
        }
        const auto scale = [&](std::size_t c, std::size_t i) { return c == of_psi ? 1.0 : c == of_u ? u[i] : v[i]; };
        std::vector<std::vector<double>> A(n * N, std::vector<double>(n * N, 0.0));
        std::vector<double> b(n * N);
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t r = first; r < 3; ++r) {
                const double size = std::pow(10.0, 20.0 * number(random));
                const auto row = static_cast<Unknown>(r);
                auto& dense = A[n * i + r - first];
                const auto put = [&](std::size_t k, std::size_t c, double x, double& at) {
                    dense[n * k + c - first] = size * x;
                    at = size * x / scale(c, k);
                };
                for (std::size_t c = first; c < 3; ++c) {
                    const auto column = static_cast<Unknown>(c);
                    put(i, c, number(random) + (c == r ? 6.0 : 0.0), s.main(row, column)[i]);
                    if (i > 0) put(i - 1, c, number(random), s.sub(row, column)[i]);
                    if (i + 1 < N) put(i + 1, c, number(random), s.super(row, column)[i]);
                    for (std::size_t j = 0; j < 2 && r == of_psi; ++j)
                        if (i == static_cast<std::size_t>(mesh.last[j])) put(i + 2, c, 3.0, s.extra[j][c]);
                }
                b[n * i + r - first] = s.res[r][i] = size * number(random);
            }
        const std::vector<double> x = dense_solve(A, b);
        const auto solve = [&] { return first == of_psi ? tridiagonal_3x3(mesh, s, u, v) : tridiagonal_2x2(s, u, v); };
        ASSERT_TRUE(solve());
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t r = first; r < 3; ++r)
                EXPECT_NEAR(s.delta[r][i], x[n * i + r - first], 1e-12) << "row " << r << " of " << i;
        for (const double bad : {0.0, std::numeric_limits<double>::quiet_NaN()}) {
            for (const Unknown c : {of_psi, of_u, of_v})
                s.sub(of_u, c)[7] = s.main(of_u, c)[7] = s.super(of_u, c)[7] = bad;
            EXPECT_FALSE(solve()) << bad;
        }
    }
}

TEST(Clamping, EachModeKeepsToItsLimit)
{
    struct Row {
        int mode;
        std::vector<double> in, out;
    };
    const Row rows[] = {
        {0, {3.0, -1.0}, {3.0, -1.0}},         // no limit
        {1, {1.0, -0.5}, {0.5, -0.25}},        // the whole vector shrinks
        {1, {10.0, -0.5}, {0.5, -0.1}},        // first cut to five limits, then shrunk
        {2, {3.0, -0.25}, {0.5, -0.25}},       // each by itself
        {4, {2.0, -0.5}, {0.5, -0.5 / 1.75}},  // soft
        {1, {0.5, -0.5}, {0.5, -0.5}},         // exactly at the limit
    };
    for (const Row& row : rows) {
        ConvergenceParameters settings;
        settings.clamp_mode = row.mode;
        std::vector<double> delta = row.in;
        const double largest = ApplyClamping(delta, settings, 0.5);
        EXPECT_EQ(largest, MaximumAbsoluteValue(delta)) << row.mode;
        for (std::size_t i = 0; i < delta.size(); ++i) EXPECT_NEAR(delta[i], row.out[i], 1e-15) << row.mode;
    }
    for (const int mode : {0, 1, 2, 4}) {
        ConvergenceParameters settings;
        settings.clamp_mode = mode;
        std::vector<double> lost{1.0, std::nan(""), 2.0};
        EXPECT_TRUE(std::isnan(ApplyClamping(lost, settings, 0.5))) << mode;
    }
}

TEST(FirstMesh, FillsEveryLayerAndKeepsInterfacesTogether)
{
    for (const double thickness : {1e-9, 5e-9, 5e-8, 3e-6, 1e-4})
        for (const int layers : {1, 3, 7}) {
            CellParameters cell;
            InitialiseCellDefinition(cell);
            for (int j = 0; j < layers; ++j)
                add_layer(cell, {thickness, 1.2, 4.5, 10.0, 1e25, 1e25, 1e-3, 1e-3, j % 2 == 0 ? 1e22 : 0.0, 1e21});
            const Device device(cell);
            const Mesh& mesh = device.cv.mesh;
            ASSERT_EQ(mesh.N, 100 * layers);
            EXPECT_NEAR(mesh.x.back(), 1.0, 1e-12);
            for (std::size_t j = 0; j < device.layers(); ++j) {
                EXPECT_NEAR((mesh.x_m[device.last(j)] - mesh.x_m[device.first(j)]) / thickness, 1.0, 1e-11);
                EXPECT_NEAR(mesh.x_m[device.first(j) + 1] - mesh.x_m[device.first(j)],
                            std::min(1e-10, 0.008 * thickness), 0.2e-10);
                for (std::size_t i = device.first(j); i < device.last(j); ++i) EXPECT_GT(mesh.h[i], 0.0);
                if (j > 0) {
                    EXPECT_EQ(mesh.x[device.first(j)], mesh.x[device.last(j - 1)]);
                }
            }
        }
}

// Failure is a result: a hopeless device or a limit of one pass ends with a mark, not with a crash.
TEST(Failure, IsAMarkInTheState)
{
    Device one_pass(thin_film_cell(), 300.0, [](ConvergenceParameters& c) { c.maxiter = 1; });
    ASSERT_TRUE(one_pass.solve_equilibrium());
    EXPECT_FALSE(one_pass.go_to(0.5));
    EXPECT_EQ(one_pass.cv.iterations, -1);
    EXPECT_FALSE(one_pass.solve());  // refuses to go on from a failed state
    EXPECT_FALSE(one_pass.go_to(0.0));

    Device cold(thin_film_cell(), 40.0, [](ConvergenceParameters& c) { c.maxiter = 50; });
    const bool solved = cold.solve_equilibrium() && cold.go_to(0.3, 3);
    EXPECT_EQ(cold.cv.failed(), !solved);  // never a failure that is not marked
    EXPECT_TRUE(!solved || std::isfinite(cold.cv.J_median));

    Monitor monitor;
    monitor.requestStop();
    Device stopped(thin_film_cell());
    ASSERT_TRUE(stopped.solve_equilibrium());
    Problem problem = stopped.problem();
    problem.monitor = &monitor;
    EXPECT_FALSE(onder_belichting(problem, stopped.memory.work, stopped.cv));
}

}  // namespace
}  // namespace kovin::testing
