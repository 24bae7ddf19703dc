#include "sweeps/iv.h"

#include "base/text_format.h"
#include "device/boxes.h"
#include "solver/currents.h"
#include "solver/outer_iteration.h"

#include <algorithm>
#include <numeric>

namespace kovin {

namespace {

/// Every column of a curve, for what is done to all of them.
std::vector<std::vector<double>*> columns(IvCurve& c)
{
    return {&c.iv_as,          &c.ivcurrent, &c.TotalRec, &c.TotalGen,     &c.ivleftcontact,
            &c.ivrightcontact, &c.ivifr,     &c.ivbulk,   &c.recSRH,       &c.recRadiative,
            &c.recAuger,       &c.J_error,   &c.J_noise,  &c.noise_limited};
}

/// Adds the columns of the point that has just been solved; everything in internal sign.
void add_point(const Simulation& s, CalculationVariables& cv, double v_cell, RecombinationProfile& recombination,
               IvCurve& curve)
{
    const Problem problem = s.solver_problem();
    const ContactCurrents contact = contact_currents(problem, cv);
    double J = cv.J_median;
    if (s.wp.GshPresent) J += v_cell * s.wp.Gsh * 0.1;
    curve.iv_as.push_back(s.wp.RsPresent ? v_cell + s.wp.Rs * J * 10.0 : v_cell);
    curve.ivcurrent.push_back(J);
    curve.J_error.push_back(cv.J_error);
    curve.J_noise.push_back(cv.J_noise);
    curve.noise_limited.push_back(cv.noise_limited ? 1.0 : 0.0);

    // The minority carrier that reaches a contact recombines there.
    const CellParameters& cell = s.problem.input.cell.cell;
    const bool n_left = cell.left.majority_type == -1, p_right = cell.right.majority_type == 1;
    curve.left_contact_label =
        n_left ? "At left contact (minority carrier = p)" : "At left contact (minority carrier = n)";
    curve.right_contact_label =
        p_right ? "At right contact (minority carrier = n)" : "At right contact (minority carrier = p)";
    curve.ivleftcontact.push_back(n_left ? -contact.j_p_left : contact.j_n_left);
    curve.ivrightcontact.push_back(p_right ? -contact.j_n_right : contact.j_p_right);

    extract_recombination(problem, cv, recombination);
    const auto bulk = [&](const std::vector<double>& rate) {
        return 10.0 * integrated_current(s.set3, cv.mesh, rate);  // mA/cm2 -> A/m2
    };
    curve.ivbulk.push_back(bulk(recombination.total));
    curve.recSRH.push_back(bulk(recombination.SRH));
    curve.recRadiative.push_back(bulk(recombination.radiative));
    curve.recAuger.push_back(bulk(recombination.auger));
    curve.ivifr.push_back(10.0 * interface_recombination(problem, cv));
    curve.TotalRec.push_back(curve.ivleftcontact.back() + curve.ivrightcontact.back() +
                             0.1 * (curve.ivifr.back() + curve.ivbulk.back()));
    curve.TotalGen.push_back(s.light.total_mA_cm2);
}

void sort_by_voltage(IvCurve& curve)
{
    std::vector<std::size_t> order(curve.points());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return curve.iv_as[a] < curve.iv_as[b]; });
    for (auto* column : columns(curve)) {
        std::vector<double> sorted;
        for (const std::size_t i : order) sorted.push_back((*column)[i]);
        *column = std::move(sorted);
    }
}

std::vector<double> voltages(const ActionList& actions)
{
    const int n = std::max(actions.IV_points, 2);
    std::vector<double> v;
    for (int i = 0; i < n; ++i) v.push_back(actions.IV_startV + i * (actions.IV_stopV - actions.IV_startV) / (n - 1));
    return v;
}

}  // namespace

void ReorderVoltagesAroundStartVoltage(std::vector<double>& v, double Vstart, int& secondLeg)
{
    std::sort(v.begin(), v.end());
    const auto above = std::lower_bound(v.begin(), v.end(), Vstart);
    const auto below_count = above - v.begin();
    std::reverse(v.begin(), above);
    std::rotate(v.begin(), above, v.end());
    secondLeg = below_count > 0 ? static_cast<int>(static_cast<std::ptrdiff_t>(v.size()) - below_count) : -1;
}

SweepOutcome calciv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element)
{
    if (simulation.actie.IV_points > MAX_NUM_CALCULATION_STEPS) {
        KOVINErrorMessage(surroundings.report, "Error from function calciv()",
                          "There are more than MAX_NUM_CALCULATION_STEPS = " + integer(MAX_NUM_CALCULATION_STEPS) +
                              " I(V) points to calculate");
        return SweepOutcome::refused;
    }
    const Monitor& monitor = surroundings.monitor;
    const int sign_V = simulation.polarity.V;
    const auto shown = [&](double V, int digits) { return fixed(V * sign_V, 0, digits); };
    CalculationVariables& cv = simulation.currentCalcVars;
    std::vector<double> v_cell = voltages(simulation.actie);
    std::size_t n = v_cell.size();
    simulation.failures.IV = false;

    const auto solve_from = [&](double Vfrom, double Vto) {
        return volgende_iv_punt(simulation.solver_problem(surroundings), simulation.memory.work, cv, Vfrom, Vto, 2);
    };
    const auto solve_from_start = [&](double Vto) {
        ReturnToAKnownStartingPoint(
            simulation, decision.from == StartFrom::work_point ? simulation.werkpuntcv : simulation.kortsluitcv);
        return solve_from(decision.Vfrom, Vto);
    };

    int second = -1;
    bool converged = true;
    if (decision.in_two_legs()) {
        ReorderVoltagesAroundStartVoltage(v_cell, decision.Vfrom, second);
        converged = solve_from_start(v_cell[0]);
    }
    // Where no second leg is, no index meets it.
    std::size_t secondLeg = second >= 0 ? static_cast<std::size_t>(second) : v_cell.size();

    IvCurve curve;
    RecombinationProfile recombination;
    bool stopped = false;
    for (std::size_t i = 0; i < n; ++i) {
        monitor.post({.status = 1,
                      .text = " iv from " + shown(simulation.actie.IV_startV, 3) + " to " +
                              shown(simulation.actie.IV_stopV, 3) + " Volt: V = " + shown(v_cell[i], 3) + " Volt",
                      .done = static_cast<int>(i),
                      .total = static_cast<int>(n)});
        if (i > 0) converged = i == secondLeg ? solve_from_start(v_cell[i]) : solve_from(v_cell[i - 1], v_cell[i]);
        if (monitor.stopRequested()) {
            stopped = true;
            break;
        }
        if (!converged) {
            simulation.failures.IV = true;
            KOVINErrorMessage(surroundings.report, "While calculating I(V) ...",
                              "Convergence failure at V = " + shown(v_cell[i], 6) +
                                  " Volt.\nI(V) calculation cut at V = " + shown(v_cell[i > 0 ? i - 1 : 0], 6) +
                                  " Volt.\n" + failure_advice(simulation.solver_problem(), simulation.memory.work));
            break;
        }
        if (i == 0) {
            // The sweep may begin at a stored state: its currents are not those of the last solve.
            renew_current(simulation.solver_problem(), simulation.memory.work, cv);
        }
        add_point(simulation, cv, v_cell[i], recombination, curve);
        const bool same_leg = i > 0 && i != secondLeg;
        if (simulation.actie.stopAfterVoc && same_leg && curve.ivcurrent[i] * curve.ivcurrent[i - 1] < 0.0) {
            if (i < secondLeg && secondLeg < n) {
                const auto from = v_cell.begin() + static_cast<std::ptrdiff_t>(i) + 1;
                v_cell.erase(from, v_cell.begin() + static_cast<std::ptrdiff_t>(secondLeg));
                secondLeg = i + 1;
                n = v_cell.size();
            } else {
                n = i + 1;
            }
        }
    }
    if (decision.in_two_legs()) sort_by_voltage(curve);

    const WorkPoint& wp = simulation.wp;
    IVParameters(curve.iv_as, curve.ivcurrent,
                 {.dark = wp.dark,
                  .generationSpecified = wp.generationSpecified,
                  .Pin = wp.generationSpecified ? 1000.0 : wp.incidentPower,
                  .attenuation = wp.attenuation,
                  .idealCurrent = wp.idealCurrent},
                 element.characteristics);
    for (double& V : curve.iv_as) V = sign_V * V + 0.0;  // the sum turns -0 into 0
    for (double& J : curve.ivcurrent) J = simulation.polarity.J * J + 0.0;
    if (const double below = accuracy(curve).limited_below; below > 0.0)
        monitor.post({.text = "currents below " + scientific(10.0 * below, 0, 1) + " A/m2 are limited by rounding"});
    element.iv = std::move(curve);
    element.IV_points = n;
    return stopped ? SweepOutcome::stopped : SweepOutcome::done;
}

}  // namespace kovin
