#include "solver/tunnel_paths.h"

#include "solver/tunnel_states.h"
#include "solver/tunnel_walk.h"
#include "solver/tunnel_wkb.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Pairs through one barrier that are weaker than this against the strongest are left out.
constexpr double negligible_pair = 1e-10;

void walk_from_contact(const TunnelView& v, bool right)
{
    const TunnelPlace& place = right ? v.places.right : v.places.left;
    if (!place.open) return;
    const std::size_t N = v.E.size(), s = right ? N - 1 : 0;
    const int d = right ? -1 : 1;
    const auto beyond = [&](std::size_t k) { return d > 0 ? k + 1 : k - 1; };
    const std::size_t m = static_cast<std::size_t>(std::min_element(v.E.begin(), v.E.end()) - v.E.begin());
    if (!(v.E[m] < v.E[s]) || m == s) return;
    const double coefficient = v.N0(s) * v.b[s] * (right ? v.S_right : v.S_left);
    TunnelWalk walk{v, s, d, v.E[s], v.E[m], place.*v.place_mass};
    for (std::size_t k = beyond(s);; k = beyond(k)) {
        if (v.E[k] < walk.last) {
            const double range = walk.last - v.E[k];
            const int slices = slices_of(range, walk.is_step(k));
            for (int n = 0; n < slices; ++n) {
                const double upper = walk.last - range * n / slices;
                if (walk.slice(right ? right_metal : left_metal, coefficient, k, upper,
                               walk.last - range * (n + 1) / slices))
                    return;
            }
            walk.last = v.E[k];
        }
        if (k == m) return;
    }
}

void tunnelingToContacts(const TunnelView& v)
{
    walk_from_contact(v, false);
    walk_from_contact(v, true);
}

/// Through the spike at interface j: carriers leave from its lower side and end in the flank beyond its top.
void CalculateTunnelCurrentsNew(const TunnelView& v, std::size_t j)
{
    const std::size_t l = at(v.mesh.last[j]), f = l + 1, N = v.E.size();
    const int d = v.E[l] <= v.E[f] ? 1 : -1;
    const std::size_t a = d > 0 ? l : f, b = d > 0 ? f : l;
    const double bottom = v.E[a];
    const TunnelPlace& place = v.places.interface[j];
    const double coefficient = v.N0(l) * v.b[l] * (v.problem.grid.interfaces[j].*v.velocity);
    TunnelWalk walk{v, b, d, v.E[b], bottom, place.*v.place_mass, v.problem.set3.convergence.tunnel_barrier_minimum};
    bool within = false;  // some point of the flank lies between top and source
    for (std::size_t k = b;;) {
        if (d > 0 ? k + 1 >= N : k == 0) return;
        k = d > 0 ? k + 1 : k - 1;
        const bool ends = v.E[k] < bottom;
        if (ends && !within) return;
        const double lower = std::max(v.E[k], bottom);
        walk.highest = std::max(walk.highest, v.E[k]);
        if (v.E[k] < walk.last) {
            if (!walk.is_step(k) && walk.slice(static_cast<int>(a), coefficient, k, walk.last, lower)) return;
            walk.last = lower;
            within = true;
        }
        if (ends) return;
    }
}

/// Through a barrier inside the stack: from each point of its left flank to the same energy behind it.
void CalculateTunnelBulkToBulk(const TunnelView& v)
{
    const std::vector<double>& E = v.E;
    const std::size_t N = E.size();
    const double least = v.problem.set3.convergence.tunnel_barrier_minimum;
    std::size_t minimum = 0, i = 0;
    for (std::size_t begin = i; i + 1 < N; begin = i) {
        while (i + 1 < N && E[i + 1] <= E[i]) minimum = ++i;
        std::size_t maximum = i;
        while (i + 1 < N && E[i + 1] >= E[i]) {
            ++i;
            if (E[i] > E[maximum]) maximum = i;
        }
        if (i == begin) return;  // what is no number has no order
        const std::size_t first = v.paths.size();
        double strongest = 0.0;
        for (std::size_t s = minimum; s < maximum; ++s) {
            if (!(E[s + 1] > E[s]) || v.ends_layer(s) || !v.places.barrier[v.layer[s]]) continue;
            const double width = std::min(E[s + 1], E[maximum] - least) - E[s];
            if (!(width > 0.0)) continue;
            std::size_t t = maximum + 1;
            while (t < N && E[t] > E[s]) ++t;
            if (t >= N || v.begins_layer(t) || !v.places.barrier[v.layer[t]]) continue;
            const double share = (E[t - 1] - E[s]) / (E[t - 1] - E[t]);
            const double far = v.mass[t - 1] * (1.0 - share) + v.mass[t] * share;
            const double rate = std::min(v.N0(s) * v.b[s] * v.vth[s], v.N0(t) * v.b[t] * v.vth[t]);
            const double T = v.exponent(v.chosen_mass(v.mass[s], far), s, t, E[s]);
            const double strength = width * rate * std::exp(-T) * v.limit(static_cast<int>(s), t, std::exp(-E[s]));
            strongest = std::max(strongest, strength);
            v.add(static_cast<int>(s), t, strength);
        }
        // Long paths that carry nothing would widen the envelope.
        const auto idle = [=](const TunnelPath& path) { return path.strength < negligible_pair * strongest; };
        const auto here = v.paths.begin() + static_cast<std::ptrdiff_t>(first);
        v.paths.erase(std::remove_if(here, v.paths.end(), idle), v.paths.end());
    }
}

/// From interface a to a later one b, through a barrier that both bound.
void CalculateTunnelIfaceToIface(const TunnelView& v, std::size_t a, std::size_t b)
{
    const std::size_t la = at(v.mesh.last[a]), fa = la + 1, lb = at(v.mesh.last[b]), fb = lb + 1;
    if (!(v.E[la] < v.E[fa] && v.E[fb] < v.E[lb])) return;
    const double base = std::max(v.E[la], v.E[fb]);
    const double top = *std::min_element(v.E.begin() + static_cast<std::ptrdiff_t>(fa),
                                         v.E.begin() + static_cast<std::ptrdiff_t>(lb) + 1);
    if (!(top > base)) return;
    const int slices = std::max(1, static_cast<int>(std::min(top - base, 1e4)));
    const double step = (top - base) / slices;
    const double m = v.chosen_mass(v.places.interface[a].*v.place_mass, v.places.interface[b].*v.place_mass);
    double sum = 0.0;
    for (int k = 0; k < slices; ++k)
        for (const double off : {-gauss_two, gauss_two}) {
            const double level = base + (k + 0.5 + off) * step;
            const double supply = std::exp(std::min(v.E[fa] - level - v.exponent(m, fa, lb, level), 700.0));
            sum += 0.5 * supply * v.limit(static_cast<int>(la), fb, std::exp(-level));
        }
    const double coefficient = v.N0(la) * v.b[la] * (v.problem.grid.interfaces[a].*v.velocity);
    v.add(static_cast<int>(la), fb, coefficient * step * sum);
}

/// Conduction electrons at the energies between point i and its neighbour in direction d that meet the valence band
/// farther on.
/// @param highest_Ev  of all points: slices end there, so that J has no step
void band_to_band_from(const TunnelView& n, const TunnelView& p, std::size_t i, int d, double highest_Ev,
                       std::vector<BandToBandPath>& paths)
{
    const std::vector<double>&E = n.E, &Ev = p.E;
    const std::size_t N = E.size();
    const auto at_end = [&](std::size_t k) { return d > 0 ? k + 1 >= N : k == 0; };
    if (at_end(i)) return;
    const std::size_t next = d > 0 ? i + 1 : i - 1;
    const double width = std::min(E[next], highest_Ev) - E[i];
    if (n.layer[next] != n.layer[i] || !(width > 0.0)) return;  // a step of the band has no width
    const double level = E[i] + 0.5 * width;
    std::size_t j = i;
    do {
        if (at_end(j)) return;
        j = d > 0 ? j + 1 : j - 1;
        if (E[j] < level) return;
    } while (!(-Ev[j] > level));
    const std::size_t before = d > 0 ? j - 1 : j + 1, last_step = std::min(before, j);
    const double beyond = (-Ev[j] - level) / (Ev[before] - Ev[j]);
    const double whole = wkb_integral(E.data(), n.mesh.h.data(), std::min(i, j), std::max(i, j), level);
    const double integral = whole - beyond * n.mesh.h[last_step] * wkb_step(E[before] - level, E[j] - level);
    const double T = n.unit * std::sqrt(std::max(n.mass[i], 0.0)) * integral;
    const double strength = width * n.N0(i) * n.problem.set3.on.Nc[i] * n.vth[i] * std::exp(-T);
    if (!(strength > 0.0)) return;
    paths.push_back(
        {static_cast<int>(i), static_cast<int>(j), level, strength, strength * n.row(i), strength * p.row(j)});
}

/// Each electron counts once: with its place in the conduction band.
void BandToBandTunneling(const TunnelView& n, const TunnelView& p, std::vector<BandToBandPath>& paths)
{
    const double highest_Ev = -*std::min_element(p.E.begin(), p.E.end());
    for (std::size_t i = 0; i < n.E.size(); ++i) {
        if (!n.places.band_to_band[n.layer[i]] || !(n.E[i] < highest_Ev)) continue;
        for (const int d : {-1, 1}) band_to_band_from(n, p, i, d, highest_Ev, paths);
    }
}

/// The same at x = level - Fn (level - Fp), differentiated by u = exp(Fn) (by -v = -exp(-Fp)), with ln_X the logarithm
/// of u (of v): f (1 - f)/X, which is finite where X is too small for a number.
double fermi_slope(double x, double ln_X)
{
    const double falls = std::exp(-std::fabs(x));
    return std::exp(-ln_X - std::fabs(x)) / ((1.0 + falls) * (1.0 + falls));
}

/// Where a path from band to band meets the rows of a carrier, and what it adds to their diagonal.
std::size_t row_of(const BandToBandPath& t, Carrier carrier)
{
    return at(carrier == Carrier::electrons ? t.from : t.to);
}

double own_slope(const BandToBandPath& t, const CalculationVariables& cv, Carrier carrier)
{
    if (carrier == Carrier::electrons) return t.loss_n * fermi_slope(t.level - cv.Fn[at(t.from)], cv.Fn[at(t.from)]);
    return t.loss_p * fermi_slope(t.level - cv.Fp[at(t.to)], -cv.Fp[at(t.to)]);
}

/// What drives a path: X of its source less X where it arrives.
struct Drive {
    const std::vector<double>& X;
    const TunnelPaths& found;
    double operator()(const TunnelPath& t) const
    {
        const double source = t.source >= 0            ? X[at(t.source)]
                              : t.source == left_metal ? found.metal_left
                                                       : found.metal_right;
        return source - X[at(t.target)];
    }
};

}  // namespace

BandToBandOccupation occupation_of(const BandToBandPath& t, const CalculationVariables& cv)
{
    const double Fn = cv.Fn[at(t.from)], Fp = cv.Fp[at(t.to)];
    const double n = fermi(t.level - Fn), p = fermi(t.level - Fp);
    const double n_empty = fermi(Fn - t.level), p_empty = fermi(Fp - t.level);
    const double net = Fn > Fp ? -n * p_empty * std::expm1(Fp - Fn) : p * n_empty * std::expm1(Fn - Fp);
    return {net, n * n_empty, p * p_empty, net * (p_empty - n)};
}

bool take_the_route_of_tunnelling(CalculationParameters& set3)
{
    if (!set3.tunnel.any()) return false;
    const bool changes = set3.convergence.route != Route::classic || is_coupled(set3.convergence.coupling_scheme);
    set3.convergence.route = Route::classic;
    set3.convergence.coupling_scheme = decoupled;
    return changes;
}

void TunnelWork::prepare(const Mesh& mesh, bool on)
{
    active = on;
    outside.clear();
    if (!on) return;
    const auto N = at(mesh.N);
    layer.resize(N);
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t i = at(mesh.first[j]); i <= at(mesh.last[j]); ++i) layer[i] = j;
    Ec.assign(N, 0.0);
    Ev.assign(N, 0.0);
    for (TunnelPaths* carrier : {&n, &p}) {
        carrier->paths.reserve(2 * N);
        carrier->sheets.clear();
        carrier->means = 0;
    }
    outside.reserve(4 * N);
    change.resize(N);
    paths.resize(N);
}

void find_tunnel_paths(const Problem& problem, const CalculationVariables& cv, Carrier carrier, TunnelWork& work)
{
    const bool electrons = carrier == Carrier::electrons;
    const TunnelPlaces& places = problem.set3.tunnel;
    tunnel_barriers(problem.set3, cv, work);
    TunnelPaths& found = electrons ? work.n : work.p;
    found.paths.clear();
    found.metal_left = 1.0;
    found.metal_right = std::exp(electrons ? cv.V_kT : -cv.V_kT);
    const TunnelView view = tunnel_view(problem, cv, carrier, work);
    const std::size_t layers = at(cv.mesh.nlayers), interfaces = layers - 1;
    if (std::find(places.barrier.begin(), places.barrier.end(), true) != places.barrier.end())
        CalculateTunnelBulkToBulk(view);
    found.pairs = found.paths.size();
    for (std::size_t j = 0; j < interfaces; ++j) {
        if (!places.interface[j].open) continue;
        CalculateTunnelCurrentsNew(view, j);
        for (std::size_t k = j + 1; k < interfaces; ++k)
            if (places.interface[k].open) CalculateTunnelIfaceToIface(view, j, k);
    }
    tunnelingToContacts(view);
    if (!electrons) return;
    work.band_to_band.clear();
    if (std::find(places.band_to_band.begin(), places.band_to_band.end(), true) != places.band_to_band.end())
        BandToBandTunneling(view, tunnel_view(problem, cv, Carrier::holes, work), work.band_to_band);
}

void add_tunnel_residue(const TunnelWork& work, const CalculationVariables& cv, Carrier carrier, std::span<double> res)
{
    const bool electrons = carrier == Carrier::electrons;
    const TunnelPaths& found = electrons ? work.n : work.p;
    const Drive drive{electrons ? cv.expFn : cv.expmFp, found};
    for (const TunnelPath& t : found.paths) {
        const double driven = drive(t);
        if (t.source >= 0) res[at(t.source)] -= t.loss * driven;
        res[at(t.target)] += t.gain * driven;
    }
    add_states_residue(cv, carrier, res);
    for (const BandToBandPath& t : work.band_to_band) {
        const double net = occupation_of(t, cv).net;
        if (electrons)
            res[at(t.from)] -= t.loss_n * net;
        else
            res[at(t.to)] -= t.loss_p * net;
    }
}

void add_tunnel_jacobian(TunnelWork& work, const CalculationVariables& cv, Carrier carrier, const Tridiagonal& jac)
{
    const bool electrons = carrier == Carrier::electrons;
    const TunnelPaths& found = electrons ? work.n : work.p;
    work.outside.clear();
    const auto add = [&](int row, int column, double value) {
        const std::size_t r = at(row);
        if (column == row)
            jac.main[r] += value;
        else if (column == row + 1)
            jac.super[r] += value;
        else if (column + 1 == row)
            jac.sub[r] += value;
        else
            work.outside.push_back({r, at(column), value});
    };
    for (const TunnelPath& t : found.paths) {
        if (t.source >= 0) {
            add(t.source, t.source, t.loss);
            add(t.source, t.target, -t.loss);
            add(t.target, t.source, -t.gain);
        }
        add(t.target, t.target, t.gain);
    }
    add_states_jacobian(cv, carrier, jac, work.outside);
    work.sizes = electrons ? cv.expFn : cv.expmFp;
    for (const TunnelStates::Group& group : (electrons ? cv.tunnel_states.n : cv.tunnel_states.p).groups)
        work.sizes.push_back(work.sizes[group.b] *
                             (group.mean.is_low() ? group.mean.ratio : 1.0 + std::fabs(group.mean.excess)));
    for (const BandToBandPath& t : work.band_to_band) jac.main[row_of(t, carrier)] += own_slope(t, cv, carrier);
}

void find_row_sums(const Problem& problem, const CalculationVariables& cv, Carrier carrier, TunnelWork& work)
{
    const TunnelPaths& found = carrier == Carrier::electrons ? work.n : work.p;
    work.row_sums.clear();
    if (found.means > 0) return;
    work.row_sums.resize(cv.psi.size());
    dc_jacobian_row_sums(problem, cv, carrier, work.row_sums);
    for (const TunnelPath& t : found.paths)
        if (t.source < 0) work.row_sums[at(t.target)] += t.gain;
    for (const BandToBandPath& t : work.band_to_band) work.row_sums[row_of(t, carrier)] += own_slope(t, cv, carrier);
}

void drop_elements_outside(TunnelWork& work)
{
    if (!work.row_sums.empty())
        for (const TunnelElement& e : work.outside) work.row_sums[e.row] -= e.value;
    work.outside.clear();
}

namespace {

/// Sums currents that each pass all intervals between two points, in one pass over the paths and one over the mesh.
struct IntervalCurrents {
    std::vector<double>& change;
    std::vector<int>& paths;

    IntervalCurrents(TunnelWork& work, std::size_t N) : change(work.change), paths(work.paths)
    {
        change.assign(N, 0.0);
        paths.assign(N, 0);
    }
    void add(int from, int to, double J)
    {
        const double to_right = from < to ? J : -J;
        const std::size_t left = at(std::min(from, to)), right = at(std::max(from, to));
        change[left] += to_right;
        change[right] -= to_right;
        ++paths[left];
        --paths[right];
    }
    /// An interval without paths has no current, whatever rounding leaves there.
    void write(std::vector<double>& j) const
    {
        j.resize(change.size());
        double sum = 0.0;
        int here = 0;
        for (std::size_t i = 0; i < j.size(); ++i) {
            here += paths[i];
            sum = here > 0 ? sum + change[i] : 0.0;
            j[i] = sum;
        }
    }
};

}  // namespace

void store_tunnel_currents(const Problem& problem, TunnelWork& work, CalculationVariables& cv)
{
    const std::size_t N = cv.psi.size();
    const Scale& scale = problem.set3.scale;
    const double unit = 0.1 * elementary_charge * scale.D0 / scale.x0;
    const auto add = [&](const TunnelPaths& found, const std::vector<double>& X, double sign, double& at_left_contact,
                         double& at_right_contact, IntervalCurrents& j) {
        const Drive drive{X, found};
        for (const TunnelPath& t : found.paths) {
            const int source = t.source == left_metal    ? 0
                               : t.source == right_metal ? static_cast<int>(N) - 1
                                                         : t.source;
            const double J = sign * unit * t.strength * drive(t);
            if (t.source == left_metal) at_left_contact += J;
            if (t.source == right_metal) at_right_contact -= J;
            j.add(source, t.target, J);
        }
        const Carrier carrier = sign < 0.0 ? Carrier::electrons : Carrier::holes;
        const TunnelStates::Carriers& states = sign < 0.0 ? cv.tunnel_states.n : cv.tunnel_states.p;
        for (const TunnelStates::Group& group : states.groups)
            share_out(cv, carrier, group, [&](const TunnelStates::Path& path, double flux) {
                if (path.point != group.b)
                    j.add(static_cast<int>(path.point), static_cast<int>(group.b), sign * unit * group.N0 * flux);
            });
    };
    cv.contact_tunnel = {};
    ContactCurrents& contact = cv.contact_tunnel;
    {
        IntervalCurrents j(work, N);
        add(work.n, cv.expFn, -1.0, contact.j_n_left, contact.j_n_right, j);
        for (const BandToBandPath& t : work.band_to_band) {
            const double net = occupation_of(t, cv).net;
            j.add(t.from, t.to, -unit * t.strength * net);
        }
        j.write(cv.jn_tunnel);
    }
    IntervalCurrents j(work, N);
    add(work.p, cv.expmFp, 1.0, contact.j_p_left, contact.j_p_right, j);
    j.write(cv.jp_tunnel);
}

}  // namespace kovin
