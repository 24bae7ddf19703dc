// Contacts against the layer they touch: flat-band work function, barriers, majority type.
#pragma once

#include "device/cell.h"
#include "device/numerical_settings.h"

namespace kovin {

/// Which of the three linked figures of a fixed contact the user gave.
enum class ContactEntry : int { work_function = 0x10, excess_barrier = 0x16, barrier = 0x19 };

/// Flat-band work function, barriers and majority type of a contact, in place. A flat-band contact gets its work
/// function, a fixed one its barriers. An intrinsic layer changes nothing.
/// @param side   -1 left: the left values of `layer` count; +1 right
/// @param layer  in SI units
/// @param T      [K]
void CheckContactsWithActualLayerParameters(int side, ContactParameters& contact, const LayerParameters& layer,
                                            double T, const ConvergenceParameters& settings,
                                            ContactEntry which = ContactEntry::work_function);

/// Both contacts of a cell in SI units.
void check_contacts(SiCell& cell, double T, const ConvergenceParameters& settings);

}  // namespace kovin
