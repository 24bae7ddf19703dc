#include "solver/residuals.h"

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

}  // namespace

void total_charge(const Problem& problem, const CalculationVariables& cv, std::span<double> rho)
{
    const auto& defects = cv.terms_total.rho;
    const auto& doping = problem.set3.on.doping;
    for (std::size_t i = 0; i < rho.size(); ++i) rho[i] = defects[i] + doping[i] + cv.p[i] - cv.n[i];
}

void calculate_dc_residue_psi(const Problem& problem, const CalculationVariables& cv, std::span<const double> rho,
                              std::span<double> res)
{
    const Discretisation& g = problem.grid;
    const auto& psi = cv.psi;
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i)
            res[i] = rho[i] * g.psi_charge[i] + g.psi_left[i] * (psi[i - 1] - psi[i]) +
                     g.psi_right[i] * (psi[i + 1] - psi[i]);
    }
    for (std::size_t j = 0; j < g.interfaces.size(); ++j) {
        const auto& r = g.interfaces[j];
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        res[l] = r.right * (psi[f + 1] - psi[l]) + r.left * (psi[l - 1] - psi[l]) + r.charge_f1 * rho[f + 1] +
                 r.charge_f * rho[f] + r.charge_l1 * rho[l - 1] + r.charge_l * rho[l] +
                 r.sheet * cv.terms_interface[j].rho_if;
        res[f] = psi[l] - psi[f];
    }
    res.front() = res.back() = 0.0;
}

void calculate_dc_jacobian_psi(const Problem& problem, const CalculationVariables& cv, const Tridiagonal& jac,
                               std::span<double> extra)
{
    const Discretisation& g = problem.grid;
    const auto& defects = cv.terms_total.drho_dpsi;
    const auto slope = [&](std::size_t i) { return defects[i] - cv.p[i] - cv.n[i]; };
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i) {
            jac.sub[i] = -g.psi_left[i];
            jac.super[i] = -g.psi_right[i];
            jac.main[i] = g.psi_left[i] + g.psi_right[i] - slope(i) * g.psi_charge[i];
        }
    }
    for (std::size_t j = 0; j < g.interfaces.size(); ++j) {
        const auto& r = g.interfaces[j];
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        // The entry of psi[f] stands in the main element, since psi[f] = psi[l].
        jac.sub[l] = -r.left - r.charge_l1 * slope(l - 1);
        jac.main[l] = r.left + r.right - r.charge_f * slope(f) - r.charge_l * slope(l) -
                      r.sheet * cv.terms_interface[j].drho_if_dpsi;
        jac.super[l] = 0.0;
        extra[j] = -r.right - r.charge_f1 * slope(f + 1);
        jac.sub[f] = -1.0;
        jac.main[f] = 1.0;
        jac.super[f] = 0.0;
    }
    const std::size_t N = cv.psi.size();
    for (const std::size_t i : {std::size_t{0}, N - 1}) {
        jac.sub[i] = 0.0;
        jac.main[i] = 1.0;
        jac.super[i] = 0.0;
    }
}

}  // namespace kovin
