#include "device/absorption_models.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"
#include "device/model_table.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

namespace {

/// A largest value outside these is taken for a slip in the unit [1/cm].
constexpr double least_plausible = 1e2, most_plausible = 1e8;
constexpr double most_absorption = 1e12;  ///< [1/cm]

/// Lower case, without the blanks around '/' and '^' in a unit ("1 / m" is "1/m").
std::string heading_of_units(std::string_view line)
{
    std::string text;
    for (const char c : lower_case(line)) {
        const bool blank = c == ' ' || c == '\t',
                   behind_sign = !text.empty() && (text.back() == '/' || text.back() == '^');
        if (blank && behind_sign) continue;
        if (c == '^' || (c == '/' && text.ends_with("1 ")))
            while (text.ends_with(' ')) text.pop_back();
        text += c;
    }
    return text;
}

/// Is the reciprocal of a length named: "1/m", "/m", "m^-1", "(m-1)"? Not where it is part of a longer unit or word
/// ("1/m2", "nm^-1", "data/m"). A bare "m-1" counts in brackets or behind a stroke only: so samples are named.
bool names_reciprocal(std::string_view text, const std::string& length)
{
    struct Form {
        std::string text;
        std::string_view before;  ///< signs that may stand before it; empty: all but those of words
    };
    const Form forms[] = {{'/' + length, " \t1([{,;"}, {length + "^-1", {}},   {length + "**-1", {}},
                          {length + "^(-1)", {}},      {length + "^{-1}", {}}, {length + "\u207b\u00b9", {}},
                          {length + "-1", "([{/"}};
    const auto in_word = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c < 0; };
    for (const Form& form : forms)
        for (std::size_t at = text.find(form.text); at != std::string_view::npos; at = text.find(form.text, at + 1)) {
            const std::size_t behind = at + form.text.size();
            const char last = at > 0 ? text[at - 1] : ' ', next = behind < text.size() ? text[behind] : ' ';
            const bool begins = form.before.empty() ? !in_word(last) : form.before.find(last) != std::string_view::npos;
            if (begins && !in_word(next) && next != '^' && next != '*' && next != '/') return true;
        }
    return false;
}

bool is_on(const AbsorptionModelSet& set, int number)
{
    return std::any_of(set.models.begin(), set.models.end(),
                       [=](const Model& model) { return model.on && model.number == number; });
}

/// A sum as it may be used; what is no number counts as nothing.
double bounded(double alpha) { return alpha > 0.0 ? std::min(alpha, most_absorption) : 0.0; }

/// The models with an edge that are on, without tail and background.
double sum_of_edges(const AbsorptionModelSet& set, double lambda)
{
    double alpha = 0.0;
    for (const Model& model : set.models)
        if (model.on && model.number != 61) alpha += AbsorptionContributionOfModel(model, lambda);
    return bounded(alpha);
}

}  // namespace

double absorption_unit(const std::vector<std::string>& heading)
{
    double factor = per_cm_to_per_m;
    for (const std::string& line : heading) {
        const std::string text = heading_of_units(line);
        if (names_reciprocal(text, "cm"))
            factor = per_cm_to_per_m;
        else if (names_reciprocal(text, "m"))
            factor = 1.0;
    }
    return factor;
}

bool absorption_looks_like_another_unit(double largest)
{
    return largest > most_plausible * per_cm_to_per_m || largest < least_plausible * per_cm_to_per_m;
}

double absorption_edge(const Model& model)
{
    const double Eg = model.values[4], given = model.values[2];
    switch (model.number) {
        case 62:
        case 63:
            return Eg;
        case 64:
        case 65:
            return given < 0.0 ? -given * Eg : given;
        default:
            return 0.0;
    }
}

double AbsorptionContributionOfModel(const Model& model, double lambda)
{
    const auto& p = model.values;
    const double hv = hc_eV_nm / lambda, E1 = absorption_edge(model);
    switch (model.number) {
        case 61:
            return p[0];
        case 62: {
            const double lambda_g = hc_eV_nm / E1;
            if (lambda == lambda_g) return p[0] / 2;
            return lambda < lambda_g ? p[0] : 0.0;
        }
        case 63:
            return hv > E1 ? (p[0] + p[1] * E1 / hv) * std::sqrt(hv / E1 - 1) : 0.0;
        case 64:
        case 65:
            return hv > E1 ? (p[0] + p[1] * E1 / hv) * std::pow(hv / E1 - 1, p[3]) : 0.0;
        default:
            return 0.0;
    }
}

SubbandgapTail find_subbandgap_tail(const AbsorptionModelSet& set)
{
    double E0 = 0.0, first = 1e30, second = 1e30;  // the two lowest edges
    for (const Model& model : set.models) {
        if (!model.on) continue;
        if (model.number == 66) E0 = model.values[0];
        if (model.number < 62 || model.number > 65) continue;
        const double edge = absorption_edge(model);
        if (edge < first)
            second = std::exchange(first, edge);
        else
            second = std::min(second, edge);
    }
    if (!is_on(set, 66) || !(E0 > 0.0) || !(first > 0.0 && first < 1e30)) return {};

    // A square law puts the samples where the edge is steep.
    constexpr int samples = 500;
    const double top = second < 1e30 ? std::max(1.5 * second, 3 * first) : 3 * first;
    double E_before = 0.0, alpha_before = 0.0;
    for (int i = 0; i < samples; ++i) {
        const double s = static_cast<double>(i) / (samples - 1);
        const double E = first + (top - first) * s * s, alpha = sum_of_edges(set, hc_eV_nm / E);
        if (alpha_before > 0.0 && alpha > 0.0) {
            const double slope = (alpha - alpha_before) / (E - E_before) / alpha;
            if (slope < 1 / E0) return {.E = E, .alpha = alpha, .E0 = E0};
        }
        E_before = E;
        alpha_before = alpha;
    }
    return {};
}

double CalculateAbsorptionFromModel(const AbsorptionModelSet& set, const SubbandgapTail& tail, double lambda)
{
    const double hv = hc_eV_nm / lambda;
    double alpha = hv < tail.E ? tail.alpha * std::exp((hv - tail.E) / tail.E0) : sum_of_edges(set, lambda);
    for (const Model& model : set.models)
        if (model.on && model.number == 61) alpha += AbsorptionContributionOfModel(model, lambda);
    return bounded(alpha);
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

const AbsorptionTable* AbsorptionFiles::read(Surroundings& surroundings, std::string_view name)
{
    const std::filesystem::path file = MakeFullPath(surroundings.folders, name, FileKind::absorption);
    if (const auto known = tables_.find(file); known != tables_.end()) return &known->second;
    TwoColumns rows;
    if (ReadKOVINFile(surroundings, name, FileKind::absorption, 1, true, rows) < 1) return nullptr;
    const double factor = absorption_unit(rows.heading);
    MakeNonNegative(rows.y);
    for (double& alpha : rows.y) alpha *= factor;
    const double largest = *std::max_element(rows.y.begin(), rows.y.end());
    if (absorption_looks_like_another_unit(largest))
        KOVINErrorMessage(surroundings.report, "Warning: unit of an absorption file",
                          "The largest absorption coefficient in " + std::string(name) + " is " +
                              scientific(largest / per_cm_to_per_m, 0, 3) +
                              " 1/cm. A heading line \"1/cm\" or \"1/m\" tells the unit; without it 1/cm is meant.");
    for (double& alpha : rows.y) alpha = std::min(alpha, most_absorption * per_cm_to_per_m);
    return &tables_.emplace(file, AbsorptionTable{std::move(rows.x), std::move(rows.y)}).first->second;
}

bool load_absorption(Surroundings& surroundings, AbsorptionFiles& files, const Absorption& absorption, bool material_B,
                     double Eg, MaterialAbsorption& material)
{
    material.from_file = material_B ? absorption.pure_B_from_file : absorption.pure_A_from_file;
    material.models = material_B ? absorption.model_B : absorption.model_A;
    WriteEgInAbsorptionModel(material.models, Eg);
    if (!material.from_file) {
        material.tail = find_subbandgap_tail(material.models);
        return true;
    }
    const AbsorptionTable* table = files.read(surroundings, material_B ? absorption.file_B : absorption.file_A);
    if (table == nullptr) return false;
    material.table = *table;
    return true;
}

double alpha_at(const MaterialAbsorption& material, double lambda)
{
    if (material.from_file)
        return LogarithmicInterpolationolateFromTable(lambda, material.table.lambda, material.table.alpha);
    return per_cm_to_per_m * CalculateAbsorptionFromModel(material.models, material.tail, lambda);
}

}  // namespace kovin
