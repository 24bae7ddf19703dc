#include "app/initialise.h"

#include "base/text_format.h"
#include "device/cell_defaults.h"
#include "device/unit_systems.h"

namespace kovin {

std::string version_banner(const std::filesystem::path& program, const DateTime& date)
{
    return "KOVIN 3.3.12 NARVEL-ODRIM: Version " + program.string() + ", dated " + day_month_year(date) + ", " +
           integer(date.hour, 2, '0') + ':' + integer(date.minute, 2, '0') + ':' + integer(date.second, 2, '0');
}

void Initialise(Session& session, const std::filesystem::path& home, const std::filesystem::path& program)
{
    Surroundings& surroundings = session.surroundings;
    surroundings.folders.root = home;
    surroundings.folders.results = home / "results";
    surroundings.report.log_file = home / "KOVINErrorLogFile.log";
    surroundings.version = version_banner(program, file_date(program));

    Simulation& simulation = session.simulation;
    simulation.panel = InitialiseActionPanel();
    simulation.problem.input.title = "new problem";
    InitialiseCellDefinition(simulation.problem.input.cell.cell);
    simulation.zonnecel = parameterset1_to_2(simulation.problem.input.cell);
}

}  // namespace kovin
