#include "optics/fluxes.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <span>

namespace kovin {

namespace {

/// Wavelengths that are worked on side by side.
constexpr std::size_t width = 16;
using Lane = std::array<double, width>;

/// exp(-alpha h) of every lane. Beyond all band gaps, half of a solar spectrum's rows, nothing is absorbed.
bool absorbs(const Lane& alpha)
{
    return !std::all_of(alpha.begin(), alpha.end(), [](double a) { return a == 0.0; });
}
Lane attenuation(const Lane& alpha, double h)
{
    Lane result;
    if (absorbs(alpha))
        for (std::size_t l = 0; l < width; ++l) result[l] = std::exp(-(alpha[l] * h));
    else
        result.fill(1.0);
    return result;
}

Lane operator*(const Lane& a, const Lane& b)
{
    Lane result;
    for (std::size_t l = 0; l < width; ++l) result[l] = a[l] * b[l];
    return result;
}

/// Transmission of a layer and of all that lies on its two sides, as D (light to the right) and E (to the left) see it.
struct Passage {
    Lane through_D, through_E;
    Lane before_D;  ///< exp(-D) at the left face
    Lane behind_E;  ///< exp(-E) at the right face
};

/// Work arrays of one pass.
struct Workspace {
    std::vector<Lane> alpha;             ///< a row per composition [1/m]
    std::vector<Lane> exp_D, exp_E;      ///< from the left, the right face of their layer; only in graded layers
    std::array<Passage, max_layers> at;  ///< a row per layer
    std::vector<std::size_t> points;     ///< to be computed, rising
};

/// What all points share of a block: the flux on its way in and, counted from the back, on its way out.
struct Light {
    bool from_left;
    Lane onward, returning;
    bool returns;  ///< the back reflects something
};

class Block {
public:
    Block(const CalculationParameters& set3, const Mesh& points_of, const GenerationParameters& light)
        : x0(set3.scale.x0), mesh(points_of), gp(light)
    {
    }

    /// Takes wavelength k. @return the block is full
    bool take(std::size_t k, double reflection_of_the_back)
    {
        wavelength[used] = k;
        flux[used] = gp.incomingFlux_us[k];
        Rb[used] = reflection_of_the_back;
        return ++used == width;
    }

    /// Adds the absorbed flux to sum [1/(m3 s)] and starts anew.
    void add_to(std::vector<double>& sum, Workspace& work)
    {
        if (used == 0) return;
        for (std::size_t c = 0; c < work.alpha.size(); ++c)
            for (std::size_t l = 0; l < width; ++l)
                work.alpha[c][l] = l < used ? gp.absorption.alpha[c][wavelength[l]] : 0.0;
        pass_through(work);
        const Light light = light_of(work);
        std::size_t next = 0;
        for (std::size_t j = 0; j < layers(); ++j) {
            const std::size_t begin = next;
            while (next < work.points.size() && work.points[next] <= last(j)) ++next;
            const std::span<const std::size_t> points(work.points.data() + begin, next - begin);
            if (is_uniform(j))
                add_uniform_layer(j, points, light, work, sum);
            else
                add_graded_layer(j, points, light, work, sum);
        }
        used = 0;
        flux.fill(0.0);
        Rb.fill(0.0);
    }

private:
    double x0;
    const Mesh& mesh;
    const GenerationParameters& gp;
    std::size_t used = 0;
    std::array<std::size_t, width> wavelength{};
    Lane flux{}, Rb{};

    [[nodiscard]] std::size_t layers() const { return static_cast<std::size_t>(mesh.nlayers); }
    [[nodiscard]] std::size_t first(std::size_t j) const { return static_cast<std::size_t>(mesh.first[j]); }
    [[nodiscard]] std::size_t last(std::size_t j) const { return static_cast<std::size_t>(mesh.last[j]); }
    [[nodiscard]] bool is_uniform(std::size_t j) const
    {
        return gp.absorption.first_entry[j + 1] - gp.absorption.first_entry[j] == 1;
    }
    [[nodiscard]] const Lane& alpha_at(const Workspace& work, std::size_t i) const
    {
        return work.alpha[static_cast<std::size_t>(gp.absorption.of_point[i])];
    }

    /// Transmission of all layers; in graded ones interval by interval, and at their points.
    void pass_through(Workspace& work) const
    {
        for (std::size_t j = 0; j < layers(); ++j) {
            Passage& layer = work.at[j];
            const std::size_t begin = first(j), end = last(j);
            if (is_uniform(j)) {
                layer.through_D = attenuation(alpha_at(work, begin), (mesh.x[end] - mesh.x[begin]) * x0);
                layer.through_E = layer.through_D;
                continue;
            }
            work.exp_D[begin].fill(1.0);
            for (std::size_t i = begin; i < end; ++i)
                work.exp_D[i + 1] = work.exp_D[i] * attenuation(alpha_at(work, i), mesh.h[i] * x0);
            work.exp_E[end].fill(1.0);
            for (std::size_t i = end; i-- > begin;)
                work.exp_E[i] = work.exp_E[i + 1] * attenuation(alpha_at(work, i + 1), mesh.h[i] * x0);
            layer.through_D = work.exp_D[end];
            layer.through_E = work.exp_E[begin];
        }
        Lane D, E;
        D.fill(1.0);
        E.fill(1.0);
        for (std::size_t j = 0; j < layers(); ++j) {
            work.at[j].before_D = D;
            D = D * work.at[j].through_D;
        }
        for (std::size_t j = layers(); j-- > 0;) {
            work.at[j].behind_E = E;
            E = E * work.at[j].through_E;
        }
    }

    [[nodiscard]] Light light_of(const Workspace& work) const
    {
        Light light;
        light.from_left = gp.side == -1;
        const Passage &left_layer = work.at[0], &right_layer = work.at[layers() - 1];
        const Lane through_D = right_layer.before_D * right_layer.through_D;
        const Lane through_E = left_layer.behind_E * left_layer.through_E;
        const Lane trip = through_D * through_E;  // exp(-T), back and forth
        for (std::size_t l = 0; l < width; ++l) {
            // Light that no layer absorbs between two perfect mirrors goes round for ever and generates nothing.
            const double lost = 1.0 - gp.Rfront * Rb[l] * trip[l];
            light.onward[l] = lost > 0.0 ? flux[l] / lost : 0.0;
            light.returning[l] = light.onward[l] * Rb[l] * (light.from_left ? through_D[l] : through_E[l]);
        }
        light.returns = absorbs(light.returning);
        return light;
    }

    /// One exponential a point, from the face that the light comes to first; the way back is what is left of the layer.
    void add_uniform_layer(std::size_t j, std::span<const std::size_t> points, const Light& light,
                           const Workspace& work, std::vector<double>& sum) const
    {
        const Lane& alpha = alpha_at(work, first(j));
        if (!absorbs(alpha)) return;
        const Passage& layer = work.at[j];
        const Lane onward = alpha * light.onward * (light.from_left ? layer.before_D : layer.behind_E);
        Lane returning = alpha * light.returning * (light.from_left ? layer.behind_E : layer.before_D);
        for (std::size_t l = 0; l < width; ++l) {
            // Nothing that counts comes back through a layer of more than 300 absorption lengths.
            const double through = layer.through_D[l];
            returning[l] = through > 1e-130 ? returning[l] * through : 0.0;
        }
        const double face = mesh.x[light.from_left ? first(j) : last(j)];
        for (const std::size_t i : points) {
            const double depth = std::fabs(mesh.x[i] - face) * x0;
            Lane absorbed, passed;
            for (std::size_t l = 0; l < width; ++l) passed[l] = std::exp(-(alpha[l] * depth));
            for (std::size_t l = 0; l < width; ++l) absorbed[l] = onward[l] * passed[l];
            if (light.returns)
                for (std::size_t l = 0; l < width; ++l)
                    absorbed[l] += returning[l] > 0.0 ? returning[l] / passed[l] : 0.0;
            double total = 0.0;
            for (std::size_t l = 0; l < width; ++l) total += absorbed[l];
            sum[i] += total;
        }
    }

    void add_graded_layer(std::size_t j, std::span<const std::size_t> points, const Light& light, const Workspace& work,
                          std::vector<double>& sum) const
    {
        const Passage& layer = work.at[j];
        for (const std::size_t i : points) {
            const Lane D = layer.before_D * work.exp_D[i], E = layer.behind_E * work.exp_E[i];
            const Lane& alpha = alpha_at(work, i);
            const Lane &there = light.from_left ? D : E, &back = light.from_left ? E : D;
            double total = 0.0;
            for (std::size_t l = 0; l < width; ++l)
                total += (light.onward[l] * there[l] + light.returning[l] * back[l]) * alpha[l];
            sum[i] += total;
        }
    }
};

/// Points whose generation must be computed; the others get theirs from `lit`, which `old` belongs to.
std::vector<std::size_t> points_to_compute(const Mesh& mesh, const GenerationParameters& gp, const Mesh* lit,
                                           const std::vector<double>& old, std::vector<double>& generation)
{
    // In a graded layer optical depths depend on the mesh, and so does all that lies behind.
    const auto layers = static_cast<std::size_t>(mesh.nlayers);
    const bool keeps = lit != nullptr && gp.absorption.alpha.size() == layers &&
                       old.size() == static_cast<std::size_t>(lit->N) && lit->nlayers == mesh.nlayers;
    std::vector<std::size_t> points;
    for (std::size_t j = 0; j < layers; ++j) {
        auto k = static_cast<std::size_t>(keeps ? lit->first[j] : 0);
        for (auto i = static_cast<std::size_t>(mesh.first[j]); i <= static_cast<std::size_t>(mesh.last[j]); ++i) {
            while (keeps && k < static_cast<std::size_t>(lit->last[j]) && lit->x[k] < mesh.x[i]) ++k;
            if (keeps && lit->x[k] == mesh.x[i])
                generation[i] = old[k];
            else
                points.push_back(i);
        }
    }
    return points;
}

}  // namespace

void CalculateFluxesAndGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                                  const Mesh* lit)
{
    const auto N = static_cast<std::size_t>(mesh.N);
    const Scale& scale = set3.scale;
    const std::vector<double>& reflection = gp.side == -1 ? gp.rightFilter : gp.leftFilter;
    assert(gp.absorption.of_point.size() == N);
    std::vector<double> generation(N, 0.0);
    if (N < 2) return gp.generation.swap(generation);

    Workspace work;
    work.points = points_to_compute(mesh, gp, lit, gp.generation, generation);
    work.alpha.resize(gp.absorption.alpha.size());
    if (work.alpha.size() > static_cast<std::size_t>(mesh.nlayers)) {
        work.exp_D.resize(N);
        work.exp_E.resize(N);
    }
    if (!work.points.empty()) {
        Block block(set3, mesh, gp);
        for (std::size_t k = 0; k < gp.incomingFlux_us.size(); ++k)
            if (gp.incomingFlux_us[k] != 0.0 && block.take(k, reflection[k])) block.add_to(generation, work);
        block.add_to(generation, work);
    }

    // From 1/(m3 s) to solver units.
    std::size_t j = 0;
    for (const std::size_t i : work.points) {
        while (i > static_cast<std::size_t>(mesh.last[j])) ++j;
        generation[i] *= scale.x0 * scale.x0 / (scale.D0 * scale.N0[j]);
    }
    gp.generation.swap(generation);
}

}  // namespace kovin
