#include "device/defect_levels.h"

#include "device/charge_states.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace kovin {

namespace {

/// Mean charge of a defect with L levels, all of them `offset` from their energies, and its derivative [1/eV].
///
///     A = n cn + g p1 cp,   B = p cp + n1 cn/g
///
/// with n1, p1 the densities at which the Fermi level would lie on the level.
template <int L>
double chain_charge(const NeutralBulk& bulk, const NeutralDefect& defect, double offset, double n, double p,
                    double& derivative)
{
    double A[L], B[L], slope[L];
    for (int s = 0; s < L; ++s) {
        const NeutralDefect::Level& level = defect.levels[static_cast<std::size_t>(s)];
        const double Et = level.Et + offset, g = defect.degeneracy_one ? 1.0 : degeneracy_factor(L, s);
        A[s] = n * level.cn + g * bulk.Nv * std::exp(-Et / bulk.kT) * level.cp + negligible_rate;
        B[s] = p * level.cp + bulk.Nc * std::exp((Et - bulk.Eg) / bulk.kT) * level.cn / g + negligible_rate;
        slope[s] = n * level.cn / A[s] + p * level.cp / B[s];
    }
    const ChainOccupation<L> chain(A, B);
    const double top = charge_of_state_0(defect.first);
    double charge = 0.0;
    derivative = 0.0;
    for (int s = 0; s <= L; ++s) charge += (top - s) * chain.f[s];
    for (int s = 0; s < L; ++s) derivative -= slope[s] * chain.response[s] / bulk.kT;
    return charge;
}

/// Charge of one discrete energy that holds the density N.
double NChargedInOneDefectOneEnergy(const NeutralBulk& bulk, const NeutralDefect& defect, double offset, double N,
                                    double n, double p, double& derivative)
{
    constexpr decltype(&chain_charge<1>) by_levels[] = {chain_charge<1>, chain_charge<2>, chain_charge<3>,
                                                        chain_charge<4>};
    static_assert(std::size(by_levels) == max_levels);
    const double charge = by_levels[defect.levels.size() - 1](bulk, defect, offset, n, p, derivative);
    derivative *= N;
    return N * charge;
}

/// Charge of a defect: one energy, or the trapezoid rule over the energies of its distribution.
double NChargedInOneDefect(const NeutralBulk& bulk, const NeutralDefect& defect, double n, double p, double& derivative)
{
    derivative = 0.0;
    if (defect.first == LevelType::neutral || defect.levels.empty()) return 0.0;
    double charge = 0.0;
    for (const WeightedEnergy& energy : discrete_energies(defect.distribution, defect.Ekar, 0.0, bulk.discretisations,
                                                          bulk.widthtail, bulk.widthgauss)) {
        double slope = 0.0;
        charge += NChargedInOneDefectOneEnergy(bulk, defect, energy.E, defect.Nt * energy.share, n, p, slope);
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

OpticalThresholds optical_thresholds(EnergyReference reference, double Et, double Eg, double kT, double ratio)
{
    const double above_EV = level_above_EV(reference, Et, Eg, kT, ratio);
    return {Eg - above_EV, above_EV};
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
    for (const NeutralDefect& defect : bulk.defects) {
        double slope = 0.0;
        charge += NChargedInOneDefect(bulk, defect, n, p, slope);
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
