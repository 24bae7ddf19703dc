// The generation rate on the mesh: given by the user, or taken out for display.
#pragma once

#include "base/surroundings.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "device/work_point.h"
#include "optics/generation_parameters.h"

#include <vector>

namespace kovin {

/// Takes the work point's given profile, from its file or its model, into gp.given; nothing in the dark.
/// @param set3  gives the thickness and the reach of tails to a model
/// @return false when there is nothing to read, or more light than can be computed with (reported)
[[nodiscard]] bool read_given_generation(Surroundings& surroundings, const WorkPoint& wp,
                                         const CalculationParameters& set3, GenerationParameters& gp);

/// The given profile on the mesh: linear between its rows, times the attenuation; 0 outside them and in the dark.
/// @pre read_given_generation has succeeded
void CalculateGenerationFromFileOrFromModel(const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                                            GenerationParameters& gp);

/// Generation current of the given profile itself, without attenuation [mA/cm2], by the trapezoid rule.
[[nodiscard]] double CalculateIdealCurrentFromGenerationFileOrModel(const GivenGeneration& given);

/// The light of a work point on a mesh: nothing in the dark, the given profile, or what the spectrum leaves; and its
/// current. In the fast route a point generates what there is in its box, in the classic one G is its value there. Says
/// nothing and reads no file, so that it can follow the mesh.
/// @pre what the work point asks for has been read: given profile, or spectrum, filters, incoming fluxes, absorption
/// @param lit  mesh that gp.generation stands on already, under the same light: what both meshes share is kept
void update_generation(const WorkPoint& wp, const CalculationParameters& set3, const Mesh& mesh,
                       GenerationParameters& gp, const Mesh* lit = nullptr);

/// Is G what the boxes of the points absorb? In the fast route, and wherever levels absorb light.
[[nodiscard]] bool generation_in_boxes(const CalculationParameters& set3, const GenerationParameters& gp);

/// The light after the states of its levels (gp.capture) have been filled anew, on the mesh that it stands on: G and
/// the rates of the levels. The total current is left alone.
void generation_follows_levels(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp);

/// G of `flux` photons [1/(m2 s)] that enter at wavelength k of gp alone, into gp.generation: in boxes or at points as
/// update_generation has it. gp.in_box and gp.incomingFlux_us are used on the way; the total is left alone.
/// @pre filters and absorption (bepaal_alfa) are filled for this mesh
void generation_of_wavelength(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                              std::size_t k, double flux);

/// G [1/(m3 s)] at the mesh points, and the generation current gp.total_mA_cm2: in the fast route that of the
/// equations' boxes, in the classic one the sum over half intervals.
void ExtractGeneration(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp,
                       std::vector<double>& G);

/// The current alone, without the profile.
void update_generation_current(const CalculationParameters& set3, const Mesh& mesh, GenerationParameters& gp);

}  // namespace kovin
