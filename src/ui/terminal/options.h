// The options of the command line.
#pragma once

#include "app/analysis.h"
#include "device/numerical_settings.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kovin {

/// How the program ends.
enum class ExitStatus : int {
    good = 0,
    incomplete = 1,  ///< done, but something was cut, replaced, did not converge or is not supported yet; findings
    usage = 2,
    input = 3,  ///< input missing or not understood
    nothing_calculated = 4,
    output = 6,  ///< a result file could not be written, or is there already
    internal_error = 70,
    interrupted = 128  ///< plus the number of the signal
};

enum class Command {
    load,   ///< load the files and end
    run,    ///< load, calculate, write
    check,  ///< read the files for their faults
    home    ///< print the home folder, or make one
};

struct Options {
    Command command = Command::load;
    std::vector<std::string> files;
    std::filesystem::path home;                            ///< empty: find it
    std::filesystem::path output;                          ///< empty: the results folder of the home
    std::filesystem::path init;                            ///< home: folder that becomes a home
    bool force = false;                                    ///< overwrite result files
    bool absorption_table = false, grading_table = false;  ///< write these as well
    bool analyse = false;                                  ///< capacitance curves, with these settings
    AnalysisChoices analysis;
    bool repair = false;  ///< go on with a stand-in for each missing file
    int error_mode = 0;   ///< ErrorMessageMode
    bool quiet = false, verbose = false;
    bool json = false;
    bool progress = true;
    // Settings of this run that stand over those of the cell.
    std::optional<Route> route;         ///< way to the solution
    std::optional<int> scheme;          ///< coupling scheme, 11 to 14
    std::optional<int> switch_at;       ///< pass from which scheme 14 solves all equations together
    std::optional<double> termination;  ///< of psi, Fn and Fp [kT]
    bool deep_depletion = false;        ///< C-V of an MIS structure without minority carriers
    int cut_curves = 0;                 ///< rows behind a cut: 0 none, 1 zeros, 2 blanks
};

/// Reads the arguments. @param version  what --version prints
/// @return nothing to do any more, with `status` (help, version, or a usage error already told on standard error)
[[nodiscard]] bool read_options(int argc, char** argv, const std::string& version, Options& options, int& status);

}  // namespace kovin
