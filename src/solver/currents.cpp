#include "solver/currents.h"

#include "solver/bulk_terms.h"
#include "solver/tunnel_states.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// What comes from the right less what comes from the left, whose ratio is exp(step): from the densities, which stay
/// finite where u and v of a strong bias do not.
double net_flux(double from_left, double from_right, double step)
{
    constexpr double small_step = 0.4;
    return std::fabs(step) < small_step ? from_left * std::expm1(step) : from_right - from_left;
}

/// Values of the intervals of one layer, each at the left point, become those of its points.
void to_points(std::vector<double>& j, std::size_t first, std::size_t last)
{
    j[last] = j[last - 1];
    for (std::size_t i = last - 1; i > first; --i) j[i] = 0.5 * (j[i] + j[i - 1]);
}

/// Currents of the intervals, each at the left point of its interval; then the node values of one layer: the mean of
/// the two intervals beside a point, the only interval at the two ends.
void currents_of_layer(const Problem& problem, const CalculationVariables& cv, std::size_t first, std::size_t last,
                       CurrentProfile& c)
{
    const Discretisation& g = problem.grid;
    const OnMesh& on = problem.set3.on;
    for (std::size_t i = first; i < last; ++i) {
        const double per_n = g.n_current[i + 1] / on.Wn[i], per_p = g.p_current[i + 1] / on.Wp[i];
        c.j_n[i] = net_flux(per_n * cv.n[i] * cv.Bn_min[i + 1], per_n * cv.n[i + 1] * cv.Bn_plus[i + 1],
                            cv.Fn[i + 1] - cv.Fn[i]);
        c.j_p[i] = -net_flux(per_p * cv.p[i] * cv.Bp_plus[i + 1], per_p * cv.p[i + 1] * cv.Bp_min[i + 1],
                             cv.Fp[i] - cv.Fp[i + 1]);
    }
    for (auto* j : {&c.j_n, &c.j_p}) to_points(*j, first, last);
    for (std::size_t i = first; i <= last; ++i) c.j_tot[i] = c.j_n[i] + c.j_p[i];
    if (c.jn_tunnel.empty()) return;
    for (auto* j : {&c.jn_tunnel, &c.jp_tunnel}) to_points(*j, first, last);
    for (std::size_t i = first; i <= last; ++i) c.j_tot[i] += c.jn_tunnel[i] + c.jp_tunnel[i];
}

/// The median; reorders the values.
double median_of(std::vector<double>& values)
{
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), half, values.end());
    if (values.size() % 2 == 1) return *half;
    return 0.5 * (*half + *std::max_element(values.begin(), half));
}

}  // namespace

void extraheer_stroom(const Problem& problem, CalculationVariables& cv, CurrentProfile& profile)
{
    const std::size_t N = cv.psi.size();
    for (auto* j : {&profile.j_n, &profile.j_p, &profile.j_tot}) j->resize(N);
    profile.jn_tunnel = cv.jn_tunnel;
    profile.jp_tunnel = cv.jp_tunnel;
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j)
        currents_of_layer(problem, cv, at(cv.mesh.first[j]), at(cv.mesh.last[j]), profile);
    profile.sorted = profile.j_tot;
    cv.J_median = median_of(profile.sorted);
    cv.J_spread = 0.0;
    for (const double J : profile.j_tot) cv.J_spread = std::max(cv.J_spread, std::fabs(J - cv.J_median));
    const ConvergenceParameters& settings = problem.set3.convergence;
    cv.J_constant = 10.0 * cv.J_spread <=
                    std::max(settings.uniform_abs_tol, settings.uniform_rel_tol * std::fabs(10.0 * cv.J_median));
}

ContactCurrents contact_currents(const Problem& problem, const CalculationVariables& cv)
{
    if (problem.parted) return {};
    const CalculationParameters& set3 = problem.set3;
    const double left = 0.1 * set3.scale.current(0);
    const double right = 0.1 * set3.scale.current(set3.layers - 1);
    const double V = cv.V_kT, psi = cv.psi.back();
    // Densities in equilibrium with the contact: the bias drops out of their exponents.
    const double n_right = set3.on.Wn.back() * std::exp(psi + V), p_right = set3.on.Wp.back() * std::exp(-psi - V);
    const ContactCurrents over_the_edge{left * cv.bn.front() * set3.Sn_left * std::expm1(cv.Fn.front()),
                                        -left * cv.bp.front() * set3.Sp_left * std::expm1(-cv.Fp.front()),
                                        -right * set3.Sn_right * n_right * std::expm1(cv.Fn.back() - V),
                                        right * set3.Sp_right * p_right * std::expm1(V - cv.Fp.back())};
    if (cv.jn_tunnel.empty()) return over_the_edge;
    const ContactCurrents& tunnel = cv.contact_tunnel;
    return {over_the_edge.j_n_left + tunnel.j_n_left, over_the_edge.j_p_left + tunnel.j_p_left,
            over_the_edge.j_n_right + tunnel.j_n_right, over_the_edge.j_p_right + tunnel.j_p_right};
}

InterfaceCurrents interface_currents(const Problem& problem, const CalculationVariables& cv, std::size_t interface)
{
    const Scale& scale = problem.set3.scale;
    const InterfaceTerms& states = cv.terms_interface[interface];
    const Discretisation::Interface& row = problem.grid.interfaces[interface];
    const std::size_t l = at(cv.mesh.last[interface]), f = l + 1;
    const double left = 0.1 * scale.current(static_cast<int>(interface));
    const double right = 0.1 * scale.current(static_cast<int>(interface) + 1);
    InterfaceCurrents c{.n_left = left * states.In_left,
                        .n_right = right * states.In_right,
                        .p_left = left * states.Ip_left,
                        .p_right = right * states.Ip_right,
                        .thermionic = left * (cv.bn[l] * row.vn * cv.du[f] - cv.bp[l] * row.vp * cv.dv[f]),
                        .charge = 1e-4 * states.rho_if};
    const auto direct = [&](Carrier carrier, bool at_right) {
        const TunnelStates& all = cv.tunnel_states;
        double sum = current_beside_interface(cv, carrier, interface, at_right).I;
        for (const TunnelStates::Group& group : (carrier == Carrier::electrons ? all.n : all.p).groups) {
            if (group.b != (at_right ? f : l)) continue;
            const GroupCurrent current = current_of_group(cv, carrier, group);
            sum += current.flux(current.F_b) / (1.0 + group.gain);
        }
        return (at_right ? right : left) * sum;
    };
    c.n_left_direct = direct(Carrier::electrons, false);
    c.n_right_direct = direct(Carrier::electrons, true);
    c.p_left_direct = direct(Carrier::holes, false);
    c.p_right_direct = direct(Carrier::holes, true);
    return c;
}

double interface_recombination(const Problem& problem, const CalculationVariables& cv)
{
    double sum = 0.0;
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j)
        sum += interface_currents(problem, cv, j).recombination();
    return sum;
}

void extract_recombination(const Problem& problem, const CalculationVariables& cv, RecombinationProfile& profile)
{
    const std::size_t N = cv.psi.size();
    const OnMesh& on = problem.set3.on;
    DcTerms defects;
    defects.resize(N);
    rdcbijdrage_defects(problem.defects, cv, defects);
    profile.SRH = std::move(defects.rec);
    for (auto* v : {&profile.radiative, &profile.auger, &profile.total}) v->assign(N, 0.0);
    for (std::size_t i = 0; i < N; ++i) {
        const double excess = cv.P[i] * on.Wn[i] * on.Wp[i];
        profile.radiative[i] = excess * on.K_rad[i];
        profile.auger[i] = excess * (cv.n[i] * on.Cn[i] + cv.p[i] * on.Cp[i]);
        profile.total[i] = profile.SRH[i] + profile.radiative[i] + profile.auger[i];
    }
}

}  // namespace kovin
