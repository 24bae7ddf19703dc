// A cell that uses every keyword: written, read, compared field by field at the written precision.
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "device/full_definition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

namespace kovin {
namespace {

/// Equal; numbers within half a unit of the last digit that a file has for them: four significant digits or, for the
/// energies of an interface, two behind the point. The numbers of the test have three.
template <class Value>
void same(const Value& found, const Value& expected, const char* what)
{
    if constexpr (std::is_same_v<Value, double>)
        EXPECT_NEAR(found, expected, 1e-12 + 1e-9 * std::abs(expected)) << what;
    else
        EXPECT_EQ(found, expected) << what;
}

void same(const Profile& a, const Profile& b, const char* what);
void same(const ContactParameters& a, const ContactParameters& b, const char* what);
void same(const OpticalCaptureProperties& a, const OpticalCaptureProperties& b, const char* what);

template <class Record, class... Field>
void same_fields(const Record& a, const Record& b, const char* what, Field Record::*... field)
{
    (same(a.*field, b.*field, what), ...);
}

void same(const Profile& a, const Profile& b, const char* what)
{
    using P = Profile;
    same_fields(a, b, what, &P::law, &P::dependence, &P::file, &P::quantity, &P::third_scaled, &P::fourth_scaled,
                &P::layer, &P::pure_A, &P::pure_B, &P::third, &P::fourth, &P::fifth, &P::left, &P::right,
                &P::thickness);
}

void same(const ContactParameters& a, const ContactParameters& b, const char* what)
{
    using P = ContactParameters;
    same_fields(a, b, what, &P::Sn, &P::Sp, &P::m_e, &P::m_h, &P::filter_value, &P::Fi_m, &P::flatband, &P::recalculate,
                &P::filter, &P::filter_constant, &P::filter_transmission, &P::tunneling, &P::filter_file);
}

void same(const AbsorptionModelSet& a, const AbsorptionModelSet& b, const char* what)
{
    same(a.Eg, b.Eg, what);
    for (std::size_t i = 0; i < a.models.size(); ++i) {
        same_fields(a.models[i], b.models[i], what, &Model::on, &Model::number);
        if (!b.models[i].on) continue;
        for (std::size_t k = 0; k < 5; ++k) same(a.models[i].values[k], b.models[i].values[k], what);
    }
}

void same(const OpticalCaptureProperties& a, const OpticalCaptureProperties& b, const char* what)
{
    using P = OpticalCaptureProperties;
    same_fields(a, b, what, &P::present, &P::file, &P::from_model);
    for (const auto& key : definition_tables::optical_keys) same(a.*key.field, b.*key.field, what);
}

void same(const BulkRecombinationParameters& a, const BulkRecombinationParameters& b, const char* what)
{
    using P = BulkRecombinationParameters;
    same_fields(a, b, what, &P::sigma_n, &P::sigma_p, &P::Ekar, &P::Ecor, &P::Et, &P::peak_to_total, &P::layer,
                &P::defect, &P::level, &P::levels, &P::metastable_transition, &P::metastable_role, &P::aard,
                &P::defectType, &P::energy_distribution, &P::reference, &P::correlation, &P::Nt, &P::electrons,
                &P::holes);
}

void same(const MetaStableDefectParameters& a, const MetaStableDefectParameters& b, const char* what)
{
    using P = MetaStableDefectParameters;
    same_fields(a, b, what, &P::present, &P::number, &P::Nt, &P::derived_energy, &P::reference,
                &P::initial_acceptor_configuration);
    for (const auto& key : definition_tables::metastable_keys)
        same(key.real ? a.*key.real : a.*key.whole, key.real ? b.*key.real : b.*key.whole, key.word.data());
}

void same(const LayerParameters& a, const LayerParameters& b, const char* what)
{
    same_fields(a, b, what, &LayerParameters::name, &LayerParameters::composition_mode, &LayerParameters::is_new,
                &LayerParameters::composition, &LayerParameters::srhteller);
    using M = MaterialParameters;
    same_fields(a.material, b.material, what, &M::composition_mode, &M::tunneling, &M::d);
    for (const QuantityRow& row : graded_quantities())
        same(a.material.*row.member, b.material.*row.member, row.word.data());
    const Absorption &A = a.material.absorption, &B = b.material.absorption;
    same_fields(A, B, what, &Absorption::grading, &Absorption::pure_A_from_file, &Absorption::pure_B_from_file,
                &Absorption::file_A, &Absorption::file_B);
    if (!B.pure_A_from_file) same(A.model_A, B.model_A, "models of pure A");
    if (!B.pure_B_from_file) same(A.model_B, B.model_B, "models of pure B");
    for (std::size_t k = 0; k < static_cast<std::size_t>(b.srhteller); ++k)
        for (std::size_t l = 0; l < static_cast<std::size_t>(b.srh[k][0].levels); ++l) {
            SCOPED_TRACE("defect " + std::to_string(k + 1) + ", level " + std::to_string(l + 1));
            same(a.srh[k][l], b.srh[k][l], "bulk defect");
        }
    for (std::size_t k = 0; k < a.metastable.size(); ++k) same(a.metastable[k], b.metastable[k], "metastable pair");
}

void same(const InterfaceParameters& a, const InterfaceParameters& b, const char* what)
{
    using I = InterfaceParameters;
    same_fields(a, b, what, &I::name, &I::tunneling, &I::m_e, &I::m_h, &I::defect_count);
    using P = InterfaceRecombinationParameters;
    for (std::size_t k = 0; k < static_cast<std::size_t>(b.defect_count); ++k)
        same_fields(a.defects[k], b.defects[k], what, &P::defectType, &P::energy_distribution, &P::reference,
                    &P::tunneling, &P::sigma_nleft, &P::sigma_nright, &P::sigma_pleft, &P::sigma_pright, &P::N,
                    &P::N_peak, &P::m_e, &P::m_h, &P::Et, &P::Ekar, &P::peak_to_total);
}

TEST(DefinitionRoundTrip, ACellWithEveryKeywordComesBack)
{
    Surroundings surroundings;
    const Definition d = full_definition();
    const std::string text = definition_text(d, "KOVIN", {});
    Definition read;
    ASSERT_TRUE(parse_definition(surroundings, text, "full.def", read)) << surroundings.report.messages.at(0).text;
    const CellParameters &a = read.input.cell.cell, &b = d.input.cell.cell;
    ASSERT_EQ(a.layers, b.layers);
    for (std::size_t i = 0; i < static_cast<std::size_t>(b.layers); ++i) {
        SCOPED_TRACE("layer or interface " + std::to_string(i + 1));
        same(a.layer[i], b.layer[i], "layer");
        if (i + 1 < static_cast<std::size_t>(b.layers)) same(a.interfaces[i], b.interfaces[i], "interface");
    }
    using C = CellParameters;
    same_fields(a, b, "cell", &C::left, &C::right, &C::voltage_reference, &C::reference_system, &C::voltage_sign,
                &C::current_sign);
    for (const auto& key : definition_tables::numerical_keys) {
        const auto value = [&](const Definition& x) {
            return key.real ? x.input.convergence.*key.real : x.input.convergence.*key.whole;
        };
        // Two digits behind the point in a file.
        EXPECT_NEAR(value(read), value(d), 0.0051 * std::abs(value(d))) << key.word;
    }
    EXPECT_EQ(read.input.convergence.flatband_with_defects, 0);
    EXPECT_EQ(read.input.convergence.maxiter_n, 345);
    EXPECT_EQ(read.NW, d.NW);
    EXPECT_EQ(read.qe, d.qe);
    EXPECT_TRUE(read.NW_from_file && read.IPV_Mode);
    using W = decltype(read.workPoint);
    same_fields(read.workPoint, d.workPoint, "working point", &W::lightFromRight, &W::Rfront, &W::Tfront, &W::RsPresent,
                &W::Rs, &W::GshPresent, &W::Gsh, &W::references_given);
    EXPECT_EQ(definition_text(read, "KOVIN", {}), text);
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
