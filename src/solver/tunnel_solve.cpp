#include "solver/tunnel_solve.h"

#include "solver/band_solve.h"
#include "solver/row_sum_solve.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace kovin {

namespace {

/// Points at interfaces that paths begin at or states stand at and the means behind the mesh of N points, each once, in
/// order: one of them is row or column of every element outside the band but those of pairs in the bulk.
void collect_border(const TunnelPaths& found, std::size_t N, std::vector<std::size_t>& border)
{
    border.clear();
    const auto add = [&](std::size_t s) {
        const auto place = std::lower_bound(border.begin(), border.end(), s);
        if (place == border.end() || *place != s) border.insert(place, s);
    };
    for (std::size_t k = found.pairs; k < found.paths.size(); ++k)
        if (found.paths[k].source >= 0) add(static_cast<std::size_t>(found.paths[k].source));
    for (const std::size_t s : found.sheets) add(s);
    for (std::size_t m = 0; m < found.means; ++m) border.push_back(N + m);
}

/// Gauss elimination of a small system of n unknowns with partial pivoting; the solution replaces b.
bool solve_small(std::span<double> A, std::span<double> b)
{
    const std::size_t n = b.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::fabs(A[i * n + k]) > std::fabs(A[pivot * n + k])) pivot = i;
        if (pivot != k) {
            for (std::size_t c = k; c < n; ++c) std::swap(A[k * n + c], A[pivot * n + c]);
            std::swap(b[k], b[pivot]);
        }
        if (A[k * n + k] == 0.0) return false;
        for (std::size_t i = k + 1; i < n; ++i) {
            const double factor = A[i * n + k] / A[k * n + k];
            for (std::size_t c = k + 1; c < n; ++c) A[i * n + c] -= factor * A[k * n + c];
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t c = k + 1; c < n; ++c) b[k] -= A[k * n + c] * b[c];
        b[k] /= A[k * n + k];
    }
    return true;
}

/// The small system of the border with unknowns relative to their present values and rows to their largest element: u
/// and v of the interfaces may lie 1e50 apart.
bool solve_relative(const TunnelWork& t, std::span<double> A, std::span<double> b)
{
    const std::size_t n = b.size();
    const auto size = [&](std::size_t c) { return t.sizes.empty() ? 1.0 : t.sizes[t.border[c]]; };
    for (std::size_t r = 0; r < n; ++r) {
        double largest = 0.0;
        for (std::size_t c = 0; c < n; ++c) {
            double& e = A[r * n + c];
            e *= size(c);
            largest = std::max(largest, std::fabs(e));
        }
        if (!(largest > 0.0)) return false;
        for (std::size_t c = 0; c < n; ++c) A[r * n + c] /= largest;
        b[r] /= largest;
    }
    if (!solve_small(A, b)) return false;
    for (std::size_t k = 0; k < n; ++k) b[k] *= size(k);
    return true;
}

double dot(const double* a, const double* b, std::size_t n)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

/// The band with work.res and one right-hand side more for each border column, by Thomas. Where the row sums are known
/// the pivots come from them, and they are replaced by their solution.
bool solve_band(Workspace& w, std::size_t columns)
{
    TunnelWork& t = w.tunnel;
    const std::size_t N = w.res.size();
    const bool by_sums = !t.row_sums.empty();
    const auto pass_on = [](double* x, std::size_t i, double sub) {
        if (i > 0) x[i] -= x[i - 1] * sub;
    };
    w.delta = w.res;
    for (std::size_t i = 0; i < N; ++i) {
        const double sub = i > 0 ? w.sub[i] : 0.0, super = i + 1 < N ? w.super[i] : 0.0;
        pass_on(w.delta.data(), i, sub);
        for (std::size_t k = 0; k < columns; ++k) pass_on(t.columns.data() + k * N, i, sub);
        double pivot;
        if (by_sums) {
            pass_on(t.row_sums.data(), i, sub);
            pivot = t.row_sums[i] - super;
            for (std::size_t k = 0; k < columns; ++k) pivot -= t.columns[k * N + i];
        } else {
            pivot = w.main[i] - (i > 0 ? w.t[i - 1] * sub : 0.0);
        }
        if (pivot == 0.0) return false;
        const double r = 1.0 / pivot;
        w.t[i] = super * r;
        w.delta[i] *= r;
        for (std::size_t k = 0; k < columns; ++k) t.columns[k * N + i] *= r;
        if (by_sums) t.row_sums[i] *= r;
    }
    for (std::size_t i = N - 1; i-- > 0;) {
        w.delta[i] -= w.t[i] * w.delta[i + 1];
        for (std::size_t k = 0; k < columns; ++k) t.columns[k * N + i] -= w.t[i] * t.columns[k * N + i + 1];
        if (by_sums) t.row_sums[i] -= w.t[i] * t.row_sums[i + 1];
    }
    return true;
}

/// Triangular factors of the band and of elements outside it, within the envelope of both.
bool decompose_envelope(Workspace& w, const std::vector<TunnelElement>& elements)
{
    TunnelWork& t = w.tunnel;
    const std::size_t N = w.res.size();
    t.envelope_first.resize(N);
    t.envelope_start.resize(N + 1);
    auto& first = t.envelope_first;
    for (std::size_t i = 0; i < N; ++i) first[i] = i > 0 ? i - 1 : 0;
    for (const TunnelElement& e : elements) {
        const std::size_t low = std::min(e.row, e.column), high = std::max(e.row, e.column);
        first[high] = std::min(first[high], low);
    }
    t.envelope_start[0] = 0;
    for (std::size_t i = 0; i < N; ++i) t.envelope_start[i + 1] = t.envelope_start[i] + (i - first[i]);
    t.lower.assign(t.envelope_start[N], 0.0);  // row i from column first[i] to i - 1
    t.upper.assign(t.envelope_start[N], 0.0);  // column i from row first[i] to i - 1
    t.pivot = w.main;
    const auto element = [&](std::vector<double>& half, std::size_t i, std::size_t k) -> double& {
        return half[t.envelope_start[i] + (k - first[i])];
    };
    for (std::size_t i = 1; i < N; ++i) {
        element(t.lower, i, i - 1) += w.sub[i];
        element(t.upper, i, i - 1) += w.super[i - 1];
    }
    for (const TunnelElement& e : elements)
        (e.row > e.column ? element(t.lower, e.row, e.column) : element(t.upper, e.column, e.row)) += e.value;

    const auto overlap = [&](const std::vector<double>& a, std::size_t i, const std::vector<double>& b, std::size_t k,
                             std::size_t end) {
        const std::size_t begin = std::max(first[i], first[k]);
        if (begin >= end) return 0.0;
        return dot(&a[t.envelope_start[i] + (begin - first[i])], &b[t.envelope_start[k] + (begin - first[k])],
                   end - begin);
    };
    for (std::size_t i = 0; i < N; ++i) {
        for (std::size_t k = first[i]; k < i; ++k) {
            element(t.upper, i, k) -= overlap(t.lower, k, t.upper, i, k);
            double& l = element(t.lower, i, k);
            l = (l - overlap(t.lower, i, t.upper, k, k)) / t.pivot[k];
        }
        t.pivot[i] -= overlap(t.lower, i, t.upper, i, i);
        if (t.pivot[i] == 0.0) return false;
    }
    return true;
}

/// Replaces a right-hand side of N values by its solution.
void solve_envelope(const TunnelWork& t, double* x)
{
    const std::size_t N = t.envelope_first.size();
    for (std::size_t i = 0; i < N; ++i)
        x[i] -= dot(&t.lower[t.envelope_start[i]], x + t.envelope_first[i], i - t.envelope_first[i]);
    for (std::size_t i = N; i-- > 0;) {
        x[i] /= t.pivot[i];
        const double* column = &t.upper[t.envelope_start[i]];
        for (std::size_t k = t.envelope_first[i]; k < i; ++k) x[k] -= *column++ * x[i];
    }
}

bool is_finite(const std::vector<double>& x) { return std::isfinite(x.front()) && std::isfinite(x.back()); }

}  // namespace

bool solve_bordered(Workspace& w, const TunnelPaths& found)
{
    TunnelWork& t = w.tunnel;
    const std::size_t N = w.res.size();
    collect_border(found, N, t.border);
    const std::size_t n = t.border.size();
    t.columns.assign(N * n, 0.0);
    t.rows.clear();
    t.small.assign(n * n + 2 * n, 0.0);
    const auto place = [&](std::size_t i) {
        return static_cast<std::size_t>(std::lower_bound(t.border.begin(), t.border.end(), i) - t.border.begin());
    };
    const auto in_border = [&](std::size_t k, std::size_t i) { return k < n && t.border[k] == i; };
    t.inside.clear();
    const auto move = [&](std::size_t row, std::size_t column, double value) {
        const std::size_t r = place(row), c = place(column);
        if (in_border(r, row) && in_border(c, column))
            t.small[r * n + c] += value;
        else if (in_border(r, row))
            t.rows.push_back({r, column, value});
        else if (in_border(c, column))
            t.columns[c * N + row] += value;
        else
            t.inside.push_back({row, column, value});
    };
    for (const TunnelElement& e : t.outside) move(e.row, e.column, e.value);
    for (const std::size_t s : t.border) {
        if (s >= N) break;  // a mean: all its elements are among those outside
        if (s > 0) {
            move(s, s - 1, std::exchange(w.sub[s], 0.0));
            if (w.super[s - 1] != 0.0) move(s - 1, s, std::exchange(w.super[s - 1], 0.0));
        }
        if (s + 1 < N) {
            move(s, s + 1, std::exchange(w.super[s], 0.0));
            if (w.sub[s + 1] != 0.0) move(s + 1, s, std::exchange(w.sub[s + 1], 0.0));
        }
        move(s, s, std::exchange(w.main[s], 1.0));
        t.small[n * n + place(s)] = std::exchange(w.res[s], 0.0);
    }
    const bool by_sums = t.inside.empty() && !t.row_sums.empty();
    // Behind the right-hand sides of the small system the sums of its rows; in the band a border row is x = 0.
    if (by_sums)
        for (std::size_t k = 0; k < n; ++k) t.small[n * n + n + k] = std::exchange(t.row_sums[t.border[k]], 1.0);
    if (t.inside.empty()) {
        if (!solve_band(w, n)) return false;
    } else {
        if (!decompose_envelope(w, t.inside)) return false;
        w.delta = w.res;
        solve_envelope(t, w.delta.data());
        for (std::size_t k = 0; k < n; ++k) solve_envelope(t, t.columns.data() + k * N);
    }
    const std::span<double> small(t.small.data(), n * n), x(t.small.data() + n * n, n);
    for (const TunnelElement& e : t.rows) {
        x[e.row] -= e.value * w.delta[e.column];
        for (std::size_t c = 0; c < n; ++c) small[e.row * n + c] -= e.value * t.columns[c * N + e.column];
    }
    if (by_sums) {
        double* sums = t.small.data() + n * n + n;
        for (const TunnelElement& e : t.rows) sums[e.row] -= e.value * t.row_sums[e.column];
        for (double& e : small) e = -e;  // elements beside the diagonal into couplings
        solve_by_row_sums({n, n - 1, small.data(), n, sums, x.data()});
    } else if (!solve_relative(t, small, x)) {
        return false;
    }
    for (std::size_t k = 0; k < n; ++k) {
        const double* column = t.columns.data() + k * N;
        for (std::size_t i = 0; i < N; ++i) w.delta[i] -= x[k] * column[i];
    }
    for (std::size_t k = 0; k < n && t.border[k] < N; ++k) w.delta[t.border[k]] = x[k];
    return is_finite(w.delta);
}

bool calculate_dc_delta_u_or_v_sparse(Workspace& w)
{
    if (!decompose_envelope(w, w.tunnel.outside)) return false;
    w.delta = w.res;
    solve_envelope(w.tunnel, w.delta.data());
    return is_finite(w.delta);
}

bool solve_with_tunnel_paths(Carrier carrier, Workspace& work)
{
    if (work.tunnel.outside.empty())
        return work.tunnel.row_sums.empty() ? calculate_dc_delta_u_or_v(work)
                                            : solve_band(work, 0) && is_finite(work.delta);
    return solve_bordered(work, carrier == Carrier::electrons ? work.tunnel.n : work.tunnel.p);
}

}  // namespace kovin
