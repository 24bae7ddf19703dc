// Around the Newton steps: line search, predictors, and the limits of the inner loops.
#include "solver/newton_steps.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/gummel.h"
#include "solver/line_search.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

/// Bias points that a cell is taken through, from equilibrium into the light and forward; J at each.
std::vector<double> currents_of(Device& device, double V_end, double V_step, int& passes)
{
    std::vector<double> J;
    passes = 0;
    EXPECT_TRUE(device.solve_equilibrium());
    device.illuminate_exponentially(33.0, 3e-7);
    EXPECT_TRUE(device.solve());
    for (int k = 0;; ++k) {
        J.push_back(device.cv.J_median);
        const double V = (k + 1) * V_step;
        if (std::fabs(V) > std::fabs(V_end) + 1e-9) return J;
        EXPECT_TRUE(device.go_to(V)) << V;
        passes += device.cv.iterations;
    }
}

TEST(LineSearch, ChangesTheWayNotTheAnswer)
{
    for (const bool thin_film : {false, true}) {
        const CellParameters cell = thin_film ? thin_film_cell() : silicon_junction();
        std::vector<double> J[2];
        int equilibrium_passes[2] = {}, passes = 0;
        for (const int on : {0, 1}) {
            Device device(cell, 300.0, [&](ConvergenceParameters& c) {
                c.backtracking = on;
                c.clamp_mode = 0;
                c.recalculate_mesh = 0;
                set_terminations(c, 1e-6);
            });
            J[on] = currents_of(device, 0.8, 0.1, passes);
            equilibrium_passes[on] = device.solve_equilibrium() ? device.cv.its_psi : -1;
        }
        ASSERT_EQ(J[0].size(), 9U);
        for (std::size_t i = 0; i < J[0].size(); ++i)
            EXPECT_NEAR(J[1][i], J[0][i], 1e-7 * std::max(33.0, std::fabs(J[0][i]))) << i;
        // Without clamps raw steps overshoot far; the search cuts them to what they are good for.
        EXPECT_LT(5 * equilibrium_passes[1], equilibrium_passes[0]);
    }
}

// Without clamps the first Newton steps overshoot: the search must come down from f = infinity, leave the state alone,
// and shorten a step only where that lowers the residual.
TEST(LineSearch, ShortensToALowerResidual)
{
    Device device(thin_film_cell(), 300.0, [](ConvergenceParameters& c) { c.backtracking = 1; });
    CalculationVariables& cv = device.cv;
    Workspace& work = device.memory.work;
    const auto f = [&](const std::vector<double>& step, double lambda) {
        const std::vector<double> start = cv.psi;
        UpdateBacktrackCalcVars(device.problem(), cv, of_psi, start, lambda, step);
        total_charge(device.problem(), cv, work.rho_total);
        calculate_dc_residue_psi(device.problem(), cv, work.rho_total, work.res);
        cv.psi = start;
        return HalfSumOfSquares(work.res);
    };
    ASSERT_TRUE(device.solve_equilibrium());
    const std::vector<double> solution = cv.psi;
    for (const double distance : {0.01, 1.0, 30.0, 3000.0}) {
        // From a state that is off by a hump, the full way back and ten times as far.
        for (const double factor : {1.0, 10.0}) {
            cv.psi = solution;
            std::vector<double> step(cv.psi.size());
            for (std::size_t i = 0; i < step.size(); ++i) {
                const double hump = distance * std::sin(3.14159265 * cv.mesh.x[i] / cv.mesh.x.back());
                cv.psi[i] += hump;
                step[i] = -factor * hump;
            }
            const std::vector<double> start = cv.psi;
            const double lambda = BacktrackingNewtonStep(device.problem(), work, cv, of_psi, step);
            EXPECT_EQ(cv.psi, start);
            EXPECT_GT(lambda, 0.0);
            EXPECT_LE(lambda, 1.0);
            if (factor == 1.0) {
                EXPECT_EQ(lambda, 1.0) << distance;
            } else if (distance < 3000.0) {
                EXPECT_LT(f(step, lambda), f(step, 0.0)) << distance;
            }
        }
    }
}

TEST(Predictors, LeadToTheSameCurve)
{
    struct Row {
        bool mirrored;
        int variant;
    };
    constexpr Row rows[] = {{false, 0}, {false, 20}, {false, 1}, {true, 0}, {true, 20}, {true, 1}};
    int passes[6] = {};
    std::vector<double> reference;
    for (std::size_t r = 0; r < std::size(rows); ++r) {
        CellParameters cell = silicon_junction();
        if (rows[r].mirrored) cell = mirrored(cell);
        Device device(cell, 300.0, [&](ConvergenceParameters& c) {
            c.versieschatting = rows[r].variant;
            c.recalculate_mesh = 0;  // a moving mesh depends on the way
            set_terminations(c, 1e-6);
        });
        const double sign = rows[r].mirrored ? -1.0 : 1.0;
        const std::vector<double> J = currents_of(device, sign * 0.7, sign * 0.1, passes[r]);
        // Back in one step: a return to 0 V moves every level that is not there yet.
        EXPECT_TRUE(device.go_to(0.0));
        EXPECT_NEAR(device.cv.J_median, J[0], 1e-6 * std::fabs(J[0]));
        if (rows[r].variant == 0) reference = J;
        for (std::size_t i = 0; i < J.size(); ++i)
            EXPECT_NEAR(J[i], reference[i], 1e-6 * std::fabs(reference[i])) << r << ' ' << i;
    }
    for (const int variant : {1, 2}) EXPECT_LT(passes[variant], passes[0]) << "of use with a p side at the left";
}

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

        work.tunnel.outside.resize(static_cast<std::size_t>(row.action));
        const bool u = dc_Gummel_iteration_u_or_v(problem, work, device.cv, Carrier::electrons);
        EXPECT_EQ(u, row.u_goes_on) << row.action;
        EXPECT_EQ(device.cv.its_u, u ? 1 : -1) << row.action;
        told("Error in dc_Gummel_iteration_u_or_v()",
             exceeded + "'u' (function of electron density)\nIteration count: 1\nNumber of sparse elements: " +
                 std::to_string(row.action));

        eerste_schatting(device.set3, device.cv);
        const bool psi = dc_Gummel_iteration_psi(problem, work, device.cv, 2);
        EXPECT_EQ(psi, row.psi_goes_on) << row.action;
        EXPECT_EQ(device.cv.its_psi, psi ? 3 : -1) << row.action;
        told("Error in dc_Gummel_iteration_psi()", exceeded + "psi\nIteration count: 3");
    }
}

}  // namespace
}  // namespace kovin::testing
