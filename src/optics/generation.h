// The generation rate on the mesh: given by the user, or taken out for display.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "device/work_point.h"
#include "optics/generation_parameters.h"

#include <vector>

namespace kovin {

/// G(x) of the work point's generation file on the mesh: linear between its rows, 0 outside them and in the dark.
/// @return false when there is nothing to read (reported); parametric profiles are not computed yet (reported)
[[nodiscard]] bool CalculateGenerationFromFileOrFromModel(Surroundings& surroundings, const WorkPoint& wp,
                                                          const CalculationParameters& set3, const Mesh& mesh,
                                                          GenerationParameters& gp);

/// Generation current of the generation file itself, without attenuation [mA/cm2], by the trapezoid rule; also stored
/// in wp.idealCurrent. @return false when there is nothing to read (reported)
[[nodiscard]] bool CalculateIdealCurrentFromGenerationFileOrModel(Surroundings& surroundings, WorkPoint& wp);

/// G [1/(m3 s)] at the mesh points, and the generation current gp.total_mA_cm2: the sum over half intervals.
void ExtractGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                       std::vector<double>& G);

/// The current alone, without the profile.
void update_generation_current(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp);

}  // namespace kovin
