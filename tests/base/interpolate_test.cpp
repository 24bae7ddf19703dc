#include "base/interpolate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kovin {
namespace {

using Column = std::vector<double>;

TEST(Interpolate, LinearAndLogarithmic)
{
    const Column x = {1, 2, 4}, y = {1, 100, 1}, rising = {1, 10, 1000}, zero = {0, 10, 0};
    struct Row {
        const char* what;
        const Column *x, *y;
        double at, linear, logarithmic;
        Interpolated code;
    };
    const Column one_x = {3}, one_y = {7}, none, flat_x = {1, 1}, flat_y = {2, 3};
    using enum Interpolated;
    const Row rows[] = {
        {"at a row", &x, &y, 2.0, 100.0, 100.0, done},
        {"first row", &x, &y, 1.0, 1.0, 1.0, done},
        {"last row", &x, &y, 4.0, 1.0, 1.0, done},
        {"inside", &x, &y, 1.5, 50.5, 10.0, done},
        {"below, falling outward: the line goes on", &x, &rising, 0.0, -8.0, 0.1, extrapolated},
        {"above, growing outward: no growth in ln y", &x, &rising, 5.0, 1495.0, 1000.0, extrapolated},
        {"above, falling outward", &x, &y, 6.0, -98.0, 0.01, extrapolated},
        {"a zero neighbour counts as 1e-10 in ln y", &x, &zero, 1.5, 5.0, 1e-4, done},
        {"at the zero itself", &x, &zero, 4.0, 0.0, 0.0, done},
        {"but not at the positive row itself", &x, &zero, 2.0, 10.0, 10.0, done},
        {"outside next to a zero", &x, &zero, 6.0, -10.0, 0.0, extrapolated},
        {"one point", &one_x, &one_y, 3.0, 7.0, 7.0, done},
        {"one point, elsewhere", &one_x, &one_y, 5.0, 7.0, 7.0, extrapolated},
        {"no point", &none, &none, 1.0, 0.0, 0.0, too_few_points},
        {"fewer y than x", &x, &one_y, 1.0, 0.0, 0.0, too_few_points},
        {"equal abscissae", &flat_x, &flat_y, 1.0, 0.0, 0.0, not_rising},
    };
    for (const Row& r : rows) {
        double linear = -1.0, logarithmic = -1.0;
        EXPECT_EQ(LinearInterpolation(*r.x, *r.y, r.at, linear), r.code) << r.what;
        EXPECT_EQ(LogarithmicInterpolation(*r.x, *r.y, r.at, logarithmic), r.code) << r.what;
        EXPECT_DOUBLE_EQ(linear, r.linear) << r.what;
        EXPECT_NEAR(logarithmic, r.logarithmic, 1e-13 * std::abs(r.logarithmic)) << r.what;
    }
}

TEST(Interpolate, AbsorptionTable)
{
    const Column x = {300, 400, 400, 500, 600, 700}, y = {100, 1e4, 1, 0, 0, 1e-5};
    const Column fall_x = {300, 400}, fall = {1e4, 1e2}, ends_in_zero = {1e4, 0}, negative = {-1, 4};
    struct Row {
        const char* what;
        const Column *x, *y;
        double at, expected;
    };
    const Row rows[] = {
        {"in ln y", &x, &y, 350, 1e3},
        {"below a table that rises inward: the line goes on", &x, &y, 250, 10},
        {"below a table that falls inward: first value", &fall_x, &fall, 200, 1e4},
        {"above a falling table: the line goes on", &fall_x, &fall, 450, 10},
        {"above a table that ends in zero", &fall_x, &ends_in_zero, 450, 0},
        {"above a table that grows outward", &x, &y, 800, 1e-5},
        {"a double row: geometric mean", &x, &y, 400, 100},
        {"behind the double row its second value counts, zero is 1e-10 of it", &x, &y, 450, 1e-5},
        {"between two zeros", &x, &y, 550, 0},
        {"below a table that begins negative", &fall_x, &negative, 200, 0},
    };
    for (const Row& r : rows)
        EXPECT_NEAR(LogarithmicInterpolationolateFromTable(r.at, *r.x, *r.y), r.expected, 1e-12 * r.expected) << r.what;
    EXPECT_EQ(LogarithmicInterpolationolateFromTable(5, Column{1}, Column{3}), 3.0);
    EXPECT_EQ(LogarithmicInterpolationolateFromTable(5, {}, {}), 0.0);
    for (const double at : Column{-INFINITY, INFINITY, std::nan("")})
        (void)LogarithmicInterpolationolateFromTable(at, x, y);  // must stay inside the table
}

}  // namespace
}  // namespace kovin
