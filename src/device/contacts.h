// Contacts against the layer they touch: flat-band work function, barriers, majority type.
#pragma once

#include "base/report.h"
#include "device/cell.h"
#include "device/numerical_settings.h"

namespace kovin {

/// Which of the three linked figures of a fixed contact the user gave.
enum class ContactEntry : int { work_function = 0x10, excess_barrier = 0x16, barrier = 0x19 };

/// Flat-band work function, barriers and majority type of a contact, in place. A flat-band contact gets its work
/// function, a fixed one its barriers. A layer without a net type changes nothing.
/// @param side   -1 left: the left values of `layer` count; +1 right
/// @param layer  in SI units
/// @param T      [K]
/// @return whether the layer has a net type there; flat bands have no meaning without
bool CheckContactsWithActualLayerParameters(int side, ContactParameters& contact, const LayerParameters& layer,
                                            double T, const ConvergenceParameters& settings,
                                            ContactEntry which = ContactEntry::work_function);

/// Both contacts of a cell in SI units.
void check_contacts(SiCell& cell, double T, const ConvergenceParameters& settings);

/// The same, and says so where a flat-band contact touches a layer without a net type, at which its work function stays
/// what it was.
void check_contacts(Report& report, SiCell& cell, double T, const ConvergenceParameters& settings);

/// What is told of such a contact.
[[nodiscard]] std::string no_flat_bands(const ContactParameters& contact);

}  // namespace kovin
