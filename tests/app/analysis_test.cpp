// The analyses as a user reaches them: the table of settings, and calculated curves of cells whose answer is known.
#include "app/analysis.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <tuple>

namespace kovin {
namespace {

TEST(AnalysisSettings, EachKeyHasOneHomeAndKeepsItsBounds)
{
    std::set<std::string> help;
    for (const AnalysisKey& key : analysis_keys()) {
        AnalysisChoices choices;
        const std::string word(key.key),
            at_least = key.least > 0.0 && key.least < 1e-200 ? "1e-3" : std::to_string(key.least);
        EXPECT_EQ(add_analysis_choice(word + '=' + at_least, choices), "");
        EXPECT_NE(add_analysis_choice(word + '=' + std::to_string(key.least - 1.0), choices), "") << word;
        if (key.whole) {
            EXPECT_NE(add_analysis_choice(word + '=' + std::to_string(key.most + 1.0), choices), "") << word;
        }
        EXPECT_EQ(key.whole, add_analysis_choice(word + "=0.25", choices) != "") << word;
        EXPECT_NE(analysis_help().find("  " + word + ' '), std::string::npos);
        // Two values leave two different records, so that no row writes into the void.
        AnalysisSettings low, high;
        key.set(low, key.words.empty() ? 1.0 : key.words.front().value);
        key.set(high, key.words.empty() ? 2.0 : key.words.back().value);
        const auto print = [](const AnalysisSettings& s) {
            return std::make_tuple(s.as.nu0, s.as.Eref, s.as.f_ref, s.as.model, s.as.Ebar, s.as.band_offset,
                                   s.as.Eg_ref, s.as.ratio, s.as.two_levels, s.as.nu0_a, s.as.nu0_b, s.as.E_switch);
        };
        EXPECT_TRUE(print(low) != print(high) || !(low.NW == high.NW)) << word;
        EXPECT_TRUE(help.insert(word).second) << word << " stands twice";
    }
    EXPECT_EQ(help.size(), 23U);
}

TEST(AnalysisSettings, FaultsAreToldAndChangeNothing)
{
    struct Row {
        const char *text, *complaint;
    };
    const Row rows[] = {
        {"nuo=1e12", "'nuo' is no setting of an analysis; did you mean 'nu0'?"},
        {"f-ref=1e3", "did you mean 'f_ref'?"},
        {"colour=red", "'colour' is no setting of an analysis"},
        {"nu0", "is not of the form KEY=VALUE"},
        {"=1", "'' is no setting"},
        {"nu0=", "'' is no value of nu0 (above 0 1/s)"},
        {"nu0=1e999", "is no value of nu0"},
        {"nu0=nan", "is no value of nu0"},
        {"nu0=1e12 Hz", "is no value of nu0"},
        {"mode=0.5", "(whole, 0 to 3)"},
        {"side=0", "(left, right)"},
        {"type=exciton", "(electron, midgap, hole)"},
    };
    AnalysisChoices choices;
    for (const Row& r : rows) {
        EXPECT_NE(add_analysis_choice(r.text, choices).find(r.complaint), std::string::npos) << r.text;
        EXPECT_TRUE(choices.empty()) << r.text;
    }
    for (const char* text : {"NU0 = 1e11", "nu0=2e11", "type=Electron", "side=1"})
        EXPECT_EQ(add_analysis_choice(text, choices), "") << text;
    ASSERT_EQ(choices.size(), 3U) << "of two values for one key the later holds";
    EXPECT_EQ(choices[0].value, 2e11);
    EXPECT_EQ(choices[1].value, -1.0);
    EXPECT_EQ(choices[2].value, 1.0);
}

// Which settings come from whom, and what the cell does not have.
TEST(AnalysisSettings, TheUserStandsOverTheFileAndTheFileOverTheCell)
{
    struct Row {
        const char* what;
        std::vector<const char*> given;
        double epsilon_of_file;
        MottSchottkySettings expected;
        const char* complaint;
    };
    MottSchottkySettings file, user, second;
    file.constant_epsilon = 11.7;
    user.constant_epsilon = 12.0;
    second.layer = 1, second.side = -1;
    const Row rows[] = {
        {"the cell", {}, 10.0, {}, ""},
        {"the file", {}, 11.7, file, ""},
        {"the user", {"epsilon=12"}, 11.7, user, ""},
        {"a value and the way to use it", {"epsilonFromPosition=constant", "epsilon=12"}, 10.0, user, ""},
        {"a layer", {"layer=2", "side=left"}, 10.0, second, ""},
        {"no such layer", {"layer=3"}, 10.0, {}, "layer 3: the cell has 2"},
        {"no such defect", {"layer=2", "defect=1"}, 10.0, {}, "defect 1: layer 2 has 0"},
        {"no such level", {"layer=1", "level=2"}, 10.0, {}, "level 2: the defect of layer 1 has 1"},
    };
    for (const Row& r : rows) {
        const auto memory = std::make_unique<Simulation>();
        Simulation& s = *memory;
        s.zonnecel.cell.layers = 2;
        s.zonnecel.cell.layer[0].srhteller = 1;
        s.problem.NW.constant_epsilon = r.epsilon_of_file;
        AnalysisChoices choices;
        for (const char* text : r.given) ASSERT_EQ(add_analysis_choice(text, choices), "") << r.what;
        EXPECT_EQ(prepare_analysis(s, choices), r.complaint) << r.what;
        if (r.complaint[0] != '\0') continue;
        EXPECT_EQ(s.problem.NW, r.expected) << r.what;
    }
}

}  // namespace
}  // namespace kovin
