// Photons that pass the contact on the light side.
#pragma once

#include "optics/generation_parameters.h"

namespace kovin {

/// Which intensity applies: that of the work point with its cut-off, the bare spectrum, or no light.
enum class FluxMode : int { work_point = 0, full = 1, none = 2 };

/// incomingFlux_us[k] = T[k] lambda[k] spectrum[k] factor I w[k], with the filter's transmission T, the intensity I and
/// the share w of the interval that lies within the cut-off.
/// @param factor  photons_per_nm_W
/// @pre spectrum and filters are filled
void CalculateIncomingFluxes(GenerationParameters& gp, double factor, FluxMode mode);

}  // namespace kovin
