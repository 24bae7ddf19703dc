#include "sweeps/doping_profile.h"

#include "base/constants.h"
#include "base/local_slope.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace kovin {

namespace {

constexpr double F_m2_of_nF_cm2 = 1e-5;

/// Doping [1/cm3] of a slope d(1/C^2)/dV [m4/(F2 V)].
double doping_of_slope(double slope, double epsilon)
{
    return -2e-6 / (slope * epsilon * elementary_charge * vacuum_permittivity);  // m^-3 -> cm^-3
}

/// Width, edge, doping and permittivities of each point from capacitance and slope.
void width_and_doping(CvCurve& curve)
{
    const double x0 = junction_position(curve.NW, curve.cell.mesh);
    const PermittivityTable table = SetNW_Epsilon_x(curve.NW, curve.cell);
    for (std::size_t i = 0; i < curve.points(); ++i) {
        const DepletionWidth layer = SCL_WidthFrom1_C(curve.cvcap[i] * F_m2_of_nF_cm2, curve.NW, table, x0);
        curve.cvW[i] = layer.W;
        curve.cvx[i] = layer.edge;
        curve.cveps_eff_W[i] = layer.epsilon;
        curve.cvN[i] = ApparentDopingFromMottSchottkySlope(curve.cvslopeMottSchottky[i], curve.NW, curve.cell, layer.W,
                                                           x0, curve.cveps_eff_N[i]);
    }
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

double ApparentDopingFromMottSchottkySlope(double slope, const MottSchottkySettings& NW, const CellOnMesh& cell,
                                           double W, double x0, double& epsilon_used)
{
    if (NW.epsilon_mode != epsilon_constant && NW.epsilon_mode != epsilon_of_position) return 0.0;
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
    curve.NW = NW;
    for (auto* column : {&curve.cvslopeMottSchottky, &curve.cvW, &curve.cvx, &curve.cvN}) column->assign(n, 0.0);
    for (auto* column : {&curve.cveps_eff_W, &curve.cveps_eff_N}) column->assign(n, NW.constant_epsilon);
    curve.cvMott.resize(n);
    std::vector<double> een_op_C2(n);  // [m4/F2]
    for (std::size_t i = 0; i < n; ++i) {
        const double C = curve.cvcap[i];
        curve.cvMott[i] = 1.0 / (C * C);
        een_op_C2[i] = curve.cvMott[i] / (F_m2_of_nF_cm2 * F_m2_of_nF_cm2);
    }
    if (afgeleide(curve.v_cell, een_op_C2, NW.points, NW.order_middle, NW.order_edges, curve.cvslopeMottSchottky) == 0)
        width_and_doping(curve);
}

bool RecalculateNW(CvCurve& curve, const MottSchottkySettings& NW)
{
    if (NW.points < 2 || static_cast<std::size_t>(NW.points) >= curve.points()) return false;
    if (curve.has_doping()) {
        curve.NW = NW;
        width_and_doping(curve);
    } else {
        mott_schottky_columns(curve, NW);  // it has no slope yet
    }
    return true;
}

std::optional<MottSchottkyLine> mott_schottky_line(const CvCurve& curve)
{
    constexpr double at_zero = 1e-9;  // [V]
    const std::size_t n = curve.points();
    if (n < 3) return std::nullopt;
    std::vector<double> V, een_op_C2;
    double epsilon = 0.0;
    // Sign of a forward bias: 1/C^2 falls with it.
    const double forward = slope_of_fit(curve.v_cell, curve.cvMott, 1, 0.0) < 0.0 ? 1.0 : -1.0;
    const auto in_reverse = [&](double v) { return forward * v <= at_zero; };
    const bool all = std::count_if(curve.v_cell.begin(), curve.v_cell.end(), in_reverse) < 3;
    for (std::size_t i = 0; i < n; ++i) {
        if (!all && !in_reverse(curve.v_cell[i])) continue;
        V.push_back(forward * curve.v_cell[i]);
        een_op_C2.push_back(curve.cvMott[i] / (F_m2_of_nF_cm2 * F_m2_of_nF_cm2));
        epsilon += curve.cveps_eff_N[i];
    }
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
    line.N = doping_of_slope(slope, line.epsilon);
    return line;
}

}  // namespace kovin
