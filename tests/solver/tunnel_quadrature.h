// Integrals over the energy of what tunnels, for comparison.
#pragma once

#include "solver/devices.h"
#include "solver/tunnel_wkb.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kovin::testing::tunnelling {

/// Where a band crosses an energy: between the points `near` and k, at the share from `near` to k.
struct Crossing {
    std::size_t near, k;
    double share;

    /// The first one from point s on in direction d at which E comes from above.
    Crossing(const std::vector<double>& E, std::size_t s, int d, double level) : near(s), k(s), share(1.0)
    {
        while (E[k] > level && (d > 0 ? k + 1 < E.size() : k > 0)) {
            near = k;
            k = d > 0 ? k + 1 : k - 1;
        }
        if (k != near) share = std::clamp((E[near] - level) / (E[near] - E[k]), 0.0, 1.0);
    }
    [[nodiscard]] double of(const std::vector<double>& X) const { return X[near] + share * (X[k] - X[near]); }
};

/// T of the barrier between two points at one energy, for the mass 1.
inline double exponent(const Device& device, const std::vector<double>& E, std::size_t i, std::size_t k, double level)
{
    return wkb_unit(device.set3.kT, device.set3.scale.x0) *
           wkb_integral(E.data(), device.cv.mesh.h.data(), std::min(i, k), std::max(i, k), level);
}

/// The same between two crossings, up to both of them.
inline double exponent(const Device& device, const std::vector<double>& E, const Crossing& a, const Crossing& b,
                       double level)
{
    double sum =
        wkb_integral(E.data(), device.cv.mesh.h.data(), std::min(a.near, b.near), std::max(a.near, b.near), level);
    for (const Crossing* end : {&a, &b})
        sum += end->share * device.cv.mesh.h[std::min(end->near, end->k)] *
               wkb_step(E[end->near] - level, end->of(E) - level);
    return wkb_unit(device.set3.kT, device.set3.scale.x0) * sum;
}

/// Integral of `f` from a to b.
template <class F>
double integral(double a, double b, const F& f)
{
    constexpr int slices = 20000;
    double sum = 0.0;
    for (int n = 0; n < slices; ++n) sum += f(a + (b - a) * (n + 0.5) / slices);
    return sum * (b - a) / slices;
}

/// Supply of Tsu and Esaki from one end less that from the other one, over exp(-level).
inline double driven(double level, double X_source, double X)
{
    return std::exp(level) * (std::log1p(X_source * std::exp(-level)) - std::log1p(X * std::exp(-level)));
}
/// What each energy of a descent brings.
using Drive = double (*)(double level, double X_source, double X);

/// Integral of exp(top - E - T) `drive` from `bottom` to `least` below the top, E[s]: the carriers end in the flank
/// beyond s. Masses are the smaller of the place and the layer.
inline double descent(const Device& device, const std::vector<double>& E, std::size_t s, int d, double bottom,
                      double mass, const std::vector<double>& layer_mass, double least, double X_source,
                      const std::vector<double>& X, Drive drive = driven)
{
    return integral(bottom, E[s] - least, [&](double level) {
        const Crossing end(E, s, d, level);
        const bool step = device.cv.mesh.h[std::min(end.near, end.k)] == 0.0;  // its foot alone has states
        const double m = std::min(mass, layer_mass[end.k]);
        return std::exp(E[s] - level - std::sqrt(m) * exponent(device, E, s, end.k, level)) *
               drive(level, X_source, step ? X[end.k] : end.of(X));
    });
}

}  // namespace kovin::testing::tunnelling
