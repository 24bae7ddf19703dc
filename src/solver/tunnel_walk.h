// What tunnel paths are made from: the view that one carrier has of bands, masses and rows, and the walk from the top
// of a barrier down its flank, which gives an energy slice at each point that lies lower than all before.
#pragma once

#include "solver/problem.h"
#include "solver/residuals.h"
#include "solver/state.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace kovin {

/// The barrier of both carriers at the points of the mesh into work.Ec and work.Ev.
void tunnel_barriers(const CalculationParameters& set3, const CalculationVariables& cv, TunnelWork& work);

/// What Boltzmann's supply at an energy E, a = X exp(-E) at one end and b at the other one, has to be multiplied by for
/// that of states which hold one carrier each:
///
///     (ln(1 + a) - ln(1 + b))/(a - b),   1/(1 + a) where both are equal
///
/// @return at most 1; 1 where that is off by less than 1e-6
/// Source: Tsu, Esaki, Appl. Phys. Lett. 22 (1973) 562.
[[nodiscard]] double supply_limit(double a, double b);

/// Share of the states that are filled, at an energy x above the level of the carriers [kT].
[[nodiscard]] inline double fermi(double x) { return 1.0 / (1.0 + std::exp(x)); }

/// What the paths of one carrier are made from.
struct TunnelView {
    const Problem& problem;
    const Mesh& mesh;
    const TunnelPlaces& places;
    const std::vector<std::size_t>& layer;
    const std::vector<double>& E;  ///< barrier, upwards [kT]
    const std::vector<double>&b, &mass, &vth;
    const std::vector<double>& X;              ///< u or v
    double X_right_metal;                      ///< that of the left one is 1
    const std::vector<double>&source, &W, &C;  ///< factors of the rows, see discretisation
    double TunnelPlace::*place_mass;
    double Discretisation::Interface::*velocity;
    double S_left, S_right;
    double unit;  ///< of the exponent
    std::vector<TunnelPath>& paths;

    /// T of the path between two points, from <= to.
    [[nodiscard]] double exponent(double m, std::size_t from, std::size_t to, double level) const;
    [[nodiscard]] double chosen_mass(double m1, double m2) const;
    [[nodiscard]] double N0(std::size_t i) const { return problem.set3.scale.N0[layer[i]]; }
    [[nodiscard]] bool ends_layer(std::size_t i) const { return i == static_cast<std::size_t>(mesh.last[layer[i]]); }
    [[nodiscard]] bool begins_layer(std::size_t i) const { return i == static_cast<std::size_t>(mesh.first[layer[i]]); }
    /// What a unit of absolute flux that arrives adds to the row of a point.
    [[nodiscard]] double row(std::size_t i) const
    {
        const double c = begins_layer(i) || ends_layer(i) ? C[i] : source[i] * W[i] * 2.0 / (mesh.h[i - 1] + mesh.h[i]);
        return c / (N0(i) * b[i]);
    }
    /// X of a point or a metal.
    [[nodiscard]] double X_of(int from) const
    {
        return from >= 0 ? X[static_cast<std::size_t>(from)] : from == right_metal ? X_right_metal : 1.0;
    }
    /// The supply_limit of a path at an energy. @param boltzmann  exp(-E)
    [[nodiscard]] double limit(int from, std::size_t target, double boltzmann) const
    {
        return supply_limit(X_of(from) * boltzmann, X[target] * boltzmann);
    }
    /// Adds a path from a point or a metal; one that ends where the last one does joins it.
    void add(int from, std::size_t target, double strength) const;
};

/// @pre tunnel_barriers of this state
[[nodiscard]] TunnelView tunnel_view(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                                     TunnelWork& work);

/// The walk away from a barrier's top at point s in direction d.
struct TunnelWalk {
    const TunnelView& view;
    std::size_t s;
    int d;
    double top;          ///< E[s]
    double floor;        ///< lowest energy that the walk can reach: the tail ends there
    double mass;         ///< of the place
    double least = 0.0;  ///< a path counts whose barrier rises at least this far above it [kT]
    double highest = top;
    double last = top;
    double sum = 0.0;

    [[nodiscard]] std::size_t before(std::size_t k) const { return d > 0 ? k - 1 : k + 1; }
    /// Between k and the point before it lies a step of the band, at an interface.
    [[nodiscard]] bool is_step(std::size_t k) const { return view.mesh.h[d > 0 ? k - 1 : k] == 0.0; }
    /// Supply times transmission of an energy whose path ends between k and the point before it, the supply at the top
    /// being 1 [per kT].
    [[nodiscard]] double per_energy(std::size_t k, double level) const;
    /// The energies of a slice and what they have: the mean is that over the slice.
    struct Energies {
        double level[2], density[2];  ///< the latter per kT
        [[nodiscard]] double mean() const { return 0.5 * (density[0] + density[1]); }
    };
    [[nodiscard]] Energies energies_of(std::size_t k, double upper, double lower) const;
    /// Counts the slice from `upper` to `lower`. @return the tail is negligible from here on
    bool count(double upper, double lower, double per_energy);
    /// Makes the paths of the energies between `upper` and `lower`, whose carriers end between k and the point before
    /// it: half at each. (All of them at k, driven by the mean of both, would let X swing from point to point where
    /// tunnelling is stronger than diffusion.) @return the tail is negligible from here on
    bool slice(int source, double coefficient, std::size_t k, double upper, double lower);
};

/// Number of slices of an energy range of the walk [kT]: one, but for a step of the band.
[[nodiscard]] int slices_of(double range, bool step);

}  // namespace kovin
