// Files of measured curves: rows, and what stands behind the last calculated point.
#include "results/curve_files.h"
#include "device/model_table.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace kovin
