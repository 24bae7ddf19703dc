#include "base/text_scan.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

TEST(TextScan, NextNumberInTheRestOfAKeyedLine)
{
    constexpr double none = -999.0;  // no row holds it
    struct Row {
        const char *what, *text;
        double expected;
    };
    constexpr Row rows[] = {
        {"colon and tab before, unit behind", " :\t2.000e-06 [m]", 2e-6},
        {"a unit that touches the number", " :   0.575[eV]", 0.575},
        {"leading plus", ": +3", 3.0},
        {"no digit before the point", ": -.5", -0.5},
        {"no digit behind the point", ": 5.", 5.0},
        {"exponent in capitals with sign", ": 1E+05", 1e5},
        {"an e without digits is no exponent", ": 4e", 4.0},
        {"letters behind a number", ": 300K", 300.0},
        {"an equals sign instead of a colon", "=7", 7.0},
        {"hyphen and slash of a key", "handling of inter/extra-polation errors : 1", 1.0},
        {"hyphen between two words", "Shockley-Queisser limit : 2", 2.0},
        {"point and power in the unit of a key", "Rs [Ohm.m2] : 1.5e-4", 1.5e-4},
        {"the same without brackets", "Rs Ohm.m2 : 3", 3.0},
        {"power of a unit before the colon", "Gsh [S/m2] : 0", 0.0},
        {"digits inside a name", " : AM1.5G N_2 8", 8.0},
        {"a lone hyphen is no sign", " - : 6", 6.0},
        {"two hyphens and a number", "--9", -9.0},
        {"the first of several", ": 1 2 3", 1.0},
        {"too small for a double", ": 1e-999", 0.0},
        {"too small, by leading zeros", ": 0.001e-330", 0.0},
        {"many zeros and a large exponent", ": 0.00000000001e300", 1e289},
        {"text in place of a number", ": abc [m^-3]", none},
        {"nan with a unit that holds a number", ": nan [1/m^3]", none},
        {"infinity", ": -inf", none},
        {"exponent of another language", ": 1d5", none},
        {"the same with a sign", ": 1d-5 ", none},
        {"hexadecimal", ": 0x10", none},
        {"two points", ": 1.2.3", none},
        {"sign only", ": -", none},
        {"nothing", "", none},
        {"bracket without end", ": [4", 4.0},
    };
    for (const Row& r : rows) {
        const NumberScan got = next_number(r.text);
        EXPECT_EQ(got.found, r.expected != none) << r.what;
        EXPECT_TRUE(got.finite) << r.what;
        if (r.expected != none) {
            EXPECT_DOUBLE_EQ(got.value, r.expected) << r.what;
        }
        EXPECT_LE(got.end, std::string_view(r.text).size()) << r.what;
    }
}

TEST(TextScan, BeyondTheRangeOfADouble)
{
    for (const char* text : {"1e999", "-1e999", "1000e308", "0.1e999999999999999999999", "1E+400"}) {
        const NumberScan got = next_number(text);
        EXPECT_TRUE(got.found) << text;
        EXPECT_FALSE(got.finite) << text;
        EXPECT_EQ(std::signbit(got.value), text[0] == '-') << text;
    }
    EXPECT_TRUE(next_number(std::string(5000, '0') + "1").finite) << "leading zeros do not count";
    EXPECT_TRUE(next_number("0e999").finite) << "zero stays zero";
}

TEST(TextScan, NumberHereWantsANumberHere)
{
    EXPECT_EQ(number_here(" \t-2.5 x").value, -2.5);
    EXPECT_EQ(number_here("7 8", 1).value, 8.0);
    for (const char* text : {"", "  ", "x 1", "nan", "inf", "- 1", ": 1", "1d5", "[1]"})
        EXPECT_FALSE(number_here(text).found) << text;
    EXPECT_FALSE(number_here("1", 5).found) << "start behind the end";
}

TEST(TextScan, ListsOfNumbers)
{
    using List = std::vector<double>;
    EXPECT_EQ(number_list("Eg :\t 1.15\t 1.2 -2.0 \t1 [eV]", 9).values, (List{1.15, 1.2, -2.0, 1.0}));
    EXPECT_EQ(number_list("1 2 3", 2).values, (List{1, 2})) << "no more than asked";
    EXPECT_EQ(number_list("1 2 x 3", 9).values, (List{1, 2})) << "ends at a word";
    EXPECT_EQ(number_list("1 2,5 3", 9).values, (List{1, 2})) << "ends where no white space follows";
    EXPECT_EQ(number_list("recalculate [/m^2]", 9).values, List{});
    EXPECT_FALSE(number_list("1 1e999 2", 9).finite);
    EXPECT_EQ(number_list("1 2 x", 9).end, 3u);
}

TEST(TextScan, CaseAndBlanks)
{
    EXPECT_EQ(lower_case("AbC\xC4 1"), "abc\xC4 1") << "letters of ASCII only";
    EXPECT_TRUE(equal_ignoring_case("KoViN", "kovin"));
    EXPECT_FALSE(equal_ignoring_case("def", "defi"));
    EXPECT_TRUE(starts_with_ignoring_case("Sigma_n : 1", "sigma_N"));
    EXPECT_FALSE(starts_with_ignoring_case("si", "sigma"));
    EXPECT_EQ(find_ignoring_case("Layer 1 layer 2", "LAYER", 1), 8u);
    EXPECT_EQ(find_ignoring_case("abc", "bcd"), std::string::npos);
    EXPECT_EQ(find_ignoring_case("abc", "a", 4), std::string::npos);
    EXPECT_EQ(find_ignoring_case("abc", "", 3), 3u);
    EXPECT_EQ(trimmed("\t a b \r\n"), "a b");
    EXPECT_EQ(trimmed(" \t"), "");
}

TEST(TextScan, NearestWordForgivesAQuarterOfIt)
{
    const std::string words[] = {"Eg", "eps", "Ekar", "sigma_n", "sigma_nleft", "Relative electron mass", "A :"};
    struct Row {
        const char *text, *nearest;
    };
    constexpr Row rows[] = {{"esp", "eps"},
                            {"Ekra", "Ekar"},
                            {"eg", "Eg"},
                            {"sigma_nlfet", "sigma_nleft"},
                            {"sigm_n", "sigma_n"},
                            {"Relativ elektron mass of the layer", "Relative electron mass"},
                            {"thermal velocity", ""},
                            {"", ""},
                            {"Ekxx", ""}};
    for (const Row& row : rows) EXPECT_EQ(nearest_word(row.text, words), row.nearest) << row.text;
}

}  // namespace
}  // namespace kovin
