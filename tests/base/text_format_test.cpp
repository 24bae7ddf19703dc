#include "base/text_format.h"

#include "base/text_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kovin {
namespace {

TEST(TextFormat, WidthPrecisionAndExponent)
{
    struct Row {
        const char* what;
        std::string got, expected;
    };
    const Row rows[] = {
        {"three digits, padded on the left", fixed(0.6384, 8, 3), "   0.638"},
        {"a wide number is never cut", fixed(-12345.678, 4, 1), "-12345.7"},
        {"no digits, no point", fixed(2.5, 0, 0), "2"},
        {"nine wide, two digits of exponent", scientific(2e-6, 9, 3), "2.000e-06"},
        {"a third digit of the exponent is kept", scientific(-1e-300, 0, 1), "-1.0e-300"},
        {"three digits of exponent asked", scientific(1.5, 0, 2, 3), "1.50e+000"},
        {"one digit of exponent asked", scientific(0.0, 10, 2, 1), "   0.00e+0"},
        {"the largest double in fixed notation", fixed(1e300, 0, 0).substr(0, 3), "100"},
        {"not a number has one spelling", fixed(-std::nan(""), 5, 2), "  nan"},
        {"a figure of a sentence", plain(999999.5, 1), "999999.5"},
        {"and one that would fill it", plain(-1e300, 3), "-1.000e+300"},
        {"padding of dates", integer(7, 2, '0'), "07"},
        {"the zero goes behind the sign", integer(-7, 4, '0'), "-007"},
        {"the blank before it", integer(-7, 4), "  -7"},
    };
    for (const Row& r : rows) EXPECT_EQ(r.got, r.expected) << r.what;
}

TEST(TextFormat, ShortestReadsBackAsTheSameDouble)
{
    constexpr double values[] = {0.1,
                                 1.0 / 3.0,
                                 -1.602e-19,
                                 8.854e-12,
                                 1e22,
                                 std::numeric_limits<double>::max(),
                                 std::numeric_limits<double>::denorm_min()};
    for (const double value : values) EXPECT_EQ(number_here(shortest(value)).value, value) << shortest(value);
}

}  // namespace
}  // namespace kovin
