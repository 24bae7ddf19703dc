// What is wrong with a two-column file: lines that are no rows, order, values outside physical sense.
#pragma once

#include "base/file_kinds.h"
#include "device/keyed_source.h"

#include <string>
#include <string_view>

namespace kovin {

/// No value of a filter file is above 1 [%], and not all are 0: most likely they were meant as fractions.
[[nodiscard]] bool filter_looks_like_fractions(double largest);
/// What a message says of such a file.
inline constexpr std::string_view filter_of_fractions = "no value is above 1: percent is meant, not a fraction";

/// Adds what is found in the text of a two-column file of `kind` to the findings of `watch`.
/// @return rows that would be read; 0: the file is of no use
int check_columns(const std::string& text, FileKind kind, LineWatch& watch);

}  // namespace kovin
