// `kovin check FILE...` and `kovin home`.
#pragma once

#include "app/session.h"
#include "ui/terminal/options.h"

namespace kovin {

/// Prints every finding on standard output, one a line. @return good, incomplete (findings) or, findings or not, input
/// (a file given or a file named inside one is missing or unreadable)
[[nodiscard]] ExitStatus check_command(const Session& session, const Options& options);

/// Prints the home folder on standard output, after making it one if the options say so.
/// @param program  the running program; the files beside it are the shipped ones, or those of the present home
/// @return input if a home is wanted and the shipped files are nowhere, output if it cannot be made
[[nodiscard]] ExitStatus home_command(const Options& options, const std::filesystem::path& home,
                                      const std::filesystem::path& program);

}  // namespace kovin
