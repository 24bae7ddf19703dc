#include "solver/bulk_terms.h"

namespace kovin {

void rdcbijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out)
{
    const std::size_t count = level.Nt.size(), first = level.first;
    const double charged = level.charged, empty = level.charge;
    const double* __restrict Nt_ = level.Nt.data();
    const double* __restrict cn_ = level.cn.data();
    const double* __restrict cp_ = level.cp.data();
    const double* __restrict en_ = level.en.data();
    const double* __restrict ep_ = level.ep.data();
    const double* __restrict n_ = cv.n.data() + first;
    const double* __restrict p_ = cv.p.data() + first;
    const double* __restrict bn_ = cv.bn.data() + first;
    const double* __restrict bp_ = cv.bp.data() + first;
    const double* __restrict P_ = cv.P.data() + first;
    double* __restrict rho = out.rho.data() + first;
    double* __restrict rho_psi = out.drho_dpsi.data() + first;
    double* __restrict rho_u = out.drho_du.data() + first;
    double* __restrict rho_v = out.drho_dv.data() + first;
    double* __restrict rec = out.rec.data() + first;
    double* __restrict rec_psi = out.drec_dpsi.data() + first;
    double* __restrict rec_u = out.drec_du.data() + first;
    double* __restrict rec_v = out.drec_dv.data() + first;
    for (std::size_t i = 0; i < count; ++i) {
        const double cn = cn_[i], cp = cp_[i], en = en_[i], ep = ep_[i];
        const double cnn = cn * n_[i], cpp = cp * p_[i];
        const double A = ep + cnn, B = en + cpp;
        const double r = 1.0 / (A + B);
        const double Nr = Nt_[i] * r;
        const double qNr = charged * Nr * r;
        rho[i] += charged * Nt_[i] * (empty - A * r);
        rho_psi[i] -= qNr * (cnn * B + cpp * A);
        rho_u[i] -= qNr * cn * B * bn_[i];
        rho_v[i] += qNr * cp * A * bp_[i];
        const double emission = en * ep;
        const double R = P_[i] * emission * Nr;
        rec[i] += R;
        rec_psi[i] -= R * (cnn - cpp) * r;
        rec_u[i] += Nr * r * (emission + (ep + B) * cpp) * bn_[i] * cn;
        rec_v[i] += Nr * r * (emission + (en + A) * cnn) * bp_[i] * cp;
    }
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

void totale_rdcbijdrage(const Problem& problem, CalculationVariables& cv)
{
    cv.terms_total.clear();
    for (const DefectEnergy& level : problem.defects.energies) rdcbijdrage_een_niveau(level, cv, cv.terms_total);
    for (std::size_t j = 0; j < static_cast<std::size_t>(cv.mesh.nlayers); ++j)
        if (problem.defects.band_to_band[j])
            rdcbijdrage_radiative_auger(problem.set3.on, static_cast<std::size_t>(cv.mesh.first[j]),
                                        static_cast<std::size_t>(cv.mesh.last[j]), cv, cv.terms_total);
}

}  // namespace kovin
