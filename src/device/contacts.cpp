#include "device/contacts.h"

#include "base/text_format.h"
#include "device/charge_states.h"
#include "device/defect_levels.h"
#include "device/grading.h"

#include <cmath>
#include <utility>

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
        const DefectLevels& levels = layer.srh[d];
        if (level_without_capture(levels) >= 0) continue;
        NeutralDefect defect;
        defect.first = levels[0].aard;
        defect.distribution = levels[0].energy_distribution;
        defect.Ekar = levels[0].Ekar;
        defect.Nt = value(levels[0].Nt);
        defect.degeneracy_one = levels[0].degeneracy_one;
        for (std::size_t s = 0; s < static_cast<std::size_t>(level_count(levels)); ++s)
            defect.levels.push_back(
                {level_above_EV(levels[s].reference, levels[s].Et, bulk.Eg, bulk.kT, bulk.Nv / bulk.Nc),
                 value(m.v_th_n) * levels[s].sigma_n, value(m.v_th_p) * levels[s].sigma_p});
        bulk.defects.push_back(std::move(defect));
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

bool CheckContactsWithActualLayerParameters(int side, ContactParameters& contact, const LayerParameters& layer,
                                            double T, const ConvergenceParameters& settings, ContactEntry which)
{
    const NeutralBulk bulk = bulk_at_side(side, layer, T, settings);
    const NeutralFermiLevel fermi = settings.flatband_with_defects != 0
                                        ? CalculateNeutralBulkEquilibriumFermiLevel(bulk)
                                        : fermi_level_from_doping(bulk);
    if (fermi.type == 0) return false;

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
    return true;
}

void check_contacts(SiCell& cell, double T, const ConvergenceParameters& settings)
{
    Report nobody;
    check_contacts(nobody, cell, T, settings);
}

void check_contacts(Report& report, SiCell& cell, double T, const ConvergenceParameters& settings)
{
    CellParameters& c = cell.cell;
    if (c.layers < 1) return;
    LayerParameters& first = c.layer.front();
    LayerParameters& last = c.layer[static_cast<std::size_t>(c.layers - 1)];
    recalculate_ends(first);
    recalculate_ends(last);
    const auto check = [&](int side, ContactParameters& contact, const LayerParameters& layer) {
        if (CheckContactsWithActualLayerParameters(side, contact, layer, T, settings) || !contact.flatband) return;
        KOVINErrorMessage(report, "Warning: a flat-band contact",
                          std::string(side < 0 ? "left" : "right") + " contact: " + no_flat_bands(contact));
    };
    check(-1, c.left, first);
    check(+1, c.right, last);
}

std::string no_flat_bands(const ContactParameters& contact)
{
    return "flat bands have no meaning at a layer that is neither n-type nor p-type there; the work function is " +
           shortest(contact.Fi_m) + " eV";
}

}  // namespace kovin
