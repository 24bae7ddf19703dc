#include "solver/tunnel_junctions.h"

#include "solver/bulk_terms.h"
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/newton_steps.h"
#include "solver/residuals.h"
#include "solver/tunnel_ends.h"
#include "solver/tunnel_paths.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Of the currents beside a junction [-], far above what decoupled passes leave with the usual terminations (1e-4).
constexpr double tolerated_difference = 1e-3;
/// Below this no difference counts [mA/cm2].
constexpr double smallest_difference = 1e-7;
/// Times the rounding that is seen.
constexpr double rounding_margin = 3.0;
/// With fewer points a stretch has no median to speak of.
constexpr std::size_t least_points = 4;

/// The upper median; reorders the values.
double median_of(std::vector<double>& values)
{
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), half, values.end());
    return *half;
}

/// What the last digits of the levels are in the current of the interval (k - 1, k) [mA/cm2]: less is lost.
double rounding_of_interval(const Problem& problem, const CalculationVariables& cv, std::size_t k)
{
    const Discretisation& g = problem.grid;
    const OnMesh& on = problem.set3.on;
    const double n = g.n_current[k] / on.Wn[k] * cv.n[k] * cv.Bn_plus[k] * std::max(std::fabs(cv.Fn[k]), 1.0);
    const double p = g.p_current[k] / on.Wp[k] * cv.p[k] * cv.Bp_min[k] * std::max(std::fabs(cv.Fp[k]), 1.0);
    return std::numeric_limits<double>::epsilon() * (std::fabs(n) + std::fabs(p));
}

/// The same in the current of a contact, at point i.
double rounding_at_contact(const CalculationParameters& set3, const CalculationVariables& cv, std::size_t i, double Sn,
                           double Sp)
{
    const double size = std::max({std::fabs(cv.Fn[i]), std::fabs(cv.Fp[i]), 1.0});
    const double unit = 0.1 * set3.scale.current(i == 0 ? 0 : set3.layers - 1);
    return std::numeric_limits<double>::epsilon() * size * unit * (Sn * cv.n[i] + Sp * cv.p[i]);
}

/// More steps than these in one pass lead too far from the potential.
constexpr int most_steps = 2;

/// A path within a band whose ends no chain couples.
bool is_far(const TunnelPath& t) { return t.source >= 0 && std::abs(t.source - t.target) > 1; }

/// Rows of one carrier without paths from band to band, for steps of its level; `res` with them.
void assemble_chain(const Problem& problem, Workspace& work, const CalculationVariables& cv, Carrier carrier,
                    JunctionWork::Chain& c)
{
    const bool electrons = carrier == Carrier::electrons;
    const std::size_t N = cv.psi.size();
    const std::vector<double>&X = electrons ? cv.expFn : cv.expmFp, &step = electrons ? cv.du : cv.dv;
    for (auto* v : {&c.left, &c.right, &c.sum, &c.res, &c.pivot, &c.step}) v->resize(N);
    calculate_dc_jacobian(problem, cv, carrier, {c.left, work.main, c.right});
    dc_jacobian_row_sums(problem, cv, carrier, c.sum);
    const TunnelPaths& found = electrons ? work.tunnel.n : work.tunnel.p;
    for (const TunnelPath& t : found.paths)
        if (t.source < 0) c.sum[at(t.target)] += t.gain;
    calculate_dc_residue(problem, cv, carrier, c.res);
    add_tunnel_residue(work.tunnel, cv, carrier, c.res);
    // u (X[i-1], X[i+1]) dF are the steps of the neighbours: sub (X[i-1] - X[i]) without cancellation is -sub step[i].
    for (std::size_t i = 0; i < N; ++i) {
        c.sum[i] *= X[i];
        if (i > 0) c.sum[i] -= c.left[i] * step[i];
        if (i + 1 < N) c.sum[i] += c.right[i] * step[i + 1];
        c.left[i] = i > 0 ? -c.left[i] * X[i - 1] : 0.0;
        c.right[i] = i + 1 < N ? -c.right[i] * X[i + 1] : 0.0;
        if (!electrons) c.res[i] = -c.res[i];  // v falls where Fp rises
    }
    for (const TunnelPath& t : found.paths) {
        if (t.source < 0) continue;
        const std::size_t source = at(t.source), target = at(t.target);
        const double driven = X[source] - X[target];
        c.sum[source] += t.loss * driven;
        c.sum[target] -= t.gain * driven;
        if (is_far(t)) continue;  // the ends are coupled apart
        (target > source ? c.right : c.left)[source] += t.loss * X[target];
        (target > source ? c.left : c.right)[target] += t.gain * X[source];
    }
}

/// The limit of the step after j.both. The potential answers between two steps: where the largest one changes its sign,
/// as a level does that such answers drive back each time, the limit is halved, else it recovers [kT].
double next_limit(JunctionWork& j)
{
    double largest = 0.0;
    for (const double step : j.both)
        if (std::fabs(step) > std::fabs(largest)) largest = step;
    const bool turned = largest * j.largest_before < 0.0;
    j.largest_before = largest;
    return turned ? std::max(0.5 * j.limit, JunctionWork::smallest_limit)
                  : std::min(1.2 * j.limit, JunctionWork::largest_limit);
}

void collect_ends(const TunnelWork& tunnel, int BandToBandPath::*end, const TunnelPaths& found,
                  std::vector<std::size_t>& ends)
{
    ends.clear();
    for (const BandToBandPath& t : tunnel.band_to_band) ends.push_back(at(t.*end));
    for (const TunnelPath& t : found.paths)
        if (is_far(t)) ends.insert(ends.end(), {at(t.source), at(t.target)});
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
}

std::size_t place_in(const std::vector<std::size_t>& ends, int i)
{
    return static_cast<std::size_t>(std::lower_bound(ends.begin(), ends.end(), at(i)) - ends.begin());
}

/// What paths that no chain has add to the system of the ends.
void couple_by_paths(const TunnelWork& tunnel, const CalculationVariables& cv, JunctionWork& j)
{
    const std::size_t n_ends = j.n.ends.size();
    j.couplings.clear();
    j.sums.assign(n_ends + j.p.ends.size(), 0.0);
    for (const BandToBandPath& t : tunnel.band_to_band) {
        const std::size_t from = place_in(j.n.ends, t.from), to = n_ends + place_in(j.p.ends, t.to);
        const BandToBandOccupation o = occupation_of(t, cv);
        j.couplings.push_back({from, to, t.loss_n * o.per_Fp});
        j.couplings.push_back({to, from, t.loss_p * o.per_Fn});
        j.sums[from] += t.loss_n * o.difference;
        j.sums[to] -= t.loss_p * o.difference;
    }
    const auto couple_within = [&](const TunnelPaths& found, const std::vector<double>& X,
                                   const std::vector<std::size_t>& ends, std::size_t offset) {
        for (const TunnelPath& t : found.paths) {
            if (!is_far(t)) continue;
            const std::size_t source = offset + place_in(ends, t.source), target = offset + place_in(ends, t.target);
            j.couplings.push_back({source, target, t.loss * X[at(t.target)]});
            j.couplings.push_back({target, source, t.gain * X[at(t.source)]});
        }
    };
    couple_within(tunnel.n, cv.expFn, j.n.ends, 0);
    couple_within(tunnel.p, cv.expmFp, j.p.ends, n_ends);
}

}  // namespace

bool current_passes_junctions(const Problem& problem, Workspace& work, const CalculationVariables& cv)
{
    TunnelWork& tunnel = work.tunnel;
    const std::vector<double>&J = work.currents.j_tot, &jn = work.currents.j_n, &jp = work.currents.j_p;
    std::vector<double>& values = work.currents.sorted;
    // Paths that begin less those that end at a point, then the number of those that pass the interval behind it.
    std::vector<int>& passing = tunnel.paths;
    passing.assign(J.size(), 0);
    for (const BandToBandPath& t : tunnel.band_to_band) {
        ++passing[at(std::min(t.from, t.to))];
        --passing[at(std::max(t.from, t.to))];
    }
    for (std::size_t i = 1; i < passing.size(); ++i) passing[i] += passing[i - 1];

    // Where J is 0 both carriers may flow.
    values.clear();
    for (std::size_t i = 0; i < J.size(); ++i) values.push_back(std::fabs(jn[i]) + std::fabs(jp[i]));
    const double size = median_of(values);
    // The current of a stretch lies between the smallest of the upper ends and the largest of the lower ends of all.
    constexpr double infinite = std::numeric_limits<double>::infinity();
    double lowest_upper = infinite, highest_lower = -infinite;
    const auto take = [&](double current, double rounding) {
        lowest_upper = std::min(lowest_upper, current + rounding_margin * rounding);
        highest_lower = std::max(highest_lower, current - rounding_margin * rounding);
    };
    std::size_t first_free = J.size(), last_free = 0;  // of the points in stretches
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        const auto is_free = [&](std::size_t i) {
            return i <= last && (i == first || passing[i - 1] == 0) && passing[i] == 0;
        };
        for (std::size_t i = first; i <= last; ++i) {
            if (!is_free(i)) continue;
            const std::size_t begin = i;
            while (is_free(i)) ++i;
            if (i - begin < least_points) continue;
            first_free = std::min(first_free, begin);
            last_free = i - 1;
            values.clear();
            for (std::size_t k = begin + 1; k < i; ++k)
                values.push_back(std::max(std::fabs(J[k] - J[k - 1]), rounding_of_interval(problem, cv, k)));
            const double rounding = median_of(values);
            values.assign(J.begin() + static_cast<std::ptrdiff_t>(begin), J.begin() + static_cast<std::ptrdiff_t>(i));
            take(median_of(values), rounding);
        }
    }
    // Paths that leave no stretch between them and a contact: its own current stands for one.
    const auto passed = [](int paths) { return paths > 0; };
    const auto first_passed = std::find_if(passing.begin(), passing.end(), passed) - passing.begin();
    const auto last_passed = passing.rend() - std::find_if(passing.rbegin(), passing.rend(), passed);
    const ContactCurrents c = contact_currents(problem, cv);
    const CalculationParameters& set3 = problem.set3;
    if (first_free >= at(static_cast<int>(first_passed)))
        take(c.j_n_left + c.j_p_left, rounding_at_contact(set3, cv, 0, set3.Sn_left, set3.Sp_left));
    if (last_free < at(static_cast<int>(last_passed)))
        take(c.j_n_right + c.j_p_right, rounding_at_contact(set3, cv, J.size() - 1, set3.Sn_right, set3.Sp_right));
    const double tolerance =
        std::max(smallest_difference, tolerated_difference * std::max(size, std::fabs(cv.J_median)));
    return highest_lower - lowest_upper <= tolerance;
}

bool couple_junctions(const Problem& problem, Workspace& work, CalculationVariables& cv, bool& moved)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    TunnelWork& tunnel = work.tunnel;
    JunctionWork& j = tunnel.junctions;
    collect_ends(tunnel, &BandToBandPath::from, tunnel.n, j.n.ends);
    collect_ends(tunnel, &BandToBandPath::to, tunnel.p, j.p.ends);
    const std::size_t N = cv.psi.size();
    const double termination = std::min(settings.termination_Fn, settings.termination_Fp);
    bool was_small = false;
    for (int k = 0; k < most_steps; ++k) {
        totale_rdcbijdrage(problem, cv);
        assemble_chain(problem, work, cv, Carrier::electrons, j.n);
        assemble_chain(problem, work, cv, Carrier::holes, j.p);
        eliminate_between_ends(j.n);
        eliminate_between_ends(j.p);
        couple_by_paths(tunnel, cv, j);
        solve_ends(j);
        steps_between_ends(j.n, j.steps.data());
        steps_between_ends(j.p, j.steps.data() + j.n.ends.size());
        // One limit for both carriers: levels that a path holds together stay together.
        j.both.resize(2 * N);
        for (std::size_t i = 0; i < N; ++i) {
            j.both[i] = settings.relax_n * damped_step(j.n.step[i]);
            j.both[N + i] = settings.relax_p * damped_step(j.p.step[i]);
        }
        const double before_limit = MaximumAbsoluteValue(j.both);
        ApplyClamping(j.both, settings, j.limit);
        if (std::isnan(before_limit)) return false;
        j.limit = next_limit(j);
        for (std::size_t i = 0; i < N; ++i) {
            cv.Fn[i] += j.both[i];
            cv.Fp[i] += j.both[N + i];
        }
        update_Fn(cv);
        update_Fp(cv);
        const bool is_small = before_limit <= termination;
        moved |= !is_small;
        // Currents hang on differences of levels that are far smaller than the last step that counts.
        if (is_small && was_small) break;
        was_small = is_small;
    }
    return true;
}

}  // namespace kovin
