#include "optics/given_rows.h"

#include "base/constants.h"
#include "base/text_format.h"
#include "device/boxes.h"
#include "optics/box_generation.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <queue>
#include <utility>

namespace kovin {

std::vector<double> rows_that_matter(const GivenGeneration& given, std::size_t most)
{
    const std::vector<double>&x = given.x, &G = given.G;
    const std::size_t n = x.size(), ends = given.sharp_ends ? 2 : 1;
    most = std::max<std::size_t>(most, 4);
    if (n <= most) return x;
    std::vector<std::size_t> left(n), right(n);
    for (std::size_t k = 0; k < n; ++k) left[k] = k > 0 ? k - 1 : 0, right[k] = k + 1;
    const auto area = [&](std::size_t k) {
        const std::size_t l = left[k], r = right[k];
        return std::fabs((x[r] - x[l]) * (G[k] - G[l]) - (x[k] - x[l]) * (G[r] - G[l]));
    };
    using Entry = std::pair<double, std::size_t>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> least;
    std::vector<double> present(n, -1.0);  // area of a row that may go; -1 for one that is gone or stays
    const auto renew = [&](std::size_t k) {
        if (k < ends || k + ends >= n) return;
        // No row goes before one that was worth less: what went beside it made it matter.
        present[k] = std::max(present[k], area(k));
        least.emplace(present[k], k);
    };
    for (std::size_t k = 0; k < n; ++k) renew(k);
    std::vector<bool> gone(n, false);
    for (std::size_t rows = n; rows > most && !least.empty();) {
        const auto [value, k] = least.top();
        least.pop();
        if (gone[k] || value != present[k]) continue;
        gone[k] = true;
        --rows;
        const std::size_t l = left[k], r = right[k];
        right[l] = r;
        left[r] = l;
        renew(l);
        renew(r);
    }
    std::vector<double> kept;
    for (std::size_t k = 0; k < n; ++k)
        if (!gone[k]) kept.push_back(x[k]);
    return kept;
}

std::size_t rows_in_mesh(std::size_t rows, int layers)
{
    constexpr int points_of_layer = 100;
    const auto free = static_cast<std::size_t>(max_mesh_points - points_of_layer * layers);
    // The fast route gives half of all points to a profile and no more.
    return rows <= std::min(free, static_cast<std::size_t>(max_mesh_points / 2)) ? rows : free / 2;
}

void tell_lost_generation(Report& report, const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                          const GenerationParameters& gp)
{
    if (wp.dark || !wp.generationSpecified) return;
    std::vector<double> pairs;
    pairs_of_profile(gp.given, mesh, pairs);
    constexpr double A_m2_to_mA_cm2 = 0.1, noticed = 0.01, um = 1e-6;
    const double given =
        std::accumulate(pairs.begin(), pairs.end(), 0.0) * wp.attenuation / 100.0 * elementary_charge * A_m2_to_mA_cm2;
    const std::vector<double>&x = gp.given.x, &G = gp.given.G;
    double all = 0.0;
    for (std::size_t k = 0; k + 1 < x.size(); ++k) all += 0.5 * (G[k] + G[k + 1]) * (x[k + 1] - x[k]);
    all *= wp.attenuation / 100.0 * elementary_charge * A_m2_to_mA_cm2;
    // Light of a model goes through the cell and on; a file is made for a cell.
    if (wp.generationFromFile && all - given > noticed * all)
        KOVINErrorMessage(report, "Warning: generation outside the cell",
                          "Of the " + scientific(all, 0, 3) + " mA/cm2 of the given G(x) " + scientific(given, 0, 3) +
                              " lie in the cell; x counts from the left contact and goes to " +
                              scientific(x.back() / um, 0, 3) + " um.");
    const double found = integrated_current(set3, mesh, gp.generation);
    if (std::fabs(found - given) <= noticed * given) return;
    KOVINErrorMessage(report, "Warning: the mesh does not hold the generation",
                      "The given G(x) generates " + scientific(given, 0, 3) + " mA/cm2 inside the cell, on the mesh " +
                          scientific(found, 0, 3) + " mA/cm2: its rows are finer than the points of the mesh.");
}

}  // namespace kovin
