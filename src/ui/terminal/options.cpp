#include "ui/terminal/options.h"

#include "base/text_scan.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <vector>

namespace kovin {

namespace {

/// A termination: a positive number. @return the complaint, empty if there is none
std::string check_termination(const std::string& text)
{
    const NumberScan number = number_here(text);
    const bool good = number.found && number.finite && number.end == text.size() && number.value > 0.0;
    return good ? "" : "'" + text + "' is no positive number";
}

/// One KEY=VALUE of an analysis. @return the complaint, empty if there is none
std::string check_analysis(const std::string& text)
{
    AnalysisChoices ignored;
    return add_analysis_choice(text, ignored);
}

constexpr const char* route_words[] = {"fast", "classic"};            // in the order of Route
constexpr const char* row_words[] = {"truncate", "zeros", "blanks"};  // in the order of CutCurves

/// What was typed for options that need more than a number.
struct Typed {
    std::string termination, rows, route;
    std::vector<std::string> analysis;
};

CLI::Option* add_route(CLI::App& command, Typed& typed)
{
    return command.add_option("--route", typed.route, "Way to the solution; fast is usual, classic a check of it")
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(route_words), std::end(route_words))))
        ->type_name("");
}

/// Settings of the iteration, for those who want to know how exact a result is, and of the files.
void add_settings(CLI::App& run, Options& options, Typed& typed)
{
    const auto group = "Settings of this run, over those of the cell";
    auto* route = add_route(run, typed);
    auto* scheme = run.add_option("--scheme", options.scheme, "Coupling of the equations")
                       ->check(CLI::IsMember({11, 12, 13, 14}))
                       ->type_name("");
    auto* switch_at =
        run.add_option("--switch", options.switch_at, "Pass from which scheme 14 solves all equations together")
            ->check(CLI::Range(2, 1000000).description(""))
            ->type_name("N >= 2")
            ->needs(scheme);
    auto* termination = run.add_option("--termination", typed.termination, "Largest last step of psi, EFn and EFp [kT]")
                            ->check(CLI::Validator(check_termination, ""))
                            ->type_name("X");
    auto* rows = run.add_option("--cut-curves", typed.rows, "Rows behind a convergence failure")
                     ->check(CLI::IsMember(std::vector<std::string>(std::begin(row_words), std::end(row_words))))
                     ->type_name("");
    auto* deep = run.add_flag("--deep-depletion", options.deep_depletion,
                              "C-V of an MIS structure: too fast for minority carriers to be generated");
    for (CLI::Option* option : {deep, route, scheme, switch_at, termination, rows}) option->group(group);
}

/// Takes over what was typed; all of it has been checked.
void take_settings(const Typed& typed, Options& options)
{
    options.analyse = options.analyse || !typed.analysis.empty();
    for (const std::string& text : typed.analysis) static_cast<void>(add_analysis_choice(text, options.analysis));
    if (!typed.termination.empty()) options.termination = number_here(typed.termination).value;
    for (std::size_t k = 0; k < std::size(row_words); ++k)
        if (typed.rows == row_words[k]) options.cut_curves = static_cast<int>(k);
    for (std::size_t k = 0; k < std::size(route_words); ++k)
        if (typed.route == route_words[k]) options.route = static_cast<Route>(k);
}

}  // namespace

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
    run->add_flag("--analyse", options.analyse, "Derive doping profile and admittance spectrum (.as) from C-V and C-f");
    Typed typed;
    run->add_option("--analysis", typed.analysis, "Setting of the analyses, see below; turns them on; repeatable")
        ->check(CLI::Validator(check_analysis, ""))
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    run->footer(analysis_help());
    CLI::App* check =
        app.add_subcommand("check", "Read the files, tell every fault by file and line, calculate nothing");
    check->fallthrough();
    check->add_option("files", options.files, "Definition, action list, spectrum, absorption, ... files")->required();
    CLI::App* home = app.add_subcommand("home", "Print the folder with def, absorption, spectrum, ... results");
    home->fallthrough();
    home->add_option("--init", options.init, "Make this folder a home: the whole tree, with the shipped files");
    add_settings(*run, options, typed);
    add_route(app, typed);
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
    take_settings(typed, options);
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
