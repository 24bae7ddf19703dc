// What the lines of a keyed file tell by themselves: keys that are given twice, units that are not those of their key.
#pragma once

#include "device/keyed_source.h"

namespace kovin {

/// Adds to the findings each key that stands already in its section. Several models, levels and parameters of one key
/// are no repetition, nor is the line on coefficients that older versions want beside the source of the absorption.
void check_repeats(LineWatch& watch);

/// Adds to the findings a front reflection and a front transmission that are not one minus the other.
void check_reflection(LineWatch& watch);

/// Adds to the findings each unit, in brackets or behind the value, that is known and not that of its key. Values are
/// taken in the key's unit whatever is written.
void check_units(LineWatch& watch);

}  // namespace kovin
