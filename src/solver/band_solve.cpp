#include "solver/band_solve.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

/// Divides the rows first to last by their largest elements. A row of zeros, infinities or NaN becomes NaN, which
/// spreads over the whole solution and is found at its end.
void scale_rows(Workspace& w, std::size_t first, std::size_t last)
{
    double *sub = w.sub.data(), *main = w.main.data(), *super = w.super.data(), *res = w.res.data();
#pragma GCC ivdep
    for (std::size_t i = first; i <= last; ++i) {
        const double size =
            std::max(std::max(std::fabs(sub[i]), std::fabs(main[i])), std::max(std::fabs(super[i]), std::fabs(res[i])));
        const double s = 1.0 / size;
        sub[i] *= s;
        main[i] *= s;
        super[i] *= s;
        res[i] *= s;
    }
}

}  // namespace

bool calculate_dc_delta_u_or_v(Workspace& w)
{
    const std::size_t N = w.res.size();
    scale_rows(w, 0, N - 1);
    // Elimination from both ends towards the middle: each pivot waits for the division of the one before, and two such
    // chains run side by side. t couples a point to its neighbour on the side of the middle.
    const std::size_t middle = N / 2;
    double t_left = 0.0, t_right = 0.0, d_left = 0.0, d_right = 0.0;
    for (std::size_t k = 0; k < middle; ++k) {
        const std::size_t i = k, m = N - 1 - k;
        const double a = w.main[i] - t_left * w.sub[i];
        t_left = w.t[i] = w.super[i] / a;
        d_left = w.delta[i] = (w.res[i] - d_left * w.sub[i]) / a;
        if (m == middle) break;  // an even number of points: one less on the right
        const double b = w.main[m] - t_right * w.super[m];
        t_right = w.t[m] = w.sub[m] / b;
        d_right = w.delta[m] = (w.res[m] - d_right * w.super[m]) / b;
    }
    const double a = w.main[middle] - t_left * w.sub[middle] - t_right * w.super[middle];
    w.delta[middle] = (w.res[middle] - d_left * w.sub[middle] - d_right * w.super[middle]) / a;
    for (std::size_t i = middle; i-- > 0;) w.delta[i] -= w.delta[i + 1] * w.t[i];
    for (std::size_t i = middle + 1; i < N; ++i) w.delta[i] -= w.delta[i - 1] * w.t[i];
    return std::isfinite(w.delta.front()) && std::isfinite(w.delta.back());
}

bool calculate_dc_delta_psi(const Mesh& mesh, Workspace& w)
{
    const std::size_t N = w.res.size(), layers = static_cast<std::size_t>(mesh.nlayers);
    const auto last_of = [&](std::size_t j) { return static_cast<std::size_t>(mesh.last[j]); };
    for (std::size_t j = 0, first = 0; j < layers; first = last_of(j++) + 1) {
        const std::size_t l = last_of(j);
        if (j + 1 == layers) {
            scale_rows(w, first, l);
            break;
        }
        scale_rows(w, first, l - 1);
        double size = std::fabs(w.extra[j]);
        for (double element : {w.sub[l], w.main[l], w.super[l], w.res[l]}) size = std::max(size, std::fabs(element));
        for (double* element : {&w.sub[l], &w.main[l], &w.super[l], &w.res[l], &w.extra[j]}) *element /= size;
    }
    double a = w.main[0];
    if (a == 0.0) return false;
    w.delta[0] = w.res[0] / a;
    for (std::size_t j = 0, i = 1; j < layers; ++j) {
        w.E[j] = 0.0;
        for (; i <= last_of(j); ++i) {
            w.t[i] = w.super[i - 1] / a;
            // Second point of a layer: row i - 1 = f has inherited the element outside the band of row l = f - 1.
            if (j > 0 && i == last_of(j - 1) + 2) w.t[i] -= w.sub[i - 1] * w.E[j - 1] / a;
            a = w.main[i] - w.t[i] * w.sub[i];
            if (a == 0.0) return false;
            w.delta[i] = (w.res[i] - w.delta[i - 1] * w.sub[i]) / a;
            if (i == last_of(j) && j + 1 < layers) w.E[j] = w.extra[j] / a;
        }
    }
    for (std::size_t j = layers; j-- > 0;) {
        const std::size_t first = static_cast<std::size_t>(mesh.first[j]);
        for (std::size_t i = last_of(j) + 1; i-- > first;) {
            if (i + 1 < N) w.delta[i] -= w.delta[i + 1] * w.t[i + 1];
            if (i == last_of(j) && j + 1 < layers) w.delta[i] -= w.delta[i + 2] * w.E[j];
        }
    }
    return std::isfinite(w.delta[0]);
}

}  // namespace kovin
