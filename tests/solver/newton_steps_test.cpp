// Around the Newton steps: the limits of the inner loops.
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/gummel.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

// The loop of psi goes on after a message where the others fail.
TEST(IterationLimit, ActsAndTellsAsTheSettingsAsk)
{
    struct Row {
        int action;
        bool psi_goes_on, u_goes_on, tells;
    };
    constexpr Row rows[] = {
        {1, true, false, true}, {2, false, false, false}, {3, true, true, true}, {4, true, true, false}};
    for (const Row& row : rows) {
        Device device(silicon_junction(), 300.0, [&](ConvergenceParameters& c) {
            c.on_limit_psi = c.on_limit_n = row.action;
            c.maxiter_n = 0;
        });
        ASSERT_TRUE(device.solve_equilibrium());
        device.illuminate_exponentially(30.0, 1e-6);
        Report report;
        Problem problem = device.problem();
        problem.report = &report;
        Workspace& work = device.memory.work;
        const auto told = [&](const char* title, const std::string& text) {
            ASSERT_EQ(report.messages.size(), row.tells ? 1U : 0U) << title << row.action;
            if (!row.tells) return;
            EXPECT_EQ(report.messages[0].title, title);
            EXPECT_EQ(report.messages[0].text, text);
            report.messages.clear();
        };
        const std::string exceeded = "Max no of iterations exceeded during Gummel-calculation of variable ";

        const bool u = dc_Gummel_iteration_u_or_v(problem, work, device.cv, Carrier::electrons);
        EXPECT_EQ(u, row.u_goes_on) << row.action;
        EXPECT_EQ(device.cv.its_u, u ? 1 : -1) << row.action;
        told("Error in dc_Gummel_iteration_u_or_v()",
             exceeded + "'u' (function of electron density)\nIteration count: 1\nNumber of sparse elements: 0");

        eerste_schatting(device.set3, device.cv);
        const bool psi = dc_Gummel_iteration_psi(problem, work, device.cv, 2);
        EXPECT_EQ(psi, row.psi_goes_on) << row.action;
        EXPECT_EQ(device.cv.its_psi, psi ? 3 : -1) << row.action;
        told("Error in dc_Gummel_iteration_psi()", exceeded + "psi\nIteration count: 3");
    }
}

}  // namespace
}  // namespace kovin::testing
