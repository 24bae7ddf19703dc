// C-V of metal-insulator-semiconductor structures: the exact theory of the ideal capacitor, the formulas of textbooks,
// what holds for any structure, and structures that are none.
#include "solver/mis.h"

#include "results/capacitance_files.h"
#include "solver/small_signal.h"
#include "sweeps/cv.h"
#include "sweeps/effective_permittivity.h"
#include "sweeps/shipped_run.h"
#include "sweeps/starting_point.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace kovin {
namespace {

constexpr double slow = 1e-6, fast = 1e6;  ///< frequencies [Hz]
enum class Electrons { follow, redistribute, absent };

/// The sample, 20 nm of oxide on p silicon.
struct MisRun : ShippedRun {
    MisRun() : ShippedRun("mis-silicon") {}
    explicit MisRun(double frequency, int points = 13) : MisRun()
    {
        wp().frequency = frequency;
        actions().CV_points = points;
    }
    LayerParameters& layer(std::size_t j) { return s->zonnecel.cell.layer[j]; }
    void dope_the_insulator()
    {
        MaterialParameters& m = layer(0).material;
        test::set_uniform(m.Eg, 2.0);
        test::set_uniform(m.chi, 4.0);
        test::set_uniform(m.Nd, 1e17);
        s->zonnecel.cell.left.Fi_m = 4.2;
    }
    const CvCurve& curve() { return calculated().cv; }
    bool told(const char* text)
    {
        return std::ranges::any_of(surroundings.report.messages,
                                   [&](const Message& m) { return m.text.find(text) != std::string::npos; });
    }
};

/// The ideal capacitor on uniform p silicon. With v the band bending in kT/q and F the field at the surface,
///
///     F^2 = e^-v + v - 1 + w (e^v - v - 1),   w = (ni/N)^2,
///     V = V_fb + kT (v + sqrt(2) eps F/(lambda C_ox)),   C_s = eps/(sqrt(2) lambda F) dF^2/dv
///
/// At high frequency the electrons of the inversion layer only redistribute: their number, the integral of
/// w (e^v - 1)/F dv, stays and w changes. Nicollian, Brews, MOS Physics and Technology (1982), chapters 3 and 4.
struct IdealCapacitor {
    double N = 1e22, tox = 20e-9, eps_ox = 3.9, V_fb = 0.0;  ///< [m^-3], [m], -, [V]
    double kT = kT_at_300K;
    [[nodiscard]] double ni() const { return std::sqrt(2.86e25 * 3.1e25) * std::exp(-0.5 * 1.124 / kT); }
    [[nodiscard]] double C_ox() const { return eps_ox * vacuum_permittivity / tox; }
    [[nodiscard]] double eps() const { return 11.9 * vacuum_permittivity; }
    [[nodiscard]] double lambda() const { return std::sqrt(eps() * kT / (elementary_charge * N)); }

    /// @return C [nF/cm2]
    [[nodiscard]] double C(double V, Electrons electrons) const
    {
        const double w = electrons == Electrons::absent ? 0.0 : std::pow(ni() / N, 2);
        const auto rising = [&](double v) { return w > 0.0 ? w * (std::exp(v) - v - 1.0) : 0.0; };
        const auto F = [&](double v) { return std::sqrt(std::exp(-v) + v - 1.0 + rising(v)); };
        const auto voltage = [&](double v) {
            const double field = std::copysign(std::numbers::sqrt2 * eps() / lambda() * F(v), v);
            return V_fb + kT * (v + field / C_ox());
        };
        double low = -60.0, high = w > 0.0 ? 60.0 : 2000.0;
        for (int k = 0; k < 100; ++k) (voltage(0.5 * (low + high)) < V ? low : high) = 0.5 * (low + high);
        const double v = 0.5 * (low + high);
        const auto more = [&](double x) { return w > 0.0 ? w * std::expm1(x) : 0.0; };
        double slope = -std::expm1(-v) + more(v);
        if (electrons == Electrons::redistribute && v > 0.0) {
            constexpr int parts = 4000;
            double by_w = 0.0;  // of the number of electrons, times w
            for (int k = 0; k < parts; ++k) {
                const double x = v * (k + 0.5) / parts, f = F(x);
                by_w += v / parts * more(x) * (1.0 / f - 0.5 * rising(x) / (f * f * f));
            }
            slope -= rising(v) * more(v) / (F(v) * by_w);
        }
        const double C_s = eps() / (std::numbers::sqrt2 * lambda()) * std::fabs(slope / F(v));
        return 1e5 / (1.0 / C_ox() + 1.0 / C_s);
    }
};

TEST(MisCapacitance, IsThatOfTheExactTheory)
{
    struct Row {
        const char* what;
        double frequency;
        Electrons electrons;
        std::function<void(MisRun&, IdealCapacitor&)> change;
        int sign = 1;            ///< of the voltage
        double relative = 5e-4;  ///< an interval holds 1/4 to 1/2 kT
    };
    const auto to_n_silicon = [](MisRun& run, IdealCapacitor& ideal) {
        std::swap(run.layer(1).material.Na, run.layer(1).material.Nd);
        std::swap(run.layer(1).material.Na.quantity, run.layer(1).material.Nd.quantity);
        ideal.V_fb = -(4.1 - 4.05 - ideal.kT * std::log(2.86e25 / ideal.N));
    };
    const auto turn = [](MisRun& run, IdealCapacitor&) { run.turn(); };
    const auto with_oxide = [](double nm) {
        return [nm](MisRun& run, IdealCapacitor& ideal) {
            run.layer(0).material.d = 1e-3 * nm;
            ideal.tox = 1e-9 * nm;
        };
    };
    const auto far = [](MisRun& run, IdealCapacitor&) {
        run.actions().CV_startV = -30.0;
        run.actions().CV_stopV = 30.0;
    };
    const auto far_turned = [](MisRun& run, IdealCapacitor&) {
        run.turn();
        run.actions().CV_startV = 30.0;
        run.actions().CV_stopV = -30.0;
    };
    const auto low_barrier = [](MisRun& run, IdealCapacitor& ideal) {  // TiO2: 0.05 eV for electrons of the silicon
        MaterialParameters& m = run.layer(0).material;
        test::set_uniform(m.chi, 4.0);
        test::set_uniform(m.Eg, 3.2);
        test::set_uniform(m.eps, ideal.eps_ox = 40.0);
    };
    const auto nothing = [](MisRun&, IdealCapacitor&) {};
    const auto doped = [](MisRun& run, IdealCapacitor& ideal, double N) {  // [m^-3]
        ideal.V_fb += ideal.kT * std::log(ideal.N / N);
        ideal.N = N;
        test::set_uniform(run.layer(1).material.Na, 1e-6 * N);
    };
    const auto much_turned = [&](MisRun& run, IdealCapacitor& ideal) {
        doped(run, ideal, 1e24);
        run.turn();
    };
    const auto by_levels = [&](MisRun& run, IdealCapacitor& ideal) {
        doped(run, ideal, 9e21);
        test::set_uniform(run.layer(1).material.Na, 0.0);
        test::set_uniform(run.layer(1).material.Nd, 1e15);
        testing::add_defect(run.layer(1), DefectType::acceptor, 1e16, 0.05, 1e-15, 1e-15).layer = 1;
    };
    const auto classic = [](MisRun& run, IdealCapacitor&) { run.s->problem.input.convergence.route = Route::classic; };
    const Row rows[] = {
        {"high frequency", fast, Electrons::redistribute, nothing},
        {"low frequency", slow, Electrons::follow, nothing},
        {"deep depletion", fast, Electrons::absent, nothing},
        {"n silicon, high frequency", fast, Electrons::redistribute, to_n_silicon, -1},
        {"n silicon, deep depletion", fast, Electrons::absent, to_n_silicon, -1},
        {"gate at the right, low frequency", slow, Electrons::follow, turn, -1},
        {"gate at the right, deep depletion", fast, Electrons::absent, turn, -1},
        // The currents of the silicon are rounding there.
        {"gate at the right, much doping, lowest frequency", 1e-9, Electrons::follow, much_turned, -1, 3e-3},
        {"acceptors are levels, deep depletion", fast, Electrons::absent, by_levels, 1, 2e-3},
        {"no barrier, low frequency", slow, Electrons::follow, low_barrier},
        {"no barrier, deep depletion", fast, Electrons::absent, low_barrier},
        {"30 V, deep depletion", fast, Electrons::absent, far},
        {"30 V, gate at the right, low frequency", slow, Electrons::follow, far_turned, -1},
        {"50 nm, high frequency", fast, Electrons::redistribute, with_oxide(50.0)},
        // Accumulation and inversion layers are most of the capacitor.
        {"2 nm, low frequency", slow, Electrons::follow, with_oxide(2.0)},
        {"2 nm, deep depletion", fast, Electrons::absent, with_oxide(2.0)},
        // 100 points a layer are wide at the edge of the depletion layer.
        {"classic route, high frequency", fast, Electrons::redistribute, classic, 1, 2.5e-3},
        {"classic route, deep depletion", fast, Electrons::absent, classic, 1, 1e-2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        MisRun run(row.frequency);
        IdealCapacitor ideal;
        ideal.V_fb = 4.1 - (4.05 + 1.124 - ideal.kT * std::log(3.1e25 / ideal.N));
        row.change(run, ideal);
        run.actions().minority_carriers_wait = row.electrons == Electrons::absent;
        const CvCurve& curve = run.curve();
        ASSERT_EQ(curve.points(), 13u);
        for (std::size_t i = 0; i < curve.points(); ++i)
            EXPECT_NEAR(curve.cvcap[i] / ideal.C(row.sign * curve.cv_as[i], row.electrons), 1.0, row.relative)
                << curve.cv_as[i];
        EXPECT_TRUE(run.surroundings.report.messages.empty());
    }
}

// What a textbook tells to look for: Sze, Ng, Physics of Semiconductor Devices (2007), chapter 4.3.
TEST(MisCapacitance, HasTheFiguresOfTextbooks)
{
    const IdealCapacitor ideal;
    const double C_ox = 1e5 * ideal.C_ox();
    MisRun quick(fast, 61), quasi_static(slow, 61), deep(fast, 61);
    deep.actions().minority_carriers_wait = true;
    const CvCurve &hf = quick.curve(), &lf = quasi_static.curve(), &dd = deep.curve();
    for (const CvCurve* c : {&hf, &lf, &dd}) {
        ASSERT_EQ(c->points(), 61u);
        EXPECT_NEAR(c->cvcap[0] / C_ox, 0.975, 0.01) << "accumulation: the oxide in series with some Angstrom";
        for (std::size_t i = 26; i < 29; ++i)  // 1/C^2 = 1/C_ox^2 + 2 (V - V_fb)/(q eps N), -0.4 to -0.2 V
            EXPECT_NEAR(std::fabs(c->cvN[i]) / 1e16, 1.0, 0.01) << c->cv_as[i];
        EXPECT_TRUE(std::ranges::all_of(c->dc.ivcurrent, [](double J) { return J == 0.0; }));
    }
    EXPECT_GT(lf.cvcap.back() / C_ox, 0.97) << "inversion: electrons follow";
    const double psi_B = ideal.kT * std::log(ideal.N / ideal.ni());
    const double W_max = std::sqrt(4.0 * ideal.eps() * psi_B / (elementary_charge * ideal.N));
    const double C_min = 1e5 / (1.0 / ideal.C_ox() + W_max / ideal.eps());
    for (std::size_t i = 40; i < 61; ++i) {
        EXPECT_NEAR(hf.cvcap[i] / C_min, 0.97, 0.015) << "the bands bend by some kT more than 2 psi_B " << hf.cv_as[i];
        EXPECT_NEAR(std::fabs(dd.cvN[i]) / 1e16, 1.0, 0.01) << "1/C^2 goes on " << dd.cv_as[i];
    }
    EXPECT_LT(dd.cvcap.back(), 0.55 * hf.cvcap.back());
    // The width is that of the silicon alone, 1/C = 1/C_ox + W/eps, counted from the oxide at either end of the cell.
    for (const bool turned : {false, true}) {
        MisRun run(fast, 13);
        if (turned) run.turn();
        run.actions().minority_carriers_wait = true;
        run.s->problem.NW.epsilon_mode = epsilon_of_position;
        const CvCurve& curve = run.curve();
        EXPECT_EQ(curve.layer_name, "p silicon");
        for (std::size_t i = 0; i < curve.points(); ++i) {
            const double W = 1e6 * ideal.eps() * (1e5 / curve.cvcap[i] - 1.0 / ideal.C_ox());
            EXPECT_NEAR(curve.cvW[i], W, 1e-4 * W + 1e-6) << curve.cv_as[i];
            EXPECT_NEAR(curve.cvx[i], turned ? 5.0 - W : 0.02 + W, 1e-4 * W + 1e-6) << curve.cv_as[i];
        }
    }
    MisRun far(fast, 61);
    far.actions().CV_startV = 0.0;
    far.actions().CV_stopV = 12.0;
    far.actions().minority_carriers_wait = true;
    for (const double N : far.curve().cvN) EXPECT_NEAR(std::fabs(N) / 1e16, 1.0, 5e-3) << "one mesh for all points";
    // Without the mode, where the electrons of the equations keep up, the ordinary C-V is the same.
    MisRun ordinary(fast, 61);
    ordinary.layer(0).functional_type = 0;
    ordinary.actions().MIS_CV_calculate = false;
    ordinary.actions().CV_calculate = true;
    const CvCurve& usual = ordinary.curve();
    ASSERT_EQ(usual.points(), 61u);
    // Beyond 2 V the charge of a floating inversion layer hangs on its generation alone: rounding shows.
    for (std::size_t i = 0; i <= 50; ++i) EXPECT_NEAR(usual.cvcap[i] / hf.cvcap[i], 1.0, 5e-3) << usual.cv_as[i];
}

// Charged levels and interface states, a leaky interlayer, several layers: the current is the same everywhere along x,
// and at low frequency C is the slope of the charge on the gate at DC.
TEST(MisSmallSignals, KeepTheCurrentAndFollowTheChargeAtDc)
{
    struct Row {
        const char* what;
        std::function<void(MisRun&)> change;
        bool insulates = true;  ///< the charge on the gate is all that there is on its side
    };
    const auto states = [](MisRun& run) {
        InterfaceRecombinationParameters& d = testing::add_sheet(run.s->zonnecel.cell, 0, DefectType::acceptor, 5e11,
                                                                 EnergyReference::above_EV_right, 0.5, 1e-15, 1e-15);
        d.energy_distribution = EnergyDistribution::uniform;
        d.Ekar = 0.6;
    };
    const Row rows[] = {
        {"the sample", [](MisRun&) {}},
        {"states at the interface", states},
        {"states that carriers tunnel to at other times",
         [&](MisRun& run) {
             states(run);
             run.s->problem.input.convergence.tunnel_paths = 0;
         }},
        {"turned, with states", [&](MisRun& run) { states(run), run.turn(); }},
        {"deep donors",
         [](MisRun& run) { testing::add_defect(run.layer(1), DefectType::donor, 5e15, 0.7, 1e-15, 1e-15).layer = 1; }},
        {"a doped interlayer that conducts", &MisRun::dope_the_insulator, false},
        {"insulator inside",
         [](MisRun& run) {
             CellParameters& cell = run.s->zonnecel.cell;
             cell.layer[2] = cell.layer[1];
             cell.layer[1] = cell.layer[0];
             cell.layer[0] = cell.layer[2];
             for (std::size_t j = 0; j < 3; ++j) {
                 cell.layer[j].layernumber = static_cast<int>(j);
                 for (auto& defect : cell.layer[j].srh)
                     for (auto& level : defect) level.layer = static_cast<int>(j);
             }
             cell.interfaces[1] = cell.interfaces[0];
             cell.interfaces[1].number = 1;
             cell.layers = 3;
             cell.left = cell.right;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        MisRun run(slow, 2);
        row.change(run);
        ASSERT_EQ(run.curve().points(), 2u);
        Simulation& s = *run.s;
        ReturnToAKnownStartingPoint(s, s.evenwichtcv);
        const auto place = place_of_insulator(std::span(s.set3.layer).first(static_cast<std::size_t>(s.set3.layers)));
        ASSERT_TRUE(place);
        const MisStructure mis = mis_structure(s.solver_problem(), s.memory.work, s.evenwichtcv, *place);
        const Problem problem = parted(s.solver_problem(), mis);  // the mesh stays
        CalculationVariables& cv = s.currentCalcVars;
        const auto charge = [&](double V) {  // eps E at the gate [C/m2]
            EXPECT_TRUE(mis_naar_spanning(problem, s.memory.work, cv, mis, Minority::in_equilibrium, V));
            const std::size_t last = static_cast<std::size_t>(cv.mesh.first[mis.last + 1 < 3 ? mis.first : 0]);
            return (cv.psi[last] - cv.psi[last + 1]) * s.set3.kT / (cv.mesh.h[last] * s.set3.scale.x0) *
                   vacuum_permittivity * s.set3.on.eps[last];
        };
        for (const double V : {-2.0, -0.5, 0.3, 2.0}) {
            constexpr double dV = 1e-3;
            const double rounding = row.insulates ? 1e-9 : 1e-8;  // of what moves to and fro in it [A/m2]
            const double slope =
                (charge(V - 2 * dV) - 8 * charge(V - dV) + 8 * charge(V + dV) - charge(V + 2 * dV)) / (12.0 * dV);
            charge(V);
            SmallSignalWork work;
            SmallSignal answer;
            for (const double f : {slow, 1e2, fast}) {
                ASSERT_TRUE(calculate_small_signal_ac(problem, cv, 2.0 * std::numbers::pi * f, work, answer));
                const double size = std::hypot(answer.J_mean.re, answer.J_mean.im);
                double worst = 0.0;
                for (std::size_t i = 0; i < cv.psi.size(); ++i)
                    worst = std::max(worst, std::hypot(answer.del_j_tot_re[i] - answer.J_mean.re,
                                                       answer.del_j_tot_im[i] - answer.J_mean.im));
                EXPECT_LT(worst, 1e-8 * size + rounding) << V << ' ' << f;
                if (f < 1.0 && row.insulates) {
                    EXPECT_NEAR(answer.mean.C / slope, 1.0, 1e-4) << V;
                }
            }
        }
    }
}

// States at the interface stretch the curve out: they charge with the voltage, and at high frequency they do not
// follow.
TEST(MisCapacitance, IsStretchedByStatesAtTheInterface)
{
    const auto voltage_at = [](double C, bool with_states) {
        MisRun run(fast, 121);
        if (with_states) {
            InterfaceRecombinationParameters& d =
                testing::add_sheet(run.s->zonnecel.cell, 0, DefectType::acceptor, 1e12, EnergyReference::above_EV_right,
                                   0.56, 1e-19, 1e-19);
            d.energy_distribution = EnergyDistribution::uniform;
            d.Ekar = 1.0;
        }
        const CvCurve curve = run.curve();
        for (std::size_t i = 1; i < curve.points(); ++i)
            if (curve.cvcap[i] < C) {
                const double t = (C - curve.cvcap[i]) / (curve.cvcap[i - 1] - curve.cvcap[i]);
                return curve.cv_as[i] - t * (curve.cv_as[i] - curve.cv_as[i - 1]);
            }
        return 0.0;
    };
    // Between two capacitances the bands bend alike; the states take q D_it per volt of bending more from the gate.
    const IdealCapacitor ideal;
    const auto bending = [&](double C) {
        const double C_s = 1.0 / (1e5 / C - 1.0 / ideal.C_ox());
        return 0.5 * elementary_charge * ideal.N * ideal.eps() / (C_s * C_s);
    };
    const double more = (bending(32.0) - bending(50.0)) * elementary_charge * 1e16 / ideal.C_ox();
    const double stretch =
        (voltage_at(32.0, true) - voltage_at(50.0, true)) - (voltage_at(32.0, false) - voltage_at(50.0, false));
    EXPECT_NEAR(stretch / more, 1.0, 0.05);
}

TEST(MisMode, TellsWhatItCannotDoAndDoesTheRest)
{
    struct Row {
        const char* what;
        std::function<void(MisRun&)> change;
        std::size_t points;  ///< at least
        const char* told;    ///< nullptr: nothing
        bool another_mode = false;
        double C = 0.0;  ///< at the last point [nF/cm2]; 0: not known
    };
    const double C_ox = 1e5 * IdealCapacitor{}.C_ox();
    const Row rows[] = {
        {"no interlayer", [](MisRun& run) { run.layer(0).functional_type = 0; }, 1, "ordinary", true},
        {"an optical one is none", [](MisRun& run) { run.layer(0).functional_type = 1; }, 1, "ordinary", true},
        {"one layer alone",
         [](MisRun& run) {
             run.layer(0) = run.layer(1);
             run.layer(0).functional_type = 2;
             run.s->zonnecel.cell.layers = 1;
         },
         1, "ordinary", true},
        {"electro-optical", [](MisRun& run) { run.layer(0).functional_type = 3; }, 7, nullptr},
        {"insulators alone",
         [](MisRun& run) {
             run.layer(1).material = run.layer(0).material;
             run.layer(1).functional_type = 2;
             run.layer(1).srhteller = 0;
             run.s->zonnecel.cell.right = run.s->zonnecel.cell.left;
         },
         7, nullptr, false, 0.5 * C_ox},
        {"insulators on both sides",
         [](MisRun& run) {
             CellParameters& cell = run.s->zonnecel.cell;
             cell.layer[2] = cell.layer[0];
             cell.layer[2].layernumber = 2;
             cell.interfaces[1] = cell.interfaces[0];
             cell.interfaces[1].number = 1;
             cell.layers = 3;
             cell.right = cell.left;
         },
         0, "ordinary", true},
        {"light", [](MisRun& run) { run.wp().dark = false; }, 7, "light"},
        {"deep depletion under light",
         [](MisRun& run) {
             run.wp().dark = false;
             run.wp().V = 0.1;
             run.actions().minority_carriers_wait = true;
         },
         7, "light"},
        {"deep depletion of an undoped layer",
         [](MisRun& run) {
             test::set_uniform(run.layer(1).material.Na, 0.0);
             run.actions().minority_carriers_wait = true;
         },
         7, "not of one type", true},
        {"its insulator is doped", &MisRun::dope_the_insulator, 6, "carriers per cm3: it conducts", true},
        {"its insulator has charged levels",
         [](MisRun& run) { testing::add_defect(run.layer(0), DefectType::donor, 1e16, 4.0, 1e-15, 1e-15).layer = 0; },
         7, "charged levels that no carrier reaches"},
        {"cold", [](MisRun& run) { run.wp().T = 150.0; }, 7, nullptr},
        {"1 nm of oxide", [](MisRun& run) { run.layer(0).material.d = 1e-3; }, 7, nullptr},
        {"its first points are beyond the numbers", [](MisRun& run) { run.actions().CV_startV = -42.0; }, 4,
         "beyond the numbers"},
    };
    for (const Row& row : rows)
        for (const Route route : {Route::fast, Route::classic}) {
            SCOPED_TRACE(row.what);
            MisRun run(fast, 7);
            run.s->problem.input.convergence.route = route;
            row.change(run);
            const CvCurve& curve = run.curve();
            ASSERT_GE(curve.points(), row.points);
            EXPECT_TRUE(std::ranges::all_of(curve.cvcap, [&](double C) { return C > 0.0 || !curve.insulator; }));
            if (row.C > 0.0) {
                EXPECT_NEAR(curve.cvcap.back() / row.C, 1.0, 1e-6);
            }
            EXPECT_EQ(run.surroundings.report.messages.empty(), row.told == nullptr);
            EXPECT_EQ(run.s->failures.mis, row.another_mode);
            if (row.told != nullptr) {
                EXPECT_TRUE(run.told(row.told));
            }
        }
}

// Only the C-V is in MIS mode: what else is measured in the run is what it is without, and the states of the C-V are no
// points of an I-V curve.
TEST(MisMode, LeavesOtherMeasurementsAlone)
{
    const auto measured = [](bool mis) {
        MisRun run(fast, 5);
        ActionList& a = run.actions();
        a.MIS_CV_calculate = mis;
        a.IV_calculate = a.Cf_calculate = true;
        a.IV_stopV = 0.2;
        a.IV_points = a.Cf_points = 3;
        return run.calculated();
    };
    const DataListElement with = measured(true), without = measured(false);
    EXPECT_EQ(with.cv.points(), 5u);
    EXPECT_EQ(with.iv.iv_as, without.iv.iv_as);
    EXPECT_EQ(with.iv.ivcurrent, without.iv.ivcurrent);
    EXPECT_EQ(with.cf.cfcap, without.cf.cfcap);
    // What comes before the C-V may fail.
    MisRun dark(fast, 5), failing(fast, 5);
    failing.wp().V = 60.0;
    EXPECT_EQ(failing.curve().cvcap, dark.curve().cvcap);
    EXPECT_TRUE(failing.s->failures.work_point);
    // A curve with gaps has no rows for them.
    MisRun far(fast, 7);
    far.actions().CV_startV = -42.0;
    const DataListElement gaps = far.calculated();
    for (const CutCurves mode : {CutCurves::truncate, CutCurves::zeros, CutCurves::blanks}) {
        const std::string text = cv_naar_file("", std::span(&gaps, 1), mode);
        EXPECT_NE(text.find("remark: 1 of 7 points have no solution and are left out\n"), std::string::npos) << text;
        EXPECT_EQ(text.find("cut"), std::string::npos);
        EXPECT_EQ(text.find(" 0.000000\t"), std::string::npos);
    }
    const std::string file = cv_naar_file("", std::span(&with, 1));
    EXPECT_NE(file.find("remark: MIS structure: "), std::string::npos);
    EXPECT_NE(file.find("layer 1 (oxide) and layer 2 (p silicon)"), std::string::npos);
}

}  // namespace
}  // namespace kovin
