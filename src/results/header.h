// The lines that every result file begins with: program, problem, light, working point, sign conventions.
#pragma once

#include "results/result_list.h"

#include <string>

namespace kovin {

/// Kind of a result file; the numbers are those of the first title line.
enum class OutputKind : int {
    energy_bands = 0,
    generation = 1,
    small_signal = 2,
    iv = 3,
    cv = 4,
    cf = 5,
    qe = 6,
    occupation = 7,
    admittance = 10,
    grading = 11
};

/// The header of one block. @param version  text of the first line
/// @param fromCurrent  the block shows the present working point instead of a run of the result list
/// @param analysis  line on the settings of an analysis, behind the title; empty: none
[[nodiscard]] std::string WriteOutputHeader(const std::string& version, const RunRecord& run, OutputKind kind,
                                            bool fromCurrent = false, const std::string& analysis = {});

/// Start of a calculation as the headers print it: month, day, year.
[[nodiscard]] std::string start_text(const DateTime& t);

}  // namespace kovin
