// The floors of the house: a file includes only its own folder and lower ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> floors = {"base",    "device", "optics", "solver", "results", "sweeps",
                                         "measure", "batch",  "fit",    "app",    "script",  "ui"};

std::ptrdiff_t rank(const std::string& floor)
{
    const auto at = std::find(floors.begin(), floors.end(), floor);
    return at == floors.end() ? -1 : at - floors.begin();
}

TEST(IncludeOrder, NoFileIncludesAHigherFloor)
{
    const std::filesystem::path source = std::filesystem::path(KOVIN_SOURCE_DIR) / "src";
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(source)) {
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
        ++files;
        const std::string own = entry.path().lexically_relative(source).begin()->string();
        ASSERT_GE(rank(own), 0) << entry.path() << " stands on no floor";
        std::ifstream in(entry.path());
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            const auto hash = line.find_first_not_of(" \t");
            if (hash == std::string::npos || line[hash] != '#' || line.find("include") == std::string::npos) continue;
            const auto open = line.find('"');
            if (open == std::string::npos) continue;
            const std::string included = line.substr(open + 1, line.find('"', open + 1) - open - 1);
            const std::string floor = included.substr(0, included.find('/'));
            EXPECT_NE(included.find('/'), std::string::npos) << entry.path() << ':' << number << ": name the floor";
            EXPECT_GE(rank(floor), 0) << entry.path() << ':' << number << ": unknown floor in " << included;
            EXPECT_LE(rank(floor), rank(own)) << entry.path() << ':' << number << " includes upward: " << included;
            EXPECT_TRUE(std::filesystem::exists(source / included)) << entry.path() << ':' << number;
        }
    }
    EXPECT_GT(files, 0);
}

}  // namespace
