// Definition files that are damaged: a cell comes out whole and fit to be computed, or not at all.
#include "base/line_file.h"
#include "base/text_scan.h"
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "device/full_definition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <random>

namespace kovin {
namespace {

using ::testing::HasSubstr;

std::string sample(const char* name)
{
    return *read_whole_file(std::filesystem::path(KOVIN_SOURCE_DIR) / "home" / "def" / name);
}

std::vector<std::string> split(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text, 100000);
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    return lines;
}

std::string join(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    return text;
}

template <class Word>
void in_range(Word word, int count)
{
    EXPECT_GE(static_cast<int>(word), 0);
    EXPECT_LT(static_cast<int>(word), count);
}

/// What the rest of the program relies on without looking again.
void expect_valid(const Definition& d)
{
    const CellParameters& cell = d.input.cell.cell;
    ASSERT_GE(cell.layers, 1);
    ASSERT_LE(cell.layers, max_layers);
    for (std::size_t i = 0; i < static_cast<std::size_t>(cell.layers); ++i) {
        const LayerParameters& layer = cell.layer[i];
        EXPECT_GT(layer.material.d, 0.0);
        EXPECT_LE(layer.name.size(), 39u);
        for (const QuantityRow& row : graded_quantities()) {
            const Profile& p = layer.material.*row.member;
            in_range(p.law, 16), in_range(p.dependence, 3);
            for (const double value : {p.pure_A, p.pure_B, p.third, p.fourth, p.fifth, p.left, p.right})
                EXPECT_TRUE(std::isfinite(value));
            EXPECT_TRUE(p.pure_A >= 0.0 || row.quantity == Quantity::chi);
            const bool positive_quantity = row.quantity == Quantity::Eg || row.quantity == Quantity::eps ||
                                           row.quantity == Quantity::Nc || row.quantity == Quantity::mu_n;
            EXPECT_TRUE(p.pure_A > 0.0 || !positive_quantity) << row.word;
        }
        ASSERT_LE(layer.srhteller, max_defects);
        for (std::size_t k = 0; k < static_cast<std::size_t>(layer.srhteller); ++k) {
            const auto& defect = layer.srh[k][0];
            ASSERT_TRUE(defect.levels >= 1 && defect.levels <= max_levels);
            in_range(defect.defectType, 7), in_range(defect.energy_distribution, 5), in_range(defect.reference, 3);
            for (const auto& level : layer.srh[k]) in_range(level.aard, 7);
            EXPECT_TRUE(std::isfinite(defect.peak_to_total) && defect.peak_to_total > 0.0);
        }
        for (const auto& pair : layer.metastable) EXPECT_LT(pair.donor_defect, max_defects);
    }
    for (const auto& interface : cell.interfaces) ASSERT_LE(interface.defect_count, max_interface_defects);
    EXPECT_TRUE(d.input.convergence.defectdiscretisations >= 1 && d.input.convergence.defectdiscretisations <= 100);
}

/// Reads a text that may be anything. @return true if it was taken
bool survives(const std::string& text)
{
    Surroundings surroundings;
    auto d = std::make_unique<Definition>();
    d->input.title = "as it was";
    d->input.cell.cell.layers = 5;
    const bool taken = parse_definition(surroundings, text, "broken.def", *d);
    if (taken) {
        expect_valid(*d);
    } else {
        EXPECT_EQ(d->input.title, "as it was");
        EXPECT_EQ(d->input.cell.cell.layers, 5);
        EXPECT_EQ(surroundings.report.messages.size(), 1u);
    }
    return taken;
}

TEST(DefinitionBroken, AValueThatIsNoneIsNamedWithFileLineAndKeyword)
{
    const std::string text = definition_text(full_definition(), "KOVIN", {});
    const auto lines = split(text);
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
    constexpr Row rows[] = {
        {"d :", "d : 0 [m]"},
        {"d :", "d : -3e-6 [m]"},
        {"Eg :", "Eg : 0"},
        {"Eg :", "Eg :\t 1.1 -1.1 0 1 1 1.1 1.1 0 0 [eV]"},
        {"Eg :", "Eg :\t 1.1 1.1 nan 1 1 1.1 1.1 0 0 [eV]"},
        {"Eg :", "Eg : 1,15 [eV]"},
        {"eps :", "eps : -10"},
        {"Nc :", "Nc : 0"},
        {"mu_p :", "mu_p : 0"},
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
        {"internal Rfront", "internal Rfront : -0.1"},
    };
    const auto lines = split(sample("cigs-baseline.def"));
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
    EXPECT_FALSE(survives(head + times(max_layers, layer) + "interface properties\n\ninterfacename : none\n" + end));
    EXPECT_FALSE(survives(head + layer + "srhrecombination\n" + defect + "Metastable properties: transition 0\n" +
                          "DonorDefect : 0\nAcceptorDefect : 1\n" + end));
    EXPECT_FALSE(survives(head + end));  // no layer at all
    EXPECT_FALSE(survives(""));
}

TEST(DefinitionBroken, CutAnywhere)
{
    const std::string text = sample("impurity-photovoltaic.def");
    const auto end_part = text.find("working point");
    for (std::size_t length = 0; length < text.size(); length += 7) {
        const bool taken = survives(text.substr(0, length));
        // In front of the working point a section is open whose end is missing.
        if (length < end_part) {
            EXPECT_FALSE(taken) << "cut at byte " << length;
        }
    }
}

TEST(DefinitionBroken, LinesDoubledDeletedAndExchanged)
{
    for (const char* name : {"metastable-cigs.def", "earliest-format.def", "tunnel-heterojunction.def"}) {
        const auto lines = split(sample(name));
        for (std::size_t i = 0; i < lines.size(); ++i) {
            SCOPED_TRACE(std::string(name) + ", line " + std::to_string(i + 1));
            auto doubled = lines, deleted = lines, exchanged = lines;
            doubled.insert(doubled.begin() + static_cast<std::ptrdiff_t>(i), lines[i]);
            deleted.erase(deleted.begin() + static_cast<std::ptrdiff_t>(i));
            std::swap(exchanged[i], exchanged[(i * 7 + 3) % lines.size()]);
            survives(join(doubled)), survives(join(deleted)), survives(join(exchanged));
        }
    }
}

TEST(DefinitionBroken, BytesAtRandom)
{
    std::mt19937 random(12345);  // the same bytes in each run
    const auto any = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const std::string texts[] = {definition_text(full_definition(), "KOVIN", {}), sample("earliest-format.def")};
    const std::string likely = "0123456789.-+eE :\t\n[]()naxlype\r";
    for (int run = 0; run < 400; ++run) {
        std::string text = texts[any(2)];
        for (std::size_t k = any(12) + 1; k > 0; --k) {
            const std::size_t at = any(text.size());
            if (any(3) == 0)
                text[at] = static_cast<char>(any(256));
            else if (any(2) == 0)
                text[at] = likely[any(likely.size())];
            else
                text.erase(at, any(40));
        }
        survives(text);
        std::string noise(any(2000), ' ');
        for (char& c : noise) c = static_cast<char>(any(256));
        EXPECT_FALSE(survives(noise));
    }
}

}  // namespace
}  // namespace kovin
