#include "ui/terminal/run_command.h"

#include "app/command_line.h"
#include "app/load.h"
#include "app/simulate.h"
#include "base/line_file.h"
#include "device/file_check.h"

#include <algorithm>
#include <iostream>
#include <system_error>

namespace kovin {

namespace fs = std::filesystem;

namespace {

void tell(Session& session, const std::string& title, const std::string& text)
{
    KOVINErrorMessage(session.surroundings.report, title, text);
}

/// Names what of a command line is not there yet. @return whether there is any
bool tell_not_supported(Session& session, const LoadResult& loaded)
{
    for (const std::string& file : loaded.not_supported) tell(session, "Not supported yet", "files like " + file);
    return !loaded.not_supported.empty();
}

struct ResultFile {
    std::string kind;
    fs::path path;
    std::string ResultTexts::*text;
    bool asked = true;  ///< else only of interest as what an earlier run left behind
};

/// The files that a run is going to write, and those that it would write if more were asked for. Tables on request
/// are among them only when asked for: tables of absorption and grading are files of the user as well.
std::vector<ResultFile> planned_files(const Session& session, const Options& options)
{
    const Simulation& s = session.simulation;
    const fs::path stem = session.surroundings.folders.results / s.problem.input.path.stem();
    const auto file = [&](const std::string& kind, std::string ResultTexts::*text, bool wanted = true) {
        return ResultFile{kind, fs::path(stem.string() + '.' + kind), text, wanted};
    };
    std::vector<ResultFile> files;
    const ActionList& asked = s.panel.actions;
    // The states of a C-V belong to the I-V curve.
    files.push_back(file("iv", &ResultTexts::iv, asked.IV_calculate || asked.asks_for_CV()));
    files.push_back(file("cv", &ResultTexts::cv, asked.asks_for_CV()));
    files.push_back(file("cf", &ResultTexts::cf, asked.Cf_calculate));
    files.push_back(file("qe", &ResultTexts::qe, asked.QE_calculate));
    files.push_back(file("as", &ResultTexts::as, options.analyse && asked.Cf_calculate));
    files.push_back(file("eb", &ResultTexts::eb));
    files.push_back(file("gen", &ResultTexts::gen));
    files.push_back(file("occ", &ResultTexts::occ));
    files.push_back(file("ac", &ResultTexts::ac, asked.asks_for_CV() || asked.Cf_calculate));
    if (options.absorption_table) files.push_back(file("abs", &ResultTexts::absorption));
    if (options.grading_table) files.push_back(file("grading", &ResultTexts::grading));
    return files;
}

/// Every file that a run reads, as far as it is there.
std::vector<fs::path> input_files(Session& session, const CommandLineFiles& named)
{
    Simulation& s = session.simulation;
    fs::path beside = s.problem.input.path;
    beside.replace_extension(".act");
    std::vector<fs::path> inputs = {s.problem.input.path};
    inputs.push_back(named.action.empty() ? beside : find_input(session, named.action, FileKind::action_list));
    if (!named.wp2.empty()) inputs.push_back(find_input(session, named.wp2, FileKind::work_point_2));
    for_each_needed_file(s.zonnecel.cell, s.panel, [&](const NeededFile& file, const auto&) {
        inputs.push_back(CheckKOVINPaths(session.surroundings.folders, file.name, file.kind));
    });
    return inputs;
}

/// The results folder is there and holds none of the files; `force` lets them be overwritten, but none of the inputs.
/// @return false if not (reported)
bool ready_to_write(Session& session, const std::vector<ResultFile>& files, const std::vector<fs::path>& inputs,
                    bool force)
{
    std::error_code error;
    const fs::path& folder = session.surroundings.folders.results;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error)) {
        tell(session, "Result files", "the folder '" + folder.string() + "' cannot be made");
        return false;
    }
    bool ready = true;
    for (const ResultFile& file : files) {
        if (!fs::exists(file.path, error) || (!file.asked && !force)) continue;
        const auto same = [&](const fs::path& input) { return fs::equivalent(input, file.path, error); };
        if (std::any_of(inputs.begin(), inputs.end(), same)) {
            tell(session, "Result files",
                 "'" + file.path.string() + "' is read by this run and is not overwritten; -o names another folder");
            ready = false;
        }
        if (force || !ready) continue;
        tell(session, "Result files", "'" + file.path.string() + "' is there already; -f overwrites it");
        ready = false;
    }
    return ready;
}

/// Without an action list on the command line: the one beside the cell, else light and an I-V curve.
bool complete_actions(Session& session, const Options& options, const CommandLineFiles& named)
{
    if (!named.action.empty()) return true;
    fs::path beside = session.simulation.problem.input.path;
    beside.replace_extension(".act");
    std::error_code error;
    if (!fs::is_regular_file(beside, error)) {
        if (!ask_for_light_IV(session)) return false;
        if (!options.quiet) std::cerr << "no action list: light and an I-V curve from 0 V to beyond Voc\n";
        return true;
    }
    if (!options.quiet) std::cerr << "action list: " << beside.string() << '\n';
    if (!load_action_list(session, beside.string())) return false;
    // The light that was named on the command line stands over that of the list.
    return (named.spectrum.empty() || set_spectrum(session, named.spectrum)) &&
           (named.generation.empty() || set_generation(session, named.generation)) &&
           (named.wp2.empty() || load_second_work_point(session, named.wp2));
}

/// Settings that stand over those of the cell; in this run only.
void apply_settings(Session& session, const Options& options)
{
    ConvergenceParameters& settings = session.simulation.problem.input.convergence;
    const bool classic_settings = options.scheme || options.switch_at || options.termination;
    if (options.route)
        settings.route = *options.route;
    else if (classic_settings)
        settings.route = Route::classic;
    if (options.scheme) settings.coupling_scheme = *options.scheme;
    if (options.switch_at) settings.gummel_to_coupled_iteration = *options.switch_at;
    if (options.termination) set_terminations(settings, *options.termination);
    session.simulation.panel.actions.minority_carriers_wait = options.deep_depletion;
    session.ActionListMode = static_cast<CutCurves>(options.cut_curves);
    const char* why = options.route ? " (--route)" : classic_settings ? " (a setting of it is given)" : "";
    session.surroundings.monitor.post(
        {.text = std::string(settings.route == Route::fast ? "fast" : "classic") + " route" + why});
}

/// A file of an earlier run, beside those of a run that has nothing for it, would pass for its own: it goes.
void remove_earlier(Session& session, const fs::path& file)
{
    std::error_code error;
    if (fs::remove(file, error))
        tell(session, "Result files",
             "'" + file.string() + "' is gone: it was of an earlier run, and this one has none");
    else if (error)
        tell(session, "Result files", "'" + file.string() + "' is of an earlier run and could not be removed");
}

bool write_files(Session& session, const Options& options, const std::vector<ResultFile>& files, Summary& summary)
{
    const ResultTexts texts = result_texts(session, {options.absorption_table, options.grading_table});
    bool written = true;
    for (const ResultFile& file : files) {
        const std::string& text = texts.*(file.text);
        if (text.empty()) {
            if (options.force) remove_earlier(session, file.path);
            continue;
        }
        if (write_whole_file(file.path, text)) {
            summary.files.emplace_back(file.kind, file.path);
        } else {
            tell(session, "Result files", "'" + file.path.string() + "' could not be written");
            written = false;
        }
    }
    return written;
}

ExitStatus status_of(const Session& session, SimulateOutcome outcome)
{
    const Simulation& s = session.simulation;
    if (s.failures.input) return ExitStatus::input;
    if (outcome == SimulateOutcome::failed && s.failures.work_point) return ExitStatus::nothing_calculated;
    const ActionList& asked = s.panel.actions;
    const bool cut = (asked.IV_calculate && (s.failures.first_IV_point || s.failures.IV)) ||
                     (asked.asks_for_CV() && s.failures.CV) || (asked.Cf_calculate && s.failures.Cf) ||
                     (asked.QE_calculate && s.failures.QE) || s.failures.admittance || s.failures.mis ||
                     s.failures.metastable || s.failures.work_point;
    const bool complete = outcome == SimulateOutcome::done && !cut && session.unsupported.empty();
    return complete ? ExitStatus::good : ExitStatus::incomplete;
}

}  // namespace

ExitStatus load_command(Session& session, const Options& options)
{
    const CommandLineFiles files = attribute_arguments(options.files);
    // Beside files of a known kind what is of none is passed over; alone it is a mistake.
    if (names_nothing(files)) {
        std::string given;
        for (const std::string& argument : files.dropped) given += (given.empty() ? ": '" : ", '") + argument + '\'';
        tell(session, "Command line", "no file of a known kind is given" + given);
        return ExitStatus::input;
    }
    const LoadResult loaded = load_files(session, files);
    const bool not_supported = tell_not_supported(session, loaded);
    if (not_supported || !loaded.all_loaded) return ExitStatus::input;
    apply_settings(session, options);
    Simulation& s = session.simulation;
    const bool all_there = missing_files(session.surroundings, s.zonnecel.cell, s.panel).empty();
    if (!CanAllFilesBeFound(session.surroundings, s.zonnecel.cell, s.panel)) return ExitStatus::input;
    if (all_there) return ExitStatus::good;
    if (!options.quiet) std::cerr << "missing files were repaired\n";
    return ExitStatus::incomplete;
}

ExitStatus run_command(Session& session, const Options& options, Summary& summary)
{
    const CommandLineFiles files = attribute_arguments(options.files);
    for (const std::string& argument : files.dropped)
        tell(session, "Command line", "'" + argument + "' is no file of a known kind");
    for (const std::string& argument : files.replaced)
        tell(session, "Command line", "'" + argument + "': a run takes one file of its kind, and another is named");
    if (!files.dropped.empty() || !files.replaced.empty()) return ExitStatus::input;
    if (files.definition.empty()) {
        tell(session, "Command line", "no definition file (.def) is named");
        return ExitStatus::input;
    }
    const LoadResult loaded = load_files(session, files);
    summary.problem = session.simulation.problem.input.path.stem().string();
    if (tell_not_supported(session, loaded) || !loaded.all_loaded) return ExitStatus::input;
    if (!complete_actions(session, options, files)) return ExitStatus::input;
    apply_settings(session, options);
    Simulation& s = session.simulation;
    if (options.deep_depletion && !s.panel.actions.MIS_CV_calculate) {
        tell(session, "Command line", "--deep-depletion: no C-V of an MIS structure is asked for (MIS CV_calculate)");
        return ExitStatus::usage;
    }
    if (options.analyse) {
        if (const std::string complaint = prepare_analysis(s, options.analysis); !complaint.empty()) {
            tell(session, "Command line", "--analysis: " + complaint);
            return ExitStatus::usage;
        }
    }
    const bool all_there = missing_files(session.surroundings, s.zonnecel.cell, s.panel).empty();
    if (!CanAllFilesBeFound(session.surroundings, s.zonnecel.cell, s.panel,
                            options.repair ? MissingFiles::repair : MissingFiles::tell)) {
        tell(session, "Missing files", "--repair goes on with what stands in for each of them");
        return ExitStatus::input;
    }
    // With a log nobody is asked, and nobody has been told on the terminal.
    if (!all_there && !options.repair && !options.quiet) std::cerr << "missing files were repaired\n";

    const std::vector<ResultFile> planned = planned_files(session, options);
    if (!ready_to_write(session, planned, input_files(session, files), options.force)) return ExitStatus::output;
    const SimulateOutcome outcome = Simulate(session);
    if (outcome == SimulateOutcome::refused) {
        if (options.force)
            for (const ResultFile& file : planned) remove_earlier(session, file.path);
        return ExitStatus::incomplete;
    }

    ExitStatus status = status_of(session, outcome);
    if (status == ExitStatus::good && !all_there) status = ExitStatus::incomplete;
    const bool analysed = !options.analyse || s.failures.work_point || analyse(session, options.analysis);
    if (status == ExitStatus::good && !analysed) status = ExitStatus::incomplete;
    const bool written = write_files(session, options, planned, summary);
    const auto is_absorption = [](const auto& file) { return file.first == "abs"; };
    const bool table_missing =
        options.absorption_table && std::none_of(summary.files.begin(), summary.files.end(), is_absorption);
    if (status == ExitStatus::good && table_missing) status = ExitStatus::incomplete;
    summary.converged = status == ExitStatus::good;
    if (!session.simulation.results.empty()) summary.curves = &session.simulation.results.back();
    return written ? status : ExitStatus::output;
}

}  // namespace kovin
