// Cells that tunnel, one for each kind of path.
#pragma once

#include "solver/devices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace kovin::testing::tunnelling {

inline constexpr LayerSketch silicon{1e-7, 1.12, 4.05, 11.9, 2.8e25, 1.04e25, 0.1, 0.04, 0.0, 0.0};

inline LayerParameters& add(CellParameters& cell, LayerSketch sketch, double d, double Nd, double Na, double m)
{
    sketch.d = d, sketch.Nd = Nd, sketch.Na = Na;
    LayerParameters& layer = add_layer(cell, sketch);
    set_uniform(layer.material.m_e, m);
    set_uniform(layer.material.m_h, m);
    return layer;
}

inline CellParameters empty_cell()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
    return cell;
}

inline void open(InterfaceParameters& interface, double m)
{
    interface.tunneling = true;
    interface.m_e = interface.m_h = m;
}

inline void metal_at_left(CellParameters& cell, double work_function, double m)
{
    cell.left.flatband = false;
    cell.left.Fi_m = work_function;
    cell.left.tunneling = true;
    cell.left.m_e = cell.left.m_h = m;
}

/// Metal on n-silicon of 5e18 cm-3, barrier 0.7 eV, in two layers that meet 3 nm below the metal.
/// @param step  by which the band falls there [eV]
inline CellParameters schottky(double step = 0.0)
{
    CellParameters cell = empty_cell();
    LayerSketch deeper = silicon;
    deeper.chi += step;
    add(cell, silicon, 3e-9, 5e24, 0.0, 0.26);
    add(cell, deeper, 9.7e-8, 5e24, 0.0, 0.26);
    metal_at_left(cell, 4.75, 0.26);
    return cell;
}

/// The same with holes in the part of the electrons.
inline CellParameters schottky_of_holes()
{
    CellParameters cell = schottky();
    for (std::size_t j = 0; j < 2; ++j) {
        MaterialParameters& m = cell.layer[j].material;
        std::swap(m.Nd, m.Na);
        std::swap(m.Nc, m.Nv);
        std::swap(m.mu_n, m.mu_p);
        std::swap(m.v_th_n, m.v_th_p);
    }
    cell.left.Fi_m = 4.05 + 1.12 - 0.7;
    return cell;
}

inline constexpr LayerSketch ingaas{3e-6, 0.74, 4.5, 13.9, 2.1e23, 7.7e24, 0.8, 0.025, 0.0, 0.0};
inline constexpr LayerSketch inalas{1e-7, 1.46, 4.0, 12.5, 5.2e23, 9e24, 0.08, 0.0075, 0.0, 0.0};

/// Metal on 3 nm of InAlAs on n-InGaAs: the band falls by 0.5 eV where the barrier ends.
inline CellParameters metal_on_barrier()
{
    CellParameters cell = empty_cell();
    add(cell, inalas, 3e-9, 0.0, 0.0, 0.075);
    add(cell, ingaas, 3e-7, 1e23, 0.0, 0.041);
    metal_at_left(cell, 4.6, 0.075);
    return cell;
}

/// n-InGaAs and a window of N-InAlAs: a spike of 0.5 eV, 14 nm wide.
inline CellParameters window(double Nd = 3e24)
{
    CellParameters cell = empty_cell();
    add(cell, ingaas, 3e-7, 1e23, 0.0, 0.041);
    add(cell, inalas, 1e-7, Nd, 0.0, 0.075);
    open(cell.interfaces[0], 0.075);
    return cell;
}

/// The same with paths from point to point as well.
inline CellParameters window_and_bulk()
{
    CellParameters cell = window();
    for (std::size_t j = 0; j < 2; ++j) cell.layer[j].material.tunneling = true;
    return cell;
}

/// The first one with affinity, gap and masses of the window graded: of the local masses some are below that of the
/// interface.
inline CellParameters graded_window()
{
    CellParameters cell = window(1e24);
    MaterialParameters& m = cell.layer[1].material;
    const auto grade = [](Profile& p, double left, double right) {
        p.law = Law::linear;
        p.dependence = Dependence::on_x;
        p.pure_A = p.left = left;
        p.pure_B = p.right = right;
    };
    grade(m.chi, 4.0, 3.6);
    grade(m.Eg, 1.46, 1.86);
    grade(m.m_e, 0.05, 0.4);
    return cell;
}

/// Two nanometres of InAlAs between layers of n-InGaAs.
inline CellParameters thin_barrier()
{
    CellParameters cell = empty_cell();
    add(cell, ingaas, 1e-7, 1e23, 0.0, 0.041);
    add(cell, inalas, 2e-9, 0.0, 0.0, 0.075);
    add(cell, ingaas, 1.5e-7, 1e23, 0.0, 0.041);
    for (std::size_t j = 0; j < 2; ++j) open(cell.interfaces[j], 0.075);
    return cell;
}

/// A barrier made by a sheet of acceptors in n-silicon. Recombination gives the holes, which float in it, a level.
inline CellParameters planar_doped_barrier()
{
    CellParameters cell = empty_cell();
    add(cell, silicon, 5e-8, 2e24, 0.0, 0.1);
    add(cell, silicon, 4e-9, 0.0, 2e25, 0.1);
    add(cell, silicon, 5e-8, 2e24, 0.0, 0.1);
    for (std::size_t j = 0; j < 3; ++j) {
        cell.layer[j].material.tunneling = true;
        add_defect(cell.layer[j], DefectType::neutral, 1e22, 0.56, 1e-19, 1e-19);
    }
    return cell;
}

/// p+ and n+ of 0.7 eV and 3e19 cm-3 each: the bands cross in reverse.
inline CellParameters tunnel_diode(double N = 3e25)
{
    CellParameters cell = empty_cell();
    LayerSketch narrow = silicon;
    narrow.Eg = 0.7;
    add(cell, narrow, 5e-8, 0.0, N, 0.05);
    add(cell, narrow, 5e-8, N, 0.0, 0.05);
    for (std::size_t j = 0; j < 2; ++j) cell.layer[j].material.tunneling = true;
    return cell;
}

/// The left (0) and the right (1) subcell of silicon, p on n each, with the half of a tunnel junction of doping N that
/// belongs to it.
inline void add_subcell(CellParameters& cell, int k, double N)
{
    const auto part = [&](double d, double Nd, double Na, bool heavy) {
        LayerParameters& layer = add(cell, silicon, d, Nd, Na, 0.1);
        layer.material.tunneling = heavy;
        add_defect(layer, DefectType::neutral, 1e22, 0.56, 1e-19, 1e-19);
    };
    if (k > 0) part(2e-8, 0.0, N, true);
    part(std::ldexp(1e-6, -k), 0.0, 1e22, false);
    part(1e-7, 1e24, 0.0, false);
    if (k == 0) part(2e-8, N, 0.0, true);
}
inline CellParameters subcell(int k)
{
    CellParameters cell = empty_cell();
    add_subcell(cell, k, 1e26);
    return cell;
}
inline CellParameters tandem(double N = 1e26)
{
    CellParameters cell = empty_cell();
    for (const int k : {0, 1}) add_subcell(cell, k, N);
    return cell;
}

/// Subcells whose doping rises towards the junctions between them.
inline void add_graded_subcell(CellParameters& cell, int k)
{
    const auto part = [&](double d, Profile MaterialParameters::*doping, double left, double right) {
        LayerParameters& layer = add(cell, silicon, d, 0.0, 0.0, 0.1);
        layer.material.tunneling = true;
        Profile& p = layer.material.*doping;
        p.law = Law::exponential;
        p.dependence = Dependence::on_x;
        p.pure_A = p.left = left;
        p.pure_B = p.right = right;
        add_defect(layer, DefectType::neutral, 1e22, 0.56, 1e-19, 1e-19);
    };
    part(std::ldexp(1e-6, -k), &MaterialParameters::Na, k > 0 ? 1e26 : 1e22, 1e22);
    part(1e-7, &MaterialParameters::Nd, 1e23, 1e26);
}
inline CellParameters graded_subcell(int k)
{
    CellParameters cell = empty_cell();
    add_graded_subcell(cell, k);
    cell.left.Sn = cell.right.Sp = 1e8;  // the other half of a junction takes all minority carriers that reach it
    return cell;
}
/// Three of them, and a third junction at the right contact.
inline CellParameters three_junctions()
{
    CellParameters cell = empty_cell();
    for (const int k : {0, 1, 2}) add_graded_subcell(cell, k);
    add(cell, silicon, 2e-8, 0.0, 1e26, 0.1).material.tunneling = true;
    return cell;
}

/// A stack whose electrons leave through a spike of 0.3 eV, open or shut.
inline CellParameters stack_with_spike(double N, bool open_spike)
{
    CellParameters cell = tandem(N);
    LayerSketch window = silicon;
    window.chi -= 0.3, window.Eg += 0.3;
    add(cell, window, 5e-8, 3e24, 0.0, 0.1);
    if (open_spike) open(cell.interfaces[static_cast<std::size_t>(cell.layers) - 2], 0.1);
    return cell;
}

/// p+ and n+ silicon with states amid the gap between them, which carriers of both sides reach through their flanks.
inline CellParameters junction_with_states(double N = 1e16)
{
    CellParameters cell = empty_cell();
    for (const bool p : {true, false}) add(cell, silicon, 2e-7, p ? 0.0 : 1e24, p ? 2.5e24 : 0.0, 0.1);
    auto& states = add_sheet(cell, 0, DefectType::neutral, N, EnergyReference::above_EV_left, 0.56, 1e-19, 1e-19);
    states.tunneling = true;
    states.m_e = states.m_h = 0.1;
    return cell;
}
/// The same with charged ones spread over the gap, which capture unlike on both sides, between layers of which one has
/// a wider gap.
inline CellParameters junction_with_spread_states()
{
    CellParameters cell = junction_with_states();
    MaterialParameters& m = cell.layer[1].material;
    set_uniform(m.Eg, 1.25);
    set_uniform(m.chi, 4.0);
    InterfaceRecombinationParameters& states = cell.interfaces[0].defects[0];
    states.defectType = DefectType::acceptor;
    states.energy_distribution = EnergyDistribution::uniform;
    states.Ekar = 0.3;
    states.sigma_nright = states.sigma_pleft = 3e-19;
    return cell;
}

inline void all_kinds(ConvergenceParameters& c)
{
    c.Tunnelcontact_allowed = c.Tunnelintraband_allowed = c.TunnelBtoB_allowed = c.Tunneliface_allowed = 1;
}

struct Case {
    const char* name;
    CellParameters cell;
    double V;
    double mirror;  ///< relative difference of the mirrored device
};
inline std::vector<Case> cases()
{
    return {{"contact", schottky(), -0.05, 1e-5},
            {"contact, holes", schottky_of_holes(), 0.05, 1e-5},
            {"contact, barrier layer", metal_on_barrier(), 0.02, 1e-5},
            {"interface", window(), 0.02, 1e-5},
            {"graded", graded_window(), 0.02, 1e-5},
            {"interfaces", thin_barrier(), 0.02, 1e-5},
            {"interface and bulk", window_and_bulk(), 0.02, 1e-2},
            {"bulk", planar_doped_barrier(), 0.04, 0.1},
            {"band to band", tunnel_diode(), -0.05, 1e-4},
            {"states", junction_with_states(), 0.4, 1e-6},
            {"spread states", junction_with_spread_states(), 0.4, 1e-6}};
}

inline void fixed_mesh(ConvergenceParameters& c)
{
    all_kinds(c);
    c.recalculate_mesh = 0;
}

inline double current(const CellParameters& cell, double V, const Device::Settings& settings = fixed_mesh)
{
    Device device(cell, 300.0, settings);
    EXPECT_TRUE(device.solve_equilibrium() && device.go_to(V, 2));
    return device.cv.J_median;
}

}  // namespace kovin::testing::tunnelling
