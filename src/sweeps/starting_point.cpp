#include "sweeps/starting_point.h"

#include "base/text_format.h"
#include "device/on_mesh.h"
#include "optics/generation.h"
#include "solver/optical_occupation.h"
#include "solver/outer_iteration.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

namespace {

/// The case alone; a range around a known state and one that holds none are sorted rising on the way.
int choose_case(double& Vs, double& Ve, double Vwp, double Va, bool& long_way)
{
    if (Vs == 0.0) return 2;
    if (Ve == 0.0) return 3;
    if (Vs == Vwp) return 4;
    if (Ve == Vwp) return 5;
    if (Vs == Va) return 0;
    if (Ve == Va) return 1;
    const auto distance = [](double a, double b) { return std::fabs(a - b); };
    long_way = true;
    if (Vs == Ve) {
        int chosen = 2;
        if (distance(Vs, Vwp) < std::fabs(Vs) && distance(Vs, Vwp) <= distance(Vs, Va)) chosen = 4;
        if (distance(Vs, Va) < std::fabs(Vs) && distance(Vs, Va) < distance(Vs, Vwp)) chosen = 0;
        return chosen;
    }
    if (Ve < Vs) std::swap(Vs, Ve);
    long_way = false;
    if (Vs < 0.0 && Ve > 0.0) return 6;
    if (Vs < Vwp && Ve > Vwp) return 7;
    long_way = true;
    // The first distance below that of the start from 0 decides, even if a later one is smaller still.
    const double d = std::fabs(Vs);
    if (std::fabs(Ve) < d) return 3;
    if (distance(Vs, Vwp) < d) return 4;
    if (distance(Ve, Vwp) < d) return 5;
    if (distance(Vs, Va) < d) return 0;
    if (distance(Ve, Va) < d) return 1;
    return 2;
}

const CalculationVariables& stored_state(const Simulation& s, StartFrom from)
{
    switch (from) {
        case StartFrom::short_circuit:
            return s.kortsluitcv;
        case StartFrom::work_point:
            return s.werkpuntcv;
        case StartFrom::present:
            break;
    }
    return s.currentCalcVars;
}

}  // namespace

StartDecision choose_starting_point(double Vs, double Ve, double Vwp, double Va, int numberOfPoints,
                                    bool present_failed)
{
    bool long_way = false;
    StartDecision d;
    d.startCase = choose_case(Vs, Ve, Vwp, Va, long_way);
    if (present_failed && d.startCase <= 1) {
        d.startCase += 4;
        long_way = true;
    }
    const bool at_end = d.startCase == 1 || d.startCase == 3 || d.startCase == 5;
    if (at_end) std::swap(Vs, Ve);
    d.start = Vs;
    d.stop = Ve;
    d.steps = long_way ? numberOfPoints : 2;
    switch (d.startCase) {
        case 0:
        case 1:
            d.from = StartFrom::present;
            break;
        case 4:
        case 5:
        case 7:
            d.from = StartFrom::work_point;
            break;
        default:
            d.from = StartFrom::short_circuit;
            break;
    }
    d.Vfrom = d.from == StartFrom::present ? Va : d.from == StartFrom::work_point ? Vwp : 0.0;
    d.Vfirst = d.in_two_legs() ? d.Vfrom : d.start;
    return d;
}

void ReturnToAKnownStartingPoint(Simulation& simulation, const CalculationVariables& state)
{
    Simulation& s = simulation;
    CalculationVariables& cv = s.currentCalcVars;
    if (&state == &cv) return;
    const Mesh before = std::move(cv.mesh);
    cv = state;
    if (before.x != cv.mesh.x || before.n_in_layer != cv.mesh.n_in_layer) {
        Full_x_Dependence(s.set3, cv.mesh);
        prepare_solver(s.set3, cv.mesh, s.memory);
        update_generation(s.wp, s.set3, cv.mesh, s.light, &before);
    }
    s.settle_light_of_levels();
}

bool light_up(const Problem& problem, Workspace& work, CalculationVariables& cv, std::vector<double>& G, int steps)
{
    const bool at_once = problem.mesh_may_move() || problem.set3.convergence.route == Route::fast;
    if (at_once || problem.exchange) return onder_belichting(problem, work, cv);
    const int n = std::max(steps, 2);
    const std::vector<double> full = G;
    bool converged = true;
    for (int i = 0; i < n && converged; ++i) {
        const double factor = i == n - 1 ? 1.0 : 1e-10 * std::pow(1e-10, -static_cast<double>(i) / (n - 1));
        for (std::size_t k = 0; k < G.size(); ++k) G[k] = factor * full[k];
        converged = onder_belichting(problem, work, cv);
    }
    G = full;
    return converged;
}

StateOnItsMesh::StateOnItsMesh(const Simulation& simulation, const CalculationVariables& state)
    : set3(simulation.set3), light(simulation.light)
{
    Mesh mesh = state.mesh;
    Full_x_Dependence(set3, mesh);
    prepare_solver(set3, mesh, memory);
    update_generation(simulation.wp, set3, mesh, light, &simulation.currentCalcVars.mesh);
    if (!simulation.levels_absorb()) return;
    Problem own = problem();
    own.exchange.emplace(OpticalExchange{memory.defects, light});
    settle_light(own, state);
}

StartOutcome CalculateStartingPoint(Surroundings& surroundings, Simulation& simulation, const std::string& name,
                                    double& start, double& stop, StartDecision& decision)
{
    CalculationVariables& cv = simulation.currentCalcVars;
    decision = choose_starting_point(start, stop, simulation.wp.V, cv.V, simulation.wp.numberOfPoints, cv.failed());
    start = decision.start;
    stop = decision.stop;
    if (decision.from != StartFrom::present)
        ReturnToAKnownStartingPoint(simulation, stored_state(simulation, decision.from));
    if (surroundings.monitor.stopRequested()) return StartOutcome::stopped;

    const auto shown = [&](double V, int digits) { return fixed(V * simulation.polarity.V, 0, digits); };
    surroundings.monitor.post({.status = 1,
                               .text = name + ": from actual " + shown(decision.Vfrom, 3) + " V to " +
                                       shown(decision.Vfirst, 3) + " V (" + integer(decision.steps) + " steps)"});
    if (volgende_iv_punt(simulation.solver_problem(surroundings), simulation.memory.work, cv, decision.Vfrom,
                         decision.Vfirst, decision.steps)) {
        surroundings.monitor.post({.text = "starting point " + name + ' ' + shown(cv.V, 3) + " Volt"});
        return StartOutcome::good;
    }
    if (surroundings.monitor.stopRequested()) return StartOutcome::stopped;
    const Problem problem = simulation.solver_problem();
    KOVINErrorMessage(
        surroundings.report, "Calculating first point of " + name + " from working point",
        "from V = " + shown(decision.Vfrom, 3) + " Volt to V = " + shown(decision.Vfirst, 3) +
            " V: convergence failure at V = " + shown(failed_voltage(problem, simulation.memory.work, cv), 3) +
            " Volt.\n" + failure_advice(problem, simulation.memory.work));
    surroundings.monitor.post({.status = 2, .text = "no " + name + ": start-convergence failure"});
    return StartOutcome::failed;
}

}  // namespace kovin
