// A cell that uses every keyword: written, read and written again, with the fields that no line holds by itself.
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "device/full_definition.h"
#include "device/grading.h"
#include "device/line_check.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

/// Equal but for the rounding of a decimal number of three digits, which is what the cell has.
void same(double found, double expected, const std::string& what)
{
    EXPECT_NEAR(found, expected, 1e-12 + 1e-9 * std::abs(expected)) << what;
}

/// All lines of both cells are the same; here stands what follows from several of them.
void same_derived_fields(const LayerParameters& a, const LayerParameters& b)
{
    EXPECT_FALSE(a.is_new);
    EXPECT_EQ(a.composition_mode, b.composition_mode);
    EXPECT_EQ(a.material.composition_mode, b.material.composition_mode);
    EXPECT_EQ(a.material.name, b.material.name);
    EXPECT_EQ(a.material.absorption.model_A.Eg, b.material.absorption.model_A.Eg);
    EXPECT_EQ(a.material.absorption.model_B.Eg, b.material.absorption.model_B.Eg);
    const auto same_profile = [](const Profile& found, const Profile& expected, const std::string& what) {
        EXPECT_EQ(found.third_scaled, expected.third_scaled) << what;
        EXPECT_EQ(found.fourth_scaled, expected.fourth_scaled) << what;
        EXPECT_EQ(found.quantity, expected.quantity) << what;
        same(found.thickness, expected.thickness, what);
    };
    for (const QuantityRow& row : graded_quantities())
        same_profile(a.material.*row.member, b.material.*row.member, std::string(row.word));
    for (std::size_t k = 0; k < a.srh.size(); ++k)
        for (std::size_t l = 0; l < static_cast<std::size_t>(b.srh[k][0].levels); ++l) {
            const BulkRecombinationParameters &found = a.srh[k][l], &expected = b.srh[k][l];
            const std::string where = "defect " + std::to_string(k + 1) + ", level " + std::to_string(l + 1);
            same_profile(found.Nt, expected.Nt, where);
            same(found.Nt.pure_A, expected.Nt.pure_A, where);
            same(found.peak_to_total, expected.peak_to_total, where);
            EXPECT_EQ(found.defectType, expected.defectType) << where;
            EXPECT_EQ(found.aard, expected.aard) << where;
            EXPECT_EQ(found.metastable_transition, expected.metastable_transition) << where;
            EXPECT_EQ(found.metastable_role, expected.metastable_role) << where;
        }
}

TEST(DefinitionRoundTrip, ACellWithEveryKeywordComesBack)
{
    Surroundings surroundings;
    const Definition d = full_definition();
    const std::string text = definition_text(d, "KOVIN", {});
    Definition read;
    ASSERT_TRUE(parse_definition(surroundings, text, "full.def", read)) << surroundings.report.messages.at(0).text;
    EXPECT_EQ(definition_text(read, "KOVIN", {}), text);
    const CellParameters &a = read.input.cell.cell, &b = d.input.cell.cell;
    for (std::size_t i = 0; i < static_cast<std::size_t>(b.layers); ++i) {
        SCOPED_TRACE("layer or interface " + std::to_string(i + 1));
        same_derived_fields(a.layer[i], b.layer[i]);
        if (i + 1 == static_cast<std::size_t>(b.layers)) break;
        for (std::size_t k = 0; k < static_cast<std::size_t>(b.interfaces[i].defect_count); ++k)
            same(a.interfaces[i].defects[k].N_peak, b.interfaces[i].defects[k].N_peak, "N_peak");
    }
    EXPECT_EQ(a.voltage_sign, b.voltage_sign);
    EXPECT_EQ(a.current_sign, b.current_sign);
    EXPECT_EQ(read.input.convergence.maxiter_n, 345);
    EXPECT_EQ(read.NW, d.NW);
    EXPECT_EQ(read.qe, d.qe);
    EXPECT_TRUE(read.NW_from_file && read.IPV_Mode && read.workPoint.references_given);
    // What the writer says twice for older versions, and every unit that it writes, is in order.
    LineWatch watch;
    static_cast<void>(watch_definition(surroundings, text, "full.def", watch));
    check_repeats(watch), check_units(watch);
    for (const auto& [line, finding] : watch.findings) ADD_FAILURE() << line << ": " << finding;
}

// A minimum of 0.7 lifts the left end of a parabola that starts at 0.3: the file holds the parabola.
TEST(DefinitionRoundTrip, AParabolaAboveItsMinimumKeepsItsShape)
{
    Surroundings surroundings;
    Definition d = full_definition(), read;
    LayerParameters& layer = d.input.cell.cell.layer[0];
    Profile& Eg = layer.material.Eg;
    Eg.law = Law::parabolic, Eg.dependence = Dependence::on_x;
    Eg.left = 0.3, Eg.right = 1.9, Eg.third = 0.8, Eg.fourth = 0.7;
    recalculate_ends(layer);
    ASSERT_TRUE(parse_definition(surroundings, definition_text(d, "KOVIN", {}), "x.def", read));
    const double um = layer.material.d * 1e6, middle = 0.5 * um;
    double value = 0.0;
    evaluate_profile(read.input.cell.cell.layer[0].material.Eg, std::span(&middle, 1), um, std::span(&value, 1));
    EXPECT_NEAR(value, 0.9, 1e-6);
}

// What files do not bring back; each is how files of all versions are.
TEST(DefinitionRoundTrip, KnownLosses)
{
    Surroundings surroundings;
    Definition d = full_definition(), read;
    d.input.cell.cell.left.recalculate = true;  // the line repeats the flat-band setting, which is off
    d.NW.order_edges = 2;                       // written without the blank that is asked for
    auto& levels = d.input.cell.cell.layer[0].srh[1];
    for (auto& level : levels) level.degeneracy_one = true;  // swallows the density profile behind it
    for (auto& level : levels) level.Nt.pure_A = 1.25e21;
    ASSERT_TRUE(parse_definition(surroundings, definition_text(d, "KOVIN", {}), "x.def", read));
    EXPECT_FALSE(read.input.cell.cell.left.recalculate);
    EXPECT_EQ(read.NW.order_edges, 1);
    const BulkRecombinationParameters& level = read.input.cell.cell.layer[0].srh[1][0];
    EXPECT_TRUE(level.degeneracy_one);
    // Built anew from the lines of the oldest form, which have four digits.
    EXPECT_NEAR(level.Nt.pure_A / levels[0].Nt.pure_A, 1.0, 1e-3);
}

}  // namespace
}  // namespace kovin
