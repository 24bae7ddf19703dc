// The coupled schemes: the same solution as the decoupled one, quadratic steps, and what happens far from it.
#include "solver/coupled.h"

#include "solver/bulk_terms.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/newton_steps.h"

#include <gtest/gtest.h>

#include <limits>

namespace kovin::testing {
namespace {

CellParameters thin_film_with_charged_sheet()
{
    CellParameters cell = thin_film_cell();
    add_sheet(cell, 0, DefectType::donor, 1e16, EnergyReference::above_EV_left, 0.6, 1e-19, 1e-19);
    return cell;
}

Device::Settings scheme(int number, double termination, bool adaptive)
{
    return [=](ConvergenceParameters& c) {
        c.coupling_scheme = number;
        c.gummel_to_coupled_iteration = 3;
        c.termination_psi = c.termination_Fn = c.termination_Fp = termination;
        c.recalculate_mesh = adaptive ? 1 : 0;
    };
}

/// Largest residual of the rows of psi at the left points of interfaces, against the terms that it is the sum of.
double interface_residual(Device& device)
{
    const CalculationVariables& cv = device.cv;
    const Problem problem = device.problem();
    std::vector<double> rho(cv.psi.size()), res(cv.psi.size());
    totale_rdcbijdrage(problem, device.cv);
    total_charge(problem, cv, rho);
    calculate_dc_residue_psi(problem, cv, rho, res);
    double largest = 0.0;
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const auto& r = problem.grid.interfaces[j];
        const std::size_t l = device.last(j);
        const double terms = std::fabs(r.left * (cv.psi[l - 1] - cv.psi[l])) +
                             std::fabs(r.right * (cv.psi[l + 2] - cv.psi[l])) + (r.left + r.right) * 1e-6;
        largest = std::max({largest, std::fabs(res[l]) / terms, std::fabs(res[l + 1])});
    }
    return largest;
}

struct Case {
    const char* name;
    CellParameters cell;
    double decay;
    bool light;
};

std::vector<Case> cases()
{
    return {{"silicon junction, light", silicon_junction(), 1e-6, true},
            {"silicon junction, dark", silicon_junction(), 1e-6, false},
            {"thin film, light", thin_film_cell(), 0.5e-6, true},
            {"thin film with a charged sheet, light", thin_film_with_charged_sheet(), 0.5e-6, true},
            {"thin film with a charged sheet, dark", thin_film_with_charged_sheet(), 0.5e-6, false}};
}

/// In the dark, rounding of the levels in the intervals of 1 Angstrom moves the median by some 1e-11 mA/cm2.
double tolerance(double J, bool light) { return 1e-7 * std::max(std::fabs(J), light ? 33.0 : 1e-3); }

// From -1 V to a forward current above 1 A/cm2, in fine and coarse steps, either side up. Coupled loops end well below
// their termination; scheme 12 comes down linearly like scheme 11.
TEST(Coupled, AllSchemesFindTheSolutionOfScheme11)
{
    struct Row {
        int scheme;
        double termination, step;
    };
    for (const Case& c : cases())
        for (const bool mirror : {false, true})
            for (const Row& row : {Row{14, 1e-3, 0.05}, {14, 1e-3, 0.4}, {13, 1e-3, 0.4}, {12, 1e-7, 0.4}}) {
                const CellParameters cell = mirror ? mirrored(c.cell) : c.cell;
                Device plain(cell, 300.0, scheme(11, 1e-7, false));
                Device device(cell, 300.0, scheme(row.scheme, row.termination, false));
                for (Device* d : {&plain, &device}) {
                    ASSERT_TRUE(d->solve_equilibrium()) << c.name;
                    if (c.light) d->illuminate_exponentially(33.0, c.decay, mirror);
                    ASSERT_TRUE(d->solve()) << c.name << ", scheme " << row.scheme;
                    ASSERT_TRUE(d->go_to(mirror ? 1.0 : -1.0, d == &plain ? 5 : static_cast<int>(1.0 / row.step)));
                }
                for (double V = -1.0; std::fabs(plain.cv.J_median) < 1e3; V += row.step) {
                    ASSERT_TRUE(plain.go_to(mirror ? -V : V) && device.go_to(mirror ? -V : V))
                        << c.name << ", scheme " << row.scheme << " at " << V;
                    const double J = plain.cv.J_median;
                    EXPECT_NEAR(device.cv.J_median, J, tolerance(J, c.light))
                        << c.name << (mirror ? ", mirrored" : "") << ", scheme " << row.scheme << " at " << V;
                    EXPECT_EQ(device.cv.psi.back(),
                              (device.set3.phi_left - device.set3.phi_right - device.cv.V) / device.set3.kT);
                    EXPECT_LT(interface_residual(device), 1e-8) << c.name << ", scheme " << row.scheme << " at " << V;
                }
            }
}

// Where the mesh moves, the decoupled scheme starts from the state that was left, on its mesh, and stays there.
TEST(Coupled, AgreesOnTheMeshThatFollowsTheSolution)
{
    for (const Case& c : cases())
        for (const int number : {13, 14}) {
            Device device(c.cell, 300.0, scheme(number, 1e-3, true));
            ASSERT_TRUE(device.solve_equilibrium()) << c.name;
            if (c.light) device.illuminate_exponentially(33.0, c.decay);
            ASSERT_TRUE(device.solve()) << c.name;
            for (const double V : {-0.4, 0.0, 0.4, 0.45, 0.65}) {
                ASSERT_TRUE(device.go_to(V)) << c.name << ", scheme " << number << " at " << V;
                Device plain(device);
                Problem problem = plain.problem();
                problem.adaption.reset();
                scheme(11, 1e-7, false)(plain.set3.convergence);
                ASSERT_TRUE(onder_belichting(problem, plain.memory.work, plain.cv)) << c.name;
                const double J = plain.cv.J_median;
                EXPECT_NEAR(device.cv.J_median, J, tolerance(J, c.light))
                    << c.name << ", scheme " << number << " " << V;
            }
        }
}

// A derivative that is left out makes the steps come down by a factor; with all of them they come down squared.
TEST(Coupled, StepsComeDownQuadratically)
{
    Device device(thin_film_with_charged_sheet(), 350.0, scheme(14, 1e-3, false));
    ASSERT_TRUE(device.solve_equilibrium());
    device.illuminate_exponentially(33.0, 0.5e-6);
    ASSERT_TRUE(device.solve() && device.go_to(0.5, 5));
    CalculationVariables& cv = device.cv;
    for (std::size_t i = 1; i + 1 < cv.psi.size(); ++i) {
        const double x = cv.mesh.x[i];  // the same on both sides of an interface
        cv.psi[i] += 0.02 * std::sin(9.0 * x);
        cv.Fn[i] += 0.02 * std::cos(7.0 * x);
        cv.Fp[i] -= 0.02 * std::sin(5.0 * x + 1.0);
    }
    Workspace& work = device.memory.work;
    std::vector<double> steps;
    for (int k = 0; k < 4; ++k) {
        update_psivar(device.set3, cv);
        update_Fn(cv);
        update_Fp(cv);
        assemble_psi_uv(device.problem(), work, cv);
        ASSERT_TRUE(tridiagonal_3x3(cv.mesh, work.block, cv.expFn, cv.expmFp));
        double largest = 0.0;
        for (const Unknown unknown : {of_psi, of_u, of_v})
            largest = std::max(largest, MaximumAbsoluteValue(work.block.delta[unknown]));
        steps.push_back(largest);
        for (std::size_t i = 0; i < cv.psi.size(); ++i) {
            cv.psi[i] += work.block.delta[of_psi][i];
            cv.Fn[i] += std::log1p(work.block.delta[of_u][i]);
            cv.Fp[i] -= std::log1p(work.block.delta[of_v][i]);
        }
    }
    const double curvature = steps[1] / (steps[0] * steps[0]);
    EXPECT_GT(steps[1], 1e-4) << "too near to show anything";
    for (std::size_t k = 1; k < 3; ++k)
        EXPECT_LT(steps[k + 1], 3.0 * curvature * steps[k] * steps[k] + 1e-11) << steps[k];
}

// From the estimate of a large step of voltage the coupled loop alone is lost. It says so long before its limit, and
// the schemes that try it finish the point all the same.
TEST(Coupled, LostAttemptsEndEarlyAndDecoupledPassesFinishThePoint)
{
    Device device(thin_film_cell(), 300.0, scheme(13, 1e-3, false));
    ASSERT_TRUE(device.solve_equilibrium());
    CalculationVariables far = device.cv;
    volgende_schatting(device.set3, far, 0.4, 0.4);
    device.set3.convergence.on_limit_psi = 4;  // at the limit it would return true
    device.set3.convergence.maxiter_psi = 40;
    EXPECT_FALSE(
        fully_coupled_iteration(device.problem(), device.memory.work, far, std::numeric_limits<double>::infinity()));
    EXPECT_EQ(far.its_psi, -1);

    EXPECT_TRUE(device.go_to(0.4));
    EXPECT_EQ(device.cv.iterations, 3) << "two decoupled passes before the coupled one";
    EXPECT_TRUE(device.go_to(0.402));
    EXPECT_EQ(device.cv.iterations, 1) << "near enough at once";
}

}  // namespace
}  // namespace kovin::testing
