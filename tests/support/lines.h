// Texts as lists of lines, and back.
#pragma once

#include "base/line_file.h"

#include <string>
#include <vector>

namespace kovin::test {

inline std::vector<std::string> all_lines(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text, 100000);
    for (std::string line; reader.ReadLine(line);) lines.push_back(line);
    return lines;
}
/// Those that are neither empty nor comments.
inline std::vector<std::string> lines_that_count(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text, 100000);
    for (std::string line; reader.ReadNonEmptyNonCommentLine(line);) lines.push_back(line);
    return lines;
}
inline std::string join(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
}

}  // namespace kovin::test
