// Are the files there that a problem needs?
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"
#include "device/work_point.h"

namespace kovin {

/// A name that leads to a file, in the folder of its kind or elsewhere; an empty name does not.
[[nodiscard]] bool IsFileFound(const Surroundings& surroundings, std::string_view name, FileKind kind);

/// Looks for every file that the problem needs: light, filters, grading, absorption, optical capture. The second
/// working point counts if the cell has a metastable pair.
/// @return true if none is missing; each missing one is reported by what it is for and by name
[[nodiscard]] bool CanAllFilesBeFound(Surroundings& surroundings, const CellParameters& cell, const ActionPanel& panel);

}  // namespace kovin
