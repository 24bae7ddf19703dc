#include "sweeps/ladder.h"

#include "base/text_format.h"
#include "device/contacts.h"
#include "device/graded_values.h"
#include "device/grading_file.h"
#include "device/insulator_place.h"
#include "device/layer_profiles.h"
#include "device/metastable.h"
#include "device/model_table.h"
#include "device/parameterset3.h"
#include "device/shockley_queisser.h"
#include "device/unit_systems.h"
#include "optics/absorption_on_mesh.h"
#include "optics/filters.h"
#include "optics/generation.h"
#include "optics/given_rows.h"
#include "optics/incoming_flux.h"
#include "optics/optical_capture.h"
#include "optics/spectrum.h"
#include "results/capacitance_files.h"
#include "results/header.h"
#include "solver/mesh_first.h"
#include "solver/outer_iteration.h"
#include "solver/profile_mesh.h"
#include "solver/tunnel_paths.h"
#include "sweeps/cf.h"
#include "sweeps/cv.h"
#include "sweeps/iv.h"
#include "sweeps/metastable.h"
#include "sweeps/qe.h"
#include "sweeps/starting_point.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace kovin {

namespace {

/// Two usable cut-off wavelengths: positive, in rising order, apart.
void CheckCutoffWavelengths(double& shorter, double& longer)
{
    for (double* lambda : {&shorter, &longer})
        if (*lambda < 0.0) *lambda = 1.0;
    if (longer < shorter) std::swap(shorter, longer);
    if (longer - shorter <= 1e-4) longer = shorter + 1.0;
}

/// The second working point: contacts, front and side of the light are those of the first.
WorkPoint second_work_point(const ActionPanel& panel)
{
    WorkPoint wp = panel.secondWorkPoint;
    wp.lightFromRight = panel.workPoint.lightFromRight;
    wp.Rfront = panel.workPoint.Rfront;
    wp.Tfront = panel.workPoint.Tfront;
    wp.RsPresent = panel.workPoint.RsPresent;
    wp.Rs = panel.workPoint.Rs;
    wp.GshPresent = panel.workPoint.GshPresent;
    wp.Gsh = panel.workPoint.Gsh;
    return wp;
}

/// The running records from the panel: the polarity is applied here and nowhere else.
void read_panel(Simulation& s, RunMode mode)
{
    const CellParameters& cell = s.zonnecel.cell;
    s.polarity =
        polarity_of(cell.voltage_reference, cell.reference_system, s.problem.input.convergence.allow_references != 0);
    s.wp = mode == RunMode::settle ? second_work_point(s.panel) : s.panel.workPoint;
    s.wp.V *= s.polarity.V;
    if (s.wp.cutOff) CheckCutoffWavelengths(s.wp.lambdaShort, s.wp.lambdaLong);
    s.actie = mode == RunMode::settle ? ActionList{} : s.panel.actions;
    for (double* V : {&s.actie.IV_startV, &s.actie.IV_stopV, &s.actie.CV_startV, &s.actie.CV_stopV}) *V *= s.polarity.V;
}

/// What the light of the run needs beside the mesh; in the dark no file is touched but what a probe needs: the
/// absorption, which the mesh takes note of as well.
/// @return false if an input file cannot be used (reported)
bool read_light(Surroundings& surroundings, Simulation& s)
{
    s.light = {};
    const CellParameters& cell = s.problem.input.cell.cell;
    // A probe passes filters and layers as the light of the working point does: both are read once.
    if (s.actie.QE_calculate &&
        !(read_absorption(surroundings, s.set3, s.light) && read_filters(surroundings, cell, s.light.filters)))
        return false;
    if (s.wp.generationSpecified) {
        if (s.wp.dark) return true;
        if (!read_given_generation(surroundings, s.wp, s.set3, s.light)) return false;
        s.wp.idealCurrent = CalculateIdealCurrentFromGenerationFileOrModel(s.light.given);
        return true;
    }
    if (!bepaal_spectrum(surroundings, s.wp, s.light)) return false;
    if (s.wp.dark) return true;
    if (!s.actie.QE_calculate && !read_filters(surroundings, cell, s.light.filters)) return false;
    filters_at_wavelengths(surroundings, s.light.filters, s.light);
    CalculateIncomingFluxes(s.light, photons_per_nm_W, FluxMode::work_point);
    if (!ReadOpticalCaptureParameters(surroundings, s.set3, s.light, s.told_of_capture)) return false;
    return s.actie.QE_calculate || read_absorption(surroundings, s.set3, s.light);
}

/// Cell, light and first mesh in solver units. @return false if an input file cannot be used (reported)
bool prepare_problem(Surroundings& surroundings, Simulation& s, RunMode mode)
{
    WriteEgInAllAbsorptionModels(s.zonnecel.cell);
    InputParameters& set1 = s.problem.input;
    // The limit depends on the temperature of this calculation: the cell keeps the coefficients that it was given.
    const auto limited = std::make_unique<UserCell>(s.zonnecel);
    CheckShockleyQueisserLimitForBandToBandRecombination(*limited, s.wp.T, set1.convergence.shockley_queisser);
    set1.cell = parameterset2_to_1(*limited);
    if (!load_grading_files(surroundings, set1.cell) || !graded_values_hold(surroundings.report, set1.cell))
        return false;
    check_contacts(surroundings.report, set1.cell, s.wp.T, set1.convergence);

    // Contacts with flat bands stand against the densities of the cell, however its pairs have settled.
    parameterset1_to_3(set1, s.wp.T, s.set3);
    plant(s.planted, s.set3);
    mesh_sees_shares(s.planted, set1.cell.cell, s.set3);
    if (take_the_route_of_tunnelling(s.set3))
        surroundings.monitor.post({.text = "tunnel paths are open: classic route, scheme 11"});
    GovernMaxMinMesh(s.set3.convergence);
    if (!read_light(surroundings, s)) return false;

    const GivenGeneration& given = s.light.given;
    MeshWishes wishes{.refine = s.mesh_refinement,
                      .profile_x = rows_that_matter(given, rows_in_mesh(given.x.size(), s.set3.layers)),
                      .profile_has_edges = given.sharp_ends};
    for (std::size_t j = 0; j < s.light.materials.size(); ++j) wishes.alpha_300nm[j] = ExtractAlpha(s.light, 300.0, j);
    CalculationVariables& cv = s.currentCalcVars;
    DefineKOVINMesh(s.set3, cv.mesh, wishes);
    cv.resize();
    s.memory = {};
    s.memory.first_mesh = cv.mesh;
    s.memory.mesh_wishes = std::move(wishes);
    if (mode == RunMode::settle) {
        s.metastable = initial_ratios(s.set3, cv.mesh);
        SwitchDefectsToMetaDependence(s.metastable, s.set3);
    }
    prepare_solver(s.set3, cv.mesh, s.memory);
    update_generation(s.wp, s.set3, cv.mesh, s.light);
    return true;
}

/// Tells how a rung ended and keeps it in its flag. @return the flag
bool CheckConvergenceFailure(Surroundings& surroundings, const Simulation& s, bool converged, bool& flag,
                             const std::string& name)
{
    flag = converged;
    const std::string volt = "V = " + fixed(s.currentCalcVars.V * s.polarity.V, 0, 3) + " Volt";
    if (converged) {
        surroundings.monitor.post({.text = name + ' ' + volt});
    } else if (!surroundings.monitor.stopRequested()) {
        const Problem problem = s.solver_problem();
        const double V = failed_voltage(problem, s.memory.work, s.currentCalcVars) * s.polarity.V + 0.0;
        KOVINErrorMessage(surroundings.report, "Calculating " + name + "...",
                          "Convergence failure calculating for V = " + fixed(V, 0, 3) + " Volt.\n" +
                              failure_advice(problem, s.memory.work));
        surroundings.monitor.post({.status = 2, .text = "No " + name + " calculated (convergence failure)"});
    }
    return flag;
}

bool calculate_equilibrium(Surroundings& surroundings, Simulation& s)
{
    surroundings.monitor.post({.status = 1, .text = "calculating equilibrium ..."});
    const bool converged = equilibrium(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars);
    s.evenwichtcv = s.currentCalcVars;
    s.failures.equilibrium = !converged;
    tell_unresolved_profiles(surroundings.report, s.set3, s.currentCalcVars.mesh);
    tell_lost_generation(surroundings.report, s.wp, s.set3, s.currentCalcVars.mesh, s.light);
    return CheckConvergenceFailure(surroundings, s, converged, s.equiberekend, "equilibrium");
}

bool calculate_short_circuit(Surroundings& surroundings, Simulation& s, RunMode mode)
{
    if (s.wp.dark) {
        s.kortsluitcv = s.evenwichtcv;
        s.JShortCircuit = 0.0;
        s.failures.short_circuit = false;
        return true;
    }
    surroundings.monitor.post({.status = 1,
                               .text = mode == RunMode::settle ? "updating metastable defects: short circuit ..."
                                                               : "calculating short circuit ..."});
    ReturnToAKnownStartingPoint(s, s.evenwichtcv);
    const bool converged = light_up(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars,
                                    s.light.generation, s.wp.numberOfPoints);
    s.failures.short_circuit = !converged;
    s.JShortCircuit = converged ? s.currentCalcVars.J_median : 0.0;
    if (converged) s.kortsluitcv = s.currentCalcVars;
    return CheckConvergenceFailure(surroundings, s, converged, s.kortberekend, "short circuit");
}

bool calculate_work_point(Surroundings& surroundings, Simulation& s, RunMode mode)
{
    const bool settle = mode == RunMode::settle;
    if (s.wp.V == 0.0 && !settle) {
        ReturnToAKnownStartingPoint(s, s.kortsluitcv);
        s.werkpuntcv = s.kortsluitcv;
        s.JWorkingPoint = s.JShortCircuit;
        s.failures.work_point = false;
        s.werkberekend = true;
        return true;
    }
    surroundings.monitor.post(
        {.status = 1,
         .text = (settle ? "updating metastable defects V = " : "calculating working point V = ") +
                 fixed(s.wp.V * s.polarity.V, 0, 3) + " Volt"});
    ReturnToAKnownStartingPoint(s, s.kortsluitcv);
    bool converged = volgende_iv_punt(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars, 0.0, s.wp.V,
                                      s.wp.numberOfPoints);
    if (converged && settle) {
        bool settled = false;
        converged = relax_metastable_pairs(surroundings, s, settled);
        s.failures.metastable = !settled;
    }
    s.failures.work_point = !converged;
    s.JWorkingPoint = converged ? s.currentCalcVars.J_median : 0.0;
    if (converged) s.werkpuntcv = s.currentCalcVars;
    return CheckConvergenceFailure(surroundings, s, converged, s.werkberekend,
                                   settle ? "second working point (metastable defects)" : "working point");
}

RunOutcome failed_or_stopped(const Surroundings& surroundings)
{
    return surroundings.monitor.stopRequested() ? RunOutcome::stopped : RunOutcome::failed;
}

RunOutcome calculate_IV(Surroundings& surroundings, Simulation& s, DataListElement& element)
{
    StartDecision decision;
    const StartOutcome start =
        CalculateStartingPoint(surroundings, s, "I(V)", s.actie.IV_startV, s.actie.IV_stopV, decision);
    if (start == StartOutcome::stopped) return RunOutcome::stopped;
    s.failures.first_IV_point = start == StartOutcome::failed;
    if (s.failures.first_IV_point) return RunOutcome::failed;
    const SweepOutcome sweep = calciv(surroundings, s, decision, element);
    const std::string volt = " V = " + fixed(s.currentCalcVars.V * s.polarity.V, 0, 3) + " Volt";
    surroundings.monitor.post({.text = (s.currentCalcVars.failed() ? "I(V) stopped at" : "I(V) done;") + volt,
                               .done = static_cast<int>(element.iv.points()),
                               .total = static_cast<int>(element.iv.points())});
    return sweep == SweepOutcome::stopped ? RunOutcome::stopped : RunOutcome::done;
}

std::optional<InsulatorPlace> insulator_of(const Simulation& s)
{
    return place_of_insulator(std::span(s.set3.layer).first(static_cast<std::size_t>(s.set3.layers)));
}

/// The structure of a C-V in MIS mode, with the state at equilibrium taken up; nothing for an ordinary C-V. Tells what
/// the mode cannot do.
std::optional<MisStructure> take_up_mis_structure(Surroundings& surroundings, Simulation& s)
{
    if (!s.actie.MIS_CV_calculate) return std::nullopt;
    const auto tell = [&](const std::string& text) {
        KOVINErrorMessage(surroundings.report, "C(V) of an MIS structure", text);
    };
    const auto place = insulator_of(s);
    if (!place) {
        tell(std::string("It is an ordinary C(V): ") + no_place_of_insulator + '.');
        s.failures.mis = true;
        return std::nullopt;
    }
    ReturnToAKnownStartingPoint(s, s.evenwichtcv);
    const MisStructure mis = mis_structure(s.solver_problem(), s.memory.work, s.currentCalcVars, *place);
    if (const std::string conducting = conducting_insulators(s.set3, mis); !conducting.empty()) {
        tell(conducting + '.');
        s.failures.mis = true;
    }
    if (const std::string charged = charged_insulators(s.solver_problem(), mis); !charged.empty()) tell(charged + '.');
    if (!s.wp.dark) tell("The levels are flat on both sides of the insulator: the light has no part in C(V).");
    if (s.actie.minority_carriers_wait &&
        !has_minority_carriers(s.solver_problem(), s.memory.work, s.currentCalcVars, mis)) {
        tell("No deep depletion: on one side of the insulator the semiconductors are not of one type.");
        s.actie.minority_carriers_wait = false;
        s.failures.mis = true;
    }
    return mis;
}

RunOutcome calculate_CV(Surroundings& surroundings, Simulation& s, DataListElement& element)
{
    const std::optional<MisStructure> mis = take_up_mis_structure(surroundings, s);
    StartDecision decision;
    const MeshWishes wishes = s.memory.mesh_wishes;
    if (mis) {
        refine_mesh_for_mis(s.solver_problem(surroundings), s.memory.work, s.currentCalcVars);
    } else {
        const StartOutcome start =
            CalculateStartingPoint(surroundings, s, "C(V)", s.actie.CV_startV, s.actie.CV_stopV, decision);
        if (start == StartOutcome::stopped) return RunOutcome::stopped;
        if (start == StartOutcome::failed) return RunOutcome::failed;
    }
    const SweepOutcome sweep = calccv(surroundings, s, decision, element, mis);
    const std::string volt = " V = " + fixed(s.currentCalcVars.V * s.polarity.V, 0, 3) + " Volt";
    const std::string at_frequency = "; f = " + scientific(s.wp.frequency, 8, 2) + " Hz";
    surroundings.monitor.post({.text = element.cv.has_gaps()
                                           ? "C(V) done; " + points_left_out(element.cv.points(), element.CV_points)
                                       : element.cv.failed ? "C(V) stopped at" + volt
                                                           : "C(V) done;" + volt + at_frequency,
                               .done = static_cast<int>(element.cv.points()),
                               .total = static_cast<int>(element.cv.points())});
    // Flat levels are no state that another measurement could go on from.
    if (mis) {
        s.memory.mesh_wishes = wishes;
        ReturnToAKnownStartingPoint(s, s.failures.work_point ? s.evenwichtcv : s.werkpuntcv);
    }
    return sweep == SweepOutcome::stopped ? RunOutcome::stopped : RunOutcome::done;
}

RunOutcome calculate_Cf(Surroundings& surroundings, Simulation& s, DataListElement& element)
{
    if (surroundings.monitor.stopRequested()) return RunOutcome::stopped;
    const SweepOutcome sweep = calccf(surroundings, s, element);
    const std::string volt = " Vdc = " + fixed(s.wp.V * s.polarity.V, 0, 3) + " Volt";
    const double f = element.cf.points() > 0 ? element.cf.cf_as.back() : s.actie.Cf_startf;
    surroundings.monitor.post(
        {.text = (s.failures.Cf ? "C(f) cut;" : "C(f) done;") + volt + "; f = " + scientific(f, 8, 2) + " Hz",
         .done = static_cast<int>(element.cf.points()),
         .total = static_cast<int>(element.cf.points())});
    return sweep == SweepOutcome::stopped ? RunOutcome::stopped : RunOutcome::done;
}

/// Ends at the working point, whatever happens.
RunOutcome calculate_QE(Surroundings& surroundings, Simulation& s, DataListElement& element)
{
    element.QE_points = static_cast<std::size_t>(std::max(s.actie.QE_points, 2));
    surroundings.monitor.post({.status = 1, .text = "calculating quantum efficiency ..."});
    SweepOutcome sweep = SweepOutcome::refused;
    if (const std::optional<int> sign = sign_of_light_current(surroundings, s))
        sweep = calcqe(surroundings, s, *sign, element);
    ReturnToAKnownStartingPoint(s, s.werkpuntcv);
    const bool stopped = sweep == SweepOutcome::stopped || surroundings.monitor.stopRequested();
    const std::string at_volt = "; V = " + fixed(s.wp.V * s.polarity.V, 0, 3) + " Volt";
    surroundings.monitor.post({.text = (s.failures.QE ? "quantum efficiency cut" : "quantum efficiency done") + at_volt,
                               .done = static_cast<int>(element.qe.points()),
                               .total = static_cast<int>(element.qe.points())});
    return stopped ? RunOutcome::stopped : RunOutcome::done;
}

}  // namespace

RunRecord run_record(const Surroundings& surroundings, const Simulation& s)
{
    const CellParameters& cell = s.zonnecel.cell;
    RunRecord run;
    run.number = s.SingleShotSimulationNumber;
    run.started = s.started;
    run.problem_file = s.problem.input.path;
    run.problem_date = s.problem_date;
    run.spectrum_file = CheckKOVINPaths(surroundings.folders, s.wp.spectrumFile, FileKind::spectrum);
    run.spectrum_date = file_date(run.spectrum_file);
    run.generation_file = CheckKOVINPaths(surroundings.folders, s.wp.generationFile, FileKind::generation);
    run.generation_date = file_date(run.generation_file);
    run.wp = s.wp;
    run.polarity = s.polarity;
    run.tunnelling = s.set3.tunnel.any();
    run.unsettled = s.metastable.unsettled;
    run.references_allowed = s.problem.input.convergence.allow_references != 0;
    run.voltage_reference = cell.voltage_reference;
    run.reference_system = cell.reference_system;
    return run;
}

RunOutcome calculate(Surroundings& surroundings, Simulation& s, RunMode mode)
{
    s.failures = {};
    read_panel(s, mode);
    s.started = start_text(surroundings.clock.now());
    if (!prepare_problem(surroundings, s, mode)) {
        s.failures.input = true;
        return RunOutcome::failed;
    }
    if (!calculate_equilibrium(surroundings, s)) return failed_or_stopped(surroundings);
    const bool has_work_point =
        calculate_short_circuit(surroundings, s, mode) && calculate_work_point(surroundings, s, mode);
    // The C-V of an MIS structure begins at equilibrium and needs neither.
    const bool mis_alone = !has_work_point && s.actie.MIS_CV_calculate && insulator_of(s);
    if (surroundings.monitor.stopRequested() || !(has_work_point || mis_alone)) return failed_or_stopped(surroundings);

    const struct {
        bool asked;
        RunOutcome (*calculate)(Surroundings&, Simulation&, DataListElement&);
    } measurements[] = {
        {s.actie.IV_calculate && has_work_point, calculate_IV},
        {s.actie.asks_for_CV(), calculate_CV},
        {s.actie.Cf_calculate && has_work_point, calculate_Cf},
        {s.actie.QE_calculate && has_work_point, calculate_QE},
    };
    if (std::none_of(std::begin(measurements), std::end(measurements), [](const auto& m) { return m.asked; }))
        return RunOutcome::done;
    DataListElement& element = s.results.emplace_back();
    element.run = run_record(surroundings, s);
    element.actions = s.actie;
    const auto asked = [](bool calculate, int points) {
        return calculate ? static_cast<std::size_t>(std::max(points, 2)) : 0;
    };
    element.IV_points = asked(s.actie.IV_calculate, s.actie.IV_points);
    element.CV_points = asked(s.actie.asks_for_CV(), s.actie.CV_points);
    element.Cf_points = asked(s.actie.Cf_calculate, s.actie.Cf_points);
    if (has_work_point && (s.actie.asks_for_CV() || s.actie.Cf_calculate))
        element.work_point = work_point_admittance(surroundings, s);
    // What one of them does not reach is no matter to the next, which begins at a state of its own.
    for (const auto& measurement : measurements)
        if (measurement.asked && measurement.calculate(surroundings, s, element) == RunOutcome::stopped)
            return RunOutcome::stopped;
    return has_work_point || element.cv.points() > 0 ? RunOutcome::done : RunOutcome::failed;
}

RunOutcome calculate_withMeta(Surroundings& surroundings, Simulation& s)
{
    s.planted.clear();
    s.metastable = {};
    s.told_of_capture = false;
    const CellParameters& cell = s.zonnecel.cell;
    if (!CheckMETAMode(cell)) return calculate(surroundings, s);
    bool can_react = true;
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j) {
        const LayerParameters& layer = cell.layer[j];
        const auto tell = [&](const std::string& text) {
            KOVINErrorMessage(surroundings.report, "Metastable defects", place_of_profile(j, layer, text));
        };
        const std::vector<PairFinding> faults = metastable_faults(layer);
        for (const PairFinding& fault : faults) tell(fault.text);
        can_react = can_react && faults.empty();
        if (!faults.empty()) continue;
        for (const PairFinding& remark : metastable_remarks(layer)) tell(remark.text);
        for (const MetaStableDefectParameters& pair : layer.metastable)
            if (pair.present) surroundings.monitor.post({.text = place_of_profile(j, layer, pair_text(layer, pair))});
    }
    if (!can_react) {
        s.failures = {};
        s.failures.input = true;
        return RunOutcome::failed;
    }

    const WorkPoint& second = s.panel.secondWorkPoint;
    const std::string where = std::string(second.dark ? "in the dark" : "in the light") + " at " +
                              fixed(second.V, 0, 3) + " V and " + fixed(second.T, 0, 2) + " K";
    if (s.panel.second_is_given)
        surroundings.monitor.post({.text = "metastable pairs settle " + where});
    else
        KOVINErrorMessage(surroundings.report, "Metastable defects",
                          "No second working point is given: the pairs settle " + where + '.');
    const RunOutcome settled = calculate(surroundings, s, RunMode::settle);
    if (settled != RunOutcome::done) {
        s.failures.work_point = true;  // that of the second working point is not the one that was asked for
        return settled;
    }
    const bool unsettled = s.failures.metastable;
    s.planted = relaxed_densities(s.metastable, s.set3);
    const RunOutcome outcome = calculate(surroundings, s);
    s.failures.metastable = unsettled;
    s.planted.clear();
    return outcome;
}

}  // namespace kovin
