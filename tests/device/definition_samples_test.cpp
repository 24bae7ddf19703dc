// The shipped definition files through reader and writers.
#include "base/line_file.h"
#include "base/text_scan.h"
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "support/lines.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kovin {
namespace {

namespace fs = std::filesystem;

/// What a file says: no comments, no empty lines, blanks in a row as one, without the settings that a file with any
/// numerical setting holds in any case.
std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (const std::string& line : test::lines_that_count(text)) {
        if (line.starts_with("Mott-Schottky") || line.starts_with("maximum") || line.starts_with("minimum") ||
            line.starts_with("recalculate mesh") || line.starts_with("QE calculation mode") ||
            line.find("ion limit : ") != std::string::npos)
            continue;
        std::string one_blank;
        for (const char c : line)
            if (c != ' ' || one_blank.empty() || one_blank.back() != ' ') one_blank += c;
        lines.emplace_back(trimmed(one_blank));
    }
    return lines;
}

TEST(DefinitionSamples, ReadAndWriteReturnEveryLineOfTheFile)
{
    for (const auto& entry : fs::directory_iterator(fs::path(KOVIN_SOURCE_DIR) / "home" / "def")) {
        const fs::path& file = entry.path();
        if (file.extension() != ".def") continue;
        SCOPED_TRACE(file.filename().string());
        Surroundings surroundings;
        Definition definition;
        ASSERT_TRUE(lees_structuurfile(surroundings, file, definition));
        EXPECT_TRUE(surroundings.report.messages.empty());
        EXPECT_EQ(definition.input.title, file.stem().string());
        const std::string written = definition_text(definition, "KOVIN", {});
        // The oldest form comes back in the present one.
        if (file.stem() != "earliest-format") {
            EXPECT_EQ(lines_of(written), lines_of(*read_whole_file(file)));
        }
        // Both written forms are files of the same cell, and remarks do not pile up.
        Definition again;
        ASSERT_TRUE(parse_definition(surroundings, written, file, again));
        EXPECT_EQ(definition_text(again, "KOVIN", {}), written);
        const std::string plain = SaveDefinitionFile(definition);
        ASSERT_TRUE(parse_definition(surroundings, plain, file, again));
        EXPECT_EQ(SaveDefinitionFile(again), plain);
    }
}

}  // namespace
}  // namespace kovin
