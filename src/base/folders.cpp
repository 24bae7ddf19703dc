#include "base/folders.h"

#include "base/text_scan.h"

#include <algorithm>

namespace kovin {

namespace fs = std::filesystem;

namespace {

/// Folder under the root, empty for the kinds that go to the results.
std::string_view folder_name(FileKind kind)
{
    switch (static_cast<int>(kind)) {
        case 0:
        case 8:
        case 13:
        case 30:
            return "def";
        case 1:
            return "spectrum";
        case 2:
            return "absorption";
        case 3:
            return "filter";
        case 4:
            return "generation";
        case 5:
        case 21:
        case 22:
            return "optcapt";
        case 6:
        case 7:
        case 9:
        case 10:
        case 12:
        case 28:
            return "bdf";
        case 11:
            return "script";
        case 26:
            return "grading";
        case 27:
            return "measurements";
        case 29:
            return "scaling";
        case 31:
            return "materials";
        default:
            return "";
    }
}

bool is_file(const fs::path& path)
{
    std::error_code error;
    const auto status = fs::status(path, error);
    return fs::exists(status) && !fs::is_directory(status);
}

/// The name with "/" for "\" and without blanks at its ends.
std::string native(std::string_view name)
{
    std::string result(trimmed(name));
    std::replace(result.begin(), result.end(), '\\', '/');
    return result;
}

bool has_drive(std::string_view name)
{
    return name.size() >= 2 && name[1] == ':' &&
           ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
}

/// `name` in `folder`, else the only file there whose name differs from it in case alone, else nothing.
fs::path look_up(const fs::path& folder, const std::string& name)
{
    if (name.empty()) return {};
    if (is_file(folder / name)) return folder / name;
    fs::path found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (!equal_ignoring_case(entry->path().filename().native(), name) || !is_file(entry->path())) continue;
        if (!found.empty()) return {};
        found = entry->path();
    }
    return found;
}

}  // namespace

fs::path Folders::of(FileKind kind) const
{
    const std::string_view name = folder_name(kind);
    return name.empty() ? results : root / name;
}

std::string file_part(std::string_view name)
{
    const std::string path = native(name);
    const auto cut = path.rfind('/');
    if (cut != std::string::npos) return path.substr(cut + 1);
    return has_drive(path) ? path.substr(2) : path;
}

fs::path CheckKOVINPaths(const Folders& folders, std::string_view given, FileKind kind)
{
    const std::string name = native(given);
    const std::string file = file_part(name);
    const fs::path folder = folders.of(kind);

    const bool foreign = has_drive(name);
    const bool bare = !foreign && name.find('/') == std::string::npos;
    if (!bare && !foreign) {
        if (is_file(name)) return name;
        // A relative path inside a file counts from the program's home.
        if (fs::path(name).is_relative() && is_file(folders.root / name)) return folders.root / name;
    }
    if (const fs::path found = look_up(folder, file); !found.empty()) return found;
    return bare || foreign ? folder / file : fs::path(name);
}

bool make_folders(const Folders& folders)
{
    bool made = true;
    const auto make = [&](const fs::path& folder) {
        std::error_code error;
        fs::create_directories(folder, error);
        made = fs::is_directory(folder, error) && made;
    };
    for (const std::string_view name : folder_names) make(folders.root / name);
    make(folders.results);
    return made;
}

}  // namespace kovin
