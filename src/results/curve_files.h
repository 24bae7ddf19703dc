// Files of measured curves: current-voltage, quantum efficiency.
#pragma once

#include "results/result_list.h"

#include <span>
#include <string>

namespace kovin {

/// What stands in place of the points that a cut curve did not come to: no row, zeros, or white space. The numbers are
/// those of the settings file.
enum class CutCurves { truncate = 0, zeros = 1, blanks = 2 };

/// Text of an .iv file: one block (header, columns, characteristics) for every element that holds an I-V curve.
/// Empty when there is none.
[[nodiscard]] std::string iv_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

/// The same for a .qe file: wavelength, QE and photon energy. A curve that a failure has cut says so.
[[nodiscard]] std::string qe_naar_file(const std::string& version, std::span<const DataListElement> results,
                                       CutCurves ActionListMode = CutCurves::truncate);

}  // namespace kovin
