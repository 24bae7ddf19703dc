// The tree of folders under the program's home, and how a bare file name becomes a path.
#pragma once

#include "base/file_kinds.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace kovin {

struct Folders {
    std::filesystem::path root;     ///< KOVIN_DIRECTORY: holds def, absorption, ... results
    std::filesystem::path results;  ///< where result files go; root/"results" unless set otherwise

    /// The folder of a kind; unknown and result kinds give `results`.
    [[nodiscard]] std::filesystem::path of(FileKind kind) const;
};

/// The names of the fourteen folders under the root, in the order of the user guide.
inline constexpr std::string_view folder_names[] = {"def",     "absorption", "generation", "script",  "filter",
                                                    "grading", "materials",  "occupation", "optcapt", "measurements",
                                                    "scaling", "spectrum",   "bdf",        "results"};

/// File name without folder, in native or foreign spelling ("C:\\x\\a.abs", "x/a.abs"), trailing blanks removed.
[[nodiscard]] std::string file_part(std::string_view name);

/// Full path of `given`: a bare name goes to the folder of its kind, anything with a folder stands as it is. A name
/// that is not on the disk is looked for, by its file part and then without regard to case, in the kind's folder; the
/// first plain join is returned when nothing is found. Backslashes become "/", trailing blanks go.
[[nodiscard]] std::filesystem::path CheckKOVINPaths(const Folders& folders, std::string_view given, FileKind kind);

/// Makes root and its fourteen folders where they are missing. @return false if one could not be made
[[nodiscard]] bool make_folders(const Folders& folders);

}  // namespace kovin
