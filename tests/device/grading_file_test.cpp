// Grading files: manners, ranges, faults; one physical profile by law, by file and by table.
#include "device/grading_file.h"

#include "base/scratch_folder.h"
#include "base/text_format.h"
#include "device/graded_values.h"
#include "device/grading.h"
#include "device/on_mesh.h"
#include "device/parameterset3.h"
#include "solver/mesh_first.h"
#include "support/uniform_layer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kovin {
namespace {

/// Two layers of 2 and 1 um; the tests grade the first.
InputParameters two_layers() { return test::cell_of({{.d = 2e-6, .Na = 1e22}, {.d = 1e-6, .Nd = 1e23}}); }

/// The cell on its first mesh.
OnMesh on_mesh(const InputParameters& set1, Mesh& mesh)
{
    CalculationParameters set3;
    parameterset1_to_3(set1, 330.0, set3);
    DefineKOVINMesh(set3, mesh);
    return set3.on;
}

void grade(Profile& p, Law law, Dependence dependence, double left, double right)
{
    p.law = law;
    p.dependence = dependence;
    p.left = p.pure_A = left;
    p.right = p.pure_B = right;
}

TEST(GradingFile, LawFileAndTableGiveTheSameBands)
{
    // Composition linear from 0.2 to 0.6 over 2 um, gap bowed; doping on x from 1e22 to 1e24 in ln; velocity linear.
    const ScratchFolder scratch;
    const auto set = [](InputParameters& set1) -> LayerParameters& {
        LayerParameters& layer = set1.cell.cell.layer[0];
        layer.composition_mode = 1;
        grade(layer.composition, Law::linear, Dependence::on_x, 0.2, 0.6);
        grade(layer.material.Eg, Law::parabolic, Dependence::on_y, 1.0, 1.7);
        layer.material.Eg.third = 0.3;
        layer.material.Eg.fourth = 0.1;
        grade(layer.material.Na, Law::logarithmic, Dependence::on_x, 1e22, 1e24);
        grade(layer.material.v_th_n, Law::linear, Dependence::on_x, 1e5, 3e5);
        return layer;
    };
    struct Row {
        const char* what;
        std::string composition, doping, velocity;  // files; empty: a table
    };
    const std::string lin = "> interpolation: lin\n", log = "> Interpolation : LOG\n", rel = "> position: rel\n";
    const Row rows[] = {
        {"absolute", lin + "0 0.2\n2 0.6\n", log + "> position: abs\n0 1e22\n2 1e24\n", "0 1e5\n1 2e5\n2 3e5\n"},
        {"relative", lin + rel + "0 0.2\n0.5 0.4\n1 0.6\n", log + "> thickness: rel\nx Na\n0 1e22\n1 1e24\n",
         rel + "0 1e5\n1 3e5\n"},
        {"beyond the rows the outermost line goes on", "0.5 0.3\n1.5 0.5\n", log + "1 1e23\n2 1e24\n",
         "0 1e5\n1 2e5\n"},
        {"settings anywhere in a line, behind any sign",
         "# composition: abs, Position : REL; range: this\n0 0.2\n1 0.6\n",
         "> Na(x), interpolation: log\n0 1e22\n2 1e24\n", "interpolation: lin, thickness: rel\n0 1e5\n1 3e5\n"},
        {"shared with nobody is this layer", rel + "> range: shared\n0 0.2\n1 0.6\n", log + rel + "0 1e22\n1 1e24\n",
         "> range: this\n0 1e5\n2 3e5\n"},
        {"table", "", "", ""},
    };
    InputParameters by_law = two_layers();
    set(by_law);
    Mesh mesh, other_mesh;
    const OnMesh expected = on_mesh(by_law, mesh);
    EXPECT_NEAR(expected.Eg[static_cast<std::size_t>(mesh.last[0])], 1.0 + 0.42 - 0.3 * 0.24, 1e-12);
    for (const Row& row : rows) {
        Surroundings surroundings;
        InputParameters set1 = two_layers();
        LayerParameters& layer = set(set1);
        const auto replace = [&](Profile& p, const std::string& name, const std::string& text) {
            if (text.empty()) {
                for (int i = 0; i <= 4000; ++i) p.table_x.push_back(i * 0.0005);
                p.table_y.resize(p.table_x.size());
                evaluate_profile(p, p.table_x, 2.0, p.table_y);
                p.table_log = p.law == Law::logarithmic;
                p.law = Law::table;
            } else {
                p.law = Law::from_file;
                p.file = scratch.put(name, text).string();
            }
            p.left = p.right = 0.0;  // stale
        };
        replace(layer.composition, "y.grad", row.composition);
        replace(layer.material.Na, "Na.grad", row.doping);
        replace(layer.material.v_th_n, "v.grad", row.velocity);
        ASSERT_TRUE(load_grading_files(surroundings, set1.cell)) << row.what;
        ASSERT_TRUE(graded_values_hold(surroundings.report, set1.cell)) << row.what;
        const OnMesh found = on_mesh(set1, other_mesh);
        ASSERT_EQ(found.Eg.size(), expected.Eg.size()) << row.what << ": the ends give the same scales";
        for (std::size_t i = 0; i < expected.Eg.size(); ++i) {
            EXPECT_NEAR(found.Eg[i], expected.Eg[i], 1e-10) << row.what << ' ' << i;
            EXPECT_NEAR(found.Na[i], expected.Na[i], 1e-9 * expected.Na[i]) << row.what << ' ' << i;
            EXPECT_NEAR(found.vth_n[i], expected.vth_n[i], 1e-10 * expected.vth_n[i]) << row.what << ' ' << i;
            EXPECT_NEAR(found.Gp[i], expected.Gp[i], 1e-8) << row.what << ' ' << i;
        }
    }
}

TEST(GradingFile, DefectDensityAndSharedRange)
{
    // One file over both layers, relative to their 3 um: 1e20 to 4e20 m^-3; the levels are in units of each layer's N0.
    const ScratchFolder scratch;
    Surroundings surroundings;
    InputParameters set1 = two_layers();
    CellParameters& cell = set1.cell.cell;
    for (std::size_t j = 0; j < 2; ++j) {
        Profile& Nt = test::add_defect(cell.layer[j], DefectType::donor, EnergyDistribution::single, 0.5, 1e20).Nt;
        grade(Nt, Law::from_file, Dependence::on_x, 0.0, 0.0);
        Nt.file = scratch.put("Nt.grad", "> position: rel\n> range: shared\n0 1e20\n1 4e20\n").string();
    }
    // Alone in its layer the file tells that it wanted company.
    InputParameters other = set1;
    other.cell.cell.layer[1].srh[0][0].Nt.file = scratch.put("other.grad", "0 1e20\n1 1e20\n").string();
    ASSERT_TRUE(load_grading_files(surroundings, other.cell));
    ASSERT_EQ(surroundings.report.messages.size(), 1u);
    EXPECT_NE(surroundings.report.messages[0].text.find("no layer beside it names it for Nt of defect 1"),
              std::string::npos);
    surroundings.report.messages.clear();
    // The second layer has a defect on composition too: its file holds compositions.
    cell.layer[1].composition_mode = 1;
    grade(cell.layer[1].composition, Law::linear, Dependence::on_x, 0.0, 1.0);
    Profile& on_y = test::add_defect(cell.layer[1], DefectType::donor, EnergyDistribution::single, 0.5, 1e20).Nt;
    grade(on_y, Law::from_file, Dependence::on_y, 0.0, 0.0);
    on_y.file = scratch.put("Nt_y.grad", "0 1e19\n0.5 5e19\n1 1e19\n").string();
    ASSERT_TRUE(load_grading_files(surroundings, set1.cell));
    EXPECT_TRUE(surroundings.report.messages.empty()) << "the rows cover both layers";
    CalculationParameters set3;
    Mesh mesh;
    parameterset1_to_3(set1, 300.0, set3);
    DefineKOVINMesh(set3, mesh);
    for (std::size_t j = 0; j < 2; ++j) {
        const auto first = static_cast<std::size_t>(mesh.first[j]), n = static_cast<std::size_t>(mesh.n_in_layer[j]);
        std::vector<double> Nt(n), Nt_y(n);
        Full_Nt_x_Dependence(set3, mesh, j, set3.layer[j].srh[0][0], 0.5, Nt);
        if (j == 1) Full_Nt_x_Dependence(set3, mesh, j, set3.layer[j].srh[1][0], 1.0, Nt_y);
        for (std::size_t k = 0; k < n; k += 7) {
            const double x = mesh.x_um[first + k];
            EXPECT_NEAR(Nt[k] * set3.scale.N0[j], 0.5 * (1e20 + 1e20 * x), 1e12);
            if (j == 1) {
                EXPECT_NEAR(Nt_y[k] * set3.scale.N0[1], 5e19 - 8e19 * std::fabs(x - 2.5), 1e12);
            }
        }
    }
}

TEST(GradingFile, BrokenFilesAreToldAndNothingElseHappens)
{
    const ScratchFolder scratch;
    const std::string head = "> position: rel\n";
    struct Row {
        const char *what, *told;
        std::string text;
        bool usable = false;
    };
    const Row rows[] = {
        {"head only", "No useful data", head},
        {"a row is cut", "line 3: two numbers", head + "0 0.2\n0.5"},
        {"the first row is none", "line 2: two numbers", head + "0 inf\n0.5 0.2\n1 0.3\n"},
        {"falls", "line 4: Unsorted data in ", head + "0 0.2\n0.5 0.3\n0.4 0.3\n"},
        {"stands still",
         "!\nposition values should be given in an increasing order.\nvalue[1]=0 should be larger than value[0]=0!",
         head + "0 0.2\n0 0.3\n"},
        {"negative", "line 2: the value -0.2", head + "0 -0.2\n1 0.3\n"},
        {"no composition", "line 3: the value 1.5", head + "0 0.2\n1 1.5\n"},
        {"unknown manner", "line 1: \"> interpolation: cubic\" sets nothing", "> interpolation: cubic\n0 0.2\n2 0.3\n",
         true},
        {"a heading of the columns", nullptr, "> position: um, composition: -\n0 0.2\n2 0.3\n", true},
    };
    const auto load = [&](Surroundings& surroundings, const std::string& name) {
        InputParameters set1 = two_layers();
        Profile& y = set1.cell.cell.layer[0].composition;
        grade(y, Law::from_file, Dependence::on_x, 0.0, 0.0);
        y.file = name.empty() ? name : (scratch.path() / name).string();
        return load_grading_files(surroundings, set1.cell);
    };
    for (const Row& row : rows) {
        Surroundings surroundings;
        scratch.put("f.grad", row.text);
        EXPECT_EQ(load(surroundings, "f.grad"), row.usable) << row.what;
        ASSERT_EQ(surroundings.report.messages.empty(), row.told == nullptr) << row.what;
        if (row.told == nullptr) continue;
        const std::string& told = surroundings.report.messages.back().text;
        EXPECT_NE(told.find(row.told), std::string::npos) << row.what << ": " << told;
        EXPECT_NE(told.find("f.grad"), std::string::npos) << row.what << ": " << told;
    }
    for (const char* name : {"missing.grad", ""}) {
        Surroundings surroundings;
        EXPECT_FALSE(load(surroundings, name)) << name;
        EXPECT_FALSE(surroundings.report.messages.empty()) << name;
    }
}

TEST(GradingFile, ContinuationOnCompositionIsTold)
{
    const ScratchFolder scratch;
    for (const bool covers : {true, false}) {
        Surroundings surroundings;
        InputParameters set1 = two_layers();
        LayerParameters& layer = set1.cell.cell.layer[0];
        layer.composition_mode = 1;
        grade(layer.composition, Law::from_file, Dependence::on_x, 0.2, 0.6);
        layer.composition.file = scratch.put("y.grad", "0 0.2\n1 0.1\n2 0.6\n").string();
        grade(layer.material.Eg, Law::from_file, Dependence::on_y, 1.0, 1.7);
        layer.material.Eg.file = scratch.put("Eg.grad", covers ? "0.1 1\n0.6 1.5\n" : "0.2 1\n0.6 1.5\n").string();
        ASSERT_TRUE(load_grading_files(surroundings, set1.cell));
        ASSERT_EQ(surroundings.report.messages.empty(), covers);
        if (covers) continue;
        EXPECT_NE(surroundings.report.messages[0].text.find("from 0.1 to 0.6"), std::string::npos);
        scratch.put("Eg.grad", "0.6 1\n0.1 1.5\n");
        EXPECT_FALSE(load_grading_files(surroundings, set1.cell));
        EXPECT_NE(surroundings.report.messages.back().text.find("\ncomposition values should be given"),
                  std::string::npos);
    }
}

/// Eg from a table on a composition that rises from 0 to 0.5.
void table_on_composition(LayerParameters& l, const std::vector<double>& y, const std::vector<double>& Eg)
{
    l.composition_mode = 1;
    grade(l.composition, Law::linear, Dependence::on_x, 0.0, 0.5);
    grade(l.material.Eg, Law::table, Dependence::on_y, 1.0, 1.0);
    l.material.Eg.table_x = y, l.material.Eg.table_y = Eg;
}

TEST(GradedValues, WhatNoMaterialHasIsToldByLayerAndPlace)
{
    struct Row {
        const char* what;
        void (*change)(LayerParameters&);
        const char* told;  // nullptr: nothing is wrong
    };
    const Row rows[] = {
        {"uniform", [](LayerParameters&) {}, nullptr},
        {"electrons that do not move", [](LayerParameters& l) { test::set_uniform(l.material.mu_n, 0.0); },
         "Layer 2 (): mu_n by law 0 (uniform) is 0 at x = 0 um"},
        {"negative affinity", [](LayerParameters& l) { test::set_uniform(l.material.chi, -0.5); }, nullptr},
        {"bowing below zero",
         [](LayerParameters& l) {
             l.composition_mode = 1;
             grade(l.composition, Law::linear, Dependence::on_x, 0.0, 1.0);
             grade(l.material.Eg, Law::parabolic, Dependence::on_y, 1.0, 1.0);
             l.material.Eg.third = 5.0, l.material.Eg.fourth = -1.0;
         },
         "Layer 2 (): Eg by law 2 (parabolic)"},
        {"composition above one",
         [](LayerParameters& l) {
             grade(l.composition, Law::parabolic_2, Dependence::on_x, 0.2, 0.3);
             l.composition.third = 0.123, l.composition.fourth = 1.00001;
         },
         "composition by law 9 (parabolic 2) is 1.00001 at x = 0.123 um"},
        {"negative density",
         [](LayerParameters& l) {
             grade(test::add_defect(l, DefectType::donor, EnergyDistribution::single, 0.5, 1e20).Nt, Law::exponential,
                   Dependence::on_x, 1e20, 1e20);
             l.srh[0][0].Nt.third = -1e19, l.srh[0][0].Nt.fourth = l.srh[0][0].Nt.fifth = 0.01;
         },
         "Nt of defect 1 by law 4"},
        {"one row of a table on composition",
         [](LayerParameters& l) {
             table_on_composition(l, {0.0, 0.2, 0.20001, 0.20002, 1.0}, {1.0, 1.0, 0.0, 1.0, 1.0});
         },
         "Eg by law 13 (table) is 0 at x = "},
        {"a row that the layer does not reach",
         [](LayerParameters& l) {
             table_on_composition(l, {0.0, 0.6, 0.7, 1.0}, {1.0, 1.0, 0.0, 1.0});
         },
         nullptr},
        {"a table without rows",
         [](LayerParameters& l) { grade(l.material.Nd, Law::table, Dependence::on_x, 1e20, 1e20); }, "has no rows"},
    };
    for (const Row& row : rows) {
        Report report;
        InputParameters set1 = two_layers();
        row.change(set1.cell.cell.layer[1]);
        EXPECT_EQ(graded_values_hold(report, set1.cell), row.told == nullptr) << row.what;
        ASSERT_EQ(report.messages.size(), row.told == nullptr ? 0u : 1u) << row.what;
        if (row.told != nullptr) {
            EXPECT_NE(report.messages[0].text.find(row.told), std::string::npos) << report.messages[0].text;
        }
    }
}

}  // namespace
}  // namespace kovin
