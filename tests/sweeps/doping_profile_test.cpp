// Mott-Schottky analysis of curves that are known in closed form.
#include "sweeps/doping_profile.h"

#include "base/constants.h"
#include "base/local_slope.h"
#include "device/grading.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

namespace kovin {
namespace {

constexpr double q = elementary_charge, eps0 = vacuum_permittivity;

/// Voltages from -1 to 0.4 V and the capacitance [nF/cm2] that `C` [F/m2] has there.
template <class Capacitance>
CvCurve curve_of(Capacitance C, int points = 29)
{
    CvCurve curve;
    for (int i = 0; i < points; ++i) {
        const double V = -1.0 + 1.4 * i / (points - 1);
        curve.v_cell.push_back(V);
        curve.cvcap.push_back(1e5 * C(V));
    }
    curve.cv_as = curve.v_cell;
    return curve;
}

/// Layers of the given thickness [um] and permittivity, 201 points each, all with the same net doping [m^-3].
CellOnMesh stack(const std::vector<std::pair<double, double>>& layers, double net_doping)
{
    CellOnMesh cell;
    Mesh& mesh = cell.mesh;
    constexpr int n = 201;
    mesh.nlayers = static_cast<int>(layers.size());
    mesh.resize(n * mesh.nlayers);
    cell.cvnet_doping.assign(mesh.x.size(), net_doping);
    double start = 0.0;
    for (std::size_t j = 0; j < layers.size(); ++j) {
        mesh.first[j] = static_cast<int>(j) * n;
        mesh.last[j] = mesh.first[j] + n - 1;
        for (int i = 0; i < n; ++i) {
            mesh.x_um[j * n + static_cast<std::size_t>(i)] = start + layers[j].first * i / (n - 1);
            cell.cvepsilon.push_back(layers[j].second);
        }
        start += layers[j].first;
    }
    return cell;
}

TEST(LocalSlope, PolynomialsOfTheDegreeAreExactAtAnySpacing)
{
    const std::vector<double> x = {-2.0, -1.1, -0.9, 0.3, 0.5, 1.7, 2.0, 3.5};
    std::vector<double> line, parabola, slope(x.size());
    for (const double t : x) line.push_back(3.0 - 2.0 * t), parabola.push_back(1.0 + t - 0.7 * t * t);
    for (const int points : {3, 4, 5, 7}) {
        ASSERT_EQ(afgeleide(x, line, points, 2, 1, slope), 0);
        for (const double s : slope) EXPECT_NEAR(s, -2.0, 1e-12) << points;
        ASSERT_EQ(afgeleide(x, parabola, points, 2, 2, slope), 0);
        for (std::size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(slope[i], 1.0 - 1.4 * x[i], 1e-11) << points << ' ' << i;
    }
    // Degree 1 at the ends is the chord of the parabola's first three points, from the normal equations.
    ASSERT_EQ(afgeleide(x, parabola, 3, 2, 1, slope), 0);
    const double middle = (x[0] + x[1] + x[2]) / 3.0;
    double xy = 0.0, xx = 0.0;
    for (std::size_t i = 0; i < 3; ++i) xy += (x[i] - middle) * parabola[i], xx += (x[i] - middle) * (x[i] - middle);
    EXPECT_NEAR(slope[0], xy / xx, 1e-12);
    EXPECT_NEAR(slope[1], 1.0 - 1.4 * x[1], 1e-12) << "the second point already has the window around it";

    const std::vector<double> before = slope;
    for (const int points : {1, 8, 9}) EXPECT_EQ(afgeleide(x, line, points, 2, 1, slope), -1) << points;
    EXPECT_EQ(slope, before);
    EXPECT_EQ(slope_of_fit(std::vector{1.0, 1.0, 1.0}, std::vector{1.0, 2.0, 3.0}, 2, 1.0), 0.0) << "all at one place";
}

TEST(MottSchottky, UniformAndLinearlyGradedJunctions)
{
    // 1/C^2 of the step is linear, so slope, doping and the voltage at which it vanishes come out to rounding.
    constexpr double eps = 11.7, N = 3e21, Vbi = 0.85;
    CvCurve step = curve_of([&](double V) { return std::sqrt(0.5 * q * N * eps * eps0 / (Vbi - V)); });
    MottSchottkySettings NW;
    NW.constant_epsilon = eps;
    NW.points = 5;
    mott_schottky_columns(step, NW);
    for (std::size_t i = 0; i < step.points(); ++i) {
        const double V = step.v_cell[i];
        EXPECT_NEAR(step.cvN[i], 3e15, 3e15 * 1e-9) << V;
        EXPECT_NEAR(step.cvW[i], 1e6 * std::sqrt(2.0 * eps * eps0 * (Vbi - V) / (q * N)), 1e-9) << V;
        EXPECT_EQ(step.cvx[i], step.cvW[i]);
        EXPECT_NEAR(V - 1e10 * step.cvMott[i] / step.cvslopeMottSchottky[i], Vbi, 1e-9) << "intercept";
    }

    // The straight line tells the same, whichever side the p layer is at; points in forward do not count, and a curve
    // that has few in reverse is taken as a whole.
    for (double& C : step.cvcap)
        if (&C - step.cvcap.data() > 20) C *= 3.0;  // diffusion capacitance from 0.05 V on
    for (const double forward : {1.0, -1.0}) {
        for (double& V : step.v_cell) V *= forward;
        step.cell.forward = static_cast<int>(forward);
        mott_schottky_columns(step, NW);
        const auto line = mott_schottky_line(step);
        ASSERT_TRUE(line) << forward;
        EXPECT_NEAR(line->N, 3e15, 3e15 * 1e-9) << forward;
        EXPECT_NEAR(line->intercept, Vbi, 1e-9) << forward;
        EXPECT_NEAR(line->Vbi, Vbi + 2.0 * kT_at_300K, 1e-9) << forward;
        EXPECT_EQ(line->points, 21U) << forward;
    }
    CvCurve lit = curve_of([&](double V) { return std::sqrt(0.5 * q * N * eps * eps0 / (2.0 - V)); });
    for (double& V : lit.v_cell) V += 1.0;
    lit.frequency = 1e6, lit.cvcon.assign(29, 1e-6);
    mott_schottky_columns(lit, NW);
    EXPECT_EQ(mott_schottky_line(lit)->points, 29U);
    EXPECT_FALSE(mott_schottky_line({}));
    // Of such a curve what lies behind the first point that is none of a depletion layer does not count.
    struct Row {
        const char* what;
        double C, G;  // of point 12 on
    };
    for (const Row& r : {Row{"falls", 1.0, 1e-6}, Row{"is inductive", -50.0, 1e-6}, Row{"leaks", 1e3, 7.0}}) {
        CvCurve odd = lit;
        for (std::size_t i = 12; i < odd.points(); ++i) odd.cvcap[i] = r.C, odd.cvcon[i] = r.G;
        mott_schottky_columns(odd, NW);
        const auto line = mott_schottky_line(odd);
        EXPECT_EQ(line->points, 12U) << r.what;
        EXPECT_NEAR(line->N, 3e15, 3e15 * 1e-9) << r.what;
        EXPECT_NEAR(line->intercept, 3.0, 1e-9) << r.what;
        // No junction has more than its gap, and no doping is derived in a way that is not known.
        odd.cell.widest_gap = 2.9;
        EXPECT_TRUE(std::isnan(mott_schottky_line(odd)->Vbi)) << r.what;
        odd.cell.widest_gap = 3.0;
        odd.NW.epsilon_mode = 2;
        EXPECT_NEAR(mott_schottky_line(odd)->intercept, 3.0, 1e-9) << r.what;
        EXPECT_TRUE(std::isnan(mott_schottky_line(odd)->N)) << r.what;
    }
    // The same voltage at all points: a slope of 0, and no figure made of it.
    CvCurve still = lit;
    still.v_cell.assign(29, 0.0);
    mott_schottky_columns(still, NW);
    EXPECT_EQ(still.cvN, std::vector<double>(29, 0.0));
    EXPECT_FALSE(mott_schottky_line(still));

    // Nd - Na = a x: W = (12 eps eps0 (Vbi - V)/(q a))^(1/3) (Sze and Ng, 2.2). Both edges move, each at the doping
    // a W/2, and 1/N = 1/Na + 1/Nd: N(W) = a W/4. The slope comes from parabolas over steps h of 0.05 V; their error is
    // h^2/6 times the third derivative, < 1e-3.
    constexpr double a = 1e27;
    CvCurve graded =
        curve_of([&](double V) { return eps * eps0 / std::cbrt(12.0 * eps * eps0 * (Vbi - V) / (q * a)); });
    NW.points = 3;
    mott_schottky_columns(graded, NW);
    for (std::size_t i = 1; i + 1 < graded.points(); ++i)
        EXPECT_NEAR(graded.cvN[i] / (1e-6 * a * 0.25e-6 * graded.cvW[i]), 1.0, 1e-3) << graded.v_cell[i];

    NW.points = 29;  // as many as the curve has: no slope
    mott_schottky_columns(graded, NW);
    for (const auto* zero : {&graded.cvW, &graded.cvx, &graded.cvN, &graded.cvslopeMottSchottky})
        EXPECT_EQ(*zero, std::vector<double>(29, 0.0));
    EXPECT_EQ(graded.cveps_eff_N, std::vector<double>(29, eps));
    EXPECT_FALSE(RecalculateNW(graded, NW));
    NW.points = 3;
    EXPECT_TRUE(RecalculateNW(graded, NW));
    EXPECT_NEAR(graded.cvN[14] / (1e-6 * a * 0.25e-6 * graded.cvW[14]), 1.0, 1e-3);
}

// Depletion through a first layer of 0.2 um into a second one: 1/C = 0.2 um/eps1 + (W - 0.2 um)/eps2.
TEST(MottSchottky, OnlyThePositionDependentModeFindsTheWidthInAStack)
{
    struct Row {
        const char* what;
        double eps1, eps2;
        int side;
    };
    constexpr Row rows[] = {
        {"low before high", 5.0, 13.0, -1},
        {"high before low", 12.0, 6.0, -1},
        {"growing to the left", 5.0, 13.0, 1},
        {"a factor where damped rounds swing", 80.0, 3.0, -1},
    };
    for (const Row& r : rows) {
        const bool to_right = r.side == -1;
        // in front of the junction stands a layer that must not count
        const CellOnMesh cell = to_right ? stack({{0.1, 9.0}, {0.2, r.eps1}, {2.0, r.eps2}}, 1e22)
                                         : stack({{2.0, r.eps2}, {0.2, r.eps1}, {0.1, 9.0}}, 1e22);
        const double junction = to_right ? 0.1 : 2.2;
        MottSchottkySettings NW;
        NW.side = r.side;
        NW.layer = 1;
        NW.constant_epsilon = r.eps1;
        for (const double W : {0.1, 0.45, 0.83}) {
            const double inner = std::min(W, 0.2), outer = W - inner;
            const double C = eps0 / (1e-6 * (inner / r.eps1 + outer / r.eps2));
            NW.epsilon_mode = epsilon_of_position;
            const double x0 = junction_position(NW, cell.mesh);
            EXPECT_NEAR(x0, junction, 1e-12);
            const DepletionWidth found = SCL_WidthFrom1_C(C, NW, SetNW_Epsilon_x(NW, cell), x0);
            EXPECT_NEAR(found.W, W, 1e-3 * W) << r.what;  // the table is linear between points 0.01 um apart
            EXPECT_NEAR(found.edge, to_right ? junction + found.W : junction - found.W, 1e-12) << r.what;
            double eps_N = 0.0;
            EXPECT_GT(ApparentDopingFromMottSchottkySlope(-1e10, NW, cell, found.W, x0, eps_N), 0.0);
            EXPECT_NEAR(eps_N, W < 0.2 ? r.eps1 : r.eps2, 1e-9) << r.what << ": local at the edge";
            if (W < 0.2) continue;
            NW.epsilon_mode = epsilon_constant;
            const DepletionWidth constant = SCL_WidthFrom1_C(C, NW, SetNW_Epsilon_x(NW, cell), 0.0);
            EXPECT_GT(std::abs(constant.W / W - 1.0), 0.2) << r.what;
        }
    }
}

// Smoothed permittivity of a ramp and of a step: the mean over the bell that the layer's ends leave.
TEST(MottSchottky, SmoothingTakesADebyeLengthWithinTheLayer)
{
    CellOnMesh cell = stack({{1.0, 10.0}, {1.0, 5.0}}, 1e22);
    MottSchottkySettings NW;
    NW.side = -1, NW.layer = 0, NW.epsilon_mode = epsilon_of_position, NW.smooth_epsilon = 1;
    for (const double W : {0.5, 0.999, 1.001, 1.7})
        EXPECT_NEAR(SmoothEpsilon_x(NW, cell, W, 0.0), W < 1.0 ? 10.0 : 5.0, 1e-9) << "nothing from the neighbour";
    for (std::size_t i = 0; i <= 200; ++i) cell.cvepsilon[i] = 5.0 + 10.0 * cell.mesh.x_um[i];
    EXPECT_NEAR(SmoothEpsilon_x(NW, cell, 0.5, 0.0), 10.0, 1e-9) << "symmetric around the middle";
    const double L = 1e6 * std::sqrt(kT_at_300K * 5.0 * eps0 / (q * 1e22));  // 0.027 um
    EXPECT_NEAR(SmoothEpsilon_x(NW, cell, 0.0, 0.0), 5.0 + 10.0 * L * std::sqrt(2.0 / std::numbers::pi), 1e-9)
        << "half a bell";
    cell.cvnet_doping.assign(cell.cvnet_doping.size(), 0.0);
    EXPECT_NEAR(SmoothEpsilon_x(NW, cell, 0.1, 0.0), 10.0, 1e-4) << "no doping: mean of the layer";
    cell.cvnet_doping.assign(cell.cvnet_doping.size(), 1e30);
    EXPECT_NEAR(SmoothEpsilon_x(NW, cell, 0.10123, 0.0), 6.0123, 1e-9) << "half a nanometre, between two mesh points";
}

TEST(MottSchottky, JunctionSearchTakesTheSmallestCharge)
{
    using test::LayerFigures;
    const auto layer = [](double d, double Na, double Nd) {
        LayerFigures f;
        f.d = d, f.Na = Na, f.Nd = Nd;
        return f;
    };
    struct Row {
        const char* what;
        std::vector<LayerFigures> layers;
        int layer, side;                  // by charge
        int lighter_layer, lighter_side;  // by doping
    };
    const Row rows[] = {
        {"lightly doped p at the left", {layer(3e-6, 1e21, 0), layer(1e-6, 0, 1e24)}, 0, 1, 0, 1},
        {"the same from the other side", {layer(1e-6, 0, 1e24), layer(3e-6, 1e21, 0)}, 1, -1, 1, -1},
        {"charge counts, not doping", {layer(3e-6, 1e22, 0), layer(5e-8, 0, 1e23)}, 1, -1, 0, 1},
        {"pairs behind the junction count",
         {layer(3e-6, 1e22, 0), layer(1e-6, 0, 1e23), layer(1e-8, 0, 1e23)},
         2,
         -1,
         0,
         1},
        {"pairs before it do not", {layer(1e-8, 1e21, 0), layer(1e-6, 1e23, 0), layer(1e-6, 0, 1e22)}, 2, -1, 2, -1},
        {"no junction", {layer(1e-6, 1e22, 0), layer(1e-6, 1e20, 0)}, 0, 1, 0, 1},
    };
    for (const Row& r : rows) {
        const InputParameters set1 = test::cell_of(r.layers);
        const MottSchottkySettings NW = with_junction(set1.cell.cell, {});
        EXPECT_EQ(NW.layer, r.layer) << r.what;
        EXPECT_EQ(NW.side, r.side) << r.what;
        const MottSchottkySettings lighter = with_lighter_side(set1.cell.cell, {});
        EXPECT_EQ(lighter.layer, r.lighter_layer) << r.what;
        EXPECT_EQ(lighter.side, r.lighter_side) << r.what;
    }
    // Of a layer between two junctions the given side, or the layers at a given side.
    const InputParameters set1 =
        test::cell_of({layer(1e-6, 0, 1e23), layer(1e-6, 1e22, 0), layer(1e-6, 0, 1e21), layer(1e-6, 0, 1e21)});
    for (const auto& [layer_given, side_given, layer_found, side_found] :
         {std::array{1, 0, 1, -1}, std::array{1, 1, 1, 1}, std::array{-1, 0, 2, -1}, std::array{-1, 1, 1, 1},
          std::array{0, 0, 0, 1}, std::array{3, 0, 3, 0}, std::array{7, -1, 2, -1}}) {
        MottSchottkySettings NW;
        NW.layer = layer_given, NW.side = side_given;
        NW = with_lighter_side(set1.cell.cell, NW);
        EXPECT_EQ(NW.layer, layer_found) << layer_given << side_given;
        EXPECT_EQ(NW.side, side_found) << layer_given << side_given;
    }
    MottSchottkySettings chosen;
    chosen.layer = 1;
    EXPECT_EQ(with_junction(test::cell_of(rows[0].layers).cell.cell, chosen), chosen);
}

}  // namespace
}  // namespace kovin
