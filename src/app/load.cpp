#include "app/load.h"

#include "base/line_file.h"
#include "base/text_format.h"
#include "device/action_file.h"
#include "device/contacts.h"
#include "device/definition_reader.h"
#include "device/unit_systems.h"

#include <algorithm>
#include <system_error>

namespace kovin {

namespace {

/// Something that is no folder; whether it can be read is for the readers to say.
bool is_there(const std::filesystem::path& file)
{
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

bool found(Session& session, const std::filesystem::path& file, const char* what)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(file, error)) return true;
    KOVINErrorMessage(session.surroundings.report, std::string("Error whilst opening ") + what,
                      "'" + file.string() + "' " +
                          (std::filesystem::exists(file, error) ? std::string(why_unreadable(file)) : "not found"));
    return false;
}

/// Lines of an action list that say nothing which is known: a measurement or a resistance may be missing for a slip.
void tell_unknown_lines(Session& session, const std::filesystem::path& file)
{
    constexpr std::size_t most = 5;
    const auto text = read_whole_file(file);
    if (!text) return;
    Surroundings quiet;
    LineWatch watch;
    static_cast<void>(watch_action_list(quiet, *text, file.string(), watch));
    std::string lines;
    for (std::size_t i = 0; i < std::min(most, watch.findings.size()); ++i)
        lines += (i > 0 ? "\n" : "") + file.filename().string() + ':' + integer(watch.findings[i].line) + ": " +
                 watch.findings[i].text;
    if (watch.findings.size() > most) lines += "\nand more; kovin check names all";
    if (!lines.empty()) KOVINErrorMessage(session.surroundings.report, "Passed over in the action list", lines);
}

}  // namespace

std::filesystem::path find_input(const Session& session, const std::string& name, FileKind kind)
{
    return std::filesystem::absolute(is_there(name) ? std::filesystem::path(name)
                                                    : CheckKOVINPaths(session.surroundings.folders, name, kind));
}

bool load_definition(Session& session, const std::string& name)
{
    Simulation& s = session.simulation;
    const std::filesystem::path file = find_input(session, name, FileKind::definition);
    Definition definition;
    if (!lees_structuurfile(session.surroundings, file, definition)) {
        KOVINErrorMessage(session.surroundings.report, "Def file could not be loaded", file.string());
        return false;
    }
    s.problem = std::move(definition);
    s.problem_date = file_date(file);
    check_contacts(s.problem.input.cell, s.panel.workPoint.T, s.problem.input.convergence);
    s.zonnecel = parameterset1_to_2(s.problem.input.cell);
    const DefinitionWorkPoint& given = s.problem.workPoint;
    for (WorkPoint* wp : {&s.panel.workPoint, &s.panel.secondWorkPoint}) {
        wp->lightFromRight = given.lightFromRight;
        wp->Rfront = given.Rfront;
        wp->Tfront = given.Tfront;
        wp->RsPresent = given.RsPresent;
        wp->Rs = given.Rs;
        wp->GshPresent = given.GshPresent;
        wp->Gsh = given.Gsh;
    }
    s.equiberekend = s.kortberekend = s.werkberekend = false;
    return true;
}

bool load_action_list(Session& session, const std::string& name)
{
    const std::filesystem::path file = find_input(session, name, FileKind::action_list);
    if (!found(session, file, "an action list") ||
        !SetActionPanelFromFile(session.surroundings, file, session.simulation.panel))
        return false;
    tell_unknown_lines(session, file);
    return true;
}

bool load_second_work_point(Session& session, const std::string& name)
{
    const std::filesystem::path file = find_input(session, name, FileKind::work_point_2);
    return found(session, file, "a second working point file") &&
           SetWP2FromFile(session.surroundings, file, session.simulation.panel);
}

bool set_spectrum(Session& session, const std::string& name)
{
    const std::filesystem::path file = find_input(session, name, FileKind::spectrum);
    if (!found(session, file, "a spectrum file")) return false;
    WorkPoint& wp = session.simulation.panel.workPoint;
    wp.spectrumFile = file.string();
    wp.spectrumFromFile = true;
    wp.generationSpecified = false;
    return true;
}

bool set_generation(Session& session, const std::string& name)
{
    const std::filesystem::path file = find_input(session, name, FileKind::generation);
    if (!found(session, file, "a generation file")) return false;
    WorkPoint& wp = session.simulation.panel.workPoint;
    wp.generationFile = file.string();
    wp.generationFromFile = wp.generationSpecified = true;
    return true;
}

}  // namespace kovin
