// The fast route against the classic one driven to its end on the same mesh, and each of its parts on its own.
#include "solver/fast_route.h"
#include "solver/devices.h"

#include <gtest/gtest.h>

#include <string>

namespace kovin::testing {
namespace {

CellParameters crowded_cell()
{
    CellParameters cell = charged_sheet_cell();
    crowd(cell);
    return cell;
}

CellParameters slow_contacts_cell()
{
    CellParameters cell = silicon_junction();
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 10.0;
    return cell;
}

struct Case {
    const char* name;
    CellParameters cell;
    double T;
    double light;  ///< [mA/cm2]
    bool from_left;
    double forward;  ///< [V], internal sign
    int half_cells = 1;
};

std::vector<Case> cases()
{
    return {{"silicon", silicon_junction(), 300.0, 30.0, false, 0.7},
            {"silicon dark", silicon_junction(), 300.0, 0.0, false, 0.7},
            {"slow contacts", slow_contacts_cell(), 300.0, 30.0, true, 0.7},
            {"thin film", thin_film_cell(), 300.0, 33.0, false, 0.75},
            {"no half cells", thin_film_cell(), 300.0, 33.0, false, 0.75, 0},
            {"thin film cold", thin_film_cell(), 200.0, 33.0, false, 0.8},
            {"cliff with a sheet", cliff_cell(), 300.0, 33.0, false, 0.6},
            {"graded", graded_cell(), 300.0, 33.0, false, 0.75},
            {"crowded", crowded_cell(), 350.0, 33.0, false, 0.6},
            {"n side left", mirrored(crowded_cell()), 300.0, 33.0, true, -0.6}};
}

Device device_of(const Case& c, Route route, const Device::Settings& more = {}, double D0_factor = 1.0)
{
    return Device(
        c.cell, c.T,
        [&](ConvergenceParameters& s) {
            s.route = route;
            s.recalculate_mesh = 0;
            s.interfacial_half_cells = c.half_cells;
            if (more) more(s);
        },
        1, D0_factor);
}

/// Equilibrium, then light at V = 0.
void light_up(Device& device, const Case& c)
{
    ASSERT_TRUE(device.solve_equilibrium()) << c.name;
    if (c.light > 0.0) {
        device.illuminate_exponentially(c.light, 0.5e-6, c.from_left);
        ASSERT_TRUE(device.solve()) << c.name;
    }
}

TEST(FastRoute, SameAsTheClassicRouteDrivenToItsEnd)
{
    for (const Case& c : cases()) {
        Device fast = device_of(c, Route::fast);
        Device classic = device_of(c, Route::classic, terminations(1e-9));
        light_up(fast, c);
        light_up(classic, c);
        for (int k = 0; k <= 4; ++k) {
            const double V = c.forward * k / 4;
            // A solve ends with an error of the square of its tolerance; once more takes that away.
            ASSERT_TRUE(fast.go_to(V) && fast.solve() && classic.go_to(V, 4)) << c.name << ' ' << V;
            const double size = std::max(std::fabs(classic.cv.J_median), c.light);
            EXPECT_NEAR(fast.cv.J_median, classic.cv.J_median, 1e-8 * size + fast.cv.J_noise) << c.name << " V = " << V;
            const bool p_left = c.forward > 0.0;
            EXPECT_NEAR(fast.recombination_minus_generation(p_left), p_left ? fast.cv.J_median : -fast.cv.J_median,
                        1e-6 * size + fast.cv.J_noise)
                << c.name << " V = " << V;
        }
    }
}

/// From a state off the solution: the steps of the Newton iteration.
std::vector<double> step_sizes(Device& device, const FastKernel& kernel)
{
    const Problem problem = device.problem();
    const FastArrays arrays = device.memory.work.fast.arrays(problem, device.cv);
    std::vector<double> sizes;
    for (int k = 0; k < 12 && (sizes.empty() || sizes.back() > 1e-11); ++k) {
        fast_physics(problem, kernel, arrays);
        fast_rows(problem, kernel, arrays, device.cv);
        kernel.eliminate(arrays);
        sizes.push_back(size_of(kernel.update(arrays, 500.0)));
    }
    return sizes;
}

TEST(FastRoute, LastStepsDecayQuadratically)
{
    for (const Case& c : cases()) {
        Device device = device_of(c, Route::fast);
        light_up(device, c);
        ASSERT_TRUE(device.go_to(0.3 * c.forward, 2)) << c.name;
        for (std::size_t i = 1; i + 1 < device.cv.psi.size(); ++i)
            device.cv.Fn[i] += 0.01 * std::cos(0.23 * static_cast<double>(i));
        const std::vector<double> sizes = step_sizes(device, fast_kernel_baseline());
        double least = 1.0;
        for (const double size : sizes) least = std::min(least, size);
        EXPECT_LT(least, 1e-9) << c.name;
        for (std::size_t k = 0; k + 1 < sizes.size(); ++k)
            if (sizes[k] < 0.05 && sizes[k] > 1e-4) {
                EXPECT_LT(sizes[k + 1], 3.0 * sizes[k] * sizes[k] + 1e-8) << c.name << " step " << k;
            }
    }
}

TEST(FastRoute, EachRungAloneReachesTheSameSolution)
{
    const auto all_but = [](FastRung rung) { return 0x1fU & ~(1U << static_cast<unsigned>(rung)); };
    for (const Case& c : {cases()[3], cases()[8]}) {
        Device reference = device_of(c, Route::fast);
        light_up(reference, c);
        ASSERT_TRUE(reference.go_to(0.5));
        for (const FastRung rung :
             {FastRung::newton, FastRung::steps, FastRung::transient, FastRung::careful, FastRung::classic}) {
            Device device = device_of(c, Route::fast);
            ASSERT_TRUE(device.solve_equilibrium());
            device.memory.work.fast.left_out = all_but(rung);
            device.illuminate_exponentially(c.light, 0.5e-6, c.from_left);
            const std::string where = std::string(c.name) + " rung " + std::to_string(static_cast<int>(rung));
            ASSERT_TRUE(device.solve()) << where;
            ASSERT_TRUE(device.go_to(0.25) && device.go_to(0.5)) << where;
            EXPECT_NEAR(device.cv.J_median, reference.cv.J_median, 1e-5 * c.light) << where;
        }
    }
}

TEST(FastRoute, MirroredCellCarriesTheSameCurrent)
{
    const auto adaptive = [](const CellParameters& cell) {
        return Device(cell, 300.0, [](ConvergenceParameters& s) { s.route = Route::fast; });
    };
    Device device = adaptive(crowded_cell()), image = adaptive(mirrored(crowded_cell()));
    ASSERT_TRUE(device.solve_equilibrium() && image.solve_equilibrium());
    EXPECT_EQ(device.cv.mesh.N, image.cv.mesh.N);
    device.illuminate_exponentially(33.0, 0.5e-6);
    image.illuminate_exponentially(33.0, 0.5e-6, true);
    ASSERT_TRUE(device.solve() && image.solve());
    for (const double V : {0.0, 0.3, 0.5, 0.6, -1.0}) {
        ASSERT_TRUE(device.go_to(V, 2) && image.go_to(-V, 2));
        EXPECT_NEAR(device.cv.J_median, -image.cv.J_median, 1e-6 * 33.0) << V;
    }
}

TEST(FastRoute, FailureKeepsTheLastGoodStateAndTellsWhatDidNotSettle)
{
    const Case c = cases()[3];
    Device device = device_of(c, Route::fast);
    light_up(device, c);
    ASSERT_TRUE(device.go_to(0.2));
    const std::vector<double> psi = device.cv.psi, Fn = device.cv.Fn;
    device.memory.work.fast.left_out = ~1U;
    ASSERT_FALSE(device.go_to(30.0)) << "this case shows nothing";
    EXPECT_TRUE(device.cv.failed());
    EXPECT_EQ(device.cv.psi, psi);
    EXPECT_EQ(device.cv.Fn, Fn);
    const std::string advice = failure_advice(device.problem(), device.memory.work);
    EXPECT_NE(advice.find(" in layer "), std::string::npos) << advice;
    EXPECT_FALSE(device.go_to(0.3)) << "a failed state is no place to start from";
}

// Densities and fluxes stay finite where exp(psi) does not.
TEST(FastRoute, BiasBeyondTheRangeOfExponentials)
{
    Device device(silicon_junction(), 300.0, [](ConvergenceParameters& s) { s.route = Route::fast; });
    ASSERT_TRUE(device.solve_equilibrium());
    double before = 0.0;
    for (int k = 1; k <= 30; ++k) {
        ASSERT_TRUE(device.go_to(-k, 10)) << k;
        const ContactCurrents c = contact_currents(device.problem(), device.cv);
        for (const double J : {device.cv.J_median, device.cv.J_error, c.j_n_left, c.j_p_left, c.j_n_right, c.j_p_right,
                               integrated_current(device.set3, device.cv.mesh, device.cv.terms_total.rec)})
            ASSERT_TRUE(std::isfinite(J)) << -k << " V";
        EXPECT_LT(device.cv.J_median, before) << -k << " V";
        EXPECT_NEAR(device.recombination_minus_generation(true), device.cv.J_median,
                    1e-5 * std::fabs(device.cv.J_median));
        before = device.cv.J_median;
    }
}

TEST(FastRoute, StatusLinesFollowTheRungs)
{
    const Case c = cases()[3];
    Device device = device_of(c, Route::fast);
    light_up(device, c);
    Monitor monitor;
    std::string told;
    monitor.listener = [&](const Event& event) { told += event.text + '\n'; };
    Problem problem = device.problem();
    problem.monitor = &monitor;
    problem.voltage_sign = -1.0;
    ASSERT_TRUE(volgende_iv_punt(problem, device.memory.work, device.cv, 0.0, 0.1, 2));
    EXPECT_EQ(told, "");
    device.memory.work.fast.left_out = 0x1fU & ~(1U << static_cast<unsigned>(FastRung::transient));
    ASSERT_TRUE(volgende_iv_punt(problem, device.memory.work, device.cv, 0.1, 0.2, 2));
    EXPECT_EQ(told, "slow convergence at V = -0.200 V, following the transient\n");
    // A stop is no failure of the cell: nothing is tried after it.
    told.clear();
    device.memory.work.fast.left_out = 0;
    monitor.requestStop();
    EXPECT_FALSE(volgende_iv_punt(problem, device.memory.work, device.cv, 0.2, 0.3, 2));
    EXPECT_EQ(told, "");
}

TEST(FastRoute, BuildsAndScalesAgree)
{
    const Case c = cases()[8];
    const auto current = [&](const FastKernel& kernel, double D0_factor) {
        Device device = device_of(c, Route::fast, {}, D0_factor);
        device.memory.work.fast.kernel = &kernel;
        light_up(device, c);
        EXPECT_TRUE(device.go_to(0.5, 5));
        step_sizes(device, kernel);
        fast_complete_state(device.problem(), device.memory.work, device.cv);
        return device.cv.J_median;
    };
    const double J = current(fast_kernel_baseline(), 1.0);
    EXPECT_EQ(J, current(fast_kernel_baseline(), 1.0));
    EXPECT_NEAR(current(fast_kernel_baseline(), 1e3), J, 1e-10 * c.light);
    if (const FastKernel* wide = fast_kernel_v3(); wide != nullptr && &fast_kernel() == wide) {
        EXPECT_NEAR(current(*wide, 1.0), J, 1e-10 * c.light);
    }
}

}  // namespace
}  // namespace kovin::testing
