#include "device/absorption_models.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/two_column_file.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

/// Does `text` name the unit, and not as the beginning of a longer one ("1/m" in "1/m2")?
bool names_unit(std::string_view text, std::string_view unit)
{
    for (std::size_t at = text.find(unit); at != std::string_view::npos; at = text.find(unit, at + 1)) {
        const std::size_t behind = at + unit.size();
        const char next = behind < text.size() ? text[behind] : ' ';
        const bool goes_on = (next >= 'a' && next <= 'z') || (next >= '0' && next <= '9') || next == '^';
        if (!goes_on) return true;
    }
    return false;
}

/// Edge of a power law: given in eV, or as a multiple of the gap by a negative number.
double power_law_edge(double given, double Eg) { return given < 0.0 ? -given * Eg : given; }

}  // namespace

double absorption_unit(const std::vector<std::string>& heading)
{
    double factor = per_cm_to_per_m;
    for (const std::string& line : heading) {
        if (names_unit(line, "1/cm"))
            factor = per_cm_to_per_m;
        else if (names_unit(line, "1/m"))
            factor = 1.0;
    }
    return factor;
}

bool absorption_looks_like_another_unit(double largest)
{
    return largest > 1e8 * per_cm_to_per_m || largest < 1e2 * per_cm_to_per_m;
}

bool absorption_model_is_computed(int number) { return number >= 61 && number <= 65; }

double AbsorptionContributionOfModel(const Model& model, double lambda)
{
    assert(absorption_model_is_computed(model.number));
    const auto& p = model.values;
    const double Eg = p[4];
    const double hv = hc_eV_nm / lambda;
    switch (model.number) {
        case 61:
            return p[0];
        case 62: {
            const double lambda_g = hc_eV_nm / Eg;
            if (lambda == lambda_g) return p[0] / 2;
            return lambda < lambda_g ? p[0] : 0.0;
        }
        case 63:
            return hv > Eg ? (p[0] + p[1] * Eg / hv) * std::sqrt(hv / Eg - 1) : 0.0;
        case 64:
        case 65: {
            const double E1 = power_law_edge(p[2], Eg);
            return hv > E1 ? (p[0] + p[1] * E1 / hv) * std::pow(hv / E1 - 1, p[3]) : 0.0;
        }
        default:
            return 0.0;
    }
}

double CalculateAbsorptionFromModel(const AbsorptionModelSet& set, double lambda)
{
    double alpha = 0.0;
    for (const Model& model : set.models)
        if (model.on && absorption_model_is_computed(model.number))
            alpha += AbsorptionContributionOfModel(model, lambda);
    return alpha;
}

void ExtractBestAandBFromAbsorptionModel(const AbsorptionModelSet& set, double& A, double& B)
{
    A = B = 0.0;
    const double root_Eg = std::sqrt(set.Eg);
    for (const Model& model : set.models) {
        if (!model.on || model.number < 62 || model.number > 65) continue;
        A += model.values[0] / root_Eg;
        if (model.number != 62) B += model.values[1] * root_Eg;
    }
    for (const Model& model : set.models)
        if (model.on && model.number == 61) A += model.values[0];
    A *= per_cm_to_per_m;
    B *= per_cm_to_per_m;
}

bool read_absorption_file(Surroundings& surroundings, std::string_view name, AbsorptionTable& table)
{
    TwoColumns rows;
    if (ReadKOVINFile(surroundings, name, FileKind::absorption, 1, true, rows) < 1) return false;
    const double factor = absorption_unit(rows.heading);
    MakeNonNegative(rows.y);
    for (double& alpha : rows.y) alpha *= factor;
    const double largest = *std::max_element(rows.y.begin(), rows.y.end());
    if (absorption_looks_like_another_unit(largest))
        KOVINErrorMessage(surroundings.report, "Warning: unit of an absorption file",
                          "The largest absorption coefficient in " + std::string(name) + " is " +
                              scientific(largest / per_cm_to_per_m, 0, 3) +
                              " 1/cm. A heading line \"1/cm\" or \"1/m\" tells the unit; without it 1/cm is meant.");
    table.lambda = std::move(rows.x);
    table.alpha = std::move(rows.y);
    return true;
}

bool load_absorption(Surroundings& surroundings, const Absorption& absorption, bool material_B,
                     MaterialAbsorption& material)
{
    material.from_file = material_B ? absorption.pure_B_from_file : absorption.pure_A_from_file;
    material.models = material_B ? absorption.model_B : absorption.model_A;
    return !material.from_file ||
           read_absorption_file(surroundings, material_B ? absorption.file_B : absorption.file_A, material.table);
}

double alpha_at(const MaterialAbsorption& material, double lambda)
{
    if (material.from_file)
        return LogarithmicInterpolationolateFromTable(lambda, material.table.lambda, material.table.alpha);
    return per_cm_to_per_m * CalculateAbsorptionFromModel(material.models, lambda);
}

bool DetermineLayerAlpha(Surroundings& surroundings, const Absorption& absorption, bool material_B,
                         std::span<const double> lambda, std::span<double> alpha)
{
    assert(lambda.size() == alpha.size());
    MaterialAbsorption material;
    if (!load_absorption(surroundings, absorption, material_B, material)) return false;
    for (std::size_t k = 0; k < lambda.size(); ++k) alpha[k] = alpha_at(material, lambda[k]);
    return true;
}

}  // namespace kovin
