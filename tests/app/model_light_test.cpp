// Runs whose light comes from models, asked for by an action list, against the same light from a file.
#include "app/sample_session.h"
#include "app/simulate.h"
#include "device/action_file.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

/// I-V figures of the silicon cell under the light of some lines of an action list.
IVCharacteristics figures_with(const std::string& lines)
{
    const auto session = test::session_with("silicon-pn");
    EXPECT_TRUE(
        parse_action_list(session->surroundings, "IV_points : 9\n" + lines, "lines.act", session->simulation.panel));
    EXPECT_EQ(Simulate(*session), SimulateOutcome::done) << lines;
    EXPECT_TRUE(session->surroundings.report.messages.empty());
    return session->simulation.results.empty() ? IVCharacteristics{}
                                               : session->simulation.results.back().characteristics;
}

TEST(ModelLight, GivesTheCurrentOfTheSameLightFromAFile)
{
    struct Row {
        const char *what, *file, *model;
        double ratio;  ///< of the currents
    };
    const std::string from_file = "generation G(x) specified\ngeneration G(x) from file :exponential_right_40mA.gen\n";
    const std::string from_model =
        "generation G(x) specified\ngeneration G(x) from model\n"
        "generation model :exponential decaying G(x), from right\n"
        "generation model, value of parameter 1 : 2.49688e17\n"  // 40 mA/cm2
        "generation model, value of parameter 2 : 20\n";
    const std::string band_file = "incident spectrum from file :monochromatic_550nm_100Wm2.spe\n";
    // The frame of the model widens the band of 10 nm by 1 %.
    const std::string band_model =
        "incident spectrum from model\nspectrum model :monochromatic spectrum constant power\n"
        "spectrum model, value of parameter 1 : 0.1\nspectrum model, value of parameter 2 : 550\n";
    const Row rows[] = {
        {"generation", from_file.c_str(), from_model.c_str(), 1.0},
        {"spectrum", band_file.c_str(), band_model.c_str(), 1.01},
    };
    for (const Row& r : rows) {
        const IVCharacteristics file = figures_with(r.file), model = figures_with(r.model);
        EXPECT_NEAR(model.Jsc, r.ratio * file.Jsc, 3e-3 * file.Jsc) << r.what;
        EXPECT_NEAR(model.Voc, file.Voc, 1e-3) << r.what;
    }

    // Half the light, half the current, and the same collection.
    const IVCharacteristics full = figures_with(from_model), half = figures_with(from_model + "attenuation : 50 %\n");
    EXPECT_TRUE(full.etaIsCollection && half.etaIsCollection);
    EXPECT_NEAR(full.eta, 100 * full.Jsc / 40.0, 0.3);
    EXPECT_NEAR(half.Jsc, 0.5 * full.Jsc, 5e-3 * full.Jsc);
    EXPECT_NEAR(half.eta, full.eta, 0.5);
    EXPECT_LT(full.eta, 100.0);
}

}  // namespace
}  // namespace kovin
