#include "device/action_file.h"

#include "base/folders.h"
#include "base/line_file.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/action_tables.h"
#include "device/model_table.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

using namespace action_tables;

constexpr const char* title = "Error whilst setting the action list: SetActionPanelFromFile()";

// ---- reading ----

/// "spectrum model :" with the name of a model, or "spectrum model, value of parameter 2 : 400".
bool read_model(KeyedSource& source, const std::string& start, ModelClass model_class, Model& model)
{
    const std::string parameter = start + ", value of parameter";
    if (source.starts(parameter)) {
        const NumberScan number = number_here(std::string_view(source.line()).substr(parameter.size()));
        const int index = number.value >= 1.0 && number.value <= 5.0 ? static_cast<int>(number.value) - 1 : -1;
        double value = 0.0;
        if (!number.found)
            source.refuse(parameter, "the number of the parameter is missing");
        else if (source.number(parameter, value, model_parameter_limits(model.number, index)) && index >= 0)
            model.values[static_cast<std::size_t>(index)] = value;
        return true;
    }
    if (!source.starts(start + " :")) return false;
    for (const auto& [word, number] : model_words) {
        if (!equal_ignoring_case(source.value(start), word)) continue;
        const Model& row = model_of_number(number);
        if (row.model_class != model_class) break;
        const std::string name = model.name;
        model = row;
        model.name = name;
        return true;
    }
    source.refuse(start, "the model is not known");
    return true;
}

/// What the light is, and where it comes from.
bool read_light_source(KeyedSource& source, const std::string& prefix, WorkPoint& point)
{
    const auto starts = [&](const char* word) { return source.starts(prefix + word); };
    const auto file = [&](const char* word, std::string& target) { target = source.file_name(prefix + word); };
    if (starts("generation G(x) specified")) {
        point.generationSpecified = true;
    } else if (starts("incident illumination specified")) {
        point.generationSpecified = false;
    } else if (starts("generation G(x) from model")) {
        point.generationFromFile = false;
    } else if (starts("generation G(x) from file")) {
        point.generationFromFile = true;
        file("generation G(x) from file", point.generationFile);
    } else if (starts("incident spectrum from model")) {
        point.spectrumFromFile = false;
    } else if (starts("incident spectrum from file")) {
        point.spectrumFromFile = true;
        file("incident spectrum from file", point.spectrumFile);
    } else if (starts("generation from file :")) {  // older versions knew no models
        source.flag(prefix + "generation from file :", point.generationSpecified);
        point.generationFromFile = point.generationFromFile || point.generationSpecified;
    } else if (starts("generation file :")) {
        file("generation file :", point.generationFile);
    } else if (starts("spectrum file :")) {
        point.spectrumFromFile = true;
        file("spectrum file :", point.spectrumFile);
    } else {
        return read_model(source, prefix + "generation model", ModelClass::generation, point.generationModel) ||
               read_model(source, prefix + "spectrum model", ModelClass::spectrum, point.spectrumModel);
    }
    return true;
}

/// Series and shunt resistance of older files, per cm2.
bool read_resistances(KeyedSource& source, WorkPoint& point)
{
    double value = 0.0;
    if (read_rows(source, old_keys, point)) return true;
    if (source.starts("Rs :")) {
        if (source.number("Rs :", value, not_negative)) point.Rs = value * 1e-4;
    } else if (source.starts("Rsh :")) {
        if (source.number("Rsh :", value, positive)) point.Gsh = 1e4 / value;
    } else if (source.starts("Gsh :")) {
        if (source.number("Gsh :", value, not_negative)) point.Gsh = value * 1e4;
    } else {
        return false;
    }
    return true;
}

/// A working point as it is read; the density decides where a file also has the transmission, which is rounded.
struct PointReading {
    WorkPoint& point;
    std::string prefix;
    bool has_density = false;
};

bool read_point_line(KeyedSource& source, PointReading& reading)
{
    const std::string density = reading.prefix + "neutral density", transmission = reading.prefix + "transmission";
    if (source.starts(density)) reading.has_density = true;
    if (source.starts(transmission)) {
        double percent = 0.0;
        if (source.number(transmission, percent, reading.has_density ? any_number : positive) && !reading.has_density)
            reading.point.neutralDensity = -std::log10(0.01 * percent);
        return true;
    }
    return read_rows(source, condition_keys, reading.point, reading.prefix) ||
           read_rows(source, light_keys, reading.point, reading.prefix) ||
           read_light_source(source, reading.prefix, reading.point);
}

bool read_action_line(KeyedSource& source, ActionList& actions)
{
    return read_rows(source, pause_switches, actions) || read_rows(source, iv_keys, actions) ||
           read_rows(source, iv_switches, actions) || read_rows(source, cv_keys, actions) ||
           read_rows(source, cv_switches, actions) || read_rows(source, cf_keys, actions) ||
           read_rows(source, cf_switches, actions) || read_rows(source, qe_keys, actions) ||
           read_rows(source, qe_switches, actions) ||
           std::any_of(std::begin(written_only), std::end(written_only),
                       [&](std::string_view word) { return source.starts(word); });
}

/// @param all    the whole panel; else the second working point only
/// @param watch  null: faults are reported
bool parse(Surroundings& surroundings, std::string text, const std::string& name, bool all, ActionPanel& panel,
           LineWatch* watch = nullptr)
{
    ActionPanel found = panel;
    KeyedSource source(surroundings.report, title, name, std::move(text), line_limit);
    source.set_watch(watch);
    PointReading first{.point = found.workPoint, .prefix = ""};
    PointReading second{.point = found.secondWorkPoint, .prefix = std::string(second_prefix)};
    bool any = false;
    while (source.next()) {
        if (source.starts(second_prefix)) {
            if (read_point_line(source, second))
                any = found.second_is_given = true;
            else
                source.not_known();
        } else if (all && (read_point_line(source, first) || read_resistances(source, found.workPoint) ||
                           read_action_line(source, found.actions))) {
            any = true;
        }
    }
    if (!any && !watch)
        source.fail(
            {}, all ? "the file holds no line of an action list" : "the file holds no line of a second working point");
    if (source.failed()) return false;
    panel = std::move(found);
    return true;
}

bool read_file(Surroundings& surroundings, const std::filesystem::path& file, bool all, ActionPanel& panel)
{
    auto text = read_whole_file(file);
    if (text) return parse(surroundings, std::move(*text), file.string(), all, panel);
    KOVINErrorMessage(surroundings.report, title,
                      "The file could not be read:\n" + file.string() + ' ' + std::string(why_unreadable(file)));
    return false;
}

// ---- writing ----

void add_model(std::string& out, const std::string& start, const Model& model)
{
    const auto* row = std::find_if(std::begin(model_words), std::end(model_words),
                                   [&](const auto& word) { return word.second == model.number; });
    if (row == std::end(model_words)) return;
    out += start + " :" + std::string(row->first) + "\n";
    for (int i = 0; i < std::min(model.parameters, static_cast<int>(model.values.size())); ++i)
        out += start + ", value of parameter " + integer(i + 1) + " : " +
               scientific(model.values[static_cast<std::size_t>(i)], 20, 12) + "\n";
}

void add_light_source(std::string& out, const std::string& prefix, const WorkPoint& point)
{
    if (point.generationSpecified) {
        out += prefix + "generation G(x) specified\n";
        if (point.generationFromFile) {
            out += prefix + "generation G(x) from file :" + file_part(point.generationFile) + "\n";
        } else {
            out += prefix + "generation G(x) from model\n";
            add_model(out, prefix + "generation model", point.generationModel);
        }
        return;
    }
    out += prefix + "incident illumination specified\n";
    if (point.spectrumFromFile) {
        out += prefix + "incident spectrum from file :" + file_part(point.spectrumFile) + "\n";
    } else {
        out += prefix + "incident spectrum from model\n";
        add_model(out, prefix + "spectrum model", point.spectrumModel);
    }
}

void add_conditions(std::string& out, const std::string& prefix, const WorkPoint& point)
{
    for (const KeyRow<WorkPoint>& key : condition_keys)
        if (prefix.empty() || key.real != &WorkPoint::frequency) add_row(out, key, point, prefix);
}

void add_light_numbers(std::string& out, const std::string& prefix, const WorkPoint& point)
{
    for (const KeyRow<WorkPoint>& key : light_keys) {
        add_row(out, key, point, prefix);
        if (key.real == &WorkPoint::neutralDensity)
            out += prefix + "transmission : " + fixed(100.0 * std::pow(10.0, -point.neutralDensity), 10, 4) + " %\n";
    }
}

double increment(double start, double stop, int count) { return (stop - start) / (std::max(count, 2) - 1); }

double points_per_decade(double start, double stop, int count)
{
    const double decades = std::abs(std::log10(stop / start));
    return decades > 0.0 ? (std::max(count, 2) - 1) / decades : 0.0;
}

}  // namespace

bool SetActionPanelFromFile(Surroundings& surroundings, const std::filesystem::path& file, ActionPanel& panel)
{
    return read_file(surroundings, file, true, panel);
}

bool parse_action_list(Surroundings& surroundings, std::string text, const std::string& name, ActionPanel& panel)
{
    return parse(surroundings, std::move(text), name, true, panel);
}

ActionPanel watch_action_list(Surroundings& surroundings, std::string text, const std::string& name, LineWatch& watch)
{
    ActionPanel panel = InitialiseActionPanel();
    // The panel is kept although lines of it were passed over: under a watch only the end of the text ends it.
    static_cast<void>(parse(surroundings, std::move(text), name, true, panel, &watch));
    return panel;
}

bool SetWP2FromFile(Surroundings& surroundings, const std::filesystem::path& file, ActionPanel& panel)
{
    return read_file(surroundings, file, false, panel);
}

std::string action_panel_text(const ActionPanel& panel)
{
    const ActionList& a = panel.actions;
    std::string out;
    for (const bool second : {false, true}) {
        const std::string prefix(second ? second_prefix : "");
        const WorkPoint& point = second ? panel.secondWorkPoint : panel.workPoint;
        add_conditions(out, prefix, point);
        add_light_source(out, prefix, point);
        add_light_numbers(out, prefix, point);
    }
    add_rows(out, pause_switches, a);
    add_rows(out, iv_keys, a);
    out += "IV_increment : " + fixed(increment(a.IV_startV, a.IV_stopV, a.IV_points), 12, 6) + " V\n";
    add_rows(out, iv_switches, a);
    add_rows(out, cv_keys, a);
    out += "CV_increment : " + fixed(increment(a.CV_startV, a.CV_stopV, a.CV_points), 12, 6) + " V\n";
    add_rows(out, cv_switches, a);
    add_rows(out, cf_keys, a);
    out += "Cf_points per decade : " + fixed(points_per_decade(a.Cf_startf, a.Cf_stopf, a.Cf_points), 3, 0) + "\n";
    add_rows(out, cf_switches, a);
    add_rows(out, qe_keys, a);
    out += "QE_increment : " + fixed(increment(a.QE_startlambda, a.QE_stoplambda, a.QE_points), 8, 2) + " nm\n";
    add_rows(out, qe_switches, a);
    return out;
}

std::string second_work_point_text(const ActionPanel& panel)
{
    const std::string prefix(second_prefix);
    std::string out;
    add_conditions(out, prefix, panel.secondWorkPoint);
    add_light_numbers(out, prefix, panel.secondWorkPoint);
    add_light_source(out, prefix, panel.secondWorkPoint);
    return out;
}

}  // namespace kovin
