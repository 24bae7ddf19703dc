// What is wrong with a two-column file: lines that are no rows, order, values outside physical sense.
#pragma once

#include "base/file_kinds.h"
#include "device/keyed_source.h"

#include <string>

namespace kovin {

/// Adds what is found in the text of a two-column file of `kind` to the findings of `watch`.
/// @return rows that would be read; 0: the file is of no use
int check_columns(const std::string& text, FileKind kind, LineWatch& watch);

}  // namespace kovin
