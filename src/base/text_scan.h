// Text taken apart: comparison without regard to (ASCII) case, blanks, numbers in keyed lines.
//
// Nothing here depends on the locale, nothing reads outside the text it is given.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kovin {

[[nodiscard]] std::string lower_case(std::string_view text);  ///< ASCII letters only
[[nodiscard]] bool equal_ignoring_case(std::string_view a, std::string_view b);
[[nodiscard]] bool starts_with_ignoring_case(std::string_view text, std::string_view start);
/// Position of `pattern` in `text` without regard to case, npos if there is none.
[[nodiscard]] std::size_t find_ignoring_case(std::string_view text, std::string_view pattern, std::size_t from = 0);
[[nodiscard]] std::string_view trimmed(std::string_view text);  ///< without white space at both ends
/// Length of the UTF-8 sequence that begins at `at`; 0 if what stands there is none.
[[nodiscard]] std::size_t utf8_length(std::string_view text, std::size_t at);
/// The start of a text of a file, to be quoted: at most so many bytes, trimmed, '?' for control characters and for
/// bytes that are no UTF-8.
[[nodiscard]] std::string quotable(std::string_view text, std::size_t most);

/// The word that `text` most likely was meant to begin with: fewest letters missing, added, wrong or exchanged, at most
/// a quarter of the word. Case and a colon at the end of the word do not count. Empty: none is near.
[[nodiscard]] std::string_view nearest_word(std::string_view text, std::span<const std::string> words);

/// A number found in a text.
struct NumberScan {
    double value = 0.0;
    bool found = false;   ///< a number stands in the text
    bool finite = true;   ///< false if it is beyond the range of a double (1e999)
    std::size_t end = 0;  ///< position behind the number
};
/// The first number in `text` at or behind `from`: skips to the first digit, sign or point that really starts a
/// number. Passed over are a lone hyphen or point, words with the digits in them ("m2"), units in brackets
/// ("[Ohm.m2]", "[m^-3]") and what only begins like a number ("1d5", "0x10", "1.2.3").
///
/// A number is [+-] digits with at most one point, then e or E with an exponent; letters may follow ("300K"). What
/// is too small for a double is 0.
[[nodiscard]] NumberScan next_number(std::string_view text, std::size_t from = 0);

/// A number that must begin right here, white space apart; `found` is false if anything else stands here
/// (so "nan", "inf", "abc" are not numbers).
[[nodiscard]] NumberScan number_here(std::string_view text, std::size_t from = 0);

/// All numbers that stand one after the other, parted by white space only, from the first number of `text` on; at
/// most `most`. Stops at the first token that is no number; `finite` is false if any was out of range.
struct NumberList {
    std::vector<double> values;
    bool finite = true;
    std::size_t end = 0;  ///< position behind the last number
};
[[nodiscard]] NumberList number_list(std::string_view text, std::size_t most);

}  // namespace kovin
