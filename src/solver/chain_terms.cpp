#include "solver/chain_terms.h"

#include "device/charge_states.h"

namespace kovin {

namespace {

/// d ln f[s] of the states of a chain from d ln(A/B) of its levels.
template <int L>
void fraction_slopes(const ChainOccupation<L>& chain, const double* slope, double* d)
{
    double down = 0.0, up = 0.0;
    d[L] = 0.0;
#pragma GCC unroll 4
    for (int s = L - 1; s >= 0; --s) d[s] = down -= slope[s] * chain.above[s];
#pragma GCC unroll 4
    for (int s = 0; s < L; ++s) d[s + 1] += up += slope[s] * chain.below[s];
}

/// One energy of a chain with L levels. psi acts on the fractions through n and p alone, as u d/du - v d/dv. Loops over
/// levels are unrolled, so that the loop over the points vectorises.
template <int L, Terms terms>
void add_chain(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out)
{
    constexpr bool all = terms == Terms::all, for_psi = all || terms == Terms::psi;
    constexpr bool for_u = all || terms == Terms::u, for_v = all || terms == Terms::v;
    const std::size_t count = chain.Nt.size(), first = chain.first;
    const double* Nt_ = chain.Nt.data();
    const double* cn_ = chain.cn.data();
    const double* cp_ = chain.cp.data();
    const double* en_ = chain.en.data();
    const double* ep_ = chain.ep.data();
    const double* n_ = cv.n.data() + first;
    const double* p_ = cv.p.data() + first;
    const double* bn_ = cv.bn.data() + first;
    const double* bp_ = cv.bp.data() + first;
    const double* u_ = cv.expFn.data() + first;
    const double* v_ = cv.expmFp.data() + first;
    const double* P_ = cv.P.data() + first;
    double* rho = out.rho.data() + first;
    double* rho_psi = out.drho_dpsi.data() + first;
    double* rho_u = out.drho_du.data() + first;
    double* rho_v = out.drho_dv.data() + first;
    double* rec = out.rec.data() + first;
    double* rec_psi = out.drec_dpsi.data() + first;
    double* rec_u = out.drec_du.data() + first;
    double* rec_v = out.drec_dv.data() + first;
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
            rho_psi[i] -= N * (u_[i] * by_u - v_[i] * by_v);
            if constexpr (all) {
                rho_u[i] -= N * by_u;
                rho_v[i] -= N * by_v;
            }
        }
        if constexpr (for_u || for_v) {
            double d_u[L + 1], d_v[L + 1];  // of ln f; what is not read is not computed
            fraction_slopes(states, slope_u, d_u);
            fraction_slopes(states, slope_v, d_v);
            double R = 0.0, R_psi = 0.0, R_u = 0.0, R_v = 0.0;
            double shift_u = 0.0, shift_v = 0.0;  // change of the rate by that of the fractions
#pragma GCC unroll 4
            for (int s = 0; s < L; ++s) {
                const std::size_t k = static_cast<std::size_t>(s) * count + i;
                const double f = states.f[s], f1 = states.f[s + 1];
                const double per_both = 1.0 / (A[s] + B[s]), w = (f + f1) * per_both;
                const double emission = en_[k] * ep_[k], rate = P_[i] * emission * per_both;
                R += rate * (f + f1);
                R_psi -= rate * w * (cnn[s] - cpp[s]);
                shift_u += rate * (f * d_u[s] + f1 * d_u[s + 1]);
                shift_v += rate * (f * d_v[s] + f1 * d_v[s + 1]);
                R_u += w * per_both * (emission + (ep_[k] + B[s]) * cpp[s]) * bn_[i] * cn_[k];
                R_v += w * per_both * (emission + (en_[k] + A[s]) * cnn[s]) * bp_[i] * cp_[k];
            }
            R_psi += u_[i] * shift_u - v_[i] * shift_v;
            R_u += shift_u;
            R_v += shift_v;
            rec[i] += Nt_[i] * R;
            if constexpr (all) rec_psi[i] += Nt_[i] * R_psi;
            if constexpr (for_u) rec_u[i] += Nt_[i] * R_u;
            if constexpr (for_v) rec_v[i] += Nt_[i] * R_v;
        }
    }
}

template <int L>
void add_terms(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    switch (terms) {
        case Terms::all:
            return add_chain<L, Terms::all>(chain, cv, out);
        case Terms::psi:
            if (chain.charged != 0.0) add_chain<L, Terms::psi>(chain, cv, out);
            return;
        case Terms::u:
            return add_chain<L, Terms::u>(chain, cv, out);
        case Terms::v:
            return add_chain<L, Terms::v>(chain, cv, out);
    }
}

}  // namespace

void rdcbijdrage_een_niveau_multilevel(const DefectChain& chain, const CalculationVariables& cv, DcTerms& out,
                                       Terms terms)
{
    switch (chain.levels) {
        case 2:
            return add_terms<2>(chain, cv, out, terms);
        case 3:
            return add_terms<3>(chain, cv, out, terms);
        case 4:
            return add_terms<4>(chain, cv, out, terms);
        default:
            break;
    }
}

}  // namespace kovin
