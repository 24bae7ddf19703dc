// Tables of the materials as a calculation used them: what is graded, point by point, and absorption by wavelength.
#pragma once

#include "base/report.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"
#include "results/result_list.h"

#include <string>

namespace kovin {

/// Composition and material at every mesh point, as the profiles give them: without the factors of temperature.
/// @param version  first line of the header
[[nodiscard]] std::string grading_table(const std::string& version, const RunRecord& run,
                                        const CalculationParameters& set3, const Mesh& mesh);

/// Absorption [1/cm] at the wavelengths of the spectrum, a column a layer, at the leftmost point of each. Of a cell
/// with one layer it reads back as an absorption file.
/// @param mesh,gp  of the same calculation
/// @return empty where no spectrum was absorbed: nothing calculated yet, dark, or a given G(x) (reported)
[[nodiscard]] std::string BewaarAlfa(Report& report, const RunRecord& run, const CalculationParameters& set3,
                                     const Mesh& mesh, const GenerationParameters& gp);

}  // namespace kovin
