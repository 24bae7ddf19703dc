// Charge and recombination of one discrete energy of a defect with a single level, along the points of its layer.
//
// Source of the formulas: bulk_terms.h. Everything here has internal linkage: the loop is compiled in several builds.
#pragma once

#include "device/charge_states.h"

#include <cstddef>

namespace kovin {

/// What a step reads of the terms; the others are then left as they are.
enum class Terms {
    all,
    psi,       ///< rho, drho_dpsi
    u,         ///< rec, drec_du
    v,         ///< rec, drec_dv
    carriers,  ///< rho, rec and their slopes to both carriers: all but the slopes to psi
};

struct LevelRates {
    const double *Nt, *cn, *cp, *en, *ep;
    double charge, charged;                              ///< see DefectEnergy
    const double *thermal = nullptr, *excess = nullptr;  ///< of a level that absorbs light; see OpticalEmission
};

/// Carriers at the points of the level. A slope to a variable of which n depends by dn = bn dx takes this bn: n/u for
/// u = exp(Fn), n itself for ln n.
struct LevelCarriers {
    const double *n, *p, *bn, *bp, *P;
};

struct LevelSums {
    double *rho, *rho_psi, *rho_u, *rho_v, *rec, *rec_psi, *rec_u, *rec_v;
};

namespace {

/// The sums that a step does not read cost as much as those that it does, so each kind of step has its own loop. The
/// compiler gives up on comparing 18 arrays for overlap, which ivdep rules out: they are all distinct.
///
/// Light adds to both emission rates, and en ep is no longer cn cp ni^2: of cn cp n p - en ep the part that light has
/// made stands apart, so that the rest keeps its digits near equilibrium. All derivatives hold with the whole rates.
template <Terms terms, bool optical = false>
[[gnu::always_inline]] inline void level_loop(std::size_t count, const LevelRates& level, const LevelCarriers& with,
                                              const LevelSums& out)
{
    constexpr bool all = terms == Terms::all, carriers = all || terms == Terms::carriers;
    constexpr bool for_psi = carriers || terms == Terms::psi;
    constexpr bool for_u = carriers || terms == Terms::u, for_v = carriers || terms == Terms::v;
    const double charged = level.charged, empty = level.charge;
    const double *thermal_ = level.thermal, *excess_ = level.excess;
    const double *Nt_ = level.Nt, *cn_ = level.cn, *cp_ = level.cp, *en_ = level.en, *ep_ = level.ep;
    const double *n_ = with.n, *p_ = with.p, *bn_ = with.bn, *bp_ = with.bp, *P_ = with.P;
    double *rho = out.rho, *rho_psi = out.rho_psi, *rho_u = out.rho_u, *rho_v = out.rho_v;
    double *rec = out.rec, *rec_psi = out.rec_psi, *rec_u = out.rec_u, *rec_v = out.rec_v;
#pragma GCC ivdep
    for (std::size_t i = 0; i < count; ++i) {
        const double cn = cn_[i], cp = cp_[i], en = en_[i], ep = ep_[i];
        const double cnn = cn * n_[i], cpp = cp * p_[i];
        const double A = ep + cnn, B = en + cpp;
        const double r = 1.0 / (A + B + negligible_rate);
        const double Nr = Nt_[i] * r;
        if constexpr (for_psi) rho[i] += charged * Nt_[i] * (empty - A * r);
        if constexpr (all || terms == Terms::psi) rho_psi[i] -= charged * Nr * r * (cnn * B + cpp * A);
        if constexpr (carriers) {
            rho_u[i] -= charged * Nr * r * cn * B * bn_[i];
            rho_v[i] += charged * Nr * r * cp * A * bp_[i];
        }
        if constexpr (for_u || for_v) {
            const double emission = en * ep;
            double R;
            if constexpr (optical)
                R = (P_[i] * thermal_[i] - excess_[i]) * Nr;
            else
                R = P_[i] * emission * Nr;
            rec[i] += R;
            if constexpr (all) rec_psi[i] -= R * (cnn - cpp) * r;
            if constexpr (for_u) rec_u[i] += Nr * r * (emission + (ep + B) * cpp) * bn_[i] * cn;
            if constexpr (for_v) rec_v[i] += Nr * r * (emission + (en + A) * cnn) * bp_[i] * cp;
        }
    }
}

}  // namespace
}  // namespace kovin
