// Input files of every kind, damaged in every way: taken whole with sensible values, or refused with a message that
// says where; `kovin check` finds whatever a run refuses, at the same line.
//
// A kind is a row of input_kinds, a fault a row of a table here; every fault is tried with every kind that can have it.
#include "app/input_kinds.h"
#include "base/text_scan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace kovin::test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using Lines = std::vector<std::string>;
using Texts = std::vector<std::string>;
using Path = std::filesystem::path;

/// Rows that every two-column kind takes.
std::string rows(int n, const std::string& value = "100")
{
    std::string text;
    for (int i = 0; i < n; ++i) text += std::to_string(300 + i) + ' ' + value + '\n';
    return text;
}

TEST(BrokenInputs, FilesThatAreNone)
{
    static const auto write = [](const Path& file, const std::string& text) { std::ofstream(file) << text; };
    struct Fault {
        const char* what;
        void (*make)(const Path& file);
        const char *said, *found;  ///< parts of message and finding; null: as an empty file of the kind is told
        const char* only = "";     ///< extension of the kind that it is tried with
    };
    const Fault faults[] = {
        {"missing", [](const Path&) {}, "x.", "is not there"},
        {"folder", [](const Path& f) { std::filesystem::create_directories(f); }, "is a folder", "is a folder"},
        {"pipe", [](const Path& f) { ASSERT_EQ(::mkfifo(f.c_str(), 0600), 0); }, "is not a regular",
         "is not a regular"},
        {"empty", [](const Path& f) { write(f, ""); }, nullptr, "is empty"},
        {"no permission", [](const Path& f) { write(f, "300 1\n"), std::filesystem::permissions(f, {}); }, "x.",
         "cannot be read"},
        {"nothing but NUL", [](const Path& f) { write(f, std::string(5000, '\0')); }, "x.", "holds nothing"},
        {"one line of 10 MB", [](const Path& f) { write(f, std::string(10u << 20, 'x')); }, "x.", "holds nothing"},
        {"larger than is read", [](const Path& f) { write(f, "1 1\n"), std::filesystem::resize_file(f, 65u << 20); },
         "x.", "is larger than 64 MB", "spe"},
    };
    InputBench bench;
    for (const InputKind& kind : input_kinds())
        for (const Fault& fault : faults) {
            if (*fault.only != '\0' && kind.extension != fault.only) continue;
            SCOPED_TRACE(kind.extension + ", " + fault.what);
            std::filesystem::remove_all(bench.file(kind));
            fault.make(bench.file(kind));
            // The superuser may read anything: for a moment be nobody.
            const bool be_nobody = fault.what == std::string("no permission") && ::geteuid() == 0;
            ASSERT_TRUE(!be_nobody || ::seteuid(65534) == 0);
            const Outcome outcome = bench.of(kind, bench.file(kind));
            ASSERT_TRUE(!be_nobody || ::seteuid(0) == 0);
            EXPECT_FALSE(outcome.taken || outcome.readable);
            EXPECT_THAT(outcome.said(), HasSubstr(fault.said != nullptr ? fault.said : kind.told_if_empty()));
            EXPECT_THAT(outcome.found(), HasSubstr(fault.found));
        }
}

TEST(BrokenInputs, AValueThatIsNone)
{
    struct Fault {
        const char* value;
        const char* keyed;                                ///< message of a keyed file, which is refused
        const char* column = "is no row of two numbers";  ///< finding of a column file, which passes the row over
    };
    constexpr Fault faults[] = {{"abc", "a number is expected"}, {"nan", "a number is expected"},
                                {"1e999", "out of range"},       {"-1", "outside its range", ""},
                                {"1,5", "a number is expected"}, {"0x10", "a number is expected"}};
    InputBench bench;
    for (const InputKind& kind : input_kinds())
        for (const Fault& fault : faults) {
            SCOPED_TRACE(kind.extension + ", " + fault.value);
            Lines lines = kind.lines();
            // The last such row: above the first row of a column file a text is a heading.
            const auto found = std::find_if(lines.rbegin(), lines.rend(),
                                            [&](const std::string& line) { return line.starts_with(kind.value); });
            ASSERT_NE(found, lines.rend());
            const auto at = found.base() - 1;
            const NumberScan old = next_number(*at, at->find(':') == std::string::npos ? 0 : at->find(':'));
            *at = (kind.keyed() ? at->substr(0, at->find(':') + 1) + ' ' : std::string()) + fault.value +
                  at->substr(old.end);
            const std::string line = std::to_string(at - lines.begin() + 1);
            const Outcome outcome = bench.of(kind, join(lines));
            EXPECT_TRUE(outcome.taken == !kind.keyed() || kind.refuses_rows) << outcome.said();
            EXPECT_TRUE(outcome.taken || outcome.told({"line " + line + ": ", kind.keyed() ? fault.keyed : ""}))
                << outcome.said();
            EXPECT_THAT(outcome.found(), HasSubstr(":" + line + ": " + (kind.keyed() ? "" : fault.column)));
        }
}

TEST(BrokenInputs, MoreThanThereIsRoomFor)
{
    InputBench bench;
    for (const InputKind& kind : input_kinds()) {
        SCOPED_TRACE(kind.extension);
        const char* value = kind.extension == "opt" ? "1e-20" : "100";
        std::string text = rows(kind.most_rows + 1, value);
        if (kind.keyed()) {
            text = join(kind.lines());
            for (int i = 0; i < 9; ++i) text.insert(text.find("\n" + kind.behind) + 1, kind.more);
        } else {
            const Outcome full = bench.of(kind, rows(kind.most_rows, value));
            EXPECT_TRUE(full.taken && full.said() + full.found() == "") << full.said() << full.found();
        }
        const Outcome outcome = bench.of(kind, text);
        const auto limit = AnyOf(HasSubstr("at most"), HasSubstr("too many"), HasSubstr("between"), HasSubstr("rows"));
        EXPECT_EQ(outcome.taken, !kind.refuses_more);
        EXPECT_THAT(outcome.said(), limit);
        EXPECT_THAT(outcome.found(), limit);
    }
}

TEST(BrokenInputs, EveryLineDamaged)
{
    struct Fault {
        const char* what;
        void (*damage)(Lines&, std::size_t i);
        Texts refused;           ///< what a refusal may say; none: the file is taken
        bool stays_in_line;      ///< a refusal names the damaged line
        const char* found = "";  ///< finding of the damaged line, whether it is refused or taken
    };
    const Texts incomplete = {"empty or incomplete", "End of file", "has one row", "holds no line of"};
    const Texts no_value = {"a number is expected", "the word is not known", "outside its range",
                            "a composition lies between"};
    const Texts no_bound = {"outside its range",      "must lie between",      "the grading law is not known",
                            "the dependence must be", "the word is not known", "a composition lies between"};
    Texts within = {"two numbers are expected"};
    for (const Texts& more : {incomplete, no_value}) within.insert(within.end(), more.begin(), more.end());
    const Fault faults[] = {
        {"cut behind", [](Lines& l, std::size_t i) { l.resize(i + 1); }, incomplete, false},
        {"cut within", [](Lines& l, std::size_t i) { l.resize(i + 1), l[i].resize(l[i].size() / 2); }, within, false},
        {"doubled",
         [](Lines& l, std::size_t i) { l.insert(l.begin() + static_cast<std::ptrdiff_t>(i), l[i]); },
         {"the layer is empty", "the defect is empty", "Unsorted data"},
         false},
        {"deleted",
         [](Lines& l, std::size_t i) { l.erase(l.begin() + static_cast<std::ptrdiff_t>(i)); },
         {"empty or incomplete", "names a defect that is not there"},
         false},
        {"NUL bytes",
         [](Lines& l, std::size_t i) { l[i] = std::string(3, '\0') + l[i] + '\0'; },
         {},
         false,
         "holds a byte that is no text"},
        {"text behind the colon", [](Lines& l, std::size_t i) { l[i].resize(l[i].find(':') + 1), l[i] += " abc"; },
         no_value, true},
        {"nothing behind it", [](Lines& l, std::size_t i) { l[i].resize(l[i].find(':') + 1); }, no_value, true},
        {"minus", [](Lines& l, std::size_t i) { l[i].insert(l[i].find(':') + 1, " -1 -1 -1 -1 -1 -1 -1 -1 -1 "); },
         no_bound, true},
        {"huge", [](Lines& l, std::size_t i) { l[i].insert(l[i].find(':') + 1, " 1e300 1e300 1e300 "); }, no_bound,
         true},
    };
    InputBench bench;
    for (const InputKind& kind : input_kinds()) {
        const Lines lines = kind.lines();
        for (const Fault& fault : faults)
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (fault.stays_in_line && lines[i].find(':') == std::string::npos) continue;
                SCOPED_TRACE(kind.extension + ", " + fault.what + " line " + std::to_string(i + 1));
                Lines damaged = lines;
                fault.damage(damaged, i);
                const Outcome outcome = bench.of(kind, join(damaged));
                EXPECT_FALSE(outcome.taken && join(damaged).find(kind.end) == std::string::npos)
                    << "a section is open whose end is missing";
                const std::string line = ":" + std::to_string(i + 1) + ": ";
                EXPECT_THAT(outcome.found(), HasSubstr(*fault.found ? line + fault.found : ""));
                if (outcome.taken) continue;
                EXPECT_TRUE(std::any_of(fault.refused.begin(), fault.refused.end(), [&](const std::string& text) {
                    return outcome.told({text});
                })) << outcome.said();
                EXPECT_THAT(outcome.found(), HasSubstr(fault.stays_in_line ? line : ""));
            }
    }
}

TEST(BrokenInputs, ALineOf10MBIsPassedOver)
{
    InputBench bench;
    for (const InputKind& kind : input_kinds()) {
        Lines lines = kind.lines();
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(lines.size() / 2), std::string(10u << 20, 'z'));
        const Outcome outcome = bench.of(kind, join(lines));
        EXPECT_TRUE(outcome.taken) << kind.extension << outcome.said();
        EXPECT_THAT(outcome.found(), HasSubstr("10485760 characters long")) << kind.extension;
        EXPECT_LT(outcome.found().size(), 1000u) << "the line is not repeated";
    }
}

TEST(BrokenInputs, RowsThatAreNoneAreToldAndPassedOver)
{
    using namespace std::string_literals;
    struct Fault {
        const char* what;
        std::string text;
        std::vector<std::string> told;  ///< parts of one message
    };
    const Fault faults[] = {
        {"nothing wrong", "nm\tvalue\n" + rows(5), {}},
        {"no number", rows(3) + "400 -Inf\n", {", line 4", "400 -Inf"}},
        {"nan in front", "nan 3\n" + rows(3), {", line 1", "nan 3"}},
        {"out of range", rows(3) + "400 1e999\n", {"line 4", "400 1e999"}},
        {"out of range, heading or not", "1e999 3\n" + rows(3), {"line 1", "1e999 3"}},
        {"text in place of the value", rows(3) + "400 much\n401 5\n402 more\n", {"line 4", "400 much", "of 2 such"}},
        {"a file that was cut", rows(3) + "40", {"line 4", "'40'"}},
        {"NUL bytes", rows(3) + "400\0 5\n"s, {"line 4", "400? 5"}},
        {"one row", "500 200\n", {}},
        {"all rows at one place", "500 200\n500 300\n500 200\n", {}},
    };
    InputBench bench;
    for (const InputKind& kind : input_kinds())
        for (const Fault& fault : faults) {
            if (kind.keyed() || kind.refuses_rows) continue;
            SCOPED_TRACE(kind.extension + ", " + fault.what);
            const Outcome outcome = bench.of(kind, fault.text);
            // G(x) lies between rows: a single one gives no light.
            EXPECT_EQ(outcome.taken, kind.extension != "gen" || fault.what != std::string("one row"));
            EXPECT_TRUE(fault.told.empty() || outcome.told(fault.told)) << outcome.said();
        }
}

TEST(BrokenInputs, ValuesWithoutMeaning)
{
    struct Row {
        const char *what, *extension, *text;
        std::vector<std::string> told;  ///< empty: no message
        bool usable;
    };
    const Row table[] = {
        {"negative power is none", "spe", "300 5\n310 -1\n320 5\n", {"line 2", "310 -1", "counts as 0"}, true},
        {"negative absorption", "abs", "300 500\n310 -1\n", {"line 2", "310 -1", "counts as 0"}, true},
        {"negative generation", "gen", "0 5\n1 -1\n", {"line 2", "1 -1", "counts as 0"}, true},
        {"a position may be negative", "gen", "-1 5\n1 5\n", {}, true},
        {"a transmission below 0", "ftr", "300 -1\n310 5\n", {"x.ftr", "forced"}, true},
        {"a negative wavelength", "spe", "-300 5\n310 5\n320 5\n", {"line 1", "-300 5"}, true},
        {"nothing but negative wavelengths", "abs", "-300 5\n-310 5\n", {"x.abs"}, false},
        {"light beyond all measure", "spe", "300 1e300\n310 5\n", {"x.spe", "1e+35"}, false},
        {"pairs beyond all measure", "gen", "0 1e300\n5e300 1e300\n", {"x.gen", "1e+35"}, false},
        {"absorption beyond all measure", "abs", "300 1e300\n310 5\n", {"x.abs", "1.000e+300"}, true},
    };
    InputBench bench;
    for (const Row& r : table) {
        const auto kind = std::find_if(input_kinds().begin(), input_kinds().end(),
                                       [&](const InputKind& k) { return k.extension == r.extension; });
        const Outcome outcome = bench.of(*kind, std::string(r.text));
        EXPECT_EQ(outcome.taken, r.usable) << r.what;
        EXPECT_TRUE(r.told.empty() ? outcome.messages.empty() : outcome.told(r.told)) << r.what << outcome.said();
    }
}

}  // namespace
}  // namespace kovin::test
