#include "base/text_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace kovin {

namespace {

/// The longest double in fixed notation has 309 digits before the point.
constexpr int most_digits = 150;
using Buffer = std::array<char, 512>;

std::string padded(std::string text, int width, char fill = ' ')
{
    const auto wanted = static_cast<std::size_t>(std::max(width, 0));
    if (text.size() >= wanted) return text;
    // A zero goes behind the sign, a blank before it.
    const std::size_t at = (fill == '0' && !text.empty() && text[0] == '-') ? 1 : 0;
    return text.insert(at, wanted - text.size(), fill);
}

std::string in_notation(double value, std::chars_format notation, int digits)
{
    if (std::isnan(value)) return "nan";
    Buffer buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, notation,
                                   std::clamp(digits, 0, most_digits));
    return {buffer.data(), end.ptr};
}

}  // namespace

std::string fixed(double value, int width, int digits)
{
    return padded(in_notation(value, std::chars_format::fixed, digits), width);
}

std::string scientific(double value, int width, int digits, int exponent_digits)
{
    std::string text = in_notation(value, std::chars_format::scientific, digits);
    if (const auto e = text.find('e'); e != std::string::npos) {
        // The library writes at least two digits behind the sign of the exponent.
        const auto wanted = static_cast<std::size_t>(std::clamp(exponent_digits, 1, 9));
        while (text.size() - (e + 2) < wanted) text.insert(e + 2, 1, '0');
        while (text.size() - (e + 2) > wanted && text[e + 2] == '0') text.erase(e + 2, 1);
    }
    return padded(std::move(text), width);
}

std::string plain(double value, int digits)
{
    return std::abs(value) < 1e6 ? fixed(value, 0, digits) : scientific(value, 0, digits);
}

std::string shortest(double value)
{
    if (std::isnan(value)) return "nan";
    Buffer buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), end.ptr};
}

std::string integer(long value, int width, char fill) { return padded(std::to_string(value), width, fill); }

}  // namespace kovin
