#include "ui/terminal/options.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace kovin {

bool read_options(int argc, char** argv, const std::string& version, Options& options, int& status)
{
    CLI::App app{"KOVIN: band diagrams and measurements of thin-film solar cells, simulated in one dimension", "kovin"};
    app.footer(
        "Exit status: 0 all there and converged; 1 done, but something was cut, did not converge or is not\n"
        "supported yet; 2 usage; 3 input missing or not understood; 4 nothing could be calculated; 6 output not\n"
        "written; 70 internal error; 130, 143 interrupted.");
    app.set_version_flag("--version", version);
    app.add_option("--home", options.home, "Folder with def, absorption, spectrum, ... results");
    app.add_option("-o,--output", options.output, "Folder for result files (default: the home's results)");
    app.add_flag("-f,--force", options.force, "Overwrite existing result files");
    auto* quiet = app.add_flag("-q,--quiet", options.quiet, "Tell errors only");
    app.add_flag("-v,--verbose", options.verbose, "Tell each step")->excludes(quiet);
    app.add_flag("--json", options.json, "Print the results as one JSON object");
    std::string progress = "auto";
    app.add_option("--progress", progress, "Progress bar on a terminal")->check(CLI::IsMember({"auto", "none"}));

    CLI::App* run = app.add_subcommand("run", "Load the files, calculate, write the results and a summary");
    run->fallthrough();
    run->add_option("files", options.files, "Definition file; action list, spectrum, ... beside it")->required();
    std::vector<std::string> only_loaded;
    app.add_option("files", only_loaded, "Files to load");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool told_all = app.exit(error, std::cout, std::cerr) == 0;
        status = static_cast<int>(told_all ? ExitStatus::good : ExitStatus::usage);
        return false;
    }
    options.run = run->parsed();
    options.progress = progress == "auto";
    if (options.run && !only_loaded.empty())
        options.files.insert(options.files.begin(), only_loaded.begin(), only_loaded.end());
    if (!options.run) options.files = std::move(only_loaded);
    if (options.files.empty()) {
        std::cerr << app.help();
        status = static_cast<int>(ExitStatus::usage);
        return false;
    }
    return true;
}

}  // namespace kovin
