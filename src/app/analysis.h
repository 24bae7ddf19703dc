// The analyses of capacitance curves as a user asks for them: settings by name, defaults of the cell, results.
#pragma once

#include "app/session.h"
#include "sweeps/admittance_spectroscopy.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// What an analysis is done with: junction, permittivity and window of the slopes; model of the admittance spectrum.
struct AnalysisSettings {
    MottSchottkySettings NW;
    AsSettings as;
};

/// A value that has a name.
struct AnalysisWord {
    std::string_view word;
    double value;
};

/// One setting. The table of them serves reading, help and messages.
struct AnalysisKey {
    std::string_view key, unit;
    double least, most;                   ///< bounds, both allowed
    bool whole;                           ///< whole numbers only
    std::span<const AnalysisWord> words;  ///< may stand for their values
    void (*set)(AnalysisSettings&, double);
    std::string_view help;
};
[[nodiscard]] std::span<const AnalysisKey> analysis_keys();

/// The table for a terminal: a line for each setting with unit, bounds and meaning.
[[nodiscard]] std::string analysis_help();

/// Settings that the user gives; what is not given comes from the cell.
struct AnalysisChoice {
    const AnalysisKey* key;
    double value;
};
using AnalysisChoices = std::vector<AnalysisChoice>;

/// Takes over "KEY=VALUE"; of two values for one key the later holds. Case and blanks around both do not count.
/// @return the complaint, empty if there is none; `choices` is then unchanged
[[nodiscard]] std::string add_analysis_choice(std::string_view text, AnalysisChoices& choices);

/// Makes the settings of the doping profile those of the next run.
/// @return the complaint about a layer, defect or level that the cell does not have, empty if there is none
[[nodiscard]] std::string prepare_analysis(Simulation& simulation, const AnalysisChoices& choices);

/// Analyses the C-V and the C-f curve of the last run. What neither the user nor the file of the cell says is as the
/// cell has it: the permittivity of the layers, seen from the lighter side of its junction; nu0, Eref and Ebar there;
/// the majority carrier.
/// @pre prepare_analysis
/// @return false if there is no capacitance curve, or one with fewer points than a slope needs (reported)
bool analyse(Session& session, const AnalysisChoices& choices);

}  // namespace kovin
