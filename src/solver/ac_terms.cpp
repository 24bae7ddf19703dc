#include "solver/ac_terms.h"

#include "base/constants.h"
#include "device/charge_states.h"

#include <algorithm>

namespace kovin {

namespace {

/// Pointers of all sums from one mesh point on.
struct Sums {
    double *rho_Fn_re, *rho_Fn_im, *rho_Fp_re, *rho_Fp_im;
    double *Rn_Fn_re, *Rn_Fn_im, *Rn_Fp_re, *Rn_Fp_im;
    double *Rp_Fn_re, *Rp_Fn_im, *Rp_Fp_re, *Rp_Fp_im;

    Sums(AcTerms& t, std::size_t k)
        : rho_Fn_re(t.Fn[ac_rho].re.data() + k),
          rho_Fn_im(t.Fn[ac_rho].im.data() + k),
          rho_Fp_re(t.Fp[ac_rho].re.data() + k),
          rho_Fp_im(t.Fp[ac_rho].im.data() + k),
          Rn_Fn_re(t.Fn[ac_Rn].re.data() + k),
          Rn_Fn_im(t.Fn[ac_Rn].im.data() + k),
          Rn_Fp_re(t.Fp[ac_Rn].re.data() + k),
          Rn_Fp_im(t.Fp[ac_Rn].im.data() + k),
          Rp_Fn_re(t.Fn[ac_Rp].re.data() + k),
          Rp_Fn_im(t.Fn[ac_Rp].im.data() + k),
          Rp_Fp_re(t.Fp[ac_Rp].re.data() + k),
          Rp_Fp_im(t.Fp[ac_Rp].im.data() + k)
    {
    }
};

/// Corrections e of the fractions of a chain at the frequency omega: (i omega - Q) e = -i omega df0. The states are
/// eliminated from the top. The columns of the matrix add up to i omega, so that each pivot is a sum of positive rates
/// and of what is left of i omega behind it; the df0 add up to 0, which gives the right-hand side of the last.
/// Source: Grassmann, Taksar, Heyman, Oper. Res. 33 (1985) 1107, for such matrices.
template <int L>
struct ChainDelay {
    Complex per_pivot[L + 1];  ///< 1/pivot of state s
    Complex leak[L + 1];       ///< share of the pivot that does not lead to the state below

    ChainDelay(const double* A, const double* B, double omega)
    {
        Complex self{0.0, omega};
        for (int s = L; s > 0; --s) {
            per_pivot[s] = inverse(self + Complex{B[s - 1], 0.0});
            leak[s] = self * per_pivot[s];
            self = A[s - 1] * leak[s] + Complex{0.0, omega};
        }
        per_pivot[0] = inverse(self);
        leak[0] = {1.0, 0.0};
    }

    void correct(const double* A, const double* df0, double omega, Complex* e) const
    {
        Complex collected[L + 1], lost;
        collected[L] = {0.0, -omega * df0[L]};
        for (int s = L; s > 0; --s) {
            const Complex part = leak[s] * collected[s];
            lost += part;
            if (s > 1) collected[s - 1] = Complex{0.0, -omega * df0[s - 1]} + collected[s] - part;
        }
        e[0] = -lost * per_pivot[0];
        for (int s = 1; s <= L; ++s) e[s] = (collected[s] + A[s - 1] * e[s - 1]) * per_pivot[s];
    }
};

template <int L>
void add_chain(const DefectChain& chain, const CalculationVariables& cv, double omega, AcTerms& out)
{
    const std::size_t count = chain.Nt.size();
    const Sums sums(out, chain.first);
    for (std::size_t i = 0; i < count; ++i) {
        const double n = cv.n[chain.first + i], p = cv.p[chain.first + i];
        double A[L], B[L], slope_Fn[L], slope_Fp[L], d[L + 1];
        for (int s = 0; s < L; ++s) {
            const std::size_t k = static_cast<std::size_t>(s) * count + i;
            A[s] = chain.ep[k] + chain.cn[k] * n + negligible_rate;
            B[s] = chain.en[k] + chain.cp[k] * p + negligible_rate;
            slope_Fn[s] = chain.cn[k] * n / A[s];
            slope_Fp[s] = chain.cp[k] * p / B[s];
        }
        const ChainOccupation<L> states(A, B);
        const ChainDelay<L> delay(A, B, omega);
        const auto add = [&](const double* slope, double& rho_re, double& rho_im, double& Rn_re, double& Rn_im,
                             double& Rp_re, double& Rp_im) {
            Complex e[L + 1], rho, Rn, Rp;
            states.fraction_slopes(slope, d);
            for (int s = 0; s <= L; ++s) d[s] *= states.f[s];
            delay.correct(A, d, omega, e);
            for (int s = 0; s <= L; ++s) rho += (chain.charge - s) * e[s];
            for (int s = 0; s < L; ++s) {
                const std::size_t k = static_cast<std::size_t>(s) * count + i;
                Rn += chain.cn[k] * n * e[s] - chain.en[k] * e[s + 1];
                Rp += chain.cp[k] * p * e[s + 1] - chain.ep[k] * e[s];
            }
            const double Nt = chain.Nt[i];
            rho_re += Nt * rho.re, rho_im += Nt * rho.im;
            Rn_re += Nt * Rn.re, Rn_im += Nt * Rn.im;
            Rp_re += Nt * Rp.re, Rp_im += Nt * Rp.im;
        };
        add(slope_Fn, sums.rho_Fn_re[i], sums.rho_Fn_im[i], sums.Rn_Fn_re[i], sums.Rn_Fn_im[i], sums.Rp_Fn_re[i],
            sums.Rp_Fn_im[i]);
        add(slope_Fp, sums.rho_Fp_re[i], sums.rho_Fp_im[i], sums.Rn_Fp_re[i], sums.Rn_Fp_im[i], sums.Rp_Fp_re[i],
            sums.Rp_Fp_im[i]);
    }
}

}  // namespace

void AcTerms::resize(std::size_t points)
{
    for (auto* column : {&Fn, &Fp})
        for (Slope& row : *column) {
            row.re.assign(points, 0.0);
            row.im.assign(points, 0.0);
        }
}

void AcTerms::clear()
{
    for (auto* column : {&Fn, &Fp})
        for (Slope& row : *column) {
            std::fill(row.re.begin(), row.re.end(), 0.0);
            std::fill(row.im.begin(), row.im.end(), 0.0);
        }
}

void acr_bijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, double omega, AcTerms& out)
{
    const std::size_t count = level.Nt.size();
    const double *Nt = level.Nt.data(), *cn_ = level.cn.data(), *cp_ = level.cp.data(), *en_ = level.en.data(),
                 *ep_ = level.ep.data(), *n_ = cv.n.data() + level.first, *p_ = cv.p.data() + level.first;
    const Sums s(out, level.first);
#pragma GCC ivdep
    for (std::size_t i = 0; i < count; ++i) {
        const double cnn = cn_[i] * n_[i], cpp = cp_[i] * p_[i], en = en_[i], ep = ep_[i];
        const double A = ep + cnn, B = en + cpp, sum = A + B + negligible_rate;
        const double r = 1.0 / sum, w = omega * r, both = 1.0 / (1.0 + w * w);
        const double z_re = w * w * both, z_im = w * both;
        const double at_n = Nt[i] * cnn * B * r * r, at_p = Nt[i] * cpp * A * r * r;
        const double n_re = at_n * z_re, n_im = at_n * z_im, p_re = at_p * z_re, p_im = at_p * z_im;
        const double by_n = cnn + en, by_p = cpp + ep;
        s.rho_Fn_re[i] += n_re;
        s.rho_Fn_im[i] += n_im;
        s.rho_Fp_re[i] += p_re;
        s.rho_Fp_im[i] += p_im;
        s.Rn_Fn_re[i] += by_n * n_re;
        s.Rn_Fn_im[i] += by_n * n_im;
        s.Rn_Fp_re[i] += by_n * p_re;
        s.Rn_Fp_im[i] += by_n * p_im;
        s.Rp_Fn_re[i] -= by_p * n_re;
        s.Rp_Fn_im[i] -= by_p * n_im;
        s.Rp_Fp_re[i] -= by_p * p_re;
        s.Rp_Fp_im[i] -= by_p * p_im;
    }
}

void acr_bijdrage_een_niveau_multilevel(const DefectChain& chain, const CalculationVariables& cv, double omega,
                                        AcTerms& out)
{
    with_levels(chain.levels, [&](auto L) { add_chain<L.value>(chain, cv, omega, out); });
}

void totale_acr_bijdrage_multilevel(const BulkDefects& defects, const CalculationVariables& cv, double omega,
                                    AcTerms& out)
{
    out.clear();
    if (omega == 0.0) return;
    for (const DefectEnergy& level : defects.energies)
        if (level.charged != 0.0) acr_bijdrage_een_niveau(level, cv, omega, out);
    for (const DefectChain& chain : defects.chains)
        if (chain.charged != 0.0) acr_bijdrage_een_niveau_multilevel(chain, cv, omega, out);
}

void ifracbijdrage_een_niveau(const InterfaceEnergy& level, const InterfaceCarriers& c, double omega, IfAcTerms& out)
{
    const double nL = level.cnL * c.nL, nR = level.cnR * c.nR, pL = level.cpL * c.pL, pR = level.cpR * c.pR;
    const double e_L = nL + level.cnL * level.enL, e_R = nR + level.cnR * level.enR;
    const double h_L = pL + level.cpL * level.epL, h_R = pR + level.cpR * level.epR;
    const double sum = e_L + e_R + h_L + h_R + negligible_rate, r = 1.0 / sum, w = omega * r;
    const double filled = (nL + nR + level.cpL * level.epL + level.cpR * level.epR) * r;
    const double empty = (pL + pR + level.cnL * level.enL + level.cnR * level.enR) * r;
    const Complex z = (w / (1.0 + w * w)) * Complex{w, 1.0};
    const double phi[] = {nL * empty * r, nR * empty * r, pL * filled * r, pR * filled * r};
    const double NL = level.Nt * c.flux_per_left, NR = level.Nt * c.flux_per_right;
    for (std::size_t k = 0; k < 4; ++k) {
        const Complex delayed = phi[k] * z;
        out.rho[k] += elementary_charge * level.Nt * delayed;
        out.In_left[k] += NL * e_L * delayed;
        out.In_right[k] += NR * e_R * delayed;
        out.Ip_left[k] -= NL * h_L * delayed;
        out.Ip_right[k] -= NR * h_R * delayed;
    }
}

void totale_ifracbijdrage(const Problem& problem, const CalculationVariables& cv, double omega,
                          std::vector<IfAcTerms>& out)
{
    std::fill(out.begin(), out.end(), IfAcTerms{});
    const auto& energies = interface_energies(problem, cv);
    for (std::size_t k = 0; k < energies.size();) {
        const std::size_t j = energies[k].interface;
        const InterfaceCarriers carriers = carriers_at_interface(problem, cv, j);
        for (; k < energies.size() && energies[k].interface == j; ++k)
            if (energies[k].charged != 0.0) ifracbijdrage_een_niveau(energies[k], carriers, omega, out[j]);
    }
}

}  // namespace kovin
