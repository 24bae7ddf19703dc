#include "solver/ac_rows.h"

#include "device/charge_states.h"
#include "solver/bernoulli.h"
#include "solver/interface_terms.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// What the rows of one carrier are made of; `w` is u or v, `step` its difference.
struct View {
    double sign;
    const std::vector<double>&D, &b, &B, &w, &step, &density;
    double BernoulliPair::*slope;  ///< derivative of B
    const std::vector<double>&B_plus, &B_min;
    double Discretisation::Interface::*velocity;
    double S_left, S_right;            ///< contact velocities
    double excess_left, excess_right;  ///< w at the contacts beyond its value there
    double value_right;                ///< of w in equilibrium with the right contact
};

// In a parted cell each contact is in balance with the level beside it, also where that is one of absent carriers.

View electrons(const Problem& problem, const CalculationVariables& cv)
{
    const bool parted = problem.parted.has_value();
    const CalculationParameters& set3 = problem.set3;
    return {1.0,
            set3.on.Dn,
            cv.bn,
            cv.Bn_min,
            cv.expFn,
            cv.du,
            cv.n,
            &BernoulliPair::minus,
            cv.Bn_plus,
            cv.Bn_min,
            &Discretisation::Interface::vn,
            set3.Sn_left,
            set3.Sn_right,
            parted ? 0.0 : std::expm1(cv.Fn.front()),
            parted ? 0.0 : std::exp(cv.V_kT) * std::expm1(cv.Fn.back() - cv.V_kT),
            parted ? cv.expFn.back() : std::exp(cv.V_kT)};
}

View holes(const Problem& problem, const CalculationVariables& cv)
{
    const bool parted = problem.parted.has_value();
    const CalculationParameters& set3 = problem.set3;
    return {-1.0,
            set3.on.Dp,
            cv.bp,
            cv.Bp_plus,
            cv.expmFp,
            cv.dv,
            cv.p,
            &BernoulliPair::plus,
            cv.Bp_plus,
            cv.Bp_min,
            &Discretisation::Interface::vp,
            set3.Sp_left,
            set3.Sp_right,
            parted ? 0.0 : std::expm1(-cv.Fp.front()),
            parted ? 0.0 : std::exp(-cv.V_kT) * std::expm1(cv.V_kT - cv.Fp.back()),
            parted ? cv.expmFp.back() : std::exp(-cv.V_kT)};
}

/// In a parted cell the levels are flat but for places that no carrier passes.
bool is_closed(const PartedCell& parted, std::size_t interface, double step)
{
    return interface == parted.closed_interface || parted.empty[interface] || parted.empty[interface + 1] ||
           step != 0.0;
}

void links(const Problem& problem, const CalculationVariables& cv, const View& c, AcLinks& link)
{
    const Mesh& mesh = cv.mesh;
    for (auto* v : {&link.left, &link.right, &link.net, &link.slope}) v->front() = v->back() = 0.0;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t i = at(mesh.first[j]) + 1; i <= at(mesh.last[j]); ++i) {
            const double g = 0.5 * (c.D[i] + c.D[i - 1]) / mesh.h[i - 1] * c.b[i - 1];
            link.left[i] = g * c.B[i] * c.w[i - 1];
            link.right[i] = g * c.B[i] * c.w[i];
            link.net[i] = g * c.B[i] * c.step[i];
            link.slope[i] = -g * (bernoulli_slopes({c.B_plus[i], c.B_min[i]}).*c.slope) * c.step[i];
        }
    for (std::size_t j = 0; j + 1 < at(mesh.nlayers); ++j) {
        const std::size_t l = at(mesh.last[j]), f = l + 1;
        const bool closed = problem.parted && is_closed(*problem.parted, j, c.step[f]);
        const double g = closed ? 0.0 : c.b[l] * problem.grid.interfaces[j].*c.velocity;
        link.left[f] = g * c.w[l];
        link.right[f] = g * c.w[f];
        link.net[f] = closed ? 0.0 : g * c.step[f];  // the step of levels far apart may be beyond the numbers
        link.slope[f] = 0.0;
    }
}

void carrier_rows(const CalculationVariables& cv, const View& c, const std::vector<double>& from_left,
                  AcCarrierRows& rows)
{
    const AcLinks& link = rows.link;
    const DcTerms& t = cv.terms_total;
    const Mesh& mesh = cv.mesh;
    const std::size_t N = at(mesh.N);
    std::fill(rows.rate.begin(), rows.rate.end(), 0.0);
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t i = at(mesh.first[j]) + 1; i < at(mesh.last[j]); ++i)
            rows.rate[i] = 0.5 * c.sign * (mesh.h[i - 1] + mesh.h[i]);
    for (std::size_t i = 0; i < N; ++i) {
        const double q = from_left[i], rate = rows.rate[i];
        double size = q * link.right[i] + link.left[i + 1] + negligible_rate;
        double sum = link.net[i + 1] - q * link.net[i], sum_psi = sum;
        if (i == 0 || i + 1 == N) {
            // The flux through the contact is the surface velocity times the excess.
            const double S = c.b[i] * (i == 0 ? c.S_left : c.S_right);
            size += S * c.w[i];
            sum -= S * c.w[i];
            sum_psi -= S * (i == 0 ? c.excess_left : c.excess_right);
        }
        const double scale = 1.0 / size;
        const double drec_dFn = cv.expFn[i] * t.drec_du[i], drec_dFp = -cv.expmFp[i] * t.drec_dv[i];
        // The negligible rate holds a level where there are no carriers at all.
        sum -= negligible_rate;
        rows.scale[i] = scale;
        rows.sub_psi[i] = -scale * q * (link.net[i] - link.slope[i]);
        rows.sub[i] = scale * q * link.left[i];
        rows.super_psi[i] = scale * link.slope[i + 1];
        rows.super[i] = scale * link.right[i + 1];
        rows.sum_psi[i] = scale * (sum_psi - rate * t.drec_dpsi[i]);
        rows.sum_Fn[i] = scale * ((c.sign > 0.0 ? sum : 0.0) - rate * drec_dFn);
        rows.sum_Fp[i] = scale * ((c.sign > 0.0 ? 0.0 : sum) - rate * drec_dFp);
        rows.storage[i] = scale * c.sign * rate * c.density[i];
        rows.rate[i] = scale * rate;
    }
    rows.to_V = rows.scale.back() * c.b.back() * c.S_right * c.value_right;
}

/// In layers without carriers the levels mean nothing: they stay.
void hold_levels(const Mesh& mesh, const PartedCell& parted, AcCarrierRows& rows, bool electrons)
{
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        if (!parted.empty[j]) continue;
        for (std::size_t i = at(mesh.first[j]); i <= at(mesh.last[j]); ++i) {
            for (auto* v : {&rows.sub_psi, &rows.sub, &rows.super_psi, &rows.super, &rows.sum_psi, &rows.sum_Fn,
                            &rows.sum_Fp, &rows.storage, &rows.rate, &rows.scale})
                (*v)[i] = 0.0;
            (electrons ? rows.sum_Fn : rows.sum_Fp)[i] = -1.0;
            for (auto* v : {&rows.link.left, &rows.link.right, &rows.link.net, &rows.link.slope}) (*v)[i] = 0.0;
        }
        if (at(mesh.last[j]) + 1 == at(mesh.N)) rows.to_V = 0.0;
    }
}

void poisson_rows(const Problem& problem, const CalculationVariables& cv, AcPoissonRows& rows)
{
    const Discretisation& g = problem.grid;
    const DcTerms& t = cv.terms_total;
    const Mesh& mesh = cv.mesh;
    for (auto* v : {&rows.sub, &rows.super, &rows.sum_psi, &rows.sum_Fn, &rows.sum_Fp, &rows.charge})
        std::fill(v->begin(), v->end(), 0.0);
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t i = at(mesh.first[j]) + 1; i < at(mesh.last[j]); ++i) {
            rows.sub[i] = g.psi_left[i];
            rows.super[i] = g.psi_right[i];
            rows.charge[i] = g.psi_charge[i];
            rows.sum_psi[i] = g.psi_charge[i] * (t.drho_dpsi[i] - cv.n[i] - cv.p[i]);
            rows.sum_Fn[i] = g.psi_charge[i] * (cv.expFn[i] * t.drho_du[i] - cv.n[i]);
            rows.sum_Fp[i] = -g.psi_charge[i] * (cv.expmFp[i] * t.drho_dv[i] + cv.p[i]);
        }
    rows.sum_psi.front() = rows.sum_psi.back() = 1.0;  // psi is given at both contacts
}

/// The displacement from l - 1 to the point behind f at the row of l, psi[f] = psi[l] at that of f, and the steady
/// answer of the states.
void interface_rows(const Problem& problem, const CalculationVariables& cv, std::size_t j, AcRows& rows)
{
    const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
    AcInterfaceRows& r = rows.interfaces[j];
    rows.psi.sub[l] = problem.grid.interfaces[j].left;
    rows.psi.sub[f] = -1.0;
    r.displacement = problem.grid.interfaces[j].right;
    r.sheet = problem.grid.interfaces[j].sheet;
    r.n_left = -rows.n.scale[l];
    r.n_right = -rows.n.scale[f];
    r.p_left = rows.p.scale[l];
    r.p_right = rows.p.scale[f];

    // Slopes to Fn and Fp of both sides; their sums where much passes through the states are formed apart.
    InterfaceTerms own;
    const InterfaceTerms& t = cv.tunnel_states.energies.empty() ? cv.terms_interface[j] : own;
    const double uL = cv.expFn[l], uR = cv.expFn[f], vL = -cv.expmFp[l], vR = -cv.expmFp[f];
    InterfaceCarriers c = carriers_at_interface(problem, cv, j);
    // Nothing passes a closed interface: how far apart its levels are means nothing, and may be beyond the numbers.
    const bool closed_n = problem.parted && is_closed(*problem.parted, j, c.du);
    const bool closed_p = problem.parted && is_closed(*problem.parted, j, c.dv);
    c.du = closed_n ? 0.0 : c.du / uL;
    c.dv = closed_p ? 0.0 : c.dv / -vL;
    c.bnL = c.nL, c.bnR = c.nR, c.bpL = c.pL, c.bpR = c.pR;
    InterfaceTransferSums sums;
    for (const InterfaceEnergy& level : interface_energies(problem, cv))
        if (level.interface == j) add_transfer_sums(level, c, sums);
    if (&t == &own)  // with the capture by tunnelling at the interface itself
        for (const InterfaceEnergy& level : cv.tunnel_states.energies)
            if (level.interface == j) ifrdcbijdrage_een_niveau(level, carriers_at_interface(problem, cv, j), own);

    r.C = {{{0.0, r.sheet * (uR * t.drho_if_du_right), r.sheet * (vR * t.drho_if_dv_right)},
            {rows.n.super_psi[l], rows.n.super[l] + r.n_left * (uR * t.dIn_left_du_right),
             r.n_left * (vR * t.dIn_left_dv_right)},
            {rows.p.super_psi[l], r.p_left * (uR * t.dIp_left_du_right),
             rows.p.super[l] + r.p_left * (vR * t.dIp_left_dv_right)}}};
    const double In_Fn = uL * t.dIn_right_du_left, In_Fp = vL * t.dIn_right_dv_left;
    const double Ip_Fn = uL * t.dIp_right_du_left, Ip_Fp = vL * t.dIp_right_dv_left;
    r.A = {{{-1.0, 0.0, 0.0},
            {rows.n.sub_psi[f], rows.n.sub[f] + r.n_right * In_Fn, r.n_right * In_Fp},
            {rows.p.sub_psi[f], r.p_right * Ip_Fn, rows.p.sub[f] + r.p_right * Ip_Fp}}};

    const double rho_Fn = uL * t.drho_if_du_left + uR * t.drho_if_du_right;
    const double rho_Fp = vL * t.drho_if_dv_left + vR * t.drho_if_dv_right;
    rows.psi.sum_psi[l] = r.sheet * (rho_Fn + rho_Fp);
    rows.psi.sum_Fn[l] = r.sheet * rho_Fn;
    rows.psi.sum_Fp[l] = r.sheet * rho_Fp;
    const auto add = [](AcCarrierRows& to, std::size_t i, double factor, double by_Fn, double by_Fp) {
        to.sum_Fn[i] += factor * by_Fn;
        to.sum_Fp[i] += factor * by_Fp;
        to.sum_psi[i] += factor * (by_Fn + by_Fp);
    };
    add(rows.n, l, r.n_left, sums.In_left_n, vL * t.dIn_left_dv_left + vR * t.dIn_left_dv_right);
    add(rows.n, f, r.n_right, sums.In_right_n, In_Fp + vR * t.dIn_right_dv_right);
    add(rows.p, l, r.p_left, uL * t.dIp_left_du_left + uR * t.dIp_left_du_right, -sums.Ip_left_p);
    add(rows.p, f, r.p_right, Ip_Fn + uR * t.dIp_right_du_right, -sums.Ip_right_p);
}

}  // namespace

void AcRows::resize(std::size_t points, std::size_t interfaces_count)
{
    for (AcCarrierRows* c : {&n, &p}) {
        for (auto* v : {&c->link.left, &c->link.right, &c->link.net, &c->link.slope}) v->assign(points + 1, 0.0);
        for (auto* v : {&c->sub_psi, &c->sub, &c->super_psi, &c->super, &c->sum_psi, &c->sum_Fn, &c->sum_Fp,
                        &c->storage, &c->rate, &c->scale})
            v->assign(points, 0.0);
    }
    for (auto* v : {&psi.sub, &psi.super, &psi.sum_psi, &psi.sum_Fn, &psi.sum_Fp, &psi.charge, &from_left})
        v->assign(points, 0.0);
    interfaces.assign(interfaces_count, {});
}

void calculate_ac_jacobian(const Problem& problem, const CalculationVariables& cv, AcRows& rows)
{
    const Scale& scale = problem.set3.scale;
    std::fill(rows.from_left.begin(), rows.from_left.end(), 1.0);
    for (std::size_t j = 0; j < rows.interfaces.size(); ++j)
        rows.from_left[at(cv.mesh.last[j]) + 1] = scale.N0[j] / scale.N0[j + 1];
    poisson_rows(problem, cv, rows.psi);
    for (const View& c : {electrons(problem, cv), holes(problem, cv)}) {
        AcCarrierRows& of = c.sign > 0.0 ? rows.n : rows.p;
        links(problem, cv, c, of.link);
        carrier_rows(cv, c, rows.from_left, of);
        if (problem.parted) hold_levels(cv.mesh, *problem.parted, of, c.sign > 0.0);
    }
    for (std::size_t j = 0; j < rows.interfaces.size(); ++j) interface_rows(problem, cv, j, rows);
}

}  // namespace kovin
