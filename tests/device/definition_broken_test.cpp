// Definition files with values that no cell has: refused, by file, line and keyword. Files that are cut or garbled:
// app/broken_inputs_test.cpp.
#include "base/line_file.h"
#include "base/text_scan.h"
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "device/full_definition.h"
#include "fuzz/targets.h"
#include "support/lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace kovin {
namespace {

using ::testing::HasSubstr;

std::string sample(const char* name)
{
    return *read_whole_file(std::filesystem::path(KOVIN_SOURCE_DIR) / "home" / "def" / name);
}

using test::all_lines;
using test::join;

/// Reads a text that may be anything. @return true if it was taken
bool survives(const std::string& text)
{
    Surroundings surroundings;
    auto d = std::make_unique<Definition>();
    d->input.title = "as it was";
    d->input.cell.cell.layers = 5;
    const bool taken = parse_definition(surroundings, text, "broken.def", *d);
    fuzz::definition(text);  // what everything else relies on
    if (!taken) {
        EXPECT_EQ(d->input.title, "as it was");
        EXPECT_EQ(d->input.cell.cell.layers, 5);
        EXPECT_EQ(surroundings.report.messages.size(), 1u);
    }
    return taken;
}

TEST(DefinitionBroken, AValueThatIsNoneIsNamedWithFileLineAndKeyword)
{
    const std::string text = definition_text(full_definition(), "KOVIN", {});
    const auto lines = all_lines(text);
    int tried = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto colon = lines[i].find(':');
        if (colon == std::string::npos || lines[i][0] == '>') continue;
        // Lines whose value is no number, and one that is written but never read.
        const NumberScan number = number_here(lines[i], colon + 1);
        if (!number.found || lines[i].starts_with("leveltype") || lines[i].starts_with("Allow change") ||
            lines[i].starts_with("profile") || lines[i].find("edges:") != std::string::npos ||
            lines[i].starts_with("Metastable"))
            continue;
        // The old form of a density is not looked at behind the profile.
        if (lines[i].starts_with("Nleft") || lines[i].starts_with("Nright") || lines[i].starts_with("Lkar")) continue;
        const char* bad = tried % 3 == 0 ? " nan" : tried % 3 == 1 ? " 1e999" : " abc";
        auto changed = lines;
        changed[i] = lines[i].substr(0, colon + 1) + bad + lines[i].substr(number.end);
        ++tried;
        Surroundings surroundings;
        Definition d;
        ASSERT_FALSE(parse_definition(surroundings, join(changed), "cell.def", d)) << changed[i];
        ASSERT_EQ(surroundings.report.messages.size(), 1u);
        const std::string& message = surroundings.report.messages[0].text;
        EXPECT_THAT(message, HasSubstr("cell.def, line " + std::to_string(i + 1) + ": ")) << changed[i];
        EXPECT_THAT(message, HasSubstr(lines[i].substr(0, 2))) << changed[i];
    }
    EXPECT_GT(tried, 500);
}

TEST(DefinitionBroken, ValuesThatNoCellHasAreRefused)
{
    struct Row {
        const char *line, *replaced;  ///< start of a line of the sample and what comes in its place
    };
    constexpr Row rows[] = {{"d :", "d : 0 [m]"},
                            {"d :", "d : -3e-6 [m]"},
                            {"Eg :", "Eg : 0"},
                            {"Eg :", "Eg :\t 1.1 -1.1 0 1 1 1.1 1.1 0 0 [eV]"},
                            {"Eg :", "Eg :\t 1.1 1.1 nan 1 1 1.1 1.1 0 0 [eV]"},
                            {"Eg :", "Eg :\t 1.1 x1.1 0 1 1 1.1 1.1 0 0 [eV]"},
                            {"Eg :", "Eg : 1,15 [eV]"},
                            {"eps :", "eps : -10"},
                            {"Nc :", "Nc : 0"},
                            {"mu_p :", "mu_p : -1e-3"},
                            {"v_th_n :", "v_th_n : -1"},
                            {"Nc :", "Nc : m^-3 1e25"},
                            {"Na(", "Na(uniform) : -1e20"},
                            {"K_rad", "K_rad : -1"},
                            {"chi :", "chi :\t4 4 1 1 1 4 4 16 0 [eV]"},
                            {"chi :", "chi :\t4 4 1 1 1 4 4 -1 0 [eV]"},
                            {"chi :", "chi :\t4 4 1 1 1 4 4 0.5 0 [eV]"},
                            {"chi :", "chi :\t4 4 1 1 1 4 4 0 3 [eV]"},
                            {"composition", "composition grading : 2 1 0 0 0 0 0 1 1 [-]"},
                            {"type :", "type : something ( 1 level(s) )"},
                            {"type :", "type : donor ( 5 level(s) )"},
                            {"type :", "type : donor ( 0 level(s) )"},
                            {"energy distribution", "energy distribution : flat"},
                            {"Reference for", "Reference for defect energy : 3"},
                            {"Et :", "Et : [eV]"},
                            {"flatband", "flatband : 2"},
                            {"filter value", "filter value: 1.5"},
                            {"Tunneling in", "Tunneling in layer: yes"},
                            {"internal Rfront", "internal Rfront : -0.1"}};
    const auto lines = all_lines(sample("cigs-baseline.def"));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.replaced);
        auto changed = lines;
        const auto at =
            std::find_if(changed.begin(), changed.end(), [&](const auto& l) { return l.starts_with(row.line); });
        ASSERT_NE(at, changed.end());
        *at = row.replaced;
        EXPECT_FALSE(survives(join(changed)));
    }
}

TEST(DefinitionBroken, MoreThanThereIsRoomForIsRefused)
{
    const std::string head = "back contact\n\nSn : 1e5\n", layer = "layer\n\nname : x\nd : 1e-6\n";
    const std::string defect = "type : donor\nEt : 0.5\n", sheet = "type : neutral\nN : 1e14\n";
    const std::string end = "front contact\n\nSn : 1e5\nworking point\n";
    const auto times = [](int n, const std::string& text) {
        std::string all;
        for (int i = 0; i < n; ++i) all += text;
        return all;
    };
    EXPECT_TRUE(survives(head + times(max_layers, layer) + end));
    EXPECT_FALSE(survives(head + times(max_layers + 1, layer) + end));
    for (const int extra : {0, 1}) {
        const std::string bulk = "srhrecombination\n" + defect + times(max_defects - 1 + extra, "next\n" + defect);
        EXPECT_EQ(survives(head + layer + bulk + end), extra == 0);
        const std::string interface =
            "interface recombination\n" + sheet + times(max_interface_defects - 1 + extra, "next\n" + sheet);
        EXPECT_EQ(survives(head + layer + interface + layer + end), extra == 0);
    }
    EXPECT_FALSE(survives(head + layer + "srhrecombination\n" + defect + "Metastable properties: transition 0\n" +
                          "DonorDefect : 0\nAcceptorDefect : 1\n" + end));
    EXPECT_FALSE(survives(head + end));  // no layer at all
    EXPECT_FALSE(survives(""));
}

}  // namespace
}  // namespace kovin
