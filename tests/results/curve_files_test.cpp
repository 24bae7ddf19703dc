// Files of measured curves: rows, and what stands behind the last calculated point.
#include "results/curve_files.h"
#include "device/model_table.h"
#include "results/capacitance_files.h"
#include "results/merge_curves.h"

#include <gtest/gtest.h>

#include <limits>

namespace kovin {
namespace {

/// The lines of the table, headings included.
std::vector<std::string> table_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t at = text.find("    v(V)");
    for (std::size_t end = 0; (end = text.find('\n', at)) != std::string::npos && end > at; at = end + 1)
        lines.push_back(text.substr(at, end - at));
    return lines;
}

TEST(IvFile, RowsOfACutCurveFollowTheSetting)
{
    DataListElement element;
    element.run.wp = InitialiseWorkPoint();
    IvCurve& c = element.iv;
    for (auto* column : {&c.iv_as, &c.ivcurrent, &c.TotalRec, &c.TotalGen, &c.ivleftcontact, &c.ivrightcontact,
                         &c.ivifr, &c.ivbulk, &c.recSRH, &c.recRadiative, &c.recAuger})
        *column = {-0.5, 0.25};
    element.IV_points = 4;
    const auto table = [&](CutCurves mode) { return table_of(iv_naar_file("KOVIN", {&element, 1}, mode)); };
    const auto cut = table(CutCurves::truncate), zeros = table(CutCurves::zeros), blanks = table(CutCurves::blanks);
    ASSERT_EQ(cut.size(), 3U);
    for (const auto& filled : {zeros, blanks}) {
        ASSERT_EQ(filled.size(), 5U);
        for (std::size_t i = 0; i < filled.size(); ++i) {
            if (i < cut.size()) {
                EXPECT_EQ(filled[i], cut[i]);
            }
            EXPECT_EQ(std::count(filled[i].begin(), filled[i].end(), '\t'), 10);
        }
        EXPECT_EQ(filled[4].size(), cut[2].size()) << "the columns stay in place";
    }
    EXPECT_EQ(zeros[3].find_first_not_of(" \t0.e+"), std::string::npos) << zeros[3];
    EXPECT_EQ(blanks[4].find_first_not_of(" \t"), std::string::npos) << blanks[4];

    element.IV_points = 2;  // complete
    EXPECT_EQ(table(CutCurves::zeros), cut);
}

TEST(QeFile, HoldsTheRowsAndTellsWhyThereAreNoMore)
{
    DataListElement element;
    element.run.wp = InitialiseWorkPoint();
    element.qe.qe_as = {550.0};
    element.qe.hv_as = {2.2545};
    element.qe.qe = {93.359868};
    element.qe.failed = true;
    element.QE_points = 2;
    const std::string text = qe_naar_file("KOVIN", {&element, 1}, CutCurves::zeros);
    const std::string expected =
        "  lambda(nm)\t      QE(%)\tphoton energy (eV)\n"
        "   550.000000\t   9.335987e+01\t    2.254500\n"
        "     0.000000\t   0.000000e+00\t    0.000000\n\n"
        "remark: convergence failure: the curve is cut at lambda = 550.00 nm (1 of 2 points)\n";
    EXPECT_NE(text.find(expected), std::string::npos) << text;
    EXPECT_NE(text.find("Simulation of QE curves"), std::string::npos);
    EXPECT_EQ(qe_naar_file("KOVIN", std::vector<DataListElement>(1)), "") << "a run without the curve is passed over";
}

/// An I-V curve whose columns all hold `value`.
IvCurve constant_curve(const std::vector<double>& V, double value)
{
    IvCurve c;
    for (auto* column : {&c.ivcurrent, &c.TotalRec, &c.TotalGen, &c.ivleftcontact, &c.ivrightcontact, &c.ivifr,
                         &c.ivbulk, &c.recSRH, &c.recRadiative, &c.recAuger})
        column->assign(V.size(), value);
    c.iv_as = V;
    return c;
}

TEST(MergedCurve, PointsOfBothInRisingOrder)
{
    struct Row {
        const char* what;
        std::vector<double> iv, cv, merged, source;  ///< source: 1 I-V, 2 C-V
    };
    const Row rows[] = {
        {"equal voltages add nothing", {0.0, 0.1, 0.2}, {0.0, 0.1, 0.2}, {0.0, 0.1, 0.2}, {1, 1, 1}},
        {"voltages of the C-V between those of the I-V, in any order",
         {0.2, 0.0, 0.1},
         {0.15, 0.05},
         {0.0, 0.05, 0.1, 0.15},
         {1, 2, 1, 2}},
        {"the first of two that are 5e-6 V apart", {0.0, 0.1, 0.2}, {0.099995, 0.3}, {0.0, 0.099995, 0.2}, {1, 2, 1}},
        {"the rest of the longer one", {0.0}, {-0.1, 0.1, 0.2}, {-0.1, 0.0, 0.1}, {2, 1, 2}},
        {"no I-V: nothing is lost", {}, {0.1, -0.1}, {-0.1, 0.1}, {2, 2}},
    };
    for (const Row& r : rows) {
        const IvCurve merged = merge_IV_and_CV(constant_curve(r.iv, 1.0), constant_curve(r.cv, 2.0));
        EXPECT_EQ(merged.iv_as, r.merged) << r.what;
        for (const auto* column : {&merged.ivcurrent, &merged.recAuger}) EXPECT_EQ(*column, r.source) << r.what;
        EXPECT_EQ(merged.J_noise.size(), r.merged.size()) << r.what;
    }
}

TEST(CvAndCfFiles, LayoutOfTheTables)
{
    std::vector<DataListElement> results(2);
    for (DataListElement& element : results) element.run.wp = InitialiseWorkPoint();
    EXPECT_EQ(cv_naar_file("KOVIN", results) + cf_naar_file("KOVIN", results), "");

    CvCurve& c = results[1].cv;
    c.cv_as = c.v_cell = {-0.5, -0.25, 0.0, 0.25};
    for (auto* column : {&c.cvcap, &c.cvcon, &c.cvW, &c.cvN, &c.cvx, &c.cveps_eff_W, &c.cveps_eff_N})
        column->assign(4, 7.0);
    c.dc = constant_curve(c.cv_as, 20.0);
    c.layer_name = "absorber";
    results[1].CV_points = 4;
    struct Row {
        const char* what;
        int points, mode, side;
        std::string told;
        int tabs;
    };
    const Row rows[] = {
        {"constant permittivity", 3, 0, 0, "constant value of epsilon\t10.000000\n    v(V)\t", 11},
        {"of the stack, side unknown", 3, 1, 0, "layer\t3\tabsorber\nhowever, it is not specified at which side", 12},
        {"of the stack", 3, 1, -1, "assumed at the left side of the layer\n    v(V)\t", 12},
        {"too short for a slope", 5, 0, 0, "\n\n    v(V)\t   C(nF/cm2)\t    G(S/cm2)\t       W(\xb5m)\t  jtot", 9},
    };
    for (const Row& r : rows) {
        c.NW.points = r.points, c.NW.epsilon_mode = r.mode, c.NW.side = r.side, c.NW.layer = 2;
        const std::string text = cv_naar_file("KOVIN", results);
        EXPECT_NE(text.find("Simulation of C-V curves"), std::string::npos);
        EXPECT_NE(text.find(r.told), std::string::npos) << r.what << '\n' << text;
        const auto lines = table_of(text);
        ASSERT_EQ(lines.size(), 5U) << r.what;
        for (const std::string& line : lines) EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), r.tabs) << line;
    }
    EXPECT_NE(cv_naar_file("KOVIN", results)
                  .find("\n    -0.500000\t   7.00000000e+00\t   7.00000000e+00\t   7.00000000e+00"
                        "\t  2.00000000e+01\t   2.00000000e+00\t   2.00000000e+00\t"),
              std::string::npos)
        << "bulk and interface terms are stored in A/m2";

    CfCurve& f = results[0].cf;
    for (auto* column : {&f.cf_as, &f.cfcap, &f.cfcon, &f.cfZre, &f.cfZim, &f.cfZmagn, &f.cfZphase})
        column->assign(1, 250.0);
    std::string row;
    for (int k = 0; k < 6; ++k) row += "   2.50000000e+02\t";
    EXPECT_TRUE(cf_naar_file("KOVIN", results).ends_with("      Z.phase(\xb0)\n" + row + "   250.000000\n\n"));
}

TEST(IvFile, RemarksTellHowExactTheCurrentIs)
{
    DataListElement element;
    element.run.wp = InitialiseWorkPoint();
    IvCurve& c = element.iv;
    for (auto* column : {&c.iv_as, &c.ivcurrent, &c.TotalRec, &c.TotalGen, &c.ivleftcontact, &c.ivrightcontact,
                         &c.ivifr, &c.ivbulk, &c.recSRH, &c.recRadiative, &c.recAuger})
        *column = {0.0, 0.1, 0.2, 0.3};
    c.ivcurrent = {1e-20, 1e-10, 1e-3, -20.0};
    element.IV_points = 4;
    const auto text = [&] { return iv_naar_file("KOVIN", {&element, 1}, CutCurves::truncate); };
    const double unknown = std::numeric_limits<double>::quiet_NaN();
    // What is not known, what is rounding alone, and what is exact are no reason for a remark.
    c.J_error = {2e-18, unknown, 1e-9, 1e-6};
    c.J_noise = {1e-18, unknown, 1e-12, 1e-9};
    c.noise_limited = {0.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(text().find("remark"), std::string::npos) << text();
    EXPECT_EQ(accuracy(c).largest_error, 1e-6);
    c.J_error[2] = 5e-6;
    c.noise_limited[1] = 1.0;
    c.J_error[1] = c.J_noise[1] = 3e-10;
    EXPECT_NE(text().find("uncertain by up to 5.0e-03 of its value (at V = 0.200 Volt)"), std::string::npos) << text();
    EXPECT_NE(text().find("currents below 3.0e-09 A/m2 are limited by rounding"), std::string::npos) << text();
}

}  // namespace
}  // namespace kovin
