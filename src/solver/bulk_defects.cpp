#include "solver/bulk_defects.h"

#include "device/defect_levels.h"
#include "device/on_mesh.h"

#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Rates of one discrete energy E of a defect with a single level. The distribution stands about the defect's energy,
/// on the scale above EV whatever the reference: a tail of the conduction band reaches into the gap also when its
/// energy is given below EC.
/// Source: Shockley, Read, Phys. Rev. 87 (1952) 835.
DefectEnergy defect_energy(const CalculationParameters& set3, const Mesh& mesh,
                           const BulkRecombinationParameters& level, std::size_t layer, double E, double weight)
{
    const OnMesh& on = set3.on;
    const std::size_t first = at(mesh.first[layer]), count = at(mesh.n_in_layer[layer]);
    DefectEnergy r;
    r.first = first;
    r.layer = static_cast<int>(layer);
    r.defect = level.defect;
    r.energy = E;
    for (auto* v : {&r.Nt, &r.cn, &r.cp, &r.en, &r.ep}) v->assign(count, 0.0);
    r.charged = level.aard == LevelType::neutral ? 0.0 : 1.0;
    r.charge = level.aard == LevelType::plus_zero ? 1.0 : 0.0;
    Full_Nt_x_Dependence(set3, mesh, level, weight, r.Nt);
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = first + k;
        const double above_EV =
            level_above_EV(level.reference, level.Et, on.Eg[i], set3.kT, on.Nv[i] / on.Nc[i]) + (E - level.Et);
        r.cn[k] = on.vth_n[i] * level.sigma_n;
        r.cp[k] = on.vth_p[i] * level.sigma_p;
        r.en[k] = on.Nc[i] * r.cn[k] * std::exp(-(on.Eg[i] - above_EV) / set3.kT);
        r.ep[k] = on.Nv[i] * r.cp[k] * std::exp(-above_EV / set3.kT);
    }
    return r;
}

}  // namespace

void define_defects(const CalculationParameters& set3, const Mesh& mesh, BulkDefects& defects)
{
    defects = BulkDefects{};
    const ConvergenceParameters& settings = set3.convergence;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const LayerParameters& layer = set3.layer[j];
        for (std::size_t d = 0; d < at(layer.srhteller); ++d) {
            const BulkRecombinationParameters& level = layer.srh[d][0];
            // A defect that captures nothing neither recombines nor has a defined charge.
            if (level.sigma_n <= 0.0 && level.sigma_p <= 0.0) continue;
            for (const WeightedEnergy& energy :
                 discrete_energies(level.energy_distribution, level.Ekar, level.Et, settings.defectdiscretisations,
                                   settings.widthtail, settings.widthgauss))
                defects.energies.push_back(defect_energy(set3, mesh, level, j, energy.E, energy.share));
        }
        for (std::size_t i = at(mesh.first[j]); i <= at(mesh.last[j]); ++i)
            if (set3.on.K_rad[i] != 0.0 || set3.on.Cn[i] != 0.0 || set3.on.Cp[i] != 0.0) defects.band_to_band[j] = true;
    }
}

}  // namespace kovin
