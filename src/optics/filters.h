// The optical filters of the two contacts at the wavelengths of a spectrum.
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// Transmission of the contact on the light side and reflection of the other, as fractions (1 and 0 without filter).
/// @return false when a filter file cannot be used (reported); the previous values remain
[[nodiscard]] bool BerekenFilterSpectra(Surroundings& surroundings, const CellParameters& cell,
                                        GenerationParameters& gp);

}  // namespace kovin
