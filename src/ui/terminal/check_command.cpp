#include "ui/terminal/check_command.h"

#include "app/check_file.h"
#include "ui/terminal/home.h"

#include <iostream>

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
    if (!options.init.empty()) {
        const std::filesystem::path beside = program.parent_path();
        const std::filesystem::path& shipped = holds_shipped_files(beside) ? beside : home;
        if (!holds_shipped_files(shipped)) {
            std::cerr << "kovin: the shipped files are neither beside the program in '" << beside.string()
                      << "' nor in the home '" << home.string() << "'; --home DIR names another one\n";
            return ExitStatus::input;
        }
        std::string told;
        if (!make_home(folder, shipped, told)) {
            std::cerr << "kovin: " << told << '\n';
            return ExitStatus::output;
        }
    }
    std::cout << folder.string() << '\n';
    return std::cout.flush() ? ExitStatus::good : ExitStatus::output;
}

}  // namespace kovin
