#include "solver/tunnel_junctions.h"

#include "solver/bulk_terms.h"
#include "solver/estimates.h"
#include "solver/newton_steps.h"
#include "solver/residuals.h"
#include "solver/tunnel_paths.h"

#include <algorithm>
#include <cmath>
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

/// More steps than these in one pass lead too far from the potential.
constexpr int most_steps = 2;
constexpr double largest_step = 2.0;  ///< [kT]

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
}

/// Eliminates the points between the ends: what is left couples each end to the next ones.
void eliminate_between_ends(JunctionWork::Chain& c)
{
    const std::size_t N = c.res.size();
    std::size_t next_end = 0;
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::size_t end = none;  // the last one that was passed
    for (std::size_t i = 0; i < N; ++i) {
        if (next_end < c.ends.size() && c.ends[next_end] == i) {
            end = i;
            ++next_end;
            continue;
        }
        // left couples to `end` by now, if there is one.
        const double r = 1.0 / (c.left[i] + c.right[i] + c.sum[i]);
        c.pivot[i] = r;
        const auto pass_on = [&](std::size_t row, double coupling) {
            c.sum[row] += coupling * r * c.sum[i];
            c.res[row] += coupling * r * c.res[i];
        };
        if (end != none) {
            pass_on(end, c.right[end]);
            c.right[end] *= r * c.right[i];
        }
        if (i + 1 < N) {
            pass_on(i + 1, c.left[i + 1]);
            c.left[i + 1] *= r * c.left[i];
        }
    }
}

/// From the steps of the ends to those of all points.
void steps_between_ends(JunctionWork::Chain& c, const double* at_ends)
{
    for (std::size_t k = 0; k < c.ends.size(); ++k) c.step[c.ends[k]] = at_ends[k];
    std::size_t ahead = c.ends.size();  // ends[ahead - 1] is the next one to the left
    for (std::size_t i = c.res.size(); i-- > 0;) {
        if (ahead > 0 && c.ends[ahead - 1] == i) {
            --ahead;
            continue;
        }
        double from_neighbours = c.res[i];
        if (ahead > 0) from_neighbours += c.left[i] * c.step[c.ends[ahead - 1]];
        if (i + 1 < c.res.size()) from_neighbours += c.right[i] * c.step[i + 1];
        c.step[i] = c.pivot[i] * from_neighbours;
    }
}

void collect_ends(const std::vector<BandToBandPath>& paths, int BandToBandPath::*end, std::vector<std::size_t>& ends)
{
    ends.clear();
    for (const BandToBandPath& t : paths) ends.push_back(at(t.*end));
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
}

/// The dense system of the ends; solution in j.steps.
void solve_ends(const std::vector<BandToBandPath>& paths, const CalculationVariables& cv, JunctionWork& j)
{
    const std::size_t n_ends = j.n.ends.size(), n = n_ends + j.p.ends.size();
    j.couplings.assign(n * n, 0.0);
    j.sums.resize(n);
    j.steps.resize(n);
    double* W = j.couplings.data();
    const auto take_chain = [&](const JunctionWork::Chain& c, std::size_t offset) {
        for (std::size_t k = 0; k < c.ends.size(); ++k) {
            const std::size_t row = offset + k, i = c.ends[k];
            if (k > 0) W[row * n + row - 1] = c.left[i];
            if (k + 1 < c.ends.size()) W[row * n + row + 1] = c.right[i];
            j.sums[row] = c.sum[i];
            j.steps[row] = c.res[i];
        }
    };
    take_chain(j.n, 0);
    take_chain(j.p, n_ends);
    const auto place = [](const std::vector<std::size_t>& ends, int i) {
        return static_cast<std::size_t>(std::lower_bound(ends.begin(), ends.end(), at(i)) - ends.begin());
    };
    for (const BandToBandPath& t : paths) {
        const std::size_t from = place(j.n.ends, t.from), to = n_ends + place(j.p.ends, t.to);
        const BandToBandOccupation o = occupation_of(t, cv);
        W[from * n + to] += t.loss_n * o.per_Fp;
        W[to * n + from] += t.loss_p * o.per_Fn;
        j.sums[from] += t.loss_n * o.difference;
        j.sums[to] -= t.loss_p * o.difference;
    }
    for (std::size_t k = 0; k < n; ++k) {
        double pivot = j.sums[k];
        for (std::size_t c = k + 1; c < n; ++c) pivot += W[k * n + c];
        const double r = W[k * n + k] = 1.0 / pivot;
        for (std::size_t i = k + 1; i < n; ++i) {
            const double share = W[i * n + k] * r;
            if (share == 0.0) continue;
            for (std::size_t c = k + 1; c < n; ++c) W[i * n + c] += share * W[k * n + c];
            W[i * n + i] = 0.0;
            j.sums[i] += share * j.sums[k];
            j.steps[i] += share * j.steps[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t c = k + 1; c < n; ++c) j.steps[k] += W[k * n + c] * j.steps[c];
        j.steps[k] *= W[k * n + k];
    }
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
    // The median of a stretch lies between the smallest of the upper ends and the largest of the lower ends of all.
    double lowest_upper = 0.0, highest_lower = 0.0;
    bool first_stretch = true;
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
            values.clear();
            for (std::size_t k = begin + 1; k < i; ++k)
                values.push_back(std::max(std::fabs(J[k] - J[k - 1]), rounding_of_interval(problem, cv, k)));
            const double rounding = rounding_margin * median_of(values);
            values.assign(J.begin() + static_cast<std::ptrdiff_t>(begin), J.begin() + static_cast<std::ptrdiff_t>(i));
            const double median = median_of(values);
            lowest_upper = first_stretch ? median + rounding : std::min(lowest_upper, median + rounding);
            highest_lower = first_stretch ? median - rounding : std::max(highest_lower, median - rounding);
            first_stretch = false;
        }
    }
    const double tolerance =
        std::max(smallest_difference, tolerated_difference * std::max(size, std::fabs(cv.J_median)));
    return highest_lower - lowest_upper <= tolerance;
}

bool couple_junctions(const Problem& problem, Workspace& work, CalculationVariables& cv, bool& moved)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    TunnelWork& tunnel = work.tunnel;
    JunctionWork& j = tunnel.junctions;
    collect_ends(tunnel.band_to_band, &BandToBandPath::from, j.n.ends);
    collect_ends(tunnel.band_to_band, &BandToBandPath::to, j.p.ends);
    const std::size_t N = cv.psi.size();
    const double termination = std::min(settings.termination_Fn, settings.termination_Fp);
    bool was_small = false;
    for (int k = 0; k < most_steps; ++k) {
        totale_rdcbijdrage(problem, cv);
        assemble_chain(problem, work, cv, Carrier::electrons, j.n);
        assemble_chain(problem, work, cv, Carrier::holes, j.p);
        eliminate_between_ends(j.n);
        eliminate_between_ends(j.p);
        solve_ends(tunnel.band_to_band, cv, j);
        steps_between_ends(j.n, j.steps.data());
        steps_between_ends(j.p, j.steps.data() + j.n.ends.size());
        // One limit for both carriers: levels that a path holds together stay together.
        j.both.resize(2 * N);
        for (std::size_t i = 0; i < N; ++i) {
            j.both[i] = settings.relax_n * damped_step(j.n.step[i]);
            j.both[N + i] = settings.relax_p * damped_step(j.p.step[i]);
        }
        const double largest = ApplyClamping(j.both, settings, largest_step);
        if (std::isnan(largest)) return false;
        for (std::size_t i = 0; i < N; ++i) {
            cv.Fn[i] += j.both[i];
            cv.Fp[i] += j.both[N + i];
        }
        update_Fn(cv);
        update_Fp(cv);
        const bool is_small = largest <= termination;
        moved |= !is_small;
        // Currents hang on differences of levels that are far smaller than the last step that counts.
        if (is_small && was_small) break;
        was_small = is_small;
    }
    return true;
}

}  // namespace kovin
