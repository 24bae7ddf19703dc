#include "sweeps/voltage_sweep.h"

#include "base/text_format.h"
#include "solver/outer_iteration.h"

#include <algorithm>

namespace kovin {

namespace {

std::vector<double> voltages(const VoltageSweep& sweep)
{
    const int n = std::max(sweep.points, 2);
    std::vector<double> v;
    for (int i = 0; i < n; ++i) v.push_back(sweep.start + i * (sweep.stop - sweep.start) / (n - 1));
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

SweepEnd run_voltages(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                      const VoltageSweep& sweep,
                      const std::function<AfterPoint(double v_cell, bool continues_leg)>& measure)
{
    SweepEnd end;
    if (sweep.points > MAX_NUM_CALCULATION_STEPS) {
        KOVINErrorMessage(surroundings.report, sweep.refusal_title,
                          "There are more than MAX_NUM_CALCULATION_STEPS = " + integer(MAX_NUM_CALCULATION_STEPS) +
                              ' ' + sweep.name + " points to calculate");
        end.outcome = SweepOutcome::refused;
        return end;
    }
    const Monitor& monitor = surroundings.monitor;
    const auto shown = [&](double V, int digits) { return fixed(V * simulation.polarity.V, 0, digits); };
    CalculationVariables& cv = simulation.currentCalcVars;
    std::vector<double> v_cell = voltages(sweep);

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
    std::size_t n = v_cell.size();
    // Where no second leg is, no index meets it.
    std::size_t secondLeg = second >= 0 ? static_cast<std::size_t>(second) : n;

    for (std::size_t i = 0; i < n; ++i) {
        monitor.post({.status = 1,
                      .text = sweep.progress + shown(v_cell[i], 3) + " Volt",
                      .done = static_cast<int>(i),
                      .total = static_cast<int>(n)});
        if (sweep.go_to)
            converged = sweep.go_to(v_cell[i]);
        else if (i > 0)
            converged = i == secondLeg ? solve_from_start(v_cell[i]) : solve_from(v_cell[i - 1], v_cell[i]);
        if (monitor.stopRequested()) {
            end.outcome = SweepOutcome::stopped;
            break;
        }
        AfterPoint next = AfterPoint::failed;
        if (converged) {
            // The sweep may begin at a stored state: its currents are not those of the last solve.
            if (i == 0 && !sweep.go_to) renew_current(simulation.solver_problem(), simulation.memory.work, cv);
            next = measure(v_cell[i], i > 0 && i != secondLeg);
        }
        if (next == AfterPoint::failed) {
            if (sweep.go_to && end.failed) continue;  // told once
            end.failed = true;
            KOVINErrorMessage(
                surroundings.report, sweep.failure_title,
                std::string(converged ? "No solution" : "Convergence failure") + " at V = " + shown(v_cell[i], 6) +
                    " Volt" + sweep.behind_volt + '\n' +
                    (sweep.go_to ? sweep.name + ": points without a solution are left out\n"
                     : i > 0     ? sweep.name + " calculation cut at V = " + shown(v_cell[i - 1], 6) + " Volt" +
                                   sweep.behind_volt + '\n'
                             : "") +
                    (converged     ? sweep.no_answer
                     : sweep.go_to ? sweep.advice
                                   : failure_advice(simulation.solver_problem(), simulation.memory.work)));
            if (sweep.go_to) continue;
            break;
        }
        if (next != AfterPoint::leave_leg) continue;
        if (i < secondLeg && secondLeg < n) {
            const auto rest = v_cell.begin() + static_cast<std::ptrdiff_t>(i) + 1;
            v_cell.erase(rest, v_cell.begin() + static_cast<std::ptrdiff_t>(secondLeg));
            secondLeg = i + 1;
            n = v_cell.size();
        } else {
            n = i + 1;
        }
    }
    end.points = n;
    return end;
}

}  // namespace kovin
