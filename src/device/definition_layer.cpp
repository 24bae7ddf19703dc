// The layer section of a definition file: material, grading, absorption.
#include "base/constants.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/alpha_interpolation.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"
#include "device/model_table.h"
#include "device/quantities.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kovin::definition_sections {

using namespace definition_tables;

namespace {

constexpr int square_root_law = 63;

/// Where the absorption of a layer stands while it is read.
struct AbsorptionReading {
    struct Side {
        bool has_A = false, has_B = false;  ///< the square-root model follows from them at the end of the layer
        std::size_t model = 2;              ///< that the next parameter belongs to
    };
    Side A, B;
    bool both = false;  ///< a line "A :" is for both materials, as in the oldest files
};

/// The source of the absorption coefficient, as a line names it.
void choose_absorption(KeyedSource& source, Absorption& absorption, AbsorptionReading& state, bool A, bool B)
{
    const bool file = source.anywhere("file");
    const bool coefficients = !file && source.anywhere("coefficients");
    const bool model = !file && source.anywhere("from model");
    if (!file && !coefficients && !model) return;
    const WhichMaterial which = A && B ? WhichMaterial::both : A ? WhichMaterial::A : WhichMaterial::B;
    if (A) {
        absorption.pure_A_from_file = file;
        state.A.has_A = state.A.has_B = false;
        if (file) absorption.A_pure_A = absorption.B_pure_A = 0.0;
    }
    if (B) {
        absorption.pure_B_from_file = file;
        state.B.has_A = state.B.has_B = false;
        if (file) absorption.A_pure_B = absorption.B_pure_B = 0.0;
    }
    if (!file) SetDefaultAbsorptionModel(absorption, 1.0, 1.0, which, coefficients ? square_root_law : -1);
}

void read_model(KeyedSource& source, std::string_view key, AbsorptionModelSet& set, AbsorptionReading::Side& side)
{
    const int number = AbsorptionModelKeywordToNumber(source.value(key));
    if (number < 0) {
        source.refuse(key, "the absorption model is not known");
        return;
    }
    side.model = static_cast<std::size_t>(AbsorptionModelNumberToAbsorptionIndex(number));
    set.models[side.model].on = true;
}

void read_model_parameter(KeyedSource& source, std::string_view key, AbsorptionModelSet& set,
                          const AbsorptionReading::Side& side)
{
    const NumberScan number = number_here(std::string_view(source.line()).substr(key.size()));
    if (!number.found) {
        source.refuse(key, "the number of the parameter is missing");
        return;
    }
    const int parameter = number.value >= 1.0 && number.value <= 5.0 ? static_cast<int>(number.value) - 1 : -1;
    Model& model = set.models[side.model];
    double value = 0.0;
    if (source.number(key, value, model_parameter_limits(model.number, parameter)) && parameter >= 0)
        model.values[static_cast<std::size_t>(parameter)] = value;
}

/// One line on absorption. @return true if it was one
bool read_absorption_line(KeyedSource& source, Absorption& a, AbsorptionReading& state)
{
    constexpr std::string_view file = "absorptionfile :", file_A = "absorptionfile pure A material (y=0) :",
                               file_B = "absorption pure B material (y=1), file :";
    constexpr std::string_view source_A = "absorptionmodel pure A material (y=0)",
                               source_B = "absorption pure B material (y=1), model",
                               other_B = "absorptionmodel pure B material (y=1)";
    constexpr std::string_view model_A = "absorption model A, model :", model_B = "absorption model B, model :",
                               parameter_A = "absorption model A, value of parameter",
                               parameter_B = "absorption model B, value of parameter";
    if (source.starts("absorptionmodel :")) {
        state.both = true;
        choose_absorption(source, a, state, true, true);
    } else if (source.starts(source_A)) {
        state.both = false;
        choose_absorption(source, a, state, true, false);
    } else if (source.starts(source_B) || source.starts(other_B)) {
        choose_absorption(source, a, state, false, true);
    } else if (source.starts_exactly("A :")) {
        state.A.has_A = source.number("A :", a.A_pure_A, not_negative);
        if (state.both) a.A_pure_B = a.A_pure_A, state.B.has_A = true;
    } else if (source.starts_exactly("B :")) {
        state.A.has_B = source.number("B :", a.B_pure_A);
        if (state.both) a.B_pure_B = a.B_pure_A, state.B.has_B = true;
    } else if (source.starts_exactly("pure B material (y=1), A :")) {
        state.B.has_A = source.number("pure B material (y=1), A :", a.A_pure_B, not_negative);
    } else if (source.starts_exactly("pure B material (y=1), B :")) {
        state.B.has_B = source.number("pure B material (y=1), B :", a.B_pure_B);
    } else if (source.starts_exactly(file)) {
        a.file_A = a.file_B = source.file_name(file);
    } else if (source.starts_exactly(file_A)) {
        a.file_A = source.file_name(file_A);
    } else if (source.starts_exactly(file_B)) {
        a.file_B = source.file_name(file_B);
    } else if (source.starts_exactly(model_A)) {
        read_model(source, model_A, a.model_A, state.A);
    } else if (source.starts_exactly(model_B)) {
        read_model(source, model_B, a.model_B, state.B);
    } else if (source.starts_exactly(parameter_A)) {
        read_model_parameter(source, parameter_A, a.model_A, state.A);
    } else if (source.starts_exactly(parameter_B)) {
        read_model_parameter(source, parameter_B, a.model_B, state.B);
    } else {
        return false;
    }
    return true;
}

/// The gaps that a row states for the pure materials; one graded on x need not.
PureGaps stated_gaps(const Profile& Eg)
{
    constexpr double any = 1.0;
    const auto above_0 = [](double pure, double end) { return pure > 0.0 ? pure : end > 0.0 ? end : any; };
    return {above_0(Eg.pure_A, Eg.left), above_0(Eg.pure_B, Eg.right)};
}

/// alpha = (A + B/hv) sqrt(hv - Eg) with A, B per m, as the model (alpha_0 + beta_0 Eg/hv) sqrt(hv/Eg - 1) per cm.
void square_root_model(AbsorptionModelSet& set, const AbsorptionReading::Side& side, double A, double B, double Eg)
{
    auto& values = set.models[static_cast<std::size_t>(AbsorptionModelNumberToAbsorptionIndex(square_root_law))].values;
    if (side.has_A) values[0] = A * 0.01 * std::sqrt(Eg);
    if (side.has_B) values[1] = B * 0.01 / std::sqrt(Eg);
}

/// The gap may stand behind the absorption in a file, so what depends on it waits for the end of the layer.
void finish_absorption(MaterialParameters& material, const AbsorptionReading& state)
{
    Absorption& a = material.absorption;
    const auto [Eg_A, Eg_B] = stated_gaps(material.Eg);
    square_root_model(a.model_A, state.A, a.A_pure_A, a.B_pure_A, Eg_A);
    square_root_model(a.model_B, state.B, a.A_pure_B, a.B_pure_B, Eg_B);
    WriteEgInAbsorptionModel(a.model_A, Eg_A);
    WriteEgInAbsorptionModel(a.model_B, Eg_B);
}

void read_composition(KeyedSource& source, LayerParameters& layer)
{
    Profile& y = layer.composition;
    if (!InputLineToProfile(source, "composition", y)) return;
    y.dependence = Dependence::on_x;
    layer.composition_mode = y.law == Law::uniform_B   ? 20
                             : y.law == Law::uniform_y ? 21
                             : y.law == Law::uniform   ? 0
                                                       : 1;
    if (y.pure_A < 0.0 || y.pure_A > 1.0 || y.pure_B < 0.0 || y.pure_B > 1.0)
        source.refuse("composition", "a composition lies between 0 and 1");
}

/// One line on a quantity of the material. @return true if it was one
bool read_quantity_line(KeyedSource& source, MaterialParameters& material)
{
    if (source.starts("v_th :")) {
        if (InputLineToProfile(source, "v_th :", material.v_th_n)) {
            const double thickness = material.v_th_p.thickness;
            material.v_th_p = material.v_th_n;
            material.v_th_p.quantity = Quantity::v_th_p;
            material.v_th_p.thickness = thickness;
        }
        return true;
    }
    for (const QuantityRow& row : graded_quantities()) {
        if (!(row.exact ? source.starts_exactly(row.word) : source.starts(row.word))) continue;
        if (InputLineToProfile(source, row.word, material.*row.member) && row.quantity == Quantity::Eg) {
            const PureGaps gap = stated_gaps(material.Eg);
            material.absorption.grading.pure_A = hc_eV_nm / gap.A;
            material.absorption.grading.pure_B = hc_eV_nm / gap.B;
        }
        return true;
    }
    return false;
}

}  // namespace

namespace {

constexpr std::size_t oldest_row = 7, present_row = 9;

/// A row with something in it that is no number, as against a value with a remark behind it: with that number it would
/// be a row. @param rest  what stands behind the numbers that were found
bool is_broken_row(std::size_t found, std::string_view rest)
{
    std::size_t more = 0;
    for (std::size_t i = 0; (i = rest.find_first_not_of(" \t", i)) != std::string_view::npos;) {
        if (rest[i] == '[' || rest[i] == '(' || rest[i] == ';') break;
        if (number_here(rest, i).found) ++more;
        i = std::min(rest.find_first_of(" \t", i), rest.size());
    }
    return found < present_row && more > 0 && found + 1 + more >= oldest_row;
}

/// The numbers of a row that its dependence uses. On x they are those at the ends of the layer, those of the pure
/// materials may then be anything; the minimum of a parabola lifts its ends, and files, tables and diffusion have none.
std::vector<double> ends_in_use(const Profile& p)
{
    if (p.dependence != Dependence::on_x || p.quantity == Quantity::composition) return {p.pure_A, p.pure_B};
    switch (p.law) {
        case Law::uniform:
        case Law::uniform_y:
            return {p.left};
        case Law::uniform_B:
            return {p.right};
        case Law::parabolic:
            return {std::max(p.left, p.fourth), std::max(p.right, p.fourth)};
        case Law::from_file:
        case Law::table:
        case Law::diffusion_gauss:
        case Law::diffusion_erfc:
            return {};
        default:
            return {p.left, p.right};
    }
}

}  // namespace

bool InputLineToProfile(KeyedSource& source, std::string_view key, Profile& profile)
{
    std::vector<double> v;
    std::size_t rest = 0;
    const std::string_view text = source.value(key);
    // Files of all versions hold -2 by a line without a number.
    if (text.empty() || text.starts_with('['))
        v = {-2.0};
    else if (!source.numbers(key, present_row, v, rest))
        return false;
    if (is_broken_row(v.size(), text.substr(rest))) return source.refuse(key, "a number of the row is none");
    Profile read = profile;
    double law = 0.0, dependence = 0.0;
    if (v.size() < oldest_row) {
        read.pure_A = read.pure_B = read.third = read.left = read.right = v[0];
        read.fourth = read.fifth = 1.0;
        dependence = static_cast<double>(Dependence::uniform);
    } else {
        // Files with one number less had one constant less: the fifth is then the fourth.
        const std::size_t ends = v.size() == oldest_row ? 4 : 5;
        read.pure_A = v[0], read.pure_B = v[1], read.third = v[2], read.fourth = v[3], read.fifth = v[ends - 1];
        read.left = v[ends], read.right = v[ends + 1];
        law = v[ends + 2 < v.size() ? ends + 2 : v.size() - 1];
        dependence = v.size() == present_row ? v.back() : 0.0;
    }
    constexpr auto last_law = static_cast<double>(Law::diffusion_erfc);
    if (law != std::floor(law) || law < 0.0 || law > last_law)
        return source.refuse(key, "the grading law is not known");
    if (dependence != std::floor(dependence) || dependence < 0.0 || dependence > 2.0)
        return source.refuse(key, "the dependence must be 0, 1 or 2");
    read.law = static_cast<Law>(static_cast<int>(law));
    read.dependence = static_cast<Dependence>(static_cast<int>(dependence));
    const Limits limits = limits_of(read.quantity);
    for (const double end : ends_in_use(read))
        if (!limits.hold(end)) return source.refuse(key, "the value is outside its range");
    read.file.clear();
    if (read.law == Law::from_file && v.size() == present_row) {
        const std::string_view behind = source.value(key).substr(rest);
        const std::size_t start = behind.find_first_not_of(" \t");
        if (start != std::string_view::npos) {
            const std::size_t end = behind.find_first_of("\t[", start);
            read.file = std::string(trimmed(behind.substr(start, end - start)));
            for (char& c : read.file)
                if (c == '\\') c = '/';
            source.note_file(read.file);
        }
    }
    SetProfileScaleParameters(read);
    profile = std::move(read);
    return true;
}

void read_layer(Reading& reading)
{
    KeyedSource& source = reading.source;
    CellParameters& cell = reading.cell();
    if (cell.layers == max_layers) {
        source.fail("layer", "a cell has at most " + integer(max_layers) + " layers");
        return;
    }
    ++cell.layers;
    LayerParameters& layer = reading.layer();
    MaterialParameters& material = layer.material;
    layer.is_new = false;
    AbsorptionReading absorption;
    bool behind_composition = false, empty = true;
    while (source.must_go_on()) {
        if (source.section("srhrecombination") || source.section("interface properties") ||
            source.section("interface recombination") || source.section("Metastable properties") ||
            source.starts("layer") || source.section("front contact") || source.starts("right contact") ||
            source.section("spectrumfile") || source.section("working point"))
            break;
        empty = false;
        const bool is_composition = source.starts("composition");
        if (source.starts("name")) {
            layer.name = material.name = source.text("name", layer_name_limit);
        } else if (source.starts_exactly("d")) {
            source.number("d", material.d, {.low = 0.0, .high = 1.0, .above = true});
        } else if (source.starts("Grading file")) {
            if (behind_composition) layer.composition.file = source.file_name("Grading file");
        } else if (is_composition) {
            read_composition(source, layer);
        } else if (source.starts("Tunneling in layer")) {
            if (source.flag("Tunneling in layer", material.tunneling))
                reading.open_path(material.tunneling, &C::Tunnelintraband_allowed);
        } else if (source.starts(functional_key.word)) {
            if (int type = 0; source.whole(functional_key.word, type, 0, last_functional_type)) {
                if (is_functional_type(type))
                    layer.functional_type = type;
                else
                    source.refuse(functional_key.word, "the types are 0 to 3 and 11 to 13");
            }
        } else if (source.starts_exactly("absorption grading")) {
            if (InputLineToProfile(source, "absorption grading", material.absorption.grading))
                material.absorption.grading.dependence = Dependence::on_y;
        } else if (!read_absorption_line(source, material.absorption, absorption)) {
            read_quantity_line(source, material);
        }
        behind_composition = is_composition;
    }
    if (empty) source.fail("layer", "the layer is empty");
    if (!source.failed()) finish_absorption(material, absorption);
}

}  // namespace kovin::definition_sections
