#include "solver/band_solve.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

/// Largest magnitude of a row; a row of zeros, infinities or NaN has no usable scale.
bool usable(double scale) { return scale > 0.0 && std::isfinite(scale); }

double row_scale(const Workspace& w, std::size_t i)
{
    return std::max(std::max(std::fabs(w.sub[i]), std::fabs(w.main[i])),
                    std::max(std::fabs(w.super[i]), std::fabs(w.res[i])));
}

bool scale_row(Workspace& w, std::size_t i, double scale)
{
    if (!usable(scale)) return false;
    const double s = 1.0 / scale;
    w.sub[i] *= s;
    w.main[i] *= s;
    w.super[i] *= s;
    w.res[i] *= s;
    return true;
}

}  // namespace

bool calculate_dc_delta_u_or_v(Workspace& w)
{
    const std::size_t N = w.res.size();
    for (std::size_t i = 0; i < N; ++i)
        if (!scale_row(w, i, row_scale(w, i))) return false;
    double a = w.main[0];
    if (a == 0.0) return false;
    w.delta[0] = w.res[0] / a;
    for (std::size_t i = 1; i < N; ++i) {
        w.t[i] = w.super[i - 1] / a;
        a = w.main[i] - w.t[i] * w.sub[i];
        if (a == 0.0) return false;
        w.delta[i] = (w.res[i] - w.delta[i - 1] * w.sub[i]) / a;
    }
    for (std::size_t i = N - 1; i-- > 0;) w.delta[i] -= w.delta[i + 1] * w.t[i + 1];
    return std::isfinite(w.delta[0]);
}

bool calculate_dc_delta_psi(const Mesh& mesh, Workspace& w)
{
    const std::size_t N = w.res.size(), layers = static_cast<std::size_t>(mesh.nlayers);
    const auto last_of = [&](std::size_t j) { return static_cast<std::size_t>(mesh.last[j]); };
    for (std::size_t j = 0, i = 0; j < layers; ++j)
        for (; i <= last_of(j); ++i) {
            double scale = row_scale(w, i);
            const bool has_extra = i == last_of(j) && j + 1 < layers;
            if (has_extra) scale = std::max(scale, std::fabs(w.extra[j]));
            if (!scale_row(w, i, scale)) return false;
            if (has_extra) w.extra[j] /= scale;
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
