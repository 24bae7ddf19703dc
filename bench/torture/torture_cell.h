// The torture set: cells at random, far harsher than practice, each made from its number alone.
//
// One to seven layers that need not fit together, 150 to 400 K, gaps of 0.5 to 3.5 eV, up to three defects a layer and
// a sheet of states at every second interface, contacts from nearly closed to open, dark or 1e-3 to 100 suns. The same
// seed and number give the same cell on every machine. The order of the draws is part of the set: a new figure goes to
// the end.
#pragma once

#include "device/cell_defaults.h"
#include "device/contacts.h"
#include "support/uniform_layer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kovin::torture {

/// Uniform random numbers. Source: Steele, Lea, Flood, OOPSLA (2014) 453 (splitmix64).
class Draws {
public:
    Draws(std::uint64_t seed, std::uint64_t id) : state(seed * 1000003 + id * 7919)
    {
        for (int k = 0; k < 8; ++k) next();
    }
    std::uint64_t next()
    {
        std::uint64_t z = state += 0x9e3779b97f4a7c15;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    /// In [0, 1).
    double u() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    /// Even between a and b.
    double even(double a, double b) { return a + (b - a) * u(); }
    /// Even in the logarithm between a and b.
    double even_log(double a, double b) { return a * std::pow(b / a, u()); }
    /// One of 0 .. n - 1.
    int one_of(int n) { return static_cast<int>(u() * n); }

private:
    std::uint64_t state;
};

/// A cell of the set and what is done with it. SI units.
struct TortureCell {
    CellParameters cell;
    double T = 300.0;           ///< [K]
    bool p_left = true;         ///< the acceptors are at the left: forward is a positive voltage
    double smallest_gap = 0.0;  ///< [eV]
    double flux = 0.0;          ///< photons absorbed in an endless cell [m^-2 s^-1]; 0 in the dark
    bool light_from_left = true;
    double absorption_length = 1e-6;  ///< [m]

    [[nodiscard]] bool dark() const { return flux == 0.0; }
    [[nodiscard]] double thickness() const
    {
        double d = 0.0;
        for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j) d += cell.layer[j].material.d;
        return d;
    }
    /// Generation at x [m] from the left contact [m^-3 s^-1].
    [[nodiscard]] double generation(double x) const { return mean_generation(x, x); }
    /// Its mean from x = a to b >= a.
    [[nodiscard]] double mean_generation(double a, double b) const
    {
        const double depth = light_from_left ? a : thickness() - b, width = (b - a) / absorption_length;
        const double mean = width > 0.0 ? -std::expm1(-width) / width : 1.0;  // over the value at the lit end
        return flux / absorption_length * std::exp(-depth / absorption_length) * mean;
    }
};

namespace detail {

/// Draws a layer. The laws of temperature are those of definition files, so that figures at 300 K are handed in: what
/// is drawn holds at `T`.
inline void draw_layer(Draws& draw, double T, double chi, double Eg, bool acceptors, LayerParameters& layer, int number)
{
    const double t = T / 300.0, s = std::sqrt(t);
    test::LayerFigures f;
    f.Eg = Eg;
    f.chi = chi;
    f.d = draw.even_log(5e-9, 2e-4);
    f.eps = draw.even(3.0, 20.0);
    f.Nc = draw.even_log(1e24, 5e25) / (s * t);
    f.Nv = draw.even_log(1e24, 5e25) / (s * t);
    f.mu_n = draw.even_log(1e-8, 1.0) / s;
    f.mu_p = draw.even_log(1e-8, 1.0) / s;
    f.v_th = 1e5 / s;
    const bool undoped = draw.u() < 0.15;
    const double doping = draw.even_log(1e16, 1e26);
    if (!undoped) (acceptors ? f.Na : f.Nd) = doping;
    test::set_layer(layer, number, f);

    constexpr DefectType types[] = {DefectType::neutral, DefectType::donor, DefectType::acceptor};
    const int defects = draw.one_of(4);
    for (int k = 0; k < defects; ++k) {
        const DefectType type = types[draw.one_of(3)];
        const double of_doping = draw.even_log(1e-4, 10.0);
        const double of_itself = draw.even_log(1e18, 1e22);
        const double Et = draw.even(0.05, 0.95) * Eg;
        BulkRecombinationParameters& level =
            test::add_defect(layer, type, EnergyDistribution::single, Et, undoped ? of_itself : doping * of_doping);
        level.sigma_n = draw.even_log(1e-21, 1e-17);
        level.sigma_p = draw.even_log(1e-21, 1e-17);
    }
}

/// Draws the states between two layers, which are there in about half of the cases.
inline void draw_interface(Draws& draw, const MaterialParameters& left, const MaterialParameters& right,
                           InterfaceParameters& interface)
{
    constexpr DefectType types[] = {DefectType::neutral, DefectType::acceptor, DefectType::donor};
    const double valence = std::min(left.chi.left + left.Eg.left, right.chi.left + right.Eg.left);  // below vacuum
    const double gap = valence - std::max(left.chi.left, right.chi.left);
    const bool wanted = draw.u() < 0.5;
    InterfaceRecombinationParameters d;
    InitialiseInterfaceRecombinationParameters(d, interface.number, 0);
    d.defectType = types[draw.one_of(3)];
    d.N = d.N_peak = draw.even_log(1e12, 1e18);
    d.reference = EnergyReference::above_highest_EV;
    d.Et = draw.even(0.05, 0.95) * gap;
    d.sigma_nleft = d.sigma_nright = draw.even_log(1e-21, 1e-18);
    d.sigma_pleft = d.sigma_pright = draw.even_log(1e-21, 1e-18);
    if (wanted && gap > 0.2) interface.defects[static_cast<std::size_t>(interface.defect_count++)] = d;
}

/// Draws a barrier and gives the contact the work function of flat bands, moved by it so that it depletes the majority;
/// it stays 0.05 eV from the far band.
inline void draw_barrier(Draws& draw, int side, ContactParameters& contact, LayerParameters& layer, double T)
{
    const double barrier = draw.u() < 0.5 ? 0.0 : draw.even(0.0, 0.6);
    const MaterialParameters& m = layer.material;
    const double chi = m.chi.left, Eg = m.Eg.left;
    // A layer that is intrinsic to the last digit has no flat-band contact of its own.
    contact.Fi_m = chi + 0.5 * Eg + 0.5 * thermal_voltage(T) * std::log(m.Nc.left / m.Nv.left);
    contact.majority_type = 0;
    contact.flatband = true;
    CheckContactsWithActualLayerParameters(side, contact, layer, T, ConvergenceParameters{});
    if (barrier == 0.0) return;
    contact.flatband = false;
    contact.Fi_m = contact.majority_type > 0 ? std::max(contact.Fi_m - barrier, chi + 0.05)
                                             : std::min(contact.Fi_m + barrier, chi + Eg - 0.05);
}

}  // namespace detail

inline constexpr std::uint64_t usual_seed = 20240607;

/// Cell number `id` of the set that belongs to `seed`.
inline void make_torture_cell(std::uint64_t seed, std::uint64_t id, TortureCell& torture)
{
    Draws draw(seed, id);
    torture = TortureCell{};
    CellParameters& cell = torture.cell;
    InitialiseCellDefinition(cell);
    const double T = torture.T = draw.even(150.0, 400.0);
    cell.layers = 1 + draw.one_of(7);
    const auto n = static_cast<std::size_t>(cell.layers);
    torture.p_left = draw.one_of(2) == 1;
    const int junction = cell.layers > 1 ? 1 + draw.one_of(cell.layers - 1) : 1;
    double chi = draw.even(3.8, 4.6), Eg = draw.even(0.5, 3.5);
    for (int j = 0; j < cell.layers; ++j) {
        if (j > 0) {
            const double dc = draw.even(-0.5, 0.5), dv = draw.even(-0.5, 0.5);
            const double valence = chi + Eg + dv;
            chi += dc;
            Eg = std::clamp(valence - chi, 0.5, 3.5);
        }
        torture.smallest_gap = j == 0 ? Eg : std::min(torture.smallest_gap, Eg);
        detail::draw_layer(draw, T, chi, Eg, (j < junction) == torture.p_left, cell.layer[static_cast<std::size_t>(j)],
                           j);
    }
    for (std::size_t i = 0; i + 1 < n; ++i)
        detail::draw_interface(draw, cell.layer[i].material, cell.layer[i + 1].material, cell.interfaces[i]);

    for (double* S : {&cell.left.Sn, &cell.left.Sp, &cell.right.Sn, &cell.right.Sp}) *S = draw.even_log(1e-2, 1e5);
    detail::draw_barrier(draw, -1, cell.left, cell.layer[0], T);
    detail::draw_barrier(draw, +1, cell.right, cell.layer[n - 1], T);
    const bool dark = draw.u() < 0.2;
    const double suns = dark ? 0.0 : std::pow(10.0, draw.even(-3.0, 2.0));
    torture.flux = 2.5e21 * suns;
    torture.light_from_left = draw.one_of(2) == 0;
    torture.absorption_length = draw.even_log(1e-8, 1e-4);
}

}  // namespace kovin::torture
