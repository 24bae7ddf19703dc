// `kovin run` and `kovin FILE...`: what is loaded, calculated and written, and how it ends.
#pragma once

#include "app/session.h"
#include "ui/terminal/options.h"
#include "ui/terminal/progress.h"
#include "ui/terminal/summary.h"

namespace kovin {

/// Loads the files of the options and looks for those that they name.
/// @return good, or input when one is missing, not understood or not supported
[[nodiscard]] ExitStatus load_command(Session& session, const Options& options);

/// Loads, calculates, writes the result files, and fills the summary. Existing result files are refused before the
/// calculation unless the options say otherwise. The session's folders and messages must have been set up.
[[nodiscard]] ExitStatus run_command(Session& session, const Options& options, Summary& summary);

}  // namespace kovin
