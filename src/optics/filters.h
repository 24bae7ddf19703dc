// The optical filters of the two contacts at the wavelengths of a spectrum.
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"
#include "optics/generation_parameters.h"

namespace kovin {

/// Reads the filter files of both contacts. @return false when one cannot be used (reported)
[[nodiscard]] bool read_filters(Surroundings& surroundings, const CellParameters& cell, ContactFilters& filters);

/// Sets the filter values at gp.lambda, for light from gp.side: as below. Values beyond 0 to 100 % are forced into it;
/// of each filter that is told once (if the interpolation warnings are on).
void filters_at_wavelengths(Surroundings& surroundings, ContactFilters& filters, GenerationParameters& gp);

/// Both in one. Transmission of the contact on the light side and reflection of the other, as fractions (1 and 0
/// without filter).
/// @return false when a filter file cannot be used (reported); the previous values remain
[[nodiscard]] bool BerekenFilterSpectra(Surroundings& surroundings, const CellParameters& cell,
                                        GenerationParameters& gp);

}  // namespace kovin
