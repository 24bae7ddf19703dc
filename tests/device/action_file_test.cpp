// Action lists: what the shipped ones say comes back, and a bad value changes nothing.
#include "device/action_file.h"
#include "base/line_file.h"
#include "device/model_table.h"
#include "support/lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace kovin {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const fs::path samples = fs::path(KOVIN_SOURCE_DIR) / "home" / "def";

TEST(ActionFile, ReadAndWriteReturnEveryLineOfTheShippedLists)
{
    for (const auto& entry : fs::directory_iterator(samples)) {
        if (entry.path().extension() != ".act") continue;
        SCOPED_TRACE(entry.path().filename().string());
        Surroundings surroundings;
        ActionPanel panel = InitialiseActionPanel();
        ASSERT_TRUE(SetActionPanelFromFile(surroundings, entry.path(), panel));
        EXPECT_EQ(test::lines_that_count(action_panel_text(panel)),
                  test::lines_that_count(*read_whole_file(entry.path())));
    }
}

/// A panel in which no setting has its default.
ActionPanel unusual_panel()
{
    ActionPanel panel = InitialiseActionPanel();
    WorkPoint& p = panel.workPoint;
    p.T = 345.25, p.V = -0.4321, p.frequency = 2.5e4, p.numberOfPoints = 7, p.dark = false;
    p.generationSpecified = true, p.generationFromFile = false;
    p.generationModel = model_of_number(25);
    p.generationModel.values = {1.25e17, 0.5, 0.125, 1, 1};
    p.cutOff = true, p.lambdaShort = 350.5, p.lambdaLong = 900.25, p.neutralDensity = 6.5, p.attenuation = 62.5;
    WorkPoint& s = panel.secondWorkPoint;
    s = p;
    s.generationSpecified = false, s.spectrumFromFile = false, s.T = 250.0;
    s.spectrumModel = model_of_number(43);
    s.spectrumModel.values = {0.5, 5800, 310, 3900, 1};
    ActionList& a = panel.actions;
    a.QE_calculate = a.IV_calculate = a.CV_calculate = a.MIS_CV_calculate = a.Cf_calculate = true;
    a.stopAfterVoc = a.pause = true;
    a.QE_startlambda = 310, a.QE_stoplambda = 1010, a.QE_points = 71;
    a.IV_startV = -0.25, a.IV_stopV = 1.25, a.IV_points = 61, a.CV_startV = -1.5, a.CV_stopV = 0.5, a.CV_points = 21;
    a.Cf_startf = 1e1, a.Cf_stopf = 1e5, a.Cf_points = 17;
    return panel;
}

TEST(ActionFile, EverySettingSurvives)
{
    Surroundings surroundings;
    const ActionPanel panel = unusual_panel();
    const std::string text = action_panel_text(panel);
    ActionPanel read = InitialiseActionPanel();
    ASSERT_TRUE(parse_action_list(surroundings, text, "x.act", read));
    EXPECT_EQ(action_panel_text(read), text);
    EXPECT_DOUBLE_EQ(read.workPoint.V, -0.4321);
    EXPECT_DOUBLE_EQ(read.workPoint.neutralDensity, 6.5);  // its transmission is written as 0.0000 %
    EXPECT_TRUE(read.workPoint.generationSpecified);
    EXPECT_EQ(read.workPoint.generationModel.number, 25);
    EXPECT_EQ(read.workPoint.generationModel.values, panel.workPoint.generationModel.values);
    EXPECT_EQ(read.secondWorkPoint.spectrumModel.values, panel.secondWorkPoint.spectrumModel.values);
    EXPECT_FALSE(read.secondWorkPoint.generationSpecified);
    EXPECT_DOUBLE_EQ(read.secondWorkPoint.T, 250.0);
    EXPECT_TRUE(read.actions.MIS_CV_calculate && read.actions.Cf_calculate && read.actions.pause);
    EXPECT_EQ(read.actions.Cf_points, 17);
}

TEST(ActionFile, SecondWorkingPointHasAFileOfItsOwn)
{
    Surroundings surroundings;
    const fs::path file = fs::path(::testing::TempDir()) / "kovin-second.wp2";
    ASSERT_TRUE(write_whole_file(file, "Temperature : 999 K\n" + second_work_point_text(unusual_panel())));
    ActionPanel panel = InitialiseActionPanel();
    ASSERT_TRUE(SetWP2FromFile(surroundings, file, panel));
    EXPECT_DOUBLE_EQ(panel.workPoint.T, 300.0);
    EXPECT_EQ(second_work_point_text(panel), second_work_point_text(unusual_panel()));
    fs::remove(file);
    EXPECT_FALSE(SetWP2FromFile(surroundings, file, panel));
}

TEST(ActionFile, OlderKeys)
{
    Surroundings surroundings;
    ActionPanel panel = InitialiseActionPanel();
    ASSERT_TRUE(parse_action_list(surroundings,
                                  "spectrum file : D:\\spectra\\a.spe\r\nSecondworkpoint generation from file : 1\r\n"
                                  "Secondworkpoint generation file : g.gen\r\nRs present : 1\r\nRs : 2.5\r\n"
                                  "Rsh present : 1\r\nRsh : 500\r\ntransmission : 10 %\r\n",
                                  "old.act", panel));
    EXPECT_EQ(panel.workPoint.spectrumFile, "D:/spectra/a.spe");
    EXPECT_TRUE(panel.secondWorkPoint.generationSpecified && panel.secondWorkPoint.generationFromFile);
    EXPECT_EQ(panel.secondWorkPoint.generationFile, "g.gen");
    EXPECT_TRUE(panel.workPoint.RsPresent && panel.workPoint.GshPresent);
    EXPECT_DOUBLE_EQ(panel.workPoint.Rs, 2.5e-4);  // ohm cm2 in the file, ohm m2 in the record
    EXPECT_DOUBLE_EQ(panel.workPoint.Gsh, 20.0);   // 1/(500 ohm cm2) = 20 S/m2
    EXPECT_DOUBLE_EQ(panel.workPoint.neutralDensity, 1.0);
}

TEST(ActionFile, ABadValueIsNamedAndNothingIsTakenOver)
{
    constexpr const char* lines[] = {"Temperature : 0 K",
                                     "Temperature : nan K",
                                     "Temperature : 1e999 K",
                                     "Temperature : warm",
                                     "Temperature :",
                                     "Voltage : 1,5 V",
                                     "Frequency : -1",
                                     "Number of points : -1",
                                     "IV_points : 2002",
                                     "IV_points : 41.5",
                                     "dark : 2",
                                     "neutral density : inf",
                                     "Cf_startf : 0 Hz",
                                     "QE_startlambda : -300",
                                     "Rsh : 0",
                                     "transmission : 0 %",
                                     "spectrum model :green light",
                                     "generation model :black body spectrum",
                                     "spectrum model, value of parameter 2 : x",
                                     "spectrum model, value of parameter : 3",
                                     "Secondworkpoint Temperature : -3 K"};
    for (const char* line : lines) {
        SCOPED_TRACE(line);
        Surroundings surroundings;
        ActionPanel panel = InitialiseActionPanel();
        EXPECT_FALSE(
            parse_action_list(surroundings, "> remark\npause : 1\n" + std::string(line) + "\n", "bad.act", panel));
        EXPECT_FALSE(panel.actions.pause);
        ASSERT_EQ(surroundings.report.messages.size(), 1u);
        const std::string& text = surroundings.report.messages[0].text;
        EXPECT_THAT(text, HasSubstr("bad.act, line 3: "));
        EXPECT_THAT(text, HasSubstr(std::string(line).substr(0, 4)));
    }
}

}  // namespace
}  // namespace kovin
