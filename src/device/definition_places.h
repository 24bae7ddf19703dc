// Which line of a file says what, from the keywords that a watch took down.
#pragma once

#include "device/keyed_source.h"

#include <map>
#include <string>

namespace kovin {

/// Which of the metastable pairs of a layer, from 0, a line "Metastable properties: transition 1" opens, from what
/// stands behind the keyword: the first, unless it is the number of another.
[[nodiscard]] int pair_index(std::string_view text);

/// Lines of a definition file or action list by section and keyword.
///
/// Sections are "left", "right", "layer 2", "layer 2/defect 1", "interface 1/defect 1", "layer 2/metastable 1",
/// "interface properties", "working point", "Secondworkpoint" for the lines of a second working point, and "".
class DefinitionPlaces {
public:
    explicit DefinitionPlaces(const std::vector<LineWatch::Known>& known);

    /// Does a line with this keyword begin a section, or the next record of one?
    [[nodiscard]] static bool opens_section(std::string_view keyword);

    struct Place {
        std::string section, keyword;
    };
    /// Line of a keyword; 0 if the file does not have it.
    [[nodiscard]] int line(const std::string& section, const std::string& keyword) const;
    /// Place of a line; empty if nothing was read from it.
    [[nodiscard]] Place place(int line) const;

private:
    std::map<std::string, int> line_of_;  ///< "section/keyword" to its first line
    std::map<int, Place> place_of_;
};

}  // namespace kovin
