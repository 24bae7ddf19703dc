#include "app/check_file.h"

#include "app/load.h"
#include "base/line_file.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/action_file.h"
#include "device/action_tables.h"
#include "device/column_check.h"
#include "device/definition_check.h"
#include "device/definition_places.h"
#include "device/definition_reader.h"
#include "device/definition_tables.h"
#include "device/file_check.h"
#include "device/graded_values.h"
#include "device/grading.h"
#include "device/grading_file.h"
#include "device/insulator_place.h"
#include "device/line_check.h"
#include "device/unit_systems.h"

#include <algorithm>
#include <optional>
#include <span>

namespace kovin {

namespace {

/// A file that is looked at, and what is found in it.
struct Look {
    const Session& session;
    std::filesystem::path file;
    LineWatch watch;
    std::vector<NeededFile> needed;
    bool all_readable = true;  ///< of the files needed

    void find(int line, const std::string& text) { watch.find(line, text); }
};

/// Bytes and lengths that no reader takes. In a table nothing is lost of a long heading or behind the two numbers of a
/// row, as in the generation files that the program writes.
/// @param table  kind of a two-column file; unknown for keyed files
void check_bytes(Look& look, const std::string& text, std::size_t limit, FileKind table)
{
    LineReader reader(text, text.size());
    bool rows = table == FileKind::unknown;
    double x = 0.0, y = 0.0;
    for (std::string line; reader.ReadLine(line);) {
        const bool control = std::any_of(line.begin(), line.end(), [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 32 && c != '\t' && c != '\r' && c != '\f' && c != '\v';
        });
        if (control) look.find(reader.line_number(), "holds a byte that is no text");
        const bool is_a_row =
            table != FileKind::unknown && is_row(std::string_view(line).substr(0, limit), table, x, y);
        rows = rows || is_a_row;
        if (line.size() > limit && rows && !is_a_row)
            look.find(reader.line_number(), "is " + integer(static_cast<long>(line.size())) +
                                                " characters long; only " + integer(static_cast<long>(limit)) +
                                                " are read");
    }
}

/// The line at which each needed file is named, 0 if none does. A name that stands on several lines goes to the line
/// of its own section and keyword, and to each of them once as far as they reach.
std::vector<int> lines_of_needed(const Look& look)
{
    const DefinitionPlaces places(look.watch.known);
    const auto& names = look.watch.files;
    std::vector<bool> used(names.size(), false);
    std::vector<int> lines;
    for (const NeededFile& file : look.needed) {
        std::size_t best = names.size();
        int best_fit = 0;
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (names[i].text != file.name) continue;
            const DefinitionPlaces::Place place = places.place(names[i].line);
            const bool same_section = place.section == file.section;
            const bool same_key = same_section && place.keyword.find(file.keyword) != std::string::npos;
            const int fit = 1 + (same_key ? 4 : 0) + (same_section ? 2 : 0) + (used[i] ? 0 : 1);
            if (fit > best_fit) best = i, best_fit = fit;
        }
        if (best < names.size()) used[best] = true;
        lines.push_back(best < names.size() ? names[best].line : 0);
    }
    return lines;
}

/// Names each file that is missing or unreadable at the line where its name stands.
void check_needed(Look& look)
{
    const std::vector<int> lines = lines_of_needed(look);
    for (std::size_t i = 0; i < look.needed.size(); ++i) {
        const NeededFile& file = look.needed[i];
        const std::string_view fault =
            file.name.empty()
                ? "no name is given"
                : why_unreadable(CheckKOVINPaths(look.session.surroundings.folders, file.name, file.kind));
        if (fault.empty()) continue;
        look.find(lines[i], file.what + ": " + (file.name.empty() ? "" : "'" + file.name + "' ") + std::string(fault));
        look.all_readable = false;
    }
}

/// The files of a working point under light.
void needed_by(Look& look, WorkPoint point, const std::string& which)
{
    for_each_light_file(point, which, [&](const NeededFile& file, const auto&) { look.needed.push_back(file); });
}

/// Line of a profile by the name that for_each_profile gives it, 0 if there is none.
int line_of_profile(const DefinitionPlaces& places, std::size_t layer, const std::string& name)
{
    const std::string section = "layer " + integer(static_cast<long>(layer) + 1);
    if (!name.starts_with("Nt of ")) return places.line(section, name);
    const std::string defect = "Nt of defect ", pair = "Nt of metastable transition ";
    const std::string part =
        name.starts_with(defect) ? "/defect " + name.substr(defect.size()) : "/metastable " + name.substr(pair.size());
    for (const char* word : {"Nt(x)", "Nt(y)", "Nt(uniform)"})
        if (const int line = places.line(section + part, word); line > 0) return line;
    return 0;
}

/// Loads the grading files, brings the ends of all profiles up to date, and looks for values with which nothing can be
/// computed. Of a grading file that cannot be used only values that its quantity cannot have are told here; the rest is
/// found where the file itself is looked at.
void check_grading(Look& look, SiCell& cell)
{
    Surroundings quiet;
    quiet.folders = look.session.surroundings.folders;
    std::vector<LoneFile> alone;
    const bool loaded = load_grading_files(quiet, cell, &alone);
    const DefinitionPlaces places(look.watch.known);
    for (const LoneFile& file : alone) look.find(line_of_profile(places, file.layer, file.profile), file.text);
    if (!loaded)
        for (const Message& message : quiet.report.messages)
            if (message.text.find(outside_its_range) != std::string::npos) look.find(0, message.text);
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.cell.layers); ++j) recalculate_ends(cell.cell.layer[j]);
    quiet.report.messages.clear();
    if (graded_values_hold(quiet.report, cell)) return;
    for (const Message& message : quiet.report.messages) look.find(0, message.text);
}

/// The action list that is taken with a cell if none is named: the one beside it.
struct ActionListBeside {
    std::string name;                  ///< without folder
    std::optional<ActionPanel> panel;  ///< what it says, if it is there
};
ActionListBeside action_list_beside(const Look& look)
{
    std::filesystem::path file = look.file;
    const auto text = read_whole_file(file.replace_extension(".act"));
    ActionListBeside beside{file.filename().string(), std::nullopt};
    LineWatch lines;
    Surroundings quiet;
    if (text) beside.panel = watch_action_list(quiet, *text, file.string(), lines);
    return beside;
}

/// First line of the cell with this keyword, 0 if there is none.
int line_of(const Look& look, std::string_view keyword)
{
    const auto found = std::ranges::find(look.watch.known, keyword, [](const auto& line) { return line.text; });
    return found == look.watch.known.end() ? 0 : found->line;
}

/// Pairs settle at the second working point, which only an action list gives.
void check_second_working_point(Look& look, const CellParameters& cell, const ActionListBeside& beside)
{
    if (!CheckMETAMode(cell) || (beside.panel && beside.panel->second_is_given)) return;
    const std::string why = beside.panel ? "has no lines of it" : "is not there";
    look.find(line_of(look, "Metastable properties"),
              "metastable pairs settle at the second working point; " + beside.name + ' ' + why +
                  ": without another action list they settle in the dark at 0 V and 300 K");
}

/// The C-V of an MIS structure asks for an insulator.
void check_insulator(Look& look, const CellParameters& cell, const ActionListBeside& beside)
{
    if (!beside.panel || !beside.panel->actions.MIS_CV_calculate) return;
    if (place_of_insulator(std::span(cell.layer).first(static_cast<std::size_t>(cell.layers)))) return;
    look.find(line_of(look, "functional type"), beside.name + " asks for the C-V of an MIS structure: " +
                                                    no_place_of_insulator + "; without it the C-V is the ordinary one");
}

/// @return false if there is nothing of the kind in the text
bool check_text(Look& look, const std::string& text, FileKind kind)
{
    Surroundings quiet;  // what the readers report goes to the watch, the rest to nobody
    const std::string name = look.file.string();
    switch (kind) {
        case FileKind::definition: {
            check_bytes(look, text, definition_tables::definition_line_limit, FileKind::unknown);
            Definition definition = watch_definition(quiet, text, look.file, look.watch);
            check_grading(look, definition.input.cell);
            check_physical_sense(definition, look.watch);
            const ActionListBeside beside = action_list_beside(look);
            check_second_working_point(look, definition.input.cell.cell, beside);
            check_insulator(look, definition.input.cell.cell, beside);
            check_repeats(look.watch);
            check_reflection(look.watch);
            check_units(look.watch);
            ActionPanel lit = InitialiseActionPanel();  // by a model, which needs the filters and no file of its own
            lit.workPoint.dark = lit.workPoint.spectrumFromFile = false;
            for_each_needed_file(definition.input.cell.cell, lit,
                                 [&](const NeededFile& file, const auto&) { look.needed.push_back(file); });
            break;
        }
        case FileKind::action_list:
        case FileKind::work_point_2: {
            check_bytes(look, text, action_tables::line_limit, FileKind::unknown);
            const ActionPanel panel = watch_action_list(quiet, text, name, look.watch);
            check_repeats(look.watch);
            check_units(look.watch);
            if (kind == FileKind::action_list) needed_by(look, panel.workPoint, "");
            needed_by(look, panel.secondWorkPoint, " (initial wp)");
            break;
        }
        default:
            check_bytes(look, text, two_column_line_limit, kind);
            return check_columns(text, kind, look.watch) > 0;
    }
    check_needed(look);
    // A second working point takes its own lines alone.
    const std::string_view own = kind == FileKind::work_point_2 ? "Secondworkpoint" : "";
    return std::any_of(look.watch.known.begin(), look.watch.known.end(),
                       [&](const LineWatch::Known& entry) { return entry.text.starts_with(own); });
}

/// One file without those that it names.
CheckResult check_one(Look& look, FileKind kind)
{
    const auto unreadable = [&](const std::string& why) { return CheckResult{{{look.file, 0, why}}, false}; };
    if (const std::string_view fault = why_unreadable(look.file); !fault.empty()) return unreadable(std::string(fault));
    const auto text = read_whole_file(look.file);
    if (!text) return unreadable("cannot be read");
    CheckResult result;
    const bool holds_some = check_text(look, *text, kind);
    result.readable = holds_some && look.all_readable;
    std::stable_sort(look.watch.findings.begin(), look.watch.findings.end(),
                     [](const auto& a, const auto& b) { return a.line < b.line; });
    for (const auto& [line, what] : look.watch.findings) result.findings.push_back({look.file, line, what});
    if (!holds_some) result.findings.push_back({look.file, 0, "holds nothing that is read from its kind of file"});
    return result;
}

bool can_be_checked(FileKind kind)
{
    constexpr FileKind kinds[] = {FileKind::definition, FileKind::action_list, FileKind::work_point_2,
                                  FileKind::spectrum,   FileKind::absorption,  FileKind::filter,
                                  FileKind::generation, FileKind::grading,     FileKind::optical_capture};
    return std::find(std::begin(kinds), std::end(kinds), kind) != std::end(kinds);
}

}  // namespace

CheckResult check_file(const Session& session, const std::string& name)
{
    const FileKind kind = DetermineKOVINFiletype(name);
    if (!can_be_checked(kind)) return {{{name, 0, "is of no kind that can be checked"}}, false};
    Look look{
        .session = session, .file = find_input(session, name, kind), .watch = {}, .needed = {}, .all_readable = true};
    CheckResult result = check_one(look, kind);

    // The files that it names, each once; what has no readable file has been told.
    std::vector<std::filesystem::path> seen;
    for (const NeededFile& file : look.needed) {
        const auto path = CheckKOVINPaths(session.surroundings.folders, file.name, file.kind);
        if (file.name.empty() || !why_unreadable(path).empty()) continue;
        if (std::find(seen.begin(), seen.end(), path) != seen.end()) continue;
        seen.push_back(path);
        Look inner{.session = session, .file = path, .watch = {}, .needed = {}, .all_readable = true};
        const CheckResult found = check_one(inner, file.kind);
        result.readable = result.readable && found.readable;
        result.findings.insert(result.findings.end(), found.findings.begin(), found.findings.end());
    }
    return result;
}

std::string finding_text(const Finding& finding)
{
    return finding.file.string() + (finding.line > 0 ? ':' + integer(finding.line) : "") + ": " + finding.text;
}

}  // namespace kovin
