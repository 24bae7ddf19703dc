#include "base/name_list_file.h"

#include "base/constants.h"
#include "base/line_file.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"

#include <algorithm>
#include <system_error>

namespace kovin {

int lees_char_file(Surroundings& surroundings, std::string_view path, std::vector<std::string>& names)
{
    constexpr std::string_view mark = "file:";
    names.clear();
    const std::filesystem::path file = MakeFullPath(surroundings.folders, path, FileKind::file_list);
    const auto fault = [&](const std::string& title, const std::string& text) {
        KOVINErrorMessage(surroundings.report, title, text);
        return -1;
    };
    std::optional<std::string> text = read_whole_file(file);
    if (!text) {
        std::error_code error;
        if (std::filesystem::exists(file, error))
            return fault("Function lees_char_file(): Error occured during reading file: " + file.string() + " !",
                         "It " + std::string(why_unreadable(file)) + '.');
        return fault("From Function lees_char_file()",
                     "File was not found.\nError occured during opening file:\n" + file.string());
    }
    LineReader reader(std::move(*text), two_column_line_limit);
    for (std::string line; reader.ReadLine(line);) {
        const std::size_t at = find_ignoring_case(line, mark);
        if (at == std::string::npos) continue;
        std::string name(trimmed(std::string_view(line).substr(at + mark.size())));
        std::replace(name.begin(), name.end(), '\\', '/');
        if (name.empty()) continue;
        if (names.size() == MAX_NUMBER_OF_INPUT_POINTS) {
            KOVINErrorMessage(surroundings.report, "Warning: values of an input file",
                              file.string() + ", line " + std::to_string(reader.line_number()) +
                                  ": this name and what follows is not read: the file has more than " +
                                  std::to_string(MAX_NUMBER_OF_INPUT_POINTS) + " names");
            break;
        }
        names.push_back(std::move(name));
    }
    if (names.empty())
        return fault("Function lees_char_file(): End of file occured during reading file: " + file.string() + " !",
                     "File contains no useful information. No line with \"file:\" and a name");
    return static_cast<int>(names.size());
}

}  // namespace kovin
