// Cross sections of levels that absorb light.
#include "optics/optical_capture.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

TEST(OpticalCapture, ModelOfTheCrossSection)
{
    // Indium in silicon: 0.157 eV above the valence band, n = 3.42, m* = m0.
    OpticalCaptureProperties indium;
    indium.n = 3.42;
    struct Row {
        const char* what;
        double E0, Emax, wavelength, sigma;
    };
    const Row rows[] = {
        // (16 pi/3) alpha hbar^2/m0 in m2 eV over E0 n, times sqrt((r - 1)^3)/r^3, r = 1.3/E0
        {"electrons at 1.3 eV", 0.967, 1.3, 953.828, 2.33887e-22},
        {"holes at 1.3 eV", 0.157, 1.3, 953.828, 5.99302e-22},
        {"at the threshold", 0.967, 1.3, 1239.977 / 0.967, 0.0},
        {"no photon reaches it", 1.4, 1.3, 0.0, -1.0},
        {"outside the gap", -0.1, 1.3, 0.0, -1.0},
        {"no photons at all", 0.5, 0.0, 0.0, -1.0},
    };
    for (const Row& r : rows) {
        OpticalCaptureProperties capture = indium;
        capture.Emax = r.Emax;
        const CrossSections table = ReadOpticalCaptureParametersFromModel(capture, r.E0);
        if (r.sigma < 0.0) {
            EXPECT_TRUE(table.sigma.empty()) << r.what;
            continue;
        }
        ASSERT_EQ(table.sigma.size(), 50u) << r.what;
        const bool at_front = r.wavelength < 1000.0;
        EXPECT_NEAR(at_front ? table.wavelength.front() : table.wavelength.back(), r.wavelength, 1e-3) << r.what;
        EXPECT_NEAR(at_front ? table.sigma.front() : table.sigma.back(), r.sigma, 1e-5 * r.sigma + 1e-40) << r.what;
    }
}

TEST(OpticalCapture, TablesReachFromTheirFirstToTheirLastRow)
{
    GenerationParameters gp;
    gp.lambda = {800.0, 900.0, 950.0, 1000.0, 1001.0};
    gp.capture.resize(2);
    gp.capture[0].electrons = {{900.0, 1000.0}, {1e-22, 4e-22}};
    gp.capture[1].holes = {{950.0}, {3e-22}};
    InterpolateOpticalCaptureProperties(gp);
    const double expected[][5] = {{0.0, 1e-22, 2e-22, 4e-22, 0.0}, {0.0, 0.0, 3e-22, 0.0, 0.0}};
    for (std::size_t k = 0; k < 5; ++k) {
        EXPECT_NEAR(gp.capture[0].sigma_n[k], expected[0][k], 1e-34) << k;
        EXPECT_NEAR(gp.capture[1].sigma_p[k], expected[1][k], 1e-34) << k;
        EXPECT_EQ(gp.capture[0].sigma_p[k] + gp.capture[1].sigma_n[k], 0.0) << "no such table";
    }
}

}  // namespace
}  // namespace kovin
