#include "solver/chain_terms.h"

#include "device/charge_states.h"

namespace kovin {

namespace {

/// One energy of a chain with L levels. psi acts on the fractions through n and p alone, as u d/du - v d/dv. Loops over
/// levels are unrolled, so that the loop over the points vectorises.
template <int L, Terms terms, bool optical = false>
void add_chain(const DefectChain& chain, const LevelCarriers& with, const double* u_, const double* v_,
               const LevelSums& out)
{
    constexpr bool all = terms == Terms::all, carriers = all || terms == Terms::carriers;
    constexpr bool for_psi = carriers || terms == Terms::psi;
    constexpr bool for_u = carriers || terms == Terms::u, for_v = carriers || terms == Terms::v;
    const std::size_t count = chain.Nt.size();
    const double *Nt_ = chain.Nt.data(), *cn_ = chain.cn.data(), *cp_ = chain.cp.data();
    const double *en_ = chain.en.data(), *ep_ = chain.ep.data();
    const double *thermal_ = chain.optical.thermal.data(), *excess_ = chain.optical.excess.data();
    const double *n_ = with.n, *p_ = with.p, *bn_ = with.bn, *bp_ = with.bp, *P_ = with.P;
    double *rho = out.rho, *rho_psi = out.rho_psi, *rho_u = out.rho_u, *rho_v = out.rho_v;
    double *rec = out.rec, *rec_psi = out.rec_psi, *rec_u = out.rec_u, *rec_v = out.rec_v;
    const double charged = chain.charged, top_charge = chain.charge;
#pragma GCC ivdep
    for (std::size_t i = 0; i < count; ++i) {
        double cnn[L], cpp[L], A[L], B[L], slope_u[L], slope_v[L];
#pragma GCC unroll 4
        for (int s = 0; s < L; ++s) {
            const std::size_t k = static_cast<std::size_t>(s) * count + i;
            cnn[s] = cn_[k] * n_[i];
            cpp[s] = cp_[k] * p_[i];
            A[s] = ep_[k] + cnn[s] + negligible_rate;
            B[s] = en_[k] + cpp[s] + negligible_rate;
            slope_u[s] = cn_[k] * bn_[i] / A[s];
            slope_v[s] = -cp_[k] * bp_[i] / B[s];
        }
        const ChainOccupation<L> states(A, B);
        if constexpr (for_psi) {
            double charge = 0.0, by_u = 0.0, by_v = 0.0;
#pragma GCC unroll 5
            for (int s = 0; s <= L; ++s) charge += (top_charge - s) * states.f[s];
#pragma GCC unroll 4
            for (int s = 0; s < L; ++s) {
                const double response = states.response[s];
                by_u += slope_u[s] * response;
                by_v += slope_v[s] * response;
            }
            const double N = charged * Nt_[i];
            rho[i] += N * charge;
            if constexpr (all || terms == Terms::psi) rho_psi[i] -= N * (u_[i] * by_u - v_[i] * by_v);
            if constexpr (carriers) {
                rho_u[i] -= N * by_u;
                rho_v[i] -= N * by_v;
            }
        }
        if constexpr (for_u || for_v) {
            double d_u[L + 1], d_v[L + 1];  // of ln f; what is not read is not computed
            states.fraction_slopes(slope_u, d_u);
            states.fraction_slopes(slope_v, d_v);
            double R = 0.0, R_psi = 0.0, R_u = 0.0, R_v = 0.0;
            double shift_u = 0.0, shift_v = 0.0;  // change of the rate by that of the fractions
#pragma GCC unroll 4
            for (int s = 0; s < L; ++s) {
                const std::size_t k = static_cast<std::size_t>(s) * count + i;
                const double f = states.f[s], f1 = states.f[s + 1];
                const double per_both = 1.0 / (A[s] + B[s]), w = (f + f1) * per_both;
                const double emission = en_[k] * ep_[k];
                double rate;
                if constexpr (optical)
                    rate = (P_[i] * thermal_[k] - excess_[k]) * per_both;
                else
                    rate = P_[i] * emission * per_both;
                R += rate * (f + f1);
                R_psi -= rate * w * (cnn[s] - cpp[s]);
                shift_u += rate * (f * d_u[s] + f1 * d_u[s + 1]);
                shift_v += rate * (f * d_v[s] + f1 * d_v[s + 1]);
                R_u += w * per_both * (emission + (ep_[k] + B[s]) * cpp[s]) * bn_[i] * cn_[k];
                R_v += w * per_both * (emission + (en_[k] + A[s]) * cnn[s]) * bp_[i] * cp_[k];
            }
            if constexpr (all) R_psi += u_[i] * shift_u - v_[i] * shift_v;
            R_u += shift_u;
            R_v += shift_v;
            rec[i] += Nt_[i] * R;
            if constexpr (all) rec_psi[i] += Nt_[i] * R_psi;
            if constexpr (for_u) rec_u[i] += Nt_[i] * R_u;
            if constexpr (for_v) rec_v[i] += Nt_[i] * R_v;
        }
    }
}

template <int L, bool optical>
void add_terms(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    const std::size_t k = chain.first;
    const LevelCarriers with{cv.n.data() + k, cv.p.data() + k, cv.bn.data() + k, cv.bp.data() + k, cv.P.data() + k};
    const LevelSums sums{out.rho.data() + k, out.drho_dpsi.data() + k, out.drho_du.data() + k, out.drho_dv.data() + k,
                         out.rec.data() + k, out.drec_dpsi.data() + k, out.drec_du.data() + k, out.drec_dv.data() + k};
    const double *u = cv.expFn.data() + k, *v = cv.expmFp.data() + k;
    switch (terms) {
        case Terms::all:
            return add_chain<L, Terms::all, optical>(chain, with, u, v, sums);
        case Terms::psi:
            if (chain.charged != 0.0) add_chain<L, Terms::psi, optical>(chain, with, u, v, sums);
            return;
        case Terms::u:
            return add_chain<L, Terms::u, optical>(chain, with, u, v, sums);
        case Terms::v:
            return add_chain<L, Terms::v, optical>(chain, with, u, v, sums);
        case Terms::carriers:
            return add_chain<L, Terms::carriers, optical>(chain, with, nullptr, nullptr, sums);
    }
}

}  // namespace

void rdcbijdrage_een_niveau_multilevel(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out,
                                       Terms terms)
{
    with_levels(chain.levels, [&](auto L) {
        if (chain.optical.present())
            add_terms<L.value, true>(chain, cv, out, terms);
        else
            add_terms<L.value, false>(chain, cv, out, terms);
    });
}

void add_chain_by_carriers(const DefectChain& chain, const LevelCarriers& with, const LevelSums& out)
{
    with_levels(chain.levels, [&](auto L) {
        if (chain.optical.present())
            add_chain<L.value, Terms::carriers, true>(chain, with, nullptr, nullptr, out);
        else
            add_chain<L.value, Terms::carriers>(chain, with, nullptr, nullptr, out);
    });
}

}  // namespace kovin
