// The small-signal solve against solutions at DC, rate equations, closed forms, and what holds at any frequency.
#include "solver/small_signal.h"

#include "solver/bulk_terms.h"
#include "solver/devices.h"

#include <gtest/gtest.h>

#include <complex>
#include <numbers>

namespace kovin::testing {
namespace {

constexpr double two_pi = 2.0 * std::numbers::pi;

Device::Settings tight(int half_cells)
{
    return [=](ConvergenceParameters& c) {
        c.recalculate_mesh = 0;
        c.interfacial_half_cells = half_cells;
        c.coupling_scheme = gummel_then_coupled;
        c.gummel_to_coupled_iteration = 3;
        c.termination_psi = c.termination_Fn = c.termination_Fp = 1e-9;
    };
}

/// The thin-film cell with a double donor in the absorber and one more charged level in each layer.
CellParameters chain_cell()
{
    CellParameters cell = thin_film_cell();
    test::add_chain(cell.layer[0], LevelType::two_plus_plus, {0.3, 0.6}, 5e21, EnergyDistribution::gauss);
    test::add_chain(cell.layer[1], LevelType::plus_zero, {0.9, 1.1, 1.4}, 1e22);
    return cell;
}

/// The graded cell with a permittivity that changes along the absorber.
CellParameters graded_permittivity_cell()
{
    CellParameters cell = graded_cell();
    Profile& eps = cell.layer[0].material.eps;
    eps.law = Law::linear;
    eps.dependence = Dependence::on_x;
    eps.pure_A = eps.left = 9.0;
    eps.pure_B = eps.right = 16.0;
    return cell;
}

struct Row {
    const char* what;
    CellParameters cell;
    double V;
    double J_light = 0.0;
    double decay = 5e-7;
    bool from_left = false;
};

/// Contacts that take carriers slowly: the light beside them heaps up minorities.
CellParameters slow_contacts(CellParameters cell)
{
    for (ContactParameters* c : {&cell.left, &cell.right}) c->Sn = c->Sp = 1.0;
    return cell;
}

Row turned(const Row& r) { return {r.what, mirrored(r.cell), -r.V, r.J_light, r.decay, !r.from_left}; }

std::vector<Row> cells()
{
    return {{"junction", silicon_junction(), 0.3},
            {"the same turned round", mirrored(silicon_junction()), -0.35},
            {"thin film, lit", thin_film_cell(), 0.5, 30.0},
            {"graded absorber", graded_permittivity_cell(), -0.3},
            {"charged sheets", charged_sheet_cell(), 0.2},
            {"neutral sheet, turned round, lit", mirrored(cliff_cell()), -0.4, 30.0},
            {"chains", chain_cell(), 0.3},
            {"lit beside the driven contact", silicon_junction(), 0.0, 30.0, 1e-7},
            {"lit beside a slow contact, reverse", slow_contacts(silicon_junction()), -0.5, 30.0, 1e-7}};
}

/// Solved at its voltage.
Device solved(const Row& r, const Device::Settings& settings)
{
    Device d(r.cell, 300.0, settings);
    EXPECT_TRUE(d.solve_equilibrium()) << r.what;
    if (r.J_light > 0.0) d.illuminate_exponentially(r.J_light, r.decay, r.from_left);
    EXPECT_TRUE(d.solve()) << r.what;
    if (r.V != 0.0) {
        EXPECT_TRUE(d.go_to(r.V, 10)) << r.what;
    }
    return d;
}

SmallSignal answer(Device& d, double f)
{
    SmallSignalWork work;
    SmallSignal a;
    EXPECT_TRUE(calculate_small_signal_ac(d.problem(), d.cv, two_pi * f, work, a));
    return a;
}

/// Spread of the total current along x, against its size.
double spread(const SmallSignal& a)
{
    double largest = 0.0;
    for (std::size_t i = 0; i < a.del_j_tot_re.size(); ++i)
        largest = std::max(largest, std::hypot(a.del_j_tot_re[i] - a.J_mean.re, a.del_j_tot_im[i] - a.J_mean.im));
    return largest / std::hypot(a.J_mean.re, a.J_mean.im);
}

// Slopes of current and state by differences over two steps, extrapolated to none.
TEST(SmallSignal, LowFrequencyIsTheSlopeAtDC)
{
    for (const int half_cells : {0, 1})
        for (const Row& r : cells()) {
            Device d = solved(r, tight(half_cells));
            const CalculationVariables at_V = d.cv;
            const std::size_t N = d.cv.psi.size();
            double J = 0.0;
            std::vector<double> psi(N), Fn(N), Fp(N);
            for (const double dV : {-4e-4, -2e-4, 2e-4, 4e-4}) {
                const double weight = (std::fabs(dV) < 3e-4 ? 2.0 / 3.0 : -1.0 / 12.0) * std::copysign(1.0, dV) / 2e-4;
                d.return_to(at_V);
                ASSERT_TRUE(d.go_to(r.V + dV)) << r.what;
                J += 10.0 * weight * d.cv.J_median;
                for (std::size_t i = 0; i < N; ++i) {
                    psi[i] += d.set3.kT * weight * d.cv.psi[i];
                    Fn[i] += d.set3.kT * weight * d.cv.Fn[i];
                    Fp[i] += d.set3.kT * weight * d.cv.Fp[i];
                }
            }
            d.return_to(at_V);
            const SmallSignal a = answer(d, 1e-4);
            EXPECT_NEAR(a.median.G / J, 1.0, 1e-6) << r.what << ", half cells " << half_cells;
            double off = 0.0;
            for (std::size_t i = 0; i < N; ++i)
                off = std::max({off, std::fabs(a.del_Psi_re[i] - psi[i]), std::fabs(a.del_u_re[i] + 1.0 - Fn[i]),
                                std::fabs(a.del_v_re[i] + 1.0 - Fp[i])});
            EXPECT_LT(off, 2e-6) << r.what;
        }
}

TEST(SmallSignal, TotalCurrentIsConstantAndMirrorsAlike)
{
    for (const Row& r : cells()) {
        Device d = solved(r, tight(1));
        Device image = solved(turned(r), tight(1));
        for (const double f : {0.0, 1.0, 1e3, 1e6, 1e8, 1e10}) {
            const SmallSignal a = answer(d, f);
            const double rounding = 1e-14 * 10.0 * r.J_light / std::hypot(a.J_mean.re, a.J_mean.im);
            // The rows extrapolate a graded permittivity over the first Angstrom: 4e-10.
            EXPECT_LT(spread(a), 1e-9 + rounding) << r.what << ", " << f << " Hz";
            EXPECT_NEAR(a.median.C, a.mean.C, 1e-9 * a.mean.C) << r.what << ", " << f << " Hz";
            if (f == 1e3) {
                Device fast = solved(r, [](ConvergenceParameters& c) {
                    c.route = Route::fast;
                    c.recalculate_mesh = 0;
                });
                EXPECT_NEAR(answer(fast, f).mean.G, a.mean.G, 1e-5 * a.mean.G) << r.what << ", state of the fast route";
                EXPECT_NEAR(answer(fast, f).mean.C, a.mean.C, 1e-5 * a.mean.C) << r.what << ", state of the fast route";
            }
            const SmallSignal b = answer(image, f);
            EXPECT_NEAR(b.mean.G, a.mean.G, 1e-6 * a.mean.G) << r.what << ", " << f << " Hz";
            EXPECT_NEAR(b.mean.C, a.mean.C, 1e-6 * a.mean.C) << r.what << ", " << f << " Hz";
        }
    }
}

/// Slopes of charge and rates of one defect energy to one level, from its rate equations at a frequency. Also tells the
/// fastest rate: plain elimination loses digits where it is far above the frequency.
using Value = std::complex<long double>;
std::array<Value, 3> rate_equations(std::size_t L, const double* cn, const double* cp, const double* en,
                                    const double* ep, std::size_t stride, double n, double p, double omega, bool to_Fn,
                                    double& fastest)
{
    std::vector<long double> f(L + 1, 1.0L);
    long double all = 1.0L;
    fastest = 0.0;
    for (std::size_t s = 0; s < L; ++s) {
        const std::size_t k = s * stride;
        f[s + 1] = f[s] * (ep[k] + cn[k] * n) / (en[k] + cp[k] * p);
        all += f[s + 1];
        fastest = std::max({fastest, ep[k] + cn[k] * n, en[k] + cp[k] * p});
    }
    for (long double& x : f) x /= all;
    // i omega df[s] = what comes in less what goes out; solved by plain elimination.
    std::vector<std::vector<Value>> m(L + 1, std::vector<Value>(L + 2));
    for (std::size_t s = 0; s <= L; ++s) m[s][s] = Value(0, omega);
    for (std::size_t s = 0; s < L; ++s) {
        const std::size_t k = s * stride;
        const long double A = ep[k] + cn[k] * n, B = en[k] + cp[k] * p;
        const Value drive = to_Fn ? cn[k] * n * f[s] : cp[k] * p * f[s + 1];
        m[s][s] += A, m[s][s + 1] -= B, m[s][L + 1] -= drive;
        m[s + 1][s + 1] += B, m[s + 1][s] -= A, m[s + 1][L + 1] += drive;
    }
    for (std::size_t k = 0; k <= L; ++k) {
        for (std::size_t r = k + 1; r <= L; ++r)
            if (std::abs(m[r][k]) > std::abs(m[k][k])) std::swap(m[r], m[k]);
        for (std::size_t r = 0; r <= L; ++r) {
            if (r == k) continue;
            const Value q = m[r][k] / m[k][k];
            for (std::size_t c = k; c < L + 2; ++c) m[r][c] -= q * m[k][c];
        }
    }
    std::array<Value, 3> sum{};
    for (std::size_t s = 0; s <= L; ++s) sum[ac_rho] -= static_cast<long double>(s) * m[s][L + 1] / m[s][s];
    for (std::size_t s = 0; s < L; ++s) {
        const std::size_t k = s * stride;
        const Value d0 = m[s][L + 1] / m[s][s], d1 = m[s + 1][L + 1] / m[s + 1][s + 1];
        const long double capture_n = cn[k] * n, capture_p = cp[k] * p;
        sum[ac_Rn] += capture_n * d0 - static_cast<long double>(en[k]) * d1;
        sum[ac_Rp] += capture_p * d1 - static_cast<long double>(ep[k]) * d0;
        if (to_Fn)
            sum[ac_Rn] += capture_n * f[s];
        else
            sum[ac_Rp] -= capture_p * f[s + 1];
    }
    return sum;
}

TEST(SmallSignal, DefectsFollowTheirRateEquations)
{
    Device d = solved({"chains", chain_cell(), 0.3}, tight(0));
    const BulkDefects& all = d.memory.defects;
    const std::size_t N = d.cv.psi.size();
    const auto check = [&](const auto& defect, std::size_t L, const char* what) {
        BulkDefects alone;
        if constexpr (std::is_same_v<std::decay_t<decltype(defect)>, DefectEnergy>)
            alone.energies.push_back(defect);
        else
            alone.chains.push_back(defect);
        DcTerms steady;
        steady.resize(N);
        rdcbijdrage_defects(alone, d.cv, steady);
        AcTerms share;
        share.resize(N);
        const std::size_t count = defect.Nt.size();
        for (const double omega : {1e-4, 1e-2, 1.0, 1e2, 1e4}) {
            totale_acr_bijdrage_multilevel(alone, d.cv, omega, share);
            for (std::size_t k = 3; k < count; k += 7)
                for (const bool to_Fn : {true, false}) {
                    const std::size_t i = defect.first + k;
                    double fastest = 0.0;
                    const auto expected = rate_equations(L, &defect.cn[k], &defect.cp[k], &defect.en[k], &defect.ep[k],
                                                         count, d.cv.n[i], d.cv.p[i], omega, to_Fn, fastest);
                    const auto& terms = to_Fn ? share.Fn : share.Fp;
                    const double w = to_Fn ? d.cv.expFn[i] : -d.cv.expmFp[i];
                    const double rho = w * (to_Fn ? steady.drho_du : steady.drho_dv)[i];
                    const double rec = w * (to_Fn ? steady.drec_du : steady.drec_dv)[i];
                    const double dc[] = {rho, rec, rec};
                    for (const AcRow row : {ac_rho, ac_Rn, ac_Rp}) {
                        const double Nt = defect.Nt[k], re = static_cast<double>(expected[row].real()) * Nt,
                                     im = static_cast<double>(expected[row].imag()) * Nt;
                        const double lost = 1e-17 * (1.0 + fastest / omega) * (row == ac_rho ? 1.0 : fastest);
                        const double own = 1e-9 * (std::hypot(re, im) + std::fabs(dc[row])) + defect.Nt[k] * lost;
                        EXPECT_NEAR(dc[row] + terms[row].re[i], re, own)
                            << what << i << " row " << row << " omega " << omega;
                        EXPECT_NEAR(terms[row].im[i], im, own) << what << i << " row " << row << " omega " << omega;
                    }
                }
        }
    };
    check(all.energies[0], 1, "donor, point ");
    check(all.energies[1], 1, "acceptor, point ");
    check(all.chains.front(), 2, "double donor, point ");
    check(all.chains.back(), 3, "three levels, point ");
}

// The charge of a sheet falls off as 1/(1 + i omega/rate), the rate that of all its exchange of carriers.
TEST(SmallSignal, SheetsFollowTheirRate)
{
    Device d = solved({"sheets", charged_sheet_cell(), 0.2}, tight(0));
    for (const InterfaceEnergy& level : d.memory.interface_states.energies) {
        const InterfaceCarriers c = carriers_at_interface(d.problem(), d.cv, level.interface);
        const double rate = level.cnL * (c.nL + level.enL) + level.cnR * (c.nR + level.enR) +
                            level.cpL * (c.pL + level.epL) + level.cpR * (c.pR + level.epR);
        InterfaceTerms steady;
        ifrdcbijdrage_een_niveau(level, c, steady);
        const double slope =
            d.cv.expFn[static_cast<std::size_t>(d.cv.mesh.last[level.interface])] * steady.drho_if_du_left;
        IfAcTerms share{};
        ifracbijdrage_een_niveau(level, c, 3.0 * rate, share);
        const std::complex<double> expected = slope / std::complex<double>(1.0, 3.0);
        EXPECT_NEAR(slope + share.rho[0].re, expected.real(), 1e-12 * std::fabs(slope));
        EXPECT_NEAR(share.rho[0].im, expected.imag(), 1e-12 * std::fabs(slope));
    }
}

/// Frequency at which G/omega peaks, by thirds of the logarithm.
double peak_of_loss(Device& d, double from, double to)
{
    const auto loss = [&](double ln_f) { return answer(d, std::exp(ln_f)).mean.G / std::exp(ln_f); };
    double low = std::log(from), high = std::log(to);
    while (high - low > 1e-3) {
        const double third = (high - low) / 3.0;
        if (loss(low + third) < loss(high - third))
            low += third;
        else
            high -= third;
    }
    return std::exp(0.5 * (low + high));
}

// A level responds where its energy crosses the Fermi level, there filling and emptying alike: the rate is 2 ep.
// Source: Walter, Herberholz, Mueller, Schock, J. Appl. Phys. 80 (1996) 4411.
TEST(SmallSignal, DeepLevelStepsAtTwiceItsEmissionRate)
{
    CellParameters cell = silicon_junction();
    Device neutral = solved({"neutral", cell, 0.3}, tight(0));
    EXPECT_NEAR(answer(neutral, 1e3).mean.G / answer(neutral, 1.0).mean.G, 1.0, 1e-6) << "follow at any frequency";
    const BulkRecombinationParameters& level = add_defect(cell.layer[0], DefectType::donor, 1e21, 0.35, 1e-19, 1e-19);
    Device d = solved({"donor", cell, 0.0}, tight(0));
    const double ep = 1e5 * level.sigma_p * 1.04e25 * std::exp(-0.35 / d.set3.kT);
    const double expected = 2.0 * ep / two_pi;
    EXPECT_NEAR(peak_of_loss(d, 0.05 * expected, 20.0 * expected) / expected, 1.0, 0.05);
    EXPECT_GT(answer(d, 0.01 * expected).mean.C, 1.02 * answer(d, 100.0 * expected).mean.C) << "a step downward";
}

TEST(SmallSignal, CapacitanceOfTextbookDevices)
{
    // One-sided junction: the width of the depletion layer with the correction of its edge.
    // Source: Sze, Ng, Physics of Semiconductor Devices (2007), section 2.2.
    CellParameters cell = silicon_junction();
    set_uniform(cell.layer[1].material.Nd, 1e24);
    const double eps = 11.9 * vacuum_permittivity;
    for (const double V : {0.0, -2.0, -4.0}) {
        Device d = solved({"one-sided", cell, V}, tight(0));
        const double kT = d.set3.kT, Vbi = kT * std::log(1e22 * 1e24 / (2.8e25 * 1.04e25 * std::exp(-1.12 / kT)));
        const double W = std::sqrt(2.0 * eps * (Vbi - V - 2.0 * kT) * (1.0 + 0.01) / (elementary_charge * 1e22));
        EXPECT_NEAR(answer(d, 1e5).median.C / (eps / W), 1.0, 0.02) << V << " V";
    }
    // A slab without doping between heavily doped layers is a plate capacitor. Carriers reach into it over some kT of
    // the field, here 3 nm each, so that the voltage has to be high.
    CellParameters pin = silicon_junction();
    set_uniform(pin.layer[0].material.Na, 1e25);
    pin.layer[2] = pin.layer[1];
    pin.layers = 3;
    set_uniform(pin.layer[2].material.Nd, 1e25);
    set_uniform(pin.layer[1].material.Nd, 1e17);
    pin.layer[2].layernumber = 2;
    for (auto& defect : pin.layer[2].srh)
        for (auto& l : defect) l.layer = 2;
    Device d = solved({"p-i-n", pin, -15.0}, tight(0));
    EXPECT_NEAR(answer(d, 1e6).median.C / (eps / 2e-6), 1.0, 0.01);
}

}  // namespace
}  // namespace kovin::testing
