// The kinds of files: by extension, by folder.
#pragma once

#include <string>
#include <string_view>

namespace kovin {

/// Kind of a file; the numbers are part of scripts and settings.
enum class FileKind : int {
    unknown = -1,
    definition = 0,
    spectrum = 1,
    absorption = 2,
    filter = 3,
    generation = 4,
    optical_capture = 5,
    value_list = 6,
    file_list = 7,
    action_list = 8,
    batch_settings = 9,
    record_settings = 10,
    script = 11,
    batch_list = 12,
    all_settings = 13,
    eb = 14,
    generation_result = 15,
    ac = 16,
    iv = 17,
    cv = 18,
    cf = 19,
    qe = 20,
    grading = 26,
    measurement = 27,
    fit_settings = 28,
    scale_settings = 29,
    work_point_2 = 30,
    material = 31,
};

/// Kind from the extension of `path`, case ignored, aliases ("definition", "kov", "kvn", "scr") included.
[[nodiscard]] FileKind DetermineKOVINFiletype(std::string_view path);

/// Kind from a bare extension ("def", "KOVIN"); unknown if there is none.
[[nodiscard]] FileKind kind_of_extension(std::string_view extension);

}  // namespace kovin
