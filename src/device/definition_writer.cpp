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
    add_row(out, switch_keys[0], c);
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
        for (const KeyRow<QeSettings>& key : quantum_efficiency_keys) {
            const bool differs =
                key.real ? d.qe.*key.real != standard_qe.*key.real : d.qe.*key.whole != standard_qe.*key.whole;
            if (differs || !form.save_command) add_row(out, key, d.qe);
        }
        add_mesh_lines(out, c, form);
    }
    const KeyRow<C>& flatband = switch_keys[1];
    if (form.save_command) {
        if (c.flatband_with_defects != standard.flatband_with_defects) add_row(out, flatband, c);
        const KeyRow<C> references{.word = written_only, .whole = &C::allow_references, .unit = flatband.unit};
        if (c.allow_references != standard.allow_references) add_row(out, references, c);
        add_mott_schottky(out, d.NW, false);
    } else {
        add_mott_schottky(out, d.NW, true);
        add_row(out, flatband, c);
    }
    out += "\n\n";
}

// ---- contacts ----

void add_contact(std::string& out, ContactParameters contact, bool left, const Form& form)
{
    // Files of all versions repeat the flag of flat bands: what is read after a save is the flat-band setting.
    contact.recalculate = contact.flatband;
    out += left ? "back contact\n\n" : "front contact\n\n";
    for (KeyRow<K> key : contact_keys) {
        if (key.real == &K::Fi_m && contact.flatband) continue;
        if ((key.real == &K::Sn || key.real == &K::Sp) && left) ++key.width;
        if (key.flag == &K::tunneling) key.unit = form.yn;
        if (key.real == &K::m_e || key.real == &K::m_h) {
            key.digits = form.contact_digits;
            key.width = form.contact_digits + (form.save_command ? 7 : 8);
        }
        add_row(out, key, contact);
    }
    if (form.save_command) out += "\n";
    if (contact.filter) {
        out += contact.filter_transmission ? "optical filter : transmission\n" : "optical filter : reflection\n";
        add_row(out, filter_keys[0], contact);
        if (contact.filter_constant)
            add_row(out, filter_keys[1], contact);
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
    if (layer.functional_type != 0) add_row(out, functional_key, layer);
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
    out += point.lightFromRight ? "illuminated from : right\n" : "illuminated from : left\n";
    add_rows(out, front_keys, point);
    for (std::size_t i = 0; i < std::size(resistance_keys); i += 2) {
        if (!(point.*resistance_keys[i].flag)) continue;
        add_row(out, resistance_keys[i], point);
        add_row(out, resistance_keys[i + 1], point);
    }
    if (point.references_given) add_rows(out, reference_keys, cell);
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
