// Electrons and holes obey the same rows with exchanged signs of psi: one set of functions serves both.
#include "solver/residuals.h"
#include "solver/tunnel_states.h"

#include <cmath>

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// One carrier's view of state and geometry. `w` is u or v, `step[i]` its difference w[i] - w[i-1].
struct View {
    const std::vector<double>&source, &left, &right, &C;
    const std::vector<double>& factor;           ///< exp(-psi) for electrons, exp(psi) for holes
    const std::vector<double>&B_left, &B_right;  ///< Bernoulli of the flux from i - 1 and from i + 1
    const std::vector<double>& step;
    const std::vector<double>& drec;   ///< derivative of the rate to w
    double S_left, S_right;            ///< contact velocities
    double excess_left, excess_right;  ///< w at the contacts beyond its value there
    double Discretisation::Interface::*velocity;
    double Discretisation::Interface::*ratio;
    const std::vector<double>& b;  ///< density over w
};

View view_of(const Problem& problem, const CalculationVariables& cv, Carrier carrier)
{
    const Discretisation& g = problem.grid;
    const CalculationParameters& set3 = problem.set3;
    if (carrier == Carrier::electrons)
        return {g.n_source,
                g.n_left,
                g.n_right,
                g.n_C,
                cv.empsi,
                cv.Bn_plus,
                cv.Bn_min,
                cv.du,
                cv.terms_total.drec_du,
                set3.Sn_left,
                set3.Sn_right,
                std::expm1(cv.Fn.front()),
                std::exp(cv.V_kT) * std::expm1(cv.Fn.back() - cv.V_kT),
                &Discretisation::Interface::vn,
                &Discretisation::Interface::n_ratio,
                cv.bn};
    return {g.p_source,
            g.p_left,
            g.p_right,
            g.p_C,
            cv.epsi,
            cv.Bp_min,
            cv.Bp_plus,
            cv.dv,
            cv.terms_total.drec_dv,
            set3.Sp_left,
            set3.Sp_right,
            std::expm1(-cv.Fp.front()),
            std::exp(-cv.V_kT) * std::expm1(cv.V_kT - cv.Fp.back()),
            &Discretisation::Interface::vp,
            &Discretisation::Interface::p_ratio,
            cv.bp};
}

}  // namespace

void calculate_dc_residue(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                          std::span<double> res)
{
    const View w = view_of(problem, cv, carrier);
    const auto& rec = cv.terms_total.rec;
    const auto& G = problem.G;
    const auto half_cell = [&](std::size_t k, std::size_t m) {
        return -w.factor[k] * w.source[k] * (neighbour_half_cell * (rec[m] - G[m]) + own_half_cell * (rec[k] - G[k]));
    };
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i)
            res[i] = (G[i] - rec[i]) * w.factor[i] * w.source[i] - w.B_left[i] * w.left[i] * w.step[i] +
                     w.B_right[i + 1] * w.right[i] * w.step[i + 1];
        res[first] = w.B_right[first + 1] * w.step[first + 1] + half_cell(first, first + 1);
        res[last] = -w.B_left[last] * w.step[last] + half_cell(last, last - 1);
    }
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const auto& r = problem.grid.interfaces[j];
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        const StateCurrent left = current_beside_interface(cv, carrier, j, false);
        const StateCurrent right = current_beside_interface(cv, carrier, j, true);
        res[l] += w.C[l] * (r.*w.velocity * w.step[f] - left.I / w.b[l]);
        res[f] -= w.C[f] * (r.*w.ratio * r.*w.velocity * w.step[f] + right.I / w.b[f]);
    }
    res.front() -= w.C.front() * w.S_left * w.excess_left;
    res.back() -= w.C.back() * w.S_right * w.excess_right;
}

void calculate_dc_jacobian(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                           const Tridiagonal& jac)
{
    const View w = view_of(problem, cv, carrier);
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i) {
            const double from_left = w.B_left[i] * w.left[i], from_right = w.B_right[i + 1] * w.right[i];
            jac.sub[i] = -from_left;
            jac.super[i] = -from_right;
            jac.main[i] = w.factor[i] * w.source[i] * w.drec[i] + from_left + from_right;
        }
        const double rate_first = w.factor[first] * w.source[first], rate_last = w.factor[last] * w.source[last];
        jac.sub[first] = 0.0;
        jac.main[first] = w.B_right[first + 1] + rate_first * own_half_cell * w.drec[first];
        jac.super[first] = -w.B_right[first + 1] + rate_first * neighbour_half_cell * w.drec[first + 1];
        jac.super[last] = 0.0;
        jac.main[last] = w.B_left[last] + rate_last * own_half_cell * w.drec[last];
        jac.sub[last] = -w.B_left[last] + rate_last * neighbour_half_cell * w.drec[last - 1];
    }
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const auto& r = problem.grid.interfaces[j];
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        const double at_left = w.C[l] * r.*w.velocity, at_right = r.*w.ratio * w.C[f] * r.*w.velocity;
        const StateCurrent left = current_beside_interface(cv, carrier, j, false);
        const StateCurrent right = current_beside_interface(cv, carrier, j, true);
        const double per_left = w.C[l] / w.b[l], per_right = w.C[f] / w.b[f];
        jac.main[l] += at_left + per_left * left.dI_dleft;
        jac.super[l] = -at_left + per_left * left.dI_dright;
        jac.main[f] += at_right + per_right * right.dI_dright;
        jac.sub[f] = -at_right + per_right * right.dI_dleft;
    }
    jac.main.front() += w.C.front() * w.S_left;
    jac.main.back() += w.C.back() * w.S_right;
}

void dc_jacobian_row_sums(const Problem& problem, const CalculationVariables& cv, Carrier carrier,
                          std::span<double> sums)
{
    const View w = view_of(problem, cv, carrier);
    const auto half_cell = [&](std::size_t k, std::size_t m) {
        return w.factor[k] * w.source[k] * (own_half_cell * w.drec[k] + neighbour_half_cell * w.drec[m]);
    };
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i) sums[i] = w.factor[i] * w.source[i] * w.drec[i];
        sums[first] = half_cell(first, first + 1);
        sums[last] = half_cell(last, last - 1);
    }
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        const StateCurrent left = current_beside_interface(cv, carrier, j, false);
        const StateCurrent right = current_beside_interface(cv, carrier, j, true);
        sums[l] += w.C[l] / w.b[l] * (left.dI_dleft + left.dI_dright);
        sums[f] += w.C[f] / w.b[f] * (right.dI_dleft + right.dI_dright);
    }
    add_states_row_sums(cv, carrier, sums);
    sums.front() += w.C.front() * w.S_left;
    sums.back() += w.C.back() * w.S_right;
}

}  // namespace kovin
