// Writing a definition file, in the form that the reader takes and that people edit.
//
// Texts are bytes; numbers have the digits that the format gives them, so that a cell comes back from its file at
// that precision.
#pragma once

#include "base/clock.h"
#include "base/surroundings.h"
#include "device/definition.h"

#include <filesystem>
#include <string>

namespace kovin {

/// The sections of a file with all numerical settings, whatever their value, and without heading and remarks: the
/// form inside a file with all settings. The switches of tunnelling are not part of it.
[[nodiscard]] std::string SaveDefinitionFile(const Definition& definition);

/// A whole file as the save command writes it: heading, remarks, numerical settings that differ from the defaults.
/// @param version  the banner, first line of the heading
[[nodiscard]] std::string definition_text(const Definition& definition, const std::string& version,
                                          const DateTime& saved);

/// Saves `definition` to `file`, warns about other files that it names and that are not in the folder of their kind,
/// and takes over path and title. @return false if the file could not be written (reported)
[[nodiscard]] bool data_naar_file(Surroundings& surroundings, const std::filesystem::path& file,
                                  Definition& definition);

}  // namespace kovin
