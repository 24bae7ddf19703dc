#include "sweeps/cv.h"

#include "base/text_format.h"
#include "results/merge_curves.h"
#include "sweeps/dc_columns.h"
#include "sweeps/doping_profile.h"
#include "sweeps/outer_circuit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

/// The states of the sweep become points of the I-V curve; what that did not reach stays missing.
void join_iv(const Simulation& s, const IvCurve& dc, DataListElement& element)
{
    const std::size_t missing = element.IV_points - element.iv.points();
    element.iv = merge_IV_and_CV(element.iv, dc);
    element.IV_points = element.iv.points() + missing;
    extract_characteristics(s, element.iv, element.characteristics);
}

/// Is the voltage, together with what densities add to it, near to where there are no numbers left?
bool is_near_the_end(double V, double kT) { return std::fabs(V) > 0.8 * mis_largest_V_kT * kT; }

/// Why a point of an MIS structure has no solution.
std::string no_mis_state(double V, double kT)
{
    if (is_near_the_end(V, kT))
        return "So far away exp(qV/kT), or a density, is beyond the numbers: at 300 K from some 30 V on.";
    return "Newton's method did not find the solution of Poisson's equation from the point before.";
}

/// Why a state of an MIS structure has no C.
std::string no_mis_signal(double V, double kT, Minority minority)
{
    if (is_near_the_end(V, kT)) return no_mis_state(V, kT);
    return std::string("C is not above 0, or the current of the small signal is not the same along x.") +
           (minority == Minority::left_out ? " Deep depletion asks for a frequency at which generation does not count."
                                           : "");
}

std::string layer_text(const CalculationParameters& set3, std::size_t j)
{
    return "layer " + integer(static_cast<long>(j) + 1) + " (" + set3.layer[j].name + ')';
}

/// How the curve of an MIS structure came about.
std::string remark_on_mis(const Simulation& s, const MisStructure& mis, Minority minority)
{
    const std::string conducting = conducting_insulators(s.set3, mis);
    const std::string charged = charged_insulators(s.solver_problem(), mis);
    return "MIS structure: both quasi-Fermi levels are flat on either side of the border between " +
           layer_text(s.set3, mis.interface) + " and " + layer_text(s.set3, mis.interface + 1) +
           ", which no carrier passes" +
           (minority == Minority::left_out ? "; deep depletion: no minority carriers are generated" : "") +
           (s.wp.dark ? "" : "; light has no part in it") + (conducting.empty() ? "" : "; " + conducting) +
           (charged.empty() ? "" : "; " + charged);
}

}  // namespace

std::string conducting_insulators(const CalculationParameters& set3, const MisStructure& mis)
{
    constexpr double cm3 = 1e-6;  // [m3]
    std::string text;
    for (std::size_t j = mis.first; j <= mis.last; ++j)
        if (mis.conducts(j))
            text += (text.empty() ? "" : "; ") + layer_text(set3, j) + " holds " +
                    scientific(cm3 * mis.carriers[j], 0, 1) +
                    " carriers per cm3: it conducts up to the closed border, and C has no bound where they gather on "
                    "both of its sides";
    return text;
}

std::string charged_insulators(const Problem& problem, const MisStructure& mis)
{
    std::string text;
    for (std::size_t j = mis.first; j <= mis.last; ++j) {
        const auto is_charged = [&](const auto& defect) {
            return static_cast<std::size_t>(defect.layer) == j && defect.charged != 0.0;
        };
        if (mis.empty[j] && (std::ranges::any_of(problem.defects.energies, is_charged) ||
                             std::ranges::any_of(problem.defects.chains, is_charged)))
            text += (text.empty() ? "" : "; ") + layer_text(problem.set3, j) +
                    " has charged levels that no carrier reaches: emission fills those below the middle of the gap, "
                    "wherever the Fermi level is";
    }
    return text;
}

SweepOutcome calccv(Surroundings& surroundings, Simulation& s, const StartDecision& decision, DataListElement& element,
                    const std::optional<MisStructure>& mis)
{
    const ActionList& asked = s.actie;
    const double omega_us = 2.0 * std::numbers::pi * s.wp.frequency;
    const OuterCircuit circuit = outer_circuit(s.wp);
    CvCurve curve;
    RecombinationProfile recombination;
    SmallSignalWork work;
    SmallSignal answer;
    const Minority minority = asked.minority_carriers_wait ? Minority::left_out : Minority::in_equilibrium;
    const auto measure = [&](double v_cell, bool) {
        const Problem problem = mis ? parted(s.solver_problem(), *mis) : s.solver_problem();
        if (!calculate_small_signal_ac(problem, s.currentCalcVars, omega_us, work, answer)) return AfterPoint::failed;
        const std::optional<Admittance> cell =
            mis ? mis_admittance(s.currentCalcVars, *mis, minority, answer) : answer.median;
        if (!cell) return AfterPoint::failed;
        const Admittance Y = at_terminals(*cell, omega_us, circuit);
        add_dc_point(s, problem, v_cell, recombination, curve.dc);
        curve.v_cell.push_back(v_cell);
        curve.cvcap.push_back(Y.C * nF_cm2_per_F_m2);
        curve.cvcon.push_back(Y.G * S_cm2_per_S_m2);
        return AfterPoint::go_on;
    };
    const auto shown = [&](double V) { return fixed(V * s.polarity.V, 0, 3); };
    VoltageSweep sweep{.start = asked.CV_startV,
                       .stop = asked.CV_stopV,
                       .points = asked.CV_points,
                       .name = "C(V)",
                       .progress = "Calculating C(V) at " + scientific(s.wp.frequency, 8, 2) + " Hz from " +
                                   shown(asked.CV_startV) + " V to " + shown(asked.CV_stopV) + " V: V = ",
                       .refusal_title = "Error in function calccv()",
                       .failure_title = "While calculating C(V)...",
                       .behind_volt = "",
                       .no_answer = no_small_signal};

    if (mis) {
        surroundings.monitor.post({.text = remark_on_mis(s, *mis, minority)});
        sweep.go_to = [&](double V) {
            sweep.advice = no_mis_state(V, s.set3.kT);
            sweep.no_answer = no_mis_signal(V, s.set3.kT, minority);
            return mis_naar_spanning(parted(s.solver_problem(surroundings), *mis), s.memory.work, s.currentCalcVars,
                                     *mis, minority, V);
        };
    }
    const SweepEnd end = run_voltages(surroundings, s, decision, sweep, measure);
    if (end.outcome == SweepOutcome::refused) return end.outcome;
    s.failures.CV = curve.points() < end.points;
    curve.failed = end.failed;
    element.CV_points = end.points;
    if (curve.points() > 0) {
        if (decision.in_two_legs()) {
            const std::vector<std::size_t> order = rising_voltage(curve.dc);
            for (const auto column : iv_curve_columns) reorder(curve.dc.*column, order);
            for (auto* column : {&curve.v_cell, &curve.cvcap, &curve.cvcon}) reorder(*column, order);
        }
        to_user_sign(curve.dc, s.polarity);
        curve.cv_as = curve.dc.iv_as;
        if (mis) {
            curve.insulator = *mis;
            curve.remark = remark_on_mis(s, *mis, minority);
        } else {
            join_iv(s, curve.dc, element);
        }

        const CellParameters& cell = s.problem.input.cell.cell;
        curve.cell = cell_on_mesh(s.set3, s.currentCalcVars.mesh);
        curve.frequency = s.wp.frequency;
        mott_schottky_columns(curve, mis ? s.problem.NW : with_junction(cell, s.problem.NW));
        if (!says_permittivity(s.problem.NW)) {
            curve.NW_of_line = with_lighter_side(cell, s.problem.NW);
            curve.NW_of_line->epsilon_mode = epsilon_of_position;
        }
        if (!knows_permittivity(s.problem.NW))
            KOVINErrorMessage(surroundings.report, "Doping out of C(V)",
                              "epsilon(x) mode for NW : " + integer(s.problem.NW.epsilon_mode) +
                                  " is neither 0 (constant) nor 1 (of the layers): no doping is derived");
        curve.layer_name = cell.layer[static_cast<std::size_t>(curve.NW.layer)].name;
    }
    element.cv = std::move(curve);
    return end.outcome;
}

}  // namespace kovin
