// Sessions share nothing: two on two threads give the same bits as two runs one after the other.
#include "app/sample_session.h"
#include "app/simulate.h"
#include "device/shockley_queisser.h"

#include <gtest/gtest.h>

#include <thread>

namespace kovin {
namespace {

using test::session_with;

ResultTexts run(const std::string& cell)
{
    const auto session = session_with(cell);
    session->surroundings.clock.now = [] { return DateTime{}; };
    EXPECT_EQ(Simulate(*session), SimulateOutcome::done);
    return result_texts(*session);
}

TEST(Session, TwoOnTwoThreadsGiveTheSameBitsAsTwoRuns)
{
    const ResultTexts cigs = run("cigs-baseline"), silicon = run("silicon-pn");
    ResultTexts first, second;
    std::thread a([&] { first = run("cigs-baseline"); });
    std::thread b([&] { second = run("silicon-pn"); });
    a.join();
    b.join();
    EXPECT_EQ(first.iv, cigs.iv);
    EXPECT_EQ(first.eb, cigs.eb);
    EXPECT_EQ(second.iv, silicon.iv);
    EXPECT_EQ(second.eb, silicon.eb);
    EXPECT_EQ(second.gen, silicon.gen);
    EXPECT_EQ(second.occ, silicon.occ);
}

// Each run raises the radiative coefficient to the limit of its own temperature, and leaves the cell as it was.
TEST(Session, TheRadiativeLimitFollowsTheTemperature)
{
    const auto session = session_with("silicon-pn");
    Simulation& s = session->simulation;
    MaterialParameters& m = s.zonnecel.cell.layer[0].material;
    m.K_rad.pure_A = 0.0;
    s.panel.actions.IV_calculate = false;
    for (const double T : {300.0, 350.0}) {
        s.panel.workPoint.T = T;
        s.problem.input.convergence.shockley_queisser = 1;
        ASSERT_EQ(Simulate(*session), SimulateOutcome::done);
        const double limit = shockley_queisser_K_rad(m.Eg.pure_A, m.Nc.pure_A, m.Nv.pure_A, m.d, T);
        EXPECT_NEAR(s.problem.input.cell.cell.layer[0].material.K_rad.pure_A, limit * 1e-6, 1e-9 * limit * 1e-6) << T;
        EXPECT_EQ(m.K_rad.pure_A, 0.0);
    }
}

// The light that is named last is the light of the run, whatever the action list asked for.
TEST(Session, NamedLightTakesThePlaceOfTheOther)
{
    const auto session = session_with("silicon-pn");
    const WorkPoint& wp = session->simulation.panel.workPoint;
    ASSERT_TRUE(set_generation(*session, "exponential_right_40mA.gen"));
    EXPECT_TRUE(wp.generationSpecified && wp.generationFromFile);
    ASSERT_EQ(Simulate(*session), SimulateOutcome::done);
    EXPECT_NEAR(session->simulation.wp.idealCurrent, 40.0, 0.05);
    ASSERT_TRUE(set_spectrum(*session, "AM1_5G 1 sun.spe"));
    EXPECT_FALSE(wp.generationSpecified);
}

}  // namespace
}  // namespace kovin
