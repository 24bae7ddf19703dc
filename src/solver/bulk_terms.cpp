#include "solver/bulk_terms.h"

#include "device/charge_states.h"
#include "solver/chain_terms.h"
#include "solver/interface_terms.h"

#include <algorithm>

namespace kovin {

namespace {

/// One discrete energy; the sums that a step does not read cost as much as those that it does, so each step has its
/// own loop. The compiler gives up on comparing 18 arrays for overlap, which ivdep rules out: they are all distinct.
template <Terms terms>
void add_level(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out)
{
    constexpr bool all = terms == Terms::all, for_psi = all || terms == Terms::psi;
    constexpr bool for_u = all || terms == Terms::u, for_v = all || terms == Terms::v;
    const std::size_t count = level.Nt.size(), first = level.first;
    const double charged = level.charged, empty = level.charge;
    const double* Nt_ = level.Nt.data();
    const double* cn_ = level.cn.data();
    const double* cp_ = level.cp.data();
    const double* en_ = level.en.data();
    const double* ep_ = level.ep.data();
    const double* n_ = cv.n.data() + first;
    const double* p_ = cv.p.data() + first;
    const double* bn_ = cv.bn.data() + first;
    const double* bp_ = cv.bp.data() + first;
    const double* P_ = cv.P.data() + first;
    double* rho = out.rho.data() + first;
    double* rho_psi = out.drho_dpsi.data() + first;
    double* rho_u = out.drho_du.data() + first;
    double* rho_v = out.drho_dv.data() + first;
    double* rec = out.rec.data() + first;
    double* rec_psi = out.drec_dpsi.data() + first;
    double* rec_u = out.drec_du.data() + first;
    double* rec_v = out.drec_dv.data() + first;
#pragma GCC ivdep
    for (std::size_t i = 0; i < count; ++i) {
        const double cn = cn_[i], cp = cp_[i], en = en_[i], ep = ep_[i];
        const double cnn = cn * n_[i], cpp = cp * p_[i];
        const double A = ep + cnn, B = en + cpp;
        const double r = 1.0 / (A + B + negligible_rate);
        const double Nr = Nt_[i] * r;
        if constexpr (for_psi) {
            rho[i] += charged * Nt_[i] * (empty - A * r);
            rho_psi[i] -= charged * Nr * r * (cnn * B + cpp * A);
        }
        if constexpr (all) {
            rho_u[i] -= charged * Nr * r * cn * B * bn_[i];
            rho_v[i] += charged * Nr * r * cp * A * bp_[i];
        }
        if constexpr (for_u || for_v) {
            const double emission = en * ep;
            const double R = P_[i] * emission * Nr;
            rec[i] += R;
            if constexpr (all) rec_psi[i] -= R * (cnn - cpp) * r;
            if constexpr (for_u) rec_u[i] += Nr * r * (emission + (ep + B) * cpp) * bn_[i] * cn;
            if constexpr (for_v) rec_v[i] += Nr * r * (emission + (en + A) * cnn) * bp_[i] * cp;
        }
    }
}

void clear(DcTerms& out, Terms terms)
{
    const auto zero = [](auto&... arrays) { (std::fill(arrays.begin(), arrays.end(), 0.0), ...); };
    switch (terms) {
        case Terms::all:
            return out.clear();
        case Terms::psi:
            return zero(out.rho, out.drho_dpsi);
        // Radiative and Auger terms come complete.
        case Terms::u:
        case Terms::v:
            return zero(out.rec, out.drec_dpsi, out.drec_du, out.drec_dv);
    }
}

}  // namespace

void rdcbijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    switch (terms) {
        case Terms::all:
            return add_level<Terms::all>(level, cv, out);
        case Terms::psi:
            if (level.charged != 0.0) add_level<Terms::psi>(level, cv, out);
            return;
        case Terms::u:
            return add_level<Terms::u>(level, cv, out);
        case Terms::v:
            return add_level<Terms::v>(level, cv, out);
    }
}

void rdcbijdrage_defects(const BulkDefects& defects, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    for (const DefectEnergy& level : defects.energies) rdcbijdrage_een_niveau(level, cv, out, terms);
    for (const DefectChain& chain : defects.chains) rdcbijdrage_een_niveau_multilevel(chain, cv, out, terms);
}

void rdcbijdrage_radiative_auger(const OnMesh& on, std::size_t first, std::size_t last, const CalculationVariables& cv,
                                 DcTerms& out)
{
    for (std::size_t i = first; i <= last; ++i) {
        const double ni2 = on.Wn[i] * on.Wp[i];
        const double rate = (on.K_rad[i] + cv.n[i] * on.Cn[i] + cv.p[i] * on.Cp[i]) * ni2;
        const double P = cv.P[i];
        out.rec[i] += rate * P;
        out.drec_dpsi[i] += (cv.n[i] * on.Cn[i] - cv.p[i] * on.Cp[i]) * P * ni2;
        out.drec_du[i] += rate * cv.expmFp[i] + P * ni2 * cv.bn[i] * on.Cn[i];
        out.drec_dv[i] += rate * cv.expFn[i] + P * ni2 * cv.bp[i] * on.Cp[i];
    }
}

void totale_rdcbijdrage(const Problem& problem, CalculationVariables& cv, Terms terms)
{
    totale_ifrdcbijdrage(problem, cv);
    clear(cv.terms_total, terms);
    rdcbijdrage_defects(problem.defects, cv, cv.terms_total, terms);
    if (terms == Terms::psi) return;  // no charge
    for (std::size_t j = 0; j < static_cast<std::size_t>(cv.mesh.nlayers); ++j)
        if (problem.defects.band_to_band[j])
            rdcbijdrage_radiative_auger(problem.set3.on, static_cast<std::size_t>(cv.mesh.first[j]),
                                        static_cast<std::size_t>(cv.mesh.last[j]), cv, cv.terms_total);
}

}  // namespace kovin
