#include "optics/absorption_on_mesh.h"

#include "device/absorption_models.h"
#include "device/alpha_interpolation.h"

#include <compare>
#include <map>

namespace kovin {

namespace {

/// The two pure materials of a layer; B is that of A where the layer cannot contain it.
struct Materials {
    MaterialAbsorption A, B;
};

/// The materials a layer can contain. @return false if a file could not be read (reported)
bool load_materials(Surroundings& surroundings, const LayerParameters& layer, Materials& materials)
{
    const Absorption& data = layer.material.absorption;
    if (!load_absorption(surroundings, data, absorption_of_pure_B(layer), materials.A)) return false;
    if (absorption_follows_composition(layer)) return load_absorption(surroundings, data, true, materials.B);
    materials.B = materials.A;
    return true;
}

/// A composition with its gap [eV]: what a list of absorption values belongs to. A gap graded on position makes points
/// of one composition differ.
struct Mixture {
    double y, Eg;
    auto operator<=>(const Mixture&) const = default;
};

}  // namespace

bool absorption_follows_composition(const LayerParameters& layer)
{
    const Law law = layer.material.absorption.grading.law;
    const bool between = layer.composition_mode == 1 || layer.composition_mode == 21;
    return between && law != Law::uniform && law != Law::uniform_B;
}

bool absorption_of_pure_B(const LayerParameters& layer)
{
    return layer.composition_mode == 20 || layer.material.absorption.grading.law == Law::uniform_B;
}

bool bepaal_alfa(Surroundings& surroundings, const CalculationParameters& set3, const Mesh& mesh,
                 GenerationParameters& gp)
{
    AbsorptionOnMesh found;
    found.of_point.resize(static_cast<std::size_t>(mesh.N));
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const LayerParameters& layer = set3.layer[j];
        const MaterialParameters& m = layer.material;
        const bool mixes = absorption_follows_composition(layer);
        Materials materials;
        if (!load_materials(surroundings, layer, materials)) return false;
        AlphaInterpolation mixed(m.Eg, m.absorption.grading, materials.A, materials.B);
        const auto fill = [&](const Mixture& mixture, std::vector<double>& alpha) {
            alpha.resize(gp.lambda.size());
            if (mixture.y > 0.0 && mixture.y < 1.0 && mixes)
                return mixed.InterpolateAlpha(mixture.y, mixture.Eg, gp.lambda, alpha);
            const MaterialAbsorption& pure = mixture.y < 1.0 ? materials.A : materials.B;
            for (std::size_t k = 0; k < alpha.size(); ++k) alpha[k] = alpha_at(pure, gp.lambda[k]);
        };
        std::map<Mixture, int> index_of;  // to the entry, for this layer
        const auto first = static_cast<std::size_t>(mesh.first[j]);
        for (std::size_t i = first; i < first + static_cast<std::size_t>(mesh.n_in_layer[j]); ++i) {
            // Without mixing all points are alike.
            const Mixture mixture = mixes ? Mixture{mesh.y[i], set3.on.Eg[i]} : Mixture{0.0, 0.0};
            const auto [entry, is_new] = index_of.try_emplace(mixture, static_cast<int>(found.alpha.size()));
            if (is_new) fill(mixture, found.alpha.emplace_back());
            found.of_point[i] = entry->second;
        }
    }
    gp.absorption = std::move(found);
    return true;
}

}  // namespace kovin
