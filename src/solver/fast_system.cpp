#include "solver/fast_system.h"

#include "solver/chain_terms.h"
#include "solver/interface_terms.h"
#include "solver/residuals.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

constexpr std::size_t psi = 0, n = 1, p = 2;
constexpr std::size_t element(std::size_t row, std::size_t column) { return 3 * row + column; }

double bounded_exp(double x) { return std::exp(std::clamp(x, -exponent_limit, exponent_limit)); }

/// psi of the two points of an interface are tied by a link this much stronger than the coupling to their neighbours.
/// Both points move alike after the step, so that the link leaves no error but one of 1e-6 of the step.
constexpr double link_strength = 1e6;

/// Thermionic flux over an interface, in the unit of its left layer, with its slopes to either density.
struct Link {
    double flux, left, right;
};
/// @param step  of the level, rising with the density on the right
/// @param exponent_right  ln of the left density if it had the level of the right
Link thermionic_link(double velocity, double density, double step, double exponent_right)
{
    Link link{};
    link.left = velocity * density;
    link.right = velocity * bounded_exp(exponent_right);
    link.flux = std::fabs(step) < 0.4 ? link.left * std::expm1(step) : link.right - link.left;
    return link;
}

/// Divides the rows of electrons and holes by their diagonals, that of psi by its own.
void scale_rows(FastFullRow& row)
{
    for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t d = element(k, k);
        const double scale = 1.0 / (row.S[d] - row.A[d] - row.C[d] + 1e-270);
        for (std::size_t m = 0; m < 3; ++m)
            for (auto* block : {row.A, row.S, row.C}) block[element(k, m)] *= scale;
        row.r[k] *= scale;
    }
}

/// Fills the rows of one carrier at the ends of the layers; see fast_kernel_body.h for those between.
struct CarrierRows {
    const FastArrays& a;
    bool half_cells;
    std::size_t own, other;  ///< columns
    const double *flux, *left, *right, *slope_psi, *density, *old, *R_own, *R_other;

    /// The half cell of point k with its inner neighbour m, h wide; `inner` is the block that couples to m.
    void half_cell(FastFullRow& row, double* inner, std::size_t k, std::size_t m, double h) const
    {
        const double near = half_cells ? own_half_cell * h : 0.0, far = half_cells ? neighbour_half_cell * h : 0.0;
        const std::size_t d = element(own, own), c = element(own, other);
        row.r[own] -= near * (a.R[k] - a.G[k]) + far * (a.R[m] - a.G[m]);
        row.S[d] += near * R_own[k] + far * R_own[m];
        row.S[c] += near * R_other[k] + far * R_other[m];
        inner[d] += far * R_own[m];
        inner[c] += far * R_other[m];
        const double storage = 0.5 * h * a.per_dt;
        if (storage > 0.0) {
            row.S[d] += storage * density[k];
            row.r[own] -= storage * (density[k] - old[k]);
        }
    }
    /// The flux from point k = first of a layer into the layer.
    void flux_at_first(FastFullRow& row, std::size_t k) const
    {
        const std::size_t i = k + 1, d = element(own, own);
        row.r[own] += flux[i];
        row.S[d] -= flux[i];
        row.C[d] -= right[i];
        row.C[element(own, psi)] -= slope_psi[i];
    }
    /// The flux out of the layer into its last point k.
    void flux_at_last(FastFullRow& row, std::size_t k) const
    {
        const std::size_t d = element(own, own);
        row.r[own] -= flux[k];
        row.S[d] += flux[k];
        row.A[d] -= left[k];
        row.A[element(own, psi)] -= slope_psi[k];
    }
    /// The contact at point k takes velocity times what is beyond equilibrium.
    void contact(FastFullRow& row, std::size_t k, double velocity, double excess) const
    {
        row.r[own] -= velocity * excess;
        row.S[element(own, own)] += velocity * density[k];
    }
    /// Both rows of an interface; `ratio` turns the flux into the unit of the right layer.
    void link(FastFullRow& l, FastFullRow& f, const Link& over, double ratio) const
    {
        const std::size_t d = element(own, own);
        l.r[own] += over.flux;
        l.S[d] -= over.flux;
        l.C[d] -= over.right;
        f.r[own] -= ratio * over.flux;
        f.S[d] += ratio * over.flux;
        f.A[d] -= ratio * over.left;
    }
};

struct BothCarriers {
    CarrierRows electrons, holes;
    BothCarriers(const Problem& problem, const FastArrays& a)
        : electrons{a,          problem.set3.convergence.interfacial_half_cells != 0,
                    n,          p,
                    a.jn,       a.jn_left,
                    a.jn_right, a.jn_psi,
                    a.n,        a.n_old,
                    a.R_n,      a.R_p},
          holes{a, electrons.half_cells, p, n, a.jp, a.jp_left, a.jp_right, a.jp_psi, a.p, a.p_old, a.R_p, a.R_n}
    {
    }
};

void contact_rows(const Problem& problem, const FastArrays& a, const CalculationVariables& cv, const BothCarriers& both)
{
    const CalculationParameters& set3 = problem.set3;
    const std::size_t N = a.N, z = N - 1;
    FastFullRow& left = a.full[0];
    FastFullRow& right = a.full[2 * a.layers - 1];
    left.S[0] = right.S[0] = 1.0;  // psi is given
    both.electrons.contact(left, 0, set3.Sn_left, bounded_exp(a.lnWn[0] + a.psi[0]) * std::expm1(a.Fn[0]));
    both.holes.contact(left, 0, set3.Sp_left, bounded_exp(a.lnWp[0] - a.psi[0]) * std::expm1(-a.Fp[0]));
    const double V = cv.V_kT;
    both.electrons.contact(right, z, set3.Sn_right, bounded_exp(a.lnWn[z] + a.psi[z] + V) * std::expm1(a.Fn[z] - V));
    both.holes.contact(right, z, set3.Sp_right, bounded_exp(a.lnWp[z] - a.psi[z] - V) * std::expm1(V - a.Fp[z]));
}

/// Charge of point k in the row of psi, by the factor c; `block` couples to k if k is a neighbour.
void add_charge(const FastArrays& a, FastFullRow& row, double* block, std::size_t k, double c)
{
    row.S[element(psi, n)] -= c * a.rho_n[k];
    row.S[element(psi, p)] -= c * a.rho_p[k];
    if (block == nullptr) return;
    block[element(psi, n)] -= c * a.rho_n[k];
    block[element(psi, p)] -= c * a.rho_p[k];
}

/// Displacement at interface j. The row of the left point holds the whole residual, that of the right point the link
/// and its own side: their sum is the equation.
void interface_psi_rows(const Problem& problem, const FastArrays& a, std::size_t j, const InterfaceTerms& states,
                        FastFullRow& l, FastFullRow& f)
{
    const Discretisation::Interface& r = problem.grid.interfaces[j];
    const std::size_t k = a.layer[j].last, m = k + 1;
    const double strong = link_strength * std::max(r.left, r.right);
    l.A[0] -= r.left;
    l.C[0] -= strong;
    f.A[0] -= strong;
    f.C[0] -= r.right;
    l.r[psi] = r.right * (a.psi[m + 1] - a.psi[k]) + r.left * (a.psi[k - 1] - a.psi[k]) + r.charge_f1 * a.rho[m + 1] +
               r.charge_f * a.rho[m] + r.charge_l1 * a.rho[k - 1] + r.charge_l * a.rho[k] + r.sheet * states.rho_if;
    f.r[psi] = 0.0;
    add_charge(a, l, l.A, k - 1, r.charge_l1);
    add_charge(a, l, nullptr, k, r.charge_l);
    add_charge(a, f, f.C, m + 1, r.charge_f1);
    add_charge(a, f, nullptr, m, r.charge_f);
    l.C[element(psi, n)] -= r.sheet * states.drho_if_du_right;
    l.C[element(psi, p)] -= r.sheet * states.drho_if_dv_right;
    l.S[element(psi, n)] -= r.sheet * (states.drho_if_du_left + states.drho_if_du_right);
    l.S[element(psi, p)] -= r.sheet * (states.drho_if_dv_left + states.drho_if_dv_right);
}

/// What the states take from either side. Slopes are to ln n and ln p here.
void interface_state_rows(const InterfaceTerms& s, const InterfaceTransferSums& sums, FastFullRow& l, FastFullRow& f)
{
    l.r[n] -= s.In_left;
    l.C[element(n, n)] += s.dIn_left_du_right;
    l.C[element(n, p)] += s.dIn_left_dv_right;
    l.S[element(n, n)] += sums.In_left_n;
    l.S[element(n, p)] += s.dIn_left_dv_left + s.dIn_left_dv_right;
    l.r[p] -= s.Ip_left;
    l.C[element(p, n)] += s.dIp_left_du_right;
    l.C[element(p, p)] += s.dIp_left_dv_right;
    l.S[element(p, n)] += s.dIp_left_du_left + s.dIp_left_du_right;
    l.S[element(p, p)] += sums.Ip_left_p;
    f.r[n] -= s.In_right;
    f.A[element(n, n)] += s.dIn_right_du_left;
    f.A[element(n, p)] += s.dIn_right_dv_left;
    f.S[element(n, n)] += sums.In_right_n;
    f.S[element(n, p)] += s.dIn_right_dv_left + s.dIn_right_dv_right;
    f.r[p] -= s.Ip_right;
    f.A[element(p, n)] += s.dIp_right_du_left;
    f.A[element(p, p)] += s.dIp_right_dv_left;
    f.S[element(p, n)] += s.dIp_right_du_left + s.dIp_right_du_right;
    f.S[element(p, p)] += sums.Ip_right_p;
}

/// The carriers beside an interface with their densities as variables; see InterfaceCarriers.
InterfaceCarriers densities_at_interface(const Problem& problem, const FastArrays& a, std::size_t j)
{
    const std::size_t l = a.layer[j].last, f = l + 1;
    return carriers_at_interface(problem.set3.scale, {a.n, a.p, a.n, a.p, a.Fn, a.Fp, a.P}, j, l,
                                 bounded_expm1(a.Fn[f] - a.Fn[l]), bounded_expm1(a.Fp[l] - a.Fp[f]));
}

void interface_rows(const Problem& problem, const FastArrays& a, const InterfaceTerms& states, std::size_t j,
                    const BothCarriers& both)
{
    const std::size_t k = a.layer[j].last, m = k + 1;
    FastFullRow& l = a.full[2 * j + 1];
    FastFullRow& f = a.full[2 * j + 2];
    const Discretisation::Interface& r = problem.grid.interfaces[j];
    const double ratio = problem.set3.scale.N0[j] / problem.set3.scale.N0[j + 1];
    const Link of_n = thermionic_link(r.vn, a.n[k], a.Fn[m] - a.Fn[k], a.lnWn[k] + a.psi[k] + a.Fn[m]);
    const Link of_p = thermionic_link(r.vp, a.p[k], a.Fp[k] - a.Fp[m], a.lnWp[k] - a.psi[k] - a.Fp[m]);
    both.electrons.link(l, f, of_n, ratio);
    both.holes.link(l, f, of_p, ratio);
    interface_psi_rows(problem, a, j, states, l, f);
}

}  // namespace

void FastWork::prepare(const CalculationParameters& set3, const Mesh& mesh, const BulkDefects& defects)
{
    points_ = at(mesh.N);
    constexpr std::size_t array_count = 47;  // of arrays()
    store_.assign(array_count * points_, 0.0);
    E_.assign(9 * points_, 0.0);
    x_.assign(3 * points_, 0.0);
    for (auto* v : {&psi_good, &Fn_good, &Fp_good, &psi_in_time, &Fn_in_time, &Fp_in_time, &n_old, &p_old, &G, &rate})
        v->assign(points_, 0.0);
    for (FastHistory* h : {&last, &before}) {
        h->known = false;
        for (auto* v : {&h->psi, &h->Fn, &h->Fp}) v->assign(points_, 0.0);
    }
    const OnMesh& on = set3.on;
    double *lnWn = row(0), *lnWp = row(1), *dGn = row(2), *dGp = row(3), *gn = row(4), *gp = row(5), *left = row(6),
           *right = row(7), *charge = row(8), *w = row(9), *ni2 = row(10);
    layers_.clear();
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const std::size_t first = at(mesh.first[j]), last_point = at(mesh.last[j]);
        FastLayer layer{.first = first, .last = last_point, .band_to_band = defects.band_to_band[j]};
        for (std::size_t i = first; i <= last_point; ++i) {
            lnWn[i] = std::log(on.Nc[i]) - (set3.phi_left - on.chi[i]) / set3.kT;
            lnWp[i] = std::log(on.Nv[i]) + (set3.phi_left - on.chi[i] - on.Eg[i]) / set3.kT;
            ni2[i] = on.Nc[i] * on.Nv[i] * std::exp(-on.Eg[i] / set3.kT);
            if (i == first) continue;
            const double h = mesh.h[i - 1];
            dGn[i] = on.Gn[i] - on.Gn[i - 1];
            dGp[i] = on.Gp[i] - on.Gp[i - 1];
            layer.graded = layer.graded || dGn[i] != dGp[i];
            gn[i] = 0.5 * (on.Dn[i] + on.Dn[i - 1]) / h;
            gp[i] = 0.5 * (on.Dp[i] + on.Dp[i - 1]) / h;
        }
        const double eps_mean = 0.5 * (on.eps[first] + on.eps[last_point]);
        for (std::size_t i = first + 1; i < last_point; ++i) {
            const double to_left = 0.5 * (on.eps[i] + on.eps[i - 1]) / mesh.h[i - 1];
            const double to_right = 0.5 * (on.eps[i] + on.eps[i + 1]) / mesh.h[i];
            w[i] = 0.5 * (mesh.h[i - 1] + mesh.h[i]);
            left[i] = to_left / (to_left + to_right);
            right[i] = to_right / (to_left + to_right);
            charge[i] = w[i] * eps_mean / set3.scale.Lambda[j] / (to_left + to_right);
        }
        layers_.push_back(layer);
    }
    levels_.reserve(defects.energies.size());
    full_.resize(2 * layers_.size());
}

FastArrays FastWork::arrays(const Problem& problem, CalculationVariables& cv)
{
    assert(prepared_for(cv.psi.size()));
    const OnMesh& on = problem.set3.on;
    levels_.clear();
    for (const DefectEnergy& e : problem.defects.energies)
        levels_.push_back({e.first, e.Nt.size(), e.Nt.data(), e.cn.data(), e.cp.data(), e.en.data(), e.ep.data(),
                           e.charge, e.charged, e.optical.present() ? e.optical.thermal.data() : nullptr,
                           e.optical.excess.data()});
    std::size_t k = 0;
    const auto next = [&] { return row(k++); };
    FastArrays a{};
    a.N = points_;
    a.layers = layers_.size();
    a.layer = layers_.data();
    a.levels = levels_.size();
    a.level = levels_.data();
    a.full = full_.data();
    // First those that prepare() fills, in its order.
    for (auto** v :
         {&a.lnWn, &a.lnWp, &a.dGn, &a.dGp, &a.gn, &a.gp, &a.psi_left, &a.psi_right, &a.charge, &a.w, &a.ni2})
        *v = next();
    a.doping = on.doping.data();
    a.K_rad = on.K_rad.data();
    a.auger_n = on.Cn.data();
    a.auger_p = on.Cp.data();
    a.G = problem.G.data();
    a.psi = cv.psi.data();
    a.Fn = cv.Fn.data();
    a.Fp = cv.Fp.data();
    for (auto** v :
         {&a.n,   &a.p,       &a.P,        &a.rho,    &a.rho_n,   &a.rho_p,   &a.R,        &a.R_n,    &a.R_p,
          &a.jn,  &a.jn_left, &a.jn_right, &a.jn_psi, &a.jp,      &a.jp_left, &a.jp_right, &a.jp_psi, &a.n_A_psi,
          &a.n_A, &a.n_C_psi, &a.n_C,      &a.n_S_n,  &a.n_S_p,   &a.n_r,     &a.p_A_psi,  &a.p_A,    &a.p_C_psi,
          &a.p_C, &a.p_S_n,   &a.p_S_p,    &a.p_r,    &a.psi_S_n, &a.psi_S_p, &a.psi_r,    &a.ln_n,   &a.ln_p})
        *v = next();
    a.E = E_.data();
    a.x = x_.data();
    a.n_old = n_old.data();
    a.p_old = p_old.data();
    return a;
}

void fast_physics(const Problem& problem, const FastKernel& kernel, const FastArrays& a)
{
    kernel.carriers(a);
    kernel.terms(a);
    for (const DefectChain& chain : problem.defects.chains) {
        const std::size_t f = chain.first;
        add_chain_by_carriers(chain, {a.n + f, a.p + f, a.n + f, a.p + f, a.P + f},
                              {a.rho + f, nullptr, a.rho_n + f, a.rho_p + f, a.R + f, nullptr, a.R_n + f, a.R_p + f});
    }
}

void fast_interface_states(const Problem& problem, const FastArrays& a, CalculationVariables& cv)
{
    for (InterfaceTerms& states : cv.terms_interface) states = {};
    const auto& energies = problem.interface_states.energies;
    for (std::size_t k = 0; k < energies.size();) {
        const std::size_t j = energies[k].interface;
        const InterfaceCarriers carriers = densities_at_interface(problem, a, j);
        for (; k < energies.size() && energies[k].interface == j; ++k)
            ifrdcbijdrage_een_niveau(energies[k], carriers, cv.terms_interface[j]);
    }
}

void fast_rows(const Problem& problem, const FastKernel& kernel, const FastArrays& a, CalculationVariables& cv)
{
    kernel.rows(a);
    for (std::size_t k = 0; k < 2 * a.layers; ++k) a.full[k] = {};
    const BothCarriers both(problem, a);
    for (std::size_t j = 0; j < a.layers; ++j) {
        const std::size_t first = a.layer[j].first, last = a.layer[j].last;
        for (const CarrierRows* carrier : {&both.electrons, &both.holes}) {
            carrier->flux_at_first(a.full[2 * j], first);
            carrier->half_cell(a.full[2 * j], a.full[2 * j].C, first, first + 1, cv.mesh.h[first]);
            carrier->flux_at_last(a.full[2 * j + 1], last);
            carrier->half_cell(a.full[2 * j + 1], a.full[2 * j + 1].A, last, last - 1, cv.mesh.h[last - 1]);
        }
    }
    contact_rows(problem, a, cv, both);
    fast_interface_states(problem, a, cv);
    const auto& energies = problem.interface_states.energies;
    for (std::size_t j = 0, k = 0; j + 1 < a.layers; ++j) {
        if (k < energies.size() && energies[k].interface == j) {
            const InterfaceCarriers carriers = densities_at_interface(problem, a, j);
            InterfaceTransferSums sums;
            for (; k < energies.size() && energies[k].interface == j; ++k)
                add_transfer_sums(energies[k], carriers, sums);
            interface_state_rows(cv.terms_interface[j], sums, a.full[2 * j + 1], a.full[2 * j + 2]);
        }
        interface_rows(problem, a, cv.terms_interface[j], j, both);
    }
    for (std::size_t k = 0; k < 2 * a.layers; ++k) scale_rows(a.full[k]);
}

}  // namespace kovin
