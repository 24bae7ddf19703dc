#include "solver/optical_occupation.h"

#include "optics/generation.h"
#include "optics/optical_capture.h"
#include "solver/occupation.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace kovin {

namespace {

constexpr double negligible_share = 1e-9;  ///< of the largest value of a level

/// Calls act(defect) for the energies of the defect that a level belongs to.
template <class Act>
void for_each_energy(BulkDefects& defects, const OpticalCapture& level, const Act& act)
{
    const auto ours = [&](const auto& defect) {
        return static_cast<std::size_t>(defect.layer) == level.layer &&
               static_cast<std::size_t>(defect.defect) == level.defect;
    };
    for (DefectEnergy& defect : defects.energies)
        if (ours(defect)) act(defect);
    for (DefectChain& defect : defects.chains)
        if (ours(defect)) act(defect);
}

/// Largest relative change from old values, now in `before`, to new ones.
double largest_change(std::span<const double> before, std::span<const double> now)
{
    double largest = 0.0, change = 0.0;
    for (const double value : now) largest = std::max(largest, value);
    for (std::size_t k = 0; k < now.size(); ++k) {
        const double scale = std::max(now[k], negligible_share * largest);
        if (now[k] != before[k]) change = std::max(change, scale > 0.0 ? std::fabs(now[k] - before[k]) / scale : 1.0);
    }
    return change;
}

/// The states of a level as they are filled now [1/m3]. @return largest change
double fill_states(BulkDefects& defects, const CalculationVariables& cv, double N0, OpticalCapture& level,
                   std::vector<double>& filled, std::vector<double>& empty)
{
    filled.assign(level.filled.size(), 0.0);
    empty.assign(level.empty.size(), 0.0);
    for_each_energy(defects, level, [&](const auto& defect) {
        add_occupied_states(defect, static_cast<int>(level.level), cv, filled, empty);
    });
    for (auto* states : {&filled, &empty})
        for (double& density : *states) density *= N0;
    const double change = std::max(largest_change(level.filled, filled), largest_change(level.empty, empty));
    level.filled.swap(filled);
    level.empty.swap(empty);
    return change;
}

/// The emission of row `level` of a defect with the light g_n, g_p [1/s]. @param t0  unit of time of the solver [s]
/// @return largest change of what light adds
template <class Record>
double take_light(const OpticalCapture& level, double t0, Record& defect, std::vector<double>& before)
{
    OpticalEmission& o = defect.optical;
    const std::size_t count = defect.Nt.size(), row = level.level * count;
    if (o.gn.size() < row + count) return 0.0;
    double change = 0.0;
    for (const auto& [rates, of_light] : {std::pair{&o.gn, &level.g_n}, std::pair{&o.gp, &level.g_p}}) {
        const std::span<double> now = std::span(*rates).subspan(row, count);
        before.assign(now.begin(), now.end());
        for (std::size_t k = 0; k < count; ++k) now[k] = t0 * (*of_light)[k];
        change = std::max(change, largest_change(before, now));
    }
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = row + k;
        defect.en[i] = o.en[i] + o.gn[i];
        defect.ep[i] = o.ep[i] + o.gp[i];
        o.excess[i] = o.gp[i] * defect.en[i] + o.gn[i] * o.ep[i];
    }
    return change;
}

}  // namespace

bool IterateFt(const Problem& problem, const CalculationVariables& cv, int most)
{
    if (!problem.exchange) return false;
    const CalculationParameters& set3 = problem.set3;
    BulkDefects& defects = problem.exchange->defects;
    GenerationParameters& light = problem.exchange->light;
    capture_on_mesh(cv.mesh, light);
    std::vector<double> one, other;
    if (most == 0) most = std::max(set3.convergence.maxiter_Ft, 1);
    bool moving = true, moved = false;
    for (int its_Ft = 1; its_Ft <= most && moving; ++its_Ft) {
        double deviation = 0.0;
        for (OpticalCapture& level : light.capture)
            deviation = std::max(deviation, fill_states(defects, cv, set3.scale.N0[level.layer], level, one, other));
        generation_follows_levels(set3, cv.mesh, light);
        for (const OpticalCapture& level : light.capture)
            for_each_energy(defects, level, [&](auto& defect) {
                deviation = std::max(deviation, take_light(level, set3.scale.t0, defect, one));
            });
        moving = deviation > set3.convergence.termination_Ft;
        if (its_Ft == 1) moved = moving;
    }
    update_generation_current(set3, cv.mesh, light);
    return moved;
}

void settle_light(const Problem& problem, const CalculationVariables& cv)
{
    constexpr int most_rounds = 20;
    for (int round = 0; round < most_rounds && IterateFt(problem, cv); ++round) continue;
}

void clear_optical_emission(BulkDefects& defects)
{
    const auto clear = [](auto& defect) {
        OpticalEmission& o = defect.optical;
        if (!o.present()) return;
        for (auto* v : {&o.gn, &o.gp, &o.excess}) std::ranges::fill(*v, 0.0);
        defect.en = o.en;
        defect.ep = o.ep;
    };
    for (DefectEnergy& defect : defects.energies) clear(defect);
    for (DefectChain& defect : defects.chains) clear(defect);
}

}  // namespace kovin
