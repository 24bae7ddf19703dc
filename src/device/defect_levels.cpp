#include "device/defect_levels.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

/// Charge of one discrete level of density N and energy Et above EV, with its derivative [1/eV].
///
///     f = (n cn + p1 cp) / D,   1 - f = (p cp + n1 cn) / D,   D = (n + n1) cn + (p + p1) cp
///
/// A donor holds +N (1 - f), an acceptor -N f.
double NChargedInOneDefectOneSubLevel(const NeutralBulk& bulk, const NeutralityLevel& level, double Et, double N,
                                      double n, double p, double& derivative)
{
    derivative = 0.0;
    const bool donor = level.type == DefectType::donor;
    if (!donor && level.type != DefectType::acceptor) return 0.0;
    const double n1 = bulk.Nc * std::exp((Et - bulk.Eg) / bulk.kT);
    const double p1 = bulk.Nv * std::exp(-Et / bulk.kT);
    const double D = (n + n1) * level.cn + (p + p1) * level.cp;
    if (!(D > 0.0)) return 0.0;  // a level that captures nothing has no defined occupation
    const double f = (n * level.cn + p1 * level.cp) / D;
    const double one_min_f = (p * level.cp + n1 * level.cn) / D;
    derivative = -N * (f * p * level.cp + one_min_f * n * level.cn) / (bulk.kT * D);
    return donor ? N * one_min_f : -N * f;
}

/// Charge of a defect: its level, or the trapezoid rule over the energies of its distribution.
double NChargedInOneDefect(const NeutralBulk& bulk, const NeutralityLevel& level, double n, double p,
                           double& derivative)
{
    derivative = 0.0;
    double charge = 0.0;
    for (const WeightedEnergy& energy : discrete_energies(level.distribution, level.Ekar, level.Et,
                                                          bulk.discretisations, bulk.widthtail, bulk.widthgauss)) {
        double slope = 0.0;
        charge += NChargedInOneDefectOneSubLevel(bulk, level, energy.E, level.Nt * energy.share, n, p, slope);
        derivative += slope;
    }
    return charge;
}

int sign_of(double x) { return (x > 0.0) - (x < 0.0); }

}  // namespace

EnergyTable bereken_energie_as(EnergyDistribution distribution, double Ekar, double Et, int n, double widthtail,
                               double widthgauss)
{
    const bool single = distribution == EnergyDistribution::single || n < 2 || !(Ekar > 0.0);
    const std::size_t count = single ? 1 : static_cast<std::size_t>(std::min(n, max_energies));
    double width = 0.0;  // of the energies, all of them together
    double start = Et;   // first energy
    double direction = 1.0;
    if (!single) {
        switch (distribution) {
            case EnergyDistribution::single:
                break;
            case EnergyDistribution::uniform:
                width = Ekar;
                start = Et - width / 2;
                break;
            case EnergyDistribution::gauss:
                width = Ekar * widthgauss;
                start = Et - width / 2;
                break;
            case EnergyDistribution::CB_tail:
                width = Ekar * widthtail;
                direction = -1.0;
                break;
            case EnergyDistribution::VB_tail:
                width = Ekar * widthtail;
                break;
        }
    }
    const double dE = count > 1 ? width / static_cast<double>(count - 1) : 0.0;
    EnergyTable table;
    table.step.assign(count, dE);
    table.energy.resize(count);
    for (std::size_t i = 0; i < count; ++i) table.energy[i] = start + direction * static_cast<double>(i) * dE;
    return table;
}

double peak_to_total(EnergyDistribution distribution, double Ekar)
{
    if (distribution == EnergyDistribution::single || !(Ekar > 0.0)) return 1.0;
    return distribution == EnergyDistribution::gauss ? std::numbers::inv_sqrtpi / Ekar : 1.0 / Ekar;
}

double distribution_weight(EnergyDistribution distribution, double E, double E0, double W)
{
    if (!(W > 0.0)) return 1.0;
    const double x = (E - E0) / W;
    switch (distribution) {
        case EnergyDistribution::gauss:
            return std::exp(-x * x);
        case EnergyDistribution::CB_tail:
            return std::exp(x);
        case EnergyDistribution::VB_tail:
            return std::exp(-x);
        default:
            return 1.0;
    }
}

std::vector<WeightedEnergy> discrete_energies(EnergyDistribution distribution, double Ekar, double E0, int n,
                                              double widthtail, double widthgauss)
{
    const EnergyTable table = bereken_energie_as(distribution, Ekar, E0, n, widthtail, widthgauss);
    const std::size_t count = table.energy.size();
    std::vector<WeightedEnergy> energies;
    energies.reserve(count);
    for (std::size_t m = 0; m < count; ++m) {
        const double E = table.energy[m];
        if (count < 2) {
            energies.push_back({E, 1.0});
            continue;
        }
        const double before = m > 0 ? table.step[m - 1] : 0.0, after = m + 1 < count ? table.step[m] : 0.0;
        const double width = 0.5 * (std::abs(before) + std::abs(after));
        energies.push_back(
            {E, peak_to_total(distribution, Ekar) * distribution_weight(distribution, E, E0, Ekar) * width});
    }
    return energies;
}

double level_above_EV(EnergyReference reference, double E, double Eg, double kT, double ratio)
{
    switch (reference) {
        case EnergyReference::above_Ei:
            return E + Eg / 2 + kT / 2 * std::log(ratio);
        case EnergyReference::below_EC:
            return Eg - E;
        default:
            return E;
    }
}

double level_above_EV_left(EnergyReference reference, double E, const InterfaceBands& bands)
{
    const double highest_EV = std::max(bands.dEv, 0.0);
    const double lowest_EC = bands.Eg_left - std::max(bands.dEc, 0.0);
    switch (reference) {
        case EnergyReference::below_lowest_EC:
            return lowest_EC - E;
        case EnergyReference::above_Ei_left:
            return E + bands.Ei_left;
        case EnergyReference::above_Ei_right:
            return E + bands.dEv + bands.Ei_right;
        case EnergyReference::above_EV_left:
            return E;
        case EnergyReference::above_EV_right:
            return E + bands.dEv;
        case EnergyReference::above_middle:
            return E + 0.5 * (highest_EV + lowest_EC);
        default:
            return E + highest_EV;
    }
}

double NChargedInDefects(const NeutralBulk& bulk, double n, double p, double& derivative)
{
    derivative = 0.0;
    double charge = 0.0;
    for (const NeutralityLevel& level : bulk.levels) {
        double slope = 0.0;
        charge += NChargedInOneDefect(bulk, level, n, p, slope);
        derivative += slope;
    }
    return charge;
}

NeutralFermiLevel CalculateNeutralBulkEquilibriumFermiLevel(const NeutralBulk& bulk)
{
    const double kT = bulk.kT;
    const double ni = std::sqrt(bulk.Nc * bulk.Nv) * std::exp(-bulk.Eg / (2 * kT));
    const double Ei = bulk.Eg / 2 + kT / 2 * std::log(bulk.Nv / bulk.Nc);

    double charge = 0.0;  // in defects, at the last F looked at
    const auto balance = [&](double F) {
        const double n = bulk.Nc * std::exp((F - bulk.Eg) / kT);
        const double p = bulk.Nv * std::exp(-F / kT);
        double slope = 0.0;
        charge = NChargedInDefects(bulk, n, p, slope);
        return (p - n) + (bulk.Nd - bulk.Na) + charge;
    };

    double F = Ei;
    if (bulk.Nd > 10 * ni + bulk.Na) F = bulk.Eg - kT * std::log(bulk.Nc / (bulk.Nd - bulk.Na));
    if (bulk.Na > 10 * ni + bulk.Nd) F = kT * std::log(bulk.Nv / (bulk.Na - bulk.Nd));

    // Walk towards neutrality; every crossing shortens the step. 100 steps reach 1e-7 kT from any start in the gap.
    int direction = sign_of(balance(F));
    if (direction != 0) {
        double step = 0.1 * bulk.Eg * direction;
        F += step;
        for (int i = 0; i < 100 && std::abs(step) > 1e-7 * kT; ++i) {
            const int now = sign_of(balance(F));
            if (now == 0) break;
            if (now != direction) {
                step *= -0.3;
                direction = now;
            }
            F += step;
        }
    }

    NeutralFermiLevel result;
    result.doping = std::abs(charge + bulk.Nd - bulk.Na);
    result.EcEf = bulk.Eg - F;
    result.EfEv = F;
    // Within the accuracy of the walk the middle of the gap is neither type.
    if (std::abs(F - Ei) > 1e-6 * kT) result.type = F > Ei ? -1 : 1;
    return result;
}

}  // namespace kovin
