// Loading files into a session: each command takes its file whole, or reports why not and changes nothing.
#pragma once

#include "app/session.h"

#include <filesystem>
#include <string>

namespace kovin {

/// Full path of a file that the user named: as it stands if it is there, otherwise in the folder of its kind.
[[nodiscard]] std::filesystem::path find_input(const Session& session, const std::string& name, FileKind kind);

/// A problem: the cell, its numerical settings and the parts of the working point that belong to it (side of the
/// light, front reflection, series and shunt resistance).
[[nodiscard]] bool load_definition(Session& session, const std::string& name);

/// Working points and measurements.
[[nodiscard]] bool load_action_list(Session& session, const std::string& name);

[[nodiscard]] bool load_second_work_point(Session& session, const std::string& name);

/// The spectrum of the working point, in place of a given G(x). @return false if there is no such file (reported)
[[nodiscard]] bool set_spectrum(Session& session, const std::string& name);

/// G(x) of the working point, in place of a spectrum. @return false if there is no such file (reported)
[[nodiscard]] bool set_generation(Session& session, const std::string& name);

}  // namespace kovin
