// Values of a problem that can be read and that no cell has.
//
// What one line can tell (a thickness of 0, a negative density) the reader finds; here stands what takes more than one
// line, or what a calculation would get through: permittivities below that of vacuum, levels and work functions
// outside the gap.
#pragma once

#include "device/definition.h"
#include "device/keyed_source.h"

namespace kovin {

/// Adds what is found to the findings of `watch`, at the lines that the watch knows. Graded layers are looked at all
/// along; what depends on a grading file that is not loaded is passed over.
/// @pre watch_definition filled both; ends of the profiles as recalculate_ends makes them
void check_physical_sense(const Definition& definition, LineWatch& watch);

}  // namespace kovin
