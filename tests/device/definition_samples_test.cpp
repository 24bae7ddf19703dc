// The shipped definition files through reader and writers.
#include "base/line_file.h"
#include "base/text_scan.h"
#include "device/definition_reader.h"
#include "device/definition_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace kovin {
namespace {

namespace fs = std::filesystem;

const fs::path samples = fs::path(KOVIN_SOURCE_DIR) / "home" / "def";

std::vector<fs::path> sample_files()
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(samples))
        if (entry.path().extension() == ".def") files.push_back(entry.path());
    return files;
}

/// What a file says: no comments, no empty lines, blanks in a row as one, without the settings that a file with any
/// numerical setting holds in any case.
std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text, 10000);
    for (std::string line; reader.ReadNonEmptyNonCommentLine(line);) {
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
    for (const auto& file : sample_files()) {
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

TEST(DefinitionSamples, EarliestFormGivesThePresentCell)
{
    Surroundings surroundings;
    Definition d;
    ASSERT_TRUE(lees_structuurfile(surroundings, samples / "earliest-format.def", d));
    const CellParameters& cell = d.input.cell.cell;
    ASSERT_EQ(cell.layers, 2);
    const LayerParameters& p = cell.layer[0];
    EXPECT_FALSE(cell.left.flatband);
    EXPECT_DOUBLE_EQ(cell.left.Fi_m, 5.45);
    EXPECT_DOUBLE_EQ(p.material.v_th_p.pure_A, 1e5);
    EXPECT_DOUBLE_EQ(p.material.absorption.grading.pure_A, 1239.977 / 1.15);
    ASSERT_EQ(p.srhteller, 2);
    // Peak density per eV over 1/(sqrt(pi) Ekar): the total density of the Gaussian.
    EXPECT_NEAR(p.srh[1][0].Nt.pure_A / 1e20, 1.0, 1e-4);
    EXPECT_EQ(p.srh[1][0].Nt.dependence, Dependence::uniform);
    EXPECT_EQ(p.srh[0][0].aard, LevelType::plus_zero);
    EXPECT_EQ(p.srh[1][0].aard, LevelType::zero_minus);
    // A = 1e7 /(m sqrt(eV)) is alpha_0 = A sqrt(Eg)/100 per cm, with the gap as fifth value.
    EXPECT_NEAR(p.material.absorption.model_B.models[2].values[0], 1e5 * std::sqrt(1.15), 1e-6);
    EXPECT_DOUBLE_EQ(p.material.absorption.model_B.models[2].values[4], 1.15);
    ASSERT_EQ(cell.interfaces[0].defect_count, 1);
    EXPECT_EQ(cell.interfaces[0].defects[0].reference, EnergyReference::above_EV_left);
}

}  // namespace
}  // namespace kovin
