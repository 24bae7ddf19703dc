#include "device/insulator_place.h"

#include <algorithm>

namespace kovin {

std::optional<InsulatorPlace> place_of_insulator(std::span<const LayerParameters> layers)
{
    if (layers.size() < 2) return std::nullopt;
    const auto insulates = [](const LayerParameters& layer) { return is_electrical_interlayer(layer.functional_type); };
    const auto begin = std::find_if(layers.begin(), layers.end(), insulates);
    const auto end = std::find_if_not(begin, layers.end(), insulates);
    if (begin == layers.end() || std::any_of(end, layers.end(), insulates)) return std::nullopt;
    InsulatorPlace place{.first = static_cast<std::size_t>(begin - layers.begin()),
                         .last = static_cast<std::size_t>(end - layers.begin()) - 1};
    // Between the insulator at the left contact and the rest, otherwise in front of the insulator; a cell of insulators
    // alone has its border behind the first.
    if (place.first > 0)
        place.interface = place.first - 1;
    else if (place.last + 1 < layers.size())
        place.interface = place.last;
    return place;
}

}  // namespace kovin
