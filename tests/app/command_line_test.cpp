// Which words of a command line are which file.
#include "app/command_line.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

TEST(CommandLine, TellsFilesApart)
{
    struct Row {
        const char* what;
        std::vector<std::string> arguments;
        std::string CommandLineFiles::*slot;
        std::string expected;
        std::vector<std::string> dropped;
    };
    const Row rows[] = {
        {"a blank in the name", {"my cell.def"}, &CommandLineFiles::definition, "my cell.def", {}},
        {"a name that the shell took apart", {"my", "cell.def"}, &CommandLineFiles::definition, "my cell.def", {}},
        {"list before cell", {"b.act", "a.def"}, &CommandLineFiles::definition, "a.def", {}},
        {"upper case", {"A.DEF", "B.ACT"}, &CommandLineFiles::action, "B.ACT", {}},
        {"long spelling before the short one", {"a.definition", "b.def"}, &CommandLineFiles::definition, "b.def", {}},
        {"the extension within a folder", {"x.def.d/a.def"}, &CommandLineFiles::definition, "x.def.d/a.def", {}},
        {"alias of a settings file", {"a.kvn"}, &CommandLineFiles::settings, "a.kvn", {}},
        {"unknown file before a known one",
         {"readme.txt", "cell.def"},
         &CommandLineFiles::definition,
         "cell.def",
         {"readme.txt"}},
        {"unknown file behind", {"cell.def", "notes.md"}, &CommandLineFiles::definition, "cell.def", {"notes.md"}},
        {"no extension behind", {"cell.def", "more"}, &CommandLineFiles::definition, "cell.def", {"more"}},
        {"a number is no extension", {"run 1.5 eV.def"}, &CommandLineFiles::definition, "run 1.5 eV.def", {}},
        {"an extension alone", {".def"}, &CommandLineFiles::definition, "", {"def"}},
        {"second working point", {"a.wp2"}, &CommandLineFiles::wp2, "a.wp2", {}},
        {"a line too long",
         {"a.def", std::string(1300, 'x') + ".act"},
         &CommandLineFiles::definition,
         "a.def",
         {std::string(1300, 'x') + ".act"}},
    };
    for (const Row& row : rows) {
        const CommandLineFiles files = attribute_arguments(row.arguments);
        EXPECT_EQ(files.*(row.slot), row.expected) << row.what;
        EXPECT_EQ(files.dropped, row.dropped) << row.what;
    }
}

TEST(CommandLine, TakesNamesOffTheFront)
{
    std::string line = "first cell.Def second.act ", name, extension;
    EXPECT_EQ(ExtractFirstFilename(line, name), 1);
    EXPECT_EQ(name, "first cell");
    EXPECT_EQ(ExtractExtensionname(line, extension), 1);
    EXPECT_EQ(extension, "Def");
    EXPECT_EQ(line, "second.act ");
    EXPECT_EQ(ExtractFirstFilename(line, name), 1);
    EXPECT_EQ(ExtractExtensionname(line, extension), 1);
    EXPECT_EQ(ExtractFirstFilename(line, name), -2) << "nothing left";
    EXPECT_EQ(ExtractExtensionname(line, extension), -1);

    line = "without extension";
    EXPECT_EQ(ExtractFirstFilename(line, name), -1);
    line = " leading blank";
    EXPECT_EQ(ExtractExtensionname(line, extension), 0);
}

}  // namespace
}  // namespace kovin
