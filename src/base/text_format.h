// Numbers as text, with the point as decimal sign whatever the locale.
//
// Each function returns the text; `width` pads on the left with blanks (0: no padding). Lines are built by
// appending: `line += "d : " + scientific(d, 9, 3) + " [m]"`.
#pragma once

#include <string>
#include <string_view>

namespace kovin {

/// `value` with `digits` behind the point.
[[nodiscard]] std::string fixed(double value, int width = 0, int digits = 6);

/// Scientific notation with `digits` behind the point and at least `exponent_digits` (normally 2): 2.000e-06.
[[nodiscard]] std::string scientific(double value, int width = 0, int digits = 6, int exponent_digits = 2);

/// `value` with `digits` behind the point, from a million on in scientific notation: for sentences.
[[nodiscard]] std::string plain(double value, int digits);

/// The shortest text that reads back as the same double.
[[nodiscard]] std::string shortest(double value);

/// `value` in decimal, padded with `fill` (a blank, or '0' for dates) to `width`.
[[nodiscard]] std::string integer(long value, int width = 0, char fill = ' ');

}  // namespace kovin
