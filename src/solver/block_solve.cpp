#include "solver/block_solve.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

namespace {

/// Solves A [X | y] = [B | r] in place by elimination with row exchange, A n x n by rows and B n x m. A singular A
/// leaves infinities or NaN, which spread over the whole solution and are found at its end.
template <std::size_t n, std::size_t m>
struct Augmented {
    double a[n][n + m];

    void solve()
    {
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t r = k + 1; r < n; ++r)
                if (std::fabs(a[r][k]) > std::fabs(a[k][k])) std::swap(a[r], a[k]);
            const double inverse = 1.0 / a[k][k];
            for (std::size_t c = k + 1; c < n + m; ++c) a[k][c] *= inverse;
            for (std::size_t r = k + 1; r < n; ++r)
                for (std::size_t c = k + 1; c < n + m; ++c) a[r][c] -= a[r][k] * a[k][c];
        }
        for (std::size_t k = n; k-- > 1;)
            for (std::size_t r = 0; r < k; ++r)
                for (std::size_t c = n; c < n + m; ++c) a[r][c] -= a[r][k] * a[k][c];
    }
};

/// Block elimination of the unknowns first_unknown .. of_v.
template <std::size_t first_unknown>
class Elimination {
    static constexpr std::size_t n = 3 - first_unknown;
    static constexpr bool with_psi = first_unknown == of_psi;

public:
    Elimination(BlockSystem& system, std::span<const double> u, std::span<const double> v) : s(system), scale{u, u, v}
    {
        for (std::size_t r = 0; r < n; ++r) {
            for (std::size_t c = 0; c < n; ++c) {
                sub[r][c] = s.sub(unknown(r), unknown(c)).data();
                main[r][c] = s.main(unknown(r), unknown(c)).data();
                super[r][c] = s.super(unknown(r), unknown(c)).data();
            }
            res[r] = s.res[unknown(r)].data();
            delta[r] = s.delta[unknown(r)].data();
        }
    }

    bool solve(std::span<const int> last_points)
    {
        const std::size_t N = s.points();
        std::size_t interface = 0;
        std::size_t l = last_points.empty() ? N : static_cast<std::size_t>(last_points[0]);
        for (std::size_t i = 0; i < N; ++i) {
            load(i);
            if (with_psi && i == l) {
                eliminate_outside(i, interface);
            } else if (with_psi && i == l + 1) {
                take_outside_in(s.E[interface]);
                eliminate(i);
                ++interface;
                l = interface < last_points.size() ? static_cast<std::size_t>(last_points[interface]) : N;
            } else {
                eliminate(i);
            }
        }
        for (std::size_t i = N - 1; i-- > 0;) {
            substitute(s.G[i], i, i + 1);
            if (with_psi && interface > 0 && i == static_cast<std::size_t>(last_points[interface - 1])) {
                --interface;
                substitute(s.E[interface], i, i + 2);
            }
        }
        bool finite = true;
        for (std::size_t r = 0; r < n; ++r) finite = finite && std::isfinite(delta[r][0]);
        return finite;
    }

private:
    static constexpr Unknown unknown(std::size_t r) { return static_cast<Unknown>(first_unknown + r); }
    [[nodiscard]] double column_scale(std::size_t c, std::size_t i) const
    {
        return unknown(c) == of_psi ? 1.0 : scale[unknown(c)][i];
    }

    /// The rows of point i, in relative unknowns and brought to equal size.
    void load(std::size_t i)
    {
        const bool has_left = i > 0, has_right = i + 1 < s.points();
        for (std::size_t r = 0; r < n; ++r) {
            double size = 0.0;
            for (std::size_t c = 0; c < n; ++c) {
                S[r][c] = has_left ? sub[r][c][i] * column_scale(c, i - 1) : 0.0;
                M[r][c] = main[r][c][i] * column_scale(c, i);
                P[r][c] = has_right ? super[r][c][i] * column_scale(c, i + 1) : 0.0;
                size = std::max(size, std::max(std::fabs(M[r][c]), std::max(std::fabs(S[r][c]), std::fabs(P[r][c]))));
            }
            row_scale[r] = 1.0 / size;
            for (std::size_t c = 0; c < n; ++c) {
                S[r][c] *= row_scale[r];
                M[r][c] *= row_scale[r];
                P[r][c] *= row_scale[r];
            }
        }
    }

    /// Takes the left neighbour out of main block and right-hand side.
    template <std::size_t m>
    void reduce(std::size_t i, Augmented<n, m>& A)
    {
        for (std::size_t r = 0; r < n; ++r) {
            double y = res[r][i] * row_scale[r];
            for (std::size_t c = 0; c < n; ++c) A.a[r][c] = M[r][c];
            if (i > 0) {
                const auto& G = s.G[i - 1];
                for (std::size_t k = 0; k < n; ++k) {
                    for (std::size_t c = 0; c < n; ++c) A.a[r][c] -= S[r][k] * G[3 * k + c];
                    y -= S[r][k] * delta[k][i - 1];
                }
            }
            for (std::size_t c = 0; c < n; ++c) A.a[r][n + c] = P[r][c];
            A.a[r][n + m - 1] = y;
        }
    }

    template <std::size_t m>
    void store(std::size_t i, const Augmented<n, m>& A)
    {
        for (std::size_t r = 0; r < n; ++r) {
            for (std::size_t c = 0; c < n; ++c) s.G[i][3 * r + c] = A.a[r][n + c];
            delta[r][i] = A.a[r][n + m - 1];
        }
    }

    void eliminate(std::size_t i)
    {
        Augmented<n, n + 1> A;
        reduce(i, A);
        A.solve();
        store(i, A);
    }

    /// Row l of an interface, with the block outside the band as further columns.
    void eliminate_outside(std::size_t i, std::size_t interface)
    {
        Augmented<n, 2 * n + 1> A;
        reduce(i, A);
        for (std::size_t r = 0; r < n; ++r)
            for (std::size_t c = 0; c < n; ++c)
                A.a[r][2 * n + c] = r == 0 ? s.extra[interface][c] * column_scale(c, i + 2) * row_scale[0] : 0.0;
        A.solve();
        store(i, A);
        for (std::size_t r = 0; r < n; ++r)
            for (std::size_t c = 0; c < n; ++c) s.E[interface][3 * r + c] = A.a[r][2 * n + c];
    }

    /// Row f of an interface inherits the block outside the band of row l.
    void take_outside_in(const std::array<double, 9>& E)
    {
        for (std::size_t r = 0; r < n; ++r)
            for (std::size_t k = 0; k < n; ++k)
                for (std::size_t c = 0; c < n; ++c) P[r][c] -= S[r][k] * E[3 * k + c];
    }

    void substitute(const std::array<double, 9>& G, std::size_t i, std::size_t from)
    {
        for (std::size_t r = 0; r < n; ++r)
            for (std::size_t c = 0; c < n; ++c) delta[r][i] -= G[3 * r + c] * delta[c][from];
    }

    BlockSystem& s;
    std::array<std::span<const double>, 3> scale;
    double *sub[n][n], *main[n][n], *super[n][n], *res[n], *delta[n];
    double S[n][n], M[n][n], P[n][n], row_scale[n];
};

}  // namespace

void BlockSystem::resize(std::size_t points, std::size_t interfaces)
{
    points_ = points;
    elements_.assign(27 * points, 0.0);
    for (auto* group : {&res, &delta})
        for (auto& values : *group) values.assign(points, 0.0);
    for (auto& values : slope_step) values.assign(points, 0.0);
    G.assign(points, {});
    E.assign(interfaces, {});
    extra.assign(interfaces, {});
}

void BlockSystem::clear()
{
    std::fill(elements_.begin(), elements_.end(), 0.0);
    std::fill(extra.begin(), extra.end(), std::array<double, 3>{});
}

bool tridiagonal_2x2(BlockSystem& system, std::span<const double> u, std::span<const double> v)
{
    return Elimination<of_u>(system, u, v).solve({});
}

bool tridiagonal_3x3(const Mesh& mesh, BlockSystem& system, std::span<const double> u, std::span<const double> v)
{
    const auto interfaces = static_cast<std::size_t>(mesh.nlayers - 1);
    return Elimination<of_psi>(system, u, v).solve(std::span(mesh.last).first(interfaces));
}

}  // namespace kovin
