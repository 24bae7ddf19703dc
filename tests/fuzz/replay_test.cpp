// The fuzzers' kept inputs through the same functions, without a fuzzer.
#include "fuzz/targets.h"

#include "base/line_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace kovin {
namespace {

TEST(FuzzReplay, KeepsItsPromisesOnTheWholeCorpus)
{
    struct Row {
        const char* name;
        void (*target)(const std::string&);
    };
    for (const Row& row :
         {Row{"definition", fuzz::definition}, Row{"action", fuzz::action}, Row{"two_column", fuzz::two_column}}) {
        int files = 0;
        const auto folder = std::filesystem::path(KOVIN_SOURCE_DIR) / "tests/fuzz/corpus" / row.name;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            SCOPED_TRACE(entry.path());  // an abort names the file
            const auto bytes = read_whole_file(entry.path());
            ASSERT_TRUE(bytes.has_value()) << entry.path();
            row.target(*bytes);
            ++files;
        }
        EXPECT_GT(files, 10) << row.name;
    }
}

}  // namespace
}  // namespace kovin
