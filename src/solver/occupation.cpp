#include "solver/occupation.h"

#include "device/charge_states.h"

#include <algorithm>
#include <tuple>

namespace kovin {

namespace {

/// How the states of a defect are filled at point k of its layer.
template <int L, class Record>
ChainOccupation<L> chain_occupation(const Record& defect, std::size_t k, const CalculationVariables& cv)
{
    double A[L], B[L];
    for (int s = 0; s < L; ++s) {
        const std::size_t at = static_cast<std::size_t>(s) * defect.Nt.size() + k;
        A[s] = defect.ep[at] + defect.cn[at] * cv.n[defect.first + k] + negligible_rate;
        B[s] = defect.en[at] + defect.cp[at] * cv.p[defect.first + k] + negligible_rate;
    }
    return ChainOccupation<L>(A, B);
}

/// The L levels of one energy of a defect; rates stand row after row.
template <int L, class Record>
void add_levels(const Record& defect, const double* energy, const CalculationVariables& cv,
                std::vector<DefectTransition>& out)
{
    const std::size_t count = defect.Nt.size(), start = out.size();
    for (int s = 0; s < L; ++s) {
        const auto row = [&](const std::vector<double>& rates) {
            return std::span<const double>(rates).subspan(static_cast<std::size_t>(s) * count, count);
        };
        const bool lit = defect.optical.present();
        out.push_back({defect.layer, defect.defect, s, 0, energy[s], defect.first, defect.Nt, row(defect.cn),
                       row(defect.cp), row(lit ? defect.optical.en : defect.en),
                       row(lit ? defect.optical.ep : defect.ep),
                       lit ? row(defect.optical.gn) : std::span<const double>(),
                       lit ? row(defect.optical.gp) : std::span<const double>(), std::vector<double>(count),
                       std::vector<double>(count)});
    }
    for (std::size_t k = 0; k < count; ++k) {
        const ChainOccupation<L> states = chain_occupation<L>(defect, k, cv);
        for (int s = 0; s < L; ++s) {
            DefectTransition& t = out[start + static_cast<std::size_t>(s)];
            t.een_min_f_t[k] = states.f[s];
            t.f_t[k] = states.f[s + 1];
        }
    }
}

}  // namespace

void add_occupied_states(const DefectEnergy& defect, int level, const CalculationVariables& cv,
                         std::span<double> filled, std::span<double> empty)
{
    if (level != 0) return;
    for (std::size_t k = 0; k < defect.Nt.size(); ++k) {
        const ChainOccupation<1> states = chain_occupation<1>(defect, k, cv);
        filled[k] += defect.Nt[k] * states.f[1];
        empty[k] += defect.Nt[k] * states.f[0];
    }
}

void add_occupied_states(const DefectChain& defect, int level, const CalculationVariables& cv, std::span<double> filled,
                         std::span<double> empty)
{
    if (level < 0 || level >= defect.levels) return;
    with_levels(defect.levels, [&](auto L) {
        for (std::size_t k = 0; k < defect.Nt.size(); ++k) {
            const ChainOccupation<L.value> states = chain_occupation<L.value>(defect, k, cv);
            filled[k] += defect.Nt[k] * states.f[level + 1];
            empty[k] += defect.Nt[k] * states.f[level];
        }
    });
}

std::vector<DefectTransition> defect_transitions(const BulkDefects& defects, const CalculationVariables& cv)
{
    std::vector<DefectTransition> all;
    for (const DefectEnergy& level : defects.energies) add_levels<1>(level, &level.energy, cv, all);
    for (const DefectChain& chain : defects.chains) {
        if (chain.levels == 2) add_levels<2>(chain, chain.energy.data(), cv, all);
        if (chain.levels == 3) add_levels<3>(chain, chain.energy.data(), cv, all);
        if (chain.levels == 4) add_levels<4>(chain, chain.energy.data(), cv, all);
    }
    const auto place = [](const DefectTransition& t) { return std::tuple(t.layer, t.defect, t.level); };
    // The energies of a defect come in their order already.
    std::stable_sort(all.begin(), all.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    for (std::size_t k = 1; k < all.size(); ++k)
        if (place(all[k]) == place(all[k - 1])) all[k].energy_number = all[k - 1].energy_number + 1;
    return all;
}

}  // namespace kovin
