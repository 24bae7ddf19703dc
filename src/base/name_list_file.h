// Files that list files by name, one on a line behind "file:".
#pragma once

#include "base/surroundings.h"

#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// The names of a list: on every line with "file:" what stands behind the colon, without the blanks around it; other
/// lines, and those without a name, are passed over. Of a line 255 characters are read, of a file the first
/// MAX_NUMBER_OF_INPUT_POINTS names; what lies beyond them is told.
/// @param path  a bare name is looked for in the folder of its kind
/// @return number of names, or -1 if there is none (reported; `names` is then empty)
[[nodiscard]] int lees_char_file(Surroundings& surroundings, std::string_view path, std::vector<std::string>& names);

}  // namespace kovin
