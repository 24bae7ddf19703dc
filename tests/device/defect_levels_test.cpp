// Energy tables of distributed defects, and the Fermi level of a neutral bulk.
#include "device/defect_levels.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

TEST(EnergyTable, SpansItsDistributionAndSumsToTheTotal)
{
    struct Row {
        const char* what;
        EnergyDistribution distribution;
        double lowest, highest;  // [eV] for Et = 0.6, Ekar = 0.1, widths 7 and 6
        double tolerance;        // of the trapezoid sum against the total density at 41 energies
    };
    constexpr Row rows[] = {
        {"uniform: W about the middle", EnergyDistribution::uniform, 0.55, 0.65, 1e-12},
        {"Gaussian: six W; the rest outside is erfc(3) = 2.2e-5", EnergyDistribution::gauss, 0.3, 0.9, 1e-4},
        {"tail to lower energy; cut exp(-7), trapezoid error (dE/W)^2/12", EnergyDistribution::CB_tail, -0.1, 0.6,
         3.5e-3},
        {"tail to higher energy", EnergyDistribution::VB_tail, 0.6, 1.3, 3.5e-3},
    };
    for (const Row& r : rows) {
        const EnergyTable table = bereken_energie_as(r.distribution, 0.1, 0.6, 41, 7.0, 6.0);
        ASSERT_EQ(table.energy.size(), 41u) << r.what;
        EXPECT_NEAR(std::min(table.energy.front(), table.energy.back()), r.lowest, 1e-12) << r.what;
        EXPECT_NEAR(std::max(table.energy.front(), table.energy.back()), r.highest, 1e-12) << r.what;
        double sum = 0.0;
        for (std::size_t m = 1; m < table.energy.size(); ++m)
            sum += 0.5 * table.step[m - 1] * peak_to_total(r.distribution, 0.1) *
                   (distribution_weight(r.distribution, table.energy[m - 1], 0.6, 0.1) +
                    distribution_weight(r.distribution, table.energy[m], 0.6, 0.1));
        EXPECT_NEAR(sum, 1.0, r.tolerance) << r.what;
    }
    const EnergyTable single = bereken_energie_as(EnergyDistribution::single, 0.1, 0.6, 7, 7.0, 6.0);
    ASSERT_EQ(single.energy.size(), 1u);
    EXPECT_EQ(single.energy[0], 0.6);
    EXPECT_EQ(single.step[0], 0.0);
}

NeutralBulk silicon(double Nd, double Na)
{
    NeutralBulk bulk;
    bulk.Nc = 2.86e19;
    bulk.Nv = 3.1e19;
    bulk.Nd = Nd;
    bulk.Na = Na;
    bulk.Eg = 1.124;
    bulk.kT = 0.0259;
    return bulk;
}

NeutralDefect defect(LevelType first, EnergyDistribution distribution, const std::vector<double>& Et, double Nt)
{
    NeutralDefect d{.first = first, .distribution = distribution, .Ekar = 0.05, .Nt = Nt, .levels = {}};
    for (const double E : Et) d.levels.push_back({E, 1e-8, 3e-9});
    return d;
}

TEST(NeutralBulk, ChargeVanishesAtTheFermiLevelFound)
{
    struct Row {
        const char* what;
        double Nd, Na;
        LevelType first;
        EnergyDistribution distribution;
        std::vector<double> Et;
        double Nt;
        int majority;
    };
    using enum LevelType;
    using enum EnergyDistribution;
    const Row rows[] = {
        {"n-type, a neutral level holds no charge", 1e16, 0, neutral, single, {0.5}, 1e18, -1},
        {"p-type, compensated in part by donors", 0, 1e16, plus_zero, single, {0.6}, 4e15, 1},
        {"p doping overcompensated by shallow donors turns n", 0, 1e15, plus_zero, single, {1.0}, 1e17, -1},
        {"each double donor gives two electrons", 0, 1e16, two_plus_plus, single, {0.9, 1.0}, 6e15, -1},
        {"each double acceptor takes two", 1.9e16, 0, zero_minus, single, {0.2, 0.3}, 1e16, 1},
        {"deep acceptors pin an n-type bulk in mid gap", 1e15, 0, zero_minus, gauss, {0.56}, 1e17, 1},
        {"undoped, acceptors alone make it p-type", 0, 0, zero_minus, VB_tail, {0.15}, 1e17, 1},
        {"undoped and clean is intrinsic", 0, 0, neutral, single, {0.5}, 1e10, 0},
        {"equal dopings are intrinsic", 1e17, 1e17, neutral, single, {0.5}, 1e10, 0},
    };
    for (const Row& r : rows) {
        NeutralBulk bulk = silicon(r.Nd, r.Na);
        bulk.defects.push_back(defect(r.first, r.distribution, r.Et, r.Nt));
        const NeutralFermiLevel found = CalculateNeutralBulkEquilibriumFermiLevel(bulk);
        EXPECT_EQ(found.type, r.majority) << r.what;
        EXPECT_NEAR(found.EcEf + found.EfEv, bulk.Eg, 1e-12) << r.what;

        const double n = bulk.Nc * std::exp(-found.EcEf / bulk.kT);
        const double p = bulk.Nv * std::exp(-found.EfEv / bulk.kT);
        double slope = 0.0;
        const double charge = NChargedInDefects(bulk, n, p, slope);
        const double rho = charge + bulk.Nd - bulk.Na + p - n;
        // The walk ends within about 1e-7 kT; the charge moves by its own slope times that.
        EXPECT_NEAR(rho, 0.0, 1e-6 * (n + p + std::abs(slope) * bulk.kT)) << r.what;
        EXPECT_NEAR(found.doping, std::abs(charge + r.Nd - r.Na), 1e-6 * (n + p + std::abs(slope) * bulk.kT)) << r.what;
    }
}

TEST(NeutralBulk, DerivativeOfTheDefectChargeAgreesWithDifferences)
{
    NeutralBulk bulk = silicon(0, 0);
    bulk.defects = {defect(LevelType::plus_zero, EnergyDistribution::gauss, {0.5}, 1e16),
                    defect(LevelType::three_plus_two_plus, EnergyDistribution::single, {0.3, 0.4, 0.7, 0.6}, 3e16),
                    defect(LevelType::zero_minus, EnergyDistribution::CB_tail, {1.0, 1.1}, 1e17)};
    const auto charge_at = [&](double F, double& slope) {
        return NChargedInDefects(bulk, bulk.Nc * std::exp((F - bulk.Eg) / bulk.kT), bulk.Nv * std::exp(-F / bulk.kT),
                                 slope);
    };
    for (const double F : {0.2, 0.45, 0.56, 0.7, 0.95}) {
        constexpr double dF = 1e-5;
        double slope = 0.0, unused = 0.0;
        charge_at(F, slope);
        const double difference = (charge_at(F + dF, unused) - charge_at(F - dF, unused)) / (2 * dF);
        EXPECT_NEAR(slope, difference, 1e-6 * std::abs(difference) + 1e6) << "F = " << F << " eV above EV";
    }
}

}  // namespace
}  // namespace kovin
