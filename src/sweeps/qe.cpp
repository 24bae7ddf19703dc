#include "sweeps/qe.h"

#include "base/text_format.h"
#include "device/file_check.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/incoming_flux.h"
#include "optics/spectrum.h"
#include "solver/outer_iteration.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr const char* title = "Calculating quantum efficiency...";

/// While it lives, solves are sharp enough for differences of their currents.
class SharpSolves {
public:
    explicit SharpSolves(Simulation& s) : settings(s.set3.convergence), before(settings), fast(s.memory.work.fast)
    {
        fast_before = fast.tolerance;
        // A step of the fast route is in the state already: what remains is its square.
        fast.tolerance = std::min(fast_before, 1e-5);
        constexpr double classic = 1e-6;
        for (double* termination : {&settings.termination_psi, &settings.termination_Fn, &settings.termination_Fp})
            *termination = std::min(*termination, classic);
    }
    ~SharpSolves()
    {
        settings = before;
        fast.tolerance = fast_before;
    }
    SharpSolves(const SharpSolves&) = delete;
    SharpSolves& operator=(const SharpSolves&) = delete;

private:
    ConvergenceParameters& settings;
    ConvergenceParameters before;
    FastWork& fast;
    double fast_before;
};

/// Photons of the probe at one wavelength [1/(m2 s)].
double photons_of_probe(const QeSettings& settings, double wavelength)
{
    return settings.mode == 0 ? wavelength * photons_per_nm_W * settings.power : settings.photons;
}

/// Wavelengths in the order of the sweep [nm].
std::vector<double> wavelengths(const ActionList& actions)
{
    const int n = std::max(actions.QE_points, 2);
    const double step = (actions.QE_stoplambda - actions.QE_startlambda) / (n - 1);
    std::vector<double> lambda;
    for (int i = 0; i < n; ++i) lambda.push_back(actions.QE_startlambda + i * step);
    return lambda;
}

/// The light of the probe on the mesh, wavelengths rising. @return false if a file cannot be used (reported)
bool make_probe(Surroundings& surroundings, const Simulation& s, std::vector<double> lambda,
                GenerationParameters& probe)
{
    if (lambda.front() > lambda.back()) std::reverse(lambda.begin(), lambda.end());
    probe.lambda = std::move(lambda);
    probe.n = static_cast<int>(probe.lambda.size());
    probe.side = s.wp.lightFromRight ? 1 : -1;
    probe.Rfront = s.wp.Rfront;
    probe.materials = s.light.materials;
    if (!BerekenFilterSpectra(surroundings, s.problem.input.cell.cell, probe)) return false;
    bepaal_alfa(s.set3, s.currentCalcVars.mesh, probe);
    return true;
}

/// What can be said of the request itself. @return false if it cannot be run (reported)
bool can_be_run(Surroundings& surroundings, const Simulation& s)
{
    const auto refuse = [&](const std::string& text) {
        KOVINErrorMessage(surroundings.report, title, text);
        return false;
    };
    if (s.actie.QE_points > MAX_NUM_CALCULATION_STEPS)
        return refuse("There are more than MAX_NUM_CALCULATION_STEPS = " + integer(MAX_NUM_CALCULATION_STEPS) +
                      " wavelengths to calculate");
    for (const double lambda : {s.actie.QE_startlambda, s.actie.QE_stoplambda}) {
        const double photons = photons_of_probe(s.problem.qe, lambda);
        if (!(photons > 0.0 && photons <= most_photons))
            return refuse("A probe of " + scientific(photons, 0, 2) + " photons per m2 and s at " +
                          fixed(lambda, 0, 2) + " nm cannot be computed with.");
    }
    return true;
}

/// What the curve collects of the standard spectrum; nothing where that is not at hand.
std::optional<double> current_under_AM15G(Surroundings& surroundings, const QeCurve& curve)
{
    WorkPoint sun;
    sun.dark = false;
    if (curve.points() < 2 || !IsFileFound(surroundings, sun.spectrumFile, FileKind::spectrum)) return {};
    GenerationParameters light;
    if (!bepaal_spectrum(surroundings, sun, light)) return {};
    std::vector<double> photons;
    for (std::size_t k = 0; k < light.lambda.size(); ++k)
        photons.push_back(light.lambda[k] * light.spectrum[k] * photons_per_nm_W);
    return collected_current(curve.qe_as, curve.qe, light.lambda, photons);
}

}  // namespace

double collected_current(std::span<const double> wavelength, std::span<const double> qe, std::span<const double> lambda,
                         std::span<const double> photons)
{
    const auto [low, high] = std::minmax(wavelength.front(), wavelength.back());
    const double step = (wavelength.back() - wavelength.front()) / static_cast<double>(wavelength.size() - 1);
    if (step == 0.0) return 0.0;
    double sum = 0.0;
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        if (lambda[k] < low || lambda[k] > high) continue;
        const double at = (lambda[k] - wavelength.front()) / step;
        const std::size_t i = std::min(static_cast<std::size_t>(std::max(at, 0.0)), wavelength.size() - 2);
        const double share = at - static_cast<double>(i);
        sum += photons[k] * ((1.0 - share) * qe[i] + share * qe[i + 1]);
    }
    constexpr double percent = 0.01, A_m2_to_mA_cm2 = 0.1;
    return sum * percent * elementary_charge * A_m2_to_mA_cm2;
}

std::optional<int> sign_of_light_current(Surroundings& surroundings, Simulation& s)
{
    double J = s.JShortCircuit;
    if (s.light.total_mA_cm2 <= 0.0) {
        WorkPoint lit = s.wp;
        lit.dark = lit.generationSpecified = lit.cutOff = false;
        lit.neutralDensity = 0.0;
        GenerationParameters light;
        if (!bepaal_spectrum(surroundings, lit, light) ||
            !BerekenFilterSpectra(surroundings, s.problem.input.cell.cell, light))
            return {};
        CalculateIncomingFluxes(light, photons_per_nm_W, FluxMode::work_point);
        light.materials = s.light.materials;
        ReturnToAKnownStartingPoint(s, s.evenwichtcv);
        CalculationVariables cv = s.evenwichtcv;
        update_generation(lit, s.set3, cv.mesh, light);
        const Problem problem{s.set3,           s.memory.grid,        s.memory.defects, s.memory.interface_states,
                              light.generation, &surroundings.monitor};
        if (!light_up(problem, s.memory.work, cv, light.generation, s.wp.numberOfPoints)) {
            if (!surroundings.monitor.stopRequested())
                KOVINErrorMessage(surroundings.report, title,
                                  "Convergence failure calculating short circuit, for the sign of a light current.\n" +
                                      failure_advice(problem, s.memory.work));
            return {};
        }
        J = cv.J_median;
    }
    return J < 0.0 ? 1 : -1;
}

SweepOutcome calcqe(Surroundings& surroundings, Simulation& s, int sign, DataListElement& element)
{
    if (!can_be_run(surroundings, s)) return SweepOutcome::refused;
    const Monitor& monitor = surroundings.monitor;
    const std::vector<double> lambda = wavelengths(s.actie);
    const std::size_t n = lambda.size();
    element.QE_points = n;

    ReturnToAKnownStartingPoint(s, s.werkpuntcv);
    const SharpSolves sharp(s);
    CalculationVariables& cv = s.currentCalcVars;
    GenerationParameters probe;
    if (!make_probe(surroundings, s, lambda, probe)) return SweepOutcome::refused;
    // Every solve stands on the mesh of the working point: a mesh that moves would move the current with it.
    std::vector<double> G = s.light.generation;
    Problem problem{s.set3, s.memory.grid, s.memory.defects, s.memory.interface_states, G, &monitor};
    problem.voltage_sign = s.polarity.V;

    QeCurve curve;
    if (!s.wp.dark) curve.Jsc = std::fabs(s.JShortCircuit);
    bool converged = onder_belichting(problem, s.memory.work, cv), stopped = monitor.stopRequested();
    const CalculationVariables bias = cv;  // the working point, as sharp as what is compared with it
    const double Jbias = cv.J_median;
    const std::string sweep = " QE at " + fixed(s.wp.V * s.polarity.V, 0, 3) + " Volt, from " + fixed(lambda[0], 8, 2) +
                              " to " + fixed(lambda[n - 1], 8, 2) + " nm: ";
    std::size_t k = 0;
    for (; k < n && converged && !stopped; ++k) {
        monitor.post({.status = 1,
                      .text = sweep + fixed(lambda[k], 0, 2) + " nm",
                      .done = static_cast<int>(k),
                      .total = static_cast<int>(n)});
        const std::size_t at = probe.lambda[k] == lambda[k] ? k : n - 1 - k;
        const double Phi = photons_of_probe(s.problem.qe, lambda[k]);
        const double passed = (probe.side == -1 ? probe.leftFilter : probe.rightFilter)[at];
        generation_of_wavelength(s.set3, cv.mesh, probe, at, passed * Phi);
        for (std::size_t i = 0; i < G.size(); ++i) G[i] = s.light.generation[i] + probe.generation[i];
        cv = bias;
        converged = onder_belichting(problem, s.memory.work, cv);
        stopped = monitor.stopRequested();
        if (!converged || stopped) break;
        constexpr double percent_per_mA_cm2 = 1000.0;
        curve.qe_as.push_back(lambda[k]);
        curve.hv_as.push_back(hc_eV_nm / lambda[k]);
        curve.qe.push_back((cv.J_median - Jbias) * -percent_per_mA_cm2 * sign / (Phi * elementary_charge) + 0.0);
    }
    s.failures.QE = curve.points() < n;
    curve.failed = !converged && !stopped;
    if (curve.failed)
        KOVINErrorMessage(surroundings.report, title,
                          "Convergence failure at lambda = " + fixed(lambda[k], 0, 2) + " nm.\n" +
                              (k > 0 ? "QE calculation cut at lambda = " + fixed(lambda[k - 1], 0, 2) + " nm.\n" : "") +
                              failure_advice(problem, s.memory.work));
    curve.J_AM15G = current_under_AM15G(surroundings, curve);
    element.qe = std::move(curve);
    return stopped ? SweepOutcome::stopped : SweepOutcome::done;
}

}  // namespace kovin
