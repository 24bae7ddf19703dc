#include "base/line_file.h"

#include "base/scratch_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kovin {
namespace {

using Lines = std::vector<std::string>;

Lines all_lines(const std::string& text, std::size_t limit = 255)
{
    LineReader reader(text, limit);
    Lines lines;
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    return lines;
}

TEST(LineFile, LineEndsOfEveryPlatform)
{
    struct Row {
        const char* what;
        std::string text;
        Lines expected;
    };
    const Row rows[] = {
        {"empty file", "", {}},
        {"last line without end", "a\nb", {"a", "b"}},
        {"no empty line behind the last end", "a\n", {"a"}},
        {"CR LF, empty line between", "a\r\n\r\nb\r\n", {"a", "", "b"}},
        {"CR alone, as on old machines", "a\r\rb\rc", {"a", "", "b", "c"}},
        {"byte order mark", "\xEF\xBB\xBF> a\n", {"> a"}},
        {"bytes above 127 and zero stay", std::string("\xB5m\0x\n", 5), {std::string("\xB5m\0x", 4)}},
    };
    for (const Row& r : rows) EXPECT_EQ(all_lines(r.text), r.expected) << r.what;
    EXPECT_EQ(all_lines("abcdef\r\ngh\n", 4), (Lines{"abcd", "gh"})) << "the rest of a long line is dropped";
    EXPECT_EQ(all_lines("abcd\r\n", 4), Lines{"abcd"}) << "the CR does not count";
}

TEST(LineFile, CommentsAndEmptyLines)
{
    const std::string text = "> one\n\n*two\n  \t\n!x\n<y\n/z\n\\w\n> \nd : 1\n > not a comment\n> last";
    LineReader reader(text, 255);
    std::string line;
    Lines comments;
    CommentList kept{&comments, 7};
    ASSERT_TRUE(reader.ReadNonCommentLine(line, &kept));
    EXPECT_EQ(line, "") << "an empty line is no comment";
    ASSERT_TRUE(reader.ReadNonEmptyNonCommentLine(line, &kept));
    EXPECT_EQ(line, "d : 1");
    EXPECT_EQ(reader.line_number(), 10);
    ASSERT_TRUE(reader.ReadNonEmptyNonCommentLine(line));
    EXPECT_EQ(line, " > not a comment");
    EXPECT_FALSE(kept.dropped);
    EXPECT_FALSE(reader.ReadNonEmptyNonCommentLine(line, &kept));
    EXPECT_EQ(comments, (Lines{" one", "two", "x", "y", "z", "w", " "}));
    EXPECT_TRUE(kept.dropped) << "of \" last\"";
}

TEST(LineFile, WholeFiles)
{
    const ScratchFolder folder;
    const auto file = folder.path() / "a.iv";
    const std::string bytes("1\r\n\xB5\0\n", 6);
    ASSERT_TRUE(write_whole_file(file, "old"));
    ASSERT_TRUE(write_whole_file(file, bytes));
    EXPECT_EQ(read_whole_file(file), bytes);
    std::filesystem::create_symlink("a.iv", folder.path() / "link.iv");
    ASSERT_TRUE(write_whole_file(folder.path() / "link.iv", "through"));
    EXPECT_EQ(read_whole_file(file), "through") << "a link stays a link";

    ASSERT_TRUE(write_whole_file(file, ""));
    ASSERT_TRUE(write_whole_file(folder.path() / "wide", std::string("\xFF\xFEl\0\n\0", 6)));
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    const std::pair<std::filesystem::path, const char*> faults[] = {
        {folder.path() / "none", "is not there"},
        {folder.path(), "is a folder"},
        {folder.path() / "wide", "is UTF-16, not plain text"},
        {folder.path() / "pipe", "is not a regular file"},  // and is not waited for
        {"/dev/zero", "is not a regular file"},
        {file, "is empty"},
    };
    for (const auto& [name, fault] : faults) {
        EXPECT_EQ(why_unreadable(name), fault);
        EXPECT_EQ(read_whole_file(name).has_value(), name == file) << name;
    }
    for (const char* name : {"pipe", "wide"}) std::filesystem::remove(folder.path() / name);
    EXPECT_FALSE(write_whole_file(folder.path(), "x"));
    EXPECT_FALSE(write_whole_file(folder.path() / "none" / "a.iv", "x"));
    std::filesystem::remove(folder.path() / "link.iv");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no temporary is left";
}

}  // namespace
}  // namespace kovin
