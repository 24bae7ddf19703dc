// Are the files there that a problem needs, and what takes their place where they are not?
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"
#include "device/work_point.h"

#include <functional>
#include <string>
#include <vector>

namespace kovin {

/// A name that leads to a file with something in it, in the folder of its kind or elsewhere; an empty name does not.
[[nodiscard]] bool IsFileFound(const Surroundings& surroundings, std::string_view name, FileKind kind);

/// A file that a problem needs.
struct NeededFile {
    FileKind kind = FileKind::unknown;
    std::string what;    ///< "Generation file", "Layer CdS: absorption file (pure A)"
    std::string name;    ///< as the problem has it; may be empty
    std::string remedy;  ///< what the user may do instead: "Set to standard AM1.5G spectrum"
    std::string repair;  ///< what an automatic repair tells: "standard KOVIN AM1.5G 1 sun spectrum set"
    /// Where a definition file or action list names it: a section of DefinitionPlaces and a part of the keyword.
    std::string section, keyword;
};

/// Called with a needed file, and with what changes the problem so that it does without it.
using NeededFileVisitor = std::function<void(const NeededFile&, const std::function<void()>& do_without)>;

/// The files of a working point's light. @param which  " (initial wp)" for the second working point
void for_each_light_file(WorkPoint& point, const std::string& which, const NeededFileVisitor& each);

/// Calls `each` for every file that the problem needs, in the order: light of the working point, of the second one if
/// the cell has a metastable pair, filters, and layer by layer grading, absorption, defects. Filters and absorption
/// count only under a spectrum or the probe of a quantum efficiency, which asks for the spectrum in the dark as well.
/// What is looked at after a change is the changed problem.
void for_each_needed_file(CellParameters& cell, ActionPanel& panel, const NeededFileVisitor& each);

/// Every file that the problem needs and that is not there.
[[nodiscard]] std::vector<NeededFile> missing_files(const Surroundings& surroundings, CellParameters cell,
                                                    ActionPanel panel);

/// What is done about missing files.
enum class MissingFiles {
    tell,   ///< report each one with its remedy and leave the problem as it is
    repair  ///< replace each one by what needs no file, and report that
};

/// Looks for every file that the problem needs. Where ErrorMessageMode is not 0 nobody is there to be asked, and the
/// missing ones are repaired.
/// @param cell  in the user's units
/// @return true if none is missing, or each missing one has been repaired
[[nodiscard]] bool CanAllFilesBeFound(Surroundings& surroundings, CellParameters& cell, ActionPanel& panel,
                                      MissingFiles mode = MissingFiles::tell);

}  // namespace kovin
