// The sections on metastable pairs and on interfaces of a definition file.
#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/defect_levels.h"
#include "device/definition_places.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"

#include <algorithm>
#include <iterator>

namespace kovin::definition_sections {

using namespace definition_tables;

namespace {

void read_metastable_line(Reading& reading, MetaStableDefectParameters& pair)
{
    KeyedSource& source = reading.source;
    if (source.starts("Nt(x)") || source.starts("Nt(y)")) {
        InputLineToProfile(source, "Nt(x)", pair.Nt);
    } else if (source.starts(given_energies_key)) {
        std::vector<double> flags;
        std::size_t rest = 0;
        if (!source.numbers(given_energies_key, pair.derived_energy.size(), flags, rest)) return;
        if (!std::all_of(flags.begin(), flags.end(), [](double f) { return a_fraction.hold(f); })) {
            source.refuse(given_energies_key, "the value is outside its range");
            return;
        }
        // Of fewer than five the rest keep their defaults.
        for (std::size_t i = 0; i < flags.size(); ++i) pair.derived_energy[i] = flags[i] != 0.0;
    } else if (source.starts("Reference for transition energy")) {
        int reference = 0;
        if (source.whole("Reference for transition energy", reference, 0, 2))
            pair.reference = static_cast<EnergyReference>(reference);
    } else if (source.starts(initial_configuration_key)) {
        source.number(initial_configuration_key, pair.initial_acceptor_configuration, a_fraction);
    } else {
        read_rows(source, metastable_keys, pair);
    }
}

void read_interface_line(Reading& reading, InterfaceParameters& interface, InterfaceRecombinationParameters& defect,
                         bool& has_reference)
{
    KeyedSource& source = reading.source;
    int whole = 0;
    if (source.starts("interfacename")) {
        interface.name = source.text("interfacename", interface_name_limit);
    } else if (source.starts("type")) {
        if (source.last_word("type", defect_type_words, std::size(defect_type_words), whole))
            defect.defectType = static_cast<DefectType>(whole);
    } else if (read_rows(source, interface_capture_keys, defect)) {
        reading.open_path(defect.tunneling, &C::Tunneliface_allowed);
    } else if (source.starts("energy distribution")) {
        read_energy_distribution(source, defect.energy_distribution);
    } else if (source.starts_exactly("Reference for defect energy")) {
        if (!source.whole("Reference for defect energy", whole, 0, 9)) return;
        has_reference = true;
        // One of the bulk's counts, at an interface, from the highest valence band.
        defect.reference = static_cast<EnergyReference>(std::max(whole, 3));
    } else if (read_rows(source, interface_energy_keys, defect)) {
        return;
    } else if (source.anywhere("tailtype")) {
        read_tail_type(source, defect.energy_distribution);
    } else {
        read_rows(source, interface_density_key, defect);
    }
}

}  // namespace

void read_metastable(Reading& reading)
{
    KeyedSource& source = reading.source;
    LayerParameters& layer = reading.layer();
    const auto index = static_cast<std::size_t>(pair_index(source.line()));
    MetaStableDefectParameters& pair = layer.metastable[index];
    pair.present = true;
    while (source.must_go_on()) {
        if (ends_section(source) || source.section("interface properties") ||
            source.section("interface recombination") || source.section("Metastable properties"))
            break;
        read_metastable_line(reading, pair);
    }
    const auto take_part = [&](int defect, int role) {
        if (defect < 0 || defect >= max_defects) return;
        BulkRecombinationParameters& level = layer.srh[static_cast<std::size_t>(defect)][0];
        level.metastable_transition = static_cast<int>(index);
        level.metastable_role = role;
    };
    take_part(pair.donor_defect, 0);
    take_part(pair.acceptor_defect, 1);
}

void read_interface_properties(Reading& reading)
{
    KeyedSource& source = reading.source;
    InterfaceParameters& interface = reading.interface_behind(reading.cell().layers - 1);
    while (source.must_go_on()) {
        if (ends_section(source) || source.section("interface recombination")) return;
        if (source.starts("interfacename"))
            interface.name = source.text("interfacename", interface_name_limit);
        else if (read_rows(source, interface_keys, interface))
            reading.open_path(interface.tunneling, &C::Tunnelintraband_allowed);
    }
}

void read_interface_defects(Reading& reading)
{
    KeyedSource& source = reading.source;
    InterfaceParameters& interface = reading.interface_behind(reading.cell().layers - 1);
    reading.interface_line = source.line_number();
    do {
        if (interface.defect_count == max_interface_defects) {
            source.fail("interface recombination",
                        "an interface has at most " + integer(max_interface_defects) + " defects");
            return;
        }
        InterfaceRecombinationParameters& defect = interface.defects[static_cast<std::size_t>(interface.defect_count)];
        bool has_reference = false, empty = true;
        while (source.must_go_on() && !ends_section(source) && !source.starts("next")) {
            if (source.section("interface recombination")) continue;
            empty = false;
            read_interface_line(reading, interface, defect, has_reference);
        }
        if (empty) source.fail("interface recombination", "the defect is empty");
        if (defect.energy_distribution != EnergyDistribution::single && defect.Ekar <= 0.0)
            source.refuse({}, "Ekar: the defect needs a characteristic energy above 0");
        if (source.failed()) return;
        // Files older than the line on the reference count from the valence band at the left.
        if (!has_reference) defect.reference = EnergyReference::above_EV_left;
        defect.peak_to_total = peak_to_total(defect.energy_distribution, defect.Ekar);
        defect.N_peak = defect.N / defect.peak_to_total;
        ++interface.defect_count;
    } while (source.starts("next"));
}

}  // namespace kovin::definition_sections
