#include "device/capture_model.h"

#include "base/constants.h"
#include "base/text_format.h"
#include "base/unit_text.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr int model_rows = 50;

/// The cross section of a model where sqrt((r - 1)^3)/r^3 is 1 [m2].
double scale_of(const OpticalCaptureProperties& capture, double E0)
{
    return 9.3e-21 * capture.Eeff_over_E0 * capture.Eeff_over_E0 / (E0 * capture.n * capture.m_over_m0);
}

/// The figure that lifts a cross section most.
const char* largest_lift(const OpticalCaptureProperties& capture)
{
    const double of_n = 1.0 / capture.n, of_m = 1.0 / capture.m_over_m0;
    if (capture.Eeff_over_E0 * capture.Eeff_over_E0 >= std::max(of_n, of_m)) return ", Eeff/E0";
    return of_n > of_m ? ", n" : ", m*/m0";
}

}  // namespace

std::string heading_against_m2(std::string_view line)
{
    constexpr std::string_view between = " \t\r()[]{}<>,;:=\"'";
    const Unit m2 = *unit_of_text("m2");
    std::string other;
    for (std::size_t at = line.find_first_not_of(between); at < line.size(); at = line.find_first_not_of(between, at)) {
        const std::string_view word = line.substr(at, line.find_first_of(between, at) - at);
        at += word.size();
        const std::optional<Unit> unit = unit_of_text(word);
        if (!unit || !unit->same_kind(m2)) continue;
        if (*unit == m2) return {};
        if (other.empty()) other = "the heading says " + std::string(word) + "; files hold m2";
    }
    return other;
}

CrossSections ReadOpticalCaptureParametersFromModel(const OpticalCaptureProperties& capture, double E0)
{
    CrossSections table;
    if (!(E0 > 0.0 && capture.Emax >= E0)) return table;
    const double shortest = hc_eV_nm / capture.Emax, longest = hc_eV_nm / E0;
    const double scale = scale_of(capture, E0);
    for (int i = 0; i < model_rows; ++i) {
        const double lambda = shortest + (longest - shortest) * i / (model_rows - 1);
        const double r = std::max(hc_eV_nm / lambda / E0, 1.0), above = r - 1.0;
        if (!table.wavelength.empty() && lambda <= table.wavelength.back()) break;
        table.wavelength.push_back(lambda);
        table.sigma.push_back(scale * std::sqrt(above * above * above) / (r * r * r));
    }
    return table;
}

std::vector<CaptureFinding> capture_findings(const OpticalCaptureProperties& capture, double E0)
{
    std::vector<CaptureFinding> found;
    if (!capture.from_model) return found;
    if (!capture.present) {
        found.push_back({", data from model",
                         "it is to absorb by the model, but no line 'optical capture data' names it: it absorbs "
                         "nothing"});
        return found;
    }
    if (!(capture.n > 0.0)) found.push_back({", n", "the model divides by n, which must be above 0", true});
    if (!(capture.m_over_m0 > 0.0))
        found.push_back({", m*/m0", "the model divides by m*/m0, which must be above 0", true});
    if (!(capture.Emax > E0))
        found.push_back({", Emax (eV)", "the model ends at Emax, " + plain(capture.Emax, 3) + " eV, and begins at " +
                                            plain(E0, 3) + " eV: nothing is absorbed"});
    else if (!(E0 > 0.0))
        found.push_back({", Emax (eV)", "the model begins at " + plain(E0, 3) +
                                            " eV, which must be above 0: nothing "
                                            "is absorbed"});
    if (!found.empty()) return found;
    const CrossSections table = ReadOpticalCaptureParametersFromModel(capture, E0);
    const auto all = [&](auto holds) { return std::ranges::all_of(table.sigma, holds); };
    if (std::isfinite(scale_of(capture, E0)) && !all([](double sigma) { return std::isfinite(sigma); }))
        found.push_back(
            {", Emax (eV)", "no cross section can be calculated up to Emax, " + shortest(capture.Emax) + " eV", true});
    else if (!all([](double sigma) { return sigma <= largest_cross_section; }))
        found.push_back({largest_lift(capture),
                         "the model gives more than " + scientific(largest_cross_section, 0, 0) +
                             " m2, the cross section of no defect, with n of " + shortest(capture.n) + ", m*/m0 of " +
                             shortest(capture.m_over_m0) + ", Eeff/E0 of " + shortest(capture.Eeff_over_E0) +
                             " and the threshold at " + shortest(E0) + " eV",
                         true});
    return found;
}

}  // namespace kovin
