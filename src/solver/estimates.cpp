#include "solver/estimates.h"

#include "solver/bernoulli.h"

#include <cmath>

namespace kovin {

namespace {

/// exp(d) - 1 for the small steps of a quasi-Fermi level along the mesh: by its series where that is exact to rounding
/// (the term left out is d^6/720).
double expm1_of_step(double d)
{
    if (std::fabs(d) < 2e-3) return d * (1.0 + d * (0.5 + d * (1.0 / 6.0 + d * (1.0 / 24.0 + d / 120.0))));
    return std::expm1(d);
}

/// Near equilibrium the product of the variables would leave no digits, further off it is as good as another
/// exponential.
void update_P(CalculationVariables& cv)
{
    for (std::size_t i = 0; i < cv.P.size(); ++i) {
        const double split = cv.Fn[i] - cv.Fp[i];
        cv.P[i] = std::fabs(split) > 1.0 ? cv.expFn[i] * cv.expmFp[i] - 1.0 : std::expm1(split);
    }
}

}  // namespace

void update_epsi(const CalculationParameters& set3, CalculationVariables& cv)
{
    const std::size_t N = cv.psi.size();
    const OnMesh& on = set3.on;
    for (std::size_t i = 0; i < N; ++i) {
        cv.epsi[i] = std::exp(cv.psi[i]);
        cv.empsi[i] = 1.0 / cv.epsi[i];
        cv.bn[i] = on.Wn[i] * cv.epsi[i];
        cv.bp[i] = on.Wp[i] * cv.empsi[i];
        cv.n[i] = cv.bn[i] * cv.expFn[i];
        cv.p[i] = cv.bp[i] * cv.expmFp[i];
    }
}

void update_bernoulli(const CalculationParameters& set3, CalculationVariables& cv)
{
    const std::size_t N = cv.psi.size();
    const OnMesh& on = set3.on;
    // Where both band terms stay constant along an interval, one pair serves electrons and holes.
    for (std::size_t i = 1; i < N; ++i) {
        const double step = cv.psi[i] - cv.psi[i - 1];
        const double dGn = on.Gn[i] - on.Gn[i - 1];
        const double dGp = on.Gp[i] - on.Gp[i - 1];
        const BernoulliPair n = bernoulli_pair(step + dGn);
        const BernoulliPair p = dGp == dGn ? n : bernoulli_pair(step + dGp);
        cv.Bn_plus[i] = n.plus;
        cv.Bn_min[i] = n.minus;
        cv.Bp_plus[i] = p.plus;
        cv.Bp_min[i] = p.minus;
    }
}

void update_psivar(const CalculationParameters& set3, CalculationVariables& cv)
{
    update_epsi(set3, cv);
    update_bernoulli(set3, cv);
}

void update_Fn(CalculationVariables& cv)
{
    const std::size_t N = cv.Fn.size();
    for (std::size_t i = 0; i < N; ++i) {
        cv.expFn[i] = std::exp(cv.Fn[i]);
        cv.n[i] = cv.bn[i] * cv.expFn[i];
    }
    for (std::size_t i = 1; i < N; ++i) cv.du[i] = cv.expFn[i - 1] * expm1_of_step(cv.Fn[i] - cv.Fn[i - 1]);
    update_P(cv);
}

void update_Fp(CalculationVariables& cv)
{
    const std::size_t N = cv.Fp.size();
    for (std::size_t i = 0; i < N; ++i) {
        cv.expmFp[i] = std::exp(-cv.Fp[i]);
        cv.p[i] = cv.bp[i] * cv.expmFp[i];
    }
    for (std::size_t i = 1; i < N; ++i) cv.dv[i] = cv.expmFp[i - 1] * expm1_of_step(cv.Fp[i - 1] - cv.Fp[i]);
    update_P(cv);
}

void eerste_schatting(const CalculationParameters& set3, CalculationVariables& cv)
{
    cv.V = cv.V_kT = 0.0;
    const auto& x = cv.mesh.x;
    const double right = (set3.phi_left - set3.phi_right) / set3.kT;
    for (std::size_t i = 0; i < x.size(); ++i) {
        cv.psi[i] = right * (x[i] - x.front()) / (x.back() - x.front());
        cv.Fn[i] = cv.Fp[i] = 0.0;
    }
    cv.psi.back() = right;
    update_psivar(set3, cv);
    update_Fn(cv);
    update_Fp(cv);
}

namespace {

/// Moves psi to where a step of dV would put it if the field alone took it up: linearly in x.
void shift_psi(const CalculationParameters& set3, CalculationVariables& cv, double dV)
{
    const auto& x = cv.mesh.x;
    for (std::size_t i = 0; i < x.size(); ++i) cv.psi[i] -= dV / set3.kT * (x[i] - x.front()) / (x.back() - x.front());
}

void shift_levels(const CalculationParameters& set3, CalculationVariables& cv, double dV)
{
    const auto& x = cv.mesh.x;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double t = dV / set3.kT * (x[i] - x.front()) / (x.back() - x.front());
        cv.Fn[i] += t;
        cv.Fp[i] += t;
    }
}

/// Fn jumps with the contact where it follows it. A return to V = 0 counts as a step back.
void jump_electrons(const CalculationParameters& set3, CalculationVariables& cv, double V, double dV)
{
    const double reach = std::fabs(V / set3.kT);
    const bool away = V * dV > 0.0;
    for (double& F : cv.Fn) {
        const double level = std::fabs(F);
        if (away ? level < reach : level > reach) F += dV / set3.kT;
    }
}

}  // namespace

void volgende_schatting(const CalculationParameters& set3, CalculationVariables& cv, double V, double dV)
{
    cv.V = V;
    cv.V_kT = V / set3.kT;
    const int variant = set3.convergence.versieschatting;
    if (variant == 0 || variant == 20) shift_psi(set3, cv, dV);
    if (variant == 0)
        shift_levels(set3, cv, dV);
    else
        jump_electrons(set3, cv, V, dV);
    cv.psi.front() = 0.0;
    cv.psi.back() = (set3.phi_left - set3.phi_right - V) / set3.kT;
    update_psivar(set3, cv);
    update_Fn(cv);
    update_Fp(cv);
}

}  // namespace kovin
