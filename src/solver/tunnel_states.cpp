#include "solver/tunnel_states.h"

#include "device/tunnel_places.h"
#include "solver/interface_terms.h"
#include "solver/tunnel_walk.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// The energies of one defect at one interface.
struct OneDefect {
    std::size_t first, count;  ///< in the list of all energies
    std::size_t l;             ///< last point of the left layer
};

/// The slices from the interface down to the energy `floor`.
void walk_down(TunnelWalk& walk, std::vector<FlankSlice>& slices)
{
    const std::vector<double>& E = walk.view.E;
    slices.clear();
    for (std::size_t k = walk.s; walk.last > walk.floor;) {
        if (walk.d > 0 ? k + 1 >= E.size() : k == 0) return;
        k = walk.d > 0 ? k + 1 : k - 1;
        if (!(E[k] < walk.last)) continue;
        const double begin = walk.last, range = begin - std::max(E[k], walk.floor);
        const int count = slices_of(range, walk.is_step(k));
        for (int n = 0; n < count; ++n) {
            const double upper = begin - range * n / count, lower = begin - range * (n + 1) / count;
            const double density = walk.energies_of(k, upper, lower).mean();
            slices.push_back({k, upper, lower, (upper - lower) * density});
            walk.last = lower;
            if (walk.count(upper, lower, density)) return;
        }
    }
}

/// One carrier and one side: the slices are those of the state that lies deepest, the others end within them.
/// @param level  of a state, counted as the barrier is [kT]
template <class Level>
void interfaceTrapTunneling(const TunnelView& v, const OneDefect& defect, bool right, double m, const Level& level,
                            double InterfaceEnergy::*c, TunnelWork& work, TunnelStates& states,
                            TunnelStates::Carriers& found)
{
    const std::size_t b = right ? defect.l + 1 : defect.l, end = defect.first + defect.count;
    double deepest = v.E[b];
    for (std::size_t e = defect.first; e < end; ++e) deepest = std::min(deepest, level(e));
    const auto side = v.E.begin() + static_cast<std::ptrdiff_t>(b);
    const double lowest = right ? *std::min_element(side, v.E.end()) : *std::min_element(v.E.begin(), side + 1);
    TunnelWalk walk{.view = v,
                    .s = b,
                    .d = right ? 1 : -1,
                    .top = v.E[b],
                    .floor = std::max(deepest, lowest),
                    .mass = m,
                    .sum = 1.0};  // what arrives without tunnelling
    walk_down(walk, work.slices);
    for (std::size_t e = defect.first; e < end; ++e) {
        const double bottom = std::max(level(e), walk.last);
        if (e > defect.first && found.group_of[e - 1][right] >= 0 &&
            bottom == std::max(level(e - 1), walk.last)) {  // by the same paths as the energy before
            TunnelStates::Group& same = found.groups.back();
            same.end_energy = e + 1;
            found.group_of[e][right] = found.group_of[e - 1][right];
            states.energies[e].*c *= 1.0 + same.gain;
            continue;
        }
        TunnelStates::Group group{.right = right,
                                  .b = b,
                                  .beyond = right ? b - 1 : b + 1,
                                  .first_energy = e,
                                  .end_energy = e + 1,
                                  .first_path = found.paths.size(),
                                  .end_path = 0,
                                  .gain = 0.0,
                                  .share_b = 1.0,
                                  .row_b = v.N0(b) * v.row(b),
                                  .row_beyond = 0.0,
                                  .N0 = v.N0(b)};
        group.row_beyond = v.N0(group.beyond) * v.row(group.beyond);
        for (const FlankSlice& s : work.slices) {
            if (s.upper <= bottom) break;
            double w = s.weight;
            if (s.lower < bottom) w = (s.upper - bottom) * walk.energies_of(s.k, s.upper, bottom).mean();
            if (!(w > 0.0)) continue;
            group.gain += w;
            // As all slices do these end half at either point, at the foot alone over a step of the band.
            for (const std::size_t point : {walk.is_step(s.k) ? s.k : walk.before(s.k), s.k}) {
                if (point == b)
                    group.share_b += 0.5 * w;
                else if (found.paths.size() > group.first_path && found.paths.back().point == point)
                    found.paths.back().share += 0.5 * w;
                else
                    found.paths.push_back({point, 0.5 * w, 0.0});
            }
        }
        group.end_path = found.paths.size();
        if (group.end_path == group.first_path) continue;
        group.share_b /= 1.0 + group.gain;
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            TunnelStates::Path& path = found.paths[k];
            path.share /= 1.0 + group.gain;
            path.loss = path.share * group.N0 * v.row(path.point);
        }
        found.group_of[e][right] = static_cast<int>(found.groups.size());
        found.groups.push_back(group);
        states.energies[e].*c *= 1.0 + group.gain;
    }
}

const std::vector<double>& levels_of(const CalculationVariables& cv, Carrier carrier)
{
    return carrier == Carrier::electrons ? cv.Fn : cv.Fp;
}

double sign_of(Carrier carrier) { return carrier == Carrier::electrons ? 1.0 : -1.0; }

const TunnelStates::Carriers& paths_of(const CalculationVariables& cv, Carrier carrier)
{
    return carrier == Carrier::electrons ? cv.tunnel_states.n : cv.tunnel_states.p;
}

/// The current into one energy from one side, with its derivatives to the means of both sides.
struct StateCurrent {
    double I, dI_dleft, dI_dright;
};
StateCurrent current_into_state(const InterfaceTerms& t, Carrier carrier, bool right)
{
    if (carrier == Carrier::electrons)
        return right ? StateCurrent{t.In_right, t.dIn_right_du_left, t.dIn_right_du_right}
                     : StateCurrent{t.In_left, t.dIn_left_du_left, t.dIn_left_du_right};
    return right ? StateCurrent{t.Ip_right, t.dIp_right_dv_left, t.dIp_right_dv_right}
                 : StateCurrent{t.Ip_left, t.dIp_left_dv_left, t.dIp_left_dv_right};
}

const TunnelStates::Supply& supply_of(const TunnelStates& states, std::size_t e, Carrier carrier, bool right)
{
    return states.supplies[e][(carrier == Carrier::electrons ? 0u : 2u) + (right ? 1u : 0u)];
}

/// The means of u and v into the states' excess.
void find_means(CalculationVariables& cv, Carrier carrier, double TunnelStates::Sides::*left,
                double TunnelStates::Sides::*right)
{
    TunnelStates& states = cv.tunnel_states;
    TunnelStates::Carriers& found = carrier == Carrier::electrons ? states.n : states.p;
    const std::vector<double>& F = levels_of(cv, carrier);
    const double sign = sign_of(carrier);
    for (TunnelStates::Group& group : found.groups) {
        group.excess = 0.0;
        for (std::size_t k = group.first_path; k < group.end_path; ++k)
            group.excess += found.paths[k].share * bounded_expm1(sign * (F[found.paths[k].point] - F[group.b]));
        for (std::size_t e = group.first_energy; e < group.end_energy; ++e)
            states.excess[e].*(group.right ? right : left) = group.excess;
    }
}

/// The carriers as a state meets them, with the means in the part of u and v.
InterfaceCarriers carriers_of_state(const InterfaceCarriers& beside, const TunnelStates::Sides& excess,
                                    const CalculationVariables& cv, std::size_t l)
{
    const std::size_t f = l + 1;
    InterfaceCarriers c = beside;
    c.nL *= 1.0 + excess.nL;
    c.nR *= 1.0 + excess.nR;
    c.pL *= 1.0 + excess.pL;
    c.pR *= 1.0 + excess.pR;
    c.du += cv.expFn[f] * excess.nR - cv.expFn[l] * excess.nL;
    c.dv += cv.expmFp[f] * excess.pR - cv.expmFp[l] * excess.pL;
    const double nL = cv.Fn[l] + std::log1p(excess.nL), nR = cv.Fn[f] + std::log1p(excess.nR);
    const double pL = cv.Fp[l] - std::log1p(excess.pL), pR = cv.Fp[f] - std::log1p(excess.pR);
    c.P_LL = bounded_expm1(nL - pL);
    c.P_RR = bounded_expm1(nR - pR);
    c.P_LR = bounded_expm1(nL - pR);
    c.P_RL = bounded_expm1(nR - pL);
    return c;
}

std::array<TunnelStates::Supply, 4> supplies(const InterfaceEnergy& level, const InterfaceCarriers& c)
{
    const StateFilling s = filling_of(level, c);
    const double nL = level.Nt * c.flux_per_left * level.cnL * c.bnL,
                 pL = level.Nt * c.flux_per_left * level.cpL * c.bpL;
    const double nR = level.Nt * c.flux_per_right * level.cnR * c.bnR;
    const double pR = level.Nt * c.flux_per_right * level.cpR * c.bpR;
    return {{{nL * s.g, -nL * s.df_duL, -nL * s.df_duR},
             {nR * s.g, -nR * s.df_duL, -nR * s.df_duR},
             {pL * s.f, pL * s.df_dvL, pL * s.df_dvR},
             {pR * s.f, pR * s.df_dvL, pR * s.df_dvR}}};
}

}  // namespace

void find_paths_into_states(const Problem& problem, CalculationVariables& cv, TunnelWork& work)
{
    const CalculationParameters& set3 = problem.set3;
    if (!set3.tunnel.interface_states) return;
    tunnel_barriers(set3, cv, work);
    TunnelStates& states = cv.tunnel_states;
    const std::vector<InterfaceEnergy>& energies = problem.interface_states.energies;
    states.energies = energies;
    states.excess.assign(energies.size(), {});
    states.terms.resize(energies.size());
    states.supplies.resize(energies.size());
    for (TunnelStates::Carriers* carrier : {&states.n, &states.p}) {
        carrier->groups.clear();
        carrier->paths.clear();
        carrier->group_of.assign(energies.size(), {-1, -1});
    }
    const TunnelView n = tunnel_view(problem, cv, Carrier::electrons, work);
    const TunnelView p = tunnel_view(problem, cv, Carrier::holes, work);
    for (std::size_t first = 0, next = 0; first < energies.size(); first = next) {
        const std::size_t j = energies[first].interface;
        const int number = energies[first].defect;
        while (next < energies.size() && energies[next].interface == j && energies[next].defect == number) ++next;
        const OneDefect defect{first, next - first, at(cv.mesh.last[j])};
        const InterfaceRecombinationParameters& record = set3.interface_defects[j][at(number)];
        if (!tunnels_into(record, set3.convergence)) continue;
        const double EV = -work.Ev[defect.l];
        const auto level_n = [&](std::size_t e) { return EV + energies[e].above_EV_left / set3.kT; };
        const auto level_p = [&](std::size_t e) { return -level_n(e); };
        using E = InterfaceEnergy;
        interfaceTrapTunneling(n, defect, true, record.m_e, level_n, &E::cnR, work, states, states.n);
        interfaceTrapTunneling(n, defect, false, record.m_e, level_n, &E::cnL, work, states, states.n);
        interfaceTrapTunneling(p, defect, true, record.m_h, level_p, &E::cpR, work, states, states.p);
        interfaceTrapTunneling(p, defect, false, record.m_h, level_p, &E::cpL, work, states, states.p);
    }
    for (const auto& [found, paths] : {std::pair(&states.n, &work.n), {&states.p, &work.p}}) {
        paths->means = found->groups.size();
        paths->sheets.clear();
        for (const TunnelStates::Group& group : found->groups)
            paths->sheets.insert(paths->sheets.end(), {group.b, group.beyond});
    }
}

void terms_with_tunnelling(const Problem& problem, CalculationVariables& cv)
{
    TunnelStates& states = cv.tunnel_states;
    find_means(cv, Carrier::electrons, &TunnelStates::Sides::nL, &TunnelStates::Sides::nR);
    find_means(cv, Carrier::holes, &TunnelStates::Sides::pL, &TunnelStates::Sides::pR);
    for (std::size_t k = 0; k < states.energies.size();) {
        const std::size_t j = states.energies[k].interface;
        const InterfaceCarriers beside = carriers_at_interface(problem, cv, j);
        for (; k < states.energies.size() && states.energies[k].interface == j; ++k) {
            const InterfaceEnergy& level = states.energies[k];
            const InterfaceCarriers c = carriers_of_state(beside, states.excess[k], cv, at(cv.mesh.last[j]));
            ifrdcbijdrage_een_niveau(level, c, cv.terms_interface[j]);
            states.terms[k] = {};
            ifrdcbijdrage_een_niveau(level, c, states.terms[k]);
            states.supplies[k] = supplies(level, c);
        }
    }
}

double GroupCurrent::beyond_mean(double F) const { return X_b * (bounded_expm1(sign * (F - F_b)) - excess); }

GroupCurrent current_of_group(const CalculationVariables& cv, Carrier carrier, const TunnelStates::Group& group)
{
    const std::vector<double>& X = carrier == Carrier::electrons ? cv.expFn : cv.expmFp;
    GroupCurrent c{
        .X_b = X[group.b], .sign = sign_of(carrier), .F_b = levels_of(cv, carrier)[group.b], .excess = group.excess};
    for (std::size_t e = group.first_energy; e < group.end_energy; ++e) {
        c.I += current_into_state(cv.tunnel_states.terms[e], carrier, group.right).I;
        c.K += supply_of(cv.tunnel_states, e, carrier, group.right).K;
    }
    return c;
}

void add_states_residue(const CalculationVariables& cv, Carrier carrier, std::span<double> res)
{
    const TunnelStates::Carriers& found = paths_of(cv, carrier);
    const std::vector<double>& F = levels_of(cv, carrier);
    for (const TunnelStates::Group& group : found.groups) {
        const GroupCurrent c = current_of_group(cv, carrier, group);
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            const TunnelStates::Path& path = found.paths[k];
            const double flux = c.flux(F[path.point]);
            res[path.point] -= path.loss * flux;
            res[group.b] += path.share * group.row_b * flux;
        }
    }
}

void add_states_jacobian(const CalculationVariables& cv, Carrier carrier, const Tridiagonal& jac,
                         std::vector<TunnelElement>& outside)
{
    const TunnelStates& states = cv.tunnel_states;
    const TunnelStates::Carriers& found = paths_of(cv, carrier);
    const std::vector<double>& F = levels_of(cv, carrier);
    const std::size_t N = cv.psi.size();
    for (std::size_t m = 0; m < found.groups.size(); ++m) {
        const TunnelStates::Group& group = found.groups[m];
        const std::size_t b = group.b, mean = N + m;
        const auto own = [&](const auto& x) { return group.right ? x.dI_dright : x.dI_dleft; };
        const auto other = [&](const auto& x) { return group.right ? x.dI_dleft : x.dI_dright; };
        const auto dK_own = [&](const auto& x) { return group.right ? x.dK_dright : x.dK_dleft; };
        const auto dK_other = [&](const auto& x) { return group.right ? x.dK_dleft : x.dK_dright; };
        const GroupCurrent c = current_of_group(cv, carrier, group);
        // The unknown is the mean less the value at b, to which the rows of the interface have their derivatives.
        double dI = 0.0, dI_beyond = 0.0, dK = 0.0;
        for (std::size_t e = group.first_energy; e < group.end_energy; ++e) {
            dI += own(current_into_state(states.terms[e], carrier, group.right));
            dI_beyond += own(current_into_state(states.terms[e], carrier, !group.right));
            dK += dK_own(supply_of(states, e, carrier, group.right));
        }
        outside.push_back({b, mean, group.row_b * dI});
        outside.push_back({group.beyond, mean, group.row_beyond * dI_beyond});
        outside.push_back({mean, mean, -1.0});
        outside.push_back({mean, b, group.share_b - 1.0});
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            const TunnelStates::Path& path = found.paths[k];
            const double gain = path.share * group.row_b, beyond_mean = c.beyond_mean(F[path.point]);
            outside.push_back({mean, path.point, path.share});
            jac.main[path.point] += path.loss * c.K;
            outside.push_back({b, path.point, -gain * c.K});
            const double slope = dI - c.K + dK * beyond_mean;
            for (const std::size_t column : {mean, b}) outside.push_back({path.point, column, path.loss * slope});
            outside.push_back({b, mean, -gain * slope});
            jac.main[b] -= gain * slope;
            for (std::size_t e = group.first_energy; e < group.end_energy;) {
                const int there = found.group_of[e][!group.right];
                double value = 0.0;
                for (; e < group.end_energy && found.group_of[e][!group.right] == there; ++e)
                    value += other(current_into_state(states.terms[e], carrier, group.right)) +
                             dK_other(supply_of(states, e, carrier, group.right)) * beyond_mean;
                outside.push_back({path.point, group.beyond, path.loss * value});
                outside.push_back({b, group.beyond, -gain * value});
                if (there < 0) continue;
                outside.push_back({path.point, N + at(there), path.loss * value});
                outside.push_back({b, N + at(there), -gain * value});
            }
        }
    }
}

}  // namespace kovin
