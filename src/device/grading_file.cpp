#include "device/grading_file.h"

#include "base/text_format.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"
#include "device/graded_values.h"
#include "device/grading.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kovin {

namespace {

constexpr const char* title = "Error whilst reading gradingfile";

/// Takes the settings of a line into the file. @return false if one has an unknown value; other lines are remarks
bool read_head_line(std::string_view line, GradingFile& file)
{
    bool known = true;
    for (const GradingSetting& setting : grading_settings(line))
        known = setting.word->take(setting.value, file) && known;
    return known;
}

/// Is this a byte of a word? Those beyond ASCII count as letters.
bool in_word(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c < 0;
}

bool fail(Report& report, const std::string& text)
{
    KOVINErrorMessage(report, title, text);
    return false;
}

/// Does the profile take its rows from a file?
bool is_read(const Profile& p) { return p.law == Law::from_file && p.dependence != Dependence::uniform; }

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

/// Says so if the rows of a file do not cover the positions, or the compositions, of their layer.
void warn_about_continuation(Report& report, const LayerParameters& layer, const Profile& p, const std::string& where)
{
    if (report.InterpolationWarningMessageMode != 1 || !can_be_evaluated(layer, p)) return;
    const bool on_x = p.dependence == Dependence::on_x;
    double from = 0.0, to = layer.material.d * 1e6;
    if (!on_x) {
        const std::vector<double> y = places_to_check(layer, {&p}).y;
        const auto [least, most] = std::minmax_element(y.begin(), y.end());
        from = *least, to = *most;
    }
    const double slack = 1e-6 * to;
    if (p.table_x.front() <= from + slack && p.table_x.back() >= to - slack) return;
    const std::string unit = on_x ? " um" : "";
    KOVINErrorMessage(report, "Warning: a grading file is continued beyond its rows",
                      where + ": the rows of " + p.file + " lie between " + shortest(p.table_x.front()) + " and " +
                          shortest(p.table_x.back()) + unit + ", asked for from " + shortest(from) + " to " +
                          shortest(to) + unit);
}

/// Does a layer beside layer j name the file for the same quantity?
bool neighbour_names_file(const CellParameters& cell, std::size_t j, const Profile& profile)
{
    return (j > 0 && names_file(cell.layer[j - 1], profile)) ||
           (j + 1 < static_cast<std::size_t>(cell.layers) && names_file(cell.layer[j + 1], profile));
}

/// @param alone  the file wants to be shared, and is not
bool load_profile(Surroundings& surroundings, const CellParameters& cell, std::size_t j, Profile& profile, bool& alone)
{
    GradingFile file;
    if (!read_grading_file(surroundings, profile.file, profile.dependence, limits_of_profile(profile), file))
        return false;
    const bool on_x = profile.dependence == Dependence::on_x;
    alone = on_x && file.shared && !neighbour_names_file(cell, j, profile);
    if (on_x) {
        const FileRange range = range_of(cell, j, profile, file.shared);
        for (double& x : file.position) x = range.start + (file.relative ? x * range.length : x);
    }
    profile.table_x = std::move(file.position);
    profile.table_y = std::move(file.value);
    profile.table_log = file.logarithmic;
    return true;
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

std::vector<GradingSetting> grading_settings(std::string_view line)
{
    std::vector<GradingSetting> found;
    for (std::size_t colon = line.find(':'); colon != std::string_view::npos; colon = line.find(':', colon + 1)) {
        const std::string_view before = trimmed(line.substr(0, colon));
        for (const GradingHeadWord& row : grading_head_words) {
            if (before.size() < row.word.size()) continue;
            const std::size_t at = before.size() - row.word.size();
            if (equal_ignoring_case(before.substr(at), row.word) && (at == 0 || !in_word(before[at - 1])))
                found.push_back({&row, trimmed(line.substr(colon + 1))});
        }
    }
    return found;
}

bool read_grading_file(Surroundings& surroundings, std::string_view name, Dependence dependence, const Limits& limits,
                       GradingFile& file)
{
    const std::string abscissa = dependence == Dependence::on_y ? "composition" : "position";
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
            return fail(report, where + "Unsorted data in " + std::string(name) + "!\n" + abscissa +
                                    " values should be given in an increasing order.\nvalue[" +
                                    integer(static_cast<long>(i)) + "]=" + shortest(rows.x[i]) +
                                    " should be larger than value[" + integer(static_cast<long>(i) - 1) +
                                    "]=" + shortest(rows.x[i - 1]) + "!");
        if (!limits.hold(rows.y[i]))
            return fail(report, where + "the value " + shortest(rows.y[i]) + ' ' + std::string(outside_its_range));
    }
    file.position = std::move(rows.x);
    file.value = std::move(rows.y);
    return true;
}

bool load_grading_files(Surroundings& surroundings, SiCell& cell, std::vector<LoneFile>* alone)
{
    std::vector<LoneFile> found;
    CellParameters& c = cell.cell;
    bool loaded = true;
    for (std::size_t j = 0; j < static_cast<std::size_t>(c.layers); ++j)
        for_each_profile(c.layer[j], [&](Profile& profile, const std::string& name) {
            if (!is_read(profile)) return;
            bool lone = false;
            loaded = load_profile(surroundings, c, j, profile, lone) && loaded;
            // The levels of a defect have one density.
            const bool told = !found.empty() && found.back().layer == j && found.back().profile == name;
            if (lone && !told)
                found.push_back({j, name,
                                 place_of_profile(j, c.layer[j], name) + ": " + profile.file +
                                     " has \"range: shared\", but no layer beside it names it for " + name +
                                     ": its positions count in this layer alone"});
        });
    if (alone != nullptr)
        *alone = found;
    else
        for (const LoneFile& file : found)
            KOVINErrorMessage(surroundings.report, "Warning: a grading file is shared with no layer", file.text);
    // What a layer asks of a file on composition shows when its own composition is there.
    for (std::size_t j = 0; loaded && j < static_cast<std::size_t>(c.layers); ++j)
        for_each_profile(c.layer[j], [&](const Profile& profile, const std::string& name) {
            if (is_read(profile))
                warn_about_continuation(surroundings.report, c.layer[j], profile,
                                        place_of_profile(j, c.layer[j], name));
        });
    return loaded;
}

}  // namespace kovin
