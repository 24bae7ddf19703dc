// A file under the magnifying glass: read without a calculation, every fault with its line.
#pragma once

#include "app/session.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kovin {

struct Finding {
    std::filesystem::path file;
    int line = 0;  ///< from 1; 0: the file as a whole
    std::string text;
};

struct CheckResult {
    std::vector<Finding> findings;  ///< in the order of the lines
    /// False: it, or a file that it names, is missing, cannot be read, or holds nothing of its kind.
    bool readable = true;
};

/// Reads a file of a kind that a calculation starts from (.def, .act, .wp2, .spe, .abs, .ftr, .gen, .grad, .opt) and
/// the files that it names. Found are lines that are not known, values that are none or have no physical sense, and
/// names of files that are not there. Nothing is reported and the session stays as it is.
/// @param name  as for loading: bare names stand for the folder of their kind
[[nodiscard]] CheckResult check_file(const Session& session, const std::string& name);

/// "file:line: text", without the line where the whole file is meant.
[[nodiscard]] std::string finding_text(const Finding& finding);

}  // namespace kovin
