// The result of a run for people and for programs.
#pragma once

#include "results/result_list.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kovin {

struct Summary {
    std::string problem;
    bool converged = false;
    bool verbose = false;                     ///< the table tells the uncertainty of the current as well
    const DataListElement* curves = nullptr;  ///< of the run, if it got so far; those without a point are passed over
    std::vector<std::pair<std::string, std::filesystem::path>> files;  ///< kind ("iv") and path, as written
    std::vector<std::string> messages;
};

/// A small table: Voc, Jsc, FF, efficiency, the largest QE and what it collects, and where the files are.
[[nodiscard]] std::string summary_table(const Summary& summary);

/// One JSON object in UTF-8 on one line: V, mA/cm2, percent; null for a figure that could not be determined.
[[nodiscard]] std::string summary_json(const Summary& summary);

}  // namespace kovin
