#include "sweeps/supported.h"

#include "base/text_format.h"

namespace kovin {

namespace {

using Names = std::vector<std::string>;

std::string layer_name(std::size_t j, const LayerParameters& layer)
{
    return "layer " + integer(static_cast<long>(j) + 1) + " (" + layer.name + "): ";
}

void check_defect(const BulkRecombinationParameters& level, const std::string& where, Names& names)
{
    if (level.levels > 1 || level.defectType > DefectType::donor)
        names.push_back(where + "defect with several levels (" +
                        std::string(defect_type_words[static_cast<std::size_t>(level.defectType)]) + ")");
    if (level.electrons.present || level.holes.present) names.push_back(where + "optical capture");
    if (level.metastable_transition >= 0) names.push_back(where + "metastable defect");
}

void check_layer(std::size_t j, const LayerParameters& layer, bool tunneling_allowed, Names& names)
{
    const std::string where = layer_name(j, layer);
    if (tunneling_allowed && layer.material.tunneling) names.push_back(where + "tunnelling");
    for (std::size_t d = 0; d < static_cast<std::size_t>(layer.srhteller) && d < layer.srh.size(); ++d) {
        const std::string defect = where + "defect " + integer(static_cast<long>(d) + 1) + ": ";
        check_defect(layer.srh[d][0], defect, names);
    }
    for (const MetaStableDefectParameters& pair : layer.metastable)
        if (pair.present) names.push_back(where + "metastable transition " + integer(pair.number + 1));
}

/// Tunnel paths that the settings open: all of them, none, or those marked one by one.
struct OpenPaths {
    bool intraband, band_to_band, contact;
};
OpenPaths open_paths(const ConvergenceParameters& settings)
{
    if (settings.tunnel_paths == 1) return {false, false, false};
    const bool all = settings.tunnel_paths == 0;
    return {all || settings.Tunnelintraband_allowed != 0, all || settings.TunnelBtoB_allowed != 0,
            all || settings.Tunnelcontact_allowed != 0};
}

void check_cell(const CellParameters& cell, const ConvergenceParameters& settings, Names& names)
{
    const auto layers = static_cast<std::size_t>(cell.layers);
    const OpenPaths open = open_paths(settings);
    if (settings.tunnel_paths == 0) names.emplace_back("tunnelling through all layers, interfaces and contacts");
    for (std::size_t j = 0; j < layers; ++j) check_layer(j, cell.layer[j], open.intraband || open.band_to_band, names);
    for (std::size_t i = 0; i + 1 < layers; ++i) {
        const InterfaceParameters& interface = cell.interfaces[i];
        const std::string where = "interface " + integer(static_cast<long>(i) + 1) + " (" + interface.name + "): ";
        if (interface.defect_count > 0) names.push_back(where + "recombination at interface states");
        if (interface.tunneling && open.intraband) names.push_back(where + "intraband tunnelling");
    }
    if (open.contact) {
        if (cell.left.tunneling) names.push_back("left contact: tunnelling");
        if (cell.right.tunneling) names.push_back("right contact: tunnelling");
    }
}

}  // namespace

UnsupportedPhysics unsupported_physics(const Simulation& simulation)
{
    const ConvergenceParameters& settings = simulation.problem.input.convergence;
    const ActionList& actions = simulation.panel.actions;
    UnsupportedPhysics found;
    check_cell(simulation.zonnecel.cell, settings, found.falsifies);

    const struct {
        bool asked;
        const char* name;
    } others[] = {
        {actions.CV_calculate, "measurement C-V"}, {actions.MIS_CV_calculate, "measurement C-V of an MIS structure"},
        {actions.Cf_calculate, "measurement C-f"}, {actions.QE_calculate, "measurement of the quantum efficiency"},
        {actions.pause, "pause at each step"},
    };
    for (const auto& other : others)
        if (other.asked) found.left_out.emplace_back(other.name);
    if (settings.coupling_scheme != 11)
        found.left_out.push_back("coupling scheme " + integer(settings.coupling_scheme) + " (scheme 11 is used)");
    if (settings.backtracking != 0) found.left_out.emplace_back("backtracking of the iteration");
    return found;
}

}  // namespace kovin
