#include "app/command_line.h"

#include "app/load.h"
#include "base/text_scan.h"

#include <algorithm>

namespace kovin {

namespace {

constexpr std::size_t longest_line = 1300;

/// Extensions of a command line and the slots of their files.
struct Slot {
    std::string_view extension;
    std::string CommandLineFiles::*file;
};
constexpr Slot slots[] = {
    {"def", &CommandLineFiles::definition},
    {"definition", &CommandLineFiles::definition},
    {"act", &CommandLineFiles::action},
    {"action", &CommandLineFiles::action},
    {"kvn", &CommandLineFiles::settings},
    {"kovin", &CommandLineFiles::settings},
    {"kov", &CommandLineFiles::settings},
    {"sbf", &CommandLineFiles::batch},
    {"batch", &CommandLineFiles::batch},
    {"spe", &CommandLineFiles::spectrum},
    {"spectrum", &CommandLineFiles::spectrum},
    {"gen", &CommandLineFiles::generation},
    {"generation", &CommandLineFiles::generation},
    {"scr", &CommandLineFiles::script},
    {"script", &CommandLineFiles::script},
    {"srf", &CommandLineFiles::record},
    {"record", &CommandLineFiles::record},
    {"wp2", &CommandLineFiles::wp2},
};

const Slot* slot_of(std::string_view extension)
{
    for (const Slot& slot : slots)
        if (equal_ignoring_case(slot.extension, extension)) return &slot;
    return nullptr;
}

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_letter_or_digit(char c) { return is_letter(c) || (c >= '0' && c <= '9'); }

/// Ends in a dot and letters (digits may be among them) that name no kind of file.
bool ends_in_unknown_extension(std::string_view argument)
{
    const auto dot = argument.rfind('.');
    if (dot == std::string_view::npos || dot + 1 == argument.size()) return false;
    const std::string_view extension = argument.substr(dot + 1);
    return is_letter(extension.front()) && std::all_of(extension.begin(), extension.end(), is_letter_or_digit) &&
           slot_of(extension) == nullptr;
}

}  // namespace

int ExtractFirstFilename(std::string& line, std::string& name)
{
    name.clear();
    if (line.empty()) return -2;
    std::size_t dot = std::string::npos;
    for (const Slot& slot : slots)
        dot = std::min(dot, find_ignoring_case(line, '.' + std::string(slot.extension) + ' '));
    if (dot == std::string::npos) return -1;
    name = line.substr(0, dot);
    line.erase(0, dot + 1);
    name = std::string(trimmed(name));
    return name.empty() ? -1 : 1;
}

int ExtractExtensionname(std::string& line, std::string& extension)
{
    extension.clear();
    if (line.empty()) return -1;
    const auto end = std::find_if_not(line.begin(), line.end(), is_letter_or_digit);
    extension.assign(line.begin(), end);
    if (extension.empty()) return 0;
    const auto next = std::find_if(end, line.end(), [](char c) { return c != ' '; });
    line.erase(line.begin(), next);
    return 1;
}

bool AttributeFile(const std::string& name, std::string_view extension, CommandLineFiles& files)
{
    const Slot* slot = slot_of(extension);
    if (slot == nullptr) return false;
    std::string& file = files.*(slot->file);
    if (!file.empty()) files.replaced.push_back(file);
    file = name + '.' + std::string(extension);
    return true;
}

bool names_nothing(const CommandLineFiles& files)
{
    return std::all_of(std::begin(slots), std::end(slots),
                       [&](const Slot& slot) { return (files.*(slot.file)).empty(); });
}

CommandLineFiles attribute_arguments(std::span<const std::string> arguments)
{
    CommandLineFiles files;
    std::string line;
    for (const std::string& argument : arguments) {
        if (ends_in_unknown_extension(argument) || line.size() + argument.size() + 1 > longest_line)
            files.dropped.push_back(argument);
        else
            line += argument + ' ';
    }
    std::string name, extension;
    while (ExtractFirstFilename(line, name) == 1)
        if (ExtractExtensionname(line, extension) == 1) AttributeFile(name, extension, files);
    if (const std::string_view rest = trimmed(line); !rest.empty()) files.dropped.emplace_back(rest);
    return files;
}

LoadResult load_files(Session& session, const CommandLineFiles& files)
{
    LoadResult result;
    const auto load = [&](const std::string& file, bool (*loader)(Session&, const std::string&)) {
        if (file.empty()) return false;
        const bool loaded = loader(session, file);
        if (!loaded) result.all_loaded = false;
        return loaded;
    };
    const auto not_yet = [&](const std::string& file) {
        if (!file.empty()) result.not_supported.push_back(file);
    };
    result.definition_loaded = load(files.definition, load_definition);
    result.action_loaded = load(files.action, load_action_list);
    load(files.wp2, load_second_work_point);
    not_yet(files.settings);
    load(files.spectrum, set_spectrum);
    load(files.generation, set_generation);
    not_yet(files.batch);
    not_yet(files.record);
    not_yet(files.script);
    return result;
}

}  // namespace kovin
