// Files of the small-signal curves: capacitance-voltage (.cv), capacitance-frequency (.cf), admittance spectra (.as).
//
// Each holds one block, header and columns, for every element with such a curve, and is empty when there is none. The
// headings are Latin-1.
#pragma once

#include "results/curve_files.h"
#include "results/result_list.h"

#include <span>
#include <string>

namespace kovin {

/// What is told of a curve with gaps.
[[nodiscard]] std::string points_left_out(std::size_t done, std::size_t asked);

/// Text of a .cv file. A curve with gaps has no rows for them, in any mode. A curve with an apparent doping tells first
/// how the doping was found and, where that took the permittivity of the stack, has the position of the depletion edge
/// as last column.
[[nodiscard]] std::string cv_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

/// Text of a .cf file.
[[nodiscard]] std::string cf_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

/// Text of an .as file: the settings of the analysis stand in the header.
[[nodiscard]] std::string AS_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

}  // namespace kovin
