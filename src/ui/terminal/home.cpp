#include "ui/terminal/home.h"

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

}  // namespace kovin
