#include "base/report.h"

#include "base/text_scan.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kovin {

namespace {

constexpr std::array simulation_marks = {"short circuit", "working point"};
constexpr std::array set_up_marks = {"whilst reading", "whilst setting", "whilst opening", "during reading",
                                     "during setting", "whilst saving",  "during saving",  "during opening"};

template <typename Marks>
bool holds_one(const std::string& title, const Marks& marks)
{
    return std::any_of(marks.begin(), marks.end(), [&](std::string_view mark) {
        return find_ignoring_case(title, mark) != std::string_view::npos;
    });
}

void write_log_entry(Report& report, const std::string& title, const std::string& text)
{
    // Opened once a run: mode 2 starts a new log at the first message and then adds to it.
    if (!report.log.is_open()) {
        const bool append = report.ErrorMessageMode == 1 || report.ErrorMessageNumber > 0;
        report.log.open(report.log_file, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
    }
    ++report.ErrorMessageNumber;

    report.log << "KOVIN error message #" << std::to_string(report.ErrorMessageNumber) << " written on\t"
               << date_at_time(report.clock.now()) << '\n';
    const bool set_up = holds_one(title, set_up_marks);
    const bool dump = holds_one(title, std::array{"Dump of the script variables"});
    if (set_up)
        report.log << "KOVIN error message whilst reading set-up files \n"
                      "(def, action, spectrum, generation, filter, abs, batch, recorder, script)\n";
    if (dump) report.log << "Show Scriptvariables asked during execution of a script\n";
    if (!set_up && !dump && !holds_one(title, simulation_marks)) report.log << "Unspecified KOVIN error message\n";
    report.log << title << '\n' << text << "\n\n" << std::flush;
}

}  // namespace

void KOVINErrorMessage(Report& report, const std::string& title, const std::string& text)
{
    report.messages.push_back({title, text});
    const int mode = report.ErrorMessageMode;
    if (mode != 0) write_log_entry(report, title, text);
    // A log that cannot be written must not swallow what it was to hold.
    const bool log_only = (mode == 1 || mode == 2) && report.log.good();
    if (!log_only && report.show) report.show(report.messages.back());
}

}  // namespace kovin
