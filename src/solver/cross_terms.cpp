#include "solver/cross_terms.h"

#include "solver/bernoulli.h"
#include "solver/residuals.h"

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// What the rows of one carrier are made of; `sign` is 1 for electrons and -1 for holes.
struct View {
    double sign;
    Unknown own, other;
    const std::vector<double>&source, &left, &right, &C;
    const std::vector<double>& b;                ///< density over the carrier's variable
    const std::vector<double>& factor;           ///< exp(-psi) for electrons, exp(psi) for holes
    const std::vector<double>&B_left, &B_right;  ///< Bernoulli of the flux from i - 1 and from i + 1
    const std::vector<double>& step;             ///< of the carrier's variable, from i - 1 to i
    const std::vector<double>& drec_dother;
};

View view_of(const Problem& problem, const CalculationVariables& cv, Carrier carrier)
{
    const Discretisation& g = problem.grid;
    if (carrier == Carrier::electrons)
        return {1.0,
                of_u,
                of_v,
                g.n_source,
                g.n_left,
                g.n_right,
                g.n_C,
                cv.bn,
                cv.empsi,
                cv.Bn_plus,
                cv.Bn_min,
                cv.du,
                cv.terms_total.drec_dv};
    return {-1.0,
            of_v,
            of_u,
            g.p_source,
            g.p_left,
            g.p_right,
            g.p_C,
            cv.bp,
            cv.epsi,
            cv.Bp_min,
            cv.Bp_plus,
            cv.dv,
            cv.terms_total.drec_du};
}

/// The current that the states of an interface take from one side, and its derivatives at both sides.
struct SheetCurrent {
    double I, du_left, du_right, dv_left, dv_right;
};

SheetCurrent taken_from_left(const InterfaceTerms& t, Carrier carrier)
{
    if (carrier == Carrier::electrons)
        return {t.In_left, t.dIn_left_du_left, t.dIn_left_du_right, t.dIn_left_dv_left, t.dIn_left_dv_right};
    return {t.Ip_left, t.dIp_left_du_left, t.dIp_left_du_right, t.dIp_left_dv_left, t.dIp_left_dv_right};
}

SheetCurrent taken_from_right(const InterfaceTerms& t, Carrier carrier)
{
    if (carrier == Carrier::electrons)
        return {t.In_right, t.dIn_right_du_left, t.dIn_right_du_right, t.dIn_right_dv_left, t.dIn_right_dv_right};
    return {t.Ip_right, t.dIp_right_du_left, t.dIp_right_du_right, t.dIp_right_dv_left, t.dIp_right_dv_right};
}

/// One continuity equation to the other carrier.
void add_other_carrier(const Problem& problem, const CalculationVariables& cv, Carrier carrier, BlockSystem& system)
{
    const View w = view_of(problem, cv, carrier);
    const auto sub = system.sub(w.own, w.other), main = system.main(w.own, w.other),
               super = system.super(w.own, w.other);
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i) main[i] += w.factor[i] * w.source[i] * w.drec_dother[i];
        const double rate_first = w.factor[first] * w.source[first], rate_last = w.factor[last] * w.source[last];
        main[first] += rate_first * own_half_cell * w.drec_dother[first];
        super[first] += rate_first * neighbour_half_cell * w.drec_dother[first + 1];
        main[last] += rate_last * own_half_cell * w.drec_dother[last];
        sub[last] += rate_last * neighbour_half_cell * w.drec_dother[last - 1];
    }
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        const double at_left = w.C[l] / w.b[l], at_right = w.C[f] / w.b[f];
        const SheetCurrent left = taken_from_left(cv.terms_interface[j], carrier);
        const SheetCurrent right = taken_from_right(cv.terms_interface[j], carrier);
        const bool to_v = w.other == of_v;
        main[l] += at_left * (to_v ? left.dv_left : left.du_left);
        super[l] += at_left * (to_v ? left.dv_right : left.du_right);
        sub[f] += at_right * (to_v ? right.dv_left : right.du_left);
        main[f] += at_right * (to_v ? right.dv_right : right.du_right);
    }
}

/// Derivatives of B_left step and B_right step of each interval to psi at its right end; to psi at its left end they
/// are the opposite.
void flux_slopes(const View& w, std::span<double> from_left, std::span<double> from_right)
{
    for (std::size_t i = 1; i < from_left.size(); ++i) {
        const BernoulliPair slope = bernoulli_slopes({w.B_left[i], w.B_right[i]});
        from_left[i] = w.sign * slope.plus * w.step[i];
        from_right[i] = -w.sign * slope.minus * w.step[i];
    }
}

/// One continuity equation to psi. The factor exp(-+psi) in front of rates and currents of interface states is
/// differentiated like all else; the currents themselves depend on psi through the densities: u d/du - v d/dv, where
/// only the sum over both sides counts.
void add_psi(const Problem& problem, const CalculationVariables& cv, Carrier carrier, BlockSystem& system)
{
    const View w = view_of(problem, cv, carrier);
    const auto &rec = cv.terms_total.rec, &drec = cv.terms_total.drec_dpsi, &G = problem.G;
    const auto &u = cv.expFn, &v = cv.expmFp;
    const auto sub = system.sub(w.own, of_psi), main = system.main(w.own, of_psi), super = system.super(w.own, of_psi);
    const std::size_t first_array = carrier == Carrier::electrons ? 0 : 2;
    const std::span from_left(system.slope_step[first_array]), from_right(system.slope_step[first_array + 1]);
    flux_slopes(w, from_left, from_right);
    const auto boundary = [&](std::size_t k, std::size_t m, double& own, double& neighbour) {
        const double rate = w.factor[k] * w.source[k];
        const double excess = neighbour_half_cell * (rec[m] - G[m]) + own_half_cell * (rec[k] - G[k]);
        own += rate * (own_half_cell * drec[k] - w.sign * excess);
        neighbour += rate * neighbour_half_cell * drec[m];
    };
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        for (std::size_t i = first + 1; i < last; ++i) {
            const double to_left = w.left[i] * from_left[i], to_right = w.right[i] * from_right[i + 1];
            sub[i] -= to_left;
            super[i] -= to_right;
            main[i] += to_left + to_right + w.factor[i] * w.source[i] * (drec[i] - w.sign * (rec[i] - G[i]));
        }
        main[first] += from_right[first + 1];
        super[first] -= from_right[first + 1];
        main[last] += from_left[last];
        sub[last] -= from_left[last];
        boundary(first, first + 1, main[first], super[first]);
        boundary(last, last - 1, main[last], sub[last]);
    }
    for (std::size_t j = 0; j < problem.grid.interfaces.size(); ++j) {
        const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
        const double at_left = w.C[l] / w.b[l], at_right = w.C[f] / w.b[f];
        const SheetCurrent left = taken_from_left(cv.terms_interface[j], carrier);
        const SheetCurrent right = taken_from_right(cv.terms_interface[j], carrier);
        main[l] += at_left * (u[l] * left.du_left - v[l] * left.dv_left - w.sign * left.I);
        super[l] += at_left * (u[f] * left.du_right - v[f] * left.dv_right);
        sub[f] += at_right * (u[l] * right.du_left - v[l] * right.dv_left);
        main[f] += at_right * (u[f] * right.du_right - v[f] * right.dv_right - w.sign * right.I);
    }
}

/// Poisson's equation to u and v. psi is given at both contacts: rows 0 and N - 1 stay as they are.
void add_charge(const Problem& problem, const CalculationVariables& cv, BlockSystem& system)
{
    const Discretisation& g = problem.grid;
    for (const Unknown column : {of_u, of_v}) {
        const bool to_u = column == of_u;
        const auto& defects = to_u ? cv.terms_total.drho_du : cv.terms_total.drho_dv;
        const auto& carriers = to_u ? cv.bn : cv.bp;
        const double sign = to_u ? -1.0 : 1.0;
        const auto slope = [&](std::size_t i) { return defects[i] + sign * carriers[i]; };
        const auto sub = system.sub(of_psi, column), main = system.main(of_psi, column);
        const auto super = system.super(of_psi, column);
        for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
            const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
            for (std::size_t i = first + 1; i < last; ++i) main[i] -= g.psi_charge[i] * slope(i);
        }
        for (std::size_t j = 0; j < g.interfaces.size(); ++j) {
            const auto& r = g.interfaces[j];
            const std::size_t l = at(cv.mesh.last[j]), f = l + 1;
            const InterfaceTerms& t = cv.terms_interface[j];
            sub[l] -= r.charge_l1 * slope(l - 1);
            main[l] -= r.charge_l * slope(l) + r.sheet * (to_u ? t.drho_if_du_left : t.drho_if_dv_left);
            super[l] -= r.charge_f * slope(f) + r.sheet * (to_u ? t.drho_if_du_right : t.drho_if_dv_right);
            system.extra[j][column] -= r.charge_f1 * slope(f + 1);
        }
    }
}

}  // namespace

void AddCrossDerivativesToJacobian2x2(const Problem& problem, const CalculationVariables& cv, BlockSystem& system)
{
    for (const Carrier carrier : {Carrier::electrons, Carrier::holes}) add_other_carrier(problem, cv, carrier, system);
}

void AddCrossDerivativesToJacobian3x3(const Problem& problem, const CalculationVariables& cv, BlockSystem& system)
{
    AddCrossDerivativesToJacobian2x2(problem, cv, system);
    for (const Carrier carrier : {Carrier::electrons, Carrier::holes}) add_psi(problem, cv, carrier, system);
    add_charge(problem, cv, system);
}

}  // namespace kovin
