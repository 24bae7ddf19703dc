#include "solver/fast_equilibrium.h"

#include "solver/bulk_terms.h"
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/gummel.h"
#include "solver/newton_steps.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace kovin {

namespace {

constexpr double converged_below = 1e-9;  ///< [kT]
/// A step this small that is not a tenth of the one before is rounding: Newton's steps fall faster.
constexpr double rounding_below = 1e-7, still_falling = 0.1;
/// Width to which neutrality is bisected [kT]; from there a Newton step is as good.
constexpr double neutral_within = 0.5;
constexpr int most_bisections = 20;  ///< where the weights of the carriers underflow, the width has no end

/// psi of a neutral point with the fixed charge c: n - p = c, n p = Wn Wp. Both roots without cancellation.
double neutral_psi(double c, double Wn, double Wp)
{
    const double half = 0.5 * std::fabs(c);
    const double majority = half + std::sqrt(half * half + Wn * Wp);
    return c >= 0.0 ? std::log(majority / Wn) : std::log(Wp / majority);
}

/// Adds the least and the greatest charge that a defect can hold.
template <class Record>
void add_charge_range(const Record& defect, double electrons, std::span<double> least, std::span<double> greatest)
{
    if (defect.charged == 0.0) return;
    for (std::size_t k = 0; k < defect.Nt.size(); ++k) {
        least[defect.first + k] += defect.Nt[k] * (defect.charge - electrons);
        greatest[defect.first + k] += defect.Nt[k] * defect.charge;
    }
}

/// Steps in which psi is free where no charge holds it. From there on a cell that swings is damped everywhere.
constexpr int free_steps = 6;

/// Elements above 1 kT to 1 + ln of their size; in a free step only what goes beyond the place where the carrier that
/// grows is as dense as the doping, or dense enough to screen the layer. In a depleted or insulating layer, where
/// Poisson's equation is linear, psi so arrives in one step.
void damp_large_elements(const CalculationParameters& set3, const CalculationVariables& cv, bool free,
                         std::span<double> step)
{
    for (std::size_t j = 0; j < static_cast<std::size_t>(cv.mesh.nlayers); ++j) {
        const double screening = set3.scale.Lambda[j] / (set3.d[j] * set3.d[j]);
        const auto first = static_cast<std::size_t>(cv.mesh.first[j]), last = static_cast<std::size_t>(cv.mesh.last[j]);
        for (std::size_t i = first; i <= last; ++i) {
            const double size = std::fabs(step[i]);
            if (!(size > 1.0)) continue;
            const double growing = step[i] > 0.0 ? cv.n[i] : cv.p[i];
            const double harmless = std::max(std::fabs(set3.on.doping[i]), screening);
            const double way = free && growing < harmless ? std::log(harmless / growing) : 0.0;
            if (size - way > 1.0) step[i] = std::copysign(way + 1.0 + std::log(size - way), step[i]);
        }
    }
}

}  // namespace

void start_from_neutrality(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    const CalculationParameters& set3 = problem.set3;
    const OnMesh& on = set3.on;
    const std::size_t N = cv.psi.size();
    cv.V = cv.V_kT = 0.0;
    for (auto* level : {&cv.Fn, &cv.Fp}) std::fill(level->begin(), level->end(), 0.0);
    update_Fn(cv);
    update_Fp(cv);
    cv.psi.front() = 0.0;
    cv.psi.back() = (set3.phi_left - set3.phi_right) / set3.kT;
    // Whatever the state of the defects, psi lies between its values at their least and their greatest charge.
    std::vector<double>&low = work.sub, &high = work.super;
    low = on.doping;
    high = on.doping;
    for (const DefectEnergy& level : problem.defects.energies) add_charge_range(level, 1.0, low, high);
    for (const DefectChain& chain : problem.defects.chains) add_charge_range(chain, chain.levels, low, high);
    double width = 0.0;
    double low_charge = 0.0, high_charge = 0.0;  // of the point before, which is often alike
    for (std::size_t i = 0; i < N; ++i) {
        const bool alike = i > 0 && low[i] == low_charge && high[i] == high_charge && on.Wn[i] == on.Wn[i - 1] &&
                           on.Wp[i] == on.Wp[i - 1];
        low_charge = low[i];
        high_charge = high[i];
        low[i] = alike ? low[i - 1] : neutral_psi(low_charge, on.Wn[i], on.Wp[i]);
        high[i] = alike                       ? high[i - 1]
                  : low_charge == high_charge ? low[i]
                                              : neutral_psi(high_charge, on.Wn[i], on.Wp[i]);
        width = std::max(width, high[i] - low[i]);
    }
    const auto to_middle = [&] {
        for (std::size_t i = 1; i + 1 < N; ++i) cv.psi[i] = 0.5 * (low[i] + high[i]);
        update_epsi(set3, cv);
    };
    to_middle();
    for (int k = 0; width > neutral_within && k < most_bisections; ++k, width *= 0.5) {
        totale_rdcbijdrage(problem, cv, Terms::psi);
        total_charge(problem, cv, work.rho_total);
        for (std::size_t i = 0; i < N; ++i) (work.rho_total[i] > 0.0 ? low : high)[i] = 0.5 * (low[i] + high[i]);
        to_middle();
    }
    // The two points of an interface share one psi.
    for (std::size_t j = 0; j + 1 < static_cast<std::size_t>(cv.mesh.nlayers); ++j) {
        const auto l = static_cast<std::size_t>(cv.mesh.last[j]);
        cv.psi[l] = cv.psi[l + 1] = 0.5 * (cv.psi[l] + cv.psi[l + 1]);
    }
    update_epsi(set3, cv);
}

bool fast_equilibrium_from_here(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    double before = 0.0;
    bool converged = false;
    int k = 0;
    while (!converged && k < fast_equilibrium_steps) {
        ++k;
        if (!poisson_step(problem, work, cv)) break;
        const double largest = MaximumAbsoluteValue(work.delta);
        if (!std::isfinite(largest)) break;
        damp_large_elements(problem.set3, cv, k <= free_steps, work.delta);
        add_to_psi(problem, work, cv);
        converged = largest < converged_below || (largest < rounding_below && largest > still_falling * before);
        cv.max_delta_psi = before = largest;
    }
    cv.iterations = cv.its_psi = converged ? k : -1;
    update_bernoulli(problem.set3, cv);
    totale_rdcbijdrage(problem, cv);
    extraheer_stroom(problem, cv, work.currents);
    return converged;
}

bool fast_equilibrium(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    start_from_neutrality(problem, work, cv);
    if (fast_equilibrium_from_here(problem, work, cv)) return true;
    eerste_schatting(problem.set3, cv);
    return fast_equilibrium_from_here(problem, work, cv);
}

}  // namespace kovin
