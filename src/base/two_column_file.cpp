#include "base/two_column_file.h"

#include "base/constants.h"
#include "base/line_file.h"
#include "base/text_scan.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kovin {

namespace {

int row_limit(FileKind kind) { return kind == FileKind::generation ? max_generation_rows : MAX_NUMBER_OF_INPUT_POINTS; }

/// A text that begins with "nan" or "inf", with or without a sign: a number by intention.
bool begins_with_no_number(std::string_view text)
{
    text = trimmed(text);
    text = text.substr(0, text.find_first_of(" \t"));
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) text.remove_prefix(1);
    return equal_ignoring_case(text, "nan") || equal_ignoring_case(text, "inf");
}

/// Does a comma or semicolon join what ends at `end` to more digits ("6,4e23", "300;5")? Only a point is decimal.
bool goes_on_behind_comma(std::string_view line, std::size_t end)
{
    return end + 1 < line.size() && (line[end] == ',' || line[end] == ';') && line[end + 1] >= '0' &&
           line[end + 1] <= '9';
}

/// Was a line that is no row meant as one? Its numbers are none or out of range or hold a comma, or it is half a row
/// inside the table; a heading may well begin with a number.
bool meant_as_row(std::string_view line, bool in_table)
{
    const NumberScan first = number_here(line);
    if (!first.found) return begins_with_no_number(line);
    const std::string_view rest = line.substr(first.end);
    const bool parted = !rest.empty() && trimmed(rest.substr(0, 1)).empty();
    return in_table || !first.finite || goes_on_behind_comma(line, first.end) ||
           (parted && (number_here(rest).found || begins_with_no_number(rest)));
}

/// Kinds in which a negative value has no meaning and counts as 0.
bool values_are_amounts(FileKind kind)
{
    return kind == FileKind::spectrum || kind == FileKind::absorption || kind == FileKind::generation ||
           kind == FileKind::optical_capture;
}

bool is_over_wavelength(FileKind kind)
{
    return kind == FileKind::spectrum || kind == FileKind::absorption || kind == FileKind::filter ||
           kind == FileKind::optical_capture;
}

/// Lines that a reader could not take as they stand: how many, and the first of them.
struct Doubts {
    int count = 0, line = 0;
    std::string text;

    void add(int number, std::string_view what)
    {
        if (count++ > 0) return;
        line = number;
        text = quotable(what, 40);
    }
    /// "line 7: '310 nan' what", with the number of lines of the kind.
    void tell(const std::string& what, std::vector<std::string>& doubts) const
    {
        if (count == 0) return;
        doubts.push_back("line " + std::to_string(line) + ": '" + text + "' " + what +
                         (count > 1 ? " (first of " + std::to_string(count) + " such lines)" : ""));
    }
};

/// Strictly monotonic in the wanted direction?
bool is_ordered(const std::vector<double>& x, int direction)
{
    return std::adjacent_find(x.begin(), x.end(),
                              [=](double a, double b) { return direction < 0 ? a <= b : a >= b; }) == x.end();
}

/// The file's bytes; a fault is reported under the titles of ReadKOVINFile.
std::optional<std::string> open_for_reading(Surroundings& surroundings, const std::filesystem::path& file)
{
    std::optional<std::string> text = read_whole_file(file);
    if (text) return text;
    std::error_code error;
    if (std::filesystem::exists(file, error))
        KOVINErrorMessage(surroundings.report, "From Function ReadKOVINFile()",
                          "Function ReadKOVINFile(): Error occured during reading file: " + file.string() + " !\nIt " +
                              std::string(why_unreadable(file)) + '.');
    else
        KOVINErrorMessage(surroundings.report, "From Function ReadKOVINFile()",
                          "File was not found.\nError occured during opening file:\n" + file.string());
    return text;
}

/// Into rising order; rows at one place stay side by side, in the order in which they are passed.
void sort_keeping_steps(TwoColumns& rows)
{
    if (rows.x.front() > rows.x.back()) {
        std::reverse(rows.x.begin(), rows.x.end());
        std::reverse(rows.y.begin(), rows.y.end());
    }
    std::vector<std::size_t> order(rows.x.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i, std::size_t k) { return rows.x[i] < rows.x[k]; });
    const std::vector<double> x = rows.x, y = rows.y;
    for (std::size_t k = 0; k < order.size(); ++k) rows.x[k] = x[order[k]], rows.y[k] = y[order[k]];
}

/// Sorts and merges, and says so where that is wanted; of merged rows, which have lost values, in any case.
void put_in_order(Report& report, const std::filesystem::path& file, FileKind kind, int direction, bool warn,
                  TwoColumns& rows)
{
    if (rows.x.size() < 2 || direction == 0 || is_ordered(rows.x, direction)) return;
    rows.line.clear();
    if (kind == FileKind::generation) return sort_keeping_steps(rows);
    const int changed = XYRemoveXDuplicatesAndSortX(rows.x, rows.y, direction);
    if (changed == 0 || (changed == 1 && !warn) || report.InterpolationWarningMessageMode != 1) return;
    static constexpr const char* what[] = {
        "File data not sorted to increasing lambda or x or y\ndata sorted internally",
        "File data contain duplicate values of lambda or x or y\nduplicates eliminated internally",
        "File data not sorted and contain duplicate values of lambda or x or y\n"
        "data sorted and duplicates eliminated internally"};
    KOVINErrorMessage(report, "interpolation issue in input file",
                      "file: " + file.string() + '\n' + what[changed - 1] +
                          ", but input file not modified\nConsider checking and editing this input file");
}

/// Why no line of a text counts for a kind, with the line that was tried first.
std::string why_no_row(std::string_view text, FileKind kind)
{
    constexpr std::size_t shown = 60;
    std::string first;
    LineReader reader(std::string(text), two_column_line_limit);
    while (trimmed(first).empty() && reader.ReadLine(first)) {
    }
    const std::string line = quotable(first, shown);
    const char* wanted = kind == FileKind::file_list    ? "with \"file:\""
                         : kind == FileKind::value_list ? "that begins with a number"
                                                        : "of two numbers parted by blanks";
    return std::string("No line ") + wanted + (line.empty() ? "; it is empty" : "; its first line is: " + line);
}

}  // namespace

bool is_row(std::string_view line, FileKind kind, double& x, double& y)
{
    const NumberScan first = number_here(line);
    if (!first.found || !first.finite || (first.value < 0.0 && is_over_wavelength(kind))) return false;
    x = first.value;
    y = 0.0;
    if (kind == FileKind::value_list) return true;
    if (first.end >= line.size() || !trimmed(line.substr(first.end, 1)).empty()) return false;
    const NumberScan second = number_here(line, first.end);
    y = second.value;
    return second.found && second.finite && !goes_on_behind_comma(line, second.end);
}

int XYRemoveXDuplicatesAndSortX(std::vector<double>& x, std::vector<double>& y, int direction)
{
    const std::size_t n = std::min(x.size(), y.size());
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto before = [&](std::size_t i, std::size_t j) { return direction < 0 ? x[i] > x[j] : x[i] < x[j]; };
    const bool sorted = !std::is_sorted(order.begin(), order.end(), before);
    std::stable_sort(order.begin(), order.end(), before);

    std::vector<double> new_x, new_y;
    new_x.reserve(n);
    new_y.reserve(n);
    for (const std::size_t i : order) {
        if (new_x.empty() || new_x.back() != x[i]) {
            new_x.push_back(x[i]);
            new_y.push_back(y[i]);
            continue;
        }
        const double y1 = new_y.back(), y2 = y[i];
        new_y.back() = y1 < 0.0 || y2 < 0.0 ? 0.5 * (y1 + y2) : std::sqrt(y1) * std::sqrt(y2);
    }
    const bool merged = new_x.size() < n;
    x = std::move(new_x);
    y = std::move(new_y);
    return (sorted ? 1 : 0) + (merged ? 2 : 0);
}

std::filesystem::path MakeFullPath(const Folders& folders, std::string_view name, FileKind kind)
{
    return trimmed(name).empty() ? std::filesystem::path{} : CheckKOVINPaths(folders, name, kind);
}

void parse_two_columns(std::string text, FileKind kind, TwoColumns& rows)
{
    rows = {};
    const auto limit = static_cast<std::size_t>(row_limit(kind));
    const double x_unit = kind == FileKind::generation ? 1e-6 : 1.0;  // positions of a generation file are in um
    LineReader reader(std::move(text), two_column_line_limit);
    Doubts passed_over, negative, beyond;
    for (std::string line; beyond.count == 0 && reader.ReadLine(line);) {
        double x = 0.0, y = 0.0;
        const bool row = is_row(line, kind, x, y);
        if (row && rows.x.size() == limit) {
            beyond.add(reader.line_number(), line);
        } else if (row) {
            if (y < 0.0 && values_are_amounts(kind)) negative.add(reader.line_number(), line);
            rows.x.push_back(x * x_unit);
            rows.y.push_back(y);
            rows.line.push_back(reader.line_number());
        } else {
            if (meant_as_row(line, !rows.x.empty())) passed_over.add(reader.line_number(), line);
            if (rows.x.empty() && rows.heading.size() < most_heading && !trimmed(line).empty())
                rows.heading.push_back(line);
        }
    }
    rows.broken_line = passed_over.line;
    rows.cut = beyond.count > 0;
    passed_over.tell("is no row of two usable numbers, with decimal points and parted by blanks, and was passed over",
                     rows.doubts);
    negative.tell("holds a negative value, which counts as 0", rows.doubts);
    beyond.tell("and what follows is not read: the file has more than " + std::to_string(limit) + " rows", rows.doubts);
}

int ReadKOVINFile(Surroundings& surroundings, std::string_view path, FileKind kind, int direction, bool warn,
                  TwoColumns& rows)
{
    rows = {};
    const std::filesystem::path file = MakeFullPath(surroundings.folders, path, kind);
    std::optional<std::string> text = open_for_reading(surroundings, file);
    if (!text) return -1;

    parse_two_columns(*text, kind, rows);
    // Who reads a grading file refuses it for them.
    for (const std::string& doubt : kind == FileKind::grading ? std::vector<std::string>{} : rows.doubts)
        KOVINErrorMessage(surroundings.report, "Warning: values of an input file", file.string() + ", " + doubt);
    if (rows.x.empty()) {
        rows = {};
        KOVINErrorMessage(surroundings.report,
                          "Function ReadKOVINFile(): End of file occured during reading file: " + file.string() + " !",
                          "File contains no useful information. " + why_no_row(*text, kind));
        return -1;
    }
    put_in_order(surroundings.report, file, kind, direction, warn, rows);
    return static_cast<int>(rows.x.size());
}

int CountLinesInFile(Surroundings& surroundings, std::string_view path, FileKind kind)
{
    const auto fault = [&](const std::string& text) {
        KOVINErrorMessage(surroundings.report, "Error in Function CountLinesInFile()", text);
        return -1;
    };
    const std::filesystem::path file = MakeFullPath(surroundings.folders, path, kind);
    if (file.empty()) return fault("File name called to open is empty");
    std::optional<std::string> text = read_whole_file(file);
    if (!text)
        return fault("Error occured during opening file: " + file.string() + "\nIt " +
                     std::string(why_unreadable(file)) + '.');

    const int limit = row_limit(kind) + 1;
    int count = 0;
    LineReader reader(*text, two_column_line_limit);
    for (std::string line; count < limit && reader.ReadLine(line);) {
        double x = 0.0, y = 0.0;
        const bool useful = kind == FileKind::file_list ? find_ignoring_case(line, "file:") != std::string::npos
                                                        : is_row(line, kind, x, y);
        if (useful) ++count;
    }
    if (count == 0)
        return fault("End of file occured during reading file: " + file.string() + "\n(filetype " +
                     std::to_string(static_cast<int>(kind)) + ")\n" + why_no_row(*text, kind));
    return count;
}

void MakeNonNegative(std::vector<double>& y)
{
    for (double& value : y) value = std::max(value, 0.0);
}

}  // namespace kovin
