// What holds for any cell that tunnels.
#include "solver/currents.h"
#include "tunnel_cells.h"

#include <gtest/gtest.h>

#include <limits>

namespace kovin {
namespace {

using namespace testing;
using namespace testing::tunnelling;

/// Every path open, whatever the cell says.
void all_open(ConvergenceParameters& c)
{
    c.recalculate_mesh = 0;
    c.tunnel_paths = 0;
}

double largest(const std::vector<double>& a, const std::vector<double>& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum = std::max(sum, std::fabs(a[i]) + std::fabs(b[i]));
    return sum;
}

TEST(TunnelIdentities, NothingFlowsAtEquilibrium)
{
    for (const Case& c : cases())
        for (const double T : {250.0, 300.0, 350.0})
            for (const auto& settings : {fixed_mesh, all_open}) {
                Device device(c.cell, T, settings);
                ASSERT_TRUE(device.solve_equilibrium() && device.solve()) << c.name << T;
                EXPECT_EQ(device.cv.J_median, 0.0) << c.name << T;
                EXPECT_EQ(device.cv.J_spread, 0.0) << c.name << T;
                EXPECT_EQ(largest(device.cv.jn_tunnel, device.cv.jp_tunnel), 0.0) << c.name << T;
            }
}

TEST(TunnelIdentities, OneCurrentFlowsAlongTheDevice)
{
    for (const Case& c : cases()) {
        Device device(c.cell, 300.0, fixed_mesh);
        ASSERT_TRUE(device.solve_equilibrium()) << c.name;
        ASSERT_TRUE(device.go_to(c.V)) << c.name;
        EXPECT_LT(device.cv.iterations, 20) << c.name;
        EXPECT_LT(device.cv.J_spread, 1e-5 * std::fabs(device.cv.J_median) + 5e-4) << c.name;
        const ContactCurrents contact = contact_currents(device.problem(), device.cv);
        const double J = device.cv.J_median;
        EXPECT_NEAR(contact.j_n_left + contact.j_p_left, J, 2e-3 * std::fabs(J)) << c.name;
        EXPECT_NEAR(contact.j_n_right + contact.j_p_right, J, 2e-3 * std::fabs(J)) << c.name;
        EXPECT_GT(largest(device.cv.jn_tunnel, device.cv.jp_tunnel), 0.3 * std::fabs(J))
            << c.name << ": the current does tunnel";
        const double closed = current(c.cell, c.V, [](ConvergenceParameters& s) { s.recalculate_mesh = 0; });
        EXPECT_GT(std::fabs(device.cv.J_median), 1.2 * std::fabs(closed)) << c.name;
        EXPECT_NEAR(current(mirrored(c.cell), -c.V) / device.cv.J_median, -1.0, c.mirror) << c.name;
    }
    EXPECT_NEAR(current(schottky_of_holes(), 0.05) / current(schottky(), -0.05), -1.0, 1e-3) << "but for the rest";
}

TEST(TunnelIdentities, LineSearchAndMovingMeshLeadToTheSameCurrent)
{
    for (const Case& c : cases()) {
        const double J = current(c.cell, c.V);
        EXPECT_NEAR(current(c.cell, c.V,
                            [](ConvergenceParameters& s) {
                                fixed_mesh(s);
                                s.backtracking = 1;
                            }) /
                        J,
                    1.0, 1e-4)
            << c.name << ": line search";
        Device moving(c.cell, 300.0, all_kinds);
        ASSERT_TRUE(moving.solve_equilibrium() && moving.go_to(c.V, 2)) << c.name;
        EXPECT_LT(moving.cv.J_spread, 1e-5 * std::fabs(J) + 5e-4) << c.name;
        EXPECT_NEAR(moving.cv.J_median / J, 1.0, std::max(c.mirror, 0.01)) << c.name << ": moving mesh";
    }
}

// A mass that is no mass gives no path or one without a barrier, never a state without numbers.
TEST(TunnelIdentities, MassesOfAnyKindEndInNumbers)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    for (Case& c : cases())
        for (const double m : {0.0, -1.0, 1e-300, 1e300, inf, std::nan("")})
            for (const int choice : {0, 3, 4}) {
                for (ContactParameters* contact : {&c.cell.left, &c.cell.right}) contact->m_e = contact->m_h = m;
                for (InterfaceParameters& i : c.cell.interfaces) {
                    i.m_e = i.m_h = m;
                    for (InterfaceRecombinationParameters& d : i.defects) d.m_e = d.m_h = m;
                }
                for (LayerParameters& layer : c.cell.layer)
                    if (choice != 0) set_uniform(layer.material.m_e, m);
                Device device(c.cell, 300.0, [choice](ConvergenceParameters& s) {
                    all_open(s);
                    s.TunnelMassChoice = choice;
                });
                ASSERT_TRUE(device.solve_equilibrium()) << c.name << m;
                EXPECT_TRUE(!device.go_to(c.V) || std::isfinite(device.cv.J_median)) << c.name << m << choice;
            }
}

}  // namespace
}  // namespace kovin
