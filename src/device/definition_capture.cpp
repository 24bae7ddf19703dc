// The lines on optical capture of a bulk defect.
#include "base/text_scan.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"

#include <algorithm>
#include <cmath>

namespace kovin::definition_sections {

using namespace definition_tables;

namespace {

constexpr const char* no_such_level = "there is no such level";

/// "optical capture data (electrons): file", "optical capture data [electrons]: level 2, file" or "..., none".
void read_capture_file(Reading& reading, DefectLevels& levels, CaptureLines& met)
{
    KeyedSource& source = reading.source;
    const std::string_view all = source.line();
    for (const Carrier& carrier : carriers) {
        const std::string in_round = "optical capture data (" + std::string(carrier.word) + ")";
        const std::string in_square = "optical capture data [" + std::string(carrier.word) + "]";
        const std::string* key = &in_round;
        std::size_t level = 0;
        std::string name;
        if (source.starts(in_round)) {
            if (source.anywhere("level 1, none")) return;
            name = source.file_name(in_round);
        } else if (source.starts(in_square)) {
            key = &in_square;
            if (source.anywhere(", none")) return;
            const NumberScan number = next_number(source.value(in_square));
            if (!number.found || number.value < 1.0 || number.value > max_levels ||
                number.value != std::floor(number.value)) {
                source.refuse(in_square, no_such_level);
                return;
            }
            level = static_cast<std::size_t>(number.value) - 1;
            const auto comma = all.find(',');
            if (comma != std::string_view::npos) name = std::string(trimmed(all.substr(comma + 1)));
            std::replace(name.begin(), name.end(), '\\', '/');
            source.note_file(name);
        } else {
            continue;
        }
        OpticalCaptureProperties& capture = levels[level].*carrier.capture;
        capture.file = name;
        capture.present = true;
        met.push_back({level, source.line_number(), source.quoted(*key)});
        reading.definition.IPV_Mode = true;
        return;
    }
    source.not_known();
}

/// "optical capture of electrons, n: 3.42" and its neighbours.
void read_capture_values(KeyedSource& source, DefectLevels& levels)
{
    std::vector<double> values;
    for (const Carrier& carrier : carriers) {
        const std::string start = "optical capture of " + std::string(carrier.word);
        if (!source.starts(start)) continue;
        const std::string model = start + ", data from model";
        if (source.starts(model)) {
            if (!read_per_level(source, model, levels[0].levels, a_fraction, values)) return;
            for (std::size_t k = 0; k < values.size(); ++k) (levels[k].*carrier.capture).from_model = values[k] != 0.0;
            return;
        }
        for (const OpticalKey& key : optical_keys) {
            const std::string word = start + std::string(key.word);
            if (!source.starts(word)) continue;
            if (!read_per_level(source, word, levels[0].levels, not_negative, values)) return;
            for (std::size_t k = 0; k < values.size(); ++k) levels[k].*carrier.capture.*key.field = values[k];
            return;
        }
    }
    source.not_known();
}

}  // namespace

bool read_optical_capture(Reading& reading, DefectLevels& levels, CaptureLines& met)
{
    if (reading.source.starts("optical capture data")) {
        read_capture_file(reading, levels, met);
        return true;
    }
    if (reading.source.starts("optical capture of")) {
        read_capture_values(reading.source, levels);
        return true;
    }
    return false;
}

void tell_capture_of_no_level(KeyedSource& source, const DefectLevels& levels, const CaptureLines& met)
{
    for (const CaptureLine& capture : met)
        if (capture.level >= static_cast<std::size_t>(level_count(levels)))
            source.tell(capture.text + ": " + no_such_level, capture.line);
}

}  // namespace kovin::definition_sections
