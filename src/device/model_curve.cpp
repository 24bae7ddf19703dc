#include "device/model_curve.h"

#include "base/constants.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

std::size_t count_of(int points)
{
    return static_cast<std::size_t>(std::clamp(points, min_curve_points, MAX_NUMBER_OF_INPUT_POINTS));
}

/// n >= 2 values from a to b, evenly spaced.
std::vector<double> even_grid(double a, double b, std::size_t n)
{
    std::vector<double> grid(n);
    for (std::size_t i = 0; i < n; ++i) grid[i] = a + (b - a) * static_cast<double>(i) / static_cast<double>(n - 1);
    grid.back() = b;
    return grid;
}

double trapezoid(const ModelCurve& curve)
{
    double sum = 0.0;
    for (std::size_t i = 1; i < curve.x.size(); ++i)
        sum += 0.5 * (curve.y[i] + curve.y[i - 1]) * (curve.x[i] - curve.x[i - 1]);
    return sum;
}

// ---- spectra ------------------------------------------------------------------------------------------------------

constexpr double one_sun = 0.1;                                                         // [W/cm2]
constexpr double spectral_step = 0.1, longest_wavelength = 1e6, narrowest_band = 0.01;  // [nm]

/// Rectangle from a to b in any order, at least `step` wide and framed by zeros at the distance `step`.
/// @param flux  true: the same photon flux everywhere, p1 in 1/(cm2 s); false: the same power, p1 in suns
ModelCurve rectangle_spectrum(bool flux, double p1, double a, double b, double step, int points)
{
    // Twice the step leaves the frame a positive wavelength.
    const double low = std::clamp(std::min(a, b), 2 * step, longest_wavelength);
    const double high = std::max(std::clamp(std::max(a, b), 2 * step, longest_wavelength), low + step);
    const double range = high - low;
    ModelCurve curve{even_grid(low, high, count_of(points) - 2), {}};
    for (const double lambda : curve.x)
        curve.y.push_back(flux ? p1 / range / lambda / photons_per_nm_W : p1 * one_sun / range);
    curve.x.insert(curve.x.begin(), low - step);
    curve.x.push_back(high + step);
    curve.y.insert(curve.y.begin(), 0.0);
    curve.y.push_back(0.0);
    return curve;
}

ModelCurve white_spectrum(const Model& m, const ProfileFrame&)
{
    return rectangle_spectrum(m.number == 41, m.values[0], m.values[1], m.values[2], spectral_step, m.points);
}

ModelCurve monochromatic_spectrum(const Model& m, const ProfileFrame&)
{
    const double width = std::clamp(m.values[2], narrowest_band, longest_wavelength);
    const double centre = std::clamp(m.values[1], 0.0, longest_wavelength);
    return rectangle_spectrum(m.number == 44, m.values[0], centre - width / 2, centre + width / 2,
                              std::min(spectral_step, 0.2 * width), m.points);
}

/// Wavelengths from a to b, n of them; geometric to both sides of `peak` if that lies between.
std::vector<double> black_body_grid(double a, double b, double peak, std::size_t n)
{
    if (peak <= a || peak >= b) return even_grid(a, b, n);
    std::vector<double> grid(n);
    const std::size_t middle = n / 2;
    for (std::size_t i = 0; i < n; ++i)
        grid[i] = i <= middle ? a * std::pow(peak / a, static_cast<double>(i) / static_cast<double>(middle))
                              : peak * std::pow(b / peak,
                                                static_cast<double>(i - middle) / static_cast<double>(n - 1 - middle));
    return grid;
}

/// y ~ 1/(lambda^5 (exp(hc/(lambda kT)) - 1)). Source: Planck's radiation law.
ModelCurve black_body_spectrum(const Model& m, const ProfileFrame&)
{
    constexpr double hc_over_k = hc_eV_nm * 300.0 / kT_at_300K;  // [nm K]
    const double T = std::clamp(m.values[1], 1.0, 1e8);
    const double peak = wien_nm_K / T;
    const double low = std::clamp(std::min(m.values[2], m.values[3]), spectral_step, longest_wavelength);
    const double high = std::clamp(std::max(m.values[2], m.values[3]), spectral_step, longest_wavelength);
    const double a = std::clamp(0.2 * peak, low, high);
    const double b = std::max(std::clamp(40.0 * peak, low, high), a + 10.0);

    // Logarithms first: far from the peak of a cold body every y would be 0, and so would their sum.
    ModelCurve curve{black_body_grid(a, b, peak, count_of(m.points)), {}};
    for (const double lambda : curve.x) {
        const double r = hc_over_k / (lambda * T);
        curve.y.push_back(-5 * std::log(lambda) - r - std::log(-std::expm1(-r)));
    }
    const double largest = *std::max_element(curve.y.begin(), curve.y.end());
    for (double& y : curve.y) y = std::exp(y - largest);
    const double scale = m.values[0] * one_sun / trapezoid(curve);
    for (double& y : curve.y) y *= scale;
    return curve;
}

// ---- generation ---------------------------------------------------------------------------------------------------

constexpr double per_um_to_per_cm = 1e4;
constexpr double shortest_length = 1e-6, longest_length = 1e6;  // [um]

double length(double value) { return std::clamp(value, shortest_length, longest_length); }
double position(double value) { return std::clamp(value, -longest_length, longest_length); }
double thickness(const ProfileFrame& frame) { return length(frame.d_um); }
/// Distance in which an edge falls to zero [um]: it may not look like a slope on the mesh.
double edge_width(const ProfileFrame& frame) { return std::min(0.01 * thickness(frame), 1e-3); }

/// Points from 0 to W of exp(-t), n >= 2. They stand so that a straight line between two neighbours errs by the same
/// area everywhere, at intervals that grow as exp(t/3).
std::vector<double> exponential_tail(double W, std::size_t n)
{
    W = std::clamp(W, 0.1, 50.0);
    std::vector<double> t = even_grid(0.0, -std::expm1(-W / 3), n);
    for (double& value : t) value = -3 * std::log1p(-value);
    t.back() = W;
    return t;
}

ModelCurve constant_generation(const Model& m, const ProfileFrame& frame)
{
    const double d = thickness(frame);
    ModelCurve curve{even_grid(0.0, d, count_of(m.points) - 1), {}};
    curve.y.assign(curve.x.size(), m.values[0] * per_um_to_per_cm / d);
    curve.x.push_back(d + edge_width(frame));
    curve.y.push_back(0.0);
    return curve;
}

ModelCurve exponential_generation(const Model& m, const ProfileFrame& frame)
{
    const bool from_right = m.number == 23;
    const double decay = length(m.values[1]);
    ModelCurve curve;
    for (const double t : exponential_tail(frame.widthtail, count_of(m.points))) {
        curve.x.push_back(from_right ? thickness(frame) - t * decay : t * decay);
        curve.y.push_back(m.values[0] * per_um_to_per_cm / decay * std::exp(-t));
    }
    if (from_right) {
        std::reverse(curve.x.begin(), curve.x.end());
        std::reverse(curve.y.begin(), curve.y.end());
    }
    return curve;
}

/// The two points of an edge stand symmetrically about it, so that the area is that of the rectangle.
ModelCurve rectangular_generation(const Model& m, const ProfileFrame& frame)
{
    const double centre = position(m.values[1]), width = length(m.values[2]);
    const double half_edge = 0.5 * std::min(edge_width(frame), 0.5 * width);
    const double a = centre - width / 2, b = centre + width / 2;
    ModelCurve curve{even_grid(a + half_edge, b - half_edge, count_of(m.points) - 2), {}};
    curve.y.assign(curve.x.size(), m.values[0] * per_um_to_per_cm / width);
    curve.x.insert(curve.x.begin(), a - half_edge);
    curve.x.push_back(b + half_edge);
    curve.y.insert(curve.y.begin(), 0.0);
    curve.y.push_back(0.0);
    return curve;
}

ModelCurve gaussian_generation(const Model& m, const ProfileFrame& frame)
{
    const double centre = position(m.values[1]), sigma = length(m.values[2]);
    const double W = std::clamp(frame.widthgauss, 0.1, 50.0);
    const double top = m.values[0] * per_um_to_per_cm / (std::sqrt(2 * std::numbers::pi) * sigma);
    ModelCurve curve;
    for (const double t : even_grid(-W, W, count_of(m.points))) {
        curve.x.push_back(centre + t * sigma);
        curve.y.push_back(top * std::exp(-t * t / 2));
    }
    return curve;
}

/// A rectangle whose ends go on as tails of the shape exp(-t) or exp(-t^2/2), t in tail lengths from the edge.
ModelCurve rectangle_with_tails(const Model& m, const ProfileFrame& frame)
{
    const bool gaussian = m.number == 27;
    const double centre = position(m.values[1]), width = length(m.values[2]), tail = length(m.values[3]);
    const double both_tails = (gaussian ? std::sqrt(2 * std::numbers::pi) : 2.0) * tail;
    const double top = m.values[0] * per_um_to_per_cm / (width + both_tails);
    const auto add = [&](ModelCurve& curve, double from_edge, double t) {
        curve.x.push_back(from_edge);
        curve.y.push_back(top * std::exp(gaussian ? -t * t / 2 : -t));
    };
    const std::size_t n = count_of(m.points);
    const auto tail_grid = [&](std::size_t points) {
        return gaussian ? even_grid(0.0, std::clamp(frame.widthgauss, 0.1, 50.0), points)
                        : exponential_tail(frame.widthtail, points);
    };
    ModelCurve curve;
    const std::vector<double> left = tail_grid(n / 2), right = tail_grid(n - n / 2);
    for (auto t = left.rbegin(); t != left.rend(); ++t) add(curve, centre - width / 2 - *t * tail, *t);
    for (const double t : right) add(curve, centre + width / 2 + t * tail, t);
    return curve;
}

/// Drops what lies in front of the cell. The interval that crosses x = 0 begins there.
ModelCurve inside_the_cell(const ModelCurve& curve)
{
    ModelCurve kept;
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
        if (curve.x[i] < 0.0) {
            if (i + 1 == curve.x.size() || !(curve.x[i + 1] > 0.0)) continue;
            const double share = -curve.x[i] / (curve.x[i + 1] - curve.x[i]);
            kept.x.push_back(0.0);
            kept.y.push_back(curve.y[i] + share * (curve.y[i + 1] - curve.y[i]));
        } else {
            kept.x.push_back(curve.x[i]);
            kept.y.push_back(curve.y[i]);
        }
    }
    return kept;
}

/// The curve of each model; a model is found by its number.
constexpr struct {
    int number;
    ModelCurve (*curve)(const Model&, const ProfileFrame&);
} curves[] = {
    {21, constant_generation}, {22, exponential_generation}, {23, exponential_generation}, {24, rectangular_generation},
    {25, gaussian_generation}, {26, rectangle_with_tails},   {27, rectangle_with_tails},   {41, white_spectrum},
    {42, white_spectrum},      {43, black_body_spectrum},    {44, monochromatic_spectrum}, {45, monochromatic_spectrum},
};

}  // namespace

ModelCurve CalculateBasicModelXY(const Model& model, const ProfileFrame& frame)
{
    for (const auto& row : curves)
        if (row.number == model.number) return inside_the_cell(row.curve(model, frame));
    return {};
}

}  // namespace kovin
