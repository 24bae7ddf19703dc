#include "device/definition_check.h"

#include "base/text_format.h"
#include "device/capture_model.h"
#include "device/charge_states.h"
#include "device/contacts.h"
#include "device/defect_levels.h"
#include "device/definition_places.h"
#include "device/definition_tables.h"
#include "device/graded_values.h"
#include "device/grading.h"
#include "device/metastable.h"
#include "device/quantities.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr double rounding = 1e-6;  ///< [eV]: files write energies with three to six digits

std::string figure(double value) { return plain(value, 3); }

struct PhysicsCheck {
    const CellParameters& cell;
    const DefinitionPlaces& places;
    LineWatch& watch;

    void find(const std::string& section, const std::string& keyword, const std::string& text)
    {
        watch.find(places.line(section, keyword), text);
    }
};

/// " at x = 0.500 um" where the profile is not the same all over the layer.
std::string at_place(const std::vector<double>& values, double x_um)
{
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return *low == *high ? "" : " at x = " + figure(x_um) + " um";
}

void check_permittivity(PhysicsCheck& check, const LayerParameters& layer, const std::string& name)
{
    const Profile& profile = layer.material.eps;
    if (!can_be_evaluated(layer, profile)) return;
    const LayerPlaces places = places_to_check(layer, {&profile});
    const std::vector<double> eps = values_at(layer, profile, places);
    const auto i = static_cast<std::size_t>(std::min_element(eps.begin(), eps.end()) - eps.begin());
    if (eps[i] < 1.0)
        check.find(name, "eps",
                   name + ": a relative permittivity of " + figure(eps[i]) + at_place(eps, places.x_um[i]) +
                       " is below that of vacuum");
}

/// Densities against that of the atoms: carbon packs them closest, with 1.8e29 /m^3 in diamond; a plane of them has
/// the power 2/3 of that.
constexpr double most_in_volume = 1e30, most_in_plane = 1e20;

void check_density(PhysicsCheck& check, const LayerParameters& layer, const Profile& profile,
                   const std::string& section, const std::string& keyword, const std::string& what)
{
    if (!can_be_evaluated(layer, profile)) return;
    const std::vector<double> density = values_at(layer, profile, places_to_check(layer, {&profile}));
    const double most = *std::max_element(density.begin(), density.end());
    if (most > most_in_volume)
        check.find(section, keyword,
                   what + " of " + scientific(most, 0, 3) + " /m^3 is more than any solid has atoms, " +
                       shortest(most_in_volume) + " /m^3");
}

/// A law on x between values of the pure materials that it does not use. Those of a gap stand at the edges of the pure
/// absorptions where two materials mix.
void check_ends(PhysicsCheck& check, const LayerParameters& layer, const Profile& p, const std::string& section,
                const std::string& keyword)
{
    if (p.dependence != Dependence::on_x || static_cast<int>(p.law) >= static_cast<int>(Law::from_file)) return;
    if (p.quantity == Quantity::Eg && (layer.composition_mode == 1 || layer.composition_mode == 21)) return;
    const auto apart = [](double a, double b) {
        return std::abs(a - b) > rounding * std::max(std::abs(a), std::abs(b));
    };
    const double left = p.left - p.left_lift, right = p.right - p.right_lift;
    if ((p.law != Law::uniform_B && apart(left, p.pure_A)) ||
        (p.law != Law::uniform && p.law != Law::uniform_y && apart(right, p.pure_B)))
        check.find(section, keyword,
                   section + ": " + keyword + " is graded on x from " + shortest(left) + " to " + shortest(right) +
                       ", the left and right values; pure A and pure B, " + shortest(p.pure_A) + " and " +
                       shortest(p.pure_B) + ", do not count");
}

void check_densities(PhysicsCheck& check, const LayerParameters& layer, const std::string& name)
{
    for (const QuantityRow& row : graded_quantities())
        if (row.unit == "[/m^3]")
            check_density(check, layer, layer.material.*row.member, name, std::string(row.word),
                          name + ": " + std::string(row.word));
    const auto check_defect = [&](const Profile& Nt, const std::string& defect, const std::string& section) {
        for (const char* word : {"Nt(x)", "Nt(y)", "Nt(uniform)", "Nleft"})
            if (check.places.line(section, word) > 0) {
                check_ends(check, layer, Nt, section, word);
                return check_density(check, layer, Nt, section, word, name + ", " + defect + ": Nt");
            }
    };
    for (int k = 0; k < layer.srhteller; ++k) {
        const std::string defect = "defect " + integer(k + 1);
        check_defect(layer.srh[static_cast<std::size_t>(k)][0].Nt, defect, name + '/' + defect);
    }
    for (const auto& pair : layer.metastable)
        if (pair.present)
            check_defect(pair.Nt, "metastable transition " + integer(pair.number + 1),
                         name + "/metastable " + integer(pair.number + 1));
}

/// The levels of a defect against the gap wherever the defect is; told is the place where one lies furthest outside,
/// which for a level counted from a band is that of the smallest gap. A defect that is nowhere counts as everywhere.
void check_levels(PhysicsCheck& check, const LayerParameters& layer, int number, const std::string& name)
{
    const auto& levels = layer.srh[static_cast<std::size_t>(number - 1)];
    const MaterialParameters& m = layer.material;
    for (const Profile* p : {&m.Eg, &m.Nc, &m.Nv, &levels[0].Nt})
        if (!can_be_evaluated(layer, *p)) return;
    const LayerPlaces places = places_to_check(layer, {&m.Eg, &m.Nc, &m.Nv, &levels[0].Nt});
    const std::vector<double> Eg = values_at(layer, m.Eg, places), Nc = values_at(layer, m.Nc, places),
                              Nv = values_at(layer, m.Nv, places), Nt = values_at(layer, levels[0].Nt, places);
    // A gap or a density of states that no material has is told already.
    for (const auto* values : {&Eg, &Nc, &Nv})
        if (!(*std::min_element(values->begin(), values->end()) > 0.0)) return;
    const bool somewhere = std::any_of(Nt.begin(), Nt.end(), [](double density) { return density > 0.0; });
    for (int k = 0; k < levels[0].levels; ++k) {
        const auto& level = levels[static_cast<std::size_t>(k)];
        double furthest = rounding;
        std::size_t where = Eg.size();
        for (std::size_t i = 0; i < Eg.size(); ++i) {
            if (somewhere && !(Nt[i] > 0.0)) continue;
            const double E = level_above_EV(level.reference, level.Et, Eg[i], kT_at_300K, Nv[i] / Nc[i]);
            const double outside = std::max(-E, E - Eg[i]);
            if (outside > furthest) furthest = outside, where = i;
        }
        if (where < Eg.size())
            check.find(name + "/defect " + integer(number), "Et",
                       name + ", defect " + integer(number) + ": level " + integer(k + 1) +
                           " lies outside the gap of " + figure(Eg[where]) + " eV" + at_place(Eg, places.x_um[where]));
    }
}

/// Models of optical capture that give nothing or what no defect has, by their figures at the left end of the layer.
void check_capture_models(PhysicsCheck& check, const LayerParameters& layer, int number, const std::string& name)
{
    const MaterialParameters& m = layer.material;
    if (!can_be_evaluated(layer, m.Eg) || !can_be_evaluated(layer, m.Nc) || !can_be_evaluated(layer, m.Nv)) return;
    const auto& levels = layer.srh[static_cast<std::size_t>(number - 1)];
    for (std::size_t k = 0; k < static_cast<std::size_t>(level_count(levels)); ++k) {
        const BulkRecombinationParameters& level = levels[k];
        const OpticalThresholds E0 =
            optical_thresholds(level.reference, level.Et, m.Eg.left, kT_at_300K, m.Nv.left / m.Nc.left);
        for (const definition_tables::Carrier& carrier : definition_tables::carriers) {
            const OpticalCaptureProperties& capture = level.*carrier.capture;
            const std::string key = "optical capture of " + std::string(carrier.word);
            const double threshold =
                carrier.capture == &BulkRecombinationParameters::electrons ? E0.electrons : E0.holes;
            for (const CaptureFinding& finding : capture_findings(capture, threshold))
                check.find(name + "/defect " + integer(number), key + finding.key,
                           name + ", defect " + integer(number) + ": level " + integer(static_cast<long>(k) + 1) +
                               ", " + key + ": " + finding.text);
        }
    }
}

/// Band edges below the vacuum level, as energies [eV].
struct Edges {
    double EV, EC, Ei;
};
bool has_edges(const LayerParameters& layer)
{
    const MaterialParameters& m = layer.material;
    return can_be_evaluated(layer, m.Eg) && can_be_evaluated(layer, m.chi) && can_be_evaluated(layer, m.Nc) &&
           can_be_evaluated(layer, m.Nv);
}
Edges edges_of(const LayerParameters& layer, double Profile::*end)
{
    const MaterialParameters& m = layer.material;
    const double Eg = m.Eg.*end, chi = m.chi.*end;
    return {-chi - Eg, -chi,
            -chi - Eg + level_above_EV(EnergyReference::above_Ei, 0.0, Eg, kT_at_300K, m.Nv.*end / m.Nc.*end)};
}

/// Levels of an interface against the gap between the higher valence and the lower conduction band.
void check_interface(PhysicsCheck& check, std::size_t i)
{
    const LayerParameters &l = check.cell.layer[i], &r = check.cell.layer[i + 1];
    if (!has_edges(l) || !has_edges(r)) return;
    const Edges left = edges_of(l, &Profile::right), right = edges_of(r, &Profile::left);
    const double EV = std::max(left.EV, right.EV), EC = std::min(left.EC, right.EC);
    const InterfaceParameters& interface = check.cell.interfaces[i];
    for (int k = 0; k < interface.defect_count; ++k) {
        const auto& defect = interface.defects[static_cast<std::size_t>(k)];
        double E = 0.0;
        switch (defect.reference) {
            case EnergyReference::below_lowest_EC:
                E = EC - defect.Et;
                break;
            case EnergyReference::above_Ei_left:
                E = left.Ei + defect.Et;
                break;
            case EnergyReference::above_Ei_right:
                E = right.Ei + defect.Et;
                break;
            case EnergyReference::above_EV_left:
                E = left.EV + defect.Et;
                break;
            case EnergyReference::above_EV_right:
                E = right.EV + defect.Et;
                break;
            case EnergyReference::above_middle:
                E = 0.5 * (EV + EC) + defect.Et;
                break;
            default:
                E = EV + defect.Et;
        }
        const std::string name = "interface " + integer(static_cast<int>(i) + 1);
        if (defect.N_peak > most_in_plane)
            check.find(name + "/defect " + integer(k + 1), "N",
                       name + ", defect " + integer(k + 1) + ": N of " + scientific(defect.N_peak, 0, 3) +
                           " /m^2 is more than any plane has atoms, " + shortest(most_in_plane) + " /m^2");
        if (E < EV - rounding || E > EC + rounding)
            check.find(name + "/defect " + integer(k + 1), "Et",
                       name + ", defect " + integer(k + 1) + ": the level lies outside the gap of the interface, " +
                           figure(EC - EV) + " eV");
    }
}

/// Metastable pairs: what keeps them from reacting, and what is hardly meant.
void check_pairs(PhysicsCheck& check, const LayerParameters& layer, const std::string& name)
{
    for (const auto& findings : {metastable_faults(layer), metastable_remarks(layer)})
        for (const PairFinding& finding : findings) {
            const std::string section = name + "/metastable " + integer(finding.transition + 1);
            const bool has_line = check.places.line(section, finding.key) > 0;
            check.find(section, has_line ? finding.key : "Metastable properties", name + ", " + finding.text);
        }
}

void check_contact(PhysicsCheck& check, const ContactParameters& contact, const LayerParameters& layer,
                   const std::string& side, const ConvergenceParameters& settings)
{
    if (!contact.filter && !contact.filter_file.empty())
        check.find(side, "filterfile", side + " contact: the filter file is not read without a line optical filter");
    if (contact.filter && contact.filter_constant && contact.filter_transmission && contact.filter_value == 0.0)
        check.find(side, "filter value", side + " contact: no filter value, or 0: no light passes the filter");
    if (!has_edges(layer)) return;
    // Where no line asks for flat bands they are the default, which a run tells.
    if (contact.flatband) {
        if (check.places.line(side, "flatband") == 0) return;
        if (!can_be_evaluated(layer, layer.material.Na) || !can_be_evaluated(layer, layer.material.Nd)) return;
        ContactParameters flat = contact;
        if (CheckContactsWithActualLayerParameters(side == "right" ? 1 : -1, flat, layer, 300.0, settings)) return;
        check.find(side, "flatband", side + " contact: " + no_flat_bands(contact));
    }
    const Edges edges = edges_of(layer, side == "right" ? &Profile::right : &Profile::left);
    const double low = -edges.EC, high = -edges.EV;
    if (contact.Fi_m < low - rounding || contact.Fi_m > high + rounding)
        check.find(side, "Fi_m",
                   side + " contact: a work function of " + figure(contact.Fi_m) +
                       " eV puts the Fermi level outside the gap, which lies from " + figure(low) + " to " +
                       figure(high) + " eV below vacuum");
}

}  // namespace

void check_physical_sense(const Definition& definition, LineWatch& watch)
{
    const CellParameters& cell = definition.input.cell.cell;
    if (cell.layers == 0) return;
    const DefinitionPlaces places(watch.known);
    PhysicsCheck check{cell, places, watch};
    const auto count = static_cast<std::size_t>(cell.layers);
    check_contact(check, cell.left, cell.layer[0], "left", definition.input.convergence);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "layer " + integer(static_cast<int>(i) + 1);
        check_permittivity(check, cell.layer[i], name);
        check_densities(check, cell.layer[i], name);
        for (const QuantityRow& row : graded_quantities()) {
            const Profile& profile = cell.layer[i].material.*row.member;
            check_ends(check, cell.layer[i], profile, name, std::string(row.word));
            if (profile.law == Law::from_file && profile.dependence == Dependence::uniform)
                check.find(name, std::string(row.word),
                           name + ": the grading file of " + std::string(row.word) +
                               " is not read, as the dependence is 2 (uniform)");
        }
        for (int k = 0; k < cell.layer[i].srhteller; ++k) {
            check_levels(check, cell.layer[i], k + 1, name);
            check_capture_models(check, cell.layer[i], k + 1, name);
        }
        check_pairs(check, cell.layer[i], name);
    }
    for (std::size_t i = 0; i + 1 < count; ++i) check_interface(check, i);
    const DefinitionWorkPoint& point = definition.workPoint;
    constexpr const char* idle = " does not count without a line ";
    if (point.Rs != 0.0 && !point.RsPresent)
        check.find("working point", "Rs [Ohm.m2]", std::string("Rs") + idle + "Series resistance : 1");
    if (point.Gsh != 0.0 && !point.GshPresent)
        check.find("working point", "Gsh [S/m2]", std::string("Gsh") + idle + "Shunt conductance : 1");
    check_contact(check, cell.right, cell.layer[count - 1], "right", definition.input.convergence);
}

}  // namespace kovin
