#include "device/definition_writer_parts.h"

#include "base/folders.h"
#include "base/text_format.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"

#include <algorithm>

namespace kovin::definition_parts {

using namespace definition_tables;

namespace {

using Levels = std::array<BulkRecombinationParameters, max_levels>;

void PrintOptCapt(std::string& out, const Levels& levels, std::size_t count, const Carrier& carrier)
{
    const auto capture = [&](std::size_t k) -> const OpticalCaptureProperties& { return levels[k].*carrier.capture; };
    bool any = false;
    for (std::size_t k = 0; k < count; ++k) any = any || capture(k).present;
    if (!any) return;
    const std::string word(carrier.word), of = "optical capture of " + word;
    for (std::size_t k = 0; k < count; ++k) {
        const std::string name = capture(k).present ? file_part(capture(k).file) : "none";
        if (k == 0 && capture(0).present)
            out += "optical capture data (" + word + "): " + name + "\n";
        else
            out +=
                "optical capture data [" + word + "]: level " + integer(static_cast<int>(k) + 1) + ", " + name + "\n";
    }
    out += of + ", data from model: ";
    for (std::size_t k = 0; k < count; ++k) out += flag_text(capture(k).from_model) + "\t";
    out += "\n";
    for (const OpticalKey& key : optical_keys) {
        out += of + std::string(key.word) + ": ";
        for (std::size_t k = 0; k < count; ++k) out += fixed(capture(k).*key.field) + "\t";
        out += "\n";
    }
}

}  // namespace

std::string flag_text(bool flag) { return flag ? "1" : "0"; }

std::string ProfileToOutputLine(const Profile& p, std::string_view name, std::string_view unit, bool in_powers,
                                int width, int digits)
{
    std::string line = std::string(name) + " :\t";
    // The ends of the parabola: a reader has them lifted again by the minimum that stands beside them.
    for (const double value :
         {p.pure_A, p.pure_B, p.third, p.fourth, p.fifth, p.left - p.left_lift, p.right - p.right_lift})
        line += (in_powers ? scientific(value, width, digits) : fixed(value, width, digits)) + "\t";
    line += integer(static_cast<int>(p.law), 2) + "\t" + integer(static_cast<int>(p.dependence), 2) + "\t";
    if (p.law == Law::from_file) line += file_part(p.file) + "\t";
    return line + std::string(unit) + "\n";
}

std::string with_dependence(std::string_view word, Dependence dependence)
{
    const char* suffix = dependence == Dependence::on_y ? "(y)" : dependence == Dependence::on_x ? "(x)" : "(uniform)";
    return std::string(word) + suffix;
}

void add_bulk_defect(std::string& out, const Levels& levels, bool first)
{
    BulkRecombinationParameters d = levels[0];
    const auto count = static_cast<std::size_t>(std::clamp(d.levels, 1, max_levels));
    definition_sections::CopyNtProfile_to_KOVIN27Data(d);
    out += first ? "srhrecombination\n\n" : "next\n\n";
    out += "type : " + std::string(defect_type_words[static_cast<std::size_t>(d.defectType)]) + " (" +
           integer(static_cast<int>(count), 2) + " level(s) )\n";
    out += "energy distribution : " +
           std::string(energy_distribution_words[static_cast<std::size_t>(d.energy_distribution)]) + "\n";
    out += "Reference for defect energy : " + integer(static_cast<int>(d.reference), 2) +
           " ; 0 = above EV (KOVIN<2.7); 1 = above Ei; 2 = below EC\n";
    for (const KeyRow<B>& key : defect_energy_keys)
        if (key.real != &B::Ecor || d.correlation) add_row(out, key, d);
    // Without a line end, as in files of all versions: a reader loses the density profile behind it.
    if (d.degeneracy_one) out += "degeneracy factors equal one";
    out += ProfileToOutputLine(d.Nt, with_dependence("Nt", d.Nt.dependence), "[/m^3]", true, 13, 6);
    out += "profile : " + std::string(spatial_distribution_words[static_cast<std::size_t>(d.spatial)]) + "\n";
    for (KeyRow<B> key : old_density_keys) {
        if (key.unit.empty()) key.unit = d.energy_distribution == EnergyDistribution::single ? " [/m^3]" : " [/m^3 eV]";
        add_row(out, key, d);
    }
    out += "leveltype : ";
    for (std::size_t k = 0; k < count; ++k)
        out += std::string(level_type_words[static_cast<std::size_t>(levels[k].aard)]) + "\t";
    out += "\n";
    for (const LevelKey& key : level_keys) {
        out += std::string(key.word) + " : ";
        for (std::size_t k = 0; k < count; ++k) {
            const double value = levels[k].*key.field;
            out +=
                key.scientific ? scientific(value, key.width, key.digits) + "\t" : fixed(value, key.width, key.digits);
            if (!key.scientific && k + 1 < count) out += "\t";
        }
        out += std::string(key.unit) + "\n";
    }
    for (const Carrier& carrier : carriers) PrintOptCapt(out, levels, count, carrier);
    out += "\n";
}

void add_metastable(std::string& out, const MetaStableDefectParameters& pair, int number)
{
    out += "Metastable properties: transition " + integer(number) + "\n\n";
    const Dependence dependence = pair.Nt.dependence == Dependence::on_y ? Dependence::on_y : Dependence::on_x;
    out += ProfileToOutputLine(pair.Nt, with_dependence("Nt", dependence), "[1/m3]", true, 10, 3);
    for (const KeyRow<P>& key : metastable_keys) {
        add_row(out, key, pair);
        if (key.word != last_metastable_key_before_energies) continue;
        out += std::string(given_energies_key) + " : ";
        for (const bool given : pair.derived_energy) out += flag_text(given) + "\t";
        out += "\n";
    }
    out += "Reference for transition energy : " + integer(static_cast<int>(pair.reference), 2) +
           " ; 0 = above EV (KOVIN<2.7); 1 = above Ei; 2 = below EC\n";
    out += std::string(initial_configuration_key) + " :  " + scientific(pair.initial_acceptor_configuration, 9, 2) +
           "\n\n";
}

void add_interface(std::string& out, const InterfaceParameters& interface, const Form& form)
{
    const auto add = [&](auto& keys, const auto& record) {
        for (auto key : keys) {
            const bool mass = key.word.ends_with("mass");
            if (mass && !form.save_command) key.width = 5, key.scientific = false;
            add_row(out, key, record);
        }
    };
    out += "interface properties\n\ninterfacename : " + interface.name + "\n";
    add(interface_keys, interface);
    out += "\n";
    for (int k = 0; k < interface.defect_count; ++k) {
        const InterfaceRecombinationParameters& d = interface.defects[static_cast<std::size_t>(k)];
        out += k == 0 ? "interface recombination\n\n" : "next\n\n";
        out += "type : " + std::string(defect_type_words[static_cast<std::size_t>(d.defectType)]) + "\n";
        add(interface_capture_keys, d);
        out += "energy distribution : " +
               std::string(energy_distribution_words[static_cast<std::size_t>(d.energy_distribution)]) + "\n";
        out += "Reference for defect energy : " + integer(static_cast<int>(d.reference), 2) +
               " ; 3 = above highest EV; 4 = below lowest EC; 5 = above Ei left; 6 = above Ei right; 7 = above EV left "
               "(= KOVIN<2.7 reference); 8 = above EV right; 9 = above middle of interface gap\n";
        add(interface_energy_keys, d);
        KeyRow<I> density = interface_density_key[0];
        density.unit = d.energy_distribution == EnergyDistribution::single ? " [/m^2]\n" : " [/m^2.eV]\n";
        add_row(out, density, d);
    }
}

}  // namespace kovin::definition_parts
