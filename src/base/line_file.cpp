#include "base/line_file.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <thread>

namespace kovin {

namespace {

constexpr std::size_t largest_file = 64u << 20;
constexpr std::string_view is_empty = "is empty";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
constexpr std::string_view comment_signs = "><*!/\\";
constexpr std::string_view blanks = " \t\v\f\r\n";

bool write_directly(const std::filesystem::path& file, std::string_view text)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    return !out.fail();
}

}  // namespace

std::string_view why_unreadable(const std::filesystem::path& file)
{
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) return "is not there";
    if (std::filesystem::is_directory(status)) return "is a folder";
    // A pipe would be waited for, a device may have no end.
    if (!std::filesystem::is_regular_file(status)) return "is not a regular file";
    const auto size = std::filesystem::file_size(file, error);
    if (error || ::access(file.c_str(), R_OK) != 0) return "cannot be read";
    if (size == 0) return is_empty;
    if (size > largest_file) return "is larger than 64 MB and is not read";
    char head[2] = {};
    std::ifstream(file, std::ios::binary).read(head, 2);
    const std::string_view mark(head, 2);
    return mark == "\xFF\xFE" || mark == "\xFE\xFF" ? "is UTF-16, not plain text" : "";
}

std::optional<std::string> read_whole_file(const std::filesystem::path& file)
{
    const std::string_view fault = why_unreadable(file);
    if (!fault.empty() && fault != is_empty) return std::nullopt;
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    // In pieces, because the file may grow in the meantime.
    std::string text, piece(1u << 16, '\0');
    while (in) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        text.append(piece, 0, static_cast<std::size_t>(in.gcount()));
        if (text.size() > largest_file) return std::nullopt;
    }
    if (in.bad()) return std::nullopt;
    return text;
}

bool write_whole_file(const std::filesystem::path& file, std::string_view text)
{
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    // A device or a pipe cannot be replaced by another file.
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        return !std::filesystem::is_directory(status) && write_directly(file, text);

    // Through a link the file behind it is replaced, not the link.
    const auto target = std::filesystem::exists(status) ? std::filesystem::canonical(file, error) : file;
    if (error && std::filesystem::exists(status)) return false;
    std::filesystem::path temporary = target;
    temporary += "." + std::to_string(::getpid()) + "-" +
                 std::to_string(std::hash<std::thread::id>{}(std::this_thread::get_id())) + ".new";
    if (write_directly(temporary, text)) {
        std::filesystem::rename(temporary, target, error);
        if (!error) return true;
    }
    std::filesystem::remove(temporary, error);
    return false;
}

LineReader::LineReader(std::string text, std::size_t limit) : text_(std::move(text)), limit_(limit)
{
    if (text_.starts_with(byte_order_mark)) position_ = byte_order_mark.size();
}

bool LineReader::ReadLine(std::string& line)
{
    if (position_ >= text_.size()) return false;
    const std::size_t end = std::min(text_.find_first_of("\r\n", position_), text_.size());
    line.assign(text_, position_, std::min(end - position_, limit_));
    position_ = end + (std::string_view(text_).substr(end).starts_with("\r\n") ? 2 : 1);
    ++line_number_;
    return true;
}

bool LineReader::ReadNonCommentLine(std::string& line, CommentList* comments)
{
    while (ReadLine(line)) {
        if (line.empty() || comment_signs.find(line[0]) == std::string_view::npos) return true;
        if (!comments || !comments->lines) continue;
        if (comments->lines->size() < comments->most)
            comments->lines->push_back(line.substr(1));
        else
            comments->dropped = true;
    }
    return false;
}

bool LineReader::ReadNonEmptyNonCommentLine(std::string& line, CommentList* comments)
{
    while (ReadNonCommentLine(line, comments))
        if (line.find_first_not_of(blanks) != std::string::npos) return true;
    return false;
}

}  // namespace kovin
