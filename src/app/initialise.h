// A fresh session: defaults of every record, the version banner.
#pragma once

#include "app/session.h"

#include <filesystem>

namespace kovin {

/// First line of definition and result files.
///
/// The name of the program, its path, and the date of its file.
/// @param program  path as it was called
[[nodiscard]] std::string version_banner(const std::filesystem::path& program, const DateTime& date);

/// Brings a session to its start: folders under `home`, default problem, default panel.
/// @param program  path of the program, for the banner
void Initialise(Session& session, const std::filesystem::path& home, const std::filesystem::path& program);

}  // namespace kovin
