#include "solver/interface_states.h"

#include "device/defect_levels.h"
#include "solver/emission.h"

#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// The two mesh points of interface j.
struct Sides {
    std::size_t l, f;
    Sides(const Mesh& mesh, std::size_t j) : l(at(mesh.last[j])), f(l + 1) {}
};

/// From the bands on the mesh themselves, so that the densities on both sides obey detailed balance to rounding.
InterfaceBands bands_at(const CalculationParameters& set3, const Sides& at)
{
    const OnMesh& on = set3.on;
    const auto Ei = [&](std::size_t i) { return 0.5 * on.Eg[i] + 0.5 * set3.kT * std::log(on.Nv[i] / on.Nc[i]); };
    InterfaceBands b;
    b.Eg_left = on.Eg[at.l];
    b.Eg_right = on.Eg[at.f];
    b.Ei_left = Ei(at.l);
    b.Ei_right = Ei(at.f);
    b.dEc = on.chi[at.f] - on.chi[at.l];
    b.dEv = b.Eg_left - b.dEc - b.Eg_right;
    return b;
}

/// Total density of a sheet [m^-2]. The record's N is the density of a single level, the peak per eV of a distribution.
double total_density(const InterfaceRecombinationParameters& defect)
{
    return defect.N / peak_to_total(defect.energy_distribution, defect.Ekar);
}

/// Rates of a level; the density on one side at which capture and emission
/// balance is that of the band edge's states, each side counted from its own edge.
/// Source: Shockley, Read, Phys. Rev. 87 (1952) 835, for each of the two sides.
void ifr_input_energie(const CalculationParameters& set3, const Sides& at, const InterfaceBands& bands,
                       const InterfaceRecombinationParameters& defect, InterfaceEnergy& r)
{
    const double above = r.above_EV_left;
    const OnMesh& on = set3.on;
    const double kT = set3.kT;
    r.cnL = on.vth_n[at.l] * defect.sigma_nleft;
    r.cnR = on.vth_n[at.f] * defect.sigma_nright;
    r.cpL = on.vth_p[at.l] * defect.sigma_pleft;
    r.cpR = on.vth_p[at.f] * defect.sigma_pright;
    r.enL = on.Nc[at.l] * emission_factor((bands.Eg_left - above) / kT);
    r.enR = on.Nc[at.f] * emission_factor((bands.Eg_left - bands.dEc - above) / kT);
    r.epL = on.Nv[at.l] * emission_factor(above / kT);
    r.epR = on.Nv[at.f] * emission_factor((above - bands.dEv) / kT);
    r.charged = defect.defectType == DefectType::neutral ? 0.0 : 1.0;
    r.charge = defect.defectType == DefectType::donor ? 1.0 : 0.0;
}

}  // namespace

void define_interface_states(const CalculationParameters& set3, const Mesh& mesh, InterfaceStates& states)
{
    states.energies.clear();
    const ConvergenceParameters& settings = set3.convergence;
    for (std::size_t j = 0; j + 1 < at(mesh.nlayers); ++j) {
        const Sides sides(mesh, j);
        const InterfaceBands bands = bands_at(set3, sides);
        for (std::size_t d = 0; d < at(set3.interface_defect_count[j]); ++d) {
            const InterfaceRecombinationParameters& defect = set3.interface_defects[j][d];
            const double total = total_density(defect);
            // The distribution stands about the level on the scale above EV, as in the bulk.
            const double above = level_above_EV_left(defect.reference, defect.Et, bands);
            for (const WeightedEnergy& energy :
                 discrete_energies(defect.energy_distribution, defect.Ekar, defect.Et, settings.defectdiscretisations,
                                   settings.widthtail, settings.widthgauss)) {
                InterfaceEnergy r;
                r.interface = j;
                r.defect = static_cast<int>(d);
                const double offset = energy.E - defect.Et;
                r.energy = counts_downward(defect.reference) ? defect.Et - offset : defect.Et + offset;
                r.above_EV_left = above + offset;
                r.Nt = total * energy.share;
                ifr_input_energie(set3, sides, bands, defect, r);
                const bool captures = r.cnL + r.cnR + r.cpL + r.cpR > 0.0;
                if (r.Nt > 0.0 && captures) states.energies.push_back(r);
            }
        }
    }
}

}  // namespace kovin
