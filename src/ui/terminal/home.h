// Where the folders with cells, spectra and results are.
#pragma once

#include <filesystem>
#include <string>

namespace kovin {

/// Path of the running program.
[[nodiscard]] std::filesystem::path program_path(const char* argv0);

/// The home folder: the program's own folder if it holds the tree, otherwise the user's data folder.
[[nodiscard]] std::filesystem::path default_home(const std::filesystem::path& program);

/// Are there cells and spectra in this folder's tree?
[[nodiscard]] bool holds_shipped_files(const std::filesystem::path& folder);

/// Makes `folder` a home: the whole tree, and in it the files of `shipped` that are not there yet.
/// @return false if something could not be made or copied; `told` then names it
[[nodiscard]] bool make_home(const std::filesystem::path& folder, const std::filesystem::path& shipped,
                             std::string& told);

}  // namespace kovin
