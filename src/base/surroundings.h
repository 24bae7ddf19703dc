// What a function needs that touches files or talks to the user.
#pragma once

#include "base/clock.h"
#include "base/folders.h"
#include "base/monitor.h"
#include "base/report.h"

#include <string>

namespace kovin {

struct Surroundings {
    Folders folders;
    Report report;
    Clock clock;
    Monitor monitor;
    std::string version;  ///< the banner: first line of definition and result files
};

}  // namespace kovin
