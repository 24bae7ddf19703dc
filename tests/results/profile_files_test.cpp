// The columns of .gen and .occ files against each other.
#include "results/profile_files.h"

#include "base/text_scan.h"
#include "solver/devices.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>
#include <sstream>

namespace kovin::testing {
namespace {

using Table = std::map<std::string, std::vector<double>>;

/// Columns by title.
Table table_of(const std::string& text, const char* first = "x (um)\t")
{
    std::istringstream in(text.substr(text.find(first)));
    std::vector<std::string> titles;
    Table table;
    std::string line, cell;
    for (bool head = true; std::getline(in, line); head = false) {
        std::istringstream cells(line);
        for (std::size_t k = 0; std::getline(cells, cell, '\t'); ++k) {
            if (head)
                titles.push_back(cell.substr(0, cell.find(" {")));
            else
                table[titles.at(k)].push_back(number_here(cell, cell.find_first_not_of(' ')).value);
        }
    }
    return table;
}

TEST(ProfileFiles, LevelsOfADefectAddUp)
{
    CellParameters cell = silicon_junction();
    test::add_chain(cell.layer[0], LevelType::two_plus_plus, {0.3, 0.5, 0.7}, 1e21, EnergyDistribution::gauss);
    add_defect(cell.layer[0], DefectType::acceptor, 1e20, 0.4, 1e-19, 1e-19);
    Device device(cell);
    ASSERT_TRUE(device.solve_equilibrium());
    device.illuminate_exponentially(30.0, 1e-6);
    ASSERT_TRUE(device.solve() && device.go_to(0.4, 2));
    const Problem problem = device.problem();
    const RunRecord run{};
    const std::string version = "test";
    const ProfileSource source{version, run, problem, device.cv};
    const Profiles profiles = extract_profiles(problem, device.cv);
    const Table gen = table_of(gen_naar_file(source, profiles)), occ = table_of(ft_naar_file(source, profiles));

    // Whatever recombines is captured net, as electrons and as holes; the second layer has one defect.
    const char* first[] = {"1,1,0", "1,2,0", "1,2,1", "1,2,2", "1,3,0"};
    const std::size_t N = device.cv.psi.size();
    for (std::size_t i = 0; i < N; ++i)
        for (const std::string carrier : {"n", "p"}) {
            double net = 0.0;
            for (const char* index : first) net += gen.at("net G" + carrier + index + " (#/cm3.s)").at(i);
            net += gen.at("net G" + carrier + "2,1,0 (#/cm3.s)").at(i);
            const double SRH = gen.at("SRH recombination (#/cm3.s)").at(i);
            EXPECT_NEAR(-net, SRH, 1e-6 * SRH) << carrier << ", point " << i;
        }
    // The states of a chain: that without electrons, and those above each level.
    const int energies = device.input.convergence.defectdiscretisations;
    for (int m = 0; m < energies; ++m)
        for (std::size_t i = 0; i < device.last(0); ++i) {
            const std::string e = "," + std::to_string(m);
            double sum = occ.at("f_t(holes)1,2,0" + e).at(i);
            for (const char* level : {"0", "1", "2"})
                sum += occ.at("f_t(electrons)1,2," + std::string(level) + e).at(i);
            EXPECT_NEAR(sum, 1.0, 1e-7) << "energy " << m << ", point " << i;
            EXPECT_EQ(occ.at("f_t(electrons)1,2,0" + e).at(i), occ.at("f_t(holes)1,2,1" + e).at(i));
        }
    EXPECT_EQ(occ.size(), 1u + 2u * (3 * static_cast<std::size_t>(energies) + 3));
}

// What the small voltage moves is charge: the displacement current changes by as much as the charge of a box, and all
// currents together stay what they are.
TEST(AcFile, ChargesBelongToTheCurrents)
{
    CellParameters cell = silicon_junction();
    add_defect(cell.layer[0], DefectType::donor, 1e21, 0.35, 1e-19, 1e-19);
    test::add_chain(cell.layer[1], LevelType::two_plus_plus, {0.3, 0.5, 0.7}, 1e21);
    Device device(cell);
    ASSERT_TRUE(device.solve_equilibrium() && device.go_to(0.2, 2));
    RunRecord run;
    run.wp.frequency = 2e4;
    const Problem problem = device.problem();
    const std::string version = "test";
    const std::string text = ac_naar_file({version, run, problem, device.cv});
    EXPECT_NE(text.find("ac-band diagrammes"), std::string::npos);
    Table t = table_of(text, "i\tx (\xb5m)\t");
    ASSERT_EQ(t.size(), 24u);
    const Mesh& mesh = device.cv.mesh;
    const double to_mA_cm2 =
        1e5 * 2.0 * std::numbers::pi * run.wp.frequency * elementary_charge * problem.set3.scale.x0;
    const auto &d_re = t.at("jdispl.re(mA/cm2)"), &d_im = t.at("jdispl.im(mA/cm2)");
    const auto &rho_re = t.at("rho_total,re (1/cm3)"), &rho_im = t.at("rho_total.im (1/cm3)");
    double largest = 0.0;
    for (const double d : d_im) largest = std::max(largest, std::fabs(d));
    ASSERT_EQ(rho_re.size(), static_cast<std::size_t>(mesh.N));
    for (std::size_t i = 1; i + 1 < rho_re.size(); ++i) {
        EXPECT_NEAR(t.at("j.im (mA/cm2)")[i], t.at("j.im (mA/cm2)")[0], 2e-6 * largest) << i;
        EXPECT_NEAR(t.at("jn.im(mA/cm2)")[i] + t.at("jp.im(mA/cm2)")[i] + d_im[i], t.at("j.im (mA/cm2)")[i],
                    2e-6 * largest);
        const auto layer_end = [&](int end) { return static_cast<std::size_t>(end) == i; };
        if (layer_end(mesh.last[0]) || layer_end(mesh.first[1])) continue;
        const double box = to_mA_cm2 * 0.5 * (mesh.h[i - 1] + mesh.h[i]);
        EXPECT_NEAR(d_im[i] - d_im[i - 1], box * rho_re[i], 2e-6 * largest) << i;
        EXPECT_NEAR(d_re[i] - d_re[i - 1], -box * rho_im[i], 2e-6 * largest) << i;
    }
    EXPECT_EQ(t.at(" Fn.re (#kT)").back(), 1.0);
    EXPECT_EQ(t.at("psi.re(#kT/q)").back(), -1.0);
    EXPECT_EQ(t.at(" Fp.re (#kT)").front(), 0.0);
}

}  // namespace
}  // namespace kovin::testing
