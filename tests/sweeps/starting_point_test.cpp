// The choice of the state that a sweep starts from, and the order of its points.
#include "sweeps/starting_point.h"
#include "sweeps/iv.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

TEST(StartingPoint, ChoosesTheCase)
{
    struct Row {
        const char* what;
        double Vs, Ve, Vwp, Va;
        int startCase;
        double Vfrom, Vfirst, start, stop;
        int steps;
        bool present_failed = false;
    };
    constexpr int n = 5;
    const Row rows[] = {
        {"starts at short circuit", 0.0, 0.8, 0.3, 0.8, 2, 0.0, 0.0, 0.0, 0.8, 2},
        {"ends at short circuit", 0.8, 0.0, 0.3, 0.8, 3, 0.0, 0.0, 0.0, 0.8, 2},
        {"starts at the working point", 0.3, 0.8, 0.3, 0.8, 4, 0.3, 0.3, 0.3, 0.8, 2},
        {"ends at the working point", 0.1, 0.3, 0.3, 0.1, 5, 0.3, 0.3, 0.3, 0.1, 2},
        {"starts where the solver stands", 0.6, 0.8, 0.3, 0.6, 0, 0.6, 0.6, 0.6, 0.8, 2},
        {"ends where the solver stands", 0.4, 0.6, 0.3, 0.6, 1, 0.6, 0.6, 0.6, 0.4, 2},
        {"one voltage, short circuit nearest", 0.1, 0.1, 0.3, 0.5, 2, 0.0, 0.1, 0.1, 0.1, n},
        {"one voltage, working point nearest", 0.25, 0.25, 0.3, 0.6, 4, 0.3, 0.25, 0.25, 0.25, n},
        {"one voltage, solver nearest", 0.55, 0.55, 0.3, 0.6, 0, 0.6, 0.55, 0.55, 0.55, n},
        {"contains short circuit, given falling", 0.5, -0.5, 0.3, 0.2, 6, 0.0, 0.0, -0.5, 0.5, 2},
        {"contains the working point", 0.4, 0.2, 0.3, 0.6, 7, 0.3, 0.3, 0.2, 0.4, 2},
        {"below 0, its end nearest to short circuit", -0.5, -0.1, 0.3, 0.3, 3, 0.0, -0.1, -0.1, -0.5, n},
        {"above the working point", 0.5, 0.9, 0.4, 0.4, 4, 0.4, 0.5, 0.5, 0.9, n},
        {"below the working point, end nearer", 0.5, 0.9, 1.1, 1.1, 5, 1.1, 0.9, 0.9, 0.5, n},
        {"solver near the start", 0.3, 0.9, 0.0, 0.2, 0, 0.2, 0.3, 0.3, 0.9, n},
        {"solver near the end", 0.3, 0.5, 0.0, 0.6, 1, 0.6, 0.5, 0.5, 0.3, n},
        {"nothing nearer than short circuit", 0.1, 0.9, 0.0, 2.0, 2, 0.0, 0.1, 0.1, 0.9, n},
        {"the first smaller distance wins, not the smallest", 0.5, 0.9, 0.1, 0.55, 4, 0.1, 0.5, 0.5, 0.9, n},
        {"the solver failed there: from the working point", 0.6, 0.8, 0.3, 0.6, 4, 0.3, 0.6, 0.6, 0.8, n, true},
    };
    for (const Row& r : rows) {
        const StartDecision d = choose_starting_point(r.Vs, r.Ve, r.Vwp, r.Va, n, r.present_failed);
        EXPECT_EQ(d.startCase, r.startCase) << r.what;
        EXPECT_EQ(d.Vfrom, r.Vfrom) << r.what;
        EXPECT_EQ(d.Vfirst, r.Vfirst) << r.what;
        EXPECT_EQ(d.start, r.start) << r.what;
        EXPECT_EQ(d.stop, r.stop) << r.what;
        EXPECT_EQ(d.steps, r.steps) << r.what;
        const StartFrom expected = r.startCase <= 1 ? StartFrom::present
                                   : r.startCase == 4 || r.startCase == 5 || r.startCase == 7
                                       ? StartFrom::work_point
                                       : StartFrom::short_circuit;
        EXPECT_EQ(d.from, expected) << r.what;
    }
}

TEST(StartingPoint, SweepAroundTheStartRunsInTwoLegs)
{
    struct Row {
        const char* what;
        std::vector<double> v;
        double Vstart;
        std::vector<double> expected;
        int secondLeg;
    };
    const Row rows[] = {
        {"both sides, start among the points", {-2, -1, 0, 1, 2}, 0.0, {0, 1, 2, -1, -2}, 3},
        {"start between the points", {-1.5, -0.5, 0.5}, 0.0, {0.5, -0.5, -1.5}, 1},
        {"nothing below", {1, 2, 3}, 0.0, {1, 2, 3}, -1},
    };
    for (const Row& row : rows) {
        std::vector<double> v = row.v;
        int secondLeg = 0;
        ReorderVoltagesAroundStartVoltage(v, row.Vstart, secondLeg);
        EXPECT_EQ(v, row.expected) << row.what;
        EXPECT_EQ(secondLeg, row.secondLeg) << row.what;
    }
}

}  // namespace
}  // namespace kovin
