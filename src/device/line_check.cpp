#include "device/line_check.h"

#include "base/constants.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "base/unit_text.h"
#include "device/action_tables.h"
#include "device/definition_places.h"
#include "device/definition_tables.h"
#include "device/quantities.h"

#include <map>

namespace kovin {

namespace {

/// What stands behind the colon, or behind the keyword of a line without one.
std::string_view value_of(const LineWatch::Known& line)
{
    const std::string_view rest = line.rest;
    const auto colon = rest.find(':');
    return trimmed(colon == std::string_view::npos || line.text.ends_with(':') ? rest : rest.substr(colon + 1));
}

std::string quoted(const LineWatch::Known& line)
{
    constexpr std::size_t most = 80;
    const std::string_view value = value_of(line);
    return line.text + (value.empty() ? "" : " = \"" + quotable(value, most) + '"') + ": ";
}

// ---- repetitions --------------------------------------------------------------------------------------------------

/// What a line sets, if the keyword alone does not tell; empty: nothing that a second line could set again.
/// @param models  named last, by the start of their lines
std::string what_is_set(const LineWatch::Known& line, std::map<std::string, std::string>& models)
{
    const std::string_view key = line.text;
    constexpr std::string_view parameter = ", value of parameter", named = " :";
    if (key.ends_with(parameter)) {
        const NumberScan number = number_here(line.rest);
        return models[line.text.substr(0, key.size() - parameter.size())] + '/' + line.text +
               (number.found ? shortest(number.value) : "");
    }
    if (key.ends_with("model :")) {
        constexpr std::string_view in_layer = ", model :";
        const std::size_t end = key.ends_with(in_layer) ? in_layer.size() : named.size();
        models[line.text.substr(0, key.size() - end)] = lower_case(value_of(line));
    }
    if (key.starts_with("absorption model ")) return line.text + lower_case(value_of(line));
    if (key.starts_with("absorptionmodel") || key.ends_with("), model"))
        return find_ignoring_case(line.rest, "coefficients") == std::string_view::npos ? line.text : "";
    if (key.starts_with("optical capture data [")) {
        const NumberScan level = next_number(value_of(line));
        return line.text + (level.found ? shortest(level.value) : "");
    }
    if (key.starts_with(definition_tables::mott_schottky_start))
        return "Mott" + lower_case(line.rest.substr(0, line.rest.find(':')));
    if (key.starts_with("Nt(")) return "Nt";
    return line.text;
}

/// The number of a metastable pair: one that a layer does not have, one that is there already.
/// @param met  lines of the pairs of the present layer, by their index
void check_pair_number(const LineWatch::Known& line, std::map<int, int>& met, LineWatch& watch)
{
    const int index = pair_index(line.rest);
    const NumberScan number = next_number(line.rest);
    if (!number.found || number.value != index)
        watch.find(line.line, quoted(line) + "the pairs of a layer have the numbers 0 to " +
                                  integer(max_metastable - 1) + "; it is read as " + integer(index));
    const auto [first, is_new] = met.emplace(index, line.line);
    if (!is_new)
        watch.find(line.line, quoted(line) + "pair " + integer(index) + " stands already in line " +
                                  integer(first->second) + "; both are read as one, of two lines the later counts");
}

// ---- units --------------------------------------------------------------------------------------------------------

using Units = std::map<std::string, std::string_view, std::less<>>;

template <class Record, std::size_t n>
void add_units(Units& units, const KeyRow<Record> (&rows)[n])
{
    for (const KeyRow<Record>& row : rows)
        if (row.real != nullptr) units.emplace(row.word, row.unit);
}

/// The unit of each key that has one.
Units units_of_keys()
{
    namespace d = definition_tables;
    namespace a = action_tables;
    constexpr std::string_view density = "[/m^3]", fraction = "[-]";
    Units units = {{"d", "[m]"},
                   {"Nt(x)", density},
                   {"Nt(y)", density},
                   {"Nt(uniform)", density},
                   {"Nleft", density},
                   {"Nright", density},
                   {"N", "[/m^2]"},
                   {"v_th :", "[m/s]"},
                   {"composition", fraction},
                   {"A :", "[/(m*sqrt(eV))]"},
                   {"B :", "[sqrt(eV)/m]"},
                   {"absorption grading", "[nm]"},
                   {"filter value", fraction},
                   {"internal Rfront", fraction},
                   {"internal Tfront", fraction},
                   {"Relative electron mass", fraction},
                   {"Relative hole mass", fraction},
                   {"transmission", "%"},
                   {"Ecor", "[eV]"},
                   {"pure B material (y=1), A :", "[/(m*sqrt(eV))]"},
                   {"pure B material (y=1), B :", "[sqrt(eV)/m]"}};
    for (const QuantityRow& row : graded_quantities()) units.emplace(row.word, row.unit);
    for (const d::LevelKey& key : d::level_keys) units.emplace(key.word, key.unit);
    for (const KeyRow<d::B>& key : d::single_defect_keys) units.emplace(key.word, "[m^2]");
    add_units(units, d::contact_keys), add_units(units, d::defect_energy_keys), add_units(units, d::old_density_keys);
    add_units(units, d::metastable_keys), add_units(units, d::interface_capture_keys);
    add_units(units, d::interface_energy_keys);
    add_units(units, a::condition_keys), add_units(units, a::light_keys);
    add_units(units, a::iv_keys), add_units(units, a::cv_keys), add_units(units, a::cf_keys),
        add_units(units, a::qe_keys);
    return units;
}

std::string_view without_brackets(std::string_view text)
{
    text = trimmed(text);
    return text.starts_with('[') && text.ends_with(']') ? text.substr(1, text.size() - 2) : text;
}

/// The unit that a line names, empty if none: in square brackets anywhere, else behind the last number, in round ones
/// or as the first words. One letter with more words behind it is a remark.
std::string_view unit_in(std::string_view rest)
{
    for (auto open = rest.find('['); open != std::string_view::npos; open = rest.find('[', open + 1)) {
        const std::string_view inside = rest.substr(open + 1, rest.find(']', open) - open - 1);
        if (unit_of_text(inside)) return inside;
    }
    const auto colon = rest.find(':');
    std::string_view behind = trimmed(colon == std::string_view::npos ? rest : rest.substr(colon + 1));
    // "1/m^3" behind a number is a unit.
    for (NumberScan number = number_here(behind); number.found && !behind.substr(number.end).starts_with('/');
         number = number_here(behind))
        behind = trimmed(behind.substr(number.end));
    if (behind.empty() || behind[0] == '-') return {};
    const auto round = behind[0] == '(' ? behind.find(')') : std::string_view::npos;
    if (unit_of_text(behind)) return behind;
    const std::string_view first =
        round != std::string_view::npos ? behind.substr(0, round + 1) : behind.substr(0, behind.find_first_of(" \t;,"));
    return first.size() > 1 && unit_of_text(first) ? first : std::string_view();
}

/// A density may be one per eV: which of both it is tells the distribution of its defect.
bool is_other_unit(const Unit& given, Unit expected)
{
    if (given == expected) return false;
    expected.power[2] -= 1.0;
    const bool density = expected.power[0] == -3.0 || expected.power[0] == -2.0;
    return !density || !(given == expected);
}

}  // namespace

void check_repeats(LineWatch& watch)
{
    std::map<std::string, int> met;  // what is set in the present section, and where
    std::map<std::string, std::string> models;
    std::map<int, int> pairs;
    for (const LineWatch::Known& line : watch.known) {
        if (line.text == "layer") pairs.clear();
        if (line.text == "Metastable properties") check_pair_number(line, pairs, watch);
        if (DefinitionPlaces::opens_section(line.text)) {
            met.clear();
            models.clear();
            continue;
        }
        const std::string what = what_is_set(line, models);
        if (what.empty()) continue;
        const auto [first, is_new] = met.emplace(what, line.line);
        if (!is_new)
            watch.find(line.line, quoted(line) + "given already in line " + integer(first->second) +
                                      "; of the two the later line counts");
    }
}

void check_reflection(LineWatch& watch)
{
    const LineWatch::Known* other = nullptr;  // the line before that says the same
    for (const LineWatch::Known& line : watch.known) {
        if (line.text != "internal Rfront" && line.text != "internal Tfront") continue;
        const NumberScan number = next_number(value_of(line));
        if (!number.found) continue;
        if (other != nullptr && other->text != line.text) {
            const double before = next_number(value_of(*other)).value;
            const bool reflection = line.text == "internal Rfront";
            const double R = reflection ? number.value : before, T = reflection ? before : number.value;
            if (!definition_tables::is_transmission_of(R, T))
                watch.find(line.line, quoted(line) + "it is one minus the " + other->text + " of " + shortest(before) +
                                          " in line " + integer(other->line) + "; of the two the later line counts");
        }
        other = &line;
    }
}

void check_units(LineWatch& watch)
{
    const Units units = units_of_keys();
    for (const LineWatch::Known& line : watch.known) {
        std::string_view key = line.text;
        if (key.starts_with(action_tables::second_prefix)) key.remove_prefix(action_tables::second_prefix.size());
        const auto row = units.find(key);
        if (row == units.end()) continue;
        const auto expected = unit_of_text(without_brackets(row->second));
        const std::string_view text = unit_in(line.rest);
        const auto given = unit_of_text(text);
        if (!expected || !given || !is_other_unit(*given, *expected)) continue;
        const std::string_view unit = without_brackets(row->second);
        watch.find(line.line, quoted(line) +
                                  (unit == "-" ? "a plain number is meant" : "the unit is " + std::string(unit)) +
                                  ", not " + std::string(trimmed(text)));
    }
}

}  // namespace kovin
