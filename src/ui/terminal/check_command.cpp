#include "ui/terminal/check_command.h"

#include "app/check_file.h"
#include "ui/terminal/home.h"

#include <iostream>
#include <system_error>

namespace kovin {

ExitStatus check_command(const Session& session, const Options& options)
{
    bool clean = true, readable = true;
    for (const std::string& name : options.files) {
        const CheckResult result = check_file(session, name);
        for (const Finding& finding : result.findings) std::cout << finding_text(finding) << '\n';
        clean = clean && result.findings.empty();
        readable = readable && result.readable;
        if (result.findings.empty() && !options.quiet) std::cerr << name << ": nothing found\n";
    }
    if (!std::cout.flush()) return ExitStatus::output;
    return !readable ? ExitStatus::input : clean ? ExitStatus::good : ExitStatus::incomplete;
}

ExitStatus home_command(const Options& options, const std::filesystem::path& home, const std::filesystem::path& program)
{
    const std::filesystem::path folder = options.init.empty() ? home : std::filesystem::absolute(options.init);
    std::string told;
    std::error_code error;
    const bool beside = std::filesystem::is_directory(program.parent_path() / "def", error);
    if (!options.init.empty() && !make_home(folder, beside ? program.parent_path() : home, told)) {
        std::cerr << "kovin: " << told << '\n';
        return ExitStatus::output;
    }
    std::cout << folder.string() << '\n';
    return std::cout.flush() ? ExitStatus::good : ExitStatus::output;
}

}  // namespace kovin
