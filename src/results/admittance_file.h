// Files of admittance spectra (.as).
#pragma once

#include "results/curve_files.h"
#include "results/result_list.h"

#include <span>
#include <string>

namespace kovin {

/// Text of an .as file: one block (header, the settings of the analysis, columns) for every element that holds an
/// analysed C-f curve. Empty when there is none. The headings are Latin-1.
[[nodiscard]] std::string AS_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

}  // namespace kovin
