#include "solver/tunnel_states.h"

#include "device/tunnel_places.h"
#include "solver/tunnel_walk.h"

#include <algorithm>
#include <span>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// The energies of one defect at one interface.
struct OneDefect {
    std::size_t first, count;  ///< in the list of all energies
    std::size_t l;             ///< last point of the left layer
    const InterfaceRecombinationParameters& record;
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
            const double density = walk.per_energy(k, 0.5 * (upper + lower));
            slices.push_back({k, upper, lower, (upper - lower) * density});
            if (walk.count(upper, lower, density)) return;
        }
        walk.last = begin - range;
    }
}

/// One carrier and one side: the slices are those of the state that lies deepest, the others end within them.
/// @param level  of a state, counted as the barrier is [kT]
template <class Level>
void interfaceTrapTunneling(const TunnelView& v, const OneDefect& defect, Carrier carrier, bool right,
                            const Level& level, TunnelWork& work, TunnelStates& states)
{
    const std::size_t b = right ? defect.l + 1 : defect.l;
    double deepest = v.E[b];
    for (std::size_t e = defect.first; e < defect.first + defect.count; ++e) deepest = std::min(deepest, level(e));
    const auto begin = v.E.begin(), end = v.E.end(), side = begin + static_cast<std::ptrdiff_t>(b);
    const double lowest = right ? *std::min_element(side, end) : *std::min_element(begin, side + 1);
    const bool electrons = carrier == Carrier::electrons;
    TunnelWalk walk{.view = v,
                    .s = b,
                    .d = right ? 1 : -1,
                    .top = v.E[b],
                    .floor = std::max(deepest, lowest),
                    .mass = electrons ? defect.record.m_e : defect.record.m_h};
    walk.sum = 1.0;  // what arrives without tunnelling
    walk_down(walk, work.slices);
    std::vector<StatePath>& found = (electrons ? work.n : work.p).into_states;
    for (std::size_t e = defect.first; e < defect.first + defect.count; ++e) {
        const double bottom = level(e);
        const std::size_t first_path = found.size();
        double gamma = 0.0;
        for (const FlankSlice& s : work.slices) {
            if (s.upper <= bottom) break;
            double w = s.weight;
            if (s.lower < bottom) w = (s.upper - bottom) * walk.per_energy(s.k, 0.5 * (s.upper + bottom));
            if (!(w > 0.0)) continue;
            gamma += w;
            // As all slices do these end half at either point, at the foot alone over a step of the band.
            for (const std::size_t point : {walk.is_step(s.k) ? s.k : walk.before(s.k), s.k}) {
                if (point == b) continue;  // the states take it there all the same
                if (found.size() > first_path && found.back().source == point)
                    found.back().strength += 0.5 * w;
                else
                    found.push_back({e, right, point, b, 0.5 * w, 0.0, 0.0});
            }
        }
        for (std::size_t k = first_path; k < found.size(); ++k) {
            StatePath& path = found[k];
            path.strength *= v.N0(b) / (1.0 + gamma);
            path.loss = path.strength * v.row(path.source);
            path.gain = path.strength * v.row(b);
        }
        TunnelStates::Gain& gain = states.gains[e];
        InterfaceEnergy& energy = states.energies[e];
        (electrons ? right ? gain.nR : gain.nL : right ? gain.pR : gain.pL) = gamma;
        (electrons ? right ? energy.cnR : energy.cnL : right ? energy.cpR : energy.cpL) *= 1.0 + gamma;
    }
}

}  // namespace

void find_paths_into_states(const Problem& problem, CalculationVariables& cv, TunnelWork& work)
{
    const CalculationParameters& set3 = problem.set3;
    if (!set3.tunnel.interface_states) return;
    tunnel_barriers(set3, cv, work);
    for (TunnelPaths* carrier : {&work.n, &work.p}) carrier->into_states.clear();
    TunnelStates& states = cv.tunnel_states;
    const std::vector<InterfaceEnergy>& energies = problem.interface_states.energies;
    states.energies = energies;
    states.gains.assign(energies.size(), {});
    states.terms.resize(energies.size());
    const TunnelView n = tunnel_view(problem, cv, Carrier::electrons, work);
    const TunnelView p = tunnel_view(problem, cv, Carrier::holes, work);
    for (std::size_t first = 0, next = 0; first < energies.size(); first = next) {
        const std::size_t j = energies[first].interface;
        const int number = energies[first].defect;
        while (next < energies.size() && energies[next].interface == j && energies[next].defect == number) ++next;
        const OneDefect defect{first, next - first, at(cv.mesh.last[j]), set3.interface_defects[j][at(number)]};
        if (!tunnels_into(defect.record, set3.convergence)) continue;
        const double EV = -work.Ev[defect.l];
        const auto level_n = [&](std::size_t e) { return EV + energies[e].above_EV_left / set3.kT; };
        const auto level_p = [&](std::size_t e) { return -level_n(e); };
        for (const bool right : {true, false}) {
            interfaceTrapTunneling(n, defect, Carrier::electrons, right, level_n, work, states);
            interfaceTrapTunneling(p, defect, Carrier::holes, right, level_p, work, states);
        }
    }
}

StateCurrent current_into_state(const InterfaceTerms& t, Carrier carrier, bool right)
{
    if (carrier == Carrier::electrons)
        return right ? StateCurrent{t.In_right, t.dIn_right_du_left, t.dIn_right_du_right}
                     : StateCurrent{t.In_left, t.dIn_left_du_left, t.dIn_left_du_right};
    return right ? StateCurrent{t.Ip_right, t.dIp_right_dv_left, t.dIp_right_dv_right}
                 : StateCurrent{t.Ip_left, t.dIp_left_dv_left, t.dIp_left_dv_right};
}

}  // namespace kovin
