// Text files by lines, which end at LF, CR LF or CR: whole in memory, comment convention of all keyed files.
//
// A line whose first character is one of > < * ! / \ is a comment.
#pragma once

#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// Why there is nothing to read in a file, for a message behind its name: "is not there", "is a folder", "is not a
/// regular file" (a pipe, a device), "cannot be read", "is empty", "is larger than 64 MB and is not read", "is UTF-16,
/// not plain text"; "" if there is something.
[[nodiscard]] std::string_view why_unreadable(const std::filesystem::path& file);

/// The contents of a regular file as bytes; nothing if why_unreadable names another fault than that it is empty.
[[nodiscard]] std::optional<std::string> read_whole_file(const std::filesystem::path& file);

/// Writes `text` to `file` through a temporary beside it, so that a failure leaves the old file. @return success
[[nodiscard]] bool write_whole_file(const std::filesystem::path& file, std::string_view text);

/// Takes comments, up to a bound: a file may consist of millions of them.
struct CommentList {
    std::vector<std::string>* lines = nullptr;  ///< null: none is wanted
    std::size_t most = std::numeric_limits<std::size_t>::max();
    bool dropped = false;  ///< there were more
};

/// Reads a text line by line.
class LineReader {
public:
    /// A byte order mark at the start of `text` is dropped.
    LineReader(std::string text, std::size_t limit);
    /// Next line without its end, cut to the limit; false at the end. A last line without end counts.
    [[nodiscard]] bool ReadLine(std::string& line);
    /// Next line that is no comment; the text behind the comment sign goes to `comments` if it is given.
    [[nodiscard]] bool ReadNonCommentLine(std::string& line, CommentList* comments = nullptr);
    /// The same, and with something else than blanks on it.
    [[nodiscard]] bool ReadNonEmptyNonCommentLine(std::string& line, CommentList* comments = nullptr);
    [[nodiscard]] int line_number() const { return line_number_; }  ///< of the last line read, from 1
private:
    std::string text_;
    std::size_t position_ = 0;
    std::size_t limit_;
    int line_number_ = 0;
};

}  // namespace kovin
