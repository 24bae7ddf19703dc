// Defects with several levels against the steady state of their rate equations, solved in extended precision.
#include "solver/chain_terms.h"

#include "device/defect_levels.h"
#include "solver/devices.h"
#include "solver/estimates.h"
#include "solver/occupation.h"

#include <gtest/gtest.h>

namespace kovin::testing {
namespace {

using Real = long double;

struct Row {
    const char* what;
    LevelType first;
    std::vector<double> Et;
    EnergyDistribution distribution = EnergyDistribution::single;
    bool degeneracy_one = false;
    double T = 300.0, Eg = 1.12;
    std::size_t no_electrons = 9;  ///< level that captures no electrons
    double light = 0.0;            ///< rate of emission by light [D0/x0^2]
};

const Row rows[] = {
    {"neutral in all states", LevelType::neutral, {0.4, 0.6}},
    {"single level, 2+/+", LevelType::two_plus_plus, {0.5}},
    {"single level, -/2-, Gaussian", LevelType::minus_two_minus, {0.5}, EnergyDistribution::gauss},
    {"double donor", LevelType::two_plus_plus, {0.3, 0.7}},
    {"double acceptor, no degeneracy", LevelType::zero_minus, {0.4, 0.8}, EnergyDistribution::gauss, true},
    {"amphoteric", LevelType::plus_zero, {0.4, 0.7}, EnergyDistribution::uniform},
    {"amphoteric, negative correlation energy", LevelType::plus_zero, {0.8, 0.3}},
    {"three levels, tail of EC", LevelType::three_plus_two_plus, {0.3, 0.5, 0.9}, EnergyDistribution::CB_tail},
    {"three levels, one without electrons", LevelType::zero_minus, {0.3, 0.2, 0.9}, {}, false, 300.0, 1.12, 1},
    {"four levels", LevelType::two_plus_plus, {0.2, 0.4, 0.6, 0.8}, EnergyDistribution::VB_tail},
    {"four levels, out of order", LevelType::two_plus_plus, {0.8, 0.2, 0.9, 0.3}, EnergyDistribution::single, true},
    {"single level in light", LevelType::zero_minus, {0.5}, EnergyDistribution::gauss, false, 300.0, 1.12, 9, 1e-4},
    {"two levels in light", LevelType::plus_zero, {0.4, 0.7}, {}, false, 300.0, 1.12, 9, 1e-2},
    {"four levels in light", LevelType::two_plus_plus, {0.8, 0.2, 0.9, 0.3}, {}, false, 300.0, 1.12, 9, 1e-6},
    {"ratios that overflow in a product", LevelType::three_plus_two_plus, {0.1, 0.2, 0.3, 0.4}, {}, false, 100.0, 3.3},
    {"ratios that underflow, out of order", LevelType::plus_zero, {3.0, 0.2, 3.1, 0.3}, {}, false, 100.0, 3.3},
};

/// One layer with the defect, at a state that runs through the gap with the levels apart.
Device device_of(const Row& r)
{
    CellParameters cell;
    InitialiseCellDefinition(cell);
    cell.layers = 1;
    test::set_layer(cell.layer[0], 0, {.Eg = r.Eg, .Na = 1e22});
    DefectLevels& levels = test::add_chain(cell.layer[0], r.first, r.Et, 1e22, r.distribution);
    for (auto& level : levels) level.degeneracy_one = r.degeneracy_one;
    if (r.no_electrons < levels.size()) levels[r.no_electrons].sigma_n = 0.0;
    if (r.light > 0.0) let_absorb(levels[0]);
    Device device(cell, r.T);
    shine_on_levels(device, r.light);
    CalculationVariables& cv = device.cv;
    const auto N = static_cast<double>(cv.psi.size());
    for (std::size_t i = 0; i < cv.psi.size(); ++i) {
        const auto t = static_cast<double>(i);
        cv.psi[i] = r.Eg / device.set3.kT * t / N;
        cv.Fn[i] = 2.0 + 1.5 * std::sin(0.37 * t);
        cv.Fp[i] = -2.0 + 1.7 * std::cos(0.21 * t);
    }
    update_psivar(device.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    return device;
}

/// Charge [N0] and rate of a defect.
struct Sum {
    Real rho = 0, rec = 0;
    Real exchanged = 0;  ///< by either carrier, without regard to direction
};

/// The rate equations of all charge states at one point, with psi, Fn, Fp moved by small steps. Charges count from
/// `shift`, so that differences of the charge keep their digits when nearly all defects are in one state.
Sum rate_equations(const Device& d, const Row& r, std::size_t i, Real dpsi, Real dFn, Real dFp, Real shift)
{
    const CalculationParameters& set3 = d.set3;
    const OnMesh& on = set3.on;
    const DefectLevels& levels = set3.layer[0].srh[0];
    const std::size_t L = r.Et.size();
    const Real n = on.Wn[i] * std::exp(d.cv.psi[i] + dpsi + d.cv.Fn[i] + dFn);
    const Real p = on.Wp[i] * std::exp(-(d.cv.psi[i] + dpsi) - d.cv.Fp[i] - dFp), kT = set3.kT;
    const ConvergenceParameters& c = set3.convergence;
    const EnergyTable table =
        bereken_energie_as(r.distribution, 0.05, 0.0, c.defectdiscretisations, c.widthtail, c.widthgauss);
    const std::size_t energies = table.energy.size();
    Sum sum;
    for (std::size_t m = 0; m < energies; ++m) {
        const double E = table.energy[m], dE = table.step[m];
        const bool end = m == 0 || m + 1 == energies;
        const Real weight = energies == 1 ? 1.0
                                          : peak_to_total(r.distribution, 0.05) * dE * (end ? 0.5 : 1.0) *
                                                distribution_weight(r.distribution, E, 0.0, 0.05);
        std::vector<std::vector<Real>> q(L + 1, std::vector<Real>(L + 1, 0));  // q[i][j]: rate from state i to j
        std::vector<Real> cn(L), cp(L), en(L), ep(L), f(L + 1, 0);
        for (std::size_t s = 0; s < L; ++s) {
            const Real g = r.degeneracy_one ? 1.0 : static_cast<double>(L - s) / static_cast<double>(1 + s);
            cn[s] = on.vth_n[i] * levels[s].sigma_n;
            cp[s] = on.vth_p[i] * levels[s].sigma_p;
            en[s] = cn[s] / g * on.Nc[i] * std::exp((r.Et[s] + E - r.Eg) / kT);
            ep[s] = cp[s] * g * on.Nv[i] * std::exp(-(r.Et[s] + E) / kT);
            en[s] += emission_by_light(r.light, s, i, false);
            ep[s] += emission_by_light(r.light, s, i, true);
            q[s][s + 1] = cn[s] * n + ep[s];
            q[s + 1][s] = en[s] + cp[s] * p;
        }
        // Elimination without a subtraction. Source: Grassmann, Taksar, Heyman, Oper. Res. 33 (1985) 1107.
        for (std::size_t k = L; k > 0; --k) {
            Real out = 0;
            for (std::size_t j = 0; j < k; ++j) out += q[k][j];
            for (std::size_t a = 0; a < k; ++a) q[a][k] /= out;
            for (std::size_t a = 0; a < k; ++a)
                for (std::size_t j = 0; j < k; ++j) q[a][j] += q[a][k] * q[k][j];
        }
        f[0] = 1;
        Real all = 1;
        for (std::size_t k = 1; k <= L; ++k) {
            for (std::size_t a = 0; a < k; ++a) f[k] += f[a] * q[a][k];
            all += f[k];
        }
        const Real Nt = 1e22 / set3.scale.N0[0] * weight / all;
        for (std::size_t s = 0; s <= L; ++s)
            if (r.first != LevelType::neutral)
                sum.rho += Nt * f[s] * (static_cast<int>(r.first) - 3 - static_cast<int>(s) - shift);
        for (std::size_t s = 0; s < L; ++s) {  // by the carrier that is exchanged less, which cancels less
            const Real in_n = cn[s] * n * f[s], out_n = en[s] * f[s + 1];
            const Real in_p = cp[s] * p * f[s + 1], out_p = ep[s] * f[s];
            sum.exchanged += Nt * std::min(in_n + out_n, in_p + out_p);
            sum.rec += Nt * (in_n + out_n < in_p + out_p ? in_n - out_n : in_p - out_p);
        }
    }
    return sum;
}

TEST(ChainTerms, FollowTheRateEquationsWithAllDerivatives)
{
    for (const Row& r : rows) {
        Device d = device_of(r);
        CalculationVariables& cv = d.cv;
        totale_rdcbijdrage(d.problem(), cv);
        const DcTerms& t = cv.terms_total;
        const double Nt = 1e22 / d.set3.scale.N0[0];
        for (std::size_t i = 0; i < cv.psi.size(); i += 3) {
            const Sum at = rate_equations(d, r, i, 0, 0, 0, 0);
            const auto near = [&](double value, Real expected, double scale, const char* which) {
                EXPECT_NEAR(value, static_cast<double>(expected), scale)
                    << which << " of: " << r.what << ", point " << i;
            };
            const double rho = static_cast<double>(at.rho), rec = static_cast<double>(at.rec);
            near(t.rho[i], at.rho, 1e-12 * std::fabs(rho) + 3e-16 * Nt, "charge");
            // In light recombination and generation cancel somewhere.
            const double rounding = r.light > 0.0 ? 1e-13 * static_cast<double>(at.exchanged) : 0.0;
            near(t.rec[i], at.rec, 1e-11 * std::fabs(rec) + rounding, "rate");
            // Central differences; charges counted from the nearest whole one.
            const Real h = 1e-4L, whole = std::round(rho / Nt);
            const auto slopes = [&](Real psi, Real Fn, Real Fp) {
                const Sum up = rate_equations(d, r, i, psi * h, Fn * h, Fp * h, whole);
                const Sum down = rate_equations(d, r, i, -psi * h, -Fn * h, -Fp * h, whole);
                return Sum{(up.rho - down.rho) / (2 * h), (up.rec - down.rec) / (2 * h), 0};
            };
            const Sum psi = slopes(1, 0, 0), Fn = slopes(0, 1, 0), Fp = slopes(0, 0, 1);
            const auto slope_near = [&](double value, Real expected, double scale, const char* which) {
                near(value, expected, 1e-7 * (std::fabs(value) + scale), which);
            };
            // Rounding of the extended precision over the step.
            const double noise = 1e-7 * std::fabs(static_cast<double>(rate_equations(d, r, i, 0, 0, 0, whole).rho));
            slope_near(t.drho_dpsi[i], psi.rho, noise, "drho/dpsi");
            slope_near(t.drho_du[i] * cv.expFn[i], Fn.rho, noise, "drho/du");
            slope_near(-t.drho_dv[i] * cv.expmFp[i], Fp.rho, noise, "drho/dv");
            slope_near(t.drec_dpsi[i], psi.rec, std::fabs(rec), "drec/dpsi");
            slope_near(t.drec_du[i] * cv.expFn[i], Fn.rec, std::fabs(rec), "drec/du");
            slope_near(-t.drec_dv[i] * cv.expmFp[i], Fp.rec, std::fabs(rec), "drec/dv");
        }
        // What a step reads is the same when it is computed alone.
        const DcTerms full = t;
        totale_rdcbijdrage(d.problem(), cv, Terms::psi);
        EXPECT_EQ(cv.terms_total.rho, full.rho) << r.what;
        EXPECT_EQ(cv.terms_total.drho_dpsi, full.drho_dpsi) << r.what;
        totale_rdcbijdrage(d.problem(), cv, Terms::u);
        EXPECT_EQ(cv.terms_total.rec, full.rec) << r.what;
        EXPECT_EQ(cv.terms_total.drec_du, full.drec_du) << r.what;
        totale_rdcbijdrage(d.problem(), cv, Terms::v);
        EXPECT_EQ(cv.terms_total.drec_dv, full.drec_dv) << r.what;
    }
}

// In equilibrium the states are filled as by the grand canonical ensemble, whatever the capture coefficients: a state
// of s electrons has as many ways as s of L places can be chosen, unless degeneracy is switched off. Nothing
// recombines.
TEST(ChainTerms, EquilibriumIsGrandCanonical)
{
    for (const Row& r : rows) {
        if (r.light > 0.0) continue;
        if (r.distribution != EnergyDistribution::single) continue;
        Device d = device_of(r);
        CalculationVariables& cv = d.cv;
        for (auto* F : {&cv.Fn, &cv.Fp}) std::fill(F->begin(), F->end(), 0.0);
        update_Fn(cv);
        update_Fp(cv);
        const std::vector<DefectTransition> transitions = defect_transitions(d.memory.defects, cv);
        const std::size_t L = r.Et.size();
        ASSERT_EQ(transitions.size(), L) << r.what;
        for (std::size_t i = 0; i < cv.psi.size(); i += 7) {
            const Real F = -d.set3.kT * std::log(static_cast<Real>(d.set3.on.Nc[i]) / cv.n[i]) + r.Eg;  // above EV
            std::vector<Real> f;
            Real all = 0, energy = 0, ways = 1;
            for (std::size_t s = 0; s <= L; ++s) {
                f.push_back(ways * std::exp((static_cast<Real>(s) * F - energy) / d.set3.kT));
                all += f.back();
                if (s == L) break;
                energy += r.Et[s];
                if (!r.degeneracy_one) ways *= static_cast<Real>(L - s) / static_cast<Real>(s + 1);
            }
            Real sum = transitions[0].een_min_f_t[i];
            for (std::size_t s = 0; s < L; ++s) {
                const double empty = static_cast<double>(f[s] / all), filled = static_cast<double>(f[s + 1] / all);
                EXPECT_EQ(transitions[s].level, static_cast<int>(s));
                EXPECT_NEAR(transitions[s].een_min_f_t[i], empty, 1e-12 * empty) << r.what << ", level " << s;
                EXPECT_NEAR(transitions[s].f_t[i], filled, 1e-12 * filled) << r.what << ", level " << s;
                sum += transitions[s].f_t[i];
            }
            EXPECT_NEAR(static_cast<double>(sum), 1.0, 1e-15) << r.what;
        }
        totale_rdcbijdrage(d.problem(), cv);
        for (const double R : cv.terms_total.rec) EXPECT_EQ(R, 0.0) << r.what;
    }
}

}  // namespace
}  // namespace kovin::testing
