// Conservative generation: what the boxes of the equations hold against closed formulas, in extended precision.
#include "device/boxes.h"
#include "optics/absorbed_photons.h"
#include "optics/box_generation.h"
#include "optics/generation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace kovin {
namespace {

using Extended = long double;

/// A stack with its light, everything drawn: 1 to 7 layers of 1 nm to 300 um with 3 to 142 points at any distance,
/// absorption over 6 decades, 1 to 40 wavelengths, light from either side, reflections up to perfect mirrors.
struct Drawn {
    std::mt19937_64 random;
    CalculationParameters set3;
    Mesh mesh;
    GenerationParameters gp;

    double uniform(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
    double log_uniform(double a, double b) { return a * std::pow(b / a, uniform(0.0, 1.0)); }
    std::size_t number(std::size_t a, std::size_t b)
    {
        return std::uniform_int_distribution<std::size_t>(a, b)(random);
    }

    explicit Drawn(unsigned seed) : random(seed)
    {
        const std::size_t layers = number(1, 7);
        set3.layers = static_cast<int>(layers);
        set3.scale.D0 = log_uniform(1e-4, 1e-2);
        set3.convergence.route = Route::fast;
        set3.convergence.interfacial_half_cells = number(0, 4) > 0;
        set3.scale.x0 = 0.0;
        for (std::size_t j = 0; j < layers; ++j) {
            set3.d[j] = log_uniform(1e-9, 3e-4);
            set3.scale.x0 += set3.d[j];
            set3.scale.N0[j] = log_uniform(1e16, 1e26);
        }
        draw_mesh();
        gp.side = number(0, 1) == 0 ? -1 : 1;
        gp.Rfront = number(0, 2) == 0 ? uniform(0.0, 1.0) : 0.0;
        const double mirror = number(0, 2) == 0 ? 0.0 : number(0, 3) == 0 ? 1.0 : uniform(0.0, 1.0);
        gp.n = static_cast<int>(number(1, 40));
        for (int k = 0; k < gp.n; ++k) {
            gp.lambda.push_back(300.0 + k);
            gp.incomingFlux_us.push_back(number(0, 5) == 0 ? 0.0 : log_uniform(1e10, 1e22));
            (gp.side == -1 ? gp.rightFilter : gp.leftFilter).push_back(mirror);
        }
        draw_absorption();
    }

    void draw_mesh()
    {
        std::vector<double> x;
        mesh.nlayers = set3.layers;
        double start = 0.0;
        for (std::size_t j = 0; j < static_cast<std::size_t>(set3.layers); ++j) {
            const double d = set3.d[j] / set3.scale.x0;
            std::vector<double> share(number(1, number(0, 4) == 0 ? 140 : 28));
            const bool at_ends = number(0, 1) == 1;  // packed there
            for (double& s : share) s = at_ends ? log_uniform(1e-5, 1.0) : uniform(0.01, 0.99);
            for (double& s : share) s = at_ends && number(0, 1) == 1 ? 1.0 - 0.9 * s : 0.9 * s;
            std::sort(share.begin(), share.end());
            mesh.first[j] = static_cast<int>(x.size());
            x.push_back(start);
            for (const double s : share)
                if (start + s * d > x.back()) x.push_back(start + s * d);
            x.push_back(start += d);
            mesh.last[j] = static_cast<int>(x.size()) - 1;
            mesh.n_in_layer[j] = mesh.last[j] - mesh.first[j] + 1;
        }
        mesh.resize(static_cast<int>(x.size()));
        mesh.x = x;
        mesh.measure(set3.scale.x0);
    }

    /// One list of values a layer, or where a layer is graded one a point.
    void draw_absorption()
    {
        AbsorptionOnMesh& absorption = gp.absorption;
        absorption.of_point.resize(mesh.x.size());
        const bool may_be_graded = number(0, 1) == 1;
        for (std::size_t j = 0; j < layers(); ++j) {
            const bool graded = may_be_graded && number(0, 1) == 1;
            const bool dark = number(0, 7) == 0;
            for (std::size_t i = first(j); i <= last(j); ++i) {
                if (graded || i == first(j)) {
                    absorption.alpha.emplace_back();
                    for (int k = 0; k < gp.n; ++k)
                        absorption.alpha.back().push_back(dark ? 0.0 : log_uniform(1e2, 1e8));
                }
                absorption.of_point[i] = static_cast<int>(absorption.alpha.size()) - 1;
            }
            absorption.first_entry[j + 1] = absorption.alpha.size();
        }
    }

    [[nodiscard]] std::size_t layers() const { return static_cast<std::size_t>(mesh.nlayers); }
    [[nodiscard]] std::size_t first(std::size_t j) const { return static_cast<std::size_t>(mesh.first[j]); }
    [[nodiscard]] std::size_t last(std::size_t j) const { return static_cast<std::size_t>(mesh.last[j]); }

    /// Optical depth of layer j by the trapezoid rule.
    [[nodiscard]] Extended depth(std::size_t j, std::size_t k) const
    {
        Extended sum = 0;
        for (std::size_t i = first(j); i < last(j); ++i)
            sum += 0.5L * (alpha(i, k) + alpha(i + 1, k)) * (Extended(mesh.x[i + 1]) - mesh.x[i]) * set3.scale.x0;
        return sum;
    }
    [[nodiscard]] Extended alpha(std::size_t i, std::size_t k) const
    {
        return gp.absorption.alpha[static_cast<std::size_t>(gp.absorption.of_point[i])][k];
    }

    /// Photons that layer j should absorb at wavelength k.
    [[nodiscard]] Extended absorbed(std::size_t j, std::size_t k) const
    {
        Extended D = 0, B = 0;
        for (std::size_t m = 0; m < layers(); ++m)
            if (m != j) ((m < j) == (gp.side == -1) ? D : B) += depth(m, k);
        const Extended t = depth(j, k), T = D + t + B, Rb = back(k);
        return entered(k) * -std::expm1(-t) * (std::exp(-D) + Rb * std::exp(-T - B));
    }
    [[nodiscard]] Extended back(std::size_t k) const { return (gp.side == -1 ? gp.rightFilter : gp.leftFilter)[k]; }
    /// All passes of the light at the front.
    [[nodiscard]] Extended entered(std::size_t k) const
    {
        const Extended R = back(k) * gp.Rfront;
        return gp.incomingFlux_us[k] / ((1 - R) - R * std::expm1(-2 * total_depth(k)));
    }
    [[nodiscard]] Extended total_depth(std::size_t k) const
    {
        Extended T = 0;
        for (std::size_t j = 0; j < layers(); ++j) T += depth(j, k);
        return T;
    }
    /// Photons that leave through the back and the front.
    [[nodiscard]] Extended lost(std::size_t k) const
    {
        const Extended T = total_depth(k);
        return entered(k) * std::exp(-T) * ((1 - back(k)) + back(k) * (1 - Extended(gp.Rfront)) * std::exp(-T));
    }

    /// What the equations find in layer j [1/(m2 s)].
    [[nodiscard]] double found(std::size_t j, std::vector<double> G) const
    {
        for (std::size_t i = 0; i < G.size(); ++i)
            if (i < first(j) || i > last(j)) G[i] = 0.0;
        return 10.0 / elementary_charge * integrated_current(set3, mesh, G);
    }
};

TEST(PhotonBalance, NoPhotonIsLostOnAnyMesh)
{
    constexpr double beyond_all_light = 1e-250;  // a flux is given up at 1e-280 of itself
    int without_half_cells = 0, settled = 0, graded = 0, returning = 0;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        Drawn c(seed);
        const auto n = static_cast<std::size_t>(c.gp.n);
        photons_of_spectrum(c.set3, c.mesh, c.gp);
        std::vector<double> G, one(c.mesh.x.size()), G_one;
        generation_of_boxes(c.set3, c.mesh, c.gp.in_box, G);
        const std::size_t k = c.number(0, n - 1);
        photons_of_wavelength(c.set3, c.mesh, c.gp, k, c.gp.incomingFlux_us[k], one);
        generation_of_boxes(c.set3, c.mesh, one, G_one);

        Extended incident = 0, accounted = 0;
        for (std::size_t m = 0; m < n; ++m) {
            incident += c.gp.incomingFlux_us[m];
            accounted += c.lost(m);
        }
        for (std::size_t j = 0; j < c.layers(); ++j) {
            Extended expected = 0;
            for (std::size_t m = 0; m < n; ++m) expected += c.absorbed(j, m);
            const double found = c.found(j, G), at_k = static_cast<double>(c.absorbed(j, k));
            EXPECT_NEAR(found, static_cast<double>(expected), 1e-12 * found + beyond_all_light) << "layer " << j;
            EXPECT_NEAR(c.found(j, G_one), at_k, 1e-12 * at_k + beyond_all_light)
                << "layer " << j << ", one wavelength";
            accounted += found;
            settled += G[c.first(j)] == 0.0 && c.gp.in_box[c.first(j)] > 0.0;
        }
        EXPECT_NEAR(static_cast<double>(accounted / std::max(incident, Extended(1e-300))), incident > 0, 1e-12);
        EXPECT_GE(*std::min_element(G.begin(), G.end()), 0.0);
        without_half_cells += c.set3.convergence.interfacial_half_cells == 0;
        graded += c.gp.absorption.alpha.size() > c.layers();
        returning += c.back(0) > 0;
    }
    for (const int count : {without_half_cells, settled, graded, returning})
        EXPECT_GT(count, 50) << "of 400 draws, or this case shows little";
}

// A new mesh in some layers: what the others keep, and what is computed anew, is the same to the bit.
TEST(PhotonBalance, UnchangedLayersKeepTheirLight)
{
    int kept = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        Drawn c(seed);
        photons_of_spectrum(c.set3, c.mesh, c.gp);
        if (c.gp.absorption.alpha.size() > c.layers()) continue;  // graded: all is computed anew
        const Mesh before = c.mesh;
        const GenerationParameters light = c.gp;
        // The second half of the layers loses its second point.
        std::vector<double> x;
        for (std::size_t j = 0; j < c.layers(); ++j) {
            const bool changes = 2 * j >= c.layers() && c.mesh.n_in_layer[j] > 3;
            const std::size_t start = x.size();
            for (std::size_t i = static_cast<std::size_t>(before.first[j]); i <= c.last(j); ++i)
                if (!changes || i != static_cast<std::size_t>(before.first[j]) + 1) x.push_back(before.x[i]);
            c.mesh.first[j] = static_cast<int>(start);
            c.mesh.n_in_layer[j] = static_cast<int>(x.size() - start);
            kept += !changes && c.layers() > 1;
        }
        for (std::size_t j = 0; j < c.layers(); ++j) c.mesh.last[j] = c.mesh.first[j] + c.mesh.n_in_layer[j] - 1;
        c.mesh.resize(static_cast<int>(x.size()));
        c.mesh.x = x;
        c.mesh.measure(c.set3.scale.x0);
        c.gp.absorption.of_point.clear();
        for (std::size_t j = 0; j < c.layers(); ++j)
            c.gp.absorption.of_point.insert(c.gp.absorption.of_point.end(),
                                            static_cast<std::size_t>(c.mesh.n_in_layer[j]), static_cast<int>(j));
        photons_of_spectrum(c.set3, c.mesh, c.gp, &before);
        const std::vector<double> followed = c.gp.in_box;
        photons_of_spectrum(c.set3, c.mesh, c.gp);
        EXPECT_EQ(followed, c.gp.in_box) << "seed " << seed;
    }
    EXPECT_GT(kept, 20);
}

TEST(PhotonBalance, AGivenProfileKeepsItsPairs)
{
    WorkPoint wp;
    wp.dark = false;
    wp.generationSpecified = true;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Drawn c(seed);
        wp.attenuation = c.uniform(0.0, 200.0);
        // Rows at any place, in front of the cell and behind it too, with steps and zeros.
        GivenGeneration& given = c.gp.given;
        for (std::size_t k = c.number(2, 30); k > 0; --k) given.x.push_back(c.uniform(-0.3, 1.3) * c.set3.scale.x0);
        if (c.number(0, 2) == 0) given.x.push_back(given.x.back());
        std::sort(given.x.begin(), given.x.end());
        for (std::size_t k = 0; k < given.x.size(); ++k)
            given.G.push_back(c.number(0, 4) == 0 ? 0.0 : c.log_uniform(1e10, 1e28));
        update_generation(wp, c.set3, c.mesh, c.gp);
        Extended all = 0;
        for (std::size_t j = 0; j < c.layers(); ++j) {
            const Extended begin = c.mesh.x_m[c.first(j)], end = c.mesh.x_m[c.last(j)];
            Extended expected = 0;
            for (std::size_t k = 0; k + 1 < given.x.size(); ++k) {
                const Extended a = given.x[k], b = given.x[k + 1], from = std::max(a, begin), to = std::min(b, end);
                if (from >= to) continue;
                const Extended slope = (Extended(given.G[k + 1]) - given.G[k]) / (b - a);
                expected += (to - from) * (given.G[k] + slope * (0.5L * (from + to) - a));
            }
            expected *= wp.attenuation / 100.0;
            all += expected;
            EXPECT_NEAR(c.found(j, c.gp.generation), static_cast<double>(expected),
                        2e-12 * static_cast<double>(expected));
        }
        EXPECT_GE(*std::min_element(c.gp.generation.begin(), c.gp.generation.end()), 0.0);
        EXPECT_NEAR(c.gp.total_mA_cm2, static_cast<double>(0.1L * elementary_charge * all), 1e-12 * c.gp.total_mA_cm2);
    }
    Drawn c(1);
    wp.dark = true;
    update_generation(wp, c.set3, c.mesh, c.gp);
    EXPECT_EQ(c.gp.generation, std::vector<double>(c.mesh.x.size(), 0.0));
}

}  // namespace
}  // namespace kovin
