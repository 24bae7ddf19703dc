#include "device/definition_check.h"

#include "base/text_format.h"
#include "device/defect_levels.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace kovin {

namespace {

constexpr double rounding = 1e-6;  ///< [eV]: files write energies with three to six digits

std::string figure(double value) { return fixed(value, 0, 3); }

/// Where a file says what: "layer 2/defect 1/Et" to its line.
class Places {
public:
    explicit Places(const std::vector<LineWatch::Entry>& known)
    {
        int layer = 0, defect = 0;
        std::string part, section;
        const auto open = [&](const std::string& name) {
            section = name + '/';
            defect = 0;
        };
        for (const auto& [line, key] : known) {
            if (key == "back contact" || key == "left contact") {
                open("left");
            } else if (key == "front contact" || key == "right contact") {
                open("right");
            } else if (key == "layer") {
                open("layer " + integer(++layer));
            } else if (key == "srhrecombination" || key == "interface recombination") {
                part = (key[0] == 's' ? "layer " : "interface ") + integer(layer) + "/defect ";
                open(part + "1");
                defect = 1;
            } else if (key == "next" && defect > 0) {
                section = part + integer(++defect) + '/';
            } else if (key == "interface properties" || key == "Metastable properties" || key == "working point") {
                open(key);
            } else {
                line_of_.emplace(section + key, line);
            }
        }
    }
    /// 0 if the file does not say it.
    [[nodiscard]] int line(const std::string& place) const
    {
        const auto found = line_of_.find(place);
        return found == line_of_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, int> line_of_;
};

struct PhysicsCheck {
    const CellParameters& cell;
    const Places& places;
    LineWatch& watch;

    void find(const std::string& place, const std::string& text) { watch.find(places.line(place), text); }
};

/// Values that a profile takes in its layer: the pure ones that its composition reaches.
struct Range {
    double low, high;
};
Range range_of(const Profile& profile, const LayerParameters& layer)
{
    const bool only_A = layer.composition_mode == 0 && profile.dependence != Dependence::on_x;
    const bool only_B = layer.composition_mode == 20 && profile.dependence != Dependence::on_x;
    const double A = only_B ? profile.pure_B : profile.pure_A, B = only_A ? profile.pure_A : profile.pure_B;
    return {std::min(A, B), std::max(A, B)};
}
/// Value at the left or right end; that of a graded layer as the file has it.
double end_of(const Profile& profile, const LayerParameters& layer, bool right)
{
    const Range range = range_of(profile, layer);
    if (range.low == range.high) return range.low;
    return right ? profile.right : profile.left;
}
double ratio(const LayerParameters& layer) { return layer.material.Nv.pure_A / layer.material.Nc.pure_A; }

void check_layer(PhysicsCheck& check, const LayerParameters& layer, const std::string& name)
{
    if (const double eps = range_of(layer.material.eps, layer).low; eps < 1.0)
        check.find(name + "/eps", name + ": a relative permittivity of " + figure(eps) + " is below that of vacuum");
    const double Eg = range_of(layer.material.Eg, layer).high;
    for (int k = 0; k < layer.srhteller; ++k) {
        const auto& levels = layer.srh[static_cast<std::size_t>(k)];
        const std::string defect = name + "/defect " + integer(k + 1);
        for (int i = 0; i < levels[0].levels; ++i) {
            const auto& level = levels[static_cast<std::size_t>(i)];
            const double E = level_above_EV(level.reference, level.Et, Eg, kT_at_300K, ratio(layer));
            if (E < -rounding || E > Eg + rounding)
                check.find(defect + "/Et", name + ", defect " + integer(k + 1) + ": level " + integer(i + 1) +
                                               " lies outside the gap of " + figure(Eg) + " eV");
        }
    }
}

/// Band edges below the vacuum level, as energies [eV].
struct Edges {
    double EV, EC, Ei;
};
Edges edges_of(const LayerParameters& layer, bool right)
{
    const double Eg = end_of(layer.material.Eg, layer, right), chi = end_of(layer.material.chi, layer, right);
    return {-chi - Eg, -chi, -chi - Eg + 0.5 * Eg + 0.5 * kT_at_300K * std::log(ratio(layer))};
}

/// Levels of an interface against the gap between the higher valence and the lower conduction band.
void check_interface(PhysicsCheck& check, std::size_t i)
{
    const LayerParameters &l = check.cell.layer[i], &r = check.cell.layer[i + 1];
    const Edges left = edges_of(l, true), right = edges_of(r, false);
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
        if (E < EV - rounding || E > EC + rounding)
            check.find(name + "/defect " + integer(k + 1) + "/Et",
                       name + ", defect " + integer(k + 1) + ": the level lies outside the gap of the interface, " +
                           figure(EC - EV) + " eV");
    }
}

void check_contact(PhysicsCheck& check, const ContactParameters& contact, const LayerParameters& layer,
                   const std::string& side)
{
    if (contact.flatband) return;
    const Edges edges = edges_of(layer, side == "right");
    const double low = -edges.EC, high = -edges.EV;
    if (contact.Fi_m < low - rounding || contact.Fi_m > high + rounding)
        check.find(side + "/Fi_m", side + " contact: a work function of " + figure(contact.Fi_m) +
                                       " eV puts the Fermi level outside the gap, which lies from " + figure(low) +
                                       " to " + figure(high) + " eV below vacuum");
}

}  // namespace

void check_physical_sense(const Definition& definition, LineWatch& watch)
{
    const CellParameters& cell = definition.input.cell.cell;
    if (cell.layers == 0) return;
    const Places places(watch.known);
    PhysicsCheck check{cell, places, watch};
    const auto count = static_cast<std::size_t>(cell.layers);
    check_contact(check, cell.left, cell.layer[0], "left");
    for (std::size_t i = 0; i < count; ++i)
        check_layer(check, cell.layer[i], "layer " + integer(static_cast<int>(i) + 1));
    for (std::size_t i = 0; i + 1 < count; ++i) check_interface(check, i);
    check_contact(check, cell.right, cell.layer[count - 1], "right");
}

}  // namespace kovin
