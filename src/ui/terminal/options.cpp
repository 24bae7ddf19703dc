#include "ui/terminal/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace kovin {

bool read_options(int argc, char** argv, const std::string& version, Options& options, int& status)
{
    CLI::App app{"KOVIN: band diagrams and measurements of thin-film solar cells, simulated in one dimension", "kovin"};
    app.footer(
        "Exit status: 0 all there and converged; 1 done, but something was cut, replaced, did not converge or is\n"
        "not supported yet, or a check found something; 2 usage; 3 input missing or not understood; 4 nothing could be "
        "calculated; 6 output not\n"
        "written; 70 internal error; 130, 143 interrupted.");
    app.set_version_flag("--version", version);
    app.add_option("--home", options.home, "Folder with def, absorption, spectrum, ... results");
    app.add_option("-o,--output", options.output, "Folder for result files (default: the home's results)");
    app.add_flag("-f,--force", options.force, "Overwrite existing result files");
    auto* quiet = app.add_flag("-q,--quiet", options.quiet, "Tell errors only");
    app.add_flag("-v,--verbose", options.verbose, "Tell each step")->excludes(quiet);
    app.add_flag("--json", options.json, "Print the results as one JSON object");
    std::string log = "none";
    const std::vector<std::string> logs{"none", "append", "new", "both"};
    app.add_option("--error-log", log,
                   "Messages to KOVINErrorLogFile.log in the home instead of the terminal: append, new; both: to a new "
                   "log and the terminal")
        ->check(CLI::IsMember(logs));
    std::string progress = "auto";
    app.add_option("--progress", progress, "Progress bar on a terminal")->check(CLI::IsMember({"auto", "none"}));

    CLI::App* run = app.add_subcommand("run", "Load the files, calculate, write the results and a summary");
    run->fallthrough();
    run->add_option("files", options.files, "Definition file; action list, spectrum, ... beside it")->required();
    run->add_flag("--absorption-table", options.absorption_table, "Write alpha by wavelength and layer (.abs)");
    run->add_flag("--grading-table", options.grading_table, "Write the graded material point by point (.grading)");
    run->add_flag("--repair", options.repair, "Go on with a stand-in for each input file that is missing");
    CLI::App* check =
        app.add_subcommand("check", "Read the files, tell every fault by file and line, calculate nothing");
    check->fallthrough();
    check->add_option("files", options.files, "Definition, action list, spectrum, absorption, ... files")->required();
    CLI::App* home = app.add_subcommand("home", "Print the folder with def, absorption, spectrum, ... results");
    home->fallthrough();
    home->add_option("--init", options.init, "Make this folder a home: the whole tree, with the shipped files");
    std::vector<std::string> only_loaded;
    app.add_option("files", only_loaded, "Files to load");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool told_all = app.exit(error, std::cout, std::cerr) == 0;
        status = static_cast<int>(told_all ? ExitStatus::good : ExitStatus::usage);
        return false;
    }
    options.command = run->parsed()     ? Command::run
                      : check->parsed() ? Command::check
                      : home->parsed()  ? Command::home
                                        : Command::load;
    options.progress = progress == "auto";
    options.error_mode = static_cast<int>(std::find(logs.begin(), logs.end(), log) - logs.begin());
    options.files.insert(options.files.begin(), only_loaded.begin(), only_loaded.end());
    if (options.files.empty() && options.command != Command::home) {
        std::cerr << app.help();
        status = static_cast<int>(ExitStatus::usage);
        return false;
    }
    return true;
}

}  // namespace kovin
