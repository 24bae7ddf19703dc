// The quantum efficiency of the CIGS sample, 101 wavelengths from 300 to 1300 nm on top of AM1.5G: the wavelengths
// alone, from a working point at short circuit that is there.
#include "cases.h"
#include "sweeps/qe.h"

#include <benchmark/benchmark.h>

namespace kovin::bench {
namespace {

void quantum_efficiency(benchmark::State& state, double photons, Route route)
{
    CigsBaseline c(Levels::as_shipped, false, route);
    Simulation& s = *c.simulation;
    s.problem.qe = {.mode = 1, .photons = photons};
    s.panel.actions.QE_calculate = true;
    s.panel.actions.QE_startlambda = 300.0;
    s.panel.actions.QE_stoplambda = 1300.0;
    s.panel.actions.QE_points = 101;
    c.run();
    for (auto _ : state) {
        DataListElement element;
        if (calcqe(c.surroundings, s, 1, element) != SweepOutcome::done || element.qe.points() != 101)
            state.SkipWithError("the curve is cut");
    }
}
BENCHMARK_CAPTURE(quantum_efficiency, weak, 1e18, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(quantum_efficiency, usual, 3e22, Route::fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(quantum_efficiency, classic, 3e22, Route::classic)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kovin::bench
