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

TEST(DefinitionReader, ContactsWithAndWithoutFlatBands)
{
    const Definition old = read("back contact\nFi_m : 5.25 [eV]\n" + layer + end);
    EXPECT_FALSE(old.input.cell.cell.left.flatband);
    EXPECT_TRUE(old.input.cell.cell.right.flatband);
    EXPECT_DOUBLE_EQ(old.input.cell.cell.left.Sn, 1e3);  // default of the left side
    const Definition other = read("left contact\nflatband : 0\nFi_m : 5.0\n" + layer + end);
    EXPECT_FALSE(other.input.cell.cell.left.flatband);
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
        double left, right, decay_um;  ///< of the density profile [m^-3]
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
        {"the tailtype is conductionband\nEkar : 0.05\nNleft : 1e21\n", CB_tail, Law::uniform, Dependence::uniform,
         5e19, 5e19, 1, false},
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

TEST(DefinitionReader, LinesOfTheOldestLayers)
{
    const Definition d = read(
        "left contact\nSn : 7\nlayer\nname : a\nd : 1e-6\nchi : [eV]\nv_th : 2e5 [m/s]\n"
        "absorptionmodel : coefficients A and B\nB : 2e6\nA : 1e6\nEg : 1.44\n"
        "layer\nname : b\nd : 1e-6\nabsorptionmodel : from file\nabsorptionfile : x\\y.abs\n"
        "right contact\nSn : 8\nspectrumfile : AM0.spe\nIV : whatever comes behind\n");
    const MaterialParameters &a = d.input.cell.cell.layer[0].material, &b = d.input.cell.cell.layer[1].material;
    EXPECT_EQ(d.input.cell.cell.left.Sn, 7.0);
    EXPECT_EQ(d.input.cell.cell.right.Sn, 8.0);
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

TEST(DefinitionReader, WorkingPointAndReferences)
{
    const Definition d = read(layer +
                              "front contact\nSn : 1e5\nworking point\nilluminated from : left\n"
                              "internal Rfront : 0.25\nSeries resistance : 1 (1: Rs enabled)\nRs [Ohm.m2] : 1.5e-4\n"
                              "Shunt conductance : 1\nGsh [S/m2] : 2.5\n"
                              "voltage V applied to :  1 (+1: right contact; -1: left contact)\n"
                              "cell reference system :  1 (1: as a consumer)\n");
    EXPECT_FALSE(d.workPoint.lightFromRight);
    EXPECT_DOUBLE_EQ(d.workPoint.Tfront, 0.75);
    EXPECT_DOUBLE_EQ(d.workPoint.Rs, 1.5e-4);
    EXPECT_DOUBLE_EQ(d.workPoint.Gsh, 2.5);
    EXPECT_TRUE(d.workPoint.references_given);
    EXPECT_EQ(d.input.cell.cell.voltage_sign, -1);
    EXPECT_EQ(d.input.cell.cell.current_sign, -1);
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
