#include "solver/fast_current.h"

#include "device/boxes.h"
#include "solver/currents.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kovin {

namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

struct Estimate {
    double J = 0.0;
    double noise = std::numeric_limits<double>::infinity();
};

/// The interval with the least noise [mA/cm2].
Estimate quietest_interval(const CalculationParameters& set3, const FastArrays& a)
{
    Estimate best;
    for (std::size_t j = 0; j < a.layers; ++j) {
        const double unit = 0.1 * set3.scale.current(static_cast<int>(j));
        std::size_t at = 0;
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t i = a.layer[j].first + 1; i <= a.layer[j].last; ++i) {
            const double n_flux = std::max(a.jn_left[i], a.jn_right[i]), p_flux = std::max(a.jp_left[i], a.jp_right[i]);
            const double noise = n_flux * (1.0 + std::fabs(a.Fn[i])) + p_flux * (1.0 + std::fabs(a.Fp[i]));
            if (noise < least) {
                least = noise;
                at = i;
            }
        }
        if (4.0 * eps * unit * least < best.noise) best = {unit * (a.jn[at] - a.jp[at]), 4.0 * eps * unit * least};
    }
    return best;
}

struct Balance {
    double net = 0.0, gross = 0.0;  ///< integrals of R - G and of |R| + G, interfaces included [mA/cm2]
};

Balance balance_of_rates(const Problem& problem, const FastArrays& a, FastWork& work, const CalculationVariables& cv)
{
    Balance balance;
    auto& rate = work.rate;
    for (std::size_t i = 0; i < a.N; ++i) rate[i] = a.R[i] - a.G[i];
    balance.net = integrated_current(problem.set3, cv.mesh, rate);
    for (std::size_t i = 0; i < a.N; ++i) rate[i] = std::fabs(a.R[i]) + a.G[i];
    balance.gross = integrated_current(problem.set3, cv.mesh, rate);
    const double states = interface_recombination(problem, cv);
    balance.net += states;
    balance.gross += std::fabs(states);
    return balance;
}

/// What one carrier exchanges with a contact in equilibrium, with the rounding of its level [mA/cm2].
double exchange(const CalculationParameters& set3, int layer, double velocity, double density, double level)
{
    return 0.1 * set3.scale.current(layer) * velocity * density * (1.0 + std::fabs(level));
}

}  // namespace

bool fast_current(const Problem& problem, const FastArrays& a, FastWork& work, CalculationVariables& cv)
{
    const CalculationParameters& set3 = problem.set3;
    const ContactCurrents contacts = contact_currents(problem, cv);
    const Balance rates = balance_of_rates(problem, a, work, cv);
    const std::size_t z = a.N - 1;
    const int last = set3.layers - 1;
    const double from_left =
        exchange(set3, 0, set3.Sn_left, a.n[0], a.Fn[0]) + exchange(set3, last, set3.Sp_right, a.p[z], a.Fp[z]);
    const double from_right =
        exchange(set3, last, set3.Sn_right, a.n[z], a.Fn[z]) + exchange(set3, 0, set3.Sp_left, a.p[0], a.Fp[0]);
    Estimate estimates[] = {
        quietest_interval(set3, a),
        {contacts.j_n_left + rates.net + contacts.j_p_right, 2.0 * eps * (from_left + rates.gross)},
        {contacts.j_n_right - rates.net + contacts.j_p_left, 2.0 * eps * (from_right + rates.gross)}};
    for (Estimate& e : estimates)
        if (!std::isfinite(e.J)) e.noise = std::numeric_limits<double>::infinity();
    const Estimate *best = &estimates[0], *second = &estimates[1];
    if (second->noise < best->noise) std::swap(best, second);
    if (const Estimate* third = &estimates[2]; third->noise < best->noise) {
        second = best;
        best = third;
    } else if (third->noise < second->noise) {
        second = third;
    }
    cv.J_median = best->J;
    cv.J_error = std::max(std::fabs(best->J - second->J), best->noise);
    cv.J_noise = best->noise;
    constexpr double settled_to = 1e-6;
    return cv.J_error <= std::max(settled_to * std::fabs(best->J), best->noise + second->noise);
}

}  // namespace kovin
