// What a calculation is doing, on standard error.
#pragma once

#include "base/monitor.h"
#include "ui/terminal/options.h"

#include <chrono>

namespace kovin {

/// Listener of a monitor: each step when verbose; otherwise a bar on a terminal once the run takes over a second.
class Progress {
public:
    explicit Progress(const Options& options);
    ~Progress();
    void operator()(const Event& event);
    /// Removes the bar, so that a message can be printed.
    void clear();

private:
    bool verbose_, bar_, drawn_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace kovin
