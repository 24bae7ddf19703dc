#include "base/report.h"

#include "base/line_file.h"
#include "base/scratch_folder.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

/// What two runs of the program leave in the log and show, three messages each.
struct Outcome {
    std::string log;
    int shown = 0;
    std::size_t kept = 0;
};

Outcome two_runs(int mode)
{
    const ScratchFolder folder;
    Outcome outcome;
    for (int run = 0; run < 2; ++run) {
        Report report;
        report.ErrorMessageMode = mode;
        report.log_file = folder.path() / "log";
        report.clock.now = [] { return DateTime{7, 11, 2026, 9, 5, 0}; };
        report.show = [&](const Message&) { ++outcome.shown; };
        KOVINErrorMessage(report, "Error Whilst Reading def file", "line 3");
        KOVINErrorMessage(report, "no convergence in working point", "T = 100 K");
        KOVINErrorMessage(report, "something", "else");
        outcome.kept += report.messages.size();
    }
    outcome.log = read_whole_file(folder.path() / "log").value_or("");
    return outcome;
}

TEST(Report, LogAndScreenByMode)
{
    const std::string run =
        "KOVIN error message #1 written on\t07-11-2026 at 09:05:00\n"
        "KOVIN error message whilst reading set-up files \n"
        "(def, action, spectrum, generation, filter, abs, batch, recorder, script)\n"
        "Error Whilst Reading def file\nline 3\n\n"
        "KOVIN error message #2 written on\t07-11-2026 at 09:05:00\n"
        "no convergence in working point\nT = 100 K\n\n"
        "KOVIN error message #3 written on\t07-11-2026 at 09:05:00\n"
        "Unspecified KOVIN error message\nsomething\nelse\n\n";
    struct Row {
        int mode;
        std::string log;
        int shown;
    };
    const Row rows[] = {{0, "", 6}, {1, run + run, 0}, {2, run, 0}, {3, run, 6}};
    for (const Row& r : rows) {
        const Outcome got = two_runs(r.mode);
        EXPECT_EQ(got.log, r.log) << "mode " << r.mode;
        EXPECT_EQ(got.shown, r.shown) << "mode " << r.mode;
        EXPECT_EQ(got.kept, 6u) << "mode " << r.mode;
    }
}

TEST(Report, NeedsNeitherScreenNorLog)
{
    Report report;
    report.ErrorMessageMode = 9;
    report.log_file = "/none/such/log";
    KOVINErrorMessage(report, "title", "text");
    int shown = 0;
    report.show = [&](const Message&) { ++shown; };
    report.ErrorMessageMode = 1;
    KOVINErrorMessage(report, "title", "text");
    EXPECT_EQ(report.messages.size(), 2u);
    EXPECT_EQ(shown, 1) << "what no log takes is shown";
}

TEST(Clock, DatesOfFilesAndTheirSpelling)
{
    const ScratchFolder folder;
    const auto file = folder.put("a", "x");
    EXPECT_GE(file_date(file).year, 2020);
    EXPECT_EQ(file_date(folder.path() / "none").year, 0);
    EXPECT_GE(Clock().now().year, 2020);
    EXPECT_EQ(date_at_time({1, 2, 2026, 3, 4, 5}), "01-02-2026 at 03:04:05");
}

}  // namespace
}  // namespace kovin
