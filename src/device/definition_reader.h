// Reading a definition file: one whole problem from a text of keyed lines.
//
// Every line is known by its opening keyword, so that most lines may be missing and unknown ones are passed over:
// this is how files of other versions load. A file is taken whole or not at all: a value that is no number, or that
// no cell can have, refuses it with a message that names file, line, keyword and value.
//
// Names of other files stay as they stand in the file, with "/" as separator; they become paths where they are used.
#pragma once

#include "base/surroundings.h"
#include "device/definition.h"
#include "device/keyed_source.h"

#include <filesystem>
#include <string>

namespace kovin {

/// Reads a problem from `file`.
/// @return false if it cannot be opened or is refused (reported); `definition` is then as it was
[[nodiscard]] bool lees_structuurfile(Surroundings& surroundings, const std::filesystem::path& file,
                                      Definition& definition);

/// The same from a text; `name` is for the messages and becomes the path of the problem.
[[nodiscard]] bool parse_definition(Surroundings& surroundings, std::string text, const std::filesystem::path& name,
                                    Definition& definition);

/// Reads a text for its faults: each goes to `watch` with its line, and the reading goes on where it can.
/// @return the problem as far as it could be read; not fit for a calculation
[[nodiscard]] Definition watch_definition(Surroundings& surroundings, std::string text,
                                          const std::filesystem::path& name, LineWatch& watch);

}  // namespace kovin
