// The profiles of a layer, one after the other, for whatever has to be done to all of them.
#pragma once

#include "base/text_format.h"
#include "device/cell.h"
#include "device/quantities.h"

#include <string>

namespace kovin {

/// Calls visit(profile, name) for the composition, each quantity of the material, and the density of each defect level
/// and metastable pair in use. @param layer  LayerParameters, const or not
template <class Layer, class Visit>
void for_each_profile(Layer& layer, Visit visit)
{
    visit(layer.composition, std::string("composition"));
    for (const QuantityRow& row : graded_quantities()) visit(layer.material.*row.member, std::string(row.word));
    for (std::size_t d = 0; d < static_cast<std::size_t>(layer.srhteller) && d < layer.srh.size(); ++d) {
        const auto levels = static_cast<std::size_t>(layer.srh[d][0].levels);
        for (std::size_t i = 0; i < levels && i < layer.srh[d].size(); ++i)
            visit(layer.srh[d][i].Nt, "Nt of defect " + integer(static_cast<long>(d) + 1));
    }
    for (auto& pair : layer.metastable)
        if (pair.present) visit(pair.Nt, "Nt of metastable transition " + integer(pair.number + 1));
}

/// "Layer 2 (CdS): Eg", for messages. @param j  layer, from 0
inline std::string place_of_profile(std::size_t j, const LayerParameters& layer, const std::string& name)
{
    return "Layer " + integer(static_cast<long>(j) + 1) + " (" + layer.name + "): " + name;
}

}  // namespace kovin
