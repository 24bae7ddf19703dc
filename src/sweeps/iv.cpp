#include "sweeps/iv.h"

#include "base/text_format.h"
#include "sweeps/dc_columns.h"

namespace kovin {

SweepOutcome calciv(Surroundings& surroundings, Simulation& simulation, const StartDecision& decision,
                    DataListElement& element)
{
    const ActionList& asked = simulation.actie;
    const auto shown = [&](double V) { return fixed(V * simulation.polarity.V, 0, 3); };
    IvCurve curve;
    RecombinationProfile recombination;
    const auto measure = [&](double v_cell, bool continues_leg) {
        add_dc_point(simulation, simulation.solver_problem(), v_cell, recombination, curve);
        const std::size_t i = curve.points() - 1;
        const bool behind_Voc = continues_leg && curve.ivcurrent[i] * curve.ivcurrent[i - 1] < 0.0;
        return asked.stopAfterVoc && behind_Voc ? AfterPoint::leave_leg : AfterPoint::go_on;
    };
    const SweepEnd end =
        run_voltages(surroundings, simulation, decision,
                     {.start = asked.IV_startV,
                      .stop = asked.IV_stopV,
                      .points = asked.IV_points,
                      .name = "I(V)",
                      .progress = " iv from " + shown(asked.IV_startV) + " to " + shown(asked.IV_stopV) + " Volt: V = ",
                      .refusal_title = "Error from function calciv()",
                      .failure_title = "While calculating I(V) ...",
                      .behind_volt = "."},
                     measure);
    if (end.outcome == SweepOutcome::refused) return end.outcome;
    simulation.failures.IV = end.failed;

    if (decision.in_two_legs()) {
        const std::vector<std::size_t> order = rising_voltage(curve);
        for (const auto column : iv_curve_columns) reorder(curve.*column, order);
    }
    to_user_sign(curve, simulation.polarity);
    extract_characteristics(simulation, curve, element.characteristics);
    if (const double below = accuracy(curve).limited_below; below > 0.0)
        surroundings.monitor.post(
            {.text = "currents below " + scientific(10.0 * below, 0, 1) + " A/m2 are limited by rounding"});
    element.iv = std::move(curve);
    element.IV_points = end.points;
    return end.outcome;
}

}  // namespace kovin
