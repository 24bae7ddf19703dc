#include "fuzz/targets.h"

#include "base/two_column_file.h"
#include "device/action_file.h"
#include "device/column_check.h"
#include "device/definition_check.h"
#include "device/definition_reader.h"
#include "device/definition_tables.h"
#include "device/definition_writer.h"
#include "device/file_check.h"
#include "device/quantities.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace kovin::fuzz {

namespace {

void promise(bool kept, const char* what)
{
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

bool between(int value, int low, int high) { return value >= low && value <= high; }

/// What everything above the reader relies on without looking again.
void promise_cell(const CellParameters& cell)
{
    promise(between(cell.layers, 1, max_layers), "layers");
    for (const LayerParameters& layer : cell.layer) {
        promise(std::isfinite(layer.material.d) && layer.material.d > 0.0, "thickness");
        for (const QuantityRow& row : graded_quantities()) {
            const Profile& p = layer.material.*row.member;
            promise(between(static_cast<int>(p.law), 0, 15) && between(static_cast<int>(p.dependence), 0, 2), "law");
            for (const double value : {p.pure_A, p.pure_B, p.third, p.fourth, p.fifth, p.left, p.right})
                promise(std::isfinite(value), "profile");
            promise(definition_tables::limits_of(row.quantity).hold(p.pure_A), "pure value");
        }
        promise(between(layer.srhteller, 0, max_defects), "defects");
        for (int k = 0; k < layer.srhteller; ++k) {
            const auto& levels = layer.srh[static_cast<std::size_t>(k)];
            promise(between(levels[0].levels, 1, max_levels), "levels");
            for (const auto& level : levels) promise(between(static_cast<int>(level.aard), 0, 6), "transition");
            promise(between(static_cast<int>(levels[0].energy_distribution), 0, 4), "distribution");
            promise(between(static_cast<int>(levels[0].reference), 0, 2), "reference");
            promise(std::isfinite(levels[0].peak_to_total) && levels[0].peak_to_total > 0.0, "peak to total");
        }
    }
    for (const LayerParameters& layer : cell.layer)
        for (const auto& pair : layer.metastable)
            promise(pair.donor_defect < max_defects && pair.acceptor_defect < max_defects, "metastable pair");
    for (const InterfaceParameters& interface : cell.interfaces)
        promise(between(interface.defect_count, 0, max_interface_defects), "interface defects");
}

}  // namespace

void definition(const std::string& bytes)
{
    Surroundings surroundings;
    const auto d = std::make_unique<Definition>();
    const bool taken = parse_definition(surroundings, bytes, "fuzz.def", *d);
    LineWatch watch;
    const auto watched = std::make_unique<Definition>(watch_definition(surroundings, bytes, "fuzz.def", watch));
    check_physical_sense(*watched, watch);
    if (!taken) {
        promise(!surroundings.report.messages.empty(), "a refused definition is told");
        promise(!watch.findings.empty(), "a check finds what a reader refuses");
        return;
    }
    promise_cell(d->input.cell.cell);
    // What was taken can be written and checked.
    for (const std::string& text : {definition_text(*d, "KOVIN", {}), SaveDefinitionFile(*d)})
        static_cast<void>(parse_definition(surroundings, text, "again.def", *watched));
    ActionPanel panel = InitialiseActionPanel();
    panel.workPoint.dark = panel.workPoint.spectrumFromFile = false;
    for_each_needed_file(d->input.cell.cell, panel, [](const NeededFile&, const auto& do_without) { do_without(); });
    promise(missing_files(surroundings, d->input.cell.cell, panel).empty(), "a repaired problem needs no file");
}

void action(const std::string& bytes)
{
    Surroundings surroundings;
    ActionPanel panel = InitialiseActionPanel();
    const bool taken = parse_action_list(surroundings, bytes, "fuzz.act", panel);
    promise(taken != !surroundings.report.messages.empty(), "told exactly if refused");
    LineWatch watch;
    static_cast<void>(watch_action_list(surroundings, bytes, "fuzz.act", watch));
    promise(std::isfinite(panel.workPoint.T) && panel.workPoint.T > 0.0, "temperature");
    promise(between(panel.actions.IV_points, 0, MAX_NUM_CALCULATION_STEPS), "points");
    if (!taken) return;
    ActionPanel again = InitialiseActionPanel();
    static_cast<void>(parse_action_list(surroundings, action_panel_text(panel), "again.act", again));
    static_cast<void>(second_work_point_text(panel));
}

void two_column(const std::string& bytes)
{
    constexpr FileKind kinds[] = {FileKind::spectrum,   FileKind::absorption,      FileKind::filter,
                                  FileKind::generation, FileKind::optical_capture, FileKind::grading,
                                  FileKind::value_list};
    if (bytes.empty()) return;
    const FileKind kind = kinds[static_cast<unsigned char>(bytes[0]) % std::size(kinds)];
    const std::string text = bytes.substr(1);
    TwoColumns rows;
    parse_two_columns(text, kind, rows);
    promise(rows.x.size() == rows.y.size() && rows.x.size() <= 2500u, "rows");
    for (std::size_t i = 0; i < rows.x.size(); ++i)
        promise(std::isfinite(rows.x[i]) && std::isfinite(rows.y[i]), "finite values");
    static_cast<void>(XYRemoveXDuplicatesAndSortX(rows.x, rows.y, 1));
    promise(std::is_sorted(rows.x.begin(), rows.x.end()), "order");
    promise(std::adjacent_find(rows.x.begin(), rows.x.end()) == rows.x.end(), "no abscissa twice");
    LineWatch watch;
    const int counted = check_columns(text, kind, watch);
    promise(kind == FileKind::value_list || (counted > 0) == !rows.x.empty(), "check and reader see the same rows");
}

}  // namespace kovin::fuzz
