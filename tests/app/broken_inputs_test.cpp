// Input files of every kind, damaged in every way: taken whole with sensible values, or refused with a message that
// says where; `kovin check` finds whatever a run refuses, at the same line.
//
// A kind is a row of `kinds`, a fault a row of one of the fault tables; the drivers apply every fault to every kind.
#include "app/check_file.h"
#include "app/initialise.h"
#include "app/load.h"
#include "base/line_file.h"
#include "base/scratch_folder.h"
#include "base/text_scan.h"
#include "base/two_column_file.h"
#include "device/absorption_models.h"
#include "device/action_file.h"
#include "fuzz/targets.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/spectrum.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace kovin {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using Path = std::filesystem::path;

const Path home = Path(KOVIN_SOURCE_DIR) / "home";

bool finite(const std::vector<double>& values)
{
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

/// Two-column files that are read row by row where they are needed.
bool take_rows(Session& s, const Path& file, FileKind kind)
{
    TwoColumns rows;
    if (ReadKOVINFile(s.surroundings, file.string(), kind, 1, true, rows) < 1) return false;
    EXPECT_TRUE(rows.x.size() == rows.y.size() && rows.x.size() <= 2500u && finite(rows.x) && finite(rows.y));
    EXPECT_TRUE(std::is_sorted(rows.x.begin(), rows.x.end()));
    return true;
}

bool take_spectrum(Session& s, const Path& file)
{
    WorkPoint wp = InitialiseWorkPoint();
    wp.dark = false;
    wp.cutOff = true;
    GenerationParameters gp;
    if (!set_spectrum(s, file.string())) return false;
    wp.spectrumFile = s.simulation.panel.workPoint.spectrumFile;
    if (!bepaal_spectrum(s.surroundings, wp, gp)) return false;
    EXPECT_TRUE(finite(gp.spectrum) && gp.n <= 2503 && *std::min_element(gp.spectrum.begin(), gp.spectrum.end()) >= 0);
    return true;
}

bool take_absorption(Session& s, const Path& file)
{
    AbsorptionTable table;
    if (!read_absorption_file(s.surroundings, file.string(), table)) return false;
    EXPECT_TRUE(finite(table.alpha) && *std::min_element(table.alpha.begin(), table.alpha.end()) >= 0.0);
    return true;
}

bool take_filter(Session& s, const Path& file)
{
    CellParameters& cell = s.simulation.zonnecel.cell;
    cell.right.filter = true;
    cell.right.filter_file = file.string();
    GenerationParameters gp;
    gp.lambda = {300.0, 550.0, 1200.0};
    if (!BerekenFilterSpectra(s.surroundings, cell, gp)) return false;
    for (const double T : gp.rightFilter) EXPECT_TRUE(T >= 0.0 && T <= 1.0);
    return true;
}

bool take_generation(Session& s, const Path& file)
{
    WorkPoint wp = InitialiseWorkPoint();
    if (!set_generation(s, file.string())) return false;
    wp.generationFromFile = true;
    wp.generationFile = file.string();
    wp.dark = false;
    GenerationParameters gp;
    if (!read_given_generation(s.surroundings, wp, s.simulation.set3, gp)) return false;
    const double J = CalculateIdealCurrentFromGenerationFileOrModel(gp.given);
    EXPECT_TRUE(J >= 0.0 && std::isfinite(J));
    return true;
}

struct Kind {
    const char* extension;
    Path sample;
    bool (*take)(Session&, const Path&);
    bool keyed;
    const char* value;  ///< start of a line of the sample whose first value the faults of a value replace
    std::string more;   ///< a text that, added often enough in front of `behind`, is beyond all bounds; empty: rows
    const char* behind = nullptr;
    const char* end = nullptr;                                         ///< a file without this line is incomplete
    void (*promises)(const std::string&) = [](const std::string&) {};  ///< asked of every text of the kind
};

bool take_definition(Session& s, const Path& file) { return load_definition(s, file.string()); }

const std::vector<Kind>& kinds()
{
    static const std::string room = "layer\nname : x\nd : 1e-6\n";
    static const std::vector<Kind> all = {
        {"def", home / "def/impurity-photovoltaic.def", take_definition, true, "Eg", room, "front contact",
         "working point", fuzz::definition},
        {"def", home / "def/earliest-format.def", take_definition, true, "Nleft", room, "front contact", "spectrumfile",
         fuzz::definition},
        {"def", home / "def/metastable-cigs.def", take_definition, true, "Nt(", room, "front contact", "working point",
         fuzz::definition},
        {"act", home / "def/cigs-baseline.act",
         [](Session& s, const Path& p) { return load_action_list(s, p.string()); }, true, "Temperature",
         "IV_points : 100000\n", "pause", nullptr, fuzz::action},
        {"wp2",
         {},
         [](Session& s, const Path& p) { return load_second_work_point(s, p.string()); },
         true,
         "Secondworkpoint Temperature",
         "Secondworkpoint Number of points : 1e9\n",
         "Secondworkpoint dark"},
        {"spe", home / "spectrum/monochromatic_550nm_100Wm2.spe", take_spectrum, false, "5", ""},
        {"abs", home / "absorption/ZnO.abs", take_absorption, false, "3", ""},
        {"ftr", home / "filter/longpass_550nm.ftr", take_filter, false, "5", ""},
        {"gen", home / "generation/exponential_right_40mA.gen", take_generation, false, "12.", ""},
        {"grad", home / "grading/cigs-notch.grad",
         [](Session& s, const Path& p) { return take_rows(s, p, FileKind::grading); }, false, "0.", ""},
        {"opt", home / "optcapt/Si_In_electrons.opt",
         [](Session& s, const Path& p) { return take_rows(s, p, FileKind::optical_capture); }, false, "9", ""},
    };
    return all;
}

using Lines = std::vector<std::string>;

Lines lines_of(const Kind& kind)
{
    const std::string text = kind.sample.empty() ? second_work_point_text(InitialiseActionPanel())
                                                 : read_whole_file(kind.sample).value_or("");
    Lines lines;
    LineReader reader(text, 10000);
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    return lines;
}

std::string join(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
}

/// What became of a file: taken or not, what was said, what a check finds.
struct Outcome {
    bool taken = false;
    std::vector<std::string> messages;
    CheckResult check;

    /// A message or finding; the whole when there are several.
    [[nodiscard]] std::string said() const
    {
        std::string all;
        for (const std::string& message : messages) all += message + '\n';
        return all;
    }
    [[nodiscard]] std::string found() const
    {
        std::string all;
        for (const Finding& finding : check.findings) all += finding_text(finding) + '\n';
        return all;
    }
};

/// A session that tries one file after the other.
class Bench {
public:
    Bench() { Initialise(*session_, home, "kovin"); }

    Outcome of(const Kind& kind, const Path& file)
    {
        auto& messages = session_->surroundings.report.messages;
        messages.clear();
        Outcome outcome;
        outcome.taken = kind.take(*session_, file);
        for (const Message& message : messages) outcome.messages.push_back(message.title + ": " + message.text);
        outcome.check = check_file(*session_, file.string());
        if (!outcome.taken) {
            EXPECT_FALSE(outcome.messages.empty()) << "refused without a word: " << file;
            EXPECT_FALSE(outcome.check.findings.empty()) << "refused, and nothing found: " << outcome.said();
        }
        return outcome;
    }
    Outcome of(const Kind& kind, const std::string& text)
    {
        kind.promises(text);
        return of(kind, scratch_.put(std::string("x.") + kind.extension, text));
    }
    [[nodiscard]] const ScratchFolder& scratch() const { return scratch_; }

private:
    ScratchFolder scratch_;
    std::unique_ptr<Session> session_ = std::make_unique<Session>();
};

TEST(BrokenInputs, FilesThatAreNone)
{
    struct Fault {
        const char* what;
        void (*make)(const Path& file);
        const char *keyed, *columns;  ///< part of the message
        const char* check;            ///< part of the finding
        bool needs_user = false;      ///< root may read everything
        bool is_large = false;        ///< tried with one kind: it takes its time
    };
    const auto put = [](const Path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; };
    static const auto write = put;
    const Fault faults[] = {
        {"missing", [](const Path&) {}, "x.", "x.", "is not there"},
        {"folder", [](const Path& file) { std::filesystem::create_directories(file); }, "x.", "x.", "is a folder"},
        {"no permission",
         [](const Path& file) {
             write(file, "300 1\n");
             std::filesystem::permissions(file, std::filesystem::perms::none);
         },
         "x.", "occured during", "cannot be read", true},
        {"empty", [](const Path& file) { write(file, ""); }, "", "", "is empty"},
        {"nothing but NUL", [](const Path& file) { write(file, std::string(5000, '\0')); }, "",
         "End of file occured during reading", "holds nothing"},
        {"one line of 10 MB", [](const Path& file) { write(file, std::string(10u << 20, 'x')); }, "",
         "End of file occured during reading", "holds nothing"},
        {"larger than is read",
         [](const Path& file) {
             write(file, "300 1\n");
             std::filesystem::resize_file(file, 65u << 20);
         },
         "x.", "occured during", "cannot be read", false, true},
    };
    Bench bench;
    for (const Kind& kind : kinds())
        for (const Fault& fault : faults) {
            if (fault.needs_user && ::geteuid() == 0) continue;
            if (fault.is_large && std::string(kind.extension) != "spe") continue;
            SCOPED_TRACE(std::string(kind.extension) + ", " + fault.what);
            const Path file = bench.scratch().path() / (std::string("x.") + kind.extension);
            std::filesystem::remove_all(file);
            fault.make(file);
            const Outcome outcome = bench.of(kind, file);
            EXPECT_FALSE(outcome.taken);
            EXPECT_THAT(outcome.said(), HasSubstr(kind.keyed ? fault.keyed : fault.columns));
            EXPECT_THAT(outcome.found(), HasSubstr(fault.check));
            EXPECT_FALSE(outcome.check.readable);
        }
}

TEST(BrokenInputs, AValueThatIsNone)
{
    struct Fault {
        const char* value;
        const char* keyed;  ///< message of a keyed file, which is refused; a column file passes the row over
    };
    constexpr Fault faults[] = {{"abc", "a number is expected"}, {"nan", "a number is expected"},
                                {"1e999", "out of range"},       {"-1", "outside its range"},
                                {"1,5", "a number is expected"}, {"0x10", "a number is expected"}};
    Bench bench;
    for (const Kind& kind : kinds())
        for (const Fault& fault : faults) {
            SCOPED_TRACE(std::string(kind.extension) + ", " + fault.value);
            Lines lines = lines_of(kind);
            // The last such row: above the first row of a column file a text is a heading.
            const auto found = std::find_if(lines.rbegin(), lines.rend(),
                                            [&](const std::string& line) { return line.starts_with(kind.value); });
            ASSERT_NE(found, lines.rend());
            const auto at = found.base() - 1;
            const NumberScan old = next_number(*at, at->find(':') == std::string::npos ? 0 : at->find(':'));
            *at = (kind.keyed ? at->substr(0, at->find(':') + 1) + ' ' : std::string()) + fault.value +
                  at->substr(old.end);
            const std::string line = std::to_string(at - lines.begin() + 1);
            const Outcome outcome = bench.of(kind, join(lines));
            EXPECT_EQ(outcome.taken, !kind.keyed) << outcome.said();
            if (kind.keyed) {
                EXPECT_THAT(outcome.said(), HasSubstr("line " + line + ": "));
                EXPECT_THAT(outcome.said(), HasSubstr(fault.keyed));
            }
            EXPECT_THAT(outcome.found(), HasSubstr(":" + line + ": "));
        }
}

TEST(BrokenInputs, MoreThanThereIsRoomFor)
{
    Bench bench;
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.extension);
        std::string text = join(lines_of(kind));
        if (kind.keyed) {
            for (int i = 0; i < 9; ++i) text.insert(text.find(std::string("\n") + kind.behind) + 1, kind.more);
        } else {
            text.clear();
            for (int i = 0; i < 2501; ++i) text += std::to_string(i + 1) + " 5\n";
        }
        const Outcome outcome = bench.of(kind, text);
        const std::string extension = kind.extension;
        const bool cut = extension == "abs" || extension == "grad" || extension == "opt";
        EXPECT_EQ(outcome.taken, cut) << outcome.said();
        if (!cut) {
            EXPECT_THAT(outcome.said(), AnyOf(HasSubstr("at most"), HasSubstr("too many"), HasSubstr("between")));
        }
        EXPECT_THAT(outcome.found(), AnyOf(HasSubstr("at most"), HasSubstr("rows"), HasSubstr("between")));
    }
}

TEST(BrokenInputs, EveryLineDamaged)
{
    struct Fault {
        const char* what;
        void (*damage)(Lines&, std::size_t i);
        bool stays_in_line;  ///< a refusal names the damaged line
    };
    const Fault faults[] = {
        {"cut behind", [](Lines& l, std::size_t i) { l.resize(i + 1); }, false},
        {"cut within", [](Lines& l, std::size_t i) { l.resize(i + 1), l[i].resize(l[i].size() / 2); }, false},
        {"doubled", [](Lines& l, std::size_t i) { l.insert(l.begin() + static_cast<std::ptrdiff_t>(i), l[i]); }, false},
        {"deleted", [](Lines& l, std::size_t i) { l.erase(l.begin() + static_cast<std::ptrdiff_t>(i)); }, false},
        {"NUL bytes", [](Lines& l, std::size_t i) { l[i] = std::string(3, '\0') + l[i] + '\0'; }, false},
        {"text behind the colon", [](Lines& l, std::size_t i) { l[i].resize(l[i].find(':') + 1), l[i] += " abc"; },
         true},
        {"nothing behind it", [](Lines& l, std::size_t i) { l[i].resize(l[i].find(':') + 1); }, true},
        {"minus", [](Lines& l, std::size_t i) { l[i].insert(l[i].find(':') + 1, " -1 -1 -1 -1 -1 -1 -1 -1 -1 "); },
         true},
        {"huge", [](Lines& l, std::size_t i) { l[i].insert(l[i].find(':') + 1, " 1e300 1e300 1e300 "); }, true},
    };
    Bench bench;
    for (const Kind& kind : kinds()) {
        const Lines lines = lines_of(kind);
        for (const Fault& fault : faults)
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (fault.stays_in_line && lines[i].find(':') == std::string::npos) continue;
                SCOPED_TRACE(std::string(kind.extension) + ", " + fault.what + " line " + std::to_string(i + 1));
                Lines damaged = lines;
                fault.damage(damaged, i);
                const Outcome outcome = bench.of(kind, join(damaged));
                if (kind.end != nullptr && join(damaged).find(kind.end) == std::string::npos) {
                    EXPECT_FALSE(outcome.taken) << "a section is open whose end is missing";
                }
                if (outcome.taken || !fault.stays_in_line) continue;
                EXPECT_THAT(outcome.found(), HasSubstr(":" + std::to_string(i + 1) + ": "));
            }
    }
}

TEST(BrokenInputs, ALineOf10MBIsPassedOver)
{
    Bench bench;
    for (const Kind& kind : kinds()) {
        Lines lines = lines_of(kind);
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(lines.size() / 2), std::string(10u << 20, 'z'));
        const Outcome outcome = bench.of(kind, join(lines));
        EXPECT_TRUE(outcome.taken) << kind.extension << outcome.said();
        EXPECT_THAT(outcome.found(), HasSubstr("10485760 characters long")) << kind.extension;
        EXPECT_LT(outcome.found().size(), 1000u) << "the line is not repeated";
    }
}

}  // namespace
}  // namespace kovin
