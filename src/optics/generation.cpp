#include "optics/generation.h"

#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/boxes.h"
#include "device/model_curve.h"
#include "device/model_table.h"
#include "optics/absorbed_photons.h"
#include "optics/absorption_on_mesh.h"
#include "optics/box_generation.h"
#include "optics/fluxes.h"
#include "optics/optical_capture.h"

#include <algorithm>
#include <span>

namespace kovin {

namespace {

bool GetGenerationFromFile(Surroundings& surroundings, const WorkPoint& wp, GivenGeneration& given)
{
    if (wp.generationFile.empty()) {
        KOVINErrorMessage(surroundings.report, "Error trying to read the generation file G(x)",
                          "The work point asks for a generation file and names none.");
        return false;
    }
    TwoColumns rows;
    const int count = ReadKOVINFile(surroundings, wp.generationFile, FileKind::generation, 1, false, rows);
    if (count < 1) return false;
    if (count < 2) {
        KOVINErrorMessage(surroundings.report, "Error trying to read the generation file G(x)",
                          "The generation file '" + wp.generationFile + "' has one row; G(x) lies between two.");
        return false;
    }
    if (count > max_generation_points) {
        KOVINErrorMessage(surroundings.report, "Error trying to read the generation file G(x)",
                          "The generation file '" + wp.generationFile + "' contains too many " + std::to_string(count) +
                              " (> " + std::to_string(max_generation_points) + ") points.");
        return false;
    }
    given = {std::move(rows.x), std::move(rows.y)};
    return true;
}

bool GetGenerationFromModel(Surroundings& surroundings, const WorkPoint& wp, const CalculationParameters& set3,
                            GivenGeneration& given)
{
    Model model = wp.generationModel;
    model.points = std::min(model.points, max_generation_points);
    ModelCurve curve = CalculateBasicModelXY(model, {.d_um = set3.layers > 0 ? set3.scale.x0 * 1e6 : 2.0,
                                                     .widthtail = set3.convergence.widthtail,
                                                     .widthgauss = set3.convergence.widthgauss});
    if (curve.x.empty()) {
        KOVINErrorMessage(
            surroundings.report, "Generation",
            "The generation model \"" + model_of_number(model.number).name + "\" gives no point in the cell.");
        return false;
    }
    for (double& x : curve.x) x *= 1e-6;  // um -> m
    for (double& G : curve.y) G *= 1e6;   // 1/(cm3 s) -> 1/(m3 s)
    given = {std::move(curve.x), std::move(curve.y), model.number == 24};
    return true;
}

/// Linear between rows, 0 outside; of rows with equal positions the lower one counts. A file that ends at the back of
/// the cell reaches the last mesh point whatever the rounding of the two.
double value_at(const GivenGeneration& given, double x)
{
    const std::vector<double>&rows = given.x, &G = given.G;
    if (!rows.empty() && x > rows.back() && x <= rows.back() * (1 + 1e-9)) return G.back();
    if (rows.empty() || x < rows.front() || x > rows.back()) return 0.0;
    const auto above = std::lower_bound(rows.begin(), rows.end(), x);
    const auto i = static_cast<std::size_t>(above - rows.begin());
    if (*above == x) return G[i];
    return G[i - 1] + (x - rows[i - 1]) * (G[i] - G[i - 1]) / (rows[i] - rows[i - 1]);
}

/// G [1/(m3 s)] of one unit of gp.generation in layer j.
double generation_unit(const Scale& scale, std::size_t j) { return scale.D0 * scale.N0[j] / (scale.x0 * scale.x0); }

std::size_t first_of(const Mesh& mesh, std::size_t j) { return static_cast<std::size_t>(mesh.first[j]); }
std::size_t end_of(const Mesh& mesh, std::size_t j)
{
    return static_cast<std::size_t>(mesh.first[j]) + static_cast<std::size_t>(mesh.n_in_layer[j]);
}

/// Sum of values over the half intervals on both sides of each x.
double half_interval_sum(std::span<const double> x, std::span<const double> values)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double right = x[std::min(i + 1, x.size() - 1)];
        const double left = x[i > 0 ? i - 1 : 0];
        sum += values[i] * (right - left) * 0.5;
    }
    return sum;
}

/// The given profile in the boxes, times the attenuation; nothing in the dark.
void pairs_of_given_generation(const WorkPoint& wp, const Mesh& mesh, GenerationParameters& gp)
{
    gp.in_box.assign(mesh.x.size(), 0.0);
    if (wp.dark) return;
    pairs_of_profile(gp.given, mesh, gp.in_box);
    for (double& pairs : gp.in_box) pairs *= wp.attenuation / 100.0;
}

constexpr double A_m2_to_mA_cm2 = 0.1;

}  // namespace

bool generation_in_boxes(const CalculationParameters& set3, const GenerationParameters& gp)
{
    return set3.convergence.route == Route::fast || !gp.capture.empty();
}

void generation_follows_levels(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    photons_with_capture(set3, mesh, gp, false);
    generation_of_boxes(set3, mesh, gp.in_box, gp.generation);
}

bool read_given_generation(Surroundings& surroundings, const WorkPoint& wp, const CalculationParameters& set3,
                           GenerationParameters& gp)
{
    gp.given = {};
    if (wp.dark) return true;
    if (!(wp.generationFromFile ? GetGenerationFromFile(surroundings, wp, gp.given)
                                : GetGenerationFromModel(surroundings, wp, set3, gp.given)))
        return false;
    MakeNonNegative(gp.given.G);
    const double photons = half_interval_sum(gp.given.x, gp.given.G) * std::max(wp.attenuation / 100.0, 1.0);
    if (photons <= most_photons) return true;
    KOVINErrorMessage(
        surroundings.report, "Generation",
        (wp.generationFromFile ? "The generation file '" + wp.generationFile + "'"
                               : "The generation model \"" + model_of_number(wp.generationModel.number).name + "\"") +
            " gives " + scientific(photons, 0, 1) + " pairs per m2 and s; more than " + scientific(most_photons, 0, 0) +
            " cannot be computed with.");
    gp.given = {};
    return false;
}

void CalculateGenerationFromFileOrFromModel(const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                                            GenerationParameters& gp)
{
    gp.generation.assign(static_cast<std::size_t>(mesh.N), 0.0);
    if (wp.dark) return;
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const double factor = wp.attenuation / 100.0 / generation_unit(set3.scale, j);
        for (std::size_t i = first_of(mesh, j); i < end_of(mesh, j); ++i)
            gp.generation[i] = factor * value_at(gp.given, mesh.x_m[i]);
    }
}

double CalculateIdealCurrentFromGenerationFileOrModel(const GivenGeneration& given)
{
    return half_interval_sum(given.x, given.G) * elementary_charge * A_m2_to_mA_cm2;
}

void update_generation(const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                       GenerationParameters& gp, const Mesh* lit)
{
    const bool given = wp.dark || wp.generationSpecified, in_boxes = generation_in_boxes(set3, gp);
    if (!given) bepaal_alfa(set3, mesh, gp);
    const bool levels_absorb = !given && !gp.capture.empty();
    if (levels_absorb) capture_on_mesh(mesh, gp);
    if (in_boxes && given)
        pairs_of_given_generation(wp, mesh, gp);
    else if (levels_absorb)
        photons_with_capture(set3, mesh, gp, true);
    else if (in_boxes)
        photons_of_spectrum(set3, mesh, gp, lit);
    else if (given)
        CalculateGenerationFromFileOrFromModel(wp, set3, mesh, gp);
    else
        CalculateFluxesAndGeneration(set3, mesh, gp, lit);
    if (in_boxes) generation_of_boxes(set3, mesh, gp.in_box, gp.generation);
    update_generation_current(set3, mesh, gp);
}

void generation_of_wavelength(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                              std::size_t k, double flux)
{
    if (set3.convergence.route == Route::fast) {
        gp.in_box.resize(mesh.x.size());
        photons_of_wavelength(set3, mesh, gp, k, flux, gp.in_box);
        generation_of_boxes(set3, mesh, gp.in_box, gp.generation);
        return;
    }
    gp.incomingFlux_us.assign(gp.lambda.size(), 0.0);
    gp.incomingFlux_us[k] = flux;
    CalculateFluxesAndGeneration(set3, mesh, gp);
}

void ExtractGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                       std::vector<double>& G)
{
    G = gp.generation;
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j)
        for (std::size_t i = first_of(mesh, j); i < end_of(mesh, j); ++i) G[i] *= generation_unit(set3.scale, j);
    gp.total_mA_cm2 = generation_in_boxes(set3, gp)
                          ? integrated_current(set3, mesh, gp.generation)
                          : half_interval_sum(mesh.x_m, G) * elementary_charge * A_m2_to_mA_cm2;
}

void update_generation_current(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    std::vector<double> G;
    ExtractGeneration(set3, mesh, gp, G);
}

}  // namespace kovin
