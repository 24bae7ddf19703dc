#include "optics/absorption_on_mesh.h"

#include "device/alpha_interpolation.h"

#include <algorithm>
#include <map>

namespace kovin {

namespace {

/// The materials a layer can contain. @return false if a file could not be read (reported)
bool load_materials(Surroundings& surroundings, AbsorptionFiles& files, const LayerParameters& layer,
                    LayerAbsorption& materials)
{
    const Absorption& data = layer.material.absorption;
    const PureGaps gap = pure_gaps(layer.material.Eg, absorption_follows_composition(layer));
    materials.gap = gap;
    materials.anchor_A = data.grading.third;
    materials.anchor_B = data.grading.fourth;
    if (absorption_follows_composition(layer))
        return load_absorption(surroundings, files, data, false, gap.A, materials.A) &&
               load_absorption(surroundings, files, data, true, gap.B, materials.B);
    const bool only_B = absorption_of_pure_B(layer);
    materials.gap.A = materials.gap.B = only_B ? gap.B : gap.A;
    materials.anchor_A = materials.anchor_B = only_B ? data.grading.fourth : data.grading.third;
    if (!load_absorption(surroundings, files, data, only_B, materials.gap.A, materials.A)) return false;
    materials.B = materials.A;
    return true;
}

}  // namespace

bool absorption_follows_composition(const LayerParameters& layer)
{
    const bool between = layer.composition_mode == 1 || layer.composition_mode == 21;
    return between && layer.material.absorption.grading.law != Law::uniform_B;
}

bool absorption_of_pure_B(const LayerParameters& layer)
{
    return layer.composition_mode == 20 || layer.material.absorption.grading.law == Law::uniform_B;
}

bool read_absorption(Surroundings& surroundings, const CalculationParameters& set3, GenerationParameters& gp)
{
    gp.absorption = {};
    gp.materials.assign(static_cast<std::size_t>(set3.layers), {});
    AbsorptionFiles files;
    for (std::size_t j = 0; j < gp.materials.size(); ++j)
        if (!load_materials(surroundings, files, set3.layer[j], gp.materials[j])) return false;
    return true;
}

double ExtractAlpha(const GenerationParameters& gp, double lambda, std::size_t layer)
{
    if (layer >= gp.materials.size()) return 0.0;
    const LayerAbsorption& materials = gp.materials[layer];
    return std::max(alpha_at(materials.A, lambda), alpha_at(materials.B, lambda));
}

void bepaal_alfa(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    AbsorptionOnMesh found, &known = gp.absorption;
    found.of_point.resize(static_cast<std::size_t>(mesh.N));
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const LayerAbsorption& materials = gp.materials[j];
        const bool mixes = absorption_follows_composition(set3.layer[j]);
        AlphaInterpolation mixed(materials.gap, materials.anchor_A, materials.anchor_B, materials.A, materials.B);
        const auto fill = [&](const Mixture& mixture, std::vector<double>& alpha) {
            alpha.resize(gp.lambda.size());
            const bool pure_A = mixture.y == 0.0 && mixture.Eg == materials.gap.A;
            const bool pure_B = mixture.y == 1.0 && mixture.Eg == materials.gap.B;
            if (!pure_A && !pure_B) return mixed.InterpolateAlpha(mixture.y, mixture.Eg, gp.lambda, alpha);
            const MaterialAbsorption& pure = pure_A ? materials.A : materials.B;
            for (std::size_t k = 0; k < alpha.size(); ++k) alpha[k] = alpha_at(pure, gp.lambda[k]);
        };
        std::map<Mixture, std::size_t> known_at, found_at;  // to the entry, for this layer
        for (std::size_t k = known.first_entry[j]; k < known.first_entry[j + 1]; ++k) known_at[known.mixture[k]] = k;
        const auto first = static_cast<std::size_t>(mesh.first[j]);
        for (std::size_t i = first; i < first + static_cast<std::size_t>(mesh.n_in_layer[j]); ++i) {
            const Mixture mixture{mixes ? mesh.y[i] : 0.0, set3.on.Eg[i]};
            const auto [entry, is_new] = found_at.try_emplace(mixture, found.alpha.size());
            if (is_new) {
                found.mixture.push_back(mixture);
                found.alpha.emplace_back();
                if (const auto k = known_at.find(mixture); k != known_at.end())
                    found.alpha.back() = std::move(known.alpha[k->second]);
                else
                    fill(mixture, found.alpha.back());
            }
            found.of_point[i] = static_cast<int>(entry->second);
        }
        found.first_entry[j + 1] = found.alpha.size();
    }
    gp.absorption = std::move(found);
}

}  // namespace kovin
