#include "app/input_kinds.h"

#include "app/initialise.h"
#include "app/load.h"
#include "base/line_file.h"
#include "base/two_column_file.h"
#include "device/absorption_models.h"
#include "device/action_file.h"
#include "device/grading_file.h"
#include "fuzz/targets.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kovin::test {

namespace {

const std::filesystem::path home = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";

bool finite(const std::vector<double>& values)
{
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

bool take_capture(Session& s, const std::string& file)
{
    TwoColumns rows;
    if (ReadKOVINFile(s.surroundings, file, FileKind::optical_capture, 1, true, rows) < 1) return false;
    EXPECT_TRUE(rows.x.size() == rows.y.size() && rows.x.size() <= 2500u && finite(rows.x) && finite(rows.y) &&
                std::is_sorted(rows.x.begin(), rows.x.end()));
    return true;
}

bool take_grading(Session& s, const std::string& file)
{
    GradingFile grading;
    if (!read_grading_file(s.surroundings, file, Dependence::on_x, any_number, grading)) return false;
    EXPECT_TRUE(finite(grading.position) && finite(grading.value) && grading.value.size() == grading.position.size());
    return true;
}

bool take_spectrum(Session& s, const std::string& file)
{
    bool usable = set_spectrum(s, file);
    for (const bool cut_off : {false, true}) {
        WorkPoint wp = InitialiseWorkPoint();
        wp.dark = false;
        wp.spectrumFile = file;
        wp.cutOff = cut_off;
        wp.lambdaShort = 300.5;
        wp.lambdaLong = 560;
        GenerationParameters gp;
        usable = usable && bepaal_spectrum(s.surroundings, wp, gp);
        EXPECT_TRUE(std::isfinite(wp.powerAfterCutOff) && gp.n <= 2503);
        for (const double power : gp.spectrum) EXPECT_TRUE(power >= 0.0 && std::isfinite(power));
    }
    return usable;
}

bool take_absorption(Session& s, const std::string& file)
{
    MaterialAbsorption material;
    material.from_file = true;
    AbsorptionFiles files;
    const AbsorptionTable* table = files.read(s.surroundings, file);
    if (table != nullptr) material.table = *table;
    for (const double lambda : {1.0, 300.5, 5000.0}) {
        const double alpha = alpha_at(material, lambda);
        EXPECT_TRUE(alpha >= 0.0 && std::isfinite(alpha));
    }
    return table != nullptr;
}

bool take_filter(Session& s, const std::string& file)
{
    CellParameters& cell = s.simulation.zonnecel.cell;
    cell.right.filter = true;
    cell.right.filter_constant = false;
    cell.right.filter_file = file;
    GenerationParameters gp;
    gp.lambda = {250.0, 300.5, 550.0, 5000.0};
    const bool usable = BerekenFilterSpectra(s.surroundings, cell, gp);
    for (const double T : gp.rightFilter) EXPECT_TRUE(T >= 0.0 && T <= 1.0);
    return usable;
}

bool take_generation(Session& s, const std::string& file)
{
    WorkPoint wp = InitialiseWorkPoint();
    wp.generationFromFile = true;
    wp.generationFile = file;
    wp.dark = false;
    GenerationParameters gp;
    const bool usable = set_generation(s, file) && read_given_generation(s.surroundings, wp, s.simulation.set3, gp);
    const double J = CalculateIdealCurrentFromGenerationFileOrModel(gp.given);
    EXPECT_TRUE(J >= 0.0 && std::isfinite(J));
    return usable;
}

}  // namespace

const std::vector<InputKind>& input_kinds()
{
    static const std::string layer = "layer\nname : x\nd : 1e-6\n", front = "front contact", last = "working point";
    const auto definition = fuzz::definition;
    static const std::vector<InputKind> kinds = {
        {"def", "def/impurity-photovoltaic.def", load_definition, "Eg", 0, true, false, layer, front, last, definition},
        {"def", "def/earliest-format.def", load_definition, "Nleft", 0, true, false, layer, front, "spectrumfile",
         definition},
        {"def", "def/metastable-cigs.def", load_definition, "Nt(", 0, true, false, layer, front, last, definition},
        {"act", "def/cigs-baseline.act", load_action_list, "Temperature", 0, true, false, "IV_points : 100000\n",
         "pause", "", fuzz::action},
        {"wp2", "", load_second_work_point, "Secondworkpoint Temperature", 0, true, false,
         "Secondworkpoint Number of points : 1e9\n", "Secondworkpoint dark"},
        {"spe", "spectrum/monochromatic_550nm_100Wm2.spe", take_spectrum, "5"},
        {"abs", "absorption/ZnO.abs", take_absorption, "3", 2500, false},
        {"ftr", "filter/longpass_550nm.ftr", take_filter, "5"},
        {"gen", "generation/exponential_right_40mA.gen", take_generation, "12.", 1000},
        {"grad", "grading/cigs-notch.grad", take_grading, "0.", 2500, true, true},
        {"opt", "optcapt/Si_In_electrons.opt", take_capture, "9", 2500, false},
    };
    return kinds;
}

std::vector<std::string> InputKind::lines() const
{
    return all_lines(sample.empty() ? second_work_point_text(InitialiseActionPanel())
                                    : read_whole_file(home / sample).value_or(""));
}

bool Outcome::told(const std::vector<std::string>& parts) const
{
    return std::any_of(messages.begin(), messages.end(), [&](const std::string& message) {
        return std::all_of(parts.begin(), parts.end(),
                           [&](const std::string& part) { return message.find(part) != std::string::npos; });
    });
}

InputBench::InputBench() { Initialise(*session_, home, "kovin"); }

Outcome InputBench::of(const InputKind& kind, const std::filesystem::path& file)
{
    auto& messages = session_->surroundings.report.messages;
    messages.clear();
    Outcome outcome;
    outcome.taken = kind.take(*session_, file.string());
    for (const Message& message : messages) outcome.messages.push_back(message.title + ": " + message.text);
    const CheckResult check = check_file(*session_, file.string());
    outcome.readable = check.readable;
    for (const Finding& finding : check.findings) outcome.findings.push_back(finding_text(finding));
    EXPECT_FALSE(!outcome.taken && outcome.messages.empty()) << "refused without a word: " << file;
    EXPECT_FALSE(!outcome.taken && outcome.findings.empty()) << "refused, and nothing found: " << outcome.said();
    return outcome;
}

Outcome InputBench::of(const InputKind& kind, const std::string& text)
{
    kind.promises(text);
    return of(kind, scratch_.put("x." + kind.extension, text));
}

}  // namespace kovin::test
