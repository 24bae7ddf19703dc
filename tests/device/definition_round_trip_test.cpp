// A cell that uses every keyword: written, read, compared field by field at the written precision.
#include "device/definition_reader.h"
#include "device/definition_writer.h"
#include "device/full_definition.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

/// Equal within half a unit of the last digit that a file has for it: four significant digits or, for the energies
/// of an interface, two behind the point. The numbers of the test have three.
void near(double found, double expected, const char* what)
{
    EXPECT_NEAR(found, expected, 1e-12 + 1e-9 * std::abs(expected)) << what;
}

void same(const Profile& a, const Profile& b, const char* what)
{
    EXPECT_EQ(a.law, b.law) << what;
    EXPECT_EQ(a.dependence, b.dependence) << what;
    EXPECT_EQ(a.file, b.file) << what;
    EXPECT_EQ(a.quantity, b.quantity) << what;
    EXPECT_EQ(a.third_scaled, b.third_scaled) << what;
    EXPECT_EQ(a.fourth_scaled, b.fourth_scaled) << what;
    EXPECT_EQ(a.layer, b.layer) << what;
    for (double Profile::*field : {&Profile::pure_A, &Profile::pure_B, &Profile::third, &Profile::fourth,
                                   &Profile::fifth, &Profile::left, &Profile::right, &Profile::thickness})
        near(a.*field, b.*field, what);
}

void same(const ContactParameters& a, const ContactParameters& b)
{
    using P = ContactParameters;
    for (double P::*field : {&P::Sn, &P::Sp, &P::m_e, &P::m_h, &P::filter_value, &P::Fi_m})
        near(a.*field, b.*field, "contact");
    for (bool P::*flag :
         {&P::flatband, &P::recalculate, &P::filter, &P::filter_constant, &P::filter_transmission, &P::tunneling})
        EXPECT_EQ(a.*flag, b.*flag);
    EXPECT_EQ(a.filter_file, b.filter_file);
}

void same(const AbsorptionModelSet& a, const AbsorptionModelSet& b)
{
    near(a.Eg, b.Eg, "gap of the models");
    for (std::size_t i = 0; i < a.models.size(); ++i) {
        EXPECT_EQ(a.models[i].on, b.models[i].on);
        EXPECT_EQ(a.models[i].number, b.models[i].number);
        if (!b.models[i].on) continue;
        for (std::size_t k = 0; k < 5; ++k) near(a.models[i].values[k], b.models[i].values[k], "model");
    }
}

void same(const OpticalCaptureProperties& a, const OpticalCaptureProperties& b)
{
    EXPECT_EQ(a.present, b.present);
    EXPECT_EQ(a.file, b.file);
    EXPECT_EQ(a.from_model, b.from_model);
    for (const auto& key : definition_tables::optical_keys) near(a.*key.field, b.*key.field, "optical capture");
}

void same(const BulkRecombinationParameters& a, const BulkRecombinationParameters& b)
{
    using P = BulkRecombinationParameters;
    for (double P::*field : {&P::sigma_n, &P::sigma_p, &P::Ekar, &P::Ecor, &P::Et, &P::peak_to_total})
        near(a.*field, b.*field, "bulk defect");
    for (int P::*field : {&P::layer, &P::defect, &P::level, &P::levels, &P::metastable_transition, &P::metastable_role})
        EXPECT_EQ(a.*field, b.*field);
    EXPECT_EQ(a.aard, b.aard);
    EXPECT_EQ(a.defectType, b.defectType);
    EXPECT_EQ(a.energy_distribution, b.energy_distribution);
    EXPECT_EQ(a.reference, b.reference);
    EXPECT_EQ(a.correlation, b.correlation);
    same(a.Nt, b.Nt, "Nt");
    same(a.electrons, b.electrons);
    same(a.holes, b.holes);
}

void same(const LayerParameters& a, const LayerParameters& b)
{
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.composition_mode, b.composition_mode);
    EXPECT_EQ(a.material.composition_mode, b.material.composition_mode);
    EXPECT_EQ(a.is_new, b.is_new);
    EXPECT_EQ(a.material.tunneling, b.material.tunneling);
    near(a.material.d, b.material.d, "d");
    same(a.composition, b.composition, "composition");
    for (const QuantityRow& row : graded_quantities())
        same(a.material.*row.member, b.material.*row.member, row.word.data());
    const Absorption &A = a.material.absorption, &B = b.material.absorption;
    same(A.grading, B.grading, "absorption grading");
    EXPECT_EQ(A.pure_A_from_file, B.pure_A_from_file);
    EXPECT_EQ(A.pure_B_from_file, B.pure_B_from_file);
    EXPECT_EQ(A.file_A, B.file_A);
    EXPECT_EQ(A.file_B, B.file_B);
    if (!B.pure_A_from_file) same(A.model_A, B.model_A);
    if (!B.pure_B_from_file) same(A.model_B, B.model_B);
    ASSERT_EQ(a.srhteller, b.srhteller);
    for (std::size_t k = 0; k < static_cast<std::size_t>(b.srhteller); ++k)
        for (std::size_t l = 0; l < static_cast<std::size_t>(b.srh[k][0].levels); ++l) {
            SCOPED_TRACE("defect " + std::to_string(k + 1) + ", level " + std::to_string(l + 1));
            same(a.srh[k][l], b.srh[k][l]);
        }
    for (std::size_t k = 0; k < a.metastable.size(); ++k) {
        const MetaStableDefectParameters &p = a.metastable[k], &q = b.metastable[k];
        EXPECT_EQ(p.present, q.present);
        EXPECT_EQ(p.number, q.number);
        same(p.Nt, q.Nt, "metastable Nt");
        EXPECT_EQ(p.derived_energy, q.derived_energy);
        EXPECT_EQ(p.reference, q.reference);
        near(p.initial_acceptor_configuration, q.initial_acceptor_configuration, "initial configuration");
        for (const auto& key : definition_tables::metastable_keys)
            near(key.real ? p.*key.real : p.*key.whole, key.real ? q.*key.real : q.*key.whole, key.word.data());
    }
}

void same(const InterfaceParameters& a, const InterfaceParameters& b)
{
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.tunneling, b.tunneling);
    near(a.m_e, b.m_e, "m_e"), near(a.m_h, b.m_h, "m_h");
    ASSERT_EQ(a.defect_count, b.defect_count);
    for (std::size_t k = 0; k < static_cast<std::size_t>(b.defect_count); ++k) {
        using P = InterfaceRecombinationParameters;
        const P &p = a.defects[k], &q = b.defects[k];
        EXPECT_EQ(p.defectType, q.defectType);
        EXPECT_EQ(p.energy_distribution, q.energy_distribution);
        EXPECT_EQ(p.reference, q.reference);
        EXPECT_EQ(p.tunneling, q.tunneling);
        for (double P::*field : {&P::sigma_nleft, &P::sigma_nright, &P::sigma_pleft, &P::sigma_pright, &P::N,
                                 &P::N_peak, &P::m_e, &P::m_h, &P::Et, &P::Ekar, &P::peak_to_total})
            near(p.*field, q.*field, "interface defect");
    }
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
        SCOPED_TRACE("layer " + std::to_string(i + 1));
        same(a.layer[i], b.layer[i]);
    }
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(b.layers); ++i) {
        SCOPED_TRACE("interface " + std::to_string(i + 1));
        same(a.interfaces[i], b.interfaces[i]);
    }
    same(a.left, b.left);
    same(a.right, b.right);
    for (int CellParameters::*field : {&CellParameters::voltage_reference, &CellParameters::reference_system,
                                       &CellParameters::voltage_sign, &CellParameters::current_sign})
        EXPECT_EQ(a.*field, b.*field);
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
    EXPECT_FALSE(read.workPoint.lightFromRight);
    near(read.workPoint.Rfront, 0.25, "Rfront"), near(read.workPoint.Tfront, 0.75, "Tfront");
    EXPECT_TRUE(read.workPoint.RsPresent && read.workPoint.GshPresent && read.workPoint.references_given);
    near(read.workPoint.Rs, 1.25e-4, "Rs"), near(read.workPoint.Gsh, 2.5, "Gsh");
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
