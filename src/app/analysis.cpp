#include "app/analysis.h"

#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/charge_states.h"
#include "sweeps/doping_profile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kovin {

namespace {

using S = AnalysisSettings;
constexpr double tiny = 1e-300, huge = 1e300, volts = 100.0;

constexpr AnalysisWord yes_no[] = {{"no", 0.0}, {"yes", 1.0}};
constexpr AnalysisWord sides[] = {{"left", -1.0}, {"right", 1.0}};
constexpr AnalysisWord carriers[] = {{"electron", -1.0}, {"midgap", 0.0}, {"hole", 1.0}};
constexpr AnalysisWord permittivities[] = {{"constant", epsilon_constant}, {"position", epsilon_of_position}};

constexpr int whole(double value) { return static_cast<int>(value); }
constexpr bool on(double value) { return value > 0.0; }

// Numbers of layers, defects and levels count from 1 for the user. Values that only act together with a switch turn it
// on; where the switch is given itself it stands, see in_effect.
constexpr AnalysisKey keys[] = {
    {"nu0", "1/s", tiny, huge, false, {}, [](S& s, double v) { s.as.nu0 = v; }, "attempt-to-escape frequency at 300 K"},
    {"Eref", "eV", -volts, volts, false, {}, [](S& s, double v) { s.as.Eref = v; }, "band bending at zero bias"},
    {"f_ref",
     "Hz",
     tiny,
     huge,
     false,
     {},
     [](S& s, double v) { s.as.f_ref = v; },
     "C at this frequency gives the depletion width"},
    {"mode",
     "",
     0,
     3,
     true,
     {},
     [](S& s, double v) { s.as.model = static_cast<AsModel>(whole(v)); },
     "bands: 0 uniform bending, 1 linear, 2 parabolic, 3 none (-dC/dln w)"},
    {"Ebar", "eV", -volts, volts, false, {}, [](S& s, double v) { s.as.Ebar = v; }, "energy term of the modes 1 and 2"},
    {"band_offset", "", 0, 1, true, yes_no, [](S& s, double v) { s.as.band_offset = on(v); },
     "Eref = Eg_ref + kT ln(ratio)"},
    {"Eg_ref",
     "eV",
     -volts,
     volts,
     false,
     {},
     [](S& s, double v) { s.as.Eg_ref = v, s.as.band_offset = true; },
     "for band_offset, which it turns on"},
    {"ratio",
     "",
     tiny,
     huge,
     false,
     {},
     [](S& s, double v) { s.as.ratio = v, s.as.band_offset = true; },
     "for band_offset, which it turns on"},
    {"two_levels", "", 0, 1, true, yes_no, [](S& s, double v) { s.as.two_levels = on(v); },
     "nu0_b for depths from E_switch on, nu0_a below"},
    {"nu0_a",
     "1/s",
     tiny,
     huge,
     false,
     {},
     [](S& s, double v) { s.as.nu0_a = v, s.as.two_levels = true; },
     "for two_levels, which it turns on"},
    {"nu0_b",
     "1/s",
     tiny,
     huge,
     false,
     {},
     [](S& s, double v) { s.as.nu0_b = v, s.as.two_levels = true; },
     "for two_levels, which it turns on"},
    {"E_switch",
     "eV",
     -volts,
     volts,
     false,
     {},
     [](S& s, double v) { s.as.E_switch = v, s.as.two_levels = true; },
     "for two_levels, which it turns on"},
    {"layer",
     "",
     1,
     max_layers,
     true,
     {},
     [](S& s, double v) { s.NW.layer = whole(v) - 1; },
     "layer that the depletion layer grows into, from the left"},
    {"side", "", -1, 1, true, sides, [](S& s, double v) { s.NW.side = whole(v); }, "end of the layer at the junction"},
    {"points", "", 3, 99, true, {}, [](S& s, double v) { s.NW.points = whole(v); }, "points of the fit for a slope"},
    {"degreeMiddle",
     "",
     1,
     6,
     true,
     {},
     [](S& s, double v) { s.NW.order_middle = whole(v); },
     "degree of that fit inside a curve"},
    {"degreeEnds", "", 1, 6, true, {}, [](S& s, double v) { s.NW.order_edges = whole(v); }, "and at its ends"},
    {"epsilon",
     "",
     tiny,
     huge,
     false,
     {},
     [](S& s, double v) { s.NW.constant_epsilon = v, s.NW.epsilon_mode = epsilon_constant; },
     "constant relative permittivity"},
    {"epsilonFromPosition", "", 0, 1, true, permittivities, [](S& s, double v) { s.NW.epsilon_mode = whole(v); },
     "permittivity of the layers, or the constant one"},
    {"smoothing", "", 0, 1, true, yes_no, [](S& s, double v) { s.NW.smooth_epsilon = whole(v); },
     "average it over a Debye length, for the doping"},
    {"defect",
     "",
     1,
     max_defects,
     true,
     {},
     [](S& s, double v) { s.NW.defect = whole(v) - 1; },
     "defect of the layer, for nu0"},
    {"level", "", 1, max_levels, true, {}, [](S& s, double v) { s.NW.level = whole(v) - 1; }, "level of the defect"},
    {"type", "", -1, 1, true, carriers, [](S& s, double v) { s.NW.eh_type = whole(v); },
     "carrier that the level exchanges"},
};

const AnalysisChoice* given(const AnalysisChoices& choices, std::string_view key)
{
    const auto found =
        std::find_if(choices.begin(), choices.end(), [&](const AnalysisChoice& c) { return c.key->key == key; });
    return found == choices.end() ? nullptr : &*found;
}

/// The settings with the choices in their place.
AnalysisSettings in_effect(AnalysisSettings settings, const AnalysisChoices& choices)
{
    for (const AnalysisChoice& choice : choices) choice.key->set(settings, choice.value);
    for (const std::string_view key : {"band_offset", "two_levels", "epsilonFromPosition"})
        if (const AnalysisChoice* choice = given(choices, key)) choice->key->set(settings, choice->value);
    return settings;
}

std::string bounds(const AnalysisKey& key)
{
    std::string text;
    for (const AnalysisWord& word : key.words) text += (text.empty() ? "" : ", ") + std::string(word.word);
    if (!text.empty()) return text;
    if (key.least == tiny) return "above 0";
    const char* const kind = key.whole ? "whole, " : "";
    return kind + shortest(key.least) + " to " + shortest(key.most);
}

/// The settings of a run, with what they leave open as the cell has it.
MottSchottkySettings settings_of_cell(const CellParameters& cell, MottSchottkySettings NW,
                                      const AnalysisChoices& choices)
{
    const bool said = says_permittivity(NW) || given(choices, "epsilon") || given(choices, "epsilonFromPosition");
    // A file that asks for the permittivity of the layers and names none has its junction without an analysis too.
    const bool file_asks = NW.epsilon_mode == epsilon_of_position && !given(choices, "epsilonFromPosition");
    NW = file_asks ? with_junction(cell, NW) : with_lighter_side(cell, NW);
    if (!said) NW.epsilon_mode = epsilon_of_position;
    return NW;
}

/// The complaint about a defect or level that the user names and the chosen layer does not have, empty if there is
/// none.
std::string missing_level(const CellParameters& cell, const MottSchottkySettings& NW, const AnalysisChoices& choices)
{
    if (NW.layer < 0 || NW.layer >= cell.layers) return {};  // not chosen yet
    const LayerParameters& layer = cell.layer[static_cast<std::size_t>(NW.layer)];
    const std::string name = "layer " + integer(NW.layer + 1);
    const bool has_defect = NW.defect >= 0 && NW.defect < layer.srhteller;
    if (!has_defect && given(choices, "defect"))
        return "defect " + integer(NW.defect + 1) + ": " + name + " has " + integer(layer.srhteller);
    const int levels = has_defect ? level_count(layer.srh[static_cast<std::size_t>(NW.defect)]) : 0;
    if (NW.level >= levels && given(choices, "level"))
        return "level " + integer(NW.level + 1) + ": the defect of " + name + " has " + integer(levels);
    return {};
}

/// Without a file in the doping of any layer, which is read by the run.
bool doping_is_known(const CellParameters& cell)
{
    return std::all_of(cell.layer.begin(), cell.layer.begin() + cell.layers, [](const LayerParameters& layer) {
        return layer.material.Na.law != Law::from_file && layer.material.Nd.law != Law::from_file;
    });
}

/// Majority carrier at the end of the layer that the junction is at: 1 holes, -1 electrons, 0 none.
int majority_at_junction(const Simulation& s, const MottSchottkySettings& NW)
{
    const Mesh& mesh = s.currentCalcVars.mesh;
    const auto j = static_cast<std::size_t>(NW.layer);
    const double doping = s.set3.on.doping[static_cast<std::size_t>(NW.side == -1 ? mesh.first[j] : mesh.last[j])];
    return (doping < 0.0) - (doping > 0.0);
}

}  // namespace

std::span<const AnalysisKey> analysis_keys() { return keys; }

std::string analysis_help()
{
    std::string text = "Settings of --analysis (KEY=VALUE; what is not given comes from the cell):\n";
    for (const AnalysisKey& key : keys) {
        std::string line = "  " + std::string(key.key);
        line.resize(std::max<std::size_t>(line.size() + 1, 23), ' ');
        line += bounds(key) + (key.unit.empty() ? "" : ' ' + std::string(key.unit));
        line.resize(std::max<std::size_t>(line.size() + 1, 46), ' ');
        text += line + std::string(key.help) + '\n';
    }
    return text;
}

std::string add_analysis_choice(std::string_view text, AnalysisChoices& choices)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return "'" + std::string(text) + "' is not of the form KEY=VALUE";
    const std::string_view word = trimmed(text.substr(0, equals)), value = trimmed(text.substr(equals + 1));
    const auto key = std::find_if(std::begin(keys), std::end(keys),
                                  [&](const AnalysisKey& k) { return equal_ignoring_case(k.key, word); });
    if (key == std::end(keys)) {
        std::vector<std::string> known;
        for (const AnalysisKey& k : keys) known.emplace_back(k.key);
        const std::string near(nearest_word(word, known));
        return "'" + std::string(word) + "' is no setting of an analysis" +
               (near.empty() ? "" : "; did you mean '" + near + "'?");
    }
    const auto named = std::find_if(key->words.begin(), key->words.end(),
                                    [&](const AnalysisWord& w) { return equal_ignoring_case(w.word, value); });
    NumberScan number = number_here(value);
    if (named != key->words.end()) number = {.value = named->value, .found = true, .end = value.size()};
    const bool good = number.found && number.finite && number.end == value.size() && number.value >= key->least &&
                      number.value <= key->most && (!key->whole || number.value == std::floor(number.value));
    // Between the words of a key there is nothing.
    const bool among = named != key->words.end() || key->words.empty() ||
                       std::any_of(key->words.begin(), key->words.end(),
                                   [&](const AnalysisWord& w) { return w.value == number.value; });
    if (!good || !among)
        return "'" + std::string(value) + "' is no value of " + std::string(key->key) + " (" + bounds(*key) +
               (key->unit.empty() ? "" : ' ' + std::string(key->unit)) + ')';
    std::erase_if(choices, [&](const AnalysisChoice& c) { return c.key == &*key; });
    choices.push_back({&*key, number.value});
    return {};
}

std::string prepare_analysis(Simulation& s, const AnalysisChoices& choices)
{
    const MottSchottkySettings NW = in_effect({s.problem.NW, {}}, choices).NW;
    if (NW.layer >= s.zonnecel.cell.layers && given(choices, "layer"))
        return "layer " + integer(NW.layer + 1) + ": the cell has " + integer(s.zonnecel.cell.layers);
    const bool known = NW.layer >= 0 || doping_is_known(s.zonnecel.cell);
    const MottSchottkySettings chosen = known ? settings_of_cell(s.zonnecel.cell, NW, choices) : NW;
    if (std::string complaint = missing_level(s.zonnecel.cell, chosen, choices); !complaint.empty()) return complaint;
    s.problem.NW = NW;
    return {};
}

bool analyse(Session& session, const AnalysisChoices& choices)
{
    Simulation& s = session.simulation;
    const auto tell = [&](const char* title, const std::string& text) {
        KOVINErrorMessage(session.surroundings.report, title, text);
        return false;
    };
    if (s.results.empty() || (s.results.back().cv.points() == 0 && s.results.back().cf.points() == 0))
        return tell("Function RecalculateNW()", "No CV or Cf-calculations are available !");
    DataListElement& element = s.results.back();
    const auto too_short = [&](const char* name, std::size_t points) {
        if (points == 0 || points > static_cast<std::size_t>(s.problem.NW.points)) return false;
        return !tell("Analysis", std::string("The ") + name + " curve has no more than the " +
                                     integer(s.problem.NW.points) +
                                     " points that each slope is fitted to: there is nothing to derive from it.");
    };
    const bool short_CV = too_short("C-V", element.cv.points()), short_Cf = too_short("C-f", element.cf.points());

    AnalysisSettings settings;
    settings.NW = settings_of_cell(s.problem.input.cell.cell, s.problem.NW, choices);
    MottSchottkySettings of_cv = settings.NW;
    if (element.cv.insulator) {  // its layer is that beside the insulator, wherever the cell has a junction
        of_cv.layer = s.problem.NW.layer;
        of_cv.side = s.problem.NW.side;
    }
    RecalculateNW(element.cv, of_cv);
    element.cv.layer_name = s.set3.layer[static_cast<std::size_t>(element.cv.NW.layer)].name;
    if (element.cf.points() == 0 || short_Cf) return !short_CV && !short_Cf;
    if (const std::string complaint = missing_level(s.zonnecel.cell, settings.NW, choices); !complaint.empty())
        return tell("Analysis", complaint);

    if (const int majority = majority_at_junction(s, settings.NW);
        majority != 0 && settings.NW.eh_type == MottSchottkySettings{}.eh_type && !given(choices, "type"))
        settings.NW.eh_type = majority;
    settings.as = in_effect(settings, choices).as;
    AsFromCell found;
    ASDataFromCellDefinition(s.set3, s.currentCalcVars.mesh, settings.NW, settings.as, found);
    settings.as = in_effect(settings, choices).as;
    const CellOnMesh cell = cell_on_mesh(s.set3, s.currentCalcVars.mesh);
    Calculate_AS({&element, 1}, settings.as, settings.NW, SetNW_Epsilon_x(settings.NW, cell), cell.forward);
    session.surroundings.monitor.post({.text = element.as.settings});
    return !short_CV;
}

}  // namespace kovin
