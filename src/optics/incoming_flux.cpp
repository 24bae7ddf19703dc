#include "optics/incoming_flux.h"

#include <algorithm>
#include <cassert>

namespace kovin {

namespace {

/// Share of the interval of row i, from the middle to its left neighbour to the middle to its right one, that lies
/// between the cut-offs.
double cut_off_weight(const std::vector<double>& x, std::size_t i, double low, double high)
{
    const std::size_t n = x.size();
    if (low >= x.back() || high <= x.front()) return 0.0;
    if (n < 2) return 1.0;
    const bool first = i == 0, last = i + 1 == n;
    const double width = x[last ? i : i + 1] - x[first ? i : i - 1];
    double above = 1.0, below = 1.0;
    if (x.front() <= low) {
        const double reach = last ? 2 * (x[i] - low) : x[i] + x[i + 1] - 2 * low;
        above = std::clamp(reach / width, 0.0, 1.0);
    }
    if (high <= x.back()) {
        const double reach = first ? 2 * (high - x[0]) : 2 * high - x[i] - x[i - 1];
        below = std::clamp(reach / width, 0.0, 1.0);
    }
    return std::clamp(above + below - 1.0, 0.0, 1.0);
}

}  // namespace

void CalculateIncomingFluxes(GenerationParameters& gp, double factor, FluxMode mode)
{
    const std::size_t n = gp.lambda.size();
    const std::vector<double>& T = gp.side == -1 ? gp.leftFilter : gp.rightFilter;
    assert(T.size() == n && gp.spectrum.size() == n);
    double I = 0.0;
    if (mode == FluxMode::work_point) I = gp.intensity;
    if (mode == FluxMode::full) I = 1.0;
    const bool cut = gp.cutOff && mode == FluxMode::work_point;
    gp.incomingFlux_us.resize(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double w = cut ? cut_off_weight(gp.lambda, k, gp.lambdaLow, gp.lambdaHigh) : 1.0;
        gp.incomingFlux_us[k] = T[k] * gp.lambda[k] * gp.spectrum[k] * factor * I * w;
    }
}

}  // namespace kovin
