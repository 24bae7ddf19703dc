#include "sweeps/supported.h"

#include "base/text_format.h"
#include "device/charge_states.h"
#include "device/unit_systems.h"

namespace kovin {

namespace {

using Names = std::vector<std::string>;

std::string layer_name(std::size_t j, const LayerParameters& layer)
{
    return "layer " + integer(static_cast<long>(j) + 1) + " (" + layer.name + "): ";
}

std::string interface_name(std::size_t i, const InterfaceParameters& interface)
{
    return "interface " + integer(static_cast<long>(i) + 1) + " (" + interface.name + "): ";
}

void check_defect(const DefectLevels& levels, const std::string& where, Names& names)
{
    // Between the states on its two sides nothing decides. (A single level of this kind has no effect at all.)
    if (const int level = level_without_capture(levels); level >= 0 && level_count(levels) > 1)
        names.push_back(where + "level " + integer(level + 1) + " captures neither electrons nor holes");
}

void check_layer(std::size_t j, const LayerParameters& layer, Names& names)
{
    const std::string where = layer_name(j, layer);
    for (std::size_t d = 0; d < static_cast<std::size_t>(layer.srhteller) && d < layer.srh.size(); ++d) {
        const std::string defect = where + "defect " + integer(static_cast<long>(d) + 1) + ": ";
        check_defect(layer.srh[d], defect, names);
    }
}

void check_interface_defect(const InterfaceRecombinationParameters& defect, const std::string& where, Names& names)
{
    // States at an interface have one level, whatever a file says.
    if (defect.defectType > DefectType::donor)
        names.push_back(where + "defect with several levels (" +
                        std::string(defect_type_words[static_cast<std::size_t>(defect.defectType)]) + ")");
}

void check_cell(const CellParameters& cell, Names& names)
{
    const auto layers = static_cast<std::size_t>(cell.layers);
    for (std::size_t j = 0; j < layers; ++j) check_layer(j, cell.layer[j], names);
    for (std::size_t i = 0; i + 1 < layers; ++i) {
        const InterfaceParameters& interface = cell.interfaces[i];
        const std::string where = interface_name(i, interface);
        for (std::size_t d = 0; d < static_cast<std::size_t>(interface.defect_count); ++d)
            check_interface_defect(interface.defects[d], where + "defect " + integer(static_cast<long>(d) + 1) + ": ",
                                   names);
    }
}

/// Defects of a single level that captures neither carrier: how they are occupied, nothing decides.
void check_idle_defects(const CellParameters& cell, Names& names)
{
    const auto add = [&](const std::string& where, std::size_t d) {
        names.push_back(where + "defect " + integer(static_cast<long>(d) + 1) +
                        " captures neither electrons nor holes and has no effect");
    };
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j)
        for (std::size_t d = 0; d < static_cast<std::size_t>(cell.layer[j].srhteller); ++d)
            if (level_count(cell.layer[j].srh[d]) == 1 && level_without_capture(cell.layer[j].srh[d]) >= 0)
                add(layer_name(j, cell.layer[j]), d);
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(cell.layers); ++i)
        for (std::size_t d = 0; d < static_cast<std::size_t>(cell.interfaces[i].defect_count); ++d) {
            const InterfaceRecombinationParameters& sheet = cell.interfaces[i].defects[d];
            if (sheet.sigma_nleft + sheet.sigma_nright + sheet.sigma_pleft + sheet.sigma_pright <= 0.0)
                add(interface_name(i, cell.interfaces[i]), d);
        }
}

bool levels_absorb(const CellParameters& cell)
{
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j)
        for (std::size_t d = 0; d < static_cast<std::size_t>(cell.layer[j].srhteller); ++d)
            if (absorbs_light(cell.layer[j].srh[d])) return true;
    return false;
}

}  // namespace

UnsupportedPhysics unsupported_physics(const Simulation& simulation)
{
    const ActionList& actions = simulation.panel.actions;
    UnsupportedPhysics found;
    check_cell(simulation.zonnecel.cell, found.falsifies);
    check_idle_defects(simulation.zonnecel.cell, found.left_out);

    const auto given = [](const WorkPoint& wp) { return wp.generationSpecified && !wp.dark; };
    const ActionPanel& panel = simulation.panel;
    const bool given_light =
        given(panel.workPoint) || (CheckMETAMode(simulation.zonnecel.cell) && given(panel.secondWorkPoint));
    const struct {
        bool asked;
        const char* name;
    } others[] = {
        {given_light && levels_absorb(simulation.zonnecel.cell),
         "optical capture (a given G(x) has no photons for levels)"},
        {actions.pause, "pause at each step"},
    };
    for (const auto& other : others)
        if (other.asked) found.left_out.emplace_back(other.name);
    return found;
}

}  // namespace kovin
