// The section on bulk defects of a definition file.
#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/charge_states.h"
#include "device/defect_levels.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace kovin::definition_sections {

using namespace definition_tables;

namespace {

using Levels = DefectLevels;

/// What has been met of one defect.
struct DefectReading {
    CaptureLines capture;
    bool has_profile = false, has_Nleft = false, has_Nright = false;
    bool empty = true;
    [[nodiscard]] bool old_form() const { return !has_profile && (has_Nleft || has_Nright); }
};

/// Stores a value of the defect as a whole in all its levels.
template <class Value>
void in_all(Levels& levels, Value BulkRecombinationParameters::*field, const Value& value)
{
    for (auto& level : levels) level.*field = value;
}

/// Reads a line that is for the defect as a whole.
template <std::size_t n>
TakenRow<KeyRow<B>> read_in_all(KeyedSource& source, const KeyRow<B> (&rows)[n], Levels& levels)
{
    const auto taken = read_rows(source, rows, levels[0]);
    if (taken.stored) in_all(levels, taken.row->real, levels[0].*taken.row->real);
    return taken;
}

/// Each level further is one charge lower; beyond the lowest transition, and if the first is neutral, all are neutral.
void set_level_types(Levels& levels, LevelType first, int count)
{
    for (int k = 0; k < count; ++k) {
        const int number = first == LevelType::neutral ? 0 : std::max(static_cast<int>(first) - k, 0);
        levels[static_cast<std::size_t>(k)].aard = static_cast<LevelType>(number);
    }
}

void read_type(KeyedSource& source, Levels& levels)
{
    int type = 0, count = 1;
    if (!source.last_word("type", defect_type_words, std::size(defect_type_words), type)) return;
    if (const NumberScan number = next_number(source.value("type")); number.found) {
        if (number.value < 1.0 || number.value > max_levels || number.value != std::floor(number.value)) {
            source.refuse("type", "the number of levels must lie between 1 and " + integer(max_levels));
            return;
        }
        count = static_cast<int>(number.value);
    }
    in_all(levels, &B::defectType, static_cast<DefectType>(type));
    in_all(levels, &B::levels, count);
    // What the type alone says of the charges; "leveltype" may follow.
    switch (static_cast<DefectType>(type)) {
        case DefectType::neutral:
            levels[0].aard = LevelType::neutral;
            break;
        case DefectType::acceptor:
        case DefectType::doubleacceptor:
            set_level_types(levels, LevelType::zero_minus, count);
            break;
        case DefectType::donor:
        case DefectType::amphoteric:
            set_level_types(levels, LevelType::plus_zero, count);
            break;
        case DefectType::doubledonor:
            set_level_types(levels, LevelType::two_plus_plus, count);
            break;
        case DefectType::custom_multilevel:
            break;
    }
}

/// The first transition names all; without one the defect is neutral.
void read_level_type(KeyedSource& source, Levels& levels)
{
    const std::string_view text = source.value("leveltype");
    int first = 0;
    if (text.starts_with('+'))
        first = 4;
    else if (text.starts_with('-'))
        first = 2;
    else if (text.starts_with('0'))
        first = 3;
    else if (text.starts_with("2-"))
        first = 1;
    else if (text.starts_with('2'))
        first = 5;
    else if (text.starts_with('3'))
        first = 6;
    else if (!starts_with_ignoring_case(text, level_type_words[0]))
        source.tell(source.quoted("leveltype") + ": these charge states are not known; the defect counts as neutral");
    if (first != 0 && first < levels[0].levels) {
        source.refuse("leveltype", "there are fewer charge states than levels");
        return;
    }
    set_level_types(levels, static_cast<LevelType>(first), max_levels);
}

void read_spatial_distribution(KeyedSource& source, Levels& levels)
{
    int spatial = 0;
    // Panels say "constant", people "homogeneous".
    const bool is_constant = source.anywhere("constant") || source.anywhere("homogeneous");
    if (is_constant ||
        source.last_word("profile", spatial_distribution_words, std::size(spatial_distribution_words), spatial))
        in_all(levels, &B::spatial, static_cast<SpatialDistribution>(spatial));
}

/// Density in the form of the oldest files; not looked at once there is a profile.
bool read_old_density(KeyedSource& source, Levels& levels, DefectReading& met)
{
    if (met.has_profile)
        return source.starts("profile") || source.starts("Lkar") || source.starts("Nleft") || source.starts("Nright");
    if (source.starts("profile")) {
        read_spatial_distribution(source, levels);
        return true;
    }
    const auto taken = read_in_all(source, old_density_keys, levels);
    met.has_Nleft = met.has_Nleft || (taken.stored && taken.row->real == &B::Nleft);
    met.has_Nright = met.has_Nright || (taken.stored && taken.row->real == &B::Nright);
    return static_cast<bool>(taken);
}

bool read_density_profile(KeyedSource& source, Levels& levels, DefectReading& met)
{
    for (const std::string_view key : {"Nt(x)", "Nt(y)", "Nt(uniform)"}) {
        if (!source.starts(key)) continue;
        met.has_profile = InputLineToProfile(source, key, levels[0].Nt);
        if (met.has_profile)
            for (auto& level : levels) level.Nt = levels[0].Nt;
        return true;
    }
    return false;
}

void read_defect_line(Reading& reading, Levels& levels, DefectReading& met)
{
    KeyedSource& source = reading.source;
    const int count = levels[0].levels;
    int whole = 0;
    if (source.starts("type")) return read_type(source, levels);
    if (read_in_all(source, single_defect_keys, levels)) return;
    if (const auto taken = read_in_all(source, defect_energy_keys, levels)) {
        if (taken.row->real == &B::Ecor) in_all(levels, &B::correlation, true);
        return;
    }
    if (read_density_profile(source, levels, met) || read_old_density(source, levels, met)) return;
    if (source.starts("energy distribution")) {
        for (auto& level : levels) read_energy_distribution(source, level.energy_distribution);
    } else if (source.starts_exactly("Reference for defect energy")) {
        if (source.whole("Reference for defect energy", whole, 0, 2))
            in_all(levels, &B::reference, static_cast<EnergyReference>(whole));
    } else if (source.starts("degeneracy factors equal one")) {
        in_all(levels, &B::degeneracy_one, true);
    } else if (source.anywhere("tailtype")) {
        for (auto& level : levels) read_tail_type(source, level.energy_distribution);
    } else if (source.starts("leveltype")) {
        read_level_type(source, levels);
    } else if (!read_optical_capture(reading, levels, met.capture)) {
        std::vector<double> values;
        for (const LevelKey& key : level_keys) {
            if (!source.starts(key.word)) continue;
            if (read_per_level(source, key.word, count, key.limits, values))
                for (std::size_t k = 0; k < values.size(); ++k) levels[k].*key.field = values[k];
            return;
        }
    }
}

/// What follows from the lines of one defect.
void finish_defect(KeyedSource& source, Levels& levels, const DefectReading& met)
{
    if (levels[0].energy_distribution != EnergyDistribution::single && levels[0].Ekar <= 0.0) {
        source.refuse({}, "Ekar: the defect needs a characteristic energy above 0");
        return;
    }
    tell_capture_of_no_level(source, levels, met.capture);
    for (auto& level : levels) {
        if (level.spatial == SpatialDistribution::homogenous && met.has_Nleft != met.has_Nright)
            (met.has_Nleft ? level.Nright : level.Nleft) = met.has_Nleft ? level.Nleft : level.Nright;
        level.peak_to_total = peak_to_total(level.energy_distribution, level.Ekar);
        if (met.old_form())
            CopyKOVIN27Data_to_NtProfile(level);
        else
            CopyNtProfile_to_KOVIN27Data(level);
    }
}

}  // namespace

bool ends_section(const KeyedSource& source)
{
    return source.starts("layer") || source.section("front contact") || source.starts("right contact") ||
           source.section("spectrumfile") || source.section("working point");
}

bool read_per_level(KeyedSource& source, std::string_view key, int levels, const Limits& limits,
                    std::vector<double>& values)
{
    std::size_t rest = 0;
    if (!source.numbers(key, static_cast<std::size_t>(levels), values, rest)) return false;
    if (values.size() < static_cast<std::size_t>(levels)) return source.refuse(key, "a number is missing for a level");
    for (const double value : values)
        if (!limits.hold(value)) return source.refuse(key, "the value is outside its range");
    return true;
}

void read_energy_distribution(KeyedSource& source, EnergyDistribution& distribution)
{
    constexpr std::string_view key = "energy distribution";
    int whole = 0;
    const bool band_follows = source.anywhere("tail") && !source.anywhere("CB tail") && !source.anywhere("VB tail");
    if (!band_follows && source.last_word(key, energy_distribution_words, std::size(energy_distribution_words), whole))
        distribution = static_cast<EnergyDistribution>(whole);
}

void read_tail_type(const KeyedSource& source, EnergyDistribution& distribution)
{
    if (source.anywhere("valenceband")) distribution = EnergyDistribution::VB_tail;
    if (source.anywhere("conductionband")) distribution = EnergyDistribution::CB_tail;
}

void CopyKOVIN27Data_to_NtProfile(BulkRecombinationParameters& level)
{
    Profile& Nt = level.Nt;
    Nt.pure_A = Nt.left = level.Nleft / level.peak_to_total;
    Nt.pure_B = Nt.right = level.Nright / level.peak_to_total;
    Nt.third = Nt.pure_A;
    Nt.fourth = Nt.fifth = 1.0;
    switch (level.spatial) {
        case SpatialDistribution::homogenous:
            Nt.law = Law::uniform;
            Nt.dependence = Dependence::uniform;
            break;
        case SpatialDistribution::linear:
            Nt.law = Law::linear;
            Nt.dependence = Dependence::on_x;
            break;
        case SpatialDistribution::exponential:
            Nt.law = Law::exponential;
            Nt.dependence = Dependence::on_x;
            Nt.third = 0.0;
            Nt.fourth = Nt.fifth = level.Lkar * 1e6;  // decay lengths of a profile are in um
            break;
    }
    SetProfileScaleParameters(Nt);
}

void CopyNtProfile_to_KOVIN27Data(BulkRecombinationParameters& level)
{
    const Profile& Nt = level.Nt;
    level.spatial = SpatialDistribution::homogenous;
    if (Nt.dependence == Dependence::on_x && Nt.law == Law::linear) level.spatial = SpatialDistribution::linear;
    if (Nt.dependence == Dependence::on_x && Nt.law == Law::exponential) {
        level.spatial = SpatialDistribution::exponential;
        level.Lkar = Nt.fourth * 1e-6;
    }
    const bool uniform = level.spatial == SpatialDistribution::homogenous;
    level.Nleft = level.peak_to_total * (uniform ? Nt.pure_A : Nt.left);
    level.Nright = level.peak_to_total * (uniform ? Nt.pure_A : Nt.right);
}

void read_bulk_defects(Reading& reading)
{
    KeyedSource& source = reading.source;
    LayerParameters& layer = reading.layer();
    const auto ends = [&] {
        return ends_section(source) || source.starts("next") || source.section("interface recombination") ||
               source.section("interface properties") || source.section("Metastable properties");
    };
    do {
        if (layer.srhteller == max_defects) {
            source.fail("srhrecombination", "a layer has at most " + integer(max_defects) + " defects");
            return;
        }
        Levels& levels = layer.srh[static_cast<std::size_t>(layer.srhteller)];
        DefectReading met;
        while (source.must_go_on() && !ends()) {
            if (source.section("srhrecombination")) continue;
            met.empty = false;
            read_defect_line(reading, levels, met);
        }
        if (met.empty) source.fail("srhrecombination", "the defect is empty");
        if (source.failed()) return;
        finish_defect(source, levels, met);
        ++layer.srhteller;
    } while (!source.failed() && source.starts("next"));
}

}  // namespace kovin::definition_sections
