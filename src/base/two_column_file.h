// Two-column input files of every kind: spectrum, filter, absorption, generation, grading, optical capture.
//
// A line that begins with two numbers is a row; any other line is passed over.
#pragma once

#include "base/surroundings.h"

#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// Lines of a heading that are kept; a file may consist of millions of them.
inline constexpr std::size_t most_heading = 1000;

/// Rows of a two-column file and the lines above them that were no rows.
struct TwoColumns {
    std::vector<double> x, y;
    /// Lines above the first row that hold something, comment lines included; the first most_heading of them.
    std::vector<std::string> heading;
    std::vector<int> line;            ///< of each row in the file, from 1; empty once rows were sorted or merged
    int broken_line = 0;              ///< first line that begins like a row and is none ("0.5 nan"); 0: none
    bool cut = false;                 ///< the file holds more rows than were read
    std::vector<std::string> doubts;  ///< "line 7: '310 nan' is ...": what could not be taken as it stands
};

/// @return 0 nothing changed, 1 sorted, 2 duplicates merged (geometric mean; mean if one is negative), 3 both
[[nodiscard]] int XYRemoveXDuplicatesAndSortX(std::vector<double>& x, std::vector<double>& y, int direction);

/// Completes a bare name with the folder of its kind; an empty name stays empty.
[[nodiscard]] std::filesystem::path MakeFullPath(const Folders& folders, std::string_view name, FileKind kind);

inline constexpr std::size_t two_column_line_limit = 255;  ///< characters of a line that are read

/// The two numbers at the start of a line, or the one number of a value list. @return false if they are not there, or
/// if the first would be a negative wavelength
[[nodiscard]] bool is_row(std::string_view line, FileKind kind, double& x, double& y);

/// Rows of a text, in its order, up to the most that a file of `kind` has. Doubts are about lines that begin with a
/// number and cannot be used (numbers out of range, negative wavelengths, half a row inside the table), negative values
/// where there can be none, and rows beyond the limit; of each sort the first line is named.
void parse_two_columns(std::string text, FileKind kind, TwoColumns& rows);

/// Rows of a file of `kind`; positions of a generation file come back in m. Doubts are reported with the file.
///
/// Rows of equal x are merged, which is told, but for those of a generation file: G steps there.
/// @param direction  +1 rising x wanted, -1 falling (not of a generation file), 0 any order
/// @param warn       true: tell the user also when rows had only to be sorted
/// @return number of rows, or -1 (reported; `rows` is then empty). At most 2500 rows, 2000 of a generation file.
[[nodiscard]] int ReadKOVINFile(Surroundings& surroundings, std::string_view path, FileKind kind, int direction,
                                bool warn, TwoColumns& rows);

/// Number of rows a file holds, counted up to one more than the reader takes; -1 when there is none (reported).
[[nodiscard]] int CountLinesInFile(Surroundings& surroundings, std::string_view path, FileKind kind);

/// Negative values become 0.
void MakeNonNegative(std::vector<double>& y);

}  // namespace kovin
