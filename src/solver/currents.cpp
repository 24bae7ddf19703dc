#include "solver/currents.h"

#include "solver/bulk_terms.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Currents of the intervals, each at the left point of its interval; then the node values of one layer: the mean of
/// the two intervals beside a point, the only interval at the two ends.
void currents_of_layer(const Problem& problem, const CalculationVariables& cv, std::size_t first, std::size_t last,
                       CurrentProfile& c)
{
    const Discretisation& g = problem.grid;
    for (std::size_t i = first; i < last; ++i) {
        c.j_n[i] = g.n_current[i + 1] * cv.epsi[i] * cv.Bn_min[i + 1] * cv.du[i + 1];
        c.j_p[i] = -g.p_current[i + 1] * cv.empsi[i] * cv.Bp_plus[i + 1] * cv.dv[i + 1];
    }
    for (auto* j : {&c.j_n, &c.j_p}) {
        (*j)[last] = (*j)[last - 1];
        for (std::size_t i = last - 1; i > first; --i) (*j)[i] = 0.5 * ((*j)[i] + (*j)[i - 1]);
    }
    for (std::size_t i = first; i <= last; ++i) c.j_tot[i] = c.j_n[i] + c.j_p[i];
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
    const CalculationParameters& set3 = problem.set3;
    const double left = 0.1 * set3.scale.current(0);
    const double right = 0.1 * set3.scale.current(set3.layers - 1);
    const double n_right = std::exp(cv.V_kT) * std::expm1(cv.Fn.back() - cv.V_kT);
    const double p_right = std::exp(-cv.V_kT) * std::expm1(cv.V_kT - cv.Fp.back());
    return {left * cv.bn.front() * set3.Sn_left * std::expm1(cv.Fn.front()),
            -left * cv.bp.front() * set3.Sp_left * std::expm1(-cv.Fp.front()),
            -right * cv.bn.back() * set3.Sn_right * n_right, right * cv.bp.back() * set3.Sp_right * p_right};
}

InterfaceCurrents interface_currents(const Problem& problem, const CalculationVariables& cv, std::size_t interface)
{
    const Scale& scale = problem.set3.scale;
    const InterfaceTerms& states = cv.terms_interface[interface];
    const Discretisation::Interface& row = problem.grid.interfaces[interface];
    const std::size_t l = at(cv.mesh.last[interface]), f = l + 1;
    const double left = 0.1 * scale.current(static_cast<int>(interface));
    const double right = 0.1 * scale.current(static_cast<int>(interface) + 1);
    return {.n_left = left * states.In_left,
            .n_right = right * states.In_right,
            .p_left = left * states.Ip_left,
            .p_right = right * states.Ip_right,
            .thermionic = left * (cv.bn[l] * row.vn * cv.du[f] - cv.bp[l] * row.vp * cv.dv[f]),
            .charge = 1e-4 * states.rho_if};
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
