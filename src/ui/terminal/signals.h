// Interrupt and termination as a wish to stop: the calculation ends at its next pass, and what is there is written.
#pragma once

#include "base/monitor.h"

#include <atomic>
#include <thread>

namespace kovin {

/// Waits for SIGINT and SIGTERM on a thread of its own while it lives. Make it before any other thread.
class SignalWatch {
public:
    explicit SignalWatch(Monitor& monitor);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    /// Number of the signal that came, 0 if none.
    [[nodiscard]] int received() const { return received_.load(); }

private:
    std::atomic<int> received_{0};
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace kovin
