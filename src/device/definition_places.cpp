#include "device/definition_places.h"

#include "base/constants.h"
#include "base/text_format.h"
#include "base/text_scan.h"

#include <algorithm>
#include <iterator>

namespace kovin {

int pair_index(std::string_view text)
{
    const NumberScan number = next_number(text);
    const bool in_range = number.found && number.value >= 0.0 && number.value < max_metastable;
    return in_range ? static_cast<int>(number.value) : 0;
}

DefinitionPlaces::DefinitionPlaces(const std::vector<LineWatch::Known>& known)
{
    constexpr std::string_view second = "Secondworkpoint";
    int layer = 0, defect = 0;
    std::string part, section;
    const auto open = [&](const std::string& name) {
        section = name;
        defect = 0;
    };
    for (const auto& [line, key, rest] : known) {
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
            section = part + integer(++defect);
        } else if (key == "Metastable properties") {
            open("layer " + integer(layer) + "/metastable " + integer(pair_index(rest) + 1));
            line_of_.emplace(section + '/' + key, line);
        } else if (key == "interface properties" || key == "working point") {
            open(key);
        } else {
            const std::string where = key.starts_with(second) ? std::string(second) : section;
            line_of_.emplace(where + '/' + key, line);
            place_of_.emplace(line, Place{where, key});
        }
    }
}

bool DefinitionPlaces::opens_section(std::string_view keyword)
{
    constexpr std::string_view words[] = {"convergence",
                                          "back contact",
                                          "left contact",
                                          "layer",
                                          "srhrecombination",
                                          "next",
                                          "front contact",
                                          "Metastable properties",
                                          "interface properties",
                                          "right contact",
                                          "interface recombination",
                                          "working point"};
    return std::find(std::begin(words), std::end(words), keyword) != std::end(words);
}

int DefinitionPlaces::line(const std::string& section, const std::string& keyword) const
{
    const auto found = line_of_.find(section + '/' + keyword);
    return found == line_of_.end() ? 0 : found->second;
}

DefinitionPlaces::Place DefinitionPlaces::place(int line) const
{
    const auto found = place_of_.find(line);
    return found == place_of_.end() ? Place{} : found->second;
}

}  // namespace kovin
