#include "sweeps/cf.h"

#include "base/text_format.h"
#include "sweeps/outer_circuit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

constexpr const char* title = "Calculating C(f)...";
constexpr double two_pi = 2.0 * std::numbers::pi;

/// Frequencies in the order of the sweep [Hz].
std::vector<double> frequencies(const ActionList& actions)
{
    const int n = std::max(actions.Cf_points, 2);
    const double start = std::log10(actions.Cf_startf), stop = std::log10(actions.Cf_stopf);
    std::vector<double> f;
    for (int i = 0; i < n; ++i) f.push_back(std::pow(10.0, ((n - 1 - i) * start + i * stop) / (n - 1)));
    return f;
}

/// What can be said of the request itself. @return false if it cannot be run (reported)
bool can_be_run(Surroundings& surroundings, const ActionList& actions)
{
    std::string why;
    if (actions.Cf_points > MAX_NUM_CALCULATION_STEPS)
        why = "There are more than MAX_NUM_CALCULATION_STEPS = " + integer(MAX_NUM_CALCULATION_STEPS) +
              " C(f) points to calculate";
    else if (!(actions.Cf_startf > 0.0 && actions.Cf_stopf > 0.0))
        why = "The frequencies have to be above 0.";
    if (why.empty()) return true;
    KOVINErrorMessage(surroundings.report, title, why);
    return false;
}

void add_point(double f, const Admittance& Y, CfCurve& curve)
{
    constexpr double least_G = 1e-12;  // a plot of the logarithm has to end somewhere [S/cm2]
    const Complex Z = ohm_cm2_per_ohm_m2 * impedance(Y, two_pi * f);
    curve.cf_as.push_back(f);
    curve.cfcap.push_back(Y.C * nF_cm2_per_F_m2);
    curve.cfcon.push_back(std::max(Y.G * S_cm2_per_S_m2, least_G));
    curve.cfZre.push_back(Z.re);
    curve.cfZim.push_back(Z.im);
    curve.cfZmagn.push_back(std::hypot(Z.re, Z.im));
    curve.cfZphase.push_back(std::atan2(Z.im, Z.re) * (180.0 / std::numbers::pi));
}

}  // namespace

SweepOutcome calccf(Surroundings& surroundings, Simulation& s, DataListElement& element)
{
    if (!can_be_run(surroundings, s.actie)) return SweepOutcome::refused;
    const Monitor& monitor = surroundings.monitor;
    const std::vector<double> f = frequencies(s.actie);
    const std::size_t n = f.size();
    element.Cf_points = n;
    const OuterCircuit circuit = outer_circuit(s.wp);
    const auto shown = [](double frequency) { return scientific(frequency, 8, 2) + " Hz"; };
    const std::string sweep = "Calculating C(f) at " + fixed(s.wp.V * s.polarity.V, 0, 3) + " V from " + shown(f[0]) +
                              " to " + shown(f[n - 1]) + ": f = ";

    ReturnToAKnownStartingPoint(s, s.werkpuntcv);
    const Problem problem = s.solver_problem();
    SmallSignalWork work;
    SmallSignal answer;
    prepare_small_signal(problem, s.currentCalcVars, work);
    CfCurve curve;
    bool stopped = false;
    for (std::size_t k = 0; k < n && !curve.failed; ++k) {
        stopped = k > 0 && monitor.stopRequested();
        if (stopped) break;
        monitor.post(
            {.status = 1, .text = sweep + shown(f[k]), .done = static_cast<int>(k), .total = static_cast<int>(n)});
        curve.failed = !solve_small_signal(problem, s.currentCalcVars, two_pi * f[k], work, answer);
        if (curve.failed)
            KOVINErrorMessage(surroundings.report, title,
                              "No solution at f = " + shown(f[k]) +
                                  (k > 0 ? "\nC(f) calculation cut at f = " + shown(f[k - 1]) : "") + '\n' +
                                  no_small_signal);
        else
            add_point(f[k], at_terminals(answer.mean, two_pi * f[k], circuit), curve);
    }
    s.failures.Cf = curve.points() < n;
    element.cf = std::move(curve);
    return stopped ? SweepOutcome::stopped : SweepOutcome::done;
}

std::optional<WorkPointAdmittance> work_point_admittance(Surroundings& surroundings, Simulation& s)
{
    const double omega_us = two_pi * s.wp.frequency;
    SmallSignalWork work;
    SmallSignal answer;
    s.failures.admittance = !calculate_small_signal_ac(s.solver_problem(), s.currentCalcVars, omega_us, work, answer);
    if (s.failures.admittance) {
        KOVINErrorMessage(surroundings.report, "Small signals at the working point...",
                          "No solution at V = " + fixed(s.wp.V * s.polarity.V, 0, 6) + " Volt\n" + no_small_signal);
        return {};
    }
    const Admittance Y = at_terminals(answer.median, omega_us, outer_circuit(s.wp));
    return WorkPointAdmittance{Y.C * nF_cm2_per_F_m2, Y.G * S_cm2_per_S_m2};
}

}  // namespace kovin
