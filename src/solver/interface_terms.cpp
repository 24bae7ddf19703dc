#include "solver/interface_terms.h"

#include "base/constants.h"
#include "device/charge_states.h"
#include "solver/tunnel_states.h"

#include <algorithm>
#include <cmath>

namespace kovin {

double bounded_expm1(double split) { return std::expm1(std::clamp(split, -exponent_limit, exponent_limit)); }

InterfaceCarriers carriers_at_interface(const Scale& scale, const CarrierArrays& at, std::size_t interface,
                                        std::size_t l, double du, double dv)
{
    const std::size_t f = l + 1;
    return {.nL = at.n[l],
            .nR = at.n[f],
            .pL = at.p[l],
            .pR = at.p[f],
            .bnL = at.bn[l],
            .bnR = at.bn[f],
            .bpL = at.bp[l],
            .bpR = at.bp[f],
            .du = du,
            .dv = dv,
            .P_LL = at.P[l],
            .P_RR = at.P[f],
            .P_LR = bounded_expm1(at.Fn[l] - at.Fp[f]),
            .P_RL = bounded_expm1(at.Fn[f] - at.Fp[l]),
            .flux_per_left = 1.0 / (scale.N0[interface] * scale.x0),
            .flux_per_right = 1.0 / (scale.N0[interface + 1] * scale.x0)};
}

InterfaceCarriers carriers_at_interface(const Problem& problem, const CalculationVariables& cv, std::size_t interface)
{
    const auto l = static_cast<std::size_t>(cv.mesh.last[interface]);
    return carriers_at_interface(
        problem.set3.scale,
        {cv.n.data(), cv.p.data(), cv.bn.data(), cv.bp.data(), cv.Fn.data(), cv.Fp.data(), cv.P.data()}, interface, l,
        cv.du[l + 1], cv.dv[l + 1]);
}

StateFilling filling_of(const InterfaceEnergy& level, const InterfaceCarriers& c)
{
    const double cnL = level.cnL, cnR = level.cnR, cpL = level.cpL, cpR = level.cpR;
    const double enL = level.enL, enR = level.enR, epL = level.epL, epR = level.epR;
    const double e_L = cnL * (c.nL + enL), e_R = cnR * (c.nR + enR);
    const double h_L = cpL * (c.pL + epL), h_R = cpR * (c.pR + epR);
    const double r = 1.0 / (e_L + e_R + h_L + h_R + negligible_rate);
    const double f = (epL * cpL + epR * cpR + c.nL * cnL + c.nR * cnR) * r;
    const double g = (c.pL * cpL + c.pR * cpR + enL * cnL + enR * cnR) * r;
    return {.r = r,
            .f = f,
            .g = g,
            .df_duL = c.bnL * cnL * g * r,
            .df_duR = c.bnR * cnR * g * r,
            .df_dvL = -c.bpL * cpL * f * r,
            .df_dvR = -c.bpR * cpR * f * r};
}

void ifrdcbijdrage_een_niveau(const InterfaceEnergy& level, const InterfaceCarriers& c, InterfaceTerms& out)
{
    const double cnL = level.cnL, cnR = level.cnR, cpL = level.cpL, cpR = level.cpR;
    const double enL = level.enL, enR = level.enR, epL = level.epL, epR = level.epR;
    const double e_L = cnL * (c.nL + enL), e_R = cnR * (c.nR + enR);
    const double h_L = cpL * (c.pL + epL), h_R = cpR * (c.pR + epR);
    const auto [r, f, g, df_duL, df_duR, df_dvL, df_dvR] = filling_of(level, c);
    const double df_dpsi = ((c.nL * cnL + c.nR * cnR) * g + (c.pL * cpL + c.pR * cpR) * f) * r;

    const double charge = elementary_charge * level.Nt * level.charged;
    out.rho_if += charge * (level.charge * g - (1.0 - level.charge) * f);
    out.drho_if_dpsi -= charge * df_dpsi;
    out.drho_if_du_left -= charge * df_duL;
    out.drho_if_du_right -= charge * df_duR;
    out.drho_if_dv_left -= charge * df_dvL;
    out.drho_if_dv_right -= charge * df_dvR;

    const double NL = level.Nt * c.flux_per_left, NR = level.Nt * c.flux_per_right;
    const double R_LL = cnL * cpL * (enL * epL) * c.P_LL, R_RR = cnR * cpR * (enR * epR) * c.P_RR;
    const double R_LR = cnL * cpR * (enL * epR) * c.P_LR, R_RL = cnR * cpL * (enR * epL) * c.P_RL;
    const double T_n = -cnL * cnR * enR * c.bnL * c.du, T_p = -cpL * cpR * epR * c.bpL * c.dv;
    out.In_left += NL * r * (R_LL + R_LR + T_n);
    out.In_right += NR * r * (R_RR + R_RL - T_n);
    out.Ip_left += NL * r * (R_LL + R_RL + T_p);
    out.Ip_right += NR * r * (R_RR + R_LR - T_p);

    // In = N (c n (1 - f) - c en f) and Ip = N (c p f - c ep (1 - f)).
    out.dIn_left_du_left += NL * cnL * c.bnL * g * (e_R + h_L + h_R) * r;
    out.dIn_left_du_right -= NL * e_L * df_duR;
    out.dIn_left_dv_left -= NL * e_L * df_dvL;
    out.dIn_left_dv_right -= NL * e_L * df_dvR;
    out.dIn_right_du_right += NR * cnR * c.bnR * g * (e_L + h_L + h_R) * r;
    out.dIn_right_du_left -= NR * e_R * df_duL;
    out.dIn_right_dv_left -= NR * e_R * df_dvL;
    out.dIn_right_dv_right -= NR * e_R * df_dvR;
    out.dIp_left_dv_left += NL * cpL * c.bpL * f * (e_L + e_R + h_R) * r;
    out.dIp_left_dv_right += NL * h_L * df_dvR;
    out.dIp_left_du_left += NL * h_L * df_duL;
    out.dIp_left_du_right += NL * h_L * df_duR;
    out.dIp_right_dv_right += NR * cpR * c.bpR * f * (e_L + e_R + h_L) * r;
    out.dIp_right_dv_left += NR * h_R * df_dvL;
    out.dIp_right_du_left += NR * h_R * df_duL;
    out.dIp_right_du_right += NR * h_R * df_duR;
}

void add_transfer_sums(const InterfaceEnergy& level, const InterfaceCarriers& c, InterfaceTransferSums& out)
{
    const double cnL = level.cnL, cnR = level.cnR, cpL = level.cpL, cpR = level.cpR;
    const double enL = level.enL, enR = level.enR, epL = level.epL, epR = level.epR;
    const double n = cnL * c.nL + cnR * c.nR, p = cpL * c.pL + cpR * c.pR;
    const double r = 1.0 / (n + p + cnL * enL + cnR * enR + cpL * epL + cpR * epR + negligible_rate);
    const double NL = level.Nt * c.flux_per_left * r, NR = level.Nt * c.flux_per_right * r;
    const double R_LL = cnL * cpL * (enL * epL) * c.P_LL, R_RR = cnR * cpR * (enR * epR) * c.P_RR;
    const double R_LR = cnL * cpR * (enL * epR) * c.P_LR, R_RL = cnR * cpL * (enR * epL) * c.P_RL;
    const double T_n = -cnL * cnR * enR * c.bnL * c.du, T_p = -cpL * cpR * epR * c.bpL * c.dv;
    // Of a current N r I the rise of all electrons by d ln n gives N r (dI - I n r).
    out.In_left_n += NL * (cnL * c.nL * p + T_n - n * r * (T_n + R_LL + R_LR));
    out.In_right_n += NR * (cnR * c.nR * p - T_n - n * r * (R_RR + R_RL - T_n));
    out.Ip_left_p += NL * (cpL * c.pL * n + T_p - p * r * (T_p + R_LL + R_RL));
    out.Ip_right_p += NR * (cpR * c.pR * n - T_p - p * r * (R_RR + R_LR - T_p));
}

const std::vector<InterfaceEnergy>& interface_energies(const Problem& problem, const CalculationVariables& cv)
{
    const std::vector<InterfaceEnergy>& with_tunnelling = cv.tunnel_states.energies;
    return with_tunnelling.empty() ? problem.interface_states.energies : with_tunnelling;
}

void totale_ifrdcbijdrage(const Problem& problem, CalculationVariables& cv)
{
    for (InterfaceTerms& terms : cv.terms_interface) terms = {};
    if (!cv.tunnel_states.energies.empty()) return terms_with_tunnelling(problem, cv);
    const auto& energies = problem.interface_states.energies;
    for (std::size_t k = 0; k < energies.size();) {
        const std::size_t j = energies[k].interface;
        const InterfaceCarriers carriers = carriers_at_interface(problem, cv, j);
        InterfaceTerms& terms = cv.terms_interface[j];
        for (; k < energies.size() && energies[k].interface == j; ++k)
            ifrdcbijdrage_een_niveau(energies[k], carriers, terms);
    }
}

}  // namespace kovin
