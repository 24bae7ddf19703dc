// Files of measured curves: current-voltage.
#pragma once

#include "results/result_list.h"

#include <span>
#include <string>

namespace kovin {

/// Text of an .iv file: one block (header, columns, characteristics) for every element that holds an I-V curve.
/// Empty when there is none.
[[nodiscard]] std::string iv_naar_file(const std::string& version, std::span<const DataListElement> results);

}  // namespace kovin
