// Spectrum, filter, generation and absorption files with a fault in them: told by file, line and value, and nothing but
// finite numbers comes of them.
#include "base/scratch_folder.h"
#include "device/absorption_models.h"
#include "device/model_table.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kovin {
namespace {

std::string rows(int n)
{
    std::string text;
    for (int i = 0; i < n; ++i) text += std::to_string(300 + i) + " 100\n";
    return text;
}

struct Fault {
    const char* what;
    std::string text;
    std::vector<std::string> told;  // parts of one message
};

std::vector<Fault> faults()
{
    using namespace std::string_literals;
    return {
        {"nothing wrong", "nm\tvalue\n" + rows(5), {}},
        {"nan", rows(3) + "400 nan\n", {"bad.dat, line 4", "400 nan"}},
        {"nan in front", "nan 3\n" + rows(3), {"bad.dat, line 1", "nan 3"}},
        {"inf", rows(3) + "400 -Inf\n", {"line 4", "400 -Inf"}},
        {"out of range", rows(3) + "400 1e999\n", {"line 4", "400 1e999"}},
        {"out of range, heading or not", "1e999 3\n" + rows(3), {"line 1", "1e999 3"}},
        {"text in place of the value", rows(3) + "400 much\n401 5\n402 more\n", {"line 4", "400 much", "of 2 such"}},
        {"a file that was cut", rows(3) + "40", {"line 4", "'40'"}},
        {"NUL bytes", rows(3) + "400\0 5\n"s, {"line 4", "400? 5"}},
        {"a line of 10 MB", rows(3) + std::string(10'000'000, '7') + "\n", {"line 4", "7777777"}},
        {"one row", "500 200\n", {}},
        {"all rows at one place", "500 200\n500 300\n500 200\n", {}},
    };
}

/// Reads a file as its kind does. @return true if something usable came of it, in finite numbers
using Reader = bool (*)(Surroundings&, const std::string&);

bool read_spectrum(Surroundings& surroundings, const std::string& file)
{
    bool usable = true;
    for (const bool cut_off : {false, true}) {
        WorkPoint wp = InitialiseWorkPoint();
        wp.dark = false;
        wp.spectrumFile = file;
        wp.cutOff = cut_off;
        wp.lambdaShort = 300.5;
        wp.lambdaLong = 302;
        GenerationParameters gp;
        usable = bepaal_spectrum(surroundings, wp, gp) && usable;
        EXPECT_TRUE(std::isfinite(wp.powerAfterCutOff));
        for (const double power : gp.spectrum) EXPECT_TRUE(power >= 0.0 && std::isfinite(power));
    }
    return usable;
}

bool read_filter(Surroundings& surroundings, const std::string& file)
{
    CellParameters cell;
    cell.left.filter = true;
    cell.left.filter_file = file;
    GenerationParameters gp;
    gp.lambda = {250, 300.5, 5000};
    const bool usable = BerekenFilterSpectra(surroundings, cell, gp);
    for (const double R : gp.leftFilter) EXPECT_TRUE(R >= 0.0 && R <= 1.0);
    return usable;
}

bool read_generation(Surroundings& surroundings, const std::string& file)
{
    WorkPoint wp = InitialiseWorkPoint();
    wp.dark = false;
    wp.generationFromFile = true;
    wp.generationFile = file;
    GenerationParameters gp;
    const bool usable = read_given_generation(surroundings, wp, {}, gp);
    EXPECT_TRUE(std::isfinite(CalculateIdealCurrentFromGenerationFileOrModel(gp.given)));
    return usable;
}

bool read_absorption(Surroundings& surroundings, const std::string& file)
{
    MaterialAbsorption material;
    material.from_file = true;
    const bool usable = read_absorption_file(surroundings, file, material.table);
    for (const double lambda : {1.0, 300.5, 5000.0}) {
        const double alpha = alpha_at(material, lambda);
        EXPECT_TRUE(alpha >= 0.0 && std::isfinite(alpha));
    }
    return usable;
}

constexpr struct {
    const char* kind;
    Reader read;
    int most_rows;
    bool refuses;  // too many rows; else what is too much is left out
} kinds[] = {
    {"spectrum", read_spectrum, 2500, true},
    {"filter", read_filter, 2500, true},
    {"generation", read_generation, 1000, true},
    {"absorption", read_absorption, 2500, false},
};

/// True if one message holds all the parts.
bool told(const Surroundings& surroundings, const std::vector<std::string>& parts)
{
    return std::any_of(surroundings.report.messages.begin(), surroundings.report.messages.end(), [&](const Message& m) {
        return std::all_of(parts.begin(), parts.end(),
                           [&](const std::string& part) { return (m.title + m.text).find(part) != std::string::npos; });
    });
}

TEST(BrokenLightFiles, AreToldAndGiveFiniteNumbers)
{
    const ScratchFolder scratch;
    for (const auto& kind : kinds) {
        for (const Fault& fault : faults()) {
            SCOPED_TRACE(std::string(kind.kind) + ": " + fault.what);
            Surroundings surroundings;
            EXPECT_TRUE(kind.read(surroundings, scratch.put("bad.dat", fault.text).string()));
            if (!fault.told.empty()) {
                EXPECT_TRUE(told(surroundings, fault.told));
            }
        }
        Surroundings enough, too_many;
        EXPECT_TRUE(kind.read(enough, scratch.put("full.dat", rows(kind.most_rows)).string())) << kind.kind;
        EXPECT_TRUE(enough.report.messages.empty()) << kind.kind;
        EXPECT_EQ(kind.read(too_many, scratch.put("full.dat", rows(kind.most_rows + 1)).string()), !kind.refuses);
        EXPECT_TRUE(told(too_many, {"full.dat"})) << kind.kind;
    }
}

TEST(BrokenLightFiles, ValuesWithoutMeaning)
{
    const ScratchFolder scratch;
    struct Row {
        const char* what;
        Reader read;
        const char* text;
        std::vector<std::string> told;
        bool usable;
    };
    const Row table[] = {
        {"negative power is none", read_spectrum, "300 5\n310 -1\n320 5\n", {"line 2", "310 -1", "counts as 0"}, true},
        {"negative absorption", read_absorption, "300 500\n310 -1\n", {"line 2", "310 -1", "counts as 0"}, true},
        {"negative generation", read_generation, "0 5\n1 -1\n", {"line 2", "1 -1", "counts as 0"}, true},
        {"a position may be negative", read_generation, "-1 5\n1 5\n", {}, true},
        {"a transmission below 0", read_filter, "300 -1\n310 5\n", {"x.dat", "forced"}, true},
        {"a negative wavelength", read_spectrum, "-300 5\n310 5\n320 5\n", {"line 1", "-300 5"}, true},
        {"nothing but negative wavelengths", read_absorption, "-300 5\n-310 5\n", {"x.dat"}, false},
        {"light beyond all measure", read_spectrum, "300 1e300\n310 5\n", {"x.dat", "1e+35"}, false},
        {"pairs beyond all measure", read_generation, "0 1e300\n5e300 1e300\n", {"x.dat", "1e+35"}, false},
        {"absorption beyond all measure", read_absorption, "300 1e300\n310 5\n", {"x.dat", "1.000e+300"}, true},
    };
    for (const Row& r : table) {
        Surroundings surroundings;
        EXPECT_EQ(r.read(surroundings, scratch.put("x.dat", r.text).string()), r.usable) << r.what;
        EXPECT_TRUE(r.told.empty() ? surroundings.report.messages.empty() : told(surroundings, r.told)) << r.what;
    }
}

}  // namespace
}  // namespace kovin
