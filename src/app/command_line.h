// Files named on a command line: which name is which, and what is loaded in which order.
#pragma once

#include "app/session.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// The files of a command line, one slot a kind; empty: not named. A later name of the same kind replaces an earlier.
struct CommandLineFiles {
    std::string definition, action, wp2, settings, spectrum, generation, batch, record, script;
    std::vector<std::string> dropped;   ///< arguments that are no file of a known kind
    std::vector<std::string> replaced;  ///< files in whose place a later one of the same kind stands
};

/// Takes the first file name off the front of `line`. Names end at a known extension that a blank follows, so that
/// they may hold blanks themselves; the extension stays at the front of `line`.
/// @return 1 name and rest found, 0 only a name, -1 only a rest (no name), -2 nothing
int ExtractFirstFilename(std::string& line, std::string& name);

/// Takes the run of letters and digits at the front of `line`, and the blanks behind it.
/// @return 1 found, 0 the line begins with something else, -1 the line is empty
int ExtractExtensionname(std::string& line, std::string& extension);

/// Puts a file into the slot of its extension. @return false if there is none
bool AttributeFile(const std::string& name, std::string_view extension, CommandLineFiles& files);

/// Is every slot empty?
[[nodiscard]] bool names_nothing(const CommandLineFiles& files);

/// Sorts arguments into slots. Arguments that end in an unknown extension are set aside first, so that they do not
/// become part of the next name. At most 1300 characters are looked at; what lies beyond is set aside too.
[[nodiscard]] CommandLineFiles attribute_arguments(std::span<const std::string> arguments);

/// What came of loading.
struct LoadResult {
    bool definition_loaded = false, action_loaded = false;
    bool all_loaded = true;                  ///< every file that was named, of the kinds that are there
    std::vector<std::string> not_supported;  ///< files of kinds that are not there yet
};

/// Loads the files in their fixed order, whatever the order typed: definition, action list, second working point,
/// settings, spectrum, generation, batch, recorder, script. A file that does not load is reported and leaves its
/// subject as it was.
LoadResult load_files(Session& session, const CommandLineFiles& files);

}  // namespace kovin
