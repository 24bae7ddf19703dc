#include "device/contacts.h"

#include "device/defect_levels.h"
#include "device/grading.h"

#include <cmath>

namespace kovin {

namespace {

/// The outer side of a layer as a neutral bulk, at temperature T [K]. Layer in SI units.
NeutralBulk bulk_at_side(int side, const LayerParameters& layer, double T, const ConvergenceParameters& settings)
{
    const auto value = [side](const Profile& p) { return side < 0 ? p.left : p.right; };
    const MaterialParameters& m = layer.material;
    const double t = std::pow(T / 300.0, 1.5);

    NeutralBulk bulk;
    bulk.kT = thermal_voltage(T);
    bulk.Nc = value(m.Nc) * t;
    bulk.Nv = value(m.Nv) * t;
    bulk.Nd = value(m.Nd);
    bulk.Na = value(m.Na);
    bulk.Eg = value(m.Eg);
    bulk.discretisations = settings.defectdiscretisations;
    bulk.widthtail = settings.widthtail;
    bulk.widthgauss = settings.widthgauss;
    if (settings.flatband_with_defects == 0) return bulk;

    for (std::size_t d = 0; d < static_cast<std::size_t>(layer.srhteller) && d < layer.srh.size(); ++d) {
        const BulkRecombinationParameters& level = layer.srh[d][0];
        NeutralityLevel entry;
        entry.type = level.defectType;
        entry.distribution = level.energy_distribution;
        entry.Et = level_above_EV(level.reference, level.Et, bulk.Eg, bulk.kT, bulk.Nv / bulk.Nc);
        entry.Ekar = level.Ekar;
        entry.Nt = value(level.Nt);
        entry.cn = value(m.v_th_n) * level.sigma_n;
        entry.cp = value(m.v_th_p) * level.sigma_p;
        bulk.levels.push_back(entry);
    }
    return bulk;
}

/// Neutrality from the doping alone.
NeutralFermiLevel fermi_level_from_doping(const NeutralBulk& bulk)
{
    NeutralFermiLevel level;
    const double net = bulk.Na - bulk.Nd;
    level.doping = std::abs(net);
    level.type = (net > 0.0) - (net < 0.0);
    if (level.type < 0) {
        level.EcEf = bulk.kT * std::log(bulk.Nc / level.doping);
        level.EfEv = bulk.Eg - level.EcEf;
    } else if (level.type > 0) {
        level.EfEv = bulk.kT * std::log(bulk.Nv / level.doping);
        level.EcEf = bulk.Eg - level.EfEv;
    }
    return level;
}

}  // namespace

void CheckContactsWithActualLayerParameters(int side, ContactParameters& contact, const LayerParameters& layer,
                                            double T, const ConvergenceParameters& settings, ContactEntry which)
{
    const NeutralBulk bulk = bulk_at_side(side, layer, T, settings);
    const NeutralFermiLevel fermi = settings.flatband_with_defects != 0
                                        ? CalculateNeutralBulkEquilibriumFermiLevel(bulk)
                                        : fermi_level_from_doping(bulk);
    if (fermi.type == 0) return;

    const double chi = side < 0 ? layer.material.chi.left : layer.material.chi.right;
    const bool n_type = fermi.type < 0;
    const double dF = n_type ? fermi.EcEf : fermi.EfEv;  // Fermi level to the majority band
    // The work function is chi + barrier at an n-type layer and chi + Eg - barrier at a p-type one.
    const double band = n_type ? chi : chi + bulk.Eg;
    const double sign = n_type ? 1.0 : -1.0;

    if (contact.flatband) {
        contact.barrier = dF;
    } else if (which == ContactEntry::work_function) {
        contact.barrier = sign * (contact.Fi_m - band);
    } else if (which == ContactEntry::excess_barrier) {
        contact.barrier = dF + contact.excess_barrier;
    }
    contact.excess_barrier = contact.flatband ? 0.0 : contact.barrier - dF;
    if (contact.flatband || which != ContactEntry::work_function) contact.Fi_m = band + sign * contact.barrier;
    contact.majority_type = fermi.type;
}

void check_contacts(SiCell& cell, double T, const ConvergenceParameters& settings)
{
    CellParameters& c = cell.cell;
    if (c.layers < 1) return;
    LayerParameters& first = c.layer.front();
    LayerParameters& last = c.layer[static_cast<std::size_t>(c.layers - 1)];
    recalculate_ends(first);
    recalculate_ends(last);
    CheckContactsWithActualLayerParameters(-1, c.left, first, T, settings);
    CheckContactsWithActualLayerParameters(+1, c.right, last, T, settings);
}

}  // namespace kovin
