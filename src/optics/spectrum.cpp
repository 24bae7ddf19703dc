#include "optics/spectrum.h"

#include "base/interpolate.h"
#include "base/two_column_file.h"

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

bool bepaal_spectrum(Surroundings& surroundings, WorkPoint& wp, GenerationParameters& gp)
{
    TwoColumns rows;
    if (wp.dark) {
        rows.x = {200.0, 5000.0};
        rows.y = {0.0, 0.0};
    } else if (wp.spectrumFromFile) {
        if (CountLinesInFile(surroundings, wp.spectrumFile, FileKind::spectrum) > MAX_NUMBER_OF_INPUT_POINTS) {
            KOVINErrorMessage(surroundings.report, "Error !",
                              "The spectrum file contains too many (> " + std::to_string(MAX_NUMBER_OF_INPUT_POINTS) +
                                  " ) different wavelengths.");
            return false;
        }
        if (ReadKOVINFile(surroundings, wp.spectrumFile, FileKind::spectrum, 1, false, rows) < 1) return false;
        MakeNonNegative(rows.y);
    } else {
        KOVINErrorMessage(surroundings.report, "Spectrum",
                          "The spectrum model \"" + wp.spectrumModel.name + "\" is not supported yet.");
        return false;
    }

    gp.cutOff = wp.cutOff;
    gp.lambdaLow = wp.lambdaShort;
    gp.lambdaHigh = wp.lambdaLong;
    gp.intensity = std::pow(10.0, -wp.neutralDensity);
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

}  // namespace kovin
