// Messages to the user: one door for the whole program.
#pragma once

#include "base/clock.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace kovin {

struct Message {
    std::string title;
    std::string text;
};

struct Report {
    int ErrorMessageMode = 0;                 ///< 0 show; 1 append to the log; 2 new log; other values do both
    int InterpolationWarningMessageMode = 1;  ///< 1: warn when input was sorted or extrapolated
    int ErrorMessageNumber = 0;               ///< messages logged so far
    std::filesystem::path log_file = "KOVINErrorLogFile.log";
    std::function<void(const Message&)> show;  ///< puts a message before the user and goes on; may be empty
    std::vector<Message> messages;             ///< all of this run, whatever the mode
    std::ofstream log;
    Clock clock;
};

/// Reports one message according to `ErrorMessageMode`; never waits.
void KOVINErrorMessage(Report& report, const std::string& title, const std::string& text);

}  // namespace kovin
