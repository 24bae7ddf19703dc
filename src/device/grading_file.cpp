#include "device/grading_file.h"

#include "base/text_format.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"
#include "device/definition_tables.h"
#include "device/grading.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kovin {

namespace {

constexpr const char* title = "Error whilst reading gradingfile";

/// Takes "> word : value" into the file. @return false for a known word with another value; other lines are remarks
bool read_head_line(std::string_view line, GradingFile& file)
{
    constexpr std::string_view comment_signs = "><*!/\\ \t";
    line.remove_prefix(std::min(line.find_first_not_of(comment_signs), line.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return true;
    const std::string_view word = trimmed(line.substr(0, colon)), value = trimmed(line.substr(colon + 1));
    for (const GradingHeadWord& row : grading_head_words) {
        if (!equal_ignoring_case(word, row.word)) continue;
        return row.take(value, file);
    }
    return true;
}

bool fail(Report& report, const std::string& text)
{
    KOVINErrorMessage(report, title, text);
    return false;
}

/// Profiles that grade one quantity in a layer: one, or the density of every defect.
std::vector<const Profile*> profiles_of(const LayerParameters& layer, Quantity quantity)
{
    std::vector<const Profile*> found;
    for_each_profile(layer, [&](const Profile& p, const std::string&) {
        if (p.quantity == quantity) found.push_back(&p);
    });
    return found;
}

bool names_file(const LayerParameters& layer, const Profile& wanted)
{
    const auto profiles = profiles_of(layer, wanted.quantity);
    return std::any_of(profiles.begin(), profiles.end(), [&](const Profile* p) {
        return p->law == Law::from_file && p->dependence == Dependence::on_x && p->file == wanted.file;
    });
}

/// What a material can have.
Limits limits_of_profile(const Profile& profile)
{
    constexpr double rounding = 1e-9;
    if (profile.quantity == Quantity::composition) return {-rounding, 1.0 + rounding};
    return definition_tables::limits_of(profile.quantity);
}

/// The same in a cell that is to be computed: carriers that do not move at all leave no continuity equation.
Limits limits_to_compute(const Profile& profile)
{
    const bool mobility = profile.quantity == Quantity::mu_n || profile.quantity == Quantity::mu_p;
    return mobility ? positive : limits_of_profile(profile);
}

/// Where positions of a file count from and what a relative one is measured in, seen from the left end of layer j [um].
struct FileRange {
    double start = 0.0, length = 0.0;
};
FileRange range_of(const CellParameters& cell, std::size_t j, const Profile& profile, bool shared)
{
    const auto thickness = [&](std::size_t k) { return cell.layer[k].material.d * 1e6; };
    FileRange range{0.0, thickness(j)};
    if (!shared) return range;
    for (std::size_t k = j; k-- > 0 && names_file(cell.layer[k], profile);) {
        range.start -= thickness(k);
        range.length += thickness(k);
    }
    const auto layers = static_cast<std::size_t>(cell.layers);
    for (std::size_t k = j + 1; k < layers && names_file(cell.layer[k], profile); ++k) range.length += thickness(k);
    return range;
}

void warn_about_continuation(Report& report, const Profile& p, double end, const std::string& where)
{
    const double slack = 1e-6 * end;
    if (report.InterpolationWarningMessageMode != 1) return;
    if (p.table_x.front() <= slack && p.table_x.back() >= end - slack) return;
    KOVINErrorMessage(report, "Warning: a grading file is continued beyond its rows",
                      where + ": the rows of " + p.file + " lie between " + shortest(p.table_x.front()) + " and " +
                          shortest(p.table_x.back()) + " um, asked for from 0 to " + shortest(end) + " um");
}

bool load_profile(Surroundings& surroundings, const CellParameters& cell, std::size_t j, Profile& profile,
                  const std::string& where)
{
    GradingFile file;
    if (!read_grading_file(surroundings, profile.file, limits_of_profile(profile), file)) return false;
    const bool on_x = profile.dependence == Dependence::on_x;
    if (on_x) {
        const FileRange range = range_of(cell, j, profile, file.shared);
        for (double& x : file.position) x = range.start + (file.relative ? x * range.length : x);
    }
    profile.table_x = std::move(file.position);
    profile.table_y = std::move(file.value);
    profile.table_log = file.logarithmic;
    if (on_x) warn_about_continuation(surroundings.report, profile, cell.layer[j].material.d * 1e6, where);
    return true;
}

std::string place_of(std::size_t j, const LayerParameters& layer, const std::string& name)
{
    return "Layer " + integer(static_cast<long>(j) + 1) + " (" + layer.name + "): " + name;
}

/// Places at which a profile is looked at: evenly over the layer, and where a law has its extremum or a table its rows.
std::vector<double> places_to_check(const Profile& p, double end)
{
    constexpr int parts = 100;
    std::vector<double> places;
    for (int i = 0; i <= parts; ++i) places.push_back(end * i / parts);
    if (p.law == Law::parabolic_2) places.push_back(std::clamp(p.third, 0.0, end));
    for (const double x : p.table_x)
        if (x >= 0.0 && x <= end) places.push_back(x);
    return places;
}

}  // namespace

bool GradingHeadWord::take(std::string_view value, GradingFile& file) const
{
    const bool as_second = starts_with_ignoring_case(value, second);
    if (!as_second && !starts_with_ignoring_case(value, first) && !starts_with_ignoring_case(value, also_first))
        return false;
    file.*is_second = as_second;
    return true;
}

bool read_grading_file(Surroundings& surroundings, std::string_view name, const Limits& limits, GradingFile& file)
{
    Report& report = surroundings.report;
    file = {};
    TwoColumns rows;
    if (ReadKOVINFile(surroundings, name, FileKind::grading, 0, false, rows) < 1)
        return fail(report, "No useful data available in " + std::string(name));

    const std::string path = MakeFullPath(surroundings.folders, name, FileKind::grading).string();
    const auto in_line = [&](int line) { return path + ", line " + integer(line) + ": "; };
    for (std::size_t i = 0; i < rows.heading.size(); ++i)
        if (!read_head_line(rows.heading[i], file))
            KOVINErrorMessage(report, "Warning: a setting of a grading file is not known",
                              in_line(static_cast<int>(i) + 1) + "\"" + std::string(trimmed(rows.heading[i])) +
                                  "\" sets nothing; known are interpolation: lin or log, position: abs or rel, range: "
                                  "this or shared");
    if (rows.broken_line != 0) return fail(report, in_line(rows.broken_line) + "two numbers are expected");
    if (rows.cut) return fail(report, path + ": more than " + integer(MAX_NUMBER_OF_INPUT_POINTS) + " rows");
    for (std::size_t i = 0; i < rows.x.size(); ++i) {
        const std::string where = in_line(rows.line[i]);
        if (i > 0 && !(rows.x[i - 1] < rows.x[i]))
            return fail(report, "Unsorted data in " + where +
                                    "\nposition and composition values should be given in an "
                                    "increasing order.\nvalue[" +
                                    integer(static_cast<long>(i)) + "]=" + shortest(rows.x[i]) +
                                    " should be larger than value[" + integer(static_cast<long>(i) - 1) +
                                    "]=" + shortest(rows.x[i - 1]) + "!");
        if (!limits.hold(rows.y[i]))
            return fail(report, where + "the value " + shortest(rows.y[i]) + " is outside its range");
    }
    file.position = std::move(rows.x);
    file.value = std::move(rows.y);
    return true;
}

bool load_grading_files(Surroundings& surroundings, SiCell& cell)
{
    CellParameters& c = cell.cell;
    bool loaded = true;
    for (std::size_t j = 0; j < static_cast<std::size_t>(c.layers); ++j)
        for_each_profile(c.layer[j], [&](Profile& profile, const std::string& name) {
            if (profile.law != Law::from_file || profile.dependence == Dependence::uniform) return;
            loaded = load_profile(surroundings, c, j, profile, place_of(j, c.layer[j], name)) && loaded;
        });
    return loaded;
}

bool graded_values_hold(Report& report, const SiCell& cell)
{
    bool hold = true;
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.cell.layers); ++j) {
        const LayerParameters& layer = cell.cell.layer[j];
        const double d_um = layer.material.d * 1e6;
        for_each_profile(layer, [&](const Profile& profile, const std::string& name) {
            const bool on_x = profile.dependence == Dependence::on_x;
            std::vector<double> places = places_to_check(profile, d_um);
            std::vector<double> at = places, value(places.size());
            if (!on_x) {
                evaluate_profile(layer.composition, places, d_um, at);
                for (double& y : at) y = std::clamp(y, 0.0, 1.0);
            }
            evaluate_profile(profile, at, d_um, value);
            const Limits limits = limits_to_compute(profile);
            const bool no_table =
                profile.law == Law::table && profile.table_x.empty() && profile.dependence != Dependence::uniform;
            for (std::size_t i = 0; i < value.size(); ++i) {
                if (limits.hold(value[i]) && !no_table) continue;
                const std::string law = profile.dependence == Dependence::uniform
                                            ? ""
                                            : " by law " + integer(static_cast<long>(profile.law)) + " (" +
                                                  std::string(law_name(profile.law)) + ")";
                KOVINErrorMessage(report, "Grading",
                                  place_of(j, layer, name) + law +
                                      (no_table ? " has no rows"
                                                : " is " + shortest(value[i]) + " at x = " + shortest(places[i]) +
                                                      " um, with which nothing can be computed"));
                hold = false;
                return;
            }
        });
    }
    return hold;
}

}  // namespace kovin
