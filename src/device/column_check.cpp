#include "device/column_check.h"

#include "base/constants.h"
#include "base/line_file.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"
#include "device/absorption_models.h"
#include "device/capture_model.h"
#include "device/grading_file.h"

#include <algorithm>

namespace kovin {

namespace {

/// What the columns of a kind are, and between which values they make sense.
struct ColumnRule {
    FileKind kind;
    std::string_view x, y;
    Limits x_limits, y_limits;
    int most = MAX_NUMBER_OF_INPUT_POINTS;  ///< rows
    bool refused = false;                   ///< a file with more is not taken at all; else the rest is not read
};
constexpr Limits light{.low = 0.0, .high = 1e40};  ///< beyond it a run refuses the sum whatever the other rows hold
constexpr std::string_view wavelength = "wavelength";
constexpr double least_wavelength = 100.0;  ///< [nm] that a table reaches at least: no cell works below it
constexpr ColumnRule rules[] = {
    {FileKind::spectrum, wavelength, "power", positive, light, MAX_NUMBER_OF_INPUT_POINTS, true},
    {FileKind::absorption, wavelength, "absorption coefficient", positive, not_negative},
    {FileKind::filter, wavelength, "percentage", positive, {0.0, 100.0}, MAX_NUMBER_OF_INPUT_POINTS, true},
    {FileKind::generation, "position", "generation", not_negative, light, max_generation_points, true},
    {FileKind::optical_capture, wavelength, "cross section", positive, not_negative},
    {FileKind::grading, "position or composition", "value", not_negative, any_number, MAX_NUMBER_OF_INPUT_POINTS, true},
};

bool is_comment(std::string_view line)
{
    return !line.empty() && std::string_view("><*!/\\#;").find(line[0]) != std::string_view::npos;
}

/// A line that was meant as a row: it begins with a number, or with what should be one.
bool looks_like_row(std::string_view line)
{
    line = trimmed(line);
    if (line.empty()) return false;
    const std::string word = lower_case(line.substr(0, line.find_first_of(" \t,;")));
    return (line[0] >= '0' && line[0] <= '9') || line[0] == '-' || line[0] == '+' || line[0] == '.' || word == "nan" ||
           word == "inf";
}

/// The settings in a line that is no row of a grading file; they count in its head only.
void check_settings(std::string_view text, bool in_head, int line, LineWatch& watch)
{
    const std::vector<GradingSetting> settings = grading_settings(text);
    for (const GradingSetting& setting : settings) {
        const GradingHeadWord& row = *setting.word;
        GradingFile unused;
        if (!in_head)
            watch.find(line, std::string(row.word) + ": a setting behind the first row is not read");
        else if (!row.take(setting.value, unused))
            watch.find(line, std::string(row.word) + ": \"" + std::string(row.first) + "\" or \"" +
                                 std::string(row.second) + "\" is expected");
    }
    const auto colon = text.find(':');
    if (!settings.empty() || colon == std::string_view::npos || !is_comment(text)) return;
    const std::string word = lower_case(trimmed(text.substr(1, colon - 1)));
    std::vector<std::string> words;
    for (const GradingHeadWord& row : grading_head_words) words.emplace_back(row.word);
    // Comments say what they like; only what nearly is a setting is spoken of.
    if (const auto nearest = nearest_word(word, words); !nearest.empty() && word.find(' ') == std::string::npos)
        watch.find(line, "unknown setting \"" + word + "\"; did you mean \"" + std::string(nearest) + "\"?");
}

/// The largest value shows the unit.
void check_size(FileKind kind, const std::vector<std::string>& heading, double largest, int line, LineWatch& watch)
{
    if (kind == FileKind::absorption) {
        const double alpha = largest * absorption_unit(heading);
        if (absorption_looks_like_another_unit(alpha))
            watch.find(line, "the largest absorption coefficient is " + scientific(alpha / per_cm_to_per_m, 0, 3) +
                                 " 1/cm: the unit looks wrong; a heading line \"1/cm\" or \"1/m\" tells it");
    }
    if (kind == FileKind::optical_capture && largest > largest_cross_section)
        watch.find(line, "the largest cross section is " + scientific(largest, 0, 1) +
                             " m2, that of no defect, and is refused; files hold m2");
    if (kind == FileKind::optical_capture && largest <= 0.0)
        watch.find(line, "no cross section is above 0: nothing is absorbed");
    if (kind == FileKind::filter && filter_looks_like_fractions(largest))
        watch.find(line, std::string(filter_of_fractions));
}

}  // namespace

bool filter_looks_like_fractions(double largest) { return largest > 0.0 && largest <= 1.0; }

int check_columns(const std::string& text, FileKind kind, LineWatch& watch)
{
    const ColumnRule* rule =
        std::find_if(std::begin(rules), std::end(rules), [&](const ColumnRule& row) { return row.kind == kind; });
    if (rule == std::end(rules)) return 0;
    LineReader reader(text, two_column_line_limit);
    std::vector<std::string> heading;
    std::string against_m2;  ///< what a heading says
    const auto find = [&](const std::string& what) { watch.find(reader.line_number(), what); };
    // Of each kind of disorder the first line is named; the rest follows from it.
    bool told_order = false, told_limit = false;
    int rows = 0, largest_line = 0, largest_x_line = 0, run = 0;  // run: rows in succession at one place
    double largest = 0.0, x_before = 0.0, largest_x = 0.0;
    for (std::string line; reader.ReadLine(line);) {
        double x = 0.0, y = 0.0;
        if (!is_row(line, kind, x, y)) {
            if (kind == FileKind::grading) check_settings(line, rows == 0, reader.line_number(), watch);
            const bool remark = trimmed(line).empty() || is_comment(line) || (rows == 0 && !looks_like_row(line));
            if (rows == 0 && heading.size() < most_heading && !trimmed(line).empty()) {
                heading.push_back(line);
                if (kind == FileKind::optical_capture && against_m2.empty()) {
                    against_m2 = heading_against_m2(line);
                    if (!against_m2.empty()) find(against_m2);
                }
            }
            if (!remark) find("is no row of two numbers and is passed over");
            continue;
        }
        if (rows == rule->most) {
            if (!told_limit)
                find(rule->refused ? "a file of more than " + integer(rows) + " rows is refused"
                                   : "rows behind number " + integer(rows) + " are not read");
            told_limit = true;
            continue;
        }
        // Interfaces are double points in the generation that the program writes: G jumps there.
        run = rows > 0 && x == x_before ? run + 1 : 1;
        const bool double_point = kind == FileKind::generation && run == 2;
        if (rows > 0 && x <= x_before && !double_point && !told_order) {
            find(x < x_before ? std::string(rule->x) + " falls: the rows are sorted when they are read"
                 : kind == FileKind::generation
                     ? "position repeats: only the first and the last of its rows count"
                     : std::string(rule->x) + " repeats: its rows are merged when they are read");
            told_order = true;
        }
        if (!rule->x_limits.hold(x)) find(std::string(rule->x) + " " + shortest(x) + " has no physical sense");
        if (!rule->y_limits.hold(y)) find(std::string(rule->y) + " " + shortest(y) + " has no physical sense");
        if (rows == 0 || y > largest) largest = y, largest_line = reader.line_number();
        if (rows == 0 || x > largest_x) largest_x = x, largest_x_line = reader.line_number();
        x_before = x;
        ++rows;
    }
    if (rows == 1)
        watch.find(largest_line,
                   kind == FileKind::generation ? "a single row gives no light: two are needed"
                   : kind == FileKind::optical_capture
                       ? "a single row: it counts at its own wavelength alone, nothing is absorbed beside it"
                       : "a single row: its value counts everywhere");
    if (rule->x == wavelength && rows > 0 && largest_x < least_wavelength)
        watch.find(largest_x_line,
                   "the largest wavelength is " + shortest(largest_x) + ": nm are meant, this looks like um or eV");
    if (rows > 0) check_size(kind, heading, largest, largest_line, watch);
    return rows;
}

}  // namespace kovin
