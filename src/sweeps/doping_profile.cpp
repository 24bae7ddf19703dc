#include "sweeps/doping_profile.h"

#include "base/constants.h"
#include "base/local_slope.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

namespace kovin {

namespace {

constexpr double F_m2_of_nF_cm2 = 1e-5;

/// Doping [1/cm3] of a slope d(1/C^2)/dV [m4/(F2 V)]; 0 where that is 0 or no number.
double doping_of_slope(double slope, double epsilon)
{
    const double N = -2e-6 / (slope * epsilon * elementary_charge * vacuum_permittivity);  // m^-3 -> cm^-3
    return std::isfinite(N) ? N : 0.0;
}

/// The insulator of an MIS structure between two plates: 1/C = integral of dx/(eps eps0) [m2/F].
double series_of_insulator(const CellOnMesh& cell, const InsulatorPlace& insulator)
{
    double sum = 0.0;
    for (std::size_t j = insulator.first; j <= insulator.last; ++j)
        for (auto i = static_cast<std::size_t>(cell.mesh.first[j]) + 1;
             i <= static_cast<std::size_t>(cell.mesh.last[j]); ++i)
            sum += (cell.mesh.x_m[i] - cell.mesh.x_m[i - 1]) / (0.5 * (cell.cvepsilon[i - 1] + cell.cvepsilon[i]));
    return sum / vacuum_permittivity;
}

/// The settings for an MIS structure: without a semiconductor given, that beside the insulator, of two the one with the
/// lower doping there. So W and its edge count from the inner end of the insulator.
MottSchottkySettings beside_insulator(const CvCurve& curve, MottSchottkySettings NW)
{
    const Mesh& mesh = curve.cell.mesh;
    const int first = static_cast<int>(curve.insulator->first), last = static_cast<int>(curve.insulator->last);
    const bool given = NW.layer >= 0 && NW.layer < mesh.nlayers && (NW.layer < first || NW.layer > last);
    if (given) return NW;
    const auto doping = [&](int i) { return std::abs(curve.cell.cvnet_doping[static_cast<std::size_t>(i)]); };
    const bool left = first > 0, right = last + 1 < mesh.nlayers;
    const auto l = static_cast<std::size_t>(first - 1), r = static_cast<std::size_t>(last + 1);
    if (right && (!left || doping(mesh.first[r]) <= doping(mesh.last[l]))) {
        NW.layer = last + 1;
        NW.side = -1;
    } else {
        NW.layer = std::max(first - 1, 0);  // 0 in a cell of insulators alone
        NW.side = 1;
    }
    return NW;
}

/// Width, edge, doping and permittivities of each point from capacitance and slope; without a slope the last alone.
void width_and_doping(CvCurve& curve)
{
    const double x0 = junction_position(curve.NW, curve.cell.mesh);
    const PermittivityTable table = SetNW_Epsilon_x(curve.NW, curve.cell);
    const double insulator = curve.insulator ? series_of_insulator(curve.cell, *curve.insulator) : 0.0;
    for (std::size_t i = 0; i < curve.points(); ++i) {
        double C = curve.cvcap[i] * F_m2_of_nF_cm2;
        if (curve.insulator) C = 1.0 / (1.0 / C - insulator);
        const bool has_width = !curve.insulator || (C > 0.0 && std::isfinite(C));
        const DepletionWidth layer =
            has_width ? SCL_WidthFrom1_C(C, curve.NW, table, x0)
                      : DepletionWidth{0.0, depletion_edge(curve.NW, 0.0, x0), table.epsilon.front()};
        curve.cvW[i] = layer.W;
        curve.cvx[i] = layer.edge;
        curve.cveps_eff_W[i] = layer.epsilon;
        curve.cvN[i] = ApparentDopingFromMottSchottkySlope(curve.cvslopeMottSchottky[i], curve.NW, curve.cell, layer.W,
                                                           x0, curve.cveps_eff_N[i]);
    }
    if (curve.has_doping()) return;
    for (auto* column : {&curve.cvW, &curve.cvx, &curve.cvN}) std::fill(column->begin(), column->end(), 0.0);
}

/// The points, rising in forward bias, at which C is that of the depletion layer.
std::vector<std::size_t> points_of_depletion(const CvCurve& curve)
{
    constexpr double at_zero = 1e-9, F_cm2_of_nF_cm2 = 1e-9;  // [V], -
    const double omega = 2.0 * std::numbers::pi * curve.frequency;
    std::vector<std::size_t> order(curve.points());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto bias = [&](std::size_t i) { return curve.cell.forward * curve.v_cell[i]; };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i, std::size_t k) { return bias(i) < bias(k); });
    const auto in_forward = [&](std::size_t i) { return bias(i) > at_zero; };
    const auto reverse_end = std::find_if(order.begin(), order.end(), in_forward);
    if (reverse_end - order.begin() >= 3) return {order.begin(), reverse_end};
    std::size_t n = 0;
    for (; n < order.size(); ++n) {
        const double C = curve.cvcap[order[n]];
        const bool leaks = omega > 0.0 && curve.cvcon[order[n]] > omega * C * F_cm2_of_nF_cm2;
        if (leaks || !(C > 0.0) || (n > 0 && C < curve.cvcap[order[n - 1]])) break;
    }
    order.resize(n);
    return order;
}

}  // namespace

void KOVINSearchOfJunctionAndSCLSide(const CellParameters& cell, MottSchottkySettings& NW)
{
    NW.layer = 0;
    NW.side = 1;
    bool found = false;
    double smallest = std::numeric_limits<double>::infinity();
    for (std::size_t j = 0; j + 1 < static_cast<std::size_t>(cell.layers); ++j) {
        const MaterialParameters &left = cell.layer[j].material, &right = cell.layer[j + 1].material;
        const double dL = left.Nd.right - left.Na.right, dR = right.Nd.left - right.Na.left;
        found = found || dL * dR < 0.0;
        const double qL = std::abs(dL) * left.d, qR = std::abs(dR) * right.d;
        if (!found || !(std::min(qL, qR) < smallest)) continue;
        smallest = std::min(qL, qR);
        NW.layer = static_cast<int>(qR <= qL ? j + 1 : j);
        NW.side = qR <= qL ? -1 : 1;
    }
}

MottSchottkySettings with_junction(const CellParameters& cell, MottSchottkySettings NW)
{
    if (NW.layer < 0 || NW.layer >= cell.layers) KOVINSearchOfJunctionAndSCLSide(cell, NW);
    return NW;
}

MottSchottkySettings with_lighter_side(const CellParameters& cell, MottSchottkySettings NW)
{
    const MottSchottkySettings given = NW;
    const bool any_layer = given.layer < 0 || given.layer >= cell.layers;
    double lowest = std::numeric_limits<double>::infinity();
    for (int j = 0; j + 1 < cell.layers; ++j) {
        const MaterialParameters& left = cell.layer[static_cast<std::size_t>(j)].material;
        const MaterialParameters& right = cell.layer[static_cast<std::size_t>(j) + 1].material;
        const double dL = left.Nd.right - left.Na.right, dR = right.Nd.left - right.Na.left;
        if (!(dL * dR < 0.0)) continue;
        for (const int side : {1, -1}) {
            const int layer = side == 1 ? j : j + 1;
            const double doping = std::abs(side == 1 ? dL : dR);
            const bool agrees = (any_layer || layer == given.layer) && (given.side == 0 || side == given.side);
            if (!agrees || !(doping < lowest)) continue;
            lowest = doping;
            NW.layer = layer;
            NW.side = side;
        }
    }
    if (any_layer && !std::isfinite(lowest)) {
        KOVINSearchOfJunctionAndSCLSide(cell, NW);
        if (given.side != 0) NW.side = given.side;
    }
    return NW;
}

bool says_permittivity(const MottSchottkySettings& NW)
{
    const MottSchottkySettings standard;
    return NW.epsilon_mode != standard.epsilon_mode || NW.constant_epsilon != standard.constant_epsilon;
}

bool knows_permittivity(const MottSchottkySettings& NW)
{
    return NW.epsilon_mode == epsilon_constant || NW.epsilon_mode == epsilon_of_position;
}

double ApparentDopingFromMottSchottkySlope(double slope, const MottSchottkySettings& NW, const CellOnMesh& cell,
                                           double W, double x0, double& epsilon_used)
{
    if (!knows_permittivity(NW)) return 0.0;
    if (NW.epsilon_mode == epsilon_constant)
        epsilon_used = NW.constant_epsilon;
    else
        epsilon_used =
            NW.smooth_epsilon == 1 ? SmoothEpsilon_x(NW, cell, W, x0) : WhichEpsilonAtCalculatedW(NW, cell, W, x0);
    return doping_of_slope(slope, epsilon_used);
}

void mott_schottky_columns(CvCurve& curve, const MottSchottkySettings& NW)
{
    const std::size_t n = curve.points();
    curve.NW = curve.insulator ? beside_insulator(curve, NW) : NW;
    for (auto* column : {&curve.cvslopeMottSchottky, &curve.cvW, &curve.cvx, &curve.cvN}) column->assign(n, 0.0);
    for (auto* column : {&curve.cveps_eff_W, &curve.cveps_eff_N}) column->assign(n, NW.constant_epsilon);
    curve.cvMott.resize(n);
    std::vector<double> een_op_C2(n);  // [m4/F2]
    for (std::size_t i = 0; i < n; ++i) {
        const double C = curve.cvcap[i];
        curve.cvMott[i] = 1.0 / (C * C);
        een_op_C2[i] = curve.cvMott[i] / (F_m2_of_nF_cm2 * F_m2_of_nF_cm2);
    }
    static_cast<void>(afgeleide(curve.v_cell, een_op_C2, NW.points, NW.order_middle, NW.order_edges,
                                curve.cvslopeMottSchottky));  // 0 where the curve is too short
    width_and_doping(curve);
}

bool RecalculateNW(CvCurve& curve, const MottSchottkySettings& NW)
{
    curve.NW_of_line.reset();
    if (curve.has_doping()) {
        curve.NW = curve.insulator ? beside_insulator(curve, NW) : NW;
        width_and_doping(curve);
    } else {
        mott_schottky_columns(curve, NW);  // it has no slope yet
    }
    return curve.has_doping();
}

std::optional<MottSchottkyLine> mott_schottky_line(const CvCurve& curve)
{
    constexpr double margin = 0.1;  // of what may be called a built-in voltage over the gap [V]
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    if (curve.insulator) return std::nullopt;
    if (curve.NW_of_line) {
        CvCurve other = curve;
        RecalculateNW(other, *curve.NW_of_line);
        return mott_schottky_line(other);
    }
    std::vector<double> V, een_op_C2;
    double epsilon = 0.0;
    for (const std::size_t i : points_of_depletion(curve)) {
        V.push_back(curve.cell.forward * curve.v_cell[i]);
        een_op_C2.push_back(curve.cvMott[i] / (F_m2_of_nF_cm2 * F_m2_of_nF_cm2));
        epsilon += curve.cveps_eff_N[i];
    }
    if (V.size() < 3) return std::nullopt;
    MottSchottkyLine line;
    line.points = V.size();
    const auto points = static_cast<double>(line.points);
    const double slope = slope_of_fit(V, een_op_C2, 1, 0.0);
    if (!(slope < 0.0) || !std::isfinite(slope)) return std::nullopt;
    const double mean_V = std::accumulate(V.begin(), V.end(), 0.0) / points;
    const double mean = std::accumulate(een_op_C2.begin(), een_op_C2.end(), 0.0) / points;
    line.intercept = mean_V - mean / slope;
    line.Vbi = line.intercept + 2.0 * curve.cell.kT;
    line.epsilon = epsilon / points;
    line.N = knows_permittivity(curve.NW) ? doping_of_slope(slope, line.epsilon) : unknown;
    const double most = curve.cell.widest_gap > 0.0 ? curve.cell.widest_gap + margin : line.Vbi;
    if (!(line.Vbi > 0.0 && line.Vbi <= most)) line.intercept = line.Vbi = line.N = unknown;
    return line;
}

}  // namespace kovin
