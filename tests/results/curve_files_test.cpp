// Files of measured curves: what stands behind the last calculated point.
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

}  // namespace
}  // namespace kovin
