#include "optics/fluxes.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

/// Wavelengths that are worked on side by side.
constexpr std::size_t width = 16;
using Lane = std::array<double, width>;

/// `width` wavelengths with light: incoming flux times what is common to all points, and the reflection of the back.
struct Block {
    std::size_t used = 0;
    std::array<std::size_t, width> k{};
    Lane flux{}, Rb{};
};

/// exp(-alpha h) of every lane. Beyond all band gaps, half of a solar spectrum's rows, nothing is absorbed.
Lane attenuation(const Lane& alpha, double h)
{
    Lane result;
    if (std::all_of(alpha.begin(), alpha.end(), [](double a) { return a == 0.0; })) {
        result.fill(1.0);
        return result;
    }
    for (std::size_t l = 0; l < width; ++l) result[l] = std::exp(-(alpha[l] * h));
    return result;
}

/// Work arrays of one pass, a row a mesh point.
struct Workspace {
    std::vector<Lane> alpha;    ///< a row per composition [1/m]
    std::vector<Lane> exp_D;    ///< exp(-D[i])
    std::vector<Lane> exp_E;    ///< exp(-E[i])
    std::vector<Lane> passing;  ///< exp(-alpha[i+1] h[i]), the interval right of i as E sees it
};

/// Adds the absorbed flux of a block to sum [1/(m3 s)].
void add_block(Block& block, double x0, const Mesh& mesh, const GenerationParameters& gp, Workspace& work,
               std::vector<double>& sum)
{
    const auto N = static_cast<std::size_t>(mesh.N);
    const std::vector<int>& of_point = gp.absorption.of_point;
    for (std::size_t c = 0; c < work.alpha.size(); ++c)
        for (std::size_t l = 0; l < width; ++l)
            work.alpha[c][l] = l < block.used ? gp.absorption.alpha[c][block.k[l]] : 0.0;
    const auto alpha_at = [&](std::size_t i) -> const Lane& {
        return work.alpha[static_cast<std::size_t>(of_point[i])];
    };

    // Depth from the left; the same exponential serves both directions where both ends have one composition.
    work.exp_D[0].fill(1.0);
    for (std::size_t i = 0; i + 1 < N; ++i) {
        const double h = mesh.h[i] * x0;
        if (h > 0.0) {
            const Lane to_right = attenuation(alpha_at(i), h);
            work.passing[i] = of_point[i] == of_point[i + 1] ? to_right : attenuation(alpha_at(i + 1), h);
            for (std::size_t l = 0; l < width; ++l) work.exp_D[i + 1][l] = work.exp_D[i][l] * to_right[l];
        } else {
            work.passing[i].fill(1.0);
            work.exp_D[i + 1] = work.exp_D[i];
        }
    }
    // Depth from the right.
    work.exp_E[N - 1].fill(1.0);
    for (std::size_t i = N - 1; i-- > 0;)
        for (std::size_t l = 0; l < width; ++l) work.exp_E[i][l] = work.exp_E[i + 1][l] * work.passing[i][l];

    const bool from_left = gp.side == -1;
    const std::vector<Lane>& onward = from_left ? work.exp_D : work.exp_E;
    const std::vector<Lane>& returning = from_left ? work.exp_E : work.exp_D;
    const Lane& through = from_left ? work.exp_D[N - 1] : work.exp_E[0];
    Lane c, back;
    for (std::size_t l = 0; l < width; ++l) {
        const double trip = work.exp_E[0][l] * work.exp_D[N - 1][l];  // exp(-T), back and forth
        // Light that no layer absorbs between two perfect mirrors goes round for ever and generates nothing.
        const double lost = 1.0 - gp.Rfront * block.Rb[l] * trip;
        c[l] = lost > 0.0 ? block.flux[l] / lost : 0.0;
        back[l] = block.Rb[l] * through[l];
    }
    for (std::size_t i = 0; i < N; ++i) {
        const Lane& alpha = alpha_at(i);
        Lane absorbed;
        for (std::size_t l = 0; l < width; ++l)
            absorbed[l] = c[l] * (onward[i][l] + back[l] * returning[i][l]) * alpha[l];
        double total = 0.0;
        for (std::size_t l = 0; l < width; ++l) total += absorbed[l];
        sum[i] += total;
    }
}

}  // namespace

void CalculateFluxesAndGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp)
{
    const auto N = static_cast<std::size_t>(mesh.N);
    const Scale& scale = set3.scale;
    const std::vector<double>& reflection = gp.side == -1 ? gp.rightFilter : gp.leftFilter;
    assert(gp.absorption.of_point.size() == N);
    gp.generation.assign(N, 0.0);
    if (N < 2) return;

    Workspace work{std::vector<Lane>(gp.absorption.alpha.size()), std::vector<Lane>(N), std::vector<Lane>(N),
                   std::vector<Lane>(N)};
    Block block;
    for (std::size_t k = 0; k < gp.incomingFlux_us.size(); ++k) {
        if (gp.incomingFlux_us[k] == 0.0) continue;
        block.k[block.used] = k;
        block.flux[block.used] = gp.incomingFlux_us[k];
        block.Rb[block.used] = reflection[k];
        if (++block.used < width) continue;
        add_block(block, scale.x0, mesh, gp, work, gp.generation);
        block = Block{};
    }
    if (block.used > 0) add_block(block, scale.x0, mesh, gp, work, gp.generation);

    // From 1/(m3 s) to solver units.
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const double unit = scale.x0 * scale.x0 / (scale.D0 * scale.N0[j]);
        const auto first = static_cast<std::size_t>(mesh.first[j]);
        for (std::size_t i = first; i < first + static_cast<std::size_t>(mesh.n_in_layer[j]); ++i)
            gp.generation[i] *= unit;
    }
}

}  // namespace kovin
