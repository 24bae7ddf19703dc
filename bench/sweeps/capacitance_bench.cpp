// C-V and C-f of the CIGS sample in the dark: the sweeps alone, from a working point at 0 V that is there.
#include "cases.h"
#include "sweeps/cf.h"
#include "sweeps/cv.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

/// 25 points from -0.8 to 0.4 V at 1 MHz: the states, their admittances and the doping profile.
void capacitance_voltage(benchmark::State& state, Route route)
{
    CigsBaseline c(Levels::as_shipped, false, route);
    Simulation& s = *c.simulation;
    s.panel.workPoint.dark = true;
    c.run();
    ActionList& asked = s.actie;
    for (auto _ : state) {
        DataListElement element;
        StartDecision decision;
        asked.CV_startV = -0.8, asked.CV_stopV = 0.4, asked.CV_points = 25;
        if (CalculateStartingPoint(c.surroundings, s, "C(V)", asked.CV_startV, asked.CV_stopV, decision) !=
                StartOutcome::good ||
            calccv(c.surroundings, s, decision, element) != SweepOutcome::done || element.cv.points() != 25)
            state.SkipWithError("the curve is cut");
    }
    state.counters["mesh"] = s.currentCalcVars.mesh.N;
}
BENCHMARK_CAPTURE(capacitance_voltage, fast, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(capacitance_voltage, classic, Route::classic)->Unit(benchmark::kMillisecond);

/// 21 frequencies from 100 Hz to 1 MHz.
void capacitance_frequency(benchmark::State& state, Route route)
{
    CigsBaseline c(Levels::as_shipped, false, route);
    Simulation& s = *c.simulation;
    s.panel.workPoint.dark = true;
    c.run();
    for (auto _ : state) {
        DataListElement element;
        if (calccf(c.surroundings, s, element) != SweepOutcome::done || element.cf.points() != 21)
            state.SkipWithError("the curve is cut");
    }
    state.counters["mesh"] = s.currentCalcVars.mesh.N;
}
BENCHMARK_CAPTURE(capacitance_frequency, fast, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(capacitance_frequency, classic, Route::classic)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
