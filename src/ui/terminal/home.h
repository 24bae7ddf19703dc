// Where the folders with cells, spectra and results are.
#pragma once

#include <filesystem>

namespace kovin {

/// Path of the running program.
[[nodiscard]] std::filesystem::path program_path(const char* argv0);

/// The home folder: the program's own folder if it holds the tree, otherwise the user's data folder.
[[nodiscard]] std::filesystem::path default_home(const std::filesystem::path& program);

}  // namespace kovin
