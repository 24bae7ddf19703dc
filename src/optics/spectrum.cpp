#include "optics/spectrum.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/model_curve.h"
#include "device/model_table.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kovin {

namespace {

/// Twice the interval that row i stands for: half the way to both neighbours, none beyond the ends.
double double_interval(const std::vector<double>& x, std::size_t i)
{
    const std::size_t next = std::min(i + 1, x.size() - 1);
    const std::size_t previous = i > 0 ? i - 1 : 0;
    return x[next] - x[previous];
}

/// Power within the cut-off: interval sums in which the two outer rows count for the part that lies inside.
double power_between(const std::vector<double>& x, const std::vector<double>& y, double low, double high)
{
    const std::size_t n = x.size();
    double sum = 0.0;
    bool first = true;
    std::size_t last = n;
    for (std::size_t i = 0; i < n; ++i) {
        if (x[i] < low || x[i] > high) continue;
        const bool inner = i > 0 && i + 1 < n;
        sum += y[i] * (first && inner ? (x[i + 1] - x[i]) / (x[i + 1] - x[i - 1]) : 1.0);
        first = false;
        last = i;
    }
    if (last < n && last > 0 && last + 1 < n) sum -= y[last] * (x[last + 1] - x[last]) / (x[last + 1] - x[last - 1]);
    return sum;
}

/// The spectrum as messages name it.
std::string source_of_spectrum(const WorkPoint& wp)
{
    return wp.spectrumFromFile ? "The spectrum file '" + wp.spectrumFile + "'"
                               : "The spectrum model \"" + model_of_number(wp.spectrumModel.number).name + "\"";
}

/// Wavelengths and powers before the cut-off. @return false when there are none (reported)
bool rows_of_spectrum(Surroundings& surroundings, const WorkPoint& wp, TwoColumns& rows)
{
    if (wp.dark) {
        rows.x = {200.0, 5000.0};
        rows.y = {0.0, 0.0};
        return true;
    }
    const int count = wp.spectrumFromFile ? CountLinesInFile(surroundings, wp.spectrumFile, FileKind::spectrum)
                                          : wp.spectrumModel.points;
    if (count > MAX_NUMBER_OF_INPUT_POINTS) {
        KOVINErrorMessage(surroundings.report, "Error !",
                          source_of_spectrum(wp) + " contains too many (> " +
                              std::to_string(MAX_NUMBER_OF_INPUT_POINTS) + " ) different wavelengths.");
        return false;
    }
    if (!wp.spectrumFromFile)
        GetSpectrumFromModel(wp.spectrumModel, rows.x, rows.y);
    else if (count < 1 || ReadKOVINFile(surroundings, wp.spectrumFile, FileKind::spectrum, 1, false, rows) < 1)
        return false;
    MakeNonNegative(rows.y);
    return !rows.x.empty();
}

}  // namespace

void SpectrumInterpolation(std::vector<double>& lambda, std::vector<double>& spectrum,
                           const std::array<double, 3>& added)
{
    const std::size_t n = lambda.size();
    if (n < 2) return;
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return lambda[a] < lambda[b]; });
    std::vector<double> x(n), density(n);
    for (std::size_t i = 0; i < n; ++i) x[i] = lambda[order[i]];
    for (std::size_t i = 0; i < n; ++i) density[i] = spectrum[order[i]] * 2 / double_interval(x, i);

    lambda = x;
    spectrum = density;
    for (const double at : added) {
        if (!(at > x.front() && at < x.back())) continue;
        const auto above = std::lower_bound(lambda.begin(), lambda.end(), at);
        const auto place = above - lambda.begin();
        if (*above - at < 1e-4 || at - *(above - 1) < 1e-4) continue;
        double value = 0.0;
        LinearInterpolation(x, density, at, value);
        lambda.insert(above, at);
        spectrum.insert(spectrum.begin() + place, value);
    }
    for (std::size_t i = 0; i < lambda.size(); ++i) spectrum[i] *= double_interval(lambda, i) * 0.5;
}

void GetSpectrumFromModel(const Model& model, std::vector<double>& lambda, std::vector<double>& spectrum)
{
    constexpr double per_cm2_to_per_m2 = 1e4;
    ModelCurve curve = CalculateBasicModelXY(model);
    lambda = std::move(curve.x);
    spectrum = std::move(curve.y);
    const std::size_t n = lambda.size();
    for (std::size_t i = 0; i < n; ++i) {
        const bool end = i == 0 || i + 1 == n;
        spectrum[i] *= per_cm2_to_per_m2 * double_interval(lambda, i) * (end ? 1.0 : 0.5);
    }
}

bool bepaal_spectrum(Surroundings& surroundings, WorkPoint& wp, GenerationParameters& gp)
{
    TwoColumns rows;
    if (!rows_of_spectrum(surroundings, wp, rows)) return false;
    const double intensity = std::pow(10.0, -wp.neutralDensity);
    double photons = 0.0;
    for (std::size_t i = 0; i < rows.x.size(); ++i) photons += rows.x[i] * rows.y[i] * photons_per_nm_W;
    if (!(photons * std::max(intensity, 1.0) <= most_photons)) {
        KOVINErrorMessage(
            surroundings.report, "Spectrum",
            source_of_spectrum(wp) + " gives more than " + scientific(most_photons, 0, 0) + " photons per m2 and s.");
        return false;
    }

    gp.cutOff = wp.cutOff;
    gp.lambdaLow = wp.lambdaShort;
    gp.lambdaHigh = wp.lambdaLong;
    gp.intensity = intensity;
    gp.side = wp.lightFromRight ? 1 : -1;
    gp.Rfront = wp.Rfront;
    gp.lambda = std::move(rows.x);
    gp.spectrum = std::move(rows.y);
    if (wp.cutOff)
        SpectrumInterpolation(gp.lambda, gp.spectrum,
                              {wp.lambdaShort, (wp.lambdaShort + wp.lambdaLong) / 2, wp.lambdaLong});
    gp.n = static_cast<int>(gp.lambda.size());

    wp.powerFromSpectrum = std::accumulate(gp.spectrum.begin(), gp.spectrum.end(), 0.0);
    wp.powerAfterCutOff =
        wp.cutOff ? power_between(gp.lambda, gp.spectrum, wp.lambdaShort, wp.lambdaLong) : wp.powerFromSpectrum;
    wp.incidentPower = wp.powerAfterCutOff * gp.intensity;
    return true;
}

double CalculateIncidentLightIntensityFromSpectrumFileOrModel(Surroundings& surroundings, WorkPoint& wp)
{
    GenerationParameters scratch;
    if (bepaal_spectrum(surroundings, wp, scratch)) return wp.powerFromSpectrum;
    return wp.powerFromSpectrum = wp.powerAfterCutOff = wp.incidentPower = 0.0;
}

double CalculateIncidentLightFluxFromFileOrFromModel(const GenerationParameters& gp)
{
    return photons_per_nm_W * std::inner_product(gp.lambda.begin(), gp.lambda.end(), gp.spectrum.begin(), 0.0);
}

}  // namespace kovin
