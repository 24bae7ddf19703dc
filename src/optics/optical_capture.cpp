#include "optics/optical_capture.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/charge_states.h"
#include "device/defect_levels.h"
#include "optics/absorbed_photons.h"
#include "optics/attenuation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// "Layer 2, defect 1, level 1", from numbers that begin at 0.
std::string name_of_level(std::size_t layer, std::size_t defect, std::size_t level)
{
    const auto number = [](std::size_t i) { return integer(static_cast<long>(i) + 1); };
    return "Layer " + number(layer) + ", defect " + number(defect) + ", level " + number(level);
}

/// One carrier of one level, `who` for messages. @param told  true: remarks are not repeated
/// @return false if it cannot be used (reported)
bool read_cross_sections(Surroundings& surroundings, const OpticalCaptureProperties& capture, double E0,
                         const std::string& who, bool told, CrossSections& found)
{
    const auto tell = [&](const std::string& text) {
        KOVINErrorMessage(surroundings.report, "Optical capture", who + ": " + text + '.');
    };
    const auto refuse = [&](const std::string& text) {
        tell(text);
        return false;
    };
    found = {};
    if (capture.from_model) {
        bool refused = false;
        for (const CaptureFinding& finding : capture_findings(capture, E0)) {
            if (finding.refused || !told) tell(finding.text);
            refused = refused || finding.refused;
        }
        if (capture.present && !refused) found = ReadOpticalCaptureParametersFromModel(capture, E0);
        return !refused;
    }
    if (!capture.present) return true;
    if (capture.file.empty()) return refuse("no file with the cross section is named");
    const std::string file = "the file '" + capture.file + "' ";
    TwoColumns rows;
    if (ReadKOVINFile(surroundings, capture.file, FileKind::optical_capture, 1, false, rows) < 1)
        return refuse(file + "gives no cross section");
    MakeNonNegative(rows.y);
    std::string against_m2;
    for (std::size_t i = 0; i < rows.heading.size() && against_m2.empty(); ++i)
        against_m2 = heading_against_m2(rows.heading[i]);
    found = {std::move(rows.x), std::move(rows.y)};
    const auto largest = std::max_element(found.sigma.begin(), found.sigma.end());
    const double wavelength = found.wavelength[static_cast<std::size_t>(largest - found.sigma.begin())];
    if (!(*largest <= largest_cross_section))
        return refuse("a cross section of " + scientific(*largest, 0, 1) + " m2 at " + plain(wavelength, 1) +
                      " nm is that of no defect; files hold m2");
    if (told) return true;
    if (!against_m2.empty()) tell(file + "is read in m2: " + against_m2);
    if (*largest == 0.0)
        tell(file + "has no cross section above 0: nothing is absorbed");
    else if (found.sigma.size() == 1)
        tell(file + "has one row: it counts at " + plain(wavelength, 1) + " nm alone, nothing is absorbed beside it");
    return true;
}

std::vector<double> at_wavelengths(const CrossSections& table, const std::vector<double>& lambda)
{
    std::vector<double> sigma(lambda.size(), 0.0);
    if (table.sigma.empty()) return sigma;
    interpolate_table(table.wavelength, table.sigma, TableLaw::logarithmic, lambda, sigma);
    for (std::size_t k = 0; k < lambda.size(); ++k)
        if (lambda[k] < table.wavelength.front() || lambda[k] > table.wavelength.back()) sigma[k] = 0.0;
    return sigma;
}

/// Tables that hold cross sections of which no wavelength of the light meets any; one row is told where it is read.
void tell_what_the_light_misses(Report& report, const std::string& who, const CrossSections& table,
                                const std::vector<double>& at_light)
{
    const auto absorbs = [](const std::vector<double>& sigma) {
        return std::ranges::any_of(sigma, [](double s) { return s > 0.0; });
    };
    if (table.sigma.size() < 2 || !absorbs(table.sigma) || absorbs(at_light)) return;
    KOVINErrorMessage(report, "Optical capture",
                      who + ": no wavelength of the light meets its cross sections, from " +
                          plain(table.wavelength.front(), 1) + " to " + plain(table.wavelength.back(), 1) +
                          " nm: nothing is absorbed.");
}

/// Wavelengths side by side.
constexpr std::size_t width = 16;
using Lane = std::array<double, width>;

/// Carries wavelengths through the cell, `width` of them at a time.
class Passage {
public:
    Passage(const CalculationParameters& set3, const Mesh& points_of, GenerationParameters& light)
        : mesh(points_of),
          gp(light),
          box(points_of.x.size()),
          of_bands(light.absorption.alpha.size()),
          sigma_n(light.capture.size()),
          sigma_p(sigma_n.size()),
          passed(box.size()),
          mean(box.size()),
          flux_in_box(box.size())
    {
        for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
            for (std::size_t i = at(mesh.first[j]); i <= at(mesh.last[j]); ++i) {
                const double left = i > at(mesh.first[j]) ? mesh.h[i - 1] : 0.0;
                const double right = i < at(mesh.last[j]) ? mesh.h[i] : 0.0;
                box[i] = 0.5 * (left + right) * set3.scale.x0;
            }
    }

    bool take(std::size_t k)
    {
        wavelength[used] = k;
        return ++used == width;
    }

    /// Adds pairs and rates of what has been taken and starts anew.
    void add_to(std::span<double> pairs)
    {
        if (used == 0) return;
        gather();
        pass_through();
        for (std::size_t i = 0; i < box.size(); ++i) {
            const Lane& alpha = of_bands[entry(i)];
            double sum = 0.0;
            for (std::size_t l = 0; l < width; ++l) sum += alpha[l] * flux_in_box[i][l];
            pairs[i] += sum * box[i];
        }
        for (std::size_t c = 0; c < gp.capture.size(); ++c) {
            OpticalCapture& level = gp.capture[c];
            const std::size_t first = at(mesh.first[level.layer]);
            for (std::size_t k = 0; k < level.g_n.size(); ++k) {
                const Lane& F = flux_in_box[first + k];
                double n = 0.0, p = 0.0;
                for (std::size_t l = 0; l < width; ++l) n += sigma_n[c][l] * F[l], p += sigma_p[c][l] * F[l];
                level.g_n[k] += n;
                level.g_p[k] += p;
            }
        }
        used = 0;
    }

private:
    const Mesh& mesh;
    GenerationParameters& gp;
    std::vector<double> box;             ///< width [m], one a mesh point
    std::vector<Lane> of_bands;          ///< a row per composition [1/m]
    std::vector<Lane> sigma_n, sigma_p;  ///< a row per level [m2]
    std::vector<Lane> passed, mean;      ///< of the flux that meets a box: what passes it, what there is in it
    std::vector<Lane> flux_in_box;       ///< mean flux [1/(m2 s)]
    std::size_t used = 0;
    std::array<std::size_t, width> wavelength{};
    Lane flux, Rb;

    [[nodiscard]] std::size_t entry(std::size_t i) const { return at(gp.absorption.of_point[i]); }

    void gather()
    {
        const std::vector<double>& back = gp.side == -1 ? gp.rightFilter : gp.leftFilter;
        const auto lane = [&](const std::vector<double>& values, Lane& to) {
            for (std::size_t l = 0; l < width; ++l) to[l] = l < used ? values[wavelength[l]] : 0.0;
        };
        lane(gp.incomingFlux_us, flux);
        lane(back, Rb);
        for (std::size_t c = 0; c < of_bands.size(); ++c) lane(gp.absorption.alpha[c], of_bands[c]);
        for (std::size_t c = 0; c < gp.capture.size(); ++c) {
            lane(gp.capture[c].sigma_n, sigma_n[c]);
            lane(gp.capture[c].sigma_p, sigma_p[c]);
        }
    }

    void pass_through()
    {
        // Absorption of every box, first into `mean`.
        for (std::size_t i = 0; i < box.size(); ++i) mean[i] = of_bands[entry(i)];
        for (std::size_t c = 0; c < gp.capture.size(); ++c) {
            const OpticalCapture& level = gp.capture[c];
            const std::size_t first = at(mesh.first[level.layer]);
            for (std::size_t k = 0; k < level.filled.size(); ++k)
                for (std::size_t l = 0; l < width; ++l)
                    mean[first + k][l] += sigma_n[c][l] * level.filled[k] + sigma_p[c][l] * level.empty[k];
        }
        Lane T{};
        for (std::size_t i = 0; i < box.size(); ++i)
            for (std::size_t l = 0; l < width; ++l) {
                constexpr double too_thin = 1e-14;  // there the quotient below is 1
                const double t = mean[i][l] * box[i];
                const Attenuation a = attenuation(t);
                T[l] += t;
                passed[i][l] = a.passed;
                mean[i][l] = t > too_thin ? a.absorbed / t : 1.0;
            }
        Lane F, least;
        for (std::size_t l = 0; l < width; ++l) {
            // What a round trip loses. Light that nothing absorbs between two perfect mirrors generates nothing.
            const double R = gp.Rfront * Rb[l];
            const double lost = (1.0 - R) + R * attenuation(2.0 * T[l]).absorbed;
            F[l] = lost > 0.0 ? flux[l] / lost : 0.0;
            least[l] = F[l] * 1e-280;
        }
        const std::size_t N = box.size();
        const bool from_left = gp.side == -1;
        for (auto& there : flux_in_box) there.fill(0.0);
        for (std::size_t q = 0; q < N; ++q) meet(from_left ? q : N - 1 - q, F, least);
        for (std::size_t l = 0; l < width; ++l) F[l] *= Rb[l];
        for (std::size_t q = N; q-- > 0;) meet(from_left ? q : N - 1 - q, F, least);
    }

    /// Leads the flux F through box i.
    void meet(std::size_t i, Lane& F, const Lane& least)
    {
        for (std::size_t l = 0; l < width; ++l) {
            flux_in_box[i][l] += F[l] * mean[i][l];
            const double left = F[l] * passed[i][l];
            F[l] = left > least[l] ? left : 0.0;
        }
    }
};

/// Does any level absorb wavelength k?
bool levels_absorb(const GenerationParameters& gp, std::size_t k)
{
    return std::ranges::any_of(gp.capture,
                               [&](const OpticalCapture& c) { return c.sigma_n[k] > 0.0 || c.sigma_p[k] > 0.0; });
}

/// The photons of all wavelengths that no level absorbs.
void photons_apart_from_levels(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    const std::vector<double> all = gp.incomingFlux_us;
    for (std::size_t k = 0; k < all.size(); ++k)
        if (levels_absorb(gp, k)) gp.incomingFlux_us[k] = 0.0;
    photons_of_spectrum(set3, mesh, gp);
    gp.apart_from_levels = gp.in_box;
    gp.incomingFlux_us = all;
}

}  // namespace

bool has_optical_capture(const CalculationParameters& set3)
{
    for (std::size_t j = 0; j < at(set3.layers); ++j)
        for (std::size_t d = 0; d < at(set3.layer[j].srhteller); ++d)
            if (absorbs_light(set3.layer[j].srh[d])) return true;
    return false;
}

bool ReadOpticalCaptureParameters(Surroundings& surroundings, const CalculationParameters& set3,
                                  GenerationParameters& gp, bool& told)
{
    gp.capture.clear();
    for (std::size_t j = 0; j < at(set3.layers); ++j) {
        const LayerParameters& layer = set3.layer[j];
        for (std::size_t d = 0; d < at(layer.srhteller); ++d) {
            for (std::size_t s = 0; s < at(level_count(layer.srh[d])); ++s) {
                const BulkRecombinationParameters& level = layer.srh[d][s];
                const auto is_asked_for = [](const OpticalCaptureProperties& c) { return c.present || c.from_model; };
                if (!is_asked_for(level.electrons) && !is_asked_for(level.holes)) continue;
                const std::string who = name_of_level(j, d, s);
                const MaterialParameters& m = layer.material;
                const OpticalThresholds E0 =
                    optical_thresholds(level.reference, level.Et, m.Eg.left, set3.kT, m.Nv.left / m.Nc.left);
                OpticalCapture found;
                found.layer = j, found.defect = d, found.level = s;
                if (!read_cross_sections(surroundings, level.electrons, E0.electrons, who + ", electrons", told,
                                         found.electrons) ||
                    !read_cross_sections(surroundings, level.holes, E0.holes, who + ", holes", told, found.holes))
                    return false;
                if (!found.electrons.sigma.empty() || !found.holes.sigma.empty())
                    gp.capture.push_back(std::move(found));
            }
        }
    }
    InterpolateOpticalCaptureProperties(gp);
    for (const OpticalCapture& level : gp.capture) {
        if (told) break;
        const std::string who = name_of_level(level.layer, level.defect, level.level);
        tell_what_the_light_misses(surroundings.report, who + ", electrons", level.electrons, level.sigma_n);
        tell_what_the_light_misses(surroundings.report, who + ", holes", level.holes, level.sigma_p);
    }
    told = true;
    return true;
}

void InterpolateOpticalCaptureProperties(GenerationParameters& gp)
{
    for (OpticalCapture& level : gp.capture) {
        level.sigma_n = at_wavelengths(level.electrons, gp.lambda);
        level.sigma_p = at_wavelengths(level.holes, gp.lambda);
    }
}

bool capture_on_mesh(const Mesh& mesh, GenerationParameters& gp)
{
    bool changed = false;
    for (OpticalCapture& level : gp.capture) {
        const std::size_t count = at(mesh.n_in_layer[level.layer]);
        if (level.filled.size() == count) continue;
        changed = true;
        for (auto* v : {&level.filled, &level.empty, &level.g_n, &level.g_p}) v->assign(count, 0.0);
    }
    return changed;
}

void photons_with_capture(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp, bool anew)
{
    if (anew || gp.apart_from_levels.size() != mesh.x.size()) photons_apart_from_levels(set3, mesh, gp);
    gp.in_box = gp.apart_from_levels;
    for (OpticalCapture& level : gp.capture)
        for (auto* rate : {&level.g_n, &level.g_p}) std::ranges::fill(*rate, 0.0);
    Passage passage(set3, mesh, gp);
    for (std::size_t k = 0; k < gp.incomingFlux_us.size(); ++k)
        if (gp.incomingFlux_us[k] != 0.0 && levels_absorb(gp, k) && passage.take(k)) passage.add_to(gp.in_box);
    passage.add_to(gp.in_box);
}

}  // namespace kovin
