// Action list files (.act) and files of the second working point (.wp2), in the user's sign and units.
//
// Keyed lines as in definition files; unknown ones are passed over, a missing one leaves its setting as it is. Texts
// as files hold them: ohm cm2 and S/cm2 for series and shunt resistance, which the record has in ohm m2 and S/m2.
#pragma once

#include "base/surroundings.h"
#include "device/keyed_source.h"
#include "device/work_point.h"

#include <filesystem>
#include <string>

namespace kovin {

/// Settings from an action list. Whether the files that it names are there is CanAllFilesBeFound's matter.
/// @return false if the file cannot be read, or a value is no number or out of range (reported with file, line and
///         keyword); the panel is then as it was
[[nodiscard]] bool SetActionPanelFromFile(Surroundings& surroundings, const std::filesystem::path& file,
                                          ActionPanel& panel);
[[nodiscard]] bool parse_action_list(Surroundings& surroundings, std::string text, const std::string& name,
                                     ActionPanel& panel);

/// Reads a list for its faults: each goes to `watch` with its line. @return the panel, as far as it is good
[[nodiscard]] ActionPanel watch_action_list(Surroundings& surroundings, std::string text, const std::string& name,
                                            LineWatch& watch);

/// The second working point from a file of its own; other lines of the file are passed over.
[[nodiscard]] bool SetWP2FromFile(Surroundings& surroundings, const std::filesystem::path& file, ActionPanel& panel);

/// The lines of an action list, without a block of remarks.
[[nodiscard]] std::string action_panel_text(const ActionPanel& panel);
/// The lines of a file of the second working point.
[[nodiscard]] std::string second_work_point_text(const ActionPanel& panel);

}  // namespace kovin
