// The cells that the benchmarks time: the CIGS sample and the graded one, loaded from home/def, under AM1.5G.
#pragma once

#include "device/cell_defaults.h"
#include "device/definition_reader.h"
#include "device/unit_systems.h"
#include "solver/outer_iteration.h"
#include "sweeps/ladder.h"
#include "sweeps/simulation.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace kovin::bench {

enum class Levels {
    as_shipped,  ///< Gaussian distributions
    single,      ///< the same defects at one energy each, their Nt the total density
    chains       ///< these as amphoteric defects, 0.1 eV below and above the energy
};

inline void make_levels_single(CellParameters& cell)
{
    for (LayerParameters& layer : cell.layer)
        for (auto& defect : layer.srh)
            for (BulkRecombinationParameters& level : defect) level.energy_distribution = EnergyDistribution::single;
}

inline void make_levels_amphoteric(CellParameters& cell)
{
    for (LayerParameters& layer : cell.layer)
        for (auto& defect : layer.srh) {
            defect[0].levels = 2;
            defect[0].aard = LevelType::plus_zero;
            defect[1] = defect[0];
            defect[1].aard = LevelType::zero_minus;
            defect[0].Et -= 0.1;
            defect[1].Et += 0.1;
        }
}

/// A sample with its light on and, on request, the I-V curve of 41 points from 0 to 0.8 V.
/// A benchmark of a cell that cannot be read would time nothing: it ends the program.
struct SampleCell {
    SampleCell(const char* name, Levels levels, bool with_IV, Route route = Route::fast)
    {
        surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
        Simulation& s = *simulation;
        s.panel = InitialiseActionPanel();
        if (!lees_structuurfile(surroundings, surroundings.folders.root / "def" / name, s.problem)) give_up();
        s.problem.input.convergence.route = route;
        if (levels != Levels::as_shipped) make_levels_single(s.problem.input.cell.cell);
        if (levels == Levels::chains) make_levels_amphoteric(s.problem.input.cell.cell);
        s.zonnecel = parameterset1_to_2(s.problem.input.cell);
        WorkPoint& wp = s.panel.workPoint;
        wp.dark = false;
        wp.lightFromRight = s.problem.workPoint.lightFromRight;
        wp.Rfront = s.problem.workPoint.Rfront;
        wp.Tfront = s.problem.workPoint.Tfront;
        s.panel.actions.IV_calculate = with_IV;
    }

    /// The whole ladder.
    void run()
    {
        simulation->results.clear();
        if (calculate(surroundings, *simulation) != RunOutcome::done) give_up();
    }

    /// From a run to V [V], in steps of 20 mV.
    void go_to(double V)
    {
        Simulation& s = *simulation;
        const int points = static_cast<int>(V / 0.02 + 0.5) + 1;
        if (!volgende_iv_punt(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars, 0.0, V, points))
            give_up();
    }

    Surroundings surroundings;
    std::unique_ptr<Simulation> simulation = std::make_unique<Simulation>();

private:
    [[noreturn]] void give_up() const
    {
        for (const Message& m : surroundings.report.messages) std::fprintf(stderr, "%s\n", m.text.c_str());
        std::exit(4);
    }
};

struct CigsBaseline : SampleCell {
    CigsBaseline(Levels levels, bool with_IV, Route route = Route::fast)
        : SampleCell("cigs-baseline.def", levels, with_IV, route)
    {
    }
};

/// Two absorber layers that are graded throughout: a list of absorption values per point.
struct GradedCigs : SampleCell {
    explicit GradedCigs(bool with_IV, Route route = Route::fast)
        : SampleCell("graded-cigs.def", Levels::as_shipped, with_IV, route)
    {
    }
};

/// The CIGS sample at 0.5 V in the light on the classic route, on the mesh of some 400 points that the light draws: a
/// state near the maximum power point.
struct CigsAtHalfAVolt : CigsBaseline {
    explicit CigsAtHalfAVolt(Levels levels, int scheme = decoupled) : CigsBaseline(levels, false, Route::classic)
    {
        ConvergenceParameters& settings = simulation->problem.input.convergence;
        settings.coupling_scheme = scheme;
        settings.gummel_to_coupled_iteration = 3;
        run();
        go_to(0.5);
    }
};

}  // namespace kovin::bench
