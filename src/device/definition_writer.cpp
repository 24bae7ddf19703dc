#include "device/definition_writer.h"

#include "base/folders.h"
#include "base/line_file.h"
#include "base/text_format.h"
#include "device/absorption_models.h"
#include "device/definition_tables.h"
#include "device/definition_writer_parts.h"
#include "device/quantities.h"

#include <algorithm>

namespace kovin {

namespace {

using namespace definition_tables;
using namespace definition_parts;

std::string mass_line(std::string_view carrier, double mass, const Form& form)
{
    const int width = form.contact_digits + 7 + (form.save_command ? 0 : 1);
    return "Relative " + std::string(carrier) + " mass : " + scientific(mass, width, form.contact_digits) + "\n";
}

// ---- numerical block ----

void add_numerical_line(std::string& out, const NumericalKey& key, const ConvergenceParameters& c, const Form& form)
{
    const bool wide = !form.save_command && key.word.starts_with("maximum mesh changes");
    out += std::string(key.word) + " : " +
           (key.real ? scientific(c.*key.real, 9, 2) : integer(c.*key.whole, wide ? 3 : key.width)) +
           std::string(key.unit) + "\n";
}

void add_mesh_lines(std::string& out, const ConvergenceParameters& c, const Form& form)
{
    out += "recalculate mesh : " + integer(c.recalculate_mesh, 2) + " (0: fixed mesh, 1: adaptive mesh)\n";
    if (form.save_command && c.recalculate_mesh == 0) return;
    for (const NumericalKey& key : numerical_keys)
        if (key.written == Written::mesh) add_numerical_line(out, key, c, form);
}

void add_mott_schottky(std::string& out, const MottSchottkySettings& settings, bool layer_first)
{
    const auto add = [&](const MottSchottkyKey& key) {
        out += std::string(mott_schottky_start) + std::string(key.written) + " " +
               (key.real ? fixed(settings.*key.real, 13, 8) : integer(settings.*key.whole, 2)) + std::string(key.unit) +
               "\n";
    };
    const auto is_layer = [](const MottSchottkyKey& key) { return key.whole == &MottSchottkySettings::layer; };
    if (layer_first)
        std::for_each(std::begin(mott_schottky_keys), std::end(mott_schottky_keys), [&](const auto& key) {
            if (is_layer(key)) add(key);
        });
    for (const MottSchottkyKey& key : mott_schottky_keys)
        if (!layer_first || !is_layer(key)) add(key);
}

constexpr std::string_view flatband_line = "Include charge in defects in the calculation of the flatband condition : ";

/// A switch of tunnelling is on somewhere in the cell. Without the general switches in its file a reader would take
/// such a cell for one of the times before them, and switch the path on.
bool uses_tunneling(const CellParameters& cell)
{
    bool found = cell.left.tunneling || cell.right.tunneling;
    for (int i = 0; i < cell.layers; ++i) found = found || cell.layer[static_cast<std::size_t>(i)].material.tunneling;
    for (int i = 0; i + 1 < cell.layers; ++i) {
        const InterfaceParameters& interface = cell.interfaces[static_cast<std::size_t>(i)];
        found = found || interface.tunneling;
        for (int k = 0; k < interface.defect_count; ++k)
            found = found || interface.defects[static_cast<std::size_t>(k)].tunneling;
    }
    return found;
}

void add_numerical_block(std::string& out, const Definition& d, const Form& form)
{
    const ConvergenceParameters standard, &c = d.input.convergence;
    const QeSettings standard_qe;
    const bool convergenceDefault = c == standard && d.qe == standard_qe;
    const bool tunnels = uses_tunneling(d.input.cell.cell);
    const bool allDefault = convergenceDefault && !tunnels && d.NW == MottSchottkySettings{};
    if (form.save_command && allDefault) return;
    out += "convergence\n\n";
    if (!form.save_command || !convergenceDefault || tunnels) {
        for (const NumericalKey& key : numerical_keys) {
            if (key.written == Written::mesh || (key.written == Written::save_command && !form.save_command)) continue;
            const bool differs = key.real ? c.*key.real != standard.*key.real : c.*key.whole != standard.*key.whole;
            const bool switches = tunnels && key.written == Written::save_command;
            if (differs || switches || !form.save_command) add_numerical_line(out, key, c, form);
        }
        if (!form.save_command || d.qe.mode != standard_qe.mode)
            out +=
                "QE calculation mode: " + integer(d.qe.mode, 2) + " (0: cst. # of photons, 1: cst. incident power)\n";
        if (!form.save_command || d.qe.photons != standard_qe.photons)
            out += "number of photons : " + scientific(d.qe.photons, 9, 2) + "\n";
        if (!form.save_command || d.qe.power != standard_qe.power)
            out += "incident power : " + scientific(d.qe.power, 9, 2) + "\n";
        add_mesh_lines(out, c, form);
    }
    const auto yes_no = [&](std::string_view key, int value) {
        out += std::string(key) + integer(value, 2) + "\t(1=yes, 0=no)\n";
    };
    if (form.save_command) {
        if (c.flatband_with_defects != standard.flatband_with_defects) yes_no(flatband_line, c.flatband_with_defects);
        if (c.allow_references != standard.allow_references)
            yes_no("Allow change of Voltage or Current references : ", c.allow_references);
        add_mott_schottky(out, d.NW, false);
    } else {
        add_mott_schottky(out, d.NW, true);
        yes_no(flatband_line, c.flatband_with_defects);
    }
    out += "\n\n";
}

// ---- contacts ----

void add_contact(std::string& out, const ContactParameters& contact, bool left, const Form& form)
{
    const std::string flatband = flag_text(contact.flatband);
    out += left ? "back contact\n\n" : "front contact\n\n";
    out += "flatband : " + flatband + " (1: flatband contact imposed; 0: fixed Phi_m value)\n";
    // The flag of the line above once more: what is read after a save is the flat-band setting.
    out +=
        "recalculate : " + flatband + " (1 = do or 0 = do not recalculate phi_m to set flatband in each batch step)\n";
    if (!contact.flatband) out += "Fi_m : " + fixed(contact.Fi_m, 10, 6) + " [eV]\n";
    const int width = left ? 10 : 9;
    out += "Sn : " + scientific(contact.Sn, width, 3) + " [m/s]\n";
    out += "Sp : " + scientific(contact.Sp, width, 3) + " [m/s]\n";
    out += "Tunneling to contact: " + flag_text(contact.tunneling) + std::string(form.yn) + "\n";
    out += mass_line("electron", contact.m_e, form) + mass_line("hole", contact.m_h, form);
    if (form.save_command) out += "\n";
    if (contact.filter) {
        out += contact.filter_transmission ? "optical filter : transmission\n" : "optical filter : reflection\n";
        out += "wavelength independent: " + flag_text(contact.filter_constant) + "\n";
        if (contact.filter_constant)
            out += "filter value: " + scientific(contact.filter_value, 14, 8) + "\n";
        else
            out += "filterfile : " + file_part(contact.filter_file) + "\n";
    }
    out += "\n";
}

// ---- layers ----

void add_models(std::string& out, std::string_view start, const AbsorptionModelSet& set)
{
    for (const Model& model : set.models) {
        if (!model.on) continue;
        out += std::string(start) + "model : " + model.name + "\n";
        for (int i = 0; i < std::min(model.parameters, static_cast<int>(model.values.size())); ++i)
            out += std::string(start) + "value of parameter " + integer(i + 1) + " : " +
                   scientific(model.values[static_cast<std::size_t>(i)], 14, 6) + "\n";
    }
}

void add_absorption(std::string& out, const Absorption& a, bool material_B, const Form& form)
{
    const std::string model_key =
        material_B ? "absorption pure B material (y=1), model" : "absorptionmodel pure A material (y=0)";
    const std::string coefficient = material_B ? "pure B material (y=1), " : "";
    constexpr const char* old = " (line inserted for compatibility with KOVIN until 3.3.06)\n";
    if (material_B ? a.pure_B_from_file : a.pure_A_from_file) {
        out += model_key + " : from file\n";
        out += material_B ? "absorption pure B material (y=1), file : " : "absorptionfile pure A material (y=0) : ";
        out += file_part(material_B ? a.file_B : a.file_A) + "\n";
        return;
    }
    const AbsorptionModelSet& set = material_B ? a.model_B : a.model_A;
    double A = 0.0, B = 0.0;
    ExtractBestAandBFromAbsorptionModel(set, A, B);
    out += model_key + " : coefficients A and B" + old;
    out += coefficient + "A : " + scientific(A, 9, 3) + " [/(m*sqrt(eV))]" + old;
    out += coefficient + "B : " + scientific(B, 9, 3) + " [sqrt(eV)/m]" + old;
    out += material_B && !form.save_command ? "absorptionmodel pure B material (y=1)" : model_key;
    out += " : from model\n";
    add_models(out, material_B ? "absorption model B, " : "absorption model A, ", set);
}

void add_material(std::string& out, const LayerParameters& layer, const Form& form)
{
    const MaterialParameters& material = layer.material;
    out += ProfileToOutputLine(layer.composition, "composition grading", "[-]", false, 9, 5);
    if (layer.composition.law == Law::from_file) out += "Grading file: " + file_part(layer.composition.file) + "\n";
    const auto is_mass = [](const QuantityRow& row) {
        return row.quantity == Quantity::m_e || row.quantity == Quantity::m_h;
    };
    const auto add_tunneling = [&] {
        out += "Tunneling in layer: " + flag_text(material.tunneling) + std::string(form.yn) + "\n";
    };
    const auto add = [&](const QuantityRow& row) {
        const Profile& profile = material.*row.member;
        const bool density = row.quantity == Quantity::Na || row.quantity == Quantity::Nd;
        const std::string word = density ? with_dependence(row.word, profile.dependence) : std::string(row.word);
        out += ProfileToOutputLine(profile, word, row.unit, row.scientific, is_mass(row) ? form.layer_mass : row.width,
                                   row.digits);
    };
    // The masses stand behind the line on tunnelling, which the plain form has at the head.
    if (!form.save_command) {
        add_tunneling();
        for (const QuantityRow& row : graded_quantities())
            if (is_mass(row)) add(row);
    }
    for (const QuantityRow& row : graded_quantities()) {
        if (is_mass(row) && !form.save_command) continue;
        if (row.quantity == Quantity::m_e) add_tunneling();
        add(row);
    }
    out += ProfileToOutputLine(material.absorption.grading, "absorption grading", "[nm]", false, 8, 2);
    add_absorption(out, material.absorption, false, form);
    add_absorption(out, material.absorption, true, form);
    out += "\n";
}

void add_layer(std::string& out, const CellParameters& cell, int index, const Form& form)
{
    const LayerParameters& layer = cell.layer[static_cast<std::size_t>(index)];
    out += "layer\n\nname : " + layer.name + "\n";
    out += "d : " + scientific(layer.material.d, 9, 3) + " [m]\n";
    add_material(out, layer, form);
    for (int k = 0; k < layer.srhteller; ++k) add_bulk_defect(out, layer.srh[static_cast<std::size_t>(k)], k == 0);
    for (int k = 0; k < max_metastable; ++k) {
        const auto& pair = layer.metastable[static_cast<std::size_t>(k)];
        if (pair.present) add_metastable(out, pair, k);
    }
    if (index + 1 < cell.layers) add_interface(out, cell.interfaces[static_cast<std::size_t>(index)], form);
    out += "\n";
}

// ---- the rest ----

void add_working_point(std::string& out, const DefinitionWorkPoint& point, const CellParameters& cell)
{
    out += "\nworking point\n\n";
    out += point.lightFromRight ? "illuminated from : right" : "illuminated from : left";
    out += "\ninternal Rfront : " + fixed(point.Rfront, 12, 8);
    out += "\ninternal Tfront : " + scientific(point.Tfront, 11, 4);
    if (point.RsPresent) {
        out += "\nSeries resistance :  1 (1: Rs enabled; 0: Rs disabled)";
        out += "\nRs [Ohm.m2] : " + scientific(point.Rs, 14, 6);
    }
    if (point.GshPresent) {
        out += "\nShunt conductance :  1 (1: Gsh enabled; 0: Gsh disabled)";
        out += "\nGsh [S/m2] : " + scientific(point.Gsh, 14, 6);
    }
    if (point.references_given) {
        out +=
            "\nvoltage V applied to : " + integer(cell.voltage_reference, 2) + " (+1: right contact; -1: left contact)";
        out += "\ncell reference system : " + integer(cell.reference_system, 2) +
               " (1: as a consumer (consumed power = +VJ; 0: as a generator (generated power = +VJ) )";
    }
    out += "\n";
}

/// Remarks without the heading of the last save, and without blank lines that would pile up.
void add_remarks(std::string& out, const std::vector<std::string>& remarks)
{
    bool blank_before = true;  // the heading ends in one
    for (std::size_t i = 0; i < remarks.size(); ++i) {
        const std::string& remark = remarks[i];
        const auto holds = [&](const char* word) { return remark.find(word) != std::string::npos; };
        if (i == 0 && holds("KOVIN") && holds("Problem definition file")) continue;
        if (i == 1 && holds("last saved by KOVIN")) continue;
        if (remark.empty() && blank_before) continue;
        out += "> " + remark + "\n";
        blank_before = remark.empty();
    }
}

std::string sections(const Definition& definition, const Form& form)
{
    const CellParameters& cell = definition.input.cell.cell;
    std::string out;
    add_numerical_block(out, definition, form);
    add_contact(out, cell.left, true, form);
    for (int i = 0; i < cell.layers; ++i) add_layer(out, cell, i, form);
    add_contact(out, cell.right, false, form);
    add_working_point(out, definition.workPoint, cell);
    return out;
}

/// Warns about files that are not in the folder of their kind: the saved file names them without a folder.
void warn_about_files(Surroundings& surroundings, const Definition& definition, const std::string& path)
{
    const auto missing = [&](const std::string& name, FileKind kind) {
        std::error_code error;
        return !std::filesystem::exists(surroundings.folders.of(kind) / file_part(name), error);
    };
    const std::string advice = "Please save this file in this map. Otherwise, opening this def-file '" + path +
                               "' in the future will cause an error.";
    const auto filter = [&](const ContactParameters& contact, const char* which) {
        if (!contact.filter || contact.filter_constant || !missing(contact.filter_file, FileKind::filter)) return;
        KOVINErrorMessage(surroundings.report, "Warning !",
                          "The filterfile  '" + file_part(contact.filter_file) + "', used at the " + which +
                              " of this def-file isn't saved yet in the map [KOVIN]\\filter\\. \n" + advice);
    };
    const CellParameters& cell = definition.input.cell.cell;
    filter(cell.left, "leftContact");
    filter(cell.right, "rightContact");
    for (int i = 0; i < cell.layers; ++i) {
        const Absorption& a = cell.layer[static_cast<std::size_t>(i)].material.absorption;
        const auto check = [&](bool from_file, const std::string& name, const char* verb) {
            if (!from_file || !missing(name, FileKind::absorption)) return;
            KOVINErrorMessage(surroundings.report, "Warning !",
                              "The absorptionfile  '" + file_part(name) + "', used in layer " + integer(i + 1) +
                                  "of this def-file " + verb +
                                  " saved yet in the map [current KOVIN-directory]\\absorption\\. \n" + advice);
        };
        check(a.pure_A_from_file, a.file_A, "is not");
        check(a.pure_B_from_file, a.file_B, "isn't");
    }
}

}  // namespace

std::string SaveDefinitionFile(const Definition& definition) { return sections(definition, plain_form); }

std::string definition_text(const Definition& definition, const std::string& version, const DateTime& saved)
{
    std::string out = "> " + version + " Problem definition file\n";
    out += "> last saved by KOVIN: \t" + date_at_time(saved) + "\n> \n";
    add_remarks(out, definition.remarks);
    return out + sections(definition, saved_form);
}

bool data_naar_file(Surroundings& surroundings, const std::filesystem::path& file, Definition& definition)
{
    warn_about_files(surroundings, definition, file.string());
    if (!write_whole_file(file, definition_text(definition, surroundings.version, surroundings.clock.now()))) {
        KOVINErrorMessage(
            surroundings.report, "Error !",
            "Function data_naar_file(): Error occured during opening selected filename !\n" + file.string());
        return false;
    }
    definition.input.path = file;
    definition.input.title = file.stem().string();
    return true;
}

}  // namespace kovin
