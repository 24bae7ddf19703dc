// Events out, wishes in: the only object that a calculation shares with another thread.
#pragma once

#include <atomic>
#include <functional>
#include <string>

namespace kovin {

/// What a calculation is doing.
struct Event {
    int status = 0;           ///< status code: 0 OK, 1 calculating, 2 stopped, 3 pause
    std::string text;         ///< one line for the user
    int done = 0, total = 0;  ///< points of the present sweep; total 0 when nothing is counted
};

class Monitor {
public:
    std::function<void(const Event&)> listener;  ///< set before a calculation starts; may be empty
    void post(const Event& event) const
    {
        if (listener) listener(event);
    }
    void requestStop() { stop_.store(true, std::memory_order_relaxed); }  ///< safe from a signal handler
    void clearStop() { stop_.store(false, std::memory_order_relaxed); }
    [[nodiscard]] bool stopRequested() const { return stop_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> stop_{false};
};

}  // namespace kovin
