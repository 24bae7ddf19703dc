#include "base/text_scan.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace kovin {

namespace {

// The classes of the C locale; <cctype> would ask the locale in force.
constexpr bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr bool is_letter(char c) { return lower(c) >= 'a' && lower(c) <= 'z'; }

/// The character at `i`, or 0 behind the end.
constexpr char at(std::string_view text, std::size_t i) { return i < text.size() ? text[i] : '\0'; }

std::size_t skip_digits(std::string_view text, std::size_t i)
{
    while (is_digit(at(text, i))) ++i;
    return i;
}

/// The character at `i` belongs to a word that began before it; a point does if the word goes on behind it.
bool is_word_part(std::string_view text, std::size_t i)
{
    const auto in_word = [&](std::size_t k) { return is_letter(at(text, k)) || is_digit(at(text, k)); };
    return in_word(i) || at(text, i) == '_' || (at(text, i) == '.' && in_word(i + 1));
}

/// Something goes on behind a number in a way that shows that it was none: "1d5", "0x10", "1.2.3", "2e5e3".
bool is_continued(std::string_view text, std::size_t end)
{
    if (at(text, end) == '.') return true;
    std::size_t i = end;
    while (is_letter(at(text, i))) ++i;
    if (i == end) return false;
    if (is_digit(at(text, i))) return true;
    const char letter = lower(text[end]);
    const bool sign = at(text, i) == '-' || at(text, i) == '+';
    return i == end + 1 && (letter == 'd' || letter == 'e') && sign && is_digit(at(text, i + 1));
}

/// True if a number that is out of range is too large, false if it is too small.
///
/// `digits` is the number without its sign: the power of ten of its first digit that is not 0 decides.
bool is_too_large(std::string_view digits)
{
    long power = 0;
    bool behind_point = false, significant = false;
    std::size_t i = 0;
    for (; i < digits.size() && (is_digit(digits[i]) || digits[i] == '.'); ++i) {
        if (digits[i] == '.') {
            behind_point = true;
            continue;
        }
        significant = significant || digits[i] != '0';
        if (significant && !behind_point) ++power;
        if (!significant && behind_point) --power;
    }
    if (i >= digits.size()) return power > 0;
    const bool negative = at(digits, i + 1) == '-';
    i += (negative || at(digits, i + 1) == '+') ? 2 : 1;
    long exponent = 0;
    for (; i < digits.size(); ++i) exponent = std::min(10 * exponent + (digits[i] - '0'), 1000000000L);
    return power + (negative ? -exponent : exponent) > 0;
}

/// The number that begins exactly at `start`: sign, digits with or without a point, exponent.
NumberScan number_at(std::string_view text, std::size_t start)
{
    const bool has_sign = at(text, start) == '-' || at(text, start) == '+';
    const std::size_t first = start + (has_sign ? 1 : 0);
    std::size_t end = skip_digits(text, first);
    std::size_t digits = end - first;
    if (at(text, end) == '.') {
        const std::size_t behind = skip_digits(text, end + 1);
        digits += behind - end - 1;
        end = behind;
    }
    if (digits == 0) return {};
    if (lower(at(text, end)) == 'e') {
        const std::size_t sign = (at(text, end + 1) == '-' || at(text, end + 1) == '+') ? 1 : 0;
        const std::size_t behind = skip_digits(text, end + 1 + sign);
        if (behind > end + 1 + sign) end = behind;
    }
    if (is_continued(text, end)) return {};

    NumberScan number{.value = 0.0, .found = true, .finite = true, .end = end};
    const std::string_view unsigned_text = text.substr(first, end - first);
    const auto done = std::from_chars(unsigned_text.data(), unsigned_text.data() + unsigned_text.size(), number.value);
    if (done.ec == std::errc::result_out_of_range) {
        number.finite = !is_too_large(unsigned_text);
        number.value = number.finite ? 0.0 : HUGE_VAL;
    }
    if (text[start] == '-') number.value = -number.value;
    return number;
}

}  // namespace

std::string lower_case(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

bool equal_ignoring_case(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

bool starts_with_ignoring_case(std::string_view text, std::string_view start)
{
    return equal_ignoring_case(text.substr(0, start.size()), start);
}

std::size_t find_ignoring_case(std::string_view text, std::string_view pattern, std::size_t from)
{
    if (from > text.size()) return std::string_view::npos;
    const auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), pattern.begin(),
                                   pattern.end(), [](char x, char y) { return lower(x) == lower(y); });
    if (found == text.end() && !pattern.empty()) return std::string_view::npos;
    return static_cast<std::size_t>(found - text.begin());
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    return text;
}

std::size_t utf8_length(std::string_view text, std::size_t at)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k)
        if ((byte(at + k) & 0xC0) != 0x80) return 0;
    // Overlong forms, surrogates and what lies beyond the last code point.
    const unsigned char second = byte(at + 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) || (lead == 0xF0 && second < 0x90) ||
        (lead == 0xF4 && second > 0x8F))
        return 0;
    return length;
}

std::string quotable(std::string_view text, std::size_t most)
{
    const std::string_view part = trimmed(text.substr(0, most));
    std::string shown;
    for (std::size_t i = 0; i < part.size();) {
        const std::size_t length = utf8_length(part, i);
        const bool control = static_cast<unsigned char>(part[i]) < ' ' || part[i] == '\x7f';
        shown += length == 0 || control ? "?" : part.substr(i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return shown;
}

std::string_view nearest_word(std::string_view text, std::span<const std::string> words)
{
    constexpr std::size_t longest = 80;
    const std::string head = lower_case(text.substr(0, longest));
    const std::size_t n = head.size();
    std::string_view nearest;
    std::size_t fewest = longest;
    // Rows of the table of edit distances: of the word without its last two letters, without its last, and whole.
    std::vector<std::size_t> before(n + 1), last(n + 1), row(n + 1);
    for (const std::string& given : words) {
        const std::string word =
            lower_case(trimmed(std::string_view(given).substr(0, given.find_last_not_of(" :") + 1)));
        if (word.size() < 2 || word.size() > longest) continue;
        const std::size_t allowed = std::min(fewest - 1, std::max<std::size_t>(1, word.size() / 4));
        for (std::size_t j = 0; j <= n; ++j) row[j] = j;
        // A row beyond what is allowed, the one before it as well, and no way leads back.
        bool hopeless = false;
        for (std::size_t i = 1; i <= word.size() && !hopeless; ++i) {
            const bool was_beyond = *std::min_element(row.begin(), row.end()) > allowed;
            std::swap(before, last);
            std::swap(last, row);
            row[0] = i;
            for (std::size_t j = 1; j <= n; ++j) {
                row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (word[i - 1] != head[j - 1] ? 1u : 0u)});
                const bool exchanged = i > 1 && j > 1 && word[i - 1] == head[j - 2] && word[i - 2] == head[j - 1];
                if (exchanged) row[j] = std::min(row[j], before[j - 2] + 1);
            }
            hopeless = was_beyond && *std::min_element(row.begin(), row.end()) > allowed;
        }
        if (hopeless) continue;
        // A keyword stands in front of more words: compared with every beginning that ends with one.
        std::size_t distance = longest;
        for (std::size_t j = 1; j <= n; ++j)
            if (j == n || !(is_letter(head[j]) || is_digit(head[j]))) distance = std::min(distance, row[j]);
        if (distance > allowed) continue;
        fewest = distance;
        nearest = std::string_view(given).substr(0, given.find_last_not_of(" :") + 1);
        if (fewest == 0) break;  // only the case differs
    }
    return nearest;
}

NumberScan next_number(std::string_view text, std::size_t from)
{
    std::size_t i = from;
    while (i < text.size()) {
        const char c = text[i];
        if (c == '[') {
            const std::size_t close = text.find(']', i);
            i = close == std::string_view::npos ? i + 1 : close + 1;
            continue;
        }
        // A word is passed over whole: the 2 of "m2" and the .5 of "AM1.5G" start no number.
        if (is_letter(c) || c == '_') {
            while (is_word_part(text, i)) ++i;
            continue;
        }
        if (is_digit(c) || c == '-' || c == '+' || c == '.') {
            const NumberScan number = number_at(text, i);
            if (number.found) return number;
            // Of something like a number the rest must not be taken for one: "1d-5" does not hold -5.
            if (is_digit(c) || is_digit(at(text, i + 1)))
                while (i < text.size() && !is_blank(text[i])) ++i;
            else
                ++i;
            continue;
        }
        ++i;
    }
    NumberScan none;
    none.end = text.size();
    return none;
}

NumberScan number_here(std::string_view text, std::size_t from)
{
    std::size_t i = from;
    while (is_blank(at(text, i))) ++i;
    return i < text.size() ? number_at(text, i) : NumberScan{};
}

NumberList number_list(std::string_view text, std::size_t most)
{
    NumberList list;
    if (most == 0) return list;
    for (NumberScan number = next_number(text); number.found; number = number_here(text, list.end)) {
        list.values.push_back(number.value);
        list.finite = list.finite && number.finite;
        list.end = number.end;
        if (list.values.size() == most || !is_blank(at(text, list.end))) break;
    }
    return list;
}

}  // namespace kovin
