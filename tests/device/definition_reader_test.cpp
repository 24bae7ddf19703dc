// What a definition file means: rules that several lines, old forms or the user's own words are about.
#include "device/definition_reader.h"
#include "base/line_file.h"
#include "base/text_scan.h"
#include "device/definition_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>

namespace kovin {
namespace {

const std::string layer = "layer\n\nname : absorber\nd : 1e-6 [m]\n";
const std::string end = "front contact\n\nSn : 1e5\nworking point\n";

/// The cell of `text`; the test fails if it is refused.
Definition read(const std::string& text)
{
    Surroundings surroundings;
    Definition d;
    const bool taken = parse_definition(surroundings, text, "x.def", d);
    EXPECT_TRUE(taken) << (taken ? "" : surroundings.report.messages.at(0).text);
    return d;
}
const LayerParameters& first_layer(const Definition& d) { return d.input.cell.cell.layer[0]; }

TEST(DefinitionReader, LineEndsBytesAndLocaleChangeNothing)
{
    const auto file = std::filesystem::path(KOVIN_SOURCE_DIR) / "home" / "def" / "cigs-baseline.def";
    std::string text = *read_whole_file(file), windows;
    text.replace(text.find("p-CIGS"), 6,
                 "\xB5"
                 "m-\xE9");  // Latin-1, no UTF-8
    for (const char c : text) windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::string expected = definition_text(read(text), "KOVIN", {});
    EXPECT_NE(expected.find("name : \xB5"
                            "m-\xE9\n"),
              std::string::npos);
    EXPECT_EQ(definition_text(read(windows), "KOVIN", {}), expected);
    EXPECT_EQ(definition_text(read("\xEF\xBB\xBF" + text), "KOVIN", {}), expected);
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* name : {"de_DE.UTF-8", "nl_BE.UTF-8", "fr_FR.utf8"})
        if (std::setlocale(LC_ALL, name)) {
            EXPECT_EQ(definition_text(read(text), "KOVIN", {}), expected);
        }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(DefinitionReader, WhatMayStandAroundANumber)
{
    constexpr double refused = -1.0;
    struct Row {
        const char* line;
        double Sn;
    };
    std::vector<Row> rows = {// units, remarks, indented lines
                             {"Sn : 2e5 [m/s]", 2e5},
                             {"  \tSn:2e5[m/s]", 2e5},
                             {"Sn [m/s] : 2e5", 2e5},
                             {"Sn [m/s] = 2.e+5 m/s", 2e5},
                             {"sn 2E5 (10^5 to 3 x 10^5)", 2e5},
                             {"Sn : +2e5, as measured - see 2", 2e5},
                             {"Sn : 2e5 \xC2\xB1 10", 2e5},
                             {"Sn : 2e5 x is free, 3 eV", 2e5},
                             {"Sn : 2e5 2e6 2e7", 2e5},
                             {"Sn : 50 % of 4e5", 50.0},
                             {"Sn : 3 /s", 3.0}};
    // What would be read as another number than was meant.
    constexpr const char* refused_lines[] = {
        "Sn : 2*10^5",         "Sn : 2 * 10", "Sn : 10^5",    "Sn : 2 10^5",  "Sn : 10 ^5",
        "Sn : 2 e5",           "Sn : 2e 5",   "Sn : 2 x 1e5", "Sn : 2 x10^5", "Sn : 2 \xC3\x97 10",
        "Sn : 2\xC3\x97 10^5", "Sn : 1'000",  "Sn : 1,5",     "Sn : 1/2",     "Sn : 1e5-2e5",
        "Sn : \xE2\x88\x92 4", "Sn : - 4",    "Sn : ~4"};
    for (const char* line : refused_lines) rows.push_back({line, refused});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Surroundings surroundings;
        Definition d;
        const std::string text = "back contact\n" + std::string(row.line) + "\nlayer\nd : 1e-6\n" + end;
        ASSERT_EQ(parse_definition(surroundings, text, "x.def", d), row.Sn != refused);
        if (row.Sn != refused)
            EXPECT_EQ(d.input.cell.cell.left.Sn, row.Sn);
        else
            EXPECT_EQ(surroundings.report.messages.at(0).text.rfind("x.def, line 2: Sn = \"", 0), 0u);
    }
    // The levels of a defect: none of their numbers may be cut.
    const std::string levels = "layer\nd : 1e-6\nsrhrecombination\ntype : amphoteric ( 2 level(s) )\n";
    Surroundings surroundings;
    Definition d;
    EXPECT_FALSE(parse_definition(surroundings, levels + "Et : 0.5 \u22120.3\n" + end, "x.def", d));
    EXPECT_EQ(first_layer(read(levels + "Et: 0.5, -.3 [eV]\n" + end)).srh[0][1].Et, -0.3);
    EXPECT_EQ(first_layer(read("layer\nd : 1e-6\nv_th: 3e4\n" + end)).material.v_th_p.pure_A, 3e4);
}

TEST(DefinitionReader, NamesMayHoldSectionWords)
{
    const Definition d = read(
        "layer\nname : front contact: layer next\nd : 1e-6\nabsorptionmodel pure A material (y=0) : from file\n"
        "absorptionfile pure A material (y=0) : working point.abs\ninterface properties\n"
        "interfacename : spectrumfile\nlayer\nname : interface recombination\nd : 2e-6\n" +
        end);
    ASSERT_EQ(d.input.cell.cell.layers, 2);
    EXPECT_EQ(first_layer(d).name, "front contact: layer next");
    EXPECT_EQ(first_layer(d).material.absorption.file_A, "working point.abs");
    EXPECT_EQ(d.input.cell.cell.interfaces[0].name, "spectrumfile");
}

TEST(DefinitionReader, ProfileLinesOfAllAges)
{
    struct Row {
        const char* line;
        double pure_B, fourth, fifth, right;
        Law law;
        Dependence dependence;
    };
    constexpr Row rows[] = {
        {"Eg : 1.5 [eV]", 1.5, 1, 1, 1.5, Law::uniform, Dependence::uniform},
        {"Eg : 1.5 eV", 1.5, 1, 1, 1.5, Law::uniform, Dependence::uniform},
        {"Eg : 1.5 /cm^-3 at 300 K", 1.5, 1, 1, 1.5, Law::uniform, Dependence::uniform},
        {"Eg : 1.5 1.7 0.2 0.3 1.5 1.7", 1.5, 1, 1, 1.5, Law::uniform, Dependence::uniform},
        {"Eg : 1.5 1.7 0.2 0.3 1.5 1.7 2 eV", 1.7, 0.3, 0.3, 1.7, Law::parabolic, Dependence::on_y},
        {"Eg : 1.5 1.7 0.2 0.3 1.5 1.7 2 [eV]", 1.7, 0.3, 0.3, 1.7, Law::parabolic, Dependence::on_y},
        {"Eg : 1.5 1.7 0.2 0.3 0.4 1.5 1.7 4 [eV]", 1.7, 0.3, 0.4, 1.7, Law::exponential, Dependence::on_y},
        {"Eg : 1.5 1.7 0.2 0.3 -2.0 1.5 1.7 9 1 [eV]", 1.7, 0.3, -2.0, 1.7, Law::parabolic_2, Dependence::on_x},
        {"Eg : 1.5 1.7 0.2 0.3 0.4 1.5 1.7 12 1\tC:\\g\\my gap.grad\t[eV]", 1.7, 0.3, 0.4, 1.7, Law::from_file,
         Dependence::on_x},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const Definition d = read(layer + row.line + "\n" + end);
        const Profile& Eg = first_layer(d).material.Eg;
        EXPECT_EQ(Eg.pure_A, 1.5);
        EXPECT_EQ(Eg.pure_B, row.pure_B);
        EXPECT_EQ(Eg.fourth, row.fourth);
        EXPECT_EQ(Eg.fifth, row.fifth);
        EXPECT_EQ(Eg.right, row.right);
        EXPECT_EQ(Eg.law, row.law);
        EXPECT_EQ(Eg.dependence, row.dependence);
        EXPECT_EQ(Eg.file, row.law == Law::from_file ? "C:/g/my gap.grad" : "");
        EXPECT_DOUBLE_EQ(first_layer(d).material.absorption.grading.pure_B, 1239.977 / row.pure_B);
    }
}

TEST(DefinitionReader, FilesOlderThanTheTunnelSwitchesOpenThePathsTheyUse)
{
    const std::string tunnel = "back contact\nTunneling to contact : 1\n" + layer + "Tunneling in layer: 1\n" +
                               "interface recombination\ntype : neutral\nTunneling to trap: 1\n" + layer + end;
    const auto& opened = read(tunnel).input.convergence;
    EXPECT_TRUE(opened.Tunnelcontact_allowed && opened.Tunnelintraband_allowed && opened.Tunneliface_allowed);
    EXPECT_FALSE(opened.TunnelBtoB_allowed);
    const Definition closed = read("convergence\nTunnelBtoB_allowed : 0\n" + tunnel);
    EXPECT_FALSE(closed.input.convergence.Tunnelcontact_allowed || closed.input.convergence.Tunnelintraband_allowed);
    // ... and a save does not open them.
    EXPECT_FALSE(read(definition_text(closed, "KOVIN", {})).input.convergence.Tunnelcontact_allowed);
}

TEST(DefinitionReader, DefectsOfTheOldestFiles)
{
    struct Row {
        const char* lines;
        EnergyDistribution distribution;
        Law law;
        Dependence dependence;
        double left, right, decay_um;  ///< of the density profile [m^-3], [um]
        bool degeneracy_one;
    };
    using enum EnergyDistribution;
    constexpr Row rows[] = {
        {"Nleft : 2e20\n", single, Law::uniform, Dependence::uniform, 2e20, 2e20, 1, false},
        {"profile : homogenous\nNright : 3e20\n", single, Law::uniform, Dependence::uniform, 3e20, 3e20, 1, false},
        {"profile : linear\nNleft : 1e20\nNright : 3e20\n", single, Law::linear, Dependence::on_x, 1e20, 3e20, 1,
         false},
        {"profile : exponential\nLkar : 2e-7\nNleft : 1e20\nNright : 3e20\n", single, Law::exponential,
         Dependence::on_x, 1e20, 3e20, 0.2, false},
        // Peaks per eV: a tail of characteristic energy W holds W times its peak.
        {"tailtype : valenceband\nEkar : 0.05\nNleft : 1e21\n", VB_tail, Law::uniform, Dependence::uniform, 5e19, 5e19,
         1, false},
        {"energy distribution : tail\ntailtype : conductionband\nEkar : 0.05\nNleft : 1e21\n", CB_tail, Law::uniform,
         Dependence::uniform, 5e19, 5e19, 1, false},
        // ... and a Gaussian sqrt(pi) W times its peak.
        {"energy distribution : gauss\nEkar : 0.1\nNleft : 5.641895835e20\nNright : 5.641895835e20\n", gauss,
         Law::uniform, Dependence::uniform, 1e20, 1e20, 1, false},
        {"Nt(uniform) : 5e20\nNleft : 2e20\n", single, Law::uniform, Dependence::uniform, 5e20, 5e20, 1, false},
        // Written without a line end: the profile is lost, the old lines behind it bring it back.
        {"degeneracy factors equal oneNt(uniform) : 5e20\nNleft : 4e20\n", single, Law::uniform, Dependence::uniform,
         4e20, 4e20, 1, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.lines);
        const Definition d = read(layer + "srhrecombination\ntype : donor\n" + row.lines + "right contact\nSn : 1e5\n" +
                                  "working point\n");
        const auto& level = first_layer(d).srh[0][0];
        EXPECT_EQ(level.energy_distribution, row.distribution);
        EXPECT_EQ(level.Nt.law, row.law);
        EXPECT_EQ(level.Nt.dependence, row.dependence);
        EXPECT_NEAR(level.Nt.left, row.left, 1e-9 * row.left);
        EXPECT_NEAR(level.Nt.right, row.right, 1e-9 * row.right);
        EXPECT_NEAR(level.Nt.fourth, row.decay_um, 1e-12);
        EXPECT_EQ(level.degeneracy_one, row.degeneracy_one);
    }
}

TEST(DefinitionReader, InterfaceDefectsOfTheOldestFiles)
{
    struct Row {
        const char* lines;
        EnergyReference reference;
        EnergyDistribution distribution;
        double N, N_peak;
    };
    using enum EnergyDistribution;
    using enum EnergyReference;
    constexpr Row rows[] = {
        {"N : 1e14\n", above_EV_left, single, 1e14, 1e14},
        {"Reference for defect energy : 1\nN : 1e14\n", above_highest_EV, single, 1e14, 1e14},
        {"tailtype : valenceband\nEkar : 0.05\nN : 2e15\n", above_EV_left, VB_tail, 2e15, 1e14},
        // Lines that are not known, whatever they begin with; one with n counts if it has a number.
        {"N : 1e14\nnote : see there\nNobody : nan\nn_max : -3\nnothing\nwhatever : 5\n", above_EV_left, single, 1e14,
         1e14},
        {"N : 1e14\nnumber : 3e14 /m2\n", above_EV_left, single, 3e14, 3e14},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.lines);
        const Definition d = read(layer + "interface recombination\ntype : acceptor\n" + row.lines + layer + end);
        const auto& defect = d.input.cell.cell.interfaces[0].defects[0];
        EXPECT_EQ(defect.defectType, DefectType::acceptor);
        EXPECT_EQ(defect.reference, row.reference);
        EXPECT_EQ(defect.energy_distribution, row.distribution);
        EXPECT_DOUBLE_EQ(defect.N, row.N);
        EXPECT_DOUBLE_EQ(defect.N_peak, row.N_peak);
    }
}

TEST(DefinitionReader, MetastablePairsOfAllAges)
{
    const std::string defects = "srhrecombination\ntype : donor\nnext\ntype : acceptor\n";
    const Definition d = read(layer + defects +
                              "Metastable properties\nNt(x) : 3e20\nDonorDefect : 1\n"
                              "UserDefined Activation Energies : 1 1 0\n"
                              "Metastable properties: transition 7\nAcceptorDefect : 0\n" +
                              end);
    const MetaStableDefectParameters& pair = first_layer(d).metastable[0];
    EXPECT_TRUE(pair.present);
    EXPECT_FALSE(first_layer(d).metastable[1].present) << "a transition that is none is the first";
    EXPECT_EQ(pair.Nt.right, 3e20);
    EXPECT_EQ(pair.donor_defect, 1);
    EXPECT_EQ(pair.acceptor_defect, 0);
    EXPECT_EQ(pair.derived_energy, (std::array{true, true, false, false, true})) << "the last two as they were";
}

TEST(DefinitionReader, LinesOfTheOldestLayers)
{
    const Definition d = read(
        "left contact\nSn : 7\nFi_m : 5.25\nFi_minimum : none\nlayer\nname : a\nd : 1e-6\ndate : long ago\nchi : "
        "[eV]\nv_th : 2e5 [m/s]\n"
        "absorptionmodel : coefficients A and B\nB : 2e6\nA : 1e6\nEg : 1.44\n"
        "layer\nname : b\nmu_n : 0 m2/Vs\nd : 1e-6\nabsorptionmodel : from file\nabsorptionfile : x\\y.abs\n"
        "layer\nname : c\nd : 1e-6\nB : 2e6\nEg : 1.44\nright contact\nSn : 8\nspectrumfile : AM0.spe\nIV : whatever "
        "comes behind\n");
    const MaterialParameters &a = d.input.cell.cell.layer[0].material, &b = d.input.cell.cell.layer[1].material;
    EXPECT_EQ(d.input.cell.cell.left.Sn, 7.0);
    EXPECT_EQ(d.input.cell.cell.left.Fi_m, 5.25);
    EXPECT_FALSE(d.input.cell.cell.left.flatband) << "a work function and no line on flat bands";
    EXPECT_EQ(d.input.cell.cell.right.Sn, 8.0);
    EXPECT_TRUE(d.input.cell.cell.right.flatband);
    EXPECT_EQ(b.mu_n.pure_A, 0.0);
    // Without a line on the model, and of two coefficients one.
    const auto& c = d.input.cell.cell.layer[2].material.absorption.model_A.models[2];
    EXPECT_EQ(c.values[0], 1e5);
    EXPECT_NEAR(c.values[1], 2e4 / 1.2, 1e-9);
    EXPECT_EQ(a.chi.pure_B, -2.0) << "a line without a number";
    EXPECT_EQ(a.v_th_n.left, 2e5);
    EXPECT_EQ(a.v_th_p.right, 2e5);
    // alpha = (A + B/hv) sqrt(hv - Eg) per m is (A sqrt(Eg) + B/sqrt(Eg) Eg/hv) sqrt(hv/Eg - 1), and 1/m is 0.01/cm.
    for (const auto* set : {&a.absorption.model_A, &a.absorption.model_B}) {
        EXPECT_TRUE(set->models[2].on);
        EXPECT_NEAR(set->models[2].values[0], 1e4 * 1.2, 1e-9);
        EXPECT_NEAR(set->models[2].values[1], 2e4 / 1.2, 1e-9);
        EXPECT_EQ(set->models[2].values[4], 1.44);
    }
    EXPECT_TRUE(b.absorption.pure_A_from_file && b.absorption.pure_B_from_file);
    EXPECT_EQ(b.absorption.file_A, "x/y.abs");
    EXPECT_EQ(b.absorption.file_B, "x/y.abs");
    EXPECT_EQ(b.absorption.A_pure_B, 0.0);
}

TEST(DefinitionReader, NumericalSettingsAreKeptSensible)
{
    Surroundings surroundings;
    Definition d;
    ASSERT_TRUE(parse_definition(surroundings,
                                 "convergence\nmaxiter : 200\ndefectdiscretisations : 250\n"
                                 "maximum ratio between neighbouring points : 1.0\n"
                                 "minimum ratio between neighbouring points : 5\n"
                                 "Shockley-Queisser limit : 2 (0: never; 1: if necessary; 2: always)\n"
                                 "Mott-Schottky analysis polynomial order middle : 1 (1 or 2)\n" +
                                     layer + end,
                                 "x.def", d));
    const ConvergenceParameters& c = d.input.convergence;
    EXPECT_EQ(c.maxiter_psi_equilibrium, 200);
    EXPECT_EQ(c.maxiter_p, 200);
    EXPECT_EQ(c.defectdiscretisations, 100);
    EXPECT_DOUBLE_EQ(c.mesh_ratio_max, 3.0);  // exchanged, then cut
    EXPECT_DOUBLE_EQ(c.mesh_ratio_min, 1.0);
    EXPECT_EQ(c.shockley_queisser, 2);
    EXPECT_EQ(d.NW.order_middle, 1);
    EXPECT_TRUE(d.NW_from_file);
    ASSERT_EQ(surroundings.report.messages.size(), 1u);
    EXPECT_EQ(surroundings.report.messages[0].text,
              "The maximum number of discretisationlevels for distributed defects is limited to 100 levels.");
}

// What is left out of the problem, or cannot be kept, is told once; the rest of the file counts.
TEST(DefinitionReader, WhatIsLeftOutIsTold)
{
    const std::string sheet = "interface properties\ninterfacename : none\ninterface recombination\nN : 1e14\n";
    std::string comments, layers;
    for (std::size_t i = 0; i < KeyedSource::most_remarks + 100; ++i) comments += "> " + std::to_string(i) + "\n";
    for (int i = 0; i < max_layers; ++i) layers += layer + sheet;
    struct Row {
        const char* what;
        std::string text, told;
        int layers;
    };
    const Row rows[] = {
        {"an interface behind the last layer", layer + "\n\n" + sheet + end, "line 9: the interface defects", 1},
        {"also where there is no room for one", layers + end, "line 55: the interface defects", max_layers},
        {"properties alone are nothing", layer + "interface properties\ninterfacename : none\n" + end, "", 1},
        {"comments without end", comments + layer + comments + end, "more than 10000 comments", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Surroundings surroundings;
        Definition d;
        ASSERT_TRUE(parse_definition(surroundings, row.text, "x.def", d));
        EXPECT_EQ(d.input.cell.cell.layers, row.layers);
        ASSERT_EQ(surroundings.report.messages.size(), row.told.empty() ? 0u : 1u);
        for (const auto& message : surroundings.report.messages)
            EXPECT_THAT(message.text, ::testing::HasSubstr(row.told));
        EXPECT_LE(d.remarks.size(), KeyedSource::most_remarks);
        // It is gone, not waiting for another layer; nothing more is to be told.
        Surroundings again;
        ASSERT_TRUE(parse_definition(again, definition_text(d, "KOVIN", {}), "x.def", d));
        LineWatch watch;
        const Definition watched = watch_definition(again, row.text, "x.def", watch);
        EXPECT_EQ(watch.findings.size(), row.told.empty() ? 0u : 1u);
        EXPECT_EQ(watched.input.cell.cell.layers, row.layers);
    }
}

TEST(DefinitionReader, LevelTypesFollowFromTheFirst)
{
    struct Row {
        const char *type, *leveltype;
        LevelType first, second;
    };
    constexpr Row rows[] = {
        {"donor ( 1 level(s) )", "", LevelType::plus_zero, LevelType::neutral},
        {"acceptor", "", LevelType::zero_minus, LevelType::neutral},
        {"amphoteric ( 2 level(s) )", "leveltype : +/0\t0/-\t\n", LevelType::plus_zero, LevelType::zero_minus},
        {"doubledonor ( 2 level(s) )", "leveltype : 2+/+\t+/0\t\n", LevelType::two_plus_plus, LevelType::plus_zero},
        {"amphoteric ( 2 level(s) )", "", LevelType::plus_zero, LevelType::zero_minus},
        {"doubledonor ( 2 level(s) )", "", LevelType::two_plus_plus, LevelType::plus_zero},
        {"doubleacceptor ( 2 level(s) )", "", LevelType::zero_minus, LevelType::minus_two_minus},
        {"doubleacceptor ( 2 level(s) )", "leveltype : 0/-\n", LevelType::zero_minus, LevelType::minus_two_minus},
        {"custom multilevel ( 3 level(s) )", "leveltype : 3+/2+\n", LevelType::three_plus_two_plus,
         LevelType::two_plus_plus},
        {"neutral ( 2 level(s) )", "leveltype : neutral\n", LevelType::neutral, LevelType::neutral},
        {"donor", "leveltype : charged\n", LevelType::neutral, LevelType::neutral},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        const Definition d =
            read(layer + "srhrecombination\ntype : " + row.type + "\n" + row.leveltype + "Nt(uniform) : 1e20\n" + end);
        EXPECT_EQ(first_layer(d).srh[0][0].aard, row.first);
        EXPECT_EQ(first_layer(d).srh[0][1].aard, row.second);
        EXPECT_EQ(first_layer(d).srh[0][0].Nt.left, 1e20);
    }
}

TEST(DefinitionReader, TransmissionOfTheFrontDoesNotRoundTheReflection)
{
    struct Row {
        const char* lines;
        double Rfront;
    };
    // The transmission is written with four digits; only one that says something else counts.
    constexpr Row rows[] = {
        {"internal Rfront : 0.12345678\ninternal Tfront : 8.7654e-01\n", 0.12345678},
        {"internal Rfront : 0.00001\ninternal Tfront : 1.0000e+00\n", 0.00001},
        {"internal Rfront : 0.25\ninternal Tfront : 8.0000e-01\n", 0.2},
        {"internal Tfront : 9.9999e-01\n", 1.0 - 9.9999e-01},
        {"internal Rfront : 0.25\n", 0.25},
    };
    for (const Row& row : rows) {
        const Definition d = read(layer + "front contact\nSn : 1e5\nworking point\n" + row.lines);
        EXPECT_DOUBLE_EQ(d.workPoint.Rfront, row.Rfront) << row.lines;
        EXPECT_DOUBLE_EQ(d.workPoint.Tfront, 1.0 - row.Rfront) << row.lines;
    }
}

TEST(DefinitionReader, TheSavedFileNamesWhatIsMissingInItsFolders)
{
    Surroundings surroundings;
    surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
    Definition d = read(layer + "absorptionmodel : from file\nabsorptionfile : nowhere.abs\n" + end);
    const auto file = std::filesystem::path(::testing::TempDir()) / "kovin-saved.def";
    ASSERT_TRUE(data_naar_file(surroundings, file, d));
    EXPECT_EQ(d.input.title, "kovin-saved");
    EXPECT_EQ(surroundings.report.messages.size(), 2u);  // once for each pure material
    EXPECT_THAT(surroundings.report.messages.at(0).text, ::testing::HasSubstr("nowhere.abs"));
    Definition again;
    EXPECT_TRUE(lees_structuurfile(surroundings, file, again));
    EXPECT_EQ(first_layer(again).material.absorption.file_B, "nowhere.abs");
    EXPECT_FALSE(lees_structuurfile(surroundings, file / "missing.def", again));
    EXPECT_EQ(again.input.title, "kovin-saved");
    std::filesystem::remove(file);
    EXPECT_FALSE(data_naar_file(surroundings, "/no such folder/x.def", d));
}

}  // namespace
}  // namespace kovin
