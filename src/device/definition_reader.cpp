#include "device/definition_reader.h"

#include "base/line_file.h"
#include "base/text_format.h"
#include "device/cell_defaults.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"
#include "device/model_table.h"
#include "device/work_point.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace kovin {

namespace {

using namespace definition_tables;
using namespace definition_sections;

// The words "whilst reading" and "during opening" let the error log file these messages under set-up files.
constexpr const char* title = "Error whilst reading the def file: lees_structuurfile()";

bool read_mott_schottky_line(Reading& reading)
{
    KeyedSource& source = reading.source;
    if (!source.starts(mott_schottky_start)) return false;
    for (const MottSchottkyKey& key : mott_schottky_keys) {
        const bool found = source.anywhere(key.word) || (key.word == "layer number" && source.anywhere("#"));
        if (!found) continue;
        const bool stored = read_value(source, mott_schottky_start, key, reading.definition.NW);
        reading.definition.NW_from_file = reading.definition.NW_from_file || stored;
        return true;
    }
    const bool is_written = std::any_of(std::begin(mott_schottky_keys), std::end(mott_schottky_keys),
                                        [&](const MottSchottkyKey& key) { return source.anywhere(key.written); });
    if (!is_written) source.not_known();
    return true;
}

bool read_quantum_efficiency_line(Reading& reading)
{
    KeyedSource& source = reading.source;
    return static_cast<bool>(read_rows(source, quantum_efficiency_keys, reading.definition.qe));
}

/// Rules that hold for several settings together.
void settle_numerical_block(Surroundings& surroundings, ConvergenceParameters& settings)
{
    settings.maxiter_psi_equilibrium = settings.maxiter_psi = settings.maxiter_n = settings.maxiter_p =
        settings.maxiter;
    if (settings.defectdiscretisations > max_energies)
        KOVINErrorMessage(surroundings.report, "Warning",
                          "The maximum number of discretisationlevels for distributed defects is limited to " +
                              integer(max_energies) + " levels.");
    settings.defectdiscretisations = std::clamp(settings.defectdiscretisations, 1, max_energies);
    GovernMaxMinMesh(settings);
}

void read_numerical_block(Reading& reading)
{
    KeyedSource& source = reading.source;
    ConvergenceParameters& settings = reading.definition.input.convergence;
    while (source.must_go_on()) {
        if (source.section("back contact") || source.section("left contact") || source.starts("layer") ||
            source.starts("name"))
            return;
        if (read_mott_schottky_line(reading) || read_quantum_efficiency_line(reading)) continue;
        if (read_rows(source, switch_keys, settings) || source.starts(written_only)) continue;
        for (const NumericalKey& key : numerical_keys) {
            if (!source.starts(key.word)) continue;
            read_value(source, key.word, key, settings);
            if (key.ends_old_tunnel_rule) reading.old_tunnel_rules = false;
            break;
        }
    }
}

/// One line of a contact.
void read_contact_line(Reading& reading, ContactParameters& contact, bool& has_flatband, bool& has_work_function)
{
    KeyedSource& source = reading.source;
    if (const auto taken = read_rows(source, contact_keys, contact)) {
        has_flatband = has_flatband || (taken.stored && taken.row->flag == &K::flatband);
        const bool work_function = taken.stored && taken.row->real == &K::Fi_m;
        if (work_function) has_work_function = true, contact.flatband = false;
        if (taken.row->flag == &K::tunneling) reading.open_path(contact.tunneling, &C::Tunnelcontact_allowed);
    } else if (source.starts("optical filter")) {
        contact.filter = true;
        if (source.anywhere("transmission")) contact.filter_transmission = true;
        if (source.anywhere("reflection")) contact.filter_transmission = false;
    } else if (source.starts("filterfile")) {
        contact.filter_file = source.file_name("filterfile");
    } else {
        read_rows(source, filter_keys, contact);
    }
}

/// @param right  the section ends at the working point, that of the left contact at the first layer
void read_contact(Reading& reading, ContactParameters& contact, bool right)
{
    KeyedSource& source = reading.source;
    bool has_flatband = false, has_work_function = false;
    while (source.must_go_on()) {
        if (source.section("spectrumfile") || source.section("working point")) break;
        if (!right && source.starts("layer")) break;
        read_contact_line(reading, contact, has_flatband, has_work_function);
    }
    // Before there was a line on it, a contact without a work function was one with flat bands.
    if (!has_flatband) contact.flatband = !has_work_function;
}

/// The last part of a file; its end is the end of the part.
void read_working_point(Reading& reading)
{
    KeyedSource& source = reading.source;
    DefinitionWorkPoint& point = reading.definition.workPoint;
    CellParameters& cell = reading.cell();
    bool has_reflection = false;
    while (source.next() && !source.section("spectrumfile")) {
        DefinitionWorkPoint front;
        const int voltage = cell.voltage_reference;
        if (source.starts("illuminated")) {
            point.lightFromRight = !source.anywhere("left");
        } else if (const auto taken = read_rows(source, front_keys, front)) {
            const bool reflection = taken.row->real == &Point::Rfront;
            if (!taken.stored) continue;
            if (reflection) front.Tfront = 1.0 - front.Rfront;
            // The transmission is written with fewer digits than the reflection in front of it, which it must not
            // spoil.
            const bool rounded = !reflection && has_reflection && is_transmission_of(point.Rfront, front.Tfront);
            has_reflection = has_reflection || reflection;
            if (rounded) continue;
            point.Tfront = front.Tfront;
            point.Rfront = reflection ? front.Rfront : 1.0 - front.Tfront;
        } else if (read_rows(source, resistance_keys, point)) {
            continue;
        } else if (const auto reference = read_rows(source, reference_keys, cell)) {
            if (cell.voltage_reference == 0) {
                cell.voltage_reference = voltage;
                source.refuse(reference.row->word, "the value must be -1 or 1");
            } else if (reference.stored) {
                point.references_given = true;
                reading.definition.input.convergence.allow_references = 1;
            }
        }
    }
}

/// The parts between numerical block and end part. @return true if the present line begins the end part
bool read_layers(Reading& reading)
{
    KeyedSource& source = reading.source;
    const auto is_end = [&] {
        return source.section("front contact") || source.starts("right contact") || source.section("spectrumfile") ||
               source.section("working point");
    };
    while (!source.failed() && !is_end()) {
        const bool layer_open = reading.cell().layers > 0;
        if (source.section("back contact") || source.starts("left contact"))
            read_contact(reading, reading.cell().left, false);
        else if (source.starts("layer"))
            read_layer(reading);
        else if (source.section("srhrecombination") && layer_open)
            read_bulk_defects(reading);
        else if (source.section("Metastable properties") && layer_open)
            read_metastable(reading);
        else if (source.starts("interface properties") && layer_open)
            read_interface_properties(reading);
        else if (source.section("interface recombination") && layer_open)
            read_interface_defects(reading);
        else if (!source.must_go_on())
            break;
    }
    return !source.failed();
}

void set_composition_mode(LayerParameters& layer)
{
    Profile& y = layer.composition;
    if (y.law == Law::uniform) {
        y.law = y.pure_A == 0.0 ? Law::uniform : y.pure_A == 1.0 ? Law::uniform_B : Law::uniform_y;
        layer.composition_mode = y.law == Law::uniform ? 0 : y.law == Law::uniform_B ? 20 : 21;
    }
    layer.material.composition_mode = layer.composition_mode;
}

/// Fields that follow from others, and conditions that only the whole file can break.
bool finish(Reading& reading)
{
    CellParameters& cell = reading.cell();
    if (cell.layers == 0) return reading.source.fail({}, "the file holds no layer");
    if (reading.definition.workPoint.references_given) {
        const Polarity polarity = polarity_of(cell.voltage_reference, cell.reference_system, true);
        cell.voltage_sign = polarity.V;
        cell.current_sign = polarity.J;
    }
    for (int i = 0; i < cell.layers; ++i) {
        LayerParameters& layer = cell.layer[static_cast<std::size_t>(i)];
        set_composition_mode(layer);
        for (auto& pair : layer.metastable) {
            if (!pair.present) continue;
            if (pair.donor_defect >= layer.srhteller || pair.acceptor_defect >= layer.srhteller)
                return reading.source.fail(
                    {}, "layer " + integer(i + 1) + ": a metastable transition names a defect that is not there");
        }
    }
    InterfaceParameters& beyond = reading.interface_behind(cell.layers - 1);
    if (beyond.defect_count > 0)
        reading.source.tell("the interface defects behind the last layer have no layer at their right: left out",
                            reading.interface_line);
    InitialiseInterfaceParameters(beyond, cell.layers - 1);
    UpdateThicknessInProfiles_Cell(cell);
    return true;
}

bool read_all(Surroundings& surroundings, Reading& reading)
{
    KeyedSource& source = reading.source;
    if (!source.must_go_on()) return false;
    if (source.section("convergence")) {
        read_numerical_block(reading);
        settle_numerical_block(surroundings, reading.definition.input.convergence);
    }
    if (!read_layers(reading)) return false;
    if (source.section("front contact") || source.starts("right contact"))
        read_contact(reading, reading.cell().right, true);
    if (source.section("working point")) read_working_point(reading);
    if (source.failed() || !finish(reading)) return false;
    if (source.section("spectrumfile")) source.find_rest("stands behind spectrumfile and is not read");
    return true;
}

}  // namespace

namespace {

/// @param watch  null: faults are reported
/// @return what could be read before the first fault that ends the reading, and whether there was none
std::pair<std::unique_ptr<Definition>, bool> read_text(Surroundings& surroundings, std::string text,
                                                       const std::filesystem::path& name, LineWatch* watch)
{
    auto found = std::make_unique<Definition>();
    InitialiseCellDefinition(found->input.cell.cell);
    found->input.title = name.stem().string();
    found->input.path = name;
    KeyedSource source(surroundings.report, title, name.string(), std::move(text), definition_line_limit,
                       &found->remarks);
    source.set_watch(watch);
    Reading reading{.source = source, .definition = *found};
    const bool taken = read_all(surroundings, reading);
    // The blank that the writers put behind the sign of a comment is not part of it.
    for (std::string& remark : found->remarks)
        if (remark.starts_with(' ')) remark.erase(0, 1);
    return {std::move(found), taken};
}

}  // namespace

bool parse_definition(Surroundings& surroundings, std::string text, const std::filesystem::path& name,
                      Definition& definition)
{
    const auto [found, taken] = read_text(surroundings, std::move(text), name, nullptr);
    if (taken) definition = std::move(*found);
    return taken;
}

Definition watch_definition(Surroundings& surroundings, std::string text, const std::filesystem::path& name,
                            LineWatch& watch)
{
    return std::move(*read_text(surroundings, std::move(text), name, &watch).first);
}

bool lees_structuurfile(Surroundings& surroundings, const std::filesystem::path& file, Definition& definition)
{
    auto text = read_whole_file(file);
    if (!text) {
        KOVINErrorMessage(surroundings.report,
                          "Function lees_structuurfile(): Error occured during opening the def-file !",
                          file.string() + ' ' + std::string(why_unreadable(file)));
        return false;
    }
    return parse_definition(surroundings, std::move(*text), file, definition);
}

namespace definition_sections {

InterfaceParameters& Reading::interface_behind(int layer)
{
    return layer < max_interfaces ? cell().interfaces[static_cast<std::size_t>(layer)] : beyond_last;
}

void Reading::open_path(bool used, int ConvergenceParameters::*path)
{
    if (used && old_tunnel_rules) definition.input.convergence.*path = 1;
}

}  // namespace definition_sections

}  // namespace kovin
