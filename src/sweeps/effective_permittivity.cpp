#include "sweeps/effective_permittivity.h"

#include "base/constants.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

constexpr double um = 1e-6;  // [m]

/// The chosen layer, if the mesh has it.
bool layer_of(const MottSchottkySettings& NW, const Mesh& mesh, std::size_t& layer)
{
    if (NW.layer < 0 || NW.layer >= mesh.nlayers) return false;
    layer = static_cast<std::size_t>(NW.layer);
    return true;
}

}  // namespace

CellOnMesh cell_on_mesh(const CalculationParameters& set3, const Mesh& mesh)
{
    CellOnMesh cell{mesh, set3.on.eps, set3.on.doping, set3.kT};
    if (!set3.on.Eg.empty()) cell.widest_gap = *std::max_element(set3.on.Eg.begin(), set3.on.Eg.end());
    // Forward bias lifts the contact with the larger work function; internal voltages are those of the left one.
    cell.forward = set3.phi_left >= set3.phi_right ? 1 : -1;
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j)
        for (int i = mesh.first[j]; i <= mesh.last[j]; ++i)
            cell.cvnet_doping[static_cast<std::size_t>(i)] *= set3.scale.N0[j];
    return cell;
}

double WhichEpsilonEffectiveAtCalculatedW(double W, std::span<const double> x, std::span<const double> epsilon,
                                          bool logarithmic)
{
    const std::size_t n = std::min(x.size(), epsilon.size());
    if (n == 0 || (n > 1 && !(x[n - 1] > x[0]))) return 0.0;
    if (W < 0.0) return epsilon[0];
    if (!(W <= x[n - 1])) return epsilon[n - 1];
    for (std::size_t i = n - 1; i > 0; --i) {
        const double width = x[i] - x[i - 1];
        if (W < x[i - 1] || !(width > 0.0)) continue;
        const double part = (W - x[i - 1]) / width, from = epsilon[i - 1], to = epsilon[i];
        if (logarithmic && from > 0.0 && to > 0.0) return from * std::pow(to / from, part);
        return from + part * (to - from);
    }
    return epsilon[0];
}

double junction_position(const MottSchottkySettings& NW, const Mesh& mesh)
{
    std::size_t j = 0;
    if (NW.epsilon_mode == epsilon_constant || !layer_of(NW, mesh, j)) return 0.0;
    return mesh.x_um[static_cast<std::size_t>(NW.side == -1 ? mesh.first[j] : mesh.last[j])];
}

PermittivityTable SetNW_Epsilon_x(const MottSchottkySettings& NW, const CellOnMesh& cell)
{
    const Mesh& mesh = cell.mesh;
    PermittivityTable table;
    std::size_t j = 0;
    if (NW.epsilon_mode != epsilon_of_position || !layer_of(NW, mesh, j)) {
        table.x = mesh.x_um;
        table.epsilon.assign(mesh.x_um.size(), NW.constant_epsilon);
        return table;
    }
    const bool to_right = NW.side == -1;
    const std::ptrdiff_t step = to_right ? 1 : -1, end = to_right ? mesh.N : -1;
    const std::ptrdiff_t start = to_right ? mesh.first[j] : mesh.last[j];
    double series = 0.0;  // integral of dx/eps
    for (std::ptrdiff_t i = start; i != end; i += step) {
        const auto here = static_cast<std::size_t>(i), previous = static_cast<std::size_t>(i == start ? i : i - step);
        const double x = std::abs(mesh.x_um[here] - mesh.x_um[static_cast<std::size_t>(start)]);
        const double h = std::abs(mesh.x_um[here] - mesh.x_um[previous]);
        series += 0.5 * h * (1.0 / cell.cvepsilon[here] + 1.0 / cell.cvepsilon[previous]);
        table.x.push_back(x);
        table.epsilon.push_back(series > 0.0 ? x / series : cell.cvepsilon[here]);
    }
    return table;
}

DepletionWidth SCL_WidthFrom1_C(double C, const MottSchottkySettings& NW, const PermittivityTable& table, double x0)
{
    const double e = vacuum_permittivity / (C * um);  // the width for permittivity 1
    if (NW.epsilon_mode == epsilon_constant || table.x.empty()) {
        const double W = NW.constant_epsilon * e;
        return {W, W, NW.constant_epsilon};
    }
    const auto epsilon = [&](double W) { return WhichEpsilonEffectiveAtCalculatedW(W, table.x, table.epsilon); };
    constexpr double damping = 0.55, settled = 1e-6;
    double W = 0.5 * (table.epsilon.front() + table.epsilon.back()) * e, ee = epsilon(W), change = 1.0;
    for (int round = 0; round < 100 && std::abs(change) > settled; ++round) {
        ee = epsilon(W);
        const double next = W * (1.0 - damping) + ee * e * damping;
        change = next - W;
        W = next;
    }
    // Damping holds up to a factor 3.6 between the mean permittivity of the stack and that at the edge. Beyond, the
    // iteration swings; W - eps(W) e has one zero, because the sum of 1/eps only grows with W.
    if (std::abs(change) > settled) {
        double low = 0.0, high = *std::max_element(table.epsilon.begin(), table.epsilon.end()) * e;
        for (int half = 0; half < 60; ++half) {
            W = 0.5 * (low + high);
            (epsilon(W) * e > W ? low : high) = W;
        }
        ee = epsilon(W);
    }
    return {W, depletion_edge(NW, W, x0), ee};
}

double WhichEpsilonAtCalculatedW(const MottSchottkySettings& NW, const CellOnMesh& cell, double W, double x0,
                                 bool logarithmic)
{
    return WhichEpsilonEffectiveAtCalculatedW(depletion_edge(NW, W, x0), cell.mesh.x_um, cell.cvepsilon, logarithmic);
}

double SmoothEpsilon_x(const MottSchottkySettings& NW, const CellOnMesh& cell, double W, double x0)
{
    const Mesh& mesh = cell.mesh;
    if (mesh.N < 2 || mesh.nlayers < 1) return 0.0;
    const double x = std::clamp(depletion_edge(NW, W, x0), mesh.x_um.front(), mesh.x_um.back());
    std::size_t j = static_cast<std::size_t>(mesh.nlayers) - 1;  // at an interface the right layer, as in the table
    while (j > 0 && x < mesh.x_um[static_cast<std::size_t>(mesh.first[j])]) --j;
    const auto first = static_cast<std::size_t>(mesh.first[j]), last = static_cast<std::size_t>(mesh.last[j]);
    const double local = WhichEpsilonEffectiveAtCalculatedW(x, mesh.x_um, cell.cvepsilon);
    const double doping = std::abs(WhichEpsilonEffectiveAtCalculatedW(x, mesh.x_um, cell.cvnet_doping));  // [m^-3]
    const double debye = std::sqrt(cell.kT * local * vacuum_permittivity / (elementary_charge * doping)) / um;
    const double thickness = mesh.x_um[last] - mesh.x_um[first];
    if (!(thickness > 0.0)) return local;
    // Without doping the length is infinite: 1000 thicknesses are the mean over the layer as well.
    const double L = doping > 0.0 ? std::clamp(debye, 5e-10 / um, std::max(1e3 * thickness, 5e-10 / um))
                                  : std::max(1e3 * thickness, 5e-10 / um);

    // With t = (x' - x)/L and eps = e0 + s t in an interval:
    // integral of eps exp(-t^2/2) dt = [e0 sqrt(pi/2) erf(t/sqrt 2) - s exp(-t^2/2)]
    const auto area = [](double t) { return std::sqrt(0.5 * std::numbers::pi) * std::erf(t / std::numbers::sqrt2); };
    const auto bell = [](double t) { return std::exp(-0.5 * t * t); };
    double sum = 0.0, weight = 0.0;
    for (std::size_t i = first; i < last; ++i) {
        const double t1 = (mesh.x_um[i] - x) / L, t2 = (mesh.x_um[i + 1] - x) / L;
        if (!(t2 > t1)) continue;
        const double s = (cell.cvepsilon[i + 1] - cell.cvepsilon[i]) / (t2 - t1), e0 = cell.cvepsilon[i] - s * t1;
        sum += e0 * (area(t2) - area(t1)) - s * (bell(t2) - bell(t1));
        weight += area(t2) - area(t1);
    }
    return weight > 0.0 ? sum / weight : local;
}

}  // namespace kovin
