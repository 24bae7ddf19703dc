#include "base/file_kinds.h"

#include "base/text_scan.h"

namespace kovin {

namespace {

struct ExtensionRow {
    std::string_view extension;
    FileKind kind;
};

/// Every spelling of every extension; a generation result has the extension of a generation file, which wins.
constexpr ExtensionRow extensions[] = {
    {"def", FileKind::definition},
    {"definition", FileKind::definition},
    {"spe", FileKind::spectrum},
    {"spectrum", FileKind::spectrum},
    {"abs", FileKind::absorption},
    {"ftr", FileKind::filter},
    {"gen", FileKind::generation},
    {"generation", FileKind::generation},
    {"opt", FileKind::optical_capture},
    {"bdf", FileKind::value_list},
    {"act", FileKind::action_list},
    {"action", FileKind::action_list},
    {"sbf", FileKind::batch_settings},
    {"batch", FileKind::batch_settings},
    {"srf", FileKind::record_settings},
    {"record", FileKind::record_settings},
    {"script", FileKind::script},
    {"scr", FileKind::script},
    {"kovin", FileKind::all_settings},
    {"kov", FileKind::all_settings},
    {"kvn", FileKind::all_settings},
    {"eb", FileKind::eb},
    {"ac", FileKind::ac},
    {"iv", FileKind::iv},
    {"cv", FileKind::cv},
    {"cf", FileKind::cf},
    {"qe", FileKind::qe},
    {"grad", FileKind::grading},
    {"wp2", FileKind::work_point_2},
    {"material", FileKind::material},
};

}  // namespace

FileKind kind_of_extension(std::string_view extension)
{
    for (const ExtensionRow& row : extensions)
        if (equal_ignoring_case(row.extension, extension)) return row.kind;
    return FileKind::unknown;
}

FileKind DetermineKOVINFiletype(std::string_view path)
{
    const std::string_view name = trimmed(path);
    const auto stop = name.find_last_of("./\\");
    if (stop == std::string_view::npos || name[stop] != '.') return FileKind::unknown;
    return kind_of_extension(name.substr(stop + 1));
}

}  // namespace kovin
