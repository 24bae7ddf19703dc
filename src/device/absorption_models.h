// Absorption coefficient of a pure material: from models and from files.
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"

#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

namespace kovin {

/// Absorption files hold 1/cm unless their heading names 1/m; the program computes with 1/m.
inline constexpr double per_cm_to_per_m = 100.0;

/// Factor from the numbers of an absorption file to 1/m: the last heading line that names "1/cm" or "1/m" decides, also
/// as "/m", "m^-1", "m**-1" or "(m-1)", in capitals, and with blanks; "1/cm" counts where a line names both. Without
/// one the file is in 1/cm.
[[nodiscard]] double absorption_unit(const std::vector<std::string>& heading);

/// The largest value of a table [1/m] lies where no material has it: a factor of 100 is the commonest mistake of all.
[[nodiscard]] bool absorption_looks_like_another_unit(double largest);

/// alpha [1/cm] of one model at wavelength lambda [nm], with hv the photon energy, Eg the gap and p the values:
///
///     61   p1
///     62   p1 above the gap, p1/2 at the gap, 0 below
///     63   (p1 + p2 Eg/hv) sqrt(hv/Eg - 1)
///     64, 65   (p1 + p2 E1/hv) (hv/E1 - 1)^p4,  E1 = p3, or -p3 Eg where p3 is negative
///
/// and 0 below the edge. The tail 66 has no value of its own: see SubbandgapTail.
/// Source: 63 is the law of direct allowed transitions (Pankove, Optical Processes in Semiconductors); 64 and 65 take
/// any exponent, as 2 for indirect transitions. The other laws are definitions.
[[nodiscard]] double AbsorptionContributionOfModel(const Model& model, double lambda);

/// Edge of the models 62 to 65 [eV], the gap or that of a power law; 0 for the others.
[[nodiscard]] double absorption_edge(const Model& model);

/// The tail 66 below a material's edge, alpha(E) exp((hv - E)/E0), from the energy E down.
struct SubbandgapTail {
    double E = 0.0;      ///< where it joins [eV]; 0: there is no tail
    double alpha = 0.0;  ///< absorption there [1/cm]
    double E0 = 1.0;     ///< decay energy [eV]
};
/// AddSubbandgapAbsorption: finds where the tail joins the sum of the models that are on, background apart: at the
/// lowest energy above the first edge where d(ln alpha)/dE is no longer above 1/E0, so that it joins tangentially.
/// @return no tail if model 66 is off, if no model with an edge is on, or if the sum is steeper than the tail all the
///         way up to three times its edge (1.5 times a second edge above that)
/// Source: Urbach, Phys. Rev. 92 (1953) 1324.
[[nodiscard]] SubbandgapTail find_subbandgap_tail(const AbsorptionModelSet& set);

/// Sum of the models that are on, or the tail where that begins, and the background on top [1/cm]. Not negative, and
/// at most 1e12, beyond which light goes no further than an atom.
/// @param tail  of this set
[[nodiscard]] double CalculateAbsorptionFromModel(const AbsorptionModelSet& set, const SubbandgapTail& tail,
                                                  double lambda);

/// A and B of alpha = (A + B/hv) sqrt(hv - Eg) [per m], for readers that know no other law.
void ExtractBestAandBFromAbsorptionModel(const AbsorptionModelSet& set, double& A, double& B);

/// Absorption of one pure material as a table: wavelengths [nm] rising, alpha [1/m].
struct AbsorptionTable {
    std::vector<double> lambda, alpha;
};
/// Absorption files, each read once however many materials name it.
class AbsorptionFiles {
public:
    /// alpha in 1/cm, or in 1/m if a heading line names "1/m"; values that look like the wrong unit are told.
    /// @return null if there is nothing usable (reported); the table lives as long as this
    [[nodiscard]] const AbsorptionTable* read(Surroundings& surroundings, std::string_view name);

private:
    std::map<std::filesystem::path, AbsorptionTable> tables_;
};

/// Absorption of one pure material, ready to be evaluated: its table if it comes from a file, else its models.
struct MaterialAbsorption {
    bool from_file = false;
    AbsorptionTable table;
    AbsorptionModelSet models;
    SubbandgapTail tail;  ///< of the models
};
/// Takes material A or B of a layer, with its file. @return false if the file could not be read (reported)
/// @param Eg  its gap [eV]: where its models have their edges
[[nodiscard]] bool load_absorption(Surroundings& surroundings, AbsorptionFiles& files, const Absorption& absorption,
                                   bool material_B, double Eg, MaterialAbsorption& material);

/// alpha [1/m] at wavelength lambda [nm]; tables are interpolated logarithmically.
[[nodiscard]] double alpha_at(const MaterialAbsorption& material, double lambda);

}  // namespace kovin
