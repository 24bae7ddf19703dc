#include "app/simulate.h"

#include "device/contacts.h"
#include "device/file_check.h"
#include "device/grading.h"
#include "device/grading_file.h"
#include "device/layer_profiles.h"
#include "device/unit_systems.h"
#include "results/capacitance_files.h"
#include "results/curve_files.h"
#include "results/material_tables.h"
#include "results/profile_files.h"
#include "sweeps/ladder.h"
#include "sweeps/starting_point.h"
#include "sweeps/supported.h"

#include <algorithm>
#include <cmath>

namespace kovin {

SimulateOutcome Simulate(Session& session)
{
    Simulation& s = session.simulation;
    if (s.zonnecel.cell.layers < 1) {
        KOVINErrorMessage(session.surroundings.report, "Nothing is calculated", "The cell has no layer.");
        return SimulateOutcome::refused;
    }
    ++s.SingleShotSimulationNumber;
    const UnsupportedPhysics missing = unsupported_physics(s);
    session.unsupported = missing.falsifies;
    session.unsupported.insert(session.unsupported.end(), missing.left_out.begin(), missing.left_out.end());
    for (const std::string& name : missing.falsifies)
        KOVINErrorMessage(session.surroundings.report, "Not supported yet, nothing is calculated", name);
    for (const std::string& name : missing.left_out)
        KOVINErrorMessage(session.surroundings.report, "Not supported yet, left out", name);
    if (!missing.falsifies.empty()) return SimulateOutcome::refused;

    switch (calculate_withMeta(session.surroundings, s)) {
        case RunOutcome::done:
            return SimulateOutcome::done;
        case RunOutcome::failed:
            return SimulateOutcome::failed;
        case RunOutcome::stopped:
            break;
    }
    return SimulateOutcome::stopped;
}

bool ask_for_light_IV(Session& session)
{
    Simulation& s = session.simulation;
    WorkPoint& wp = s.panel.workPoint;
    wp.dark = false;

    // Forward bias lifts the contact with the larger work function; no cell goes beyond its widest gap.
    SiCell cell = parameterset2_to_1(s.zonnecel);
    const ConvergenceParameters& settings = s.problem.input.convergence;
    // A file that is missing is a matter of the check of files; here a straight line will do.
    for (LayerParameters& layer : cell.cell.layer)
        for_each_profile(layer, [&](Profile& p, const std::string&) {
            if (p.law == Law::from_file && !IsFileFound(session.surroundings, p.file, FileKind::grading))
                p.law = Law::linear;
        });
    if (!load_grading_files(session.surroundings, cell)) return false;
    check_contacts(cell, wp.T, settings);
    double Eg = 0.0;
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.cell.layers); ++j) {
        LayerParameters& layer = cell.cell.layer[j];
        recalculate_ends(layer);
        Eg = std::max({Eg, layer.material.Eg.left, layer.material.Eg.right});
    }
    const Polarity polarity =
        polarity_of(cell.cell.voltage_reference, cell.cell.reference_system, settings.allow_references != 0);
    const int forward = cell.cell.left.Fi_m >= cell.cell.right.Fi_m ? polarity.V : -polarity.V;
    constexpr double step = 0.02;
    const int steps = static_cast<int>(std::ceil(std::clamp(Eg, 0.5, 5.0) / step));

    s.panel.actions = {};
    s.panel.actions.IV_calculate = true;
    s.panel.actions.IV_startV = 0.0;
    s.panel.actions.IV_stopV = forward * steps * step;
    s.panel.actions.IV_points = steps + 1;
    s.panel.actions.stopAfterVoc = true;
    return true;
}

ResultTexts result_texts(Session& session, const WantedTables& wanted)
{
    const Simulation& s = session.simulation;
    const std::string& version = session.surroundings.version;
    ResultTexts texts;
    texts.iv = iv_naar_file(version, s.results, session.ActionListMode);
    texts.cv = cv_naar_file(version, s.results, session.ActionListMode);
    texts.cf = cf_naar_file(version, s.results, session.ActionListMode);
    texts.qe = qe_naar_file(version, s.results, session.ActionListMode);
    texts.as = AS_naar_file(version, s.results, session.ActionListMode);
    if (s.failures.work_point) return texts;
    const RunRecord run = run_record(session.surroundings, s);
    const StateOnItsMesh work_point(s, s.werkpuntcv);
    const Problem problem = work_point.problem();
    const Profiles profiles = extract_profiles(problem, s.werkpuntcv);
    const ProfileSource source{version, run, problem, s.werkpuntcv, s.results.empty()};
    texts.eb = eb_naar_file(source, profiles);
    texts.gen = gen_naar_file(source, profiles);
    texts.occ = ft_naar_file(source, profiles);
    const bool capacitance = !s.results.empty() && s.results.back().work_point;
    if (capacitance) texts.ac = ac_naar_file(source);
    if (wanted.grading) texts.grading = grading_table(version, run, s.set3, s.werkpuntcv.mesh);
    if (wanted.absorption)
        texts.absorption = BewaarAlfa(session.surroundings.report, run, s.set3, s.currentCalcVars.mesh, s.light);
    return texts;
}

}  // namespace kovin
