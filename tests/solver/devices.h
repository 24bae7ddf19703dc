// Devices for the tests of the solver: built in code, in SI units, and solved without files.
#pragma once

#include "device/boxes.h"
#include "device/cell_defaults.h"
#include "device/contacts.h"
#include "device/grading.h"
#include "device/layer_profiles.h"
#include "device/on_mesh.h"
#include "device/parameterset3.h"
#include "solver/currents.h"
#include "solver/mesh_first.h"
#include "solver/outer_iteration.h"
#include "solver/problem.h"
#include "solver/state.h"
#include "solver/tunnel_paths.h"
#include "support/uniform_layer.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

namespace kovin::testing {

using test::set_uniform;

struct LayerSketch {
    double d, Eg, chi, eps, Nc, Nv, mu_n, mu_p, Nd, Na;  ///< m, eV, eV, -, m^-3, m^-3, m2/Vs, m2/Vs, m^-3, m^-3
};

inline LayerParameters& add_layer(CellParameters& cell, const LayerSketch& s)
{
    const int number = cell.layers++;
    LayerParameters& layer = cell.layer[static_cast<std::size_t>(number)];
    test::set_layer(layer, number, {s.d, s.Eg, s.chi, s.eps, s.Nc, s.Nv, s.Na, s.Nd, s.mu_n, s.mu_p});
    return layer;
}

inline BulkRecombinationParameters& add_defect(LayerParameters& layer, DefectType type, double Nt, double Et,
                                               double sigma_n, double sigma_p)
{
    BulkRecombinationParameters& level = test::add_defect(layer, type, EnergyDistribution::single, Et, Nt);
    level.sigma_n = sigma_n;
    level.sigma_p = sigma_p;
    return level;
}

/// Silicon-like p-n junction, the p side (1 um) at the left, the n side (2 um) at the right, 1e16 cm-3 each.
inline CellParameters silicon_junction()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    const LayerSketch si{1e-6, 1.12, 4.05, 11.9, 2.8e25, 1.04e25, 0.1, 0.04, 0.0, 1e22};
    LayerSketch n = si;
    n.d = 2e-6;
    std::swap(n.Nd, n.Na);
    for (const LayerSketch& s : {si, n}) add_defect(add_layer(cell, s), DefectType::neutral, 1e20, 0.56, 1e-19, 1e-19);
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
    return cell;
}

/// CIGS 3 um / CdS 0.05 um / ZnO 0.2 um with one charged level a layer; light from the right.
inline CellParameters thin_film_cell()
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    add_defect(add_layer(cell, {3e-6, 1.15, 4.5, 13.6, 2.2e24, 1.8e25, 1e-2, 2.5e-3, 0.0, 2e22}), DefectType::donor,
               1e20, 0.575, 5e-17, 1e-19);
    add_defect(add_layer(cell, {5e-8, 2.4, 4.2, 10.0, 2.2e24, 1.8e25, 1e-2, 2.5e-3, 1.1e24, 0.0}), DefectType::acceptor,
               1e24, 1.2, 1e-21, 1e-16);
    add_defect(add_layer(cell, {2e-7, 3.3, 4.4, 9.0, 2.2e24, 1.8e25, 1e-2, 2.5e-3, 1e24, 0.0}), DefectType::donor, 1e23,
               1.65, 1e-16, 1e-19);
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1e5;
    return cell;
}

/// The thin-film cell with an absorber graded in composition, gap and affinity following it, and doping and defects
/// graded on position: a law of each kind.
inline CellParameters graded_cell()
{
    CellParameters cell = thin_film_cell();
    LayerParameters& layer = cell.layer[0];
    const auto grade = [](Profile& p, Law law, Dependence dependence, double left, double right) {
        p.law = law;
        p.dependence = dependence;
        p.pure_A = p.left = left;
        p.pure_B = p.right = right;
    };
    layer.composition_mode = 1;
    grade(layer.composition, Law::parabolic_2, Dependence::on_x, 0.5, 0.3);
    layer.composition.third = 2.2, layer.composition.fourth = 0.15;
    MaterialParameters& m = layer.material;
    grade(m.Eg, Law::parabolic, Dependence::on_y, 1.01, 1.68);
    m.Eg.third = 0.22, m.Eg.fourth = 0.5;
    grade(m.chi, Law::linear, Dependence::on_y, 4.57, 3.95);
    grade(m.mu_n, Law::power, Dependence::on_y, 1e-2, 4e-3);
    m.mu_n.third = 2.0;
    grade(m.Na, Law::logarithmic, Dependence::on_x, 5e22, 1e22);
    Profile& Nt = layer.srh[0][0].Nt;
    grade(Nt, Law::exponential, Dependence::on_x, 4e20, 2e20);
    Nt.third = 1e20, Nt.fourth = 0.3, Nt.fifth = 0.5;
    SetProfileScaleParameters(Nt);
    return cell;
}

/// Adds all that recombines in the bulk: levels, chains, radiation, Auger.
inline void crowd(CellParameters& cell)
{
    set_uniform(cell.layer[0].material.K_rad, 1e-16);
    set_uniform(cell.layer[0].material.c_n_auger, 1e-40);
    set_uniform(cell.layer[1].material.c_p_auger, 1e-40);
    add_defect(cell.layer[0], DefectType::acceptor, 5e20, 0.3, 1e-19, 2e-18).energy_distribution =
        EnergyDistribution::gauss;
    test::add_chain(cell.layer[0], LevelType::plus_zero, {0.7, 0.4}, 5e20);
    test::add_chain(cell.layer[1], LevelType::two_plus_plus, {0.8, 1.2, 1.6}, 1e23);
}

/// Takes a level into the absorption of light.
inline void let_absorb(BulkRecombinationParameters& level) { level.electrons.present = level.holes.present = true; }

/// A sheet of states at interface i with equal capture on both sides.
inline InterfaceRecombinationParameters& add_sheet(CellParameters& cell, std::size_t i, DefectType type, double N,
                                                   EnergyReference reference, double Et, double sigma_n, double sigma_p)
{
    InterfaceParameters& interface = cell.interfaces[i];
    InterfaceRecombinationParameters& d = interface.defects[static_cast<std::size_t>(interface.defect_count)];
    InitialiseInterfaceRecombinationParameters(d, static_cast<int>(i), interface.defect_count++);
    d.defectType = type;
    d.N = N;
    d.reference = reference;
    d.Et = Et;
    d.sigma_nleft = d.sigma_nright = sigma_n;
    d.sigma_pleft = d.sigma_pright = sigma_p;
    return d;
}

/// The thin-film cell with a conduction band that falls by 0.2 eV from absorber to buffer, and a neutral sheet of
/// 1e13 cm-2 between them.
inline CellParameters cliff_cell()
{
    CellParameters cell = thin_film_cell();
    set_uniform(cell.layer[1].material.chi, 4.7);
    set_uniform(cell.layer[2].material.chi, 4.7);
    add_sheet(cell, 0, DefectType::neutral, 1e17, EnergyReference::above_highest_EV, 0.6, 1e-19, 1e-19);
    return cell;
}

/// The thin-film cell with a Gaussian of donors between absorber and buffer, unlike on both sides, and deep acceptors
/// between buffer and window.
inline CellParameters charged_sheet_cell()
{
    CellParameters cell = thin_film_cell();
    InterfaceRecombinationParameters& donors =
        add_sheet(cell, 0, DefectType::donor, 3e16, EnergyReference::above_EV_left, 0.9, 1e-19, 1e-18);
    donors.energy_distribution = EnergyDistribution::gauss;
    donors.sigma_nright = 1e-18;
    add_sheet(cell, 1, DefectType::acceptor, 1e16, EnergyReference::above_middle, 0.2, 1e-19, 1e-19);
    return cell;
}

/// The reference of an interface level seen from the other side.
inline EnergyReference other_side(EnergyReference reference)
{
    switch (reference) {
        case EnergyReference::above_Ei_left:
            return EnergyReference::above_Ei_right;
        case EnergyReference::above_Ei_right:
            return EnergyReference::above_Ei_left;
        case EnergyReference::above_EV_left:
            return EnergyReference::above_EV_right;
        case EnergyReference::above_EV_right:
            return EnergyReference::above_EV_left;
        default:
            return reference;
    }
}

/// A cell turned round: layers in reverse order, contacts exchanged.
inline CellParameters mirrored(const CellParameters& cell)
{
    CellParameters image = cell;
    const auto n = static_cast<std::size_t>(cell.layers);
    for (std::size_t j = 0; j < n; ++j) {
        image.layer[j] = cell.layer[n - 1 - j];
        image.layer[j].layernumber = static_cast<int>(j);
        for (auto& defect : image.layer[j].srh)
            for (auto& level : defect) level.layer = static_cast<int>(j);
        LayerParameters& layer = image.layer[j];
        for_each_profile(layer,
                         [&](Profile& p, const std::string&) { SwapGradingLeftRight(p, layer.material.d * 1e6); });
    }
    for (std::size_t i = 0; i + 1 < n; ++i) {
        image.interfaces[i] = cell.interfaces[n - 2 - i];
        image.interfaces[i].number = static_cast<int>(i);
        for (InterfaceRecombinationParameters& d : image.interfaces[i].defects) {
            d.interface_number = static_cast<int>(i);
            std::swap(d.sigma_nleft, d.sigma_nright);
            std::swap(d.sigma_pleft, d.sigma_pright);
            d.reference = other_side(d.reference);
        }
    }
    std::swap(image.left, image.right);
    UpdateThicknessInProfiles_Cell(image);
    return image;
}

/// One device with its mesh, equations and running state.
class Device {
public:
    using Settings = std::function<void(ConvergenceParameters&)>;

    explicit Device(const CellParameters& cell, double T = 300.0, const Settings& settings = {}, int refine = 1,
                    double D0_factor = 1.0)
    {
        input.cell.cell = cell;
        input.convergence.route = Route::classic;  // the fast route is asked for
        if (settings) settings(input.convergence);
        check_contacts(input.cell, T, input.convergence);
        parameterset1_to_3(input, T, set3);
        take_the_route_of_tunnelling(set3);
        if (D0_factor != 1.0) rescale(D0_factor);
        DefineKOVINMesh(set3, cv.mesh, {.refine = refine});
        cv.resize();
        memory.first_mesh = cv.mesh;
        prepare_solver(set3, cv.mesh, memory);
        relight(cv.mesh);
    }

    /// The mesh follows the solution, as the settings have it.
    [[nodiscard]] Problem problem()
    {
        Problem p{set3, memory.grid, memory.defects, memory.interface_states, G};
        p.adaption.emplace(MeshAdaption{set3, memory, G, [this](const Mesh&, const Mesh& mesh) { relight(mesh); }});
        return p;
    }
    bool solve_equilibrium() { return equilibrium(problem(), memory.work, cv); }
    bool solve() { return onder_belichting(problem(), memory.work, cv); }
    /// Goes on from a state that was kept, on the mesh that it has.
    void return_to(const CalculationVariables& state)
    {
        const bool same_mesh = state.mesh.x == cv.mesh.x && state.mesh.n_in_layer == cv.mesh.n_in_layer;
        cv = state;
        if (same_mesh) return;
        Full_x_Dependence(set3, cv.mesh);
        prepare_solver(set3, cv.mesh, memory);
        relight(cv.mesh);
    }
    bool go_to(double V, int steps = 1) { return volgende_iv_punt(problem(), memory.work, cv, cv.V, V, steps + 1); }

    /// Generation G_SI(x) [m^-3 s^-1], x in m from the left contact.
    void illuminate(const std::function<double(double)>& G_SI)
    {
        light = [=](const Mesh& mesh, std::size_t, std::size_t i) { return G_SI(mesh.x_m[i]); };
        relight(cv.mesh);
    }
    /// Generation by its mean over the box of each point, which ends half-way to the neighbours in the layer.
    /// @param mean_SI  from a to b [m] [m^-3 s^-1]
    void illuminate_boxes(const std::function<double(double, double)>& mean_SI)
    {
        light = [=](const Mesh& mesh, std::size_t j, std::size_t i) {
            const std::vector<double>& x = mesh.x_m;
            const auto f = static_cast<std::size_t>(mesh.first[j]), l = static_cast<std::size_t>(mesh.last[j]);
            return mean_SI(i > f ? 0.5 * (x[i - 1] + x[i]) : x[i], i < l ? 0.5 * (x[i] + x[i + 1]) : x[i]);
        };
        relight(cv.mesh);
    }
    /// Exponential light of `J` mA/cm2 in all, from the right unless `from_left`, over the decay length [m].
    void illuminate_exponentially(double J, double decay, bool from_left = false)
    {
        const double d = set3.scale.x0;
        illuminate([=](double x) {
            const double depth = from_left ? x : d - x;
            return 10.0 * J / elementary_charge / decay * std::exp(-depth / decay) / -std::expm1(-d / decay);
        });
    }

    /// Contact minority currents plus recombination in the bulk and at interfaces minus generation [mA/cm2]; equals J
    /// for a p side at the left.
    [[nodiscard]] double recombination_minus_generation(bool p_left)
    {
        const ContactCurrents c = contact_currents(problem(), cv);
        const double at_left = p_left ? c.j_n_left : -c.j_p_left;
        const double at_right = p_left ? c.j_p_right : -c.j_n_right;
        return at_left + at_right + interface_recombination(problem(), cv) +
               integrated_current(set3, cv.mesh, cv.terms_total.rec) - integrated_current(set3, cv.mesh, G);
    }

    [[nodiscard]] std::size_t layers() const { return static_cast<std::size_t>(cv.mesh.nlayers); }
    [[nodiscard]] std::size_t first(std::size_t j) const { return static_cast<std::size_t>(cv.mesh.first[j]); }
    [[nodiscard]] std::size_t last(std::size_t j) const { return static_cast<std::size_t>(cv.mesh.last[j]); }

    InputParameters input;
    CalculationParameters set3;
    CalculationVariables cv;
    SolverMemory memory;
    std::vector<double> G;

private:
    std::function<double(const Mesh&, std::size_t, std::size_t)> light;  ///< of point i in layer j [m^-3 s^-1]

    void relight(const Mesh& mesh)
    {
        G.resize(static_cast<std::size_t>(mesh.N));
        for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j)
            for (auto i = static_cast<std::size_t>(mesh.first[j]); i <= static_cast<std::size_t>(mesh.last[j]); ++i)
                G[i] = !light ? 0.0
                              : light(mesh, j, i) * set3.scale.x0 * set3.scale.x0 / (set3.scale.D0 * set3.scale.N0[j]);
    }
    /// Another diffusion scale: everything that is measured in v0 follows.
    void rescale(double factor)
    {
        Scale& s = set3.scale;
        s.D0 *= factor;
        s.v0 *= factor;
        s.t0 /= factor;
        for (double* v : {&set3.Sn_left, &set3.Sp_left, &set3.Sn_right, &set3.Sp_right}) *v /= factor;
        for (auto* v : {&set3.vn_if, &set3.vp_if})
            for (double& velocity : *v) velocity /= factor;
    }
};

/// Terminations of psi, Fn and Fp [kT].
inline Device::Settings terminations(double value)
{
    return [value](ConvergenceParameters& c) { c.termination_psi = c.termination_Fn = c.termination_Fp = value; };
}

/// Emission by light of all levels that absorb it, of the order of `rate` [D0/x0^2], each of its own; of level s at
/// point i of its layer gn(s, i) and gp(s, i).
inline double emission_by_light(double rate, std::size_t s, std::size_t i, bool of_holes)
{
    const double t = static_cast<double>(i) + (of_holes ? 0.5 : 0.0);
    return rate * (1.0 + static_cast<double>(s)) * (1.3 + std::sin(0.41 * t));
}
inline void shine_on_levels(Device& device, double rate)
{
    const auto shine = [&](auto& defect) {
        OpticalEmission& o = defect.optical;
        for (std::size_t k = 0; k < o.gn.size(); ++k) {
            const std::size_t s = k / defect.Nt.size(), i = k % defect.Nt.size();
            o.gn[k] = emission_by_light(rate, s, i, false);
            o.gp[k] = emission_by_light(rate, s, i, true);
            defect.en[k] = o.en[k] + o.gn[k];
            defect.ep[k] = o.ep[k] + o.gp[k];
            o.excess[k] = o.gn[k] * defect.ep[k] + o.en[k] * o.gp[k];
        }
    };
    for (DefectEnergy& level : device.memory.defects.energies) shine(level);
    for (DefectChain& chain : device.memory.defects.chains) shine(chain);
}

}  // namespace kovin::testing
