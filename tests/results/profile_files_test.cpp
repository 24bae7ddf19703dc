// The columns of .gen and .occ files against each other.
#include "results/profile_files.h"

#include "base/text_scan.h"
#include "solver/devices.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace kovin::testing {
namespace {

using Table = std::map<std::string, std::vector<double>>;

/// Columns by title.
Table table_of(const std::string& text)
{
    std::istringstream in(text.substr(text.find("x (um)\t")));
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

}  // namespace
}  // namespace kovin::testing
