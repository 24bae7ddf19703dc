// A folder of a test's own, empty at the start and gone at the end.
#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace kovin {

class ScratchFolder {
public:
    ScratchFolder()
    {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        path_ = std::filesystem::path(::testing::TempDir()) /
                ("kovin-" + std::to_string(::getpid()) + "-" + test->test_suite_name() + "-" + test->name());
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Writes a file and returns its path.
    std::filesystem::path put(const std::string& name, const std::string& text) const
    {
        const auto file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::filesystem::remove(file);  // some disks wait for a file that is cut short and written anew
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

private:
    std::filesystem::path path_;
};

}  // namespace kovin
