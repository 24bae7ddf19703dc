#include "optics/absorption_on_mesh.h"

#include "device/absorption_models.h"
#include "device/grading.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace kovin {

namespace {

/// Linear map of the interval from (s_from, edge_from) to (s_to, edge_to).
double mapped(double lambda, double s_from, double edge_from, double s_to, double edge_to)
{
    const double slope = edge_from != s_from ? (edge_to - s_to) / (edge_from - s_from) : 1.0;
    return s_to + (lambda - s_from) * slope;
}

/// Absorption of a layer's material at composition y, 0 < y < 1.
void InterpolateAlpha(const LayerParameters& layer, const LayerAbsorption& materials, double y,
                      const std::vector<double>& lambda, std::vector<double>& alpha)
{
    const Profile& gap = layer.material.Eg;
    const std::array<double, 3> at{0.0, 1.0, y};
    std::array<double, 3> Eg{gap.left, gap.right, gap.left};
    if (gap.dependence != Dependence::on_x) evaluate_profile(gap, at, Eg);
    const double edge_A = hc_eV_nm / Eg[0], edge_B = hc_eV_nm / Eg[1], edge_y = hc_eV_nm / Eg[2];
    // The short-wavelength anchors are the constants of the absorption grading, at least 10 nm below their edges.
    const Profile& grading = layer.material.absorption.grading;
    const double s_A = std::min(grading.third, edge_A - 10.0), s_B = std::min(grading.fourth, edge_B - 10.0);
    const double s_y = s_B * y + s_A * (1 - y);
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        const double of_A = alpha_at(materials.A, mapped(lambda[k], s_y, edge_y, s_A, edge_A));
        const double of_B = alpha_at(materials.B, mapped(lambda[k], s_y, edge_y, s_B, edge_B));
        const double a = std::max(of_A, 1e-10 * of_B), b = std::max(of_B, 1e-10 * of_A);
        alpha[k] = a > 0.0 && b > 0.0 ? std::pow(a, 1 - y) * std::pow(b, y) : 0.0;
    }
}

/// The materials a layer can contain. @return false if a file could not be read (reported)
bool load_materials(Surroundings& surroundings, const LayerParameters& layer, LayerAbsorption& materials)
{
    const Absorption& data = layer.material.absorption;
    const bool only_B = layer.composition_mode == 20 || data.grading.law == Law::uniform_B;
    const bool both = layer.composition_mode != 0 && !only_B && data.grading.law == Law::alpha_interpolation;
    if (!load_absorption(surroundings, data, only_B, materials.A)) return false;
    if (both) return load_absorption(surroundings, data, true, materials.B);
    materials.B = materials.A;
    return true;
}

/// Absorption of a layer at composition y: one of the pure materials, or between them.
void alpha_of_composition(const LayerParameters& layer, const LayerAbsorption& materials, double y,
                          const std::vector<double>& lambda, std::vector<double>& alpha)
{
    alpha.resize(lambda.size());
    const bool can_mix = layer.composition_mode != 0 && layer.composition_mode != 20 &&
                         layer.material.absorption.grading.law == Law::alpha_interpolation;
    if (can_mix && y > 0.0 && y < 1.0) {
        InterpolateAlpha(layer, materials, y, lambda, alpha);
    } else {
        const MaterialAbsorption& material = y >= 1.0 ? materials.B : materials.A;
        for (std::size_t k = 0; k < lambda.size(); ++k) alpha[k] = alpha_at(material, lambda[k]);
    }
}

}  // namespace

bool read_absorption(Surroundings& surroundings, const CalculationParameters& set3, GenerationParameters& gp)
{
    gp.absorption = {};
    gp.materials.assign(static_cast<std::size_t>(set3.layers), {});
    for (std::size_t j = 0; j < gp.materials.size(); ++j)
        if (!load_materials(surroundings, set3.layer[j], gp.materials[j])) return false;
    return true;
}

double ExtractAlpha(const GenerationParameters& gp, double lambda, std::size_t layer)
{
    if (gp.n == 0 || layer >= gp.materials.size()) return 0.0;
    const LayerAbsorption& materials = gp.materials[layer];
    return std::max(alpha_at(materials.A, lambda), alpha_at(materials.B, lambda));
}

void bepaal_alfa(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    AbsorptionOnMesh found, &known = gp.absorption;
    found.of_point.resize(static_cast<std::size_t>(mesh.N));
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        std::map<double, std::size_t> known_at, found_at;  // composition to entry, for this layer
        for (std::size_t k = known.first_entry[j]; k < known.first_entry[j + 1]; ++k) known_at[known.y[k]] = k;
        const auto first = static_cast<std::size_t>(mesh.first[j]);
        for (std::size_t i = first; i < first + static_cast<std::size_t>(mesh.n_in_layer[j]); ++i) {
            const double y = mesh.y[i];
            const auto [entry, is_new] = found_at.try_emplace(y, found.alpha.size());
            if (is_new) {
                found.y.push_back(y);
                found.alpha.emplace_back();
                if (const auto k = known_at.find(y); k != known_at.end())
                    found.alpha.back() = std::move(known.alpha[k->second]);
                else
                    alpha_of_composition(set3.layer[j], gp.materials[j], y, gp.lambda, found.alpha.back());
            }
            found.of_point[i] = static_cast<int>(entry->second);
        }
        found.first_entry[j + 1] = found.alpha.size();
    }
    gp.absorption = std::move(found);
}

}  // namespace kovin
