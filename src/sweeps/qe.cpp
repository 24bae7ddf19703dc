#include "sweeps/qe.h"

#include "base/text_format.h"
#include "device/file_check.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/incoming_flux.h"
#include "optics/optical_capture.h"
#include "optics/spectrum.h"
#include "solver/optical_occupation.h"
#include "solver/outer_iteration.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace kovin {

namespace {

constexpr const char* title = "Calculating quantum efficiency...";

/// While it lives, solves are sharp enough for differences of their currents. Decoupled ones are not: each comes nearer
/// by a share of what was left.
class SharpSolves {
public:
    explicit SharpSolves(Simulation& s) : settings(s.set3.convergence), before(settings), fast(s.memory.work.fast)
    {
        if (settings.route == Route::classic) {
            settings.coupling_scheme = fully_coupled;
            prepare_workspace(s.set3, s.currentCalcVars.mesh, s.memory.defects, s.memory.work);
        }
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

/// Current of a probe that is collected in full [mA/cm2].
double current_of_photons(double Phi)
{
    constexpr double A_m2_to_mA_cm2 = 0.1;
    return Phi * elementary_charge * A_m2_to_mA_cm2;
}

/// Solves the working point anew, until its current repeats to what the weakest probe can do without.
/// @param repeats_to  difference of the last two currents [mA/cm2]
bool solve_bias(const Problem& problem, Workspace& work, CalculationVariables& cv, double weakest, double& repeats_to)
{
    constexpr int most_solves = 8;  // rounding does not repeat
    constexpr double share = 1e-5;
    for (int k = 0; k < most_solves; ++k) {
        const double J = cv.J_median;
        if (!onder_belichting(problem, work, cv)) return false;
        repeats_to = std::fabs(cv.J_median - J);
        if (repeats_to <= share * weakest) break;
    }
    return true;
}

/// What rounding has done to the difference of two currents [mA/cm2]. Where the route does not tell, it is the range of
/// the difference over the intervals about its median, by ranks, and some rounding of the current that flows.
class Rounding {
public:
    /// @param flowing  current that flows at least somewhere in the bias state [mA/cm2]
    Rounding(const CalculationVariables& bias_state, const CurrentProfile& profile, double flowing)
        : bias(bias_state), bias_profile(profile.j_tot), least(64.0 * std::numeric_limits<double>::epsilon() * flowing)
    {
    }
    double operator()(const CalculationVariables& cv, const CurrentProfile& profile)
    {
        if (std::isfinite(cv.J_noise)) return known(bias) + known(cv);
        off.clear();
        const double J = cv.J_median - bias.J_median;
        for (std::size_t i = 0; i < bias_profile.size(); ++i)
            off.push_back(std::fabs(profile.j_tot[i] - bias_profile[i] - J));
        // Two standard errors of a median, whatever the distribution.
        const auto rank = off.begin() + static_cast<std::ptrdiff_t>(std::sqrt(static_cast<double>(off.size())));
        std::nth_element(off.begin(), rank, off.end());
        return *rank + least;
    }

private:
    static double known(const CalculationVariables& cv) { return cv.noise_limited ? cv.J_error : cv.J_noise; }
    const CalculationVariables& bias;
    std::vector<double> bias_profile, off;
    double least;
};

/// Wavelengths in the order of the sweep [nm].
std::vector<double> wavelengths(const ActionList& actions)
{
    const int n = std::max(actions.QE_points, 2);
    const double step = (actions.QE_stoplambda - actions.QE_startlambda) / (n - 1);
    std::vector<double> lambda;
    for (int i = 0; i < n; ++i) lambda.push_back(actions.QE_startlambda + i * step);
    return lambda;
}

/// The light of the probe on the mesh, wavelengths rising.
void make_probe(Surroundings& surroundings, Simulation& s, std::vector<double> lambda, GenerationParameters& probe)
{
    if (lambda.front() > lambda.back()) std::reverse(lambda.begin(), lambda.end());
    probe.lambda = std::move(lambda);
    probe.n = static_cast<int>(probe.lambda.size());
    probe.side = s.wp.lightFromRight ? 1 : -1;
    probe.Rfront = s.wp.Rfront;
    probe.materials = s.light.materials;
    filters_at_wavelengths(surroundings, s.light.filters, probe);
    bepaal_alfa(s.set3, s.currentCalcVars.mesh, probe);
}

/// Levels stand in a light of their own as long as this lives, and in none behind it.
struct OwnLightOnLevels {
    explicit OwnLightOnLevels(BulkDefects& which) : defects(which) {}
    ~OwnLightOnLevels() { clear_optical_emission(defects); }
    OwnLightOnLevels(const OwnLightOnLevels&) = delete;
    OwnLightOnLevels& operator=(const OwnLightOnLevels&) = delete;
    BulkDefects& defects;
};

/// Bias and probe as one light, for levels that take from both. A given G(x) has no photons for them.
class LightOnLevels {
public:
    LightOnLevels(Simulation& simulation) : s(simulation), own_light(simulation.memory.defects) {}

    /// @return false if a file cannot be used (reported)
    bool prepare(Surroundings& surroundings, const GenerationParameters& probe)
    {
        const bool given = s.wp.generationSpecified && !s.wp.dark;
        if (given || !has_optical_capture(s.set3)) return true;
        both = {};
        lit.dark = lit.generationSpecified = false;
        both.side = probe.side;
        both.Rfront = probe.Rfront;
        both.materials = probe.materials;
        std::ranges::set_union(s.light.incomingFlux_us.empty() ? std::vector<double>() : s.light.lambda, probe.lambda,
                               std::back_inserter(both.lambda));
        both.n = static_cast<int>(both.lambda.size());
        if (!BerekenFilterSpectra(surroundings, s.problem.input.cell.cell, both) ||
            !ReadOpticalCaptureParameters(surroundings, s.set3, both, s.told_of_capture))
            return false;
        bias.assign(both.lambda.size(), 0.0);
        for (std::size_t k = 0; k < s.light.incomingFlux_us.size(); ++k)
            bias[place(s.light.lambda[k])] += s.light.incomingFlux_us[k];
        return true;
    }
    [[nodiscard]] bool in_use() const { return !both.capture.empty(); }
    [[nodiscard]] std::vector<double>& G() { return both.generation; }
    [[nodiscard]] OpticalExchange exchange() { return {s.memory.defects, both}; }

    /// The bias and `photons` [1/(m2 s)] more that enter at this wavelength.
    void shine(double wavelength, double photons)
    {
        both.incomingFlux_us = bias;
        both.incomingFlux_us[place(wavelength)] += photons;
        update_generation(lit, s.set3, s.currentCalcVars.mesh, both);
    }

private:
    Simulation& s;
    OwnLightOnLevels own_light;
    GenerationParameters both;
    std::vector<double> bias;  ///< photons of the bias [1/(m2 s)]
    WorkPoint lit;

    [[nodiscard]] std::size_t place(double wavelength) const
    {
        const auto found = std::ranges::lower_bound(both.lambda, wavelength);
        return static_cast<std::size_t>(found - both.lambda.begin());
    }
};

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
    if (curve.points() < 2 || curve.qe_as.front() == curve.qe_as.back() ||
        !IsFileFound(surroundings, sun.spectrumFile, FileKind::spectrum))
        return {};
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
    // Light below the gap gives its current by levels alone.
    if (s.light.total_mA_cm2 <= 0.0 && !(s.levels_absorb() && J != 0.0)) {
        WorkPoint lit = s.wp;
        lit.dark = lit.generationSpecified = lit.cutOff = false;
        lit.neutralDensity = 0.0;
        GenerationParameters light;
        if (!bepaal_spectrum(surroundings, lit, light)) return {};
        filters_at_wavelengths(surroundings, s.light.filters, light);
        CalculateIncomingFluxes(light, photons_per_nm_W, FluxMode::work_point);
        light.materials = s.light.materials;
        if (!ReadOpticalCaptureParameters(surroundings, s.set3, light, s.told_of_capture)) return {};
        ReturnToAKnownStartingPoint(s, s.evenwichtcv);
        clear_optical_emission(s.memory.defects);
        const OwnLightOnLevels until_the_end(s.memory.defects);
        CalculationVariables cv = s.evenwichtcv;
        update_generation(lit, s.set3, cv.mesh, light);
        Problem problem{s.set3,           s.memory.grid,        s.memory.defects, s.memory.interface_states,
                        light.generation, &surroundings.monitor};
        if (!light.capture.empty()) problem.exchange.emplace(OpticalExchange{s.memory.defects, light});
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

    ReturnToAKnownStartingPoint(s, s.werkpuntcv);
    const SharpSolves sharp(s);
    CalculationVariables& cv = s.currentCalcVars;
    GenerationParameters probe;
    make_probe(surroundings, s, lambda, probe);
    // Every solve stands on the mesh of the working point: a mesh that moves would move the current with it.
    std::vector<double> G = s.light.generation;
    LightOnLevels on_levels(s);
    if (!on_levels.prepare(surroundings, probe)) return SweepOutcome::refused;
    if (on_levels.in_use()) on_levels.shine(probe.lambda.front(), 0.0);
    Problem problem{
        s.set3,  s.memory.grid, s.memory.defects, s.memory.interface_states, on_levels.in_use() ? on_levels.G() : G,
        &monitor};
    problem.voltage_sign = s.polarity.V;
    if (on_levels.in_use()) problem.exchange.emplace(on_levels.exchange());

    QeCurve curve;
    if (!s.wp.dark) curve.Jsc = std::fabs(s.JShortCircuit);
    double weakest = std::numeric_limits<double>::infinity(), repeats_to = 0.0;
    for (const double at : {lambda.front(), lambda.back()})
        weakest = std::min(weakest, current_of_photons(photons_of_probe(s.problem.qe, at)));
    bool converged = solve_bias(problem, s.memory.work, cv, weakest, repeats_to), stopped = monitor.stopRequested();
    const bool bias_solved = converged;
    const CalculationVariables bias = cv;  // the working point, as sharp as what is compared with it
    const double Jbias = cv.J_median;
    Rounding rounding(bias, s.memory.work.currents, std::max(std::fabs(Jbias), s.light.total_mA_cm2));
    const std::string sweep = " QE at " + fixed(s.wp.V * s.polarity.V, 0, 3) + " Volt, from " + fixed(lambda[0], 8, 2) +
                              " to " + fixed(lambda[n - 1], 8, 2) + " nm: ";
    std::size_t k = 0;
    bool lost = false;  // the probe, in the noise
    for (; k < n && converged && !stopped; ++k) {
        monitor.post({.status = 1,
                      .text = sweep + fixed(lambda[k], 0, 2) + " nm",
                      .done = static_cast<int>(k),
                      .total = static_cast<int>(n)});
        const std::size_t at = probe.lambda[k] == lambda[k] ? k : n - 1 - k;
        const double Phi = photons_of_probe(s.problem.qe, lambda[k]);
        const double passed = (probe.side == -1 ? probe.leftFilter : probe.rightFilter)[at];
        if (on_levels.in_use()) {
            on_levels.shine(lambda[k], passed * Phi);
        } else {
            generation_of_wavelength(s.set3, cv.mesh, probe, at, passed * Phi);
            for (std::size_t i = 0; i < G.size(); ++i) G[i] = s.light.generation[i] + probe.generation[i];
        }
        cv = bias;
        converged = onder_belichting(problem, s.memory.work, cv);
        stopped = monitor.stopRequested();
        if (!converged || stopped) break;
        const double percent = 100.0 / current_of_photons(Phi);
        const double uncertain = percent * (repeats_to + rounding(cv, s.memory.work.currents));
        lost = uncertain >= 100.0;
        if (lost) break;
        curve.qe_as.push_back(lambda[k]);
        curve.hv_as.push_back(hc_eV_nm / lambda[k]);
        curve.qe.push_back((cv.J_median - Jbias) * -percent * sign + 0.0);
        curve.uncertain.push_back(uncertain);
    }
    s.failures.QE = curve.points() < n;
    curve.lost = lost;
    curve.failed = lost || (!converged && !stopped);
    if (curve.failed) {
        const std::string at = "lambda = " + fixed(lambda[std::min(k, n - 1)], 0, 2) + " nm";
        const std::string cut =
            k > 0 ? "QE calculation cut at lambda = " + fixed(lambda[k - 1], 0, 2) + " nm.\n" : std::string{};
        const std::string told = lost ? "The probe at " + at + " is lost in the rounding of the current.\n"
                                 : bias_solved
                                     ? "Convergence failure at " + at + ".\n"
                                     : "Convergence failure at the working point, as sharp as a QE needs it.\n";
        KOVINErrorMessage(
            surroundings.report, title,
            told + cut + (lost ? "A stronger probe or less bias may help." : failure_advice(problem, s.memory.work)));
    }
    curve.J_AM15G = current_under_AM15G(surroundings, curve);
    element.qe = std::move(curve);
    return stopped ? SweepOutcome::stopped : SweepOutcome::done;
}

}  // namespace kovin
