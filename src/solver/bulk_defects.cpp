#include "solver/bulk_defects.h"

#include "device/charge_states.h"
#include "device/defect_levels.h"
#include "device/on_mesh.h"
#include "solver/emission.h"

#include <cmath>
#include <utility>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Where the rates of one level at the points of its layer go.
struct Rates {
    double *cn, *cp, *en, *ep;
};

/// Rates of a level at its energy plus `offset`. The distribution stands about the defect's energy, on the scale above
/// EV whatever the reference: a tail of the conduction band reaches into the gap also when its energy is given below
/// EC. @param g  degeneracy factor
/// Source: Shockley, Read, Phys. Rev. 87 (1952) 835.
void set_rates(const CalculationParameters& set3, const Mesh& mesh, const BulkRecombinationParameters& level,
               std::size_t layer, double offset, double g, const Rates& to)
{
    const OnMesh& on = set3.on;
    const std::size_t first = at(mesh.first[layer]), count = at(mesh.n_in_layer[layer]);
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = first + k;
        const double above_EV =
            level_above_EV(level.reference, level.Et, on.Eg[i], set3.kT, on.Nv[i] / on.Nc[i]) + offset;
        to.cn[k] = on.vth_n[i] * level.sigma_n;
        to.cp[k] = on.vth_p[i] * level.sigma_p;
        to.en[k] = on.Nc[i] * (to.cn[k] / g) * emission_factor((on.Eg[i] - above_EV) / set3.kT);
        to.ep[k] = on.Nv[i] * (g * to.cp[k]) * emission_factor(above_EV / set3.kT);
    }
}

/// What a single level and a chain have in common: place, density, charge, room for the rates of `levels` levels.
template <class Record>
Record empty_record(const CalculationParameters& set3, const Mesh& mesh, const BulkRecombinationParameters& first_level,
                    std::size_t layer, double weight, std::size_t levels)
{
    const std::size_t count = at(mesh.n_in_layer[layer]);
    Record r;
    r.first = at(mesh.first[layer]);
    r.layer = static_cast<int>(layer);
    r.defect = first_level.defect;
    r.charged = first_level.aard == LevelType::neutral ? 0.0 : 1.0;
    r.charge = charge_of_state_0(first_level.aard);
    r.Nt.assign(count, 0.0);
    for (auto* v : {&r.cn, &r.cp, &r.en, &r.ep}) v->assign(levels * count, 0.0);
    Full_Nt_x_Dependence(set3, mesh, layer, first_level, weight, r.Nt);
    return r;
}

/// The rates of light beside the thermal ones, none yet.
template <class Record>
void add_optical_emission(const DefectLevels& levels, Record& r)
{
    if (!absorbs_light(levels)) return;
    OpticalEmission& o = r.optical;
    o.en = r.en;
    o.ep = r.ep;
    for (auto* v : {&o.gn, &o.gp, &o.thermal, &o.excess}) v->assign(r.en.size(), 0.0);
    for (std::size_t k = 0; k < r.en.size(); ++k) o.thermal[k] = r.en[k] * r.ep[k];
}

/// Energy of a level moved upward by `offset`, against its own reference [eV].
double moved(const BulkRecombinationParameters& level, double offset)
{
    return counts_downward(level.reference) ? level.Et - offset : level.Et + offset;
}

std::vector<WeightedEnergy> energies_of(const CalculationParameters& set3, const BulkRecombinationParameters& level)
{
    const ConvergenceParameters& settings = set3.convergence;
    return discrete_energies(level.energy_distribution, level.Ekar, level.Et, settings.defectdiscretisations,
                             settings.widthtail, settings.widthgauss);
}

/// One discrete energy of a defect, `offset` upward from the energies of its levels.
void add_energy(const CalculationParameters& set3, const Mesh& mesh, const DefectLevels& levels, std::size_t layer,
                double offset, double weight, BulkDefects& defects)
{
    const BulkRecombinationParameters& first = levels[0];
    const auto count = static_cast<std::size_t>(level_count(levels));
    if (count == 1) {
        auto r = empty_record<DefectEnergy>(set3, mesh, first, layer, weight, 1);
        r.energy = moved(first, offset);
        set_rates(set3, mesh, first, layer, offset, 1.0, {r.cn.data(), r.cp.data(), r.en.data(), r.ep.data()});
        add_optical_emission(levels, r);
        defects.energies.push_back(std::move(r));
        return;
    }
    auto r = empty_record<DefectChain>(set3, mesh, first, layer, weight, count);
    r.levels = static_cast<int>(count);
    for (std::size_t s = 0; s < count; ++s) {
        r.energy[s] = moved(levels[s], offset);
        const double g = first.degeneracy_one ? 1.0 : degeneracy_factor(r.levels, static_cast<int>(s));
        const std::size_t row = s * r.Nt.size();
        set_rates(set3, mesh, levels[s], layer, offset, g,
                  {r.cn.data() + row, r.cp.data() + row, r.en.data() + row, r.ep.data() + row});
    }
    add_optical_emission(levels, r);
    defects.chains.push_back(std::move(r));
}

}  // namespace

void define_defects(const CalculationParameters& set3, const Mesh& mesh, BulkDefects& defects)
{
    defects = BulkDefects{};
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const LayerParameters& layer = set3.layer[j];
        for (std::size_t d = 0; d < at(layer.srhteller); ++d) {
            const BulkRecombinationParameters& level = layer.srh[d][0];
            if (level_without_capture(layer.srh[d]) >= 0) continue;
            for (const WeightedEnergy& energy : energies_of(set3, level))
                add_energy(set3, mesh, layer.srh[d], j, energy.E - level.Et, energy.share, defects);
        }
        for (std::size_t i = at(mesh.first[j]); i <= at(mesh.last[j]); ++i)
            if (set3.on.K_rad[i] != 0.0 || set3.on.Cn[i] != 0.0 || set3.on.Cp[i] != 0.0) defects.band_to_band[j] = true;
    }
}

void renew_density(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer, int defect,
                   BulkDefects& defects)
{
    const BulkRecombinationParameters& level = set3.layer[layer].srh[at(defect)][0];
    const std::vector<WeightedEnergy> energies = energies_of(set3, level);
    const auto renew = [&](auto& records) {
        std::size_t energy = 0;
        for (auto& record : records)
            if (at(record.layer) == layer && record.defect == defect)
                Full_Nt_x_Dependence(set3, mesh, layer, level, energies[energy++].share, record.Nt);
    };
    renew(defects.energies);
    renew(defects.chains);
}

}  // namespace kovin
