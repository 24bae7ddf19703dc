// Tunnel currents against quadrature over the energy: transmission times supply, in SI units from the figures of the
// cell. Of the program it takes the bands, the levels and the integral over a barrier that is straight between points.
#include "tunnel_quadrature.h"
#include "solver/currents.h"
#include "tunnel_cells.h"

#include <gtest/gtest.h>

#include <utility>

namespace kovin {
namespace {

using namespace testing;
using namespace testing::tunnelling;

/// Current that `flux` particles [m^-2 s^-1] carry to the right in direction d [mA/cm2].
double current_of(double flux, int d) { return -0.1 * elementary_charge * d * flux; }

/// At the voltage, with the bands of its state.
Device solved(const CellParameters& cell, double V)
{
    Device device(cell, 300.0, fixed_mesh);
    EXPECT_TRUE(device.solve_equilibrium() && device.go_to(V, 4));
    find_tunnel_paths(device.problem(), device.cv, Carrier::electrons, device.memory.work.tunnel);
    return device;
}

double lowest(const std::vector<double>& E, std::size_t from, std::size_t to)
{
    return *std::min_element(E.begin() + static_cast<std::ptrdiff_t>(from),
                             E.begin() + static_cast<std::ptrdiff_t>(to) + 1);
}

TEST(TunnelQuadrature, Contacts)
{
    const struct {
        CellParameters cell;
        double V, Nc, m;
    } rows[] = {{schottky(), 0.05, 2.8e25, 0.26},
                {schottky(), -0.05, 2.8e25, 0.26},
                {schottky(0.002), 0.05, 2.8e25, 0.26},
                {schottky(0.02), 0.05, 2.8e25, 0.26},
                {schottky(-0.002), 0.05, 2.8e25, 0.26},
                {schottky(), -0.5, 2.8e25, 0.26},  // energies far below the level of the metal
                {schottky(), -1.0, 2.8e25, 0.26},
                {schottky(), -2.0, 2.8e25, 0.26},
                {metal_on_barrier(), 0.02, 5.2e23, 0.075}};  // most of it ends at a step of 0.5 eV
    for (const auto& row : rows) {
        const Device device = solved(row.cell, row.V);
        const auto& E = device.memory.work.tunnel.Ec;
        const double flux =
            row.Nc * 1e5 * std::exp(-E[0]) *
            descent(device, E, 0, 1, lowest(E, 0, E.size() - 1), row.m, device.set3.on.m_e, 0.0, 1.0, device.cv.expFn);
        EXPECT_NEAR(device.cv.contact_tunnel.j_n_left / current_of(flux, 1), 1.0, 3e-3) << row.V << ' ' << row.m;
    }
}

TEST(TunnelQuadrature, SpikesAtInterfaces)
{
    const struct {
        CellParameters cell;
        bool turned;
    } rows[] = {{window(), false},
                {mirrored(window()), true},
                {window(3e23), false},
                {window(3e22), false},
                {graded_window(), false}};
    for (const auto& row : rows) {
        const int d = row.turned ? -1 : 1;
        const Device device = solved(row.cell, 0.02 * d);
        const auto& E = device.memory.work.tunnel.Ec;
        const auto& u = device.cv.expFn;
        const std::size_t l = device.last(0), a = row.turned ? l + 1 : l, b = row.turned ? l : l + 1;
        const double end = row.turned ? lowest(E, 0, b) : lowest(E, b, E.size() - 1);
        // The side with fewer states limits what passes, 2.1e17 cm-3 here.
        const double flux = 2.1e23 * 1e5 * std::exp(-E[b]) *
                            descent(device, E, b, d, std::max(E[a], end), 0.075, device.set3.on.m_e, 2.0, u[a], u);
        EXPECT_NEAR(device.cv.jn_tunnel[l] / current_of(flux, d), 1.0, 5e-3) << row.turned;
    }
}

TEST(TunnelQuadrature, InterfaceToInterface)
{
    for (const double V : {0.01, -0.02}) {
        const Device device = solved(thin_barrier(), V);
        const auto& E = device.memory.work.tunnel.Ec;
        const auto& u = device.cv.expFn;
        const std::size_t la = device.last(0), fa = la + 1, lb = device.last(1), fb = lb + 1;
        const double flux = 2.1e23 * 1e5 * integral(std::max(E[la], E[fb]), lowest(E, fa, lb), [&](double level) {
                                const double T = std::sqrt(0.075) * exponent(device, E, fa, lb, level);
                                return std::exp(-level - T) * driven(level, u[la], u[fb]);
                            });
        double J = 0.0;
        for (const TunnelPath& t : device.memory.work.tunnel.n.paths)
            if (t.source == static_cast<int>(la) && t.target == static_cast<int>(fb))
                J += current_of(t.strength * device.set3.scale.D0 / device.set3.scale.x0 * (u[la] - u[fb]), 1);
        EXPECT_NEAR(J / current_of(flux, 1), 1.0, 2.5e-3) << V;
        EXPECT_NEAR(device.cv.jn_tunnel[fa + 1] / J, 1.0, 0.1) << V;
    }
}

TEST(TunnelQuadrature, BarriersInTheBulk)
{
    for (const double V : {0.04, -0.04}) {
        const Device device = solved(planar_doped_barrier(), V);
        const auto& E = device.memory.work.tunnel.Ec;
        const auto& u = device.cv.expFn;
        const auto top = static_cast<std::size_t>(std::max_element(E.begin(), E.end()) - E.begin());
        const double bottom = std::max(lowest(E, 0, top), lowest(E, top, E.size() - 1));
        const double flux = 2.8e25 * 1e5 * integral(bottom, E[top] - 2.0, [&](double level) {
                                const Crossing left(E, top, -1, level), right(E, top, 1, level);
                                const double T = std::sqrt(0.1) * exponent(device, E, left, right, level);
                                return std::exp(-level - T) * driven(level, left.of(u), right.of(u));
                            });
        EXPECT_NEAR(device.cv.jn_tunnel[top] / current_of(flux, 1), 1.0, 0.1) << V;
    }
}

// From the valence band of the p side to the conduction band of the n side and back.
TEST(TunnelQuadrature, BandToBand)
{
    for (const double V : {-0.05, -0.1, -0.2}) {
        const Device device = solved(tunnel_diode(), V);
        const auto &Ec = device.memory.work.tunnel.Ec, &Ev = device.memory.work.tunnel.Ev;
        const double flux =
            2.8e25 * 1e5 * integral(lowest(Ec, 0, Ec.size() - 1), -lowest(Ev, 0, Ev.size() - 1), [&](double level) {
                const Crossing n(Ec, 0, 1, level), p(Ev, Ev.size() - 1, -1, -level);
                const auto fermi = [&](double F) { return 1.0 / (1.0 + std::exp(level - F)); };
                const double T = std::sqrt(0.05) * exponent(device, Ec, p, n, level);
                return std::exp(-T) * (fermi(n.of(device.cv.Fn)) - fermi(p.of(device.cv.Fp)));
            });
        const double J = *std::min_element(device.cv.jn_tunnel.begin(), device.cv.jn_tunnel.end());
        EXPECT_NEAR(J / current_of(flux, -1), 1.0, 0.01) << V;
    }
}

}  // namespace
}  // namespace kovin
