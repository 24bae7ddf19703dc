// The program on a terminal. Standard output is data; everything said to the user goes to standard error.
#include "app/initialise.h"
#include "ui/terminal/check_command.h"
#include "ui/terminal/home.h"
#include "ui/terminal/options.h"
#include "ui/terminal/progress.h"
#include "ui/terminal/run_command.h"
#include "ui/terminal/signals.h"

#include <exception>
#include <iostream>
#include <memory>
#include <system_error>

namespace {

using namespace kovin;

/// A run that does not end well names the log, where its messages are in that alone.
int ended(const Session& session, ExitStatus status)
{
    const Report& report = session.surroundings.report;
    const bool in_log_alone = (report.ErrorMessageMode == 1 || report.ErrorMessageMode == 2) && report.log.good();
    if (status != ExitStatus::good && in_log_alone && !report.messages.empty())
        std::cerr << "kovin: the messages of this run are in '" << report.log_file.string() << "'\n";
    return static_cast<int>(status);
}

int start(int argc, char** argv)
{
    const std::filesystem::path program = program_path(argv[0]);
    Options options;
    int status = 0;
    if (!read_options(argc, argv, version_banner(argv[0], file_date(program)), options, status)) return status;

    const std::filesystem::path home =
        options.home.empty() ? default_home(program) : std::filesystem::absolute(options.home);
    if (options.command == Command::home) return static_cast<int>(home_command(options, home, program));

    const auto session = std::make_unique<Session>();
    SignalWatch signals(session->surroundings.monitor);
    Initialise(*session, home, argv[0]);
    session->surroundings.report.ErrorMessageMode = options.error_mode;
    session->surroundings.version = version_banner(argv[0], file_date(program));
    Folders& folders = session->surroundings.folders;
    if (!make_folders(folders)) std::cerr << "kovin: cannot make the folders of '" << folders.root.string() << "'\n";
    if (!options.output.empty()) folders.results = std::filesystem::absolute(options.output);

    Progress progress(options);
    session->surroundings.report.show = [&progress](const Message& message) {
        progress.clear();
        std::cerr << "kovin: " << message.title << ": " << message.text << '\n';
    };
    session->surroundings.monitor.listener = [&progress](const Event& event) { progress(event); };

    if (options.command == Command::load) return ended(*session, load_command(*session, options));
    if (options.command == Command::check) return static_cast<int>(check_command(*session, options));

    Summary summary;
    summary.verbose = options.verbose;
    ExitStatus outcome = run_command(*session, options, summary);
    progress.clear();
    for (const Message& message : session->surroundings.report.messages)
        summary.messages.push_back(message.title + ": " + message.text);
    if (options.json)
        std::cout << summary_json(summary);
    else if (!summary.files.empty())
        std::cout << summary_table(summary);
    if (!std::cout.flush()) outcome = ExitStatus::output;
    if (signals.received() != 0) return static_cast<int>(ExitStatus::interrupted) + signals.received();
    return ended(*session, outcome);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return start(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "kovin: internal error: " << error.what() << '\n';
    } catch (...) {
        std::cerr << "kovin: internal error\n";
    }
    return static_cast<int>(kovin::ExitStatus::internal_error);
}
