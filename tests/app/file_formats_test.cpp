// docs/file-formats.md against the tables of the readers: keywords, units, defaults and bounds cannot go stale.
//
// The page holds generated tables between lines "<!-- table NAME -->" and "<!-- end -->". KOVIN_RENEW_DOCS=1 in the
// environment writes them anew.
#include "base/line_file.h"
#include "base/text_format.h"
#include "base/text_scan.h"
#include "device/action_tables.h"
#include "device/cell_defaults.h"
#include "device/definition_tables.h"
#include "device/model_table.h"
#include "device/quantities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>

namespace kovin {
namespace {

using namespace definition_tables;

std::string bounds(const Limits& limits, bool whole = false)
{
    const auto figure = [&](double v) { return whole ? integer(static_cast<long>(v)) : shortest(v); };
    const bool low = limits.low > any_number.low, high = limits.high < any_number.high;
    if (low && high) return figure(limits.low) + " to " + figure(limits.high);
    if (low) return (limits.above ? "above " : "at least ") + figure(limits.low);
    return "any";
}

/// "units kT" of " units kT"; explanations in brackets stay, an escaped "!=" of a template is "=".
std::string unit_of(std::string_view text)
{
    std::string unit(trimmed(text));
    if (unit.starts_with('[') && unit.ends_with(']')) unit = unit.substr(1, unit.size() - 2);
    for (auto at = unit.find("!="); at != std::string::npos; at = unit.find("!=")) unit.erase(at, 1);
    return unit;
}

class Table {
public:
    Table() = default;
    void row(std::string_view key, std::string_view unit, const std::string& value, const std::string& limits)
    {
        text_ += "| `" + std::string(key) + "` | " + unit_of(unit) + " | " + value + " | " + limits + " |\n";
    }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    std::string text_ = "| Key | Unit, values | Default | Bounds |\n|---|---|---|---|\n";
};

/// A row with members `real`, `whole` and perhaps `flag`, of which one is set. @param unit  where the row has none
template <class Row, class Record>
void add(Table& table, const Row& row, std::string_view word, const Record& defaults, std::string_view unit = "")
{
    if (!row.unit.empty()) unit = row.unit;
    if constexpr (requires { row.flag; })
        if (row.flag) return table.row(word, "0 or 1", defaults.*row.flag ? "1" : "0", "0 to 1");
    table.row(word, unit, row.real ? shortest(defaults.*row.real) : integer(defaults.*row.whole),
              bounds(row.limits, row.real == nullptr));
}

template <class Record, std::size_t n>
void add(Table& table, const KeyRow<Record> (&rows)[n], const Record& defaults, std::string_view unit = "")
{
    for (const KeyRow<Record>& row : rows) add(table, row, row.word, defaults, unit);
}

std::string numerical_table()
{
    Table table;
    for (const NumericalKey& key : numerical_keys) add(table, key, key.word, ConvergenceParameters{});
    for (const MottSchottkyKey& key : mott_schottky_keys) {
        const std::string word = std::string(mott_schottky_start) + std::string(key.written);
        add(table, key, trimmed(std::string_view(word).substr(0, word.find_last_not_of(" :") + 1)),
            MottSchottkySettings{});
    }
    return table.text();
}

std::string quantity_table()
{
    Table table;
    const auto material = std::make_unique<MaterialParameters>();
    InitialiseMaterialParameters(*material, 0);
    for (const QuantityRow& row : graded_quantities())
        table.row(row.word, row.unit, shortest((*material.*row.member).pure_A), bounds(limits_of(row.quantity)));
    return table.text();
}

std::string defect_table()
{
    Table table;
    const BulkRecombinationParameters d;
    for (const LevelKey& key : level_keys) table.row(key.word, key.unit, shortest(d.*key.field), bounds(key.limits));
    for (const KeyRow<B>& key : single_defect_keys)
        if (key.real != &B::Ecor) add(table, key, key.word, d, "m^2");
    for (const OpticalKey& key : optical_keys)
        table.row("optical capture of electrons" + std::string(key.word), "", shortest(d.electrons.*key.field),
                  bounds(not_negative));
    return table.text();
}

std::string metastable_table()
{
    Table table;
    const auto layer = std::make_unique<LayerParameters>();
    InitialiseLayerParameters(*layer, 0, true);
    add(table, metastable_keys, layer->metastable[0]);
    return table.text();
}

std::string interface_table()
{
    Table table;
    const InterfaceRecombinationParameters d;
    add(table, interface_capture_keys, d, "m0"), add(table, interface_energy_keys, d);
    add(table, interface_density_key, d, "m^-2, of a distribution m^-2 eV^-1");
    return table.text();
}

std::string action_table()
{
    using namespace action_tables;
    Table table;
    const ActionPanel panel = InitialiseActionPanel();
    add(table, condition_keys, panel.workPoint), add(table, light_keys, panel.workPoint);
    const ActionList& list = panel.actions;
    add(table, pause_switches, list), add(table, iv_keys, list), add(table, iv_switches, list);
    add(table, cv_keys, list), add(table, cv_switches, list), add(table, cf_keys, list), add(table, cf_switches, list);
    add(table, qe_keys, list), add(table, qe_switches, list);
    return table.text();
}

/// Spectrum and generation models, or absorption models, as files name them.
std::string model_table(bool absorption)
{
    std::string text = "| Name in files | Number | Parameters: default (bounds) |\n|---|---|---|\n";
    const auto add_model = [&](std::string_view word, const Model& model) {
        text += "| `" + std::string(word) + "` | " + integer(model.number) + " |";
        for (int i = 0; i < model.parameters; ++i) {
            const std::string_view name = model_parameter_name(model.number, i);
            text += std::string(i > 0 ? ";" : "") + ' ' + (name.empty() ? integer(i + 1) : std::string(name)) + ": " +
                    shortest(model.values[static_cast<std::size_t>(i)]) + " (" +
                    bounds(model_parameter_limits(model.number, i)) + ")";
        }
        text += " |\n";
    };
    if (absorption) {
        for (const Model& model : ActualModelParameters())
            if (model.model_class == ModelClass::absorption) add_model(model.name, model);
    } else {
        for (const auto& [word, number] : action_tables::model_words) add_model(word, model_of_number(number));
    }
    return text;
}

TEST(FileFormats, ThePageSaysWhatTheTablesSay)
{
    const std::map<std::string, std::string> tables = {
        {"numerical settings", numerical_table()},
        {"quantities", quantity_table()},
        {"defects", defect_table()},
        {"metastable pairs", metastable_table()},
        {"interface defects", interface_table()},
        {"action lists", action_table()},
        {"light models", model_table(false)},
        {"absorption models", model_table(true)},
    };
    const auto file = std::filesystem::path(KOVIN_SOURCE_DIR) / "docs/file-formats.md";
    const std::string page = read_whole_file(file).value_or("");
    std::string renewed = page;
    for (const auto& [name, text] : tables) {
        const std::string head = "<!-- table " + name + " -->\n";
        const auto begin = renewed.find(head), end = renewed.find("<!-- end -->", begin);
        ASSERT_TRUE(begin != std::string::npos && end != std::string::npos) << name;
        renewed.replace(begin + head.size(), end - begin - head.size(), text);
    }
    const char* renew = std::getenv("KOVIN_RENEW_DOCS");
    if (renew != nullptr && *renew == '1') {
        ASSERT_TRUE(write_whole_file(file, renewed));
    } else {
        EXPECT_EQ(page, renewed) << "KOVIN_RENEW_DOCS=1 with this test brings docs/file-formats.md up to date";
    }
}

}  // namespace
}  // namespace kovin
