#include "app/check_file.h"

#include "app/load.h"
#include "base/line_file.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/action_file.h"
#include "device/action_tables.h"
#include "device/column_check.h"
#include "device/definition_check.h"
#include "device/definition_reader.h"
#include "device/definition_tables.h"
#include "device/file_check.h"
#include "device/grading.h"
#include "device/grading_file.h"

#include <algorithm>

namespace kovin {

namespace {

/// A file that is looked at, and what is found in it.
struct Look {
    const Session& session;
    std::filesystem::path file;
    LineWatch watch;
    std::vector<NeededFile> needed;

    void find(int line, const std::string& text) { watch.find(line, text); }
};

/// Bytes and lengths that no reader takes.
void check_bytes(Look& look, const std::string& text, std::size_t limit)
{
    LineReader reader(text, text.size());
    for (std::string line; reader.ReadLine(line);) {
        const bool control = std::any_of(line.begin(), line.end(), [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 32 && c != '\t' && c != '\r' && c != '\f' && c != '\v';
        });
        if (control) look.find(reader.line_number(), "holds a byte that is no text");
        if (line.size() > limit)
            look.find(reader.line_number(), "is " + integer(static_cast<long>(line.size())) +
                                                " characters long; only " + integer(static_cast<long>(limit)) +
                                                " are read");
    }
}

/// Names a missing file at the line where its name stands.
void check_needed(Look& look)
{
    for (const NeededFile& file : look.needed) {
        if (IsFileFound(look.session.surroundings, file.name, file.kind)) continue;
        const auto& names = look.watch.files;
        const auto at = std::find_if(names.begin(), names.end(), [&](const auto& n) { return n.text == file.name; });
        look.find(at == names.end() ? 0 : at->line,
                  file.what + ": " + (file.name.empty() ? "no name is given" : "'" + file.name + "' is not there"));
    }
}

/// The files of a working point under light.
void needed_by(Look& look, WorkPoint point, const std::string& which)
{
    for_each_light_file(point, which, [&](const NeededFile& file, const auto&) { look.needed.push_back(file); });
}

/// Brings the ends of all profiles up to date, and looks for values that no material has along graded ones. A grading
/// file that cannot be used is a finding of its own.
void check_grading(Look& look, SiCell& cell)
{
    Surroundings quiet;
    quiet.folders = look.session.surroundings.folders;
    if (!load_grading_files(quiet, cell)) return;
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.cell.layers); ++j) recalculate_ends(cell.cell.layer[j]);
    quiet.report.messages.clear();
    if (graded_values_hold(quiet.report, cell)) return;
    for (const Message& message : quiet.report.messages) look.find(0, message.text);
}

/// @return false if there is nothing of the kind in the text
bool check_text(Look& look, const std::string& text, FileKind kind)
{
    Surroundings quiet;  // what the readers report goes to the watch, the rest to nobody
    const std::string name = look.file.string();
    switch (kind) {
        case FileKind::definition: {
            check_bytes(look, text, definition_tables::definition_line_limit);
            Definition definition = watch_definition(quiet, text, look.file, look.watch);
            check_grading(look, definition.input.cell);
            check_physical_sense(definition, look.watch);
            ActionPanel dark = InitialiseActionPanel();
            for_each_needed_file(definition.input.cell.cell, dark,
                                 [&](const NeededFile& file, const auto&) { look.needed.push_back(file); });
            break;
        }
        case FileKind::action_list:
        case FileKind::work_point_2: {
            check_bytes(look, text, action_tables::line_limit);
            const ActionPanel panel = watch_action_list(quiet, text, name, look.watch);
            if (kind == FileKind::action_list) needed_by(look, panel.workPoint, "");
            needed_by(look, panel.secondWorkPoint, " (initial wp)");
            break;
        }
        default:
            check_bytes(look, text, two_column_line_limit);
            return check_columns(text, kind, look.watch) > 0;
    }
    check_needed(look);
    // A second working point takes its own lines alone.
    const std::string_view own = kind == FileKind::work_point_2 ? "Secondworkpoint" : "";
    return std::any_of(look.watch.known.begin(), look.watch.known.end(),
                       [&](const LineWatch::Entry& entry) { return entry.text.starts_with(own); });
}

/// One file without those that it names.
CheckResult check_one(Look& look, FileKind kind)
{
    const auto unreadable = [&](const std::string& why) { return CheckResult{{{look.file, 0, why}}, false}; };
    std::error_code error;
    const auto status = std::filesystem::status(look.file, error);
    if (!std::filesystem::exists(status)) return unreadable("is not there");
    if (std::filesystem::is_directory(status)) return unreadable("is a folder");
    const auto text = read_whole_file(look.file);
    if (!text) return unreadable("cannot be read");
    if (text->empty()) return unreadable("is empty");
    CheckResult result;
    result.readable = check_text(look, *text, kind);
    std::stable_sort(look.watch.findings.begin(), look.watch.findings.end(),
                     [](const auto& a, const auto& b) { return a.line < b.line; });
    for (const auto& [line, what] : look.watch.findings) result.findings.push_back({look.file, line, what});
    if (!result.readable) result.findings.push_back({look.file, 0, "holds nothing that is read from its kind of file"});
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
    Look look{.session = session, .file = find_input(session, name, kind), .watch = {}, .needed = {}};
    CheckResult result = check_one(look, kind);

    // The files that it names, each once.
    std::vector<std::filesystem::path> seen;
    for (const NeededFile& file : look.needed) {
        const auto path = CheckKOVINPaths(session.surroundings.folders, file.name, file.kind);
        if (!IsFileFound(session.surroundings, file.name, file.kind)) continue;
        if (std::find(seen.begin(), seen.end(), path) != seen.end()) continue;
        seen.push_back(path);
        Look inner{.session = session, .file = path, .watch = {}, .needed = {}};
        CheckResult found = check_one(inner, file.kind);
        result.findings.insert(result.findings.end(), found.findings.begin(), found.findings.end());
    }
    return result;
}

std::string finding_text(const Finding& finding)
{
    return finding.file.string() + (finding.line > 0 ? ':' + integer(finding.line) : "") + ": " + finding.text;
}

}  // namespace kovin
