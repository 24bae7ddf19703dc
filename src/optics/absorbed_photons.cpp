#include "optics/absorbed_photons.h"

#include "optics/attenuation.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <numeric>

namespace kovin {

namespace {

/// Part of the incoming flux below which nothing goes on: long before numbers lose digits and arithmetic slows down.
constexpr double too_little = 1e-280;

/// Wavelengths side by side.
template <std::size_t width>
using Lanes = std::array<double, width>;

template <std::size_t width>
bool nothing(const Lanes<width>& values)
{
    return std::all_of(values.begin(), values.end(), [](double a) { return a == 0.0; });
}

/// Adds pairs of lanes, so that the sum vectorises.
template <std::size_t width>
double sum_of(Lanes<width>& values)
{
    if constexpr (width % 4 != 0) return std::accumulate(values.begin(), values.end(), 0.0);
    constexpr std::size_t quarter = width / 4;
    for (std::size_t l = 0; l < quarter; ++l)
        values[l] = (values[l] + values[l + quarter]) + (values[l + 2 * quarter] + values[l + 3 * quarter]);
    return std::accumulate(values.begin(), values.begin() + quarter, 0.0);
}

/// What of the light passes a box and stays in it.
template <std::size_t width>
struct Shares {
    Lanes<width> passed, absorbed;
    /// @param alpha  [1/m], box  [m], thickest  largest of their products
    void of(const Lanes<width>& alpha, double box, double thickest)
    {
        if (thickest <= thin)
            fill<attenuation_of_thin>(alpha, box);
        else
            fill<attenuation>(alpha, box);
    }
    template <Attenuation of_depth(double)>
    void fill(const Lanes<width>& alpha, double box)
    {
#pragma GCC unroll 1
        for (std::size_t l = 0; l < width; ++l) {
            const Attenuation a = of_depth(alpha[l] * box);
            passed[l] = a.passed;
            absorbed[l] = a.absorbed;
        }
    }
};

/// Carries wavelengths through the cell, `width` of them at a time.
template <std::size_t width>
class Passage {
public:
    using Lane = Lanes<width>;
    Passage(const CalculationParameters& set3, const Mesh& points_of, const GenerationParameters& light)
        : mesh(points_of),
          gp(light),
          x0(set3.scale.x0),
          alpha(light.absorption.alpha.size()),
          largest(alpha.size()),
          box(points_of.x.size())
    {
        std::size_t most = 1;
        for (std::size_t j = 0; j < layers(); ++j) {
            most = std::max(most, last(j) + 1 - first(j));
            for (std::size_t i = first(j); i <= last(j); ++i) {
                const double left = i > first(j) ? mesh.h[i - 1] : 0.0, right = i < last(j) ? mesh.h[i] : 0.0;
                box[i] = 0.5 * (left + right) * x0;
            }
        }
        shares.resize(most);
    }

    std::array<bool, max_layers> known{};  ///< layers that are left alone

    /// Takes wavelength k. @return there is no room for another one
    bool take(std::size_t k, double photons)
    {
        wavelength[used] = k;
        flux[used] = photons;
        Rb[used] = (from_left() ? gp.rightFilter : gp.leftFilter)[k];
        return ++used == width;
    }

    /// Adds the photons that the boxes absorb and starts anew.
    void add_to(std::span<double> absorbed)
    {
        if (used == 0) return;
        for (std::size_t c = 0; c < alpha.size(); ++c) {
            for (std::size_t l = 0; l < width; ++l)
                alpha[c][l] = l < used ? gp.absorption.alpha[c][wavelength[l]] : 0.0;
            largest[c] = *std::max_element(alpha[c].begin(), alpha[c].end());
        }
        enter();
        for (std::size_t j = 0; j < layers(); ++j)
            if (!known[j] && !nothing(depth[j])) add_layer(j, absorbed);
        used = 0;
        flux.fill(0.0);
        Rb.fill(0.0);
    }

private:
    const Mesh& mesh;
    const GenerationParameters& gp;
    double x0;
    std::vector<Lane> alpha;            ///< a row per composition [1/m]
    std::vector<double> largest;        ///< of each row
    std::vector<double> box;            ///< width [m], one a mesh point
    std::vector<Shares<width>> shares;  ///< of the boxes of a layer, as the light meets them
    std::size_t used = 0;
    std::array<std::size_t, width> wavelength{};
    Lane flux{}, Rb{};
    Lane least;                            ///< flux below which nothing goes on
    std::array<Lane, max_layers> depth;    ///< of the layers
    std::array<Lane, max_layers> inward;   ///< flux that comes to a layer from the front
    std::array<Lane, max_layers> outward;  ///< and from the back
    bool returns = false;                  ///< the back reflects something

    [[nodiscard]] bool from_left() const { return gp.side == -1; }
    [[nodiscard]] std::size_t layers() const { return static_cast<std::size_t>(mesh.nlayers); }
    [[nodiscard]] std::size_t first(std::size_t j) const { return static_cast<std::size_t>(mesh.first[j]); }
    [[nodiscard]] std::size_t last(std::size_t j) const { return static_cast<std::size_t>(mesh.last[j]); }
    /// The q-th layer as the light meets them.
    [[nodiscard]] std::size_t layer(std::size_t q) const { return from_left() ? q : layers() - 1 - q; }
    [[nodiscard]] bool is_uniform(std::size_t j) const
    {
        return gp.absorption.first_entry[j + 1] - gp.absorption.first_entry[j] == 1;
    }
    [[nodiscard]] std::size_t entry(std::size_t i) const { return static_cast<std::size_t>(gp.absorption.of_point[i]); }
    [[nodiscard]] const Lane& alpha_at(std::size_t i) const { return alpha[entry(i)]; }

    /// Depths of the layers, and the fluxes at their faces.
    void enter()
    {
        Lane T{};
        for (std::size_t j = 0; j < layers(); ++j) {
            depth[j].fill(0.0);
            if (is_uniform(j))
                add_depth(j, first(j), (mesh.x[last(j)] - mesh.x[first(j)]) * x0);
            else
                for (std::size_t i = first(j); i <= last(j); ++i) add_depth(j, i, box[i]);
            for (std::size_t l = 0; l < width; ++l) T[l] += depth[j][l];
        }
        Lane in, out;
        for (std::size_t l = 0; l < width; ++l) {
            // What a round trip loses. Light that no layer absorbs between two perfect mirrors goes round for ever and
            // generates nothing.
            const double R = gp.Rfront * Rb[l];
            const double lost = (1.0 - R) + R * attenuation(2.0 * T[l]).absorbed;
            in[l] = lost > 0.0 ? flux[l] / lost : 0.0;
            least[l] = in[l] * too_little;
            out[l] = in[l] * Rb[l] * attenuation(T[l]).passed;
        }
        returns = !nothing(out);
        for (std::size_t q = 0; q < layers(); ++q) {
            const std::size_t j = layer(q), k = layer(layers() - 1 - q);
            inward[j] = in;
            outward[k] = out;
            for (std::size_t l = 0; l < width; ++l) {
                in[l] *= attenuation(depth[j][l]).passed;
                out[l] *= attenuation(depth[k][l]).passed;
            }
        }
    }
    void add_depth(std::size_t j, std::size_t i, double d)
    {
        for (std::size_t l = 0; l < width; ++l) depth[j][l] += alpha_at(i)[l] * d;
    }

    void add_layer(std::size_t j, std::span<double> absorbed)
    {
        const std::size_t points = last(j) + 1 - first(j);
        const auto point = [&](std::size_t q) { return from_left() ? first(j) + q : last(j) - q; };
        Lane F = inward[j];
        for (std::size_t q = 0; q < points; ++q) {
            const std::size_t i = point(q);
            Shares<width>& share = shares[returns ? q : 0];
            share.of(alpha_at(i), box[i], largest[entry(i)] * box[i]);
            const double taken = take_from(F, share);
            absorbed[i] += taken;
            if (taken == 0.0 && !returns && nothing(F)) return;
        }
        if (!returns) return;
        F = outward[j];
        for (std::size_t q = points; q-- > 0;) absorbed[point(q)] += take_from(F, shares[q]);
    }

    /// Leads the flux F through a box. @return what it absorbs
    double take_from(Lane& F, const Shares<width>& share) const
    {
        Lane taken;
#pragma GCC unroll 1  // as a loop it vectorises
        for (std::size_t l = 0; l < width; ++l) {
            taken[l] = F[l] * share.absorbed[l];
            const double left = F[l] * share.passed[l];
            F[l] = left > least[l] ? left : 0.0;
        }
        return sum_of(taken);
    }
};

/// Layers that have the same points on both meshes.
std::array<bool, max_layers> unchanged_layers(const Mesh& mesh, const Mesh& lit)
{
    std::array<bool, max_layers> same{};
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const auto begin = mesh.x.begin() + mesh.first[j];
        same[j] = mesh.n_in_layer[j] == lit.n_in_layer[j] &&
                  std::equal(begin, begin + mesh.n_in_layer[j], lit.x.begin() + lit.first[j]);
    }
    return same;
}

}  // namespace

void photons_of_spectrum(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp, const Mesh* lit)
{
    const auto N = static_cast<std::size_t>(mesh.N), layers = static_cast<std::size_t>(mesh.nlayers);
    assert(gp.absorption.of_point.size() == N);
    std::vector<double> photons(N, 0.0);
    Passage<16> passage(set3, mesh, gp);
    // The depth of a graded layer depends on its mesh, and so does all that lies behind.
    if (lit != nullptr && gp.absorption.alpha.size() == layers && lit->nlayers == mesh.nlayers &&
        gp.in_box.size() == static_cast<std::size_t>(lit->N))
        passage.known = unchanged_layers(mesh, *lit);
    for (std::size_t j = 0; j < layers; ++j)
        if (passage.known[j])
            std::copy_n(gp.in_box.begin() + lit->first[j], mesh.n_in_layer[j], photons.begin() + mesh.first[j]);
    for (std::size_t k = 0; k < gp.incomingFlux_us.size(); ++k)
        if (gp.incomingFlux_us[k] != 0.0 && passage.take(k, gp.incomingFlux_us[k])) passage.add_to(photons);
    passage.add_to(photons);
    gp.in_box.swap(photons);
}

void photons_of_wavelength(const CalculationParameters& set3, const Mesh& mesh, const GenerationParameters& gp,
                           std::size_t k, double flux, std::span<double> photons)
{
    assert(photons.size() == mesh.x.size() && k < gp.lambda.size());
    std::fill(photons.begin(), photons.end(), 0.0);
    Passage<1> passage(set3, mesh, gp);
    passage.take(k, flux);
    passage.add_to(photons);
}

}  // namespace kovin
