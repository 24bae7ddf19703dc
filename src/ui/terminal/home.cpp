#include "ui/terminal/home.h"

#include "base/folders.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

namespace kovin {

namespace fs = std::filesystem;

fs::path program_path(const char* argv0)
{
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::absolute(argv0, error) : self;
}

fs::path default_home(const fs::path& program)
{
    std::error_code error;
    const fs::path beside = program.parent_path();
    if (fs::is_directory(beside / "def", error) && fs::is_directory(beside / "spectrum", error)) return beside;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data != '\0')
        return fs::path(data) / "kovin";
    const char* user = std::getenv("HOME");
    return fs::path(user != nullptr && *user != '\0' ? user : ".") / ".local/share/kovin";
}

bool holds_shipped_files(const fs::path& folder)
{
    const auto holds = [&](const char* name, const char* extension) {
        std::error_code error;
        for (fs::directory_iterator entry(folder / name, error), end; !error && entry != end; entry.increment(error))
            if (entry->path().extension() == extension) return true;
        return false;
    };
    return holds("def", ".def") && holds("spectrum", ".spe");
}

bool make_home(const fs::path& folder, const fs::path& shipped, std::string& told)
{
    // A folder cannot be copied into itself.
    std::error_code fault;
    const fs::path target = fs::weakly_canonical(folder, fault);
    for (const std::string_view name : folder_names) {
        const fs::path source = fs::weakly_canonical(shipped / name, fault);
        const auto ends = std::mismatch(source.begin(), source.end(), target.begin(), target.end());
        if (ends.first != source.end()) continue;
        told = "'" + folder.string() + "' lies within the files that are to be copied, in '" + source.string() + "'";
        return false;
    }
    if (!make_folders({.root = folder, .results = folder / "results"})) {
        told = "the folders of '" + folder.string() + "' cannot be made";
        return false;
    }
    std::error_code error;
    if (fs::equivalent(folder, shipped, error)) return true;
    for (const std::string_view name : folder_names) {
        if (!fs::is_directory(shipped / name, error) || name == "results") continue;
        // What the user has changed stays as it is.
        fs::copy(shipped / name, folder / name, fs::copy_options::recursive | fs::copy_options::skip_existing, error);
        if (!error) continue;
        told = "the files of '" + (shipped / name).string() + "' cannot be copied: " + error.message();
        return false;
    }
    return true;
}

}  // namespace kovin
