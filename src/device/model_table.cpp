#include "device/model_table.h"

#include "base/text_scan.h"
#include "device/model_curve.h"

#include <utility>

namespace kovin {

namespace {

constexpr double default_flux = 6.242e16;  // photons/(cm2 s): 10 mA/cm2
constexpr int square_root_law = 63;

Model row(ModelClass model_class, int number, const char* name, int parameters, std::array<double, 5> values,
          int points = 41, bool on = false)
{
    return {.model_class = model_class,
            .number = number,
            .name = name,
            .parameters = parameters,
            .points = points,
            .values = values,
            .on = on};
}

/// The order is that of the lists of the user: power before flux for the last two spectra.
const std::array<Model, 18>& table()
{
    using enum ModelClass;
    static const std::array<Model, 18> models{
        // total generation [1/(cm2 s)], then positions and widths [um]
        row(generation, 21, "Constant generation G", 1, {default_flux, 1, 1, 1, 1}, 11),
        row(generation, 22, "Generation G(x) exponentially decaying from left", 2, {default_flux, 1, 1, 1, 1}),
        row(generation, 23, "Generation G(x) exponentially decaying from right", 2, {default_flux, 1, 1, 1, 1}),
        row(generation, 24, "Rectangular generation profile G(x)", 3, {default_flux, 1, 1, 1, 1}),
        row(generation, 25, "Gaussian generation profile G(x)", 3, {default_flux, 1, 0.2, 1, 1}),
        row(generation, 26, "Rectangular G(x) with exponential tails", 4, {default_flux, 1, 0.2, 0.1, 1}),
        row(generation, 27, "Rectangular G(x) with gaussian tails", 4, {default_flux, 1, 0.2, 0.1, 1}),
        // photons/(cm2 s) or suns, then wavelengths [nm]; the black body has its temperature [K] second
        row(spectrum, 41, "White spectrum, constant photon flux", 3, {default_flux, 400, 800, 1, 1}),
        row(spectrum, 42, "White spectrum, constant photon power", 3, {1, 400, 800, 1, 1}),
        row(spectrum, 43, "Black body spectrum", 4, {1, 6000, 300, 4000, 1}, 101),
        row(spectrum, 45, "Monochromatic spectrum, constant power", 3, {1, 600, 10, 1, 1}),
        row(spectrum, 44, "Monochromatic spectrum, constant flux", 3, {default_flux, 600, 10, 1, 1}),
        // coefficients [1/cm], energies [eV]; the fifth value is the gap of the material
        row(absorption, 61, "constant background alpha", 1, {1, 1, 1, 1, 1}),
        row(absorption, 62, "constant alpha for hv > Eg", 1, {1e5, 1, 1, 1, 1}),
        row(absorption, 63, "sqrt(hv-Eg) law (KOVIN traditional)", 2, {1e5, 0, 1, 1, 1}, 41, true),
        row(absorption, 64, "power law 1", 4, {1e5, 0, -1.2, 1, 1}),
        row(absorption, 65, "power law 2", 4, {1e5, 0, -1.5, 2, 1}),
        row(absorption, 66, "sub bandgap tail", 1, {0.1, 1, 1, 1, 1}),
    };
    return models;
}

}  // namespace

std::span<const Model> ActualModelParameters() { return table(); }

const Model& model_of_number(int number)
{
    const Model* square_root = nullptr;
    for (const Model& model : table()) {
        if (model.number == number) return model;
        if (model.number == square_root_law) square_root = &model;
    }
    return *square_root;
}

std::string_view model_parameter_name(int number, int parameter)
{
    constexpr std::string_view generation = "Total generation, phot/cm2/s", center = "Central position",
                               width = "Full width of rectangle", decay = "Exponential decay distance",
                               flux = "Total photon flux, photons/cm2/s", power = "Total power, suns",
                               shortest = "Short wavelength limit, nm", longest = "Long wavelength limit, nm",
                               middle = "Central wavelength, nm", band = "Total band width, nm";
    struct Names {
        int number;
        std::string_view of[4];
    };
    constexpr Names names[] = {
        {21, {generation}},
        {22, {generation, decay}},
        {23, {generation, decay}},
        {24, {generation, center, width}},
        {25, {generation, center, "Standard deviation"}},
        {26, {generation, center, width, decay}},
        {27, {generation, center, width, "Standard deviation of gaussian tail"}},
        {41, {flux, shortest, longest}},
        {42, {"Total photon power, suns", shortest, longest}},
        {43, {power, "Black body temperature, K", shortest, longest}},
        {44, {flux, middle, band}},
        {45, {power, middle, band}},
    };
    for (const Names& row : names)
        if (row.number == number && parameter >= 0 && parameter < 4) return row.of[static_cast<std::size_t>(parameter)];
    return {};
}

namespace {

/// bis = factor value, or factor/value for a reciprocal form, which is its own inverse.
struct BisForm {
    std::string_view name;
    double factor = 1.0;
    bool reciprocal = false;
};

BisForm bis_form(int number, int parameter)
{
    constexpr BisForm none, current{"Ideal light current, mA/cm2", 1e3 * elementary_charge},
        power{"Total photon power, mW/cm2", 100.0}, high{"High photon energy limit, eV", hc_eV_nm, true},
        low{"Low photon energy limit, eV", hc_eV_nm, true}, middle{"Central photon energy, eV", hc_eV_nm, true},
        maximum{"Wavelength at max photon flux, nm", wien_nm_K, true};
    struct Forms {
        int number;
        BisForm of[4];
    };
    constexpr Forms forms[] = {
        {41, {current, high, low}}, {42, {power, high, low}}, {43, {power, maximum, high, low}},
        {44, {current, middle}},    {45, {power, middle}},
    };
    if (number >= 21 && number <= 27 && parameter == 0) return current;
    for (const Forms& row : forms)
        if (row.number == number && parameter >= 0 && parameter < 4) return row.of[static_cast<std::size_t>(parameter)];
    return none;
}

}  // namespace

std::string_view model_bis_parameter_name(int number, int parameter) { return bis_form(number, parameter).name; }

double ParameterValueToBisParameterValue(int number, int parameter, double value)
{
    const BisForm form = bis_form(number, parameter);
    if (form.reciprocal) return value > 0.0 ? form.factor / value : 0.0;
    return form.factor * value;
}

double BisParameterValueToParameterValue(int number, int parameter, double value)
{
    const BisForm form = bis_form(number, parameter);
    return form.reciprocal ? ParameterValueToBisParameterValue(number, parameter, value) : value / form.factor;
}

Limits model_parameter_limits(int number, int parameter)
{
    struct Row {
        int number;
        Limits of[4];
    };
    constexpr Row limits[] = {
        {21, {not_negative}},
        {22, {not_negative, positive}},
        {23, {not_negative, positive}},
        {24, {not_negative, any_number, positive}},
        {25, {not_negative, any_number, positive}},
        {26, {not_negative, any_number, positive, positive}},
        {27, {not_negative, any_number, positive, positive}},
        {41, {not_negative, positive, positive}},
        {42, {not_negative, positive, positive}},
        {43, {not_negative, positive, positive, positive}},
        {44, {not_negative, positive, positive}},
        {45, {not_negative, positive, positive}},
        {61, {not_negative}},
        {62, {not_negative}},
        {63, {not_negative}},
        {64, {not_negative, any_number, any_number, not_negative}},
        {65, {not_negative, any_number, any_number, not_negative}},
        {66, {not_negative}},
    };
    for (const Row& row : limits)
        if (row.number == number && parameter >= 0 && parameter < 4) return row.of[static_cast<std::size_t>(parameter)];
    return any_number;
}

int AbsorptionModelNumberToAbsorptionIndex(int number)
{
    int index = 0, square_root = 0;
    for (const Model& model : table()) {
        if (model.model_class != ModelClass::absorption) continue;
        if (model.number == number) return index;
        if (model.number == square_root_law) square_root = index;
        ++index;
    }
    return square_root;
}

int AbsorptionModelKeywordToNumber(std::string_view text)
{
    constexpr std::pair<std::string_view, int> words[] = {{"constant background alpha", 61},
                                                          {"constant alpha for hv > Eg", 62},
                                                          {"sqrt(hv-Eg) law", 63},
                                                          {"power law 1", 64},
                                                          {"power law 2", 65},
                                                          {"sub bandgap tail", 66}};
    for (const auto& [word, number] : words)
        if (find_ignoring_case(text, word) != std::string_view::npos) return number;
    return -1;
}

AbsorptionModelSet default_absorption_models(int material, double Eg, int number)
{
    AbsorptionModelSet set;
    set.material = material;
    auto place = set.models.begin();
    for (const Model& model : table()) {
        if (model.model_class != ModelClass::absorption || place == set.models.end()) continue;
        *place = model;
        place->on = model.number == number;
        ++place;
    }
    WriteEgInAbsorptionModel(set, Eg);
    return set;
}

void SetDefaultAbsorptionModel(Absorption& absorption, double Eg_A, double Eg_B, WhichMaterial which, int number)
{
    if (which == WhichMaterial::A || which == WhichMaterial::both)
        absorption.model_A = default_absorption_models(0, Eg_A, number);
    if (which == WhichMaterial::B || which == WhichMaterial::both)
        absorption.model_B = default_absorption_models(1, Eg_B, number);
}

void WriteEgInAbsorptionModel(AbsorptionModelSet& set, double Eg)
{
    set.Eg = Eg;
    // The tail has no edge of its own: its second and third value are found while it is computed.
    for (std::size_t i = 0; i + 1 < set.models.size(); ++i) set.models[i].values[4] = Eg;
}

void WriteEgInAllAbsorptionModels(CellParameters& cell)
{
    for (LayerParameters& layer : cell.layer) {
        WriteEgInAbsorptionModel(layer.material.absorption.model_A, layer.material.Eg.pure_A);
        WriteEgInAbsorptionModel(layer.material.absorption.model_B, layer.material.Eg.pure_B);
    }
}

}  // namespace kovin
