// Files that a problem needs and that are not there: told by what they are for, or replaced.
#include "device/file_check.h"

#include "device/contacts.h"
#include "device/layer_profiles.h"
#include "support/uniform_layer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace kovin {
namespace {

using ::testing::HasSubstr;

TEST(FileCheck, NamesEachMissingFileThatIsNeeded)
{
    Surroundings surroundings;
    surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
    CellParameters cell;
    cell.layers = 1;
    ActionPanel panel = InitialiseActionPanel();
    EXPECT_TRUE(CanAllFilesBeFound(surroundings, cell, panel));
    panel.workPoint.dark = false;
    panel.workPoint.spectrumFile = "am0.SPE";  // as on a disk that does not tell cases apart
    panel.secondWorkPoint.dark = false;
    panel.secondWorkPoint.spectrumFile = "no second point without a metastable pair.spe";
    EXPECT_TRUE(CanAllFilesBeFound(surroundings, cell, panel));

    panel.workPoint.spectrumFile = "gone.spe";
    cell.left.filter = true;
    cell.left.filter_file = "gone.ftr";
    cell.right.filter_file = "not in use.ftr";
    cell.layer[0].composition.law = Law::from_file;
    cell.layer[0].material.absorption.pure_B_from_file = true;
    cell.layer[0].material.absorption.file_B = "gone.abs";
    cell.layer[0].srhteller = 1;
    cell.layer[0].srh[0][0].holes.file = "gone.opt";
    cell.layer[0].srh[0][0].holes.present = true;
    for (const bool probed_in_the_dark : {false, true}) {
        panel.workPoint.dark = panel.actions.QE_calculate = probed_in_the_dark;
        surroundings.report.messages.clear();
        EXPECT_FALSE(CanAllFilesBeFound(surroundings, cell, panel));
        std::vector<std::string> texts;
        for (const Message& message : surroundings.report.messages) texts.push_back(message.text);
        EXPECT_THAT(texts,
                    ::testing::ElementsAre(HasSubstr("gone.spe"), HasSubstr("gone.ftr"), HasSubstr("Composition"),
                                           HasSubstr("gone.abs"), HasSubstr("gone.opt")));
    }
}

/// A problem in which every kind of file is missing.
struct EverythingGone {
    Surroundings surroundings;
    CellParameters cell;
    ActionPanel panel = InitialiseActionPanel();

    EverythingGone()
    {
        surroundings.folders.root = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";
        panel.workPoint.dark = false;
        panel.workPoint.generationSpecified = panel.workPoint.generationFromFile = true;
        panel.workPoint.generationFile = "gone.gen";
        panel.workPoint.spectrumFile = "gone.spe";
        cell.layers = 1;
        cell.right.filter = true;
        LayerParameters& layer = cell.layer[0];
        layer.name = "absorber";
        layer.material.Eg.pure_A = 1.1;
        layer.material.Eg.pure_B = 1.7;
        layer.composition.law = layer.material.mu_p.law = Law::from_file;
        layer.composition.file = "gone.grad";
        layer.material.absorption.pure_A_from_file = true;
        layer.material.absorption.file_A = "gone.abs";
        layer.srhteller = 1;
        for (auto& level : layer.srh[0]) level.Nt.law = Law::from_file;
        layer.srh[0][0].electrons.present = true;
        layer.srh[0][0].electrons.file = "gone.opt";
    }
    [[nodiscard]] std::vector<std::string> texts() const
    {
        std::vector<std::string> all;
        for (const Message& message : surroundings.report.messages) all.push_back(message.text);
        return all;
    }
};

TEST(FileCheck, RepairsEachMissingFileAndTellsIt)
{
    for (const bool by_log : {false, true}) {  // where messages go to a log nobody can be asked
        const auto gone = std::make_unique<EverythingGone>();
        if (by_log) {
            gone->surroundings.report.ErrorMessageMode = 2;
            gone->surroundings.report.log_file = "/dev/null";
        }
        ASSERT_TRUE(CanAllFilesBeFound(gone->surroundings, gone->cell, gone->panel,
                                       by_log ? MissingFiles::tell : MissingFiles::repair));
        EXPECT_EQ(gone->surroundings.report.messages[0].title, "Error whilst checking files for existence");
        EXPECT_THAT(
            gone->texts(),
            ::testing::ElementsAre(
                "Generation file gone.gen not found; illumination mode set to internal KOVIN model",
                "Spectrum file gone.spe not found; standard KOVIN AM1.5G 1 sun spectrum set",
                "Filter file (right contact) (no name given) not found; switched to Filter from value, a "
                "transmission of 1",
                HasSubstr("Layer 1: Composition grading file gone.grad"), HasSubstr("Layer 1: mu_p grading file"),
                "Layer absorber: absorption file (pure A) gone.abs not found; absorption set to internal KOVIN model",
                HasSubstr("Layer absorber defect 1: Defect density grading file"),
                "Layer absorber defect 1: Optical capture cross section file for electrons gone.opt not found; "
                "IPV optcapt set to internal KOVIN model"));
        const LayerParameters& layer = gone->cell.layer[0];
        EXPECT_FALSE(gone->panel.workPoint.generationSpecified);
        EXPECT_EQ(gone->panel.workPoint.spectrumFile, "AM1_5G 1 sun.spe");
        EXPECT_TRUE(gone->cell.right.filter_constant);
        EXPECT_EQ(gone->cell.right.filter_value, 1.0) << "the light goes on";
        EXPECT_TRUE(layer.composition.law == Law::linear && layer.material.mu_p.law == Law::linear);
        EXPECT_EQ(layer.srh[0][3].Nt.law, Law::linear);
        EXPECT_FALSE(layer.material.absorption.pure_A_from_file);
        EXPECT_DOUBLE_EQ(layer.material.absorption.model_A.Eg, 1.1);
        EXPECT_TRUE(layer.srh[0][0].electrons.from_model);
        // A second look finds nothing to tell.
        EXPECT_TRUE(missing_files(gone->surroundings, gone->cell, gone->panel).empty());
    }
}

// The straight line that takes the place of a file runs between the ends that the definition states, in outer layers
// too, at which the contacts look before any file is there.
TEST(FileCheck, TheLineThatReplacesAFileKeepsItsEnds)
{
    Surroundings surroundings;
    for (std::size_t j = 0; j < 3; ++j) {
        InputParameters set1 = test::cell_of({{.Na = 1e22}, {.Na = 1e22}, {.Nd = 1e22}});
        CellParameters& cell = set1.cell.cell;
        test::add_defect(cell.layer[j], DefectType::neutral, EnergyDistribution::single, 0.6, 1e20);
        for_each_profile(cell.layer[j], [](Profile& p, const std::string& name) {
            p.law = Law::from_file;
            p.dependence = name == "chi" ? Dependence::on_y : Dependence::on_x;
            p.file = "gone.grad";
            p.left = name == "composition" ? 0.2 : 0.75 * p.pure_A;
            p.right = name == "composition" ? 0.6 : 1.5 * p.pure_A;
            if (name == "chi") p.pure_B = 2.0 * p.pure_A;
        });
        const LayerParameters given = cell.layer[j];
        check_contacts(set1.cell, 300.0, set1.convergence);
        ActionPanel panel = InitialiseActionPanel();
        ASSERT_TRUE(CanAllFilesBeFound(surroundings, cell, panel, MissingFiles::repair));
        recalculate_ends(cell.layer[j]);
        std::vector<std::pair<double, double>> wanted;
        for_each_profile(given, [&](const Profile& p, const std::string& name) {
            const bool chi = name == "chi";
            wanted.emplace_back(chi ? 1.2 * p.pure_A : p.left, chi ? 1.6 * p.pure_A : p.right);
        });
        std::size_t k = 0;
        for_each_profile(cell.layer[j], [&](const Profile& p, const std::string& name) {
            EXPECT_EQ(p.law, Law::linear) << name;
            EXPECT_DOUBLE_EQ(p.left, wanted[k].first) << name << " of layer " << j + 1;
            EXPECT_DOUBLE_EQ(p.right, wanted[k].second) << name << " of layer " << j + 1;
            ++k;
        });
        EXPECT_EQ(k, 18u);
    }
}

TEST(FileCheck, ASpectrumWithoutAStandInStaysMissing)
{
    const auto gone = std::make_unique<EverythingGone>();
    gone->surroundings.folders.root = "/none such";
    EXPECT_FALSE(CanAllFilesBeFound(gone->surroundings, gone->cell, gone->panel, MissingFiles::repair));
    EXPECT_EQ(gone->panel.workPoint.spectrumFile, "gone.spe");
}

}  // namespace
}  // namespace kovin
