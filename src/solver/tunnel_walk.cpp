#include "solver/tunnel_walk.h"

#include "solver/tunnel_wkb.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

/// A flank whose remaining slices would add less than this to the sum of those before is done.
constexpr double negligible_tail = 1e-6;
/// Boltzmann's supply below this counts as it is, above the other one it is no number any more.
constexpr double hardly_filled = 1e-6, beyond_numbers = 1e300;

}  // namespace

void tunnel_barriers(const CalculationParameters& set3, const CalculationVariables& cv, TunnelWork& work)
{
    for (std::size_t i = 0; i < cv.psi.size(); ++i) {
        const double Ec = (set3.phi_left - set3.on.chi[i]) / set3.kT - cv.psi[i];
        work.Ec[i] = Ec;
        work.Ev[i] = set3.on.Eg[i] / set3.kT - Ec;
    }
}

double supply_limit(double a, double b)
{
    const double more = std::min(std::max(a, b), beyond_numbers), less = std::min(std::min(a, b), beyond_numbers);
    if (more < hardly_filled) return 1.0;
    const double x = (more - less) / (1.0 + less);  // never below 0: ln(1 + x) does not cancel
    return x > 0.0 ? std::log1p(x) / (more - less) : 1.0 / (1.0 + less);
}

double TunnelView::exponent(double m, std::size_t from, std::size_t to, double level) const
{
    return unit * std::sqrt(std::max(m, 0.0)) * wkb_integral(E.data(), mesh.h.data(), from, to, level);
}

double TunnelView::chosen_mass(double m1, double m2) const
{
    return ChooseTunnelMass(m1, m2, problem.set3.convergence.TunnelMassChoice);
}

void TunnelView::add(int from, std::size_t target, double strength) const
{
    if (!(strength > 0.0)) return;
    const double loss = from >= 0 ? strength * row(static_cast<std::size_t>(from)) : 0.0, gain = strength * row(target);
    const int to = static_cast<int>(target);
    if (!paths.empty() && paths.back().source == from && paths.back().target == to) {
        TunnelPath& same = paths.back();
        same.strength += strength;
        same.loss += loss;
        same.gain += gain;
    } else {
        paths.push_back({from, to, strength, loss, gain});
    }
}

TunnelView tunnel_view(const Problem& problem, const CalculationVariables& cv, Carrier carrier, TunnelWork& work)
{
    const CalculationParameters& set3 = problem.set3;
    const OnMesh& on = set3.on;
    const Discretisation& g = problem.grid;
    const double unit = wkb_unit(set3.kT, set3.scale.x0);
    if (carrier == Carrier::electrons)
        return {problem,      cv.mesh,       set3.tunnel, work.layer,        work.Ec,
                cv.bn,        on.m_e,        on.vth_n,    cv.expFn,          std::exp(cv.V_kT),
                g.n_source,   on.Wn,         g.n_C,       &TunnelPlace::m_e, &Discretisation::Interface::vn,
                set3.Sn_left, set3.Sn_right, unit,        work.n.paths};
    return {problem,      cv.mesh,       set3.tunnel, work.layer,        work.Ev,
            cv.bp,        on.m_h,        on.vth_p,    cv.expmFp,         std::exp(-cv.V_kT),
            g.p_source,   on.Wp,         g.p_C,       &TunnelPlace::m_h, &Discretisation::Interface::vp,
            set3.Sp_left, set3.Sp_right, unit,        work.p.paths};
}

double TunnelWalk::per_energy(std::size_t k, double level) const
{
    const double T = view.exponent(view.chosen_mass(mass, view.mass[k]), std::min(s, k), std::max(s, k), level);
    return std::exp(std::min(top - level - T, 700.0));
}

TunnelWalk::Energies TunnelWalk::energies_of(std::size_t k, double upper, double lower) const
{
    const double middle = 0.5 * (upper + lower), off = gauss_two * (upper - lower);
    const double high = middle + off, low = middle - off;
    return {{high, low}, {per_energy(k, high), per_energy(k, low)}};
}

bool TunnelWalk::count(double upper, double lower, double per_energy)
{
    sum += (upper - lower) * per_energy;
    return negligible_tail * sum >= (lower - floor) * per_energy;
}

bool TunnelWalk::slice(int source, double coefficient, std::size_t k, double upper, double lower)
{
    upper = std::min(upper, highest - least);  // a slice that begins too near the top is cut, so that J has no step
    if (!(upper > lower)) return false;
    const Energies e = energies_of(k, upper, lower);
    const double half = 0.5 * coefficient * (upper - lower);
    const double boltzmann[] = {std::exp(-e.level[0]), std::exp(-e.level[1])};
    // Between the energies of a step of the band there are states on its lower side alone.
    for (const std::size_t target : {is_step(k) ? k : before(k), k})
        view.add(source, target,
                 half * 0.5 *
                     (e.density[0] * view.limit(source, target, boltzmann[0]) +
                      e.density[1] * view.limit(source, target, boltzmann[1])));
    return count(upper, lower, e.mean());
}

int slices_of(double range, bool step) { return step ? std::max(1, static_cast<int>(std::min(range, 1e4))) : 1; }

}  // namespace kovin
