#include "solver/bulk_terms.h"

#include "device/charge_states.h"
#include "solver/chain_terms.h"
#include "solver/interface_terms.h"

#include <algorithm>

namespace kovin {

namespace {

template <Terms terms>
void add_level(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out)
{
    const std::size_t k = level.first, count = level.Nt.size();
    const LevelRates rates{level.Nt.data(),
                           level.cn.data(),
                           level.cp.data(),
                           level.en.data(),
                           level.ep.data(),
                           level.charge,
                           level.charged,
                           level.optical.thermal.data(),
                           level.optical.excess.data()};
    const LevelCarriers with{cv.n.data() + k, cv.p.data() + k, cv.bn.data() + k, cv.bp.data() + k, cv.P.data() + k};
    const LevelSums sums{out.rho.data() + k, out.drho_dpsi.data() + k, out.drho_du.data() + k, out.drho_dv.data() + k,
                         out.rec.data() + k, out.drec_dpsi.data() + k, out.drec_du.data() + k, out.drec_dv.data() + k};
    if (level.optical.present())
        level_loop<terms, true>(count, rates, with, sums);
    else
        level_loop<terms>(count, rates, with, sums);
}

void clear(DcTerms& out, Terms terms)
{
    const auto zero = [](auto&... arrays) { (std::fill(arrays.begin(), arrays.end(), 0.0), ...); };
    switch (terms) {
        case Terms::all:
        case Terms::carriers:
            return out.clear();
        case Terms::psi:
            return zero(out.rho, out.drho_dpsi);
        // Radiative and Auger terms come complete.
        case Terms::u:
        case Terms::v:
            return zero(out.rec, out.drec_dpsi, out.drec_du, out.drec_dv);
    }
}

}  // namespace

void rdcbijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    switch (terms) {
        case Terms::all:
            return add_level<Terms::all>(level, cv, out);
        case Terms::carriers:
            return add_level<Terms::carriers>(level, cv, out);
        case Terms::psi:
            if (level.charged != 0.0) add_level<Terms::psi>(level, cv, out);
            return;
        case Terms::u:
            return add_level<Terms::u>(level, cv, out);
        case Terms::v:
            return add_level<Terms::v>(level, cv, out);
    }
}

void rdcbijdrage_defects(const BulkDefects& defects, const CalculationVariables& cv, DcTerms& out, Terms terms)
{
    for (const DefectEnergy& level : defects.energies) rdcbijdrage_een_niveau(level, cv, out, terms);
    for (const DefectChain& chain : defects.chains) rdcbijdrage_een_niveau_multilevel(chain, cv, out, terms);
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

void totale_rdcbijdrage(const Problem& problem, CalculationVariables& cv, Terms terms)
{
    totale_ifrdcbijdrage(problem, cv);
    clear(cv.terms_total, terms);
    rdcbijdrage_defects(problem.defects, cv, cv.terms_total, terms);
    if (terms == Terms::psi) return;  // no charge
    for (std::size_t j = 0; j < static_cast<std::size_t>(cv.mesh.nlayers); ++j)
        if (problem.defects.band_to_band[j])
            rdcbijdrage_radiative_auger(problem.set3.on, static_cast<std::size_t>(cv.mesh.first[j]),
                                        static_cast<std::size_t>(cv.mesh.last[j]), cv, cv.terms_total);
}

}  // namespace kovin
