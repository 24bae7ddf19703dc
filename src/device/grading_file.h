// Grading files: rows of position or composition and value, behind a head that tells how to take them.
//
//     > interpolation: lin      lin (default) or log: how the rows are joined
//     > position: rel           abs (default): um from the left end; rel: in units of the thickness
//     > range: this             this (default): the layer; shared: neighbouring layers that name the same file for the
//                               same quantity count as one, and positions from the left end of the first of them
//
// "thickness" may stand for "position". Whatever sign begins a line, and whatever else stands in it, its settings
// count. Of a quantity graded on composition only the first line matters. Values are in SI units, as in a definition
// file.
#pragma once

#include "base/surroundings.h"
#include "device/cell.h"
#include "device/keyed_source.h"

#include <string_view>
#include <vector>

namespace kovin {

/// A grading file as it stands: at least one row, positions strictly rising.
struct GradingFile {
    std::vector<double> position, value;
    bool logarithmic = false, relative = false, shared = false;
};

/// A setting in the head of a grading file: its words, and what the second of two values sets.
struct GradingHeadWord {
    std::string_view word, first, second;  ///< values are told by how they begin; the first is the default
    std::string_view also_first;           ///< a heading of the columns says the same as the first
    bool GradingFile::*is_second;

    /// @return false for a value that is none of these; the file is then as it was
    bool take(std::string_view value, GradingFile& file) const;
};
inline constexpr GradingHeadWord grading_head_words[] = {
    {"interpolation", "lin", "log", "lin", &GradingFile::logarithmic},
    {"position", "abs", "rel", "um", &GradingFile::relative},
    {"thickness", "abs", "rel", "um", &GradingFile::relative},
    {"range", "this", "shared", "this", &GradingFile::shared},
};

/// One setting in a line of the head.
struct GradingSetting {
    const GradingHeadWord* word;
    std::string_view value;  ///< what follows the colon, up to the end of the line
};
/// The settings in a line: each of the words, where it stands as a word of its own before a colon.
[[nodiscard]] std::vector<GradingSetting> grading_settings(std::string_view line);

/// What a message says of a value that the quantity cannot have.
inline constexpr std::string_view outside_its_range = "is outside its range";

/// @param dependence  on what the values depend, for the message on rows out of order
/// @param limits      of the values
/// A setting in the head that has no meaning is told and passed over: a comment may say what it likes.
/// @return false if the file cannot be used: missing, without rows, with a broken row, out of order, too long, a value
///         outside its limits (reported with file, line and value)
[[nodiscard]] bool read_grading_file(Surroundings& surroundings, std::string_view name, Dependence dependence,
                                     const Limits& limits, GradingFile& file);

/// A file with "range: shared" that no neighbouring layer names: its positions count in its own layer alone.
struct LoneFile {
    std::size_t layer = 0;  ///< from 0
    std::string profile;    ///< as for_each_profile names it
    std::string text;       ///< what is to be told
};

/// Reads the file of every profile with Law::from_file into the profile's table. Told when a table does not cover its
/// layer and has to be continued, and when it is shared with nobody.
/// @param alone  if given, it takes the files that are shared with nobody, and these are not told
/// @return false if one cannot be used (reported)
[[nodiscard]] bool load_grading_files(Surroundings& surroundings, SiCell& cell, std::vector<LoneFile>* alone = nullptr);

}  // namespace kovin
