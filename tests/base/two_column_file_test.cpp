#include "base/two_column_file.h"

#include "base/constants.h"
#include "base/name_list_file.h"
#include "base/scratch_folder.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

using Column = std::vector<double>;

TEST(TwoColumnFile, SortAndMerge)
{
    struct Row {
        const char* what;
        Column x, y;
        int direction;
        Column new_x, new_y;
        int report;
    };
    const Row rows[] = {
        {"in order", {1, 2}, {5, 6}, 1, {1, 2}, {5, 6}, 0},
        {"reversed", {2, 1}, {6, 5}, 1, {1, 2}, {5, 6}, 1},
        {"falling wanted", {1, 3, 2}, {1, 3, 2}, -1, {3, 2, 1}, {3, 2, 1}, 1},
        {"equal x: geometric mean", {1, 2, 2}, {1, 4, 9}, 1, {1, 2}, {1, 6}, 2},
        {"equal x, one negative: mean", {2, 2}, {-4, 9}, 1, {2}, {2.5}, 2},
        {"a zero is not negative", {2, 2}, {0, 9}, 1, {2}, {0}, 2},
        {"three equal ones, one after the other", {2, 2, 2}, {1, 16, 25}, 1, {2}, {10}, 2},
        {"both", {2, 1, 2}, {4, 1, 9}, 1, {1, 2}, {1, 6}, 3},
        {"empty", {}, {}, 1, {}, {}, 0},
    };
    for (const Row& r : rows) {
        Column x = r.x, y = r.y;
        EXPECT_EQ(XYRemoveXDuplicatesAndSortX(x, y, r.direction), r.report) << r.what;
        EXPECT_EQ(x, r.new_x) << r.what;
        EXPECT_EQ(y, r.new_y) << r.what;
    }
}

class TwoColumnFileTest : public ::testing::Test {
protected:
    TwoColumnFileTest() { here.folders = {folder.path(), folder.path() / "results"}; }
    int read(const std::string& text, FileKind kind = FileKind::absorption, int direction = 1, bool warn = true)
    {
        const auto file = folder.put("a.abs", text);
        return ReadKOVINFile(here, file.string(), kind, direction, warn, rows);
    }
    [[nodiscard]] std::string last_title() const
    {
        return here.report.messages.empty() ? "" : here.report.messages.back().title;
    }

    ScratchFolder folder;
    Surroundings here;
    TwoColumns rows;
};

TEST_F(TwoColumnFileTest, OnlyLinesThatBeginWithTwoNumbersAreRows)
{
    const std::string text =
        "> interpolation: log\r\nlambda [nm]\talpha [1/cm]\r\n"
        "300\t1e5\r\n  +310 .5 remark\r\n320\r\n330nm 4\r\n340,5 4\r\nnan 4\r\n350 inf\r\n360 1e999\r\n370 "
        "1d5\r\n\r\n380\t0";
    EXPECT_EQ(read(text), 3);
    EXPECT_EQ(rows.x, (Column{300, 310, 380}));
    EXPECT_EQ(rows.y, (Column{1e5, 0.5, 0}));
    EXPECT_EQ(rows.heading, (std::vector<std::string>{"> interpolation: log", "lambda [nm]\talpha [1/cm]"}));
    EXPECT_EQ(here.report.messages.size(), 1u) << "lines that were meant as rows are told, once a file";

    EXPECT_EQ(read("1 2\n3\n", FileKind::value_list), 2) << "a value list has one column";
    EXPECT_EQ(read("0 1\n200 2\n", FileKind::generation), 2);
    EXPECT_DOUBLE_EQ(rows.x[1], 200e-6) << "positions of a generation file come in um and go in m";
}

TEST_F(TwoColumnFileTest, DecimalCommasAreTold)
{
    for (const std::string line : {"0 6,4e23", "0,5 6", "0;6", "0\t6;4"}) {
        here.report.messages.clear();
        EXPECT_EQ(read("x y\n" + line + "\n1 2, remark\n"), 1) << line;
        ASSERT_EQ(here.report.messages.size(), 1u) << line;
        EXPECT_NE(here.report.messages[0].text.find("a.abs, line 2: '"), std::string::npos) << line;
    }
}

TEST_F(TwoColumnFileTest, OrderAndItsWarning)
{
    struct Row {
        const char *what, *text;
        int direction;
        bool warn;
        Column x;
        std::string part_of_message;  // empty: no message
    };
    const Row cases[] = {
        {"any order", "2 1\n1 1\n1 1\n", 0, true, {2, 1, 1}, ""},
        {"unsorted", "2 1\n1 1\n", 1, true, {1, 2}, "File data not sorted to increasing"},
        {"double", "1 1\n2 1\n2 1\n", 1, true, {1, 2}, "File data contain duplicate values"},
        {"both", "2 1\n1 1\n2 1\n", 1, true, {1, 2}, "not sorted and contain duplicate"},
        {"nobody asked", "2 1\n1 1\n", 1, false, {1, 2}, ""},
        {"a step that is lost, though nobody asked", "1 0\n2 0\n2 9\n", 1, false, {1, 2}, "duplicates eliminated"},
        {"falling wanted", "2 1\n1 1\n", -1, true, {2, 1}, ""},
    };
    for (const Row& r : cases) {
        here.report.messages.clear();
        EXPECT_EQ(read(r.text, FileKind::absorption, r.direction, r.warn), static_cast<int>(r.x.size())) << r.what;
        EXPECT_EQ(rows.x, r.x) << r.what;
        ASSERT_EQ(here.report.messages.empty(), r.part_of_message.empty()) << r.what;
        if (r.part_of_message.empty()) continue;
        EXPECT_EQ(last_title(), "interpolation issue in input file") << r.what;
        EXPECT_NE(here.report.messages[0].text.find(r.part_of_message), std::string::npos) << r.what;
    }
    here.report.messages.clear();
    here.report.InterpolationWarningMessageMode = 0;
    EXPECT_EQ(read("2 1\n1 1\n"), 2);
    EXPECT_TRUE(here.report.messages.empty());
}

TEST_F(TwoColumnFileTest, FaultsAndLimits)
{
    EXPECT_EQ(ReadKOVINFile(here, "none.abs", FileKind::absorption, 1, true, rows), -1);
    EXPECT_EQ(last_title(), "From Function ReadKOVINFile()");
    EXPECT_EQ(read("no numbers\nat all\n"), -1);
    EXPECT_NE(last_title().find("End of file"), std::string::npos);
    EXPECT_TRUE(rows.heading.empty());
    EXPECT_EQ(CountLinesInFile(here, "  ", FileKind::spectrum), -1);
    EXPECT_EQ(CountLinesInFile(here, "none.spe", FileKind::spectrum), -1);
    folder.put("spectrum/c.spe", "\n300, 0.5\t\xff\x80\x7f \xc3\xa4\n400, 0.6\n");
    EXPECT_EQ(here.report.messages.size(), 4u) << "each fault is reported once";
    EXPECT_EQ(CountLinesInFile(here, "c.spe", FileKind::spectrum), -1);
    EXPECT_NE(here.report.messages.back().text.find("parted by blanks; its first line is: 300, 0.5???"
                                                    "? \xc3\xa4"),
              std::string::npos);

    std::string many;
    for (int i = 0; i < 3000; ++i) many += std::to_string(i) + " 1\n";
    EXPECT_EQ(read(many), 2500);
    EXPECT_EQ(read(many, FileKind::generation), 2000);
    EXPECT_EQ(CountLinesInFile(here, (folder.path() / "a.abs").string(), FileKind::spectrum), 2501)
        << "one more than the reader takes, so that too long a file can be refused";
    folder.put("bdf/l.bdf", "file:a.def\n> x\nFile:b.def\n");
    EXPECT_EQ(CountLinesInFile(here, "l.bdf", FileKind::file_list), 2);
}

TEST_F(TwoColumnFileTest, NamesOfAFileList)
{
    using Names = std::vector<std::string>;
    Names names;
    folder.put("bdf/l.bdf",
               "\xEF\xBB\xBF> files of a series\nfile: a b.def  \r\n\nabsorption File:sub\\b.abs\nfile:\nc.def\n"
               "file:C:/c.def");
    EXPECT_EQ(lees_char_file(here, "l.bdf", names), 3);
    EXPECT_EQ(names, (Names{"a b.def", "sub/b.abs", "C:/c.def"}));
    EXPECT_TRUE(here.report.messages.empty());
    struct Row {
        const char *file, *text, *title;
    };
    for (const Row& r : {Row{"gone.bdf", nullptr, "From Function lees_char_file()"},
                         Row{"e.bdf", "", "Function lees_char_file(): End of file occured"},
                         Row{"n.bdf", "file :\n a.def", "Function lees_char_file(): End of file occured"}}) {
        if (r.text) folder.put(std::string("bdf/") + r.file, r.text);
        EXPECT_EQ(lees_char_file(here, r.file, names), -1) << r.file;
        EXPECT_TRUE(names.empty()) << r.file;
        EXPECT_EQ(last_title().find(r.title), 0u) << r.file << ": " << last_title();
    }
    EXPECT_EQ(lees_char_file(here, (folder.path() / "bdf").string(), names), -1);
    EXPECT_EQ(last_title().find("Function lees_char_file(): Error occured during reading"), 0u) << last_title();
    std::string many;
    for (int i = 0; i < 2600; ++i) many += "file:" + std::string(300, 'x') + '\n';
    folder.put("bdf/m.bdf", many);
    here.report.messages.clear();
    EXPECT_EQ(lees_char_file(here, "m.bdf", names), 2500);
    EXPECT_EQ(names.back().size(), 250u) << "of a line 255 characters count";
    ASSERT_EQ(here.report.messages.size(), 1u);
    EXPECT_NE(here.report.messages[0].text.find("line 2501"), std::string::npos);
}

TEST(ShippedData, TablesRise)
{
    const std::filesystem::path home = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
    Surroundings here;
    here.folders = {home, home / "results"};
    TwoColumns rows;
    for (const auto kind : {FileKind::spectrum, FileKind::absorption, FileKind::filter, FileKind::generation,
                            FileKind::grading, FileKind::optical_capture})
        for (const auto& entry : std::filesystem::directory_iterator(here.folders.of(kind)))
            EXPECT_GT(ReadKOVINFile(here, entry.path().string(), kind, 1, true, rows), 1) << entry.path();
    EXPECT_TRUE(here.report.messages.empty()) << here.report.messages[0].text;
}

}  // namespace
}  // namespace kovin
