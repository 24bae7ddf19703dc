#include "solver/tunnel_states.h"

#include "device/tunnel_places.h"
#include "solver/interface_terms.h"
#include "solver/tunnel_walk.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Energies of defects with one mass, one after the other, at one interface.
struct EnergiesOfOneMass {
    std::size_t first, end;  ///< in the list of all energies
    std::size_t l;           ///< last point of the left layer
};

/// Levels of one carrier, as logarithms of u or v.
struct Levels {
    const std::vector<double>& F;
    double sign;
    double operator()(std::size_t i) const { return sign * F[i]; }
};

/// A slice whose carriers end between k and the point before it, over a step of the band at its foot k alone. Capture
/// counts the carriers of a state that holds one at most, a/(1 + a), emission the room that is left, 1/(1 + a), with a
/// = X exp(-E) at the point: both by 1/(1 + a) less than in Boltzmann's statistics.
FlankSlice slice_of(const TunnelWalk& walk, const Levels& level, std::size_t k, double upper, double lower)
{
    const TunnelWalk::Energies e = walk.energies_of(k, upper, lower);
    const std::size_t near = walk.is_step(k) ? k : walk.before(k);
    const auto weight = [&](std::size_t point) {
        return 0.25 * (upper - lower) *
               (e.density[0] * fermi(level(point) - e.level[0]) + e.density[1] * fermi(level(point) - e.level[1]));
    };
    return {near, k, upper, lower, weight(near), weight(k)};
}

/// The slices from the interface down to the energy `floor`.
void walk_down(TunnelWalk& walk, const Levels& level, std::vector<FlankSlice>& slices)
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
            slices.push_back(slice_of(walk, level, k, upper, lower));
            walk.last = lower;
            if (walk.count(upper, lower, (slices.back().weight_near + slices.back().weight_far) / (upper - lower)))
                return;
        }
    }
}

/// One carrier and one side: the slices are those of the state that lies deepest, the others end within them.
/// @param level  of a state, counted as the barrier is [kT]
template <class Level>
void interfaceTrapTunneling(const TunnelView& v, const Levels& carriers, const EnergiesOfOneMass& all, bool right,
                            double m, const Level& level, double InterfaceEnergy::*c, TunnelWork& work,
                            TunnelStates& states, TunnelStates::Carriers& found)
{
    const std::size_t b = right ? all.l + 1 : all.l;
    double deepest = v.E[b];
    for (std::size_t e = all.first; e < all.end; ++e) deepest = std::min(deepest, level(e));
    const auto side = v.E.begin() + static_cast<std::ptrdiff_t>(b);
    const double lowest = right ? *std::min_element(side, v.E.end()) : *std::min_element(v.E.begin(), side + 1);
    TunnelWalk walk{.view = v,
                    .s = b,
                    .d = right ? 1 : -1,
                    .top = v.E[b],
                    .floor = std::max(deepest, lowest),
                    .mass = m,
                    .sum = 1.0};  // what arrives without tunnelling
    walk_down(walk, carriers, work.slices);
    for (std::size_t e = all.first; e < all.end; ++e) {
        const double bottom = std::max(level(e), walk.last);
        if (e > all.first && found.group_of[e - 1][right] >= 0 &&
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
                                  .largest = found.paths.size(),
                                  .gain = 0.0,
                                  .row_beyond = 0.0,
                                  .N0 = v.N0(b),
                                  .mean = {}};
        group.row_beyond = v.N0(group.beyond) * v.row(group.beyond);
        const auto add_path = [&](std::size_t point, double share) {
            if (found.paths.size() > group.first_path && found.paths.back().point == point)
                found.paths.back().share += share;
            else
                found.paths.push_back({point, share, group.N0 * v.row(point)});
        };
        add_path(b, 1.0);
        for (const FlankSlice& whole : work.slices) {
            if (whole.upper <= bottom) break;
            const FlankSlice s = whole.lower < bottom ? slice_of(walk, carriers, whole.k, whole.upper, bottom) : whole;
            if (!(s.weight_near + s.weight_far > 0.0)) continue;
            group.gain += s.weight_near + s.weight_far;
            add_path(s.near, s.weight_near);
            add_path(s.k, s.weight_far);
        }
        group.end_path = found.paths.size();
        if (!(group.gain > 0.0)) {
            found.paths.resize(group.first_path);
            continue;
        }
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            found.paths[k].share /= 1.0 + group.gain;
            if (found.paths[k].share > found.paths[group.largest].share) group.largest = k;
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

/// That into one energy, or into all of an interface, with derivatives to the means.
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

/// The means of u and v into the groups and the states.
void find_means(CalculationVariables& cv, Carrier carrier, TunnelStates::Mean TunnelStates::Sides::*left,
                TunnelStates::Mean TunnelStates::Sides::*right)
{
    TunnelStates& states = cv.tunnel_states;
    TunnelStates::Carriers& found = carrier == Carrier::electrons ? states.n : states.p;
    const std::vector<double>& F = levels_of(cv, carrier);
    const double sign = sign_of(carrier);
    for (TunnelStates::Group& group : found.groups) {
        const auto above_b = [&](const TunnelStates::Path& path) { return sign * (F[path.point] - F[group.b]); };
        group.mean = {};
        for (std::size_t k = group.first_path; k < group.end_path; ++k)
            group.mean.excess += found.paths[k].share * bounded_expm1(above_b(found.paths[k]));
        if (group.mean.is_low()) {
            group.mean.ratio = 0.0;
            for (std::size_t k = group.first_path; k < group.end_path; ++k)
                group.mean.ratio += found.paths[k].share * std::exp(std::min(above_b(found.paths[k]), exponent_limit));
        }
        for (std::size_t e = group.first_energy; e < group.end_energy; ++e)
            states.means[e].*(group.right ? right : left) = group.mean;
    }
}

/// The carriers as a state meets them, with the means in the part of u and v.
InterfaceCarriers carriers_of_state(const InterfaceCarriers& beside, const TunnelStates::Sides& mean,
                                    const CalculationVariables& cv, std::size_t l)
{
    const std::size_t f = l + 1;
    InterfaceCarriers c = beside;
    c.nL *= mean.nL.over_b();
    c.nR *= mean.nR.over_b();
    c.pL *= mean.pL.over_b();
    c.pR *= mean.pR.over_b();
    const auto step = [&](double beside_it, double X_left, const TunnelStates::Mean& at_left, double X_right,
                          const TunnelStates::Mean& at_right) {
        return at_left.is_low() || at_right.is_low()
                   ? X_right * at_right.over_b() - X_left * at_left.over_b()
                   : beside_it + (X_right * at_right.excess - X_left * at_left.excess);
    };
    c.du = step(c.du, cv.expFn[l], mean.nL, cv.expFn[f], mean.nR);
    c.dv = step(c.dv, cv.expmFp[l], mean.pL, cv.expmFp[f], mean.pR);
    const double nL = cv.Fn[l] + mean.nL.log_over_b(), nR = cv.Fn[f] + mean.nR.log_over_b();
    const double pL = cv.Fp[l] - mean.pL.log_over_b(), pR = cv.Fp[f] - mean.pR.log_over_b();
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
    states.means.assign(energies.size(), {});
    states.terms.resize(energies.size());
    states.supplies.resize(energies.size());
    for (TunnelStates::Carriers* carrier : {&states.n, &states.p}) {
        carrier->groups.clear();
        carrier->paths.clear();
        carrier->group_of.assign(energies.size(), {-1, -1});
    }
    const TunnelView n = tunnel_view(problem, cv, Carrier::electrons, work);
    const TunnelView p = tunnel_view(problem, cv, Carrier::holes, work);
    const Levels Fn{cv.Fn, 1.0}, Fp{cv.Fp, -1.0};
    const auto record_of = [&](std::size_t e) -> const InterfaceRecombinationParameters& {
        return set3.interface_defects[energies[e].interface][at(energies[e].defect)];
    };
    for (std::size_t first = 0, next = 0; first < energies.size(); first = next) {
        const InterfaceRecombinationParameters& record = record_of(first);
        const bool open = tunnels_into(record, set3.convergence);
        const auto goes_along = [&](std::size_t e) {
            const InterfaceRecombinationParameters& other = record_of(e);
            return energies[e].interface == energies[first].interface &&
                   tunnels_into(other, set3.convergence) == open && other.m_e == record.m_e && other.m_h == record.m_h;
        };
        next = first + 1;
        while (next < energies.size() && goes_along(next)) ++next;
        if (!open) continue;
        const EnergiesOfOneMass all{first, next, at(cv.mesh.last[energies[first].interface])};
        const double EV = -work.Ev[all.l];
        const auto level_n = [&](std::size_t e) { return EV + energies[e].above_EV_left / set3.kT; };
        const auto level_p = [&](std::size_t e) { return -level_n(e); };
        using E = InterfaceEnergy;
        interfaceTrapTunneling(n, Fn, all, true, record.m_e, level_n, &E::cnR, work, states, states.n);
        interfaceTrapTunneling(n, Fn, all, false, record.m_e, level_n, &E::cnL, work, states, states.n);
        interfaceTrapTunneling(p, Fp, all, true, record.m_h, level_p, &E::cpR, work, states, states.p);
        interfaceTrapTunneling(p, Fp, all, false, record.m_h, level_p, &E::cpL, work, states, states.p);
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
            const InterfaceCarriers c = carriers_of_state(beside, states.means[k], cv, at(cv.mesh.last[j]));
            ifrdcbijdrage_een_niveau(level, c, cv.terms_interface[j]);
            states.terms[k] = {};
            ifrdcbijdrage_een_niveau(level, c, states.terms[k]);
            states.supplies[k] = supplies(level, c);
        }
    }
}

StateCurrent current_beside_interface(const CalculationVariables& cv, Carrier carrier, std::size_t interface,
                                      bool right)
{
    const TunnelStates& states = cv.tunnel_states;
    if (states.energies.empty()) return current_into_state(cv.terms_interface[interface], carrier, right);
    const TunnelStates::Carriers& found = paths_of(cv, carrier);
    StateCurrent sum;
    for (std::size_t e = 0; e < states.energies.size(); ++e) {
        if (states.energies[e].interface != interface || found.group_of[e][right] >= 0) continue;
        const StateCurrent c = current_into_state(states.terms[e], carrier, right);
        // To a mean on the other side its group has the derivative.
        const bool other_beside = found.group_of[e][!right] < 0;
        sum.I += c.I;
        if (!right || other_beside) sum.dI_dleft += c.dI_dleft;
        if (right || other_beside) sum.dI_dright += c.dI_dright;
    }
    return sum;
}

double GroupCurrent::beyond_mean(double F) const
{
    const double above_b = sign * (F - F_b);
    return X_b * (mean.is_low() ? std::exp(std::min(above_b, exponent_limit)) - mean.ratio
                                : bounded_expm1(above_b) - mean.excess);
}

GroupCurrent current_of_group(const CalculationVariables& cv, Carrier carrier, const TunnelStates::Group& group)
{
    const std::vector<double>& X = carrier == Carrier::electrons ? cv.expFn : cv.expmFp;
    GroupCurrent c{
        .X_b = X[group.b], .sign = sign_of(carrier), .F_b = levels_of(cv, carrier)[group.b], .mean = group.mean};
    for (std::size_t e = group.first_energy; e < group.end_energy; ++e) {
        c.I += current_into_state(cv.tunnel_states.terms[e], carrier, group.right).I;
        c.K += supply_of(cv.tunnel_states, e, carrier, group.right).K;
    }
    return c;
}

void add_states_residue(const CalculationVariables& cv, Carrier carrier, std::span<double> res)
{
    for (const TunnelStates::Group& group : paths_of(cv, carrier).groups)
        share_out(cv, carrier, group,
                  [&](const TunnelStates::Path& path, double flux) { res[path.point] -= path.row * flux; });
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
        double dI = 0.0, dI_beyond = 0.0, dK = 0.0;
        for (std::size_t e = group.first_energy; e < group.end_energy; ++e) {
            dI += own(current_into_state(states.terms[e], carrier, group.right));
            if (found.group_of[e][!group.right] < 0)
                dI_beyond += own(current_into_state(states.terms[e], carrier, !group.right));
            dK += dK_own(supply_of(states, e, carrier, group.right));
        }
        // The unknown is the mean less the value at b, or a low mean itself, which would be lost in that.
        const auto add_by_mean = [&](std::size_t row, std::size_t number, double value) {
            outside.push_back({row, N + number, value});
            const TunnelStates::Group& of = found.groups[number];
            if (of.mean.is_low()) return;
            if (row == of.b)
                jac.main[row] += value;
            else
                outside.push_back({row, of.b, value});
        };
        add_by_mean(group.beyond, m, group.row_beyond * dI_beyond);
        outside.push_back({mean, mean, -1.0});
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            const TunnelStates::Path& path = found.paths[k];
            const std::size_t row = path.point;
            const double gain = path.share * path.row, beyond_mean = c.beyond_mean(F[row]);
            const double by_mean = dI + dK * beyond_mean;
            if (row == b && !group.mean.is_low()) {
                outside.push_back({row, mean, gain * (by_mean - c.K)});
                jac.main[row] += gain * by_mean;
                outside.push_back({mean, row, path.share - 1.0});
            } else {
                add_by_mean(row, m, gain * (by_mean - c.K));
                jac.main[row] += gain * c.K;
                outside.push_back({mean, row, path.share});
            }
            for (std::size_t e = group.first_energy; e < group.end_energy;) {
                const int there = found.group_of[e][!group.right];
                double value = 0.0;
                for (; e < group.end_energy && found.group_of[e][!group.right] == there; ++e)
                    value += other(current_into_state(states.terms[e], carrier, group.right)) +
                             dK_other(supply_of(states, e, carrier, group.right)) * beyond_mean;
                if (there >= 0)
                    add_by_mean(row, at(there), gain * value);
                else
                    outside.push_back({row, group.beyond, gain * value});
            }
        }
    }
}

void add_states_row_sums(const CalculationVariables& cv, Carrier carrier, std::span<double> sums)
{
    const TunnelStates& states = cv.tunnel_states;
    const TunnelStates::Carriers& found = paths_of(cv, carrier);
    for (const TunnelStates::Group& group : found.groups) {
        const GroupCurrent c = current_of_group(cv, carrier, group);
        double dI = 0.0, dK = 0.0;
        for (std::size_t e = group.first_energy; e < group.end_energy; ++e) {
            const StateCurrent current = current_into_state(states.terms[e], carrier, group.right);
            if (found.group_of[e][!group.right] < 0) {
                const StateCurrent beyond = current_into_state(states.terms[e], carrier, !group.right);
                sums[group.beyond] += group.row_beyond * (group.right ? beyond.dI_dright : beyond.dI_dleft);
            }
            const TunnelStates::Supply& supply = supply_of(states, e, carrier, group.right);
            dI += current.dI_dleft + current.dI_dright;
            dK += supply.dK_dleft + supply.dK_dright;
        }
        for (std::size_t k = group.first_path; k < group.end_path; ++k) {
            const TunnelStates::Path& path = found.paths[k];
            sums[path.point] += path.share * path.row * (dI + dK * c.beyond_mean(levels_of(cv, carrier)[path.point]));
        }
    }
}

}  // namespace kovin
