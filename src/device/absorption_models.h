// Absorption coefficient of a pure material: from models and from files.
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"

#include <span>
#include <vector>

namespace kovin {

inline constexpr double per_cm_to_per_m = 100.0;

/// Factor from the numbers of an absorption file to 1/m: the last heading line that names "1/cm" or "1/m" decides;
/// without one the file is in 1/cm.
[[nodiscard]] double absorption_unit(const std::vector<std::string>& heading);

/// The largest value of a table [1/m] lies where no material has it: a factor of 100 is the commonest mistake of all.
[[nodiscard]] bool absorption_looks_like_another_unit(double largest);

/// Absorption models that are computed: background 61, step 62, square root 63, power laws 64 and 65; the tail 66 is
/// held only.
[[nodiscard]] bool absorption_model_is_computed(int number);

/// alpha [1/cm] of one model at wavelength lambda [nm]. @pre absorption_model_is_computed(model.number)
[[nodiscard]] double AbsorptionContributionOfModel(const Model& model, double lambda);

/// Sum of the models that are on [1/cm].
[[nodiscard]] double CalculateAbsorptionFromModel(const AbsorptionModelSet& set, double lambda);

/// A and B of alpha = (A + B/hv) sqrt(hv - Eg) [per m], for readers that know no other law.
void ExtractBestAandBFromAbsorptionModel(const AbsorptionModelSet& set, double& A, double& B);

/// Absorption of one pure material as a table: wavelengths [nm] rising, alpha [1/m].
struct AbsorptionTable {
    std::vector<double> lambda, alpha;
};
/// Reads an absorption file: alpha in 1/cm, or in 1/m if a heading line names "1/m"; warns about values that look like
/// the wrong unit. @return false if there is nothing usable (reported)
[[nodiscard]] bool read_absorption_file(Surroundings& surroundings, std::string_view name, AbsorptionTable& table);

/// Absorption of one pure material, ready to be evaluated: its table if it comes from a file, else its models.
struct MaterialAbsorption {
    bool from_file = false;
    AbsorptionTable table;
    AbsorptionModelSet models;
};
/// Takes material A or B of a layer, with its file. @return false if the file could not be read (reported)
[[nodiscard]] bool load_absorption(Surroundings& surroundings, const Absorption& absorption, bool material_B,
                                   MaterialAbsorption& material);

/// alpha [1/m] at wavelength lambda [nm]; tables are interpolated logarithmically.
[[nodiscard]] double alpha_at(const MaterialAbsorption& material, double lambda);

/// alpha [1/m] of a layer's pure material A or B at the wavelengths given.
/// @return false if the file could not be read (reported)
[[nodiscard]] bool DetermineLayerAlpha(Surroundings& surroundings, const Absorption& absorption, bool material_B,
                                       std::span<const double> lambda, std::span<double> alpha);

}  // namespace kovin
