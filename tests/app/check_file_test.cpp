// Files under check: what is found, at which line, and that what is shipped is clean.
#include "app/check_file.h"

#include "app/initialise.h"
#include "base/line_file.h"
#include "base/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>

namespace kovin {
namespace {

using ::testing::HasSubstr;

const std::filesystem::path home = std::filesystem::path(KOVIN_SOURCE_DIR) / "home";

std::unique_ptr<Session> session()
{
    auto s = std::make_unique<Session>();
    Initialise(*s, home, "kovin");
    return s;
}

/// A part of each finding, in their order.
using Expected = std::vector<std::string>;

/// Just these findings; a file that "is ..." in one of them is missing or unreadable.
void expect_findings(const CheckResult& result, const Expected& expected)
{
    std::vector<std::string> found;
    for (const Finding& finding : result.findings) found.push_back(finding_text(finding));
    ASSERT_EQ(found.size(), expected.size()) << ::testing::PrintToString(found);
    bool readable = true;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_THAT(found[i], HasSubstr(expected[i]));
        for (const char* fault : {"' is not there", "' is a folder", "' is empty", "' is not a regular file"})
            readable = readable && found[i].find(fault) == std::string::npos;
    }
    EXPECT_EQ(result.readable, readable);
}

TEST(CheckFile, FindsNothingInWhatIsShipped)
{
    const auto s = session();
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home)) {
        const std::string kind = entry.path().extension().string();
        if (!entry.is_regular_file() || kind == ".txt" || kind == ".script") continue;
        const CheckResult result = check_file(*s, entry.path().string());
        EXPECT_TRUE(result.readable) << entry.path();
        for (const Finding& finding : result.findings) ADD_FAILURE() << finding_text(finding);
        ++files;
    }
    EXPECT_GT(files, 35);
}

/// A cell of two layers without a fault; a row changes one of its lines.
const char* const cell =
    "back contact\nFi_m : 4.6\nSn : 1e5\n"
    "layer\nname : n\nd : 1e-6\neps : 10\nchi : 4\nEg : 1.5\nNc : 1e24\nmu_n : 0.01\nv_th_n : 1e5\n"
    "srhrecombination\ntype : donor\nReference for defect energy : 0\nEt : 0.3\nsigma_n : 1e-19\nNt(x) : 1e20\n"
    "interface recombination\ntype : neutral\nEt : 0.7\nsigma_nleft : 1e-19\n"
    "layer\nname : p\nd : 1e-6\nchi : 4\nEg : 1.2\n"
    "absorptionmodel pure A material (y=0) : from model\nabsorption model A, model : power law 1\nNa(x) : 1e22\n"
    "front contact\nflatband : 1\nSn : 1e5\noptical filter : reflection\nwavelength independent : 1\n"
    "filter value : 0.1\nworking point\ninternal Rfront : 0.1\n";

TEST(CheckFile, NamesTheLineAndTheFault)
{
    struct Row {
        const char *line, *changed;  ///< in `cell`
        const char* expected;        ///< of the only finding; empty: none
    };
    constexpr Row rows[] = {
        {"", "", ""},
        // not known
        {"eps : 10", "esp : 10", "7: unknown line \"esp\"; did you mean \"eps\"?"},
        {"mu_n : 0.01", "mobility : 5", "11: unknown line \"mobility\""},
        {"mu_n : 0.01", "Realtive elektron mass : 1",
         "11: unknown line \"Realtive elektron mass\"; did you mean "
         "\"Relative electron mass\"?"},
        {"sigma_nleft", "sigma_left", "did you mean \"sigma_nleft\"?"},
        {"eps : 10\nchi : 4", "  eps: 10\n\tchi: 4", ""},
        {"Eg : 1.5", "Egap : 1.5", "9: \"Egap\" is read as \"Eg\""},
        {"flatband : 1\n", "flatband : 1\nflat band : 1\n", "did you mean \"flatband\"?"},
        {"internal Rfront", "internal Reflection", "unknown line \"internal Reflection\""},
        // no numbers, or none that a cell has
        {"Sn : 1e5\nlayer", "Sn : fast\nlayer", "3: Sn = \"fast\": a number is expected"},
        {"Sn : 1e5\nlayer", "Sn : -1\nlayer", "3: Sn = \"-1\": the value is outside its range"},
        {"d : 1e-6\neps", "d : 0\neps", "6: d = \"0\""},
        {"Eg : 1.2", "Eg : 0", "Eg = \"0\""},
        {"Nc : 1e24", "Nc : -1e24", "10: Nc = "},
        {"mu_n : 0.01", "mu_n : -1", "11: mu_n"},
        {"v_th_n : 1e5", "v_th_n : -1e5", "12: v_th_n"},
        {"sigma_n : 1e-19", "sigma_n : -1e-19", "17: sigma_n"},
        {"Nt(x) : 1e20", "Nt(x) : -1", "18: Nt(x)"},
        {"filter value : 0.1", "filter value : 10", "filter value = \"10\""},
        {"reflection\nwavelength independent : 1\nfilter value : 0.1", "transmission\nwavelength independent : 1",
         "right contact: no filter value"},
        {"Rfront : 0.1", "Rfront : 0.1\nspectrumfile : a.spe\nRs [Ohm.m2] : 1",
         "stands behind spectrumfile and is not read"},
        {"Rfront : 0.1", "Rfront : 0.1\nRs [Ohm.m2] : 1", "Rs does not count without a line Series resistance"},
        {"optical filter : reflection", "filterfile : a.ftr", "right contact: the filter file is not read without"},
        {"eps : 10", "eps : 10 10 0 1 1 10 10 12 2 a.grad", "layer 1: the grading file of eps is not read"},
        {"Rfront : 0.1", "Rfront : 1.1", "internal Rfront"},
        {"Rfront : 0.1", "Rfront : 0.1\ninternal Tfront : 0.8",
         "internal Tfront = \"0.8\": it is one minus the internal Rfront of 0.1 in line"},
        {"model : power law 1", "model : stairs", "the absorption model is not known"},
        // laws on x stand between the left and right values
        {"eps : 10", "eps : 10 10 0 0 0 0 10 1 1", "7: eps"},
        {"eps : 10", "eps : 0 0 0 0 0 10 11 1 1", "layer 1: eps is graded on x from 10 to 11, the left and right"},
        {"eps : 10", "eps : 10 11 0 12 0 10 11 2 1", ""},
        {"Eg : 1.5", "Eg : 1.5 0 1 1 1 1.5 1.4 1 1", "9: layer 1: Eg is graded on x"},
        {"Eg : 1.5", "Eg : 1.5 1.5 1 1 1 1.5 0 1 1", "9: Eg"},
        {"Nt(x) : 1e20", "Nt(x) : 1e20 1e21 0 0 0 0 0 1 1", "18: layer 1/defect 1: Nt(x) is graded on x from 0 to 0"},
        // nothing to be flat against
        {"Na(x) : 1e22\n", "", "right contact: flat bands have no meaning"},
        // twice in a section; the next section may have it again, and the models of a material are several
        {"Sn : 1e5\nlayer", "Sn : 1e5\nflatband : 0\nSN : 2e5\nlayer", "5: Sn = \"2e5\": given already in line 3"},
        {"Nt(x) : 1e20", "Nt(x) : 1e20\nNt(y) : 1e21", "19: Nt(y) = \"1e21\": given already in line 18"},
        {"Nt(x) : 1e20", "Nt(x) : 1e20\nnext\ntype : donor\nEt : 0.3\nNt(x) : 1e20", ""},
        {"law 1\n",
         "law 1\nabsorption model A, value of parameter 1 : 1e5\nabsorption model A, value of parameter 2 : 0\n"
         "absorption model A, model : power law 2\nabsorption model A, value of parameter 1 : 1e5\n",
         ""},
        {"law 1\n",
         "law 1\nabsorption model A, value of parameter 1 : 1e5\nabsorption model A, value of parameter 1 : 1e4\n",
         "31: absorption model A, value of parameter"},
        {"A material (y=0) : from model",
         "A material (y=0) : from model\nabsorptionmodel pure A material (y=0) : from model",
         "29: absorptionmodel pure A material (y=0) = \"from model\": given already in line 28"},
        // units
        {"Sn : 1e5\nlayer", "Sn : 1e7 [cm/s]\nlayer", "3: Sn = \"1e7 [cm/s]\": the unit is m/s, not cm/s"},
        {"Sn : 1e5\nlayer", "Sn [cm/s] : 1e7\nlayer", "not cm/s"},
        {"Nc : 1e24", "Nc : 1e18 [/cm^3]", "10: Nc = \"1e18 [/cm^3]\": the unit is /m^3, not /cm^3"},
        {"Nc : 1e24", "Nc : 1e18 cm-3", "not cm-3"},
        {"Nc : 1e24", "Nc : 1e24 1/m3", ""},
        {"Nc : 1e24", "Nc : 1e24 (m^-3)", ""},
        {"Nc : 1e24", "Nc : 1e24 m\u207b\u00b3", ""},
        {"Nc : 1e24", "Nc : 1e24 A guess", ""},
        {"d : 1e-6\neps", "d : 0.5 um\neps", "6: d = \"0.5 um\": the unit is m, not um"},
        {"d : 1e-6\neps", "d : 0.5 \u00b5m, as grown\neps", "not \u00b5m"},
        {"mu_n : 0.01", "mu_n : 100 [cm^2/Vs]", "not cm^2/Vs"},
        {"mu_n : 0.01", "mu_n : 0.01 m2 V^-1 s^-1", ""},
        {"Nt(x) : 1e20", "Nt(x) : 1e20 [/m^3 eV]", ""},
        {"sigma_n : 1e-19", "sigma_n : 1e-15 [cm^2]", "not cm^2"},
        {"Et : 0.7", "Et : 0.7 meV", "the unit is eV, not meV"},
        {"filter value : 0.1", "filter value : 0.1 %", "a plain number is meant, not %"},
        // models
        {"law 1\n", "law 1\nabsorption model A, value of parameter 1 : -1\n",
         "30: absorption model A, value of parameter = \"-1\": the value is outside its range"},
        {"law 1\n", "law 1\nabsorption model A, value of parameter 4 : -.5\n", "30: absorption model A"},
        {"law 1\n",
         "law 1\nabsorption model A, value of parameter 2 : -1\nabsorption model A, value of parameter 3 : -2\n", ""},
        // more than one line tells
        {"Nc : 1e24", "Nc : 2e31", "10: layer 1: Nc of 2.000e+31 /m^3 is more than any solid has atoms, 1e+30"},
        {"Nt(x) : 1e20", "Nt(x) : 0 1e31 0 1 1 0 1e31 1 1", "18: layer 1, defect 1: Nt of 1.000e+31 /m^3"},
        {"sigma_nleft : 1e-19", "N : 1e21", "22: interface 1, defect 1: N of 1.000e+21 /m^2 is more than"},
        {"eps : 10", "eps : 0.9", "7: layer 1: a relative permittivity of 0.900 is below that of vacuum"},
        {"Et : 0.3", "Et : 1.6", "16: layer 1, defect 1: level 1 lies outside the gap"},
        {"energy : 0\nEt : 0.3", "energy : 2\nEt : -0.1", "16: layer 1, defect 1: level 1"},
        {"energy : 0\nEt : 0.3", "energy : 1\nEt : 0.8", "16: layer 1, defect 1: level 1"},
        {"Et : 0.7", "Et : 0.2", "interface 1, defect 1: the level lies outside the gap of the interface, 1.200 eV"},
        {"Fi_m : 4.6", "Fi_m : 5.6", "2: left contact: a work function of 5.600 eV puts the Fermi level outside"},
        {"Fi_m : 4.6", "Fi_m : 3.9", "from 4.000 to 5.500 eV"},
        {"Eg : 1.5", "Eg : 1.5 1.5 8 -1 1 1.5 1.5 2 1", "Eg by law 2"},
        // files
        {"A material (y=0) : from model\nabsorption model A, model : power law 1",
         "A material (y=0) : from file\nabsorptionfile pure A material (y=0) : gone.abs",
         "29: Layer p: absorption file (pure A): 'gone.abs' is not there"},
        {"wavelength independent : 1", "filterfile : gone.ftr", "'gone.ftr' is not there"},
        // texts
        {"name : p", "name : p\x01", "24: holds a byte that is no text"},
        {"working point\ninternal Rfront : 0.1\n", "", "The def-file is empty or incomplete."},
    };
    const ScratchFolder scratch;
    const auto s = session();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.changed);
        std::string text = cell;
        const auto at = text.find(row.line);
        ASSERT_NE(at, std::string::npos) << row.line;
        text.replace(at, std::string(row.line).size(), row.changed);
        expect_findings(check_file(*s, scratch.put("x.def", text).string()),
                        *row.expected == '\0' ? Expected{} : Expected{row.expected});
    }
}

TEST(CheckFile, OtherKinds)
{
    struct Row {
        const char *name, *text;
        Expected expected;  ///< without the file
    };
    const Row rows[] = {
        {"x.act",
         "Temperatur : 300\nTemperature : 0 K\ndark : 0\nincident spectrum from file :gone.spe\nIV_points : 1e9\n"
         "IV_increment : 5\nSecondworkpoint Voltgae : 1\n",
         {":1: unknown line \"Temperatur\"; did you mean \"Temperature\"?", ":2: Temperature = \"0 K\"",
          ":4: Spectrum file: 'gone.spe' is not there", ":5: IV_points",
          ":7: unknown line \"Secondworkpoint Voltgae\""}},
        {"x.act",
         "Temperature : 27 C\nVoltage : 0 V\nQE_startlambda : 0.3 um\nSecondworkpoint Voltage : 5 mV\n"
         "Voltage : 0.1\n",
         {":1: Temperature = \"27 C\": the unit is K, not C", ":3: QE_startlambda", ":4: Secondworkpoint Voltage",
          ":5: Voltage = \"0.1\": given already in line 2"}},
        {"x.act",
         "spectrum model : black body spectrum\nspectrum model, value of parameter 2 : -6000\n"
         "generation model : gaussian generation G(x)\ngeneration model, value of parameter 2 : -1\n"
         "generation model, value of parameter 1 : -1e17\ngeneration model, value of parameter 3 : 0\n",
         {":2: spectrum model, value of parameter = \"-6000\": the value is outside its range",
          ":5: generation model, value of parameter = \"-1e17\"", ":6: generation model"}},
        {"x.wp2",
         "Secondworkpoint dark : 0\nSecondworkpoint generation G(x) specified\n"
         "Secondworkpoint generation G(x) from file : gone.gen\n",
         {":3: Generation file (initial wp): 'gone.gen'"}},
        {"x.spe",
         "nm W/m2\n300 1\n310 -1\n305 2\n320 two\n330 1e999\n",
         {":3: power -1 has no physical sense", ":4: wavelength falls", ":5: is no row", ":6: is no row"}},
        {"x.abs", "wavelength alpha [1/m]\n300 1e5\n400 5e3\n", {}},
        {"x.abs", "wavelength alpha\n300 1e9\n400 5e3\n", {":2: the largest absorption coefficient is 1.000e+09 1/cm"}},
        {"x.abs", "0 1e5\n300 99\n300 5e3\n", {":1: wavelength 0 has", ":3: wavelength repeats"}},
        {"x.abs",
         "0.3 1e5\n1.24 5e3\n",
         {":2: the largest wavelength is 1.24: nm are meant, this looks like um or eV"}},
        {"x.spe", "4 1\n0.3 1\n", {":1: the largest wavelength is 4", ":2: wavelength falls"}},
        {"x.opt", "300 1e-20\n", {":1: a single row: it counts at its own wavelength alone"}},
        {"x.opt", "300 1e-12\n400 1e-10\n", {":2: the largest cross section is 1.0e-10 m2"}},
        {"x.opt",
         "> by Smith\nwavelength (nm)\tsigma [cm^2]\n300 1e-17\n400 1e-17\n",
         {":2: the heading says cm^2; files hold m2"}},
        {"x.opt", "nm, m2 (1e4 cm2)\n300 1e-20\n400 1e-20\n", {}},
        {"x.opt", "300 0\n400 0\n", {":1: no cross section is above 0"}},
        {"x.abs", "300 1e5\n", {":1: a single row: its value counts everywhere"}},
        {"x.grad", "0 1\n", {":1: a single row"}},
        {"x.ftr", "300 0.5\n400 1\n", {":2: no value is above 1: percent is meant"}},
        {"x.ftr", "nan 3\n300 105\n", {":1: is no row", ":2: percentage 105", ":2: a single row"}},
        {"x.gen", "-1 1e20\n1 1e21\n", {":1: position -1"}},
        {"x.gen", "um G\n1 1e21\n", {":2: a single row"}},
        {"x.gen", "0 1\n1 1\n1 2\n2 2\n2 1\n3 1\n", {}},  // interfaces are double points
        {"x.gen", "0 1\n1 1\n1 2\n1 3\n2 1\n", {":4: position repeats"}},
        {"x.opt", "300 1e-20\n400 -1e-20\n", {":2: cross section"}},
        {"x.grad",
         "> interpolaton: log\n> position: relative\n> range: all\n> a note: free\n0 1\n1 -2\n",
         {":1: unknown setting \"interpolaton\"; did you mean \"interpolation\"?",
          ":3: range: \"this\" or \"shared\""}},
        {"x.grad",
         "# Ga(x), position: rel, interpolation: cubic\n0 1\n# interpolation: log\n1 2,5\n",
         {":1: interpolation: \"lin\" or \"log\"", ":2: a single row", ":3: interpolation: a setting behind",
          ":4: is no row"}},
    };
    const ScratchFolder scratch;
    const auto s = session();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        expect_findings(check_file(*s, scratch.put(row.name, row.text).string()), row.expected);
    }
}

TEST(CheckFile, LevelsInAGradedLayer)
{
    const ScratchFolder scratch;
    const auto s = session();
    // A dip between the places of an even division, in a file on composition.
    const std::string dip = scratch.put("dip.grad", "0 1.5\n.502 1.5\n.503 .8\n.504 1.5\n1 1.5\n").string();
    const std::string none = scratch.put("none.grad", "0 1\n1 -1\n").string();
    struct Row {
        const char* what;
        std::string Eg;
        const char *reference, *Et, *Nt;
        std::string expected;  ///< of the only finding; empty: none
    };
    const std::string narrows = "1.5 0.9 0 0 1 1.5 0.9 1 1";
    const char* everywhere = "1e20";
    const Row rows[] = {
        {"within the gap all along", narrows, "0", "0.85", everywhere, ""},
        {"above EV", narrows, "0", "1", everywhere, "gap of 0.900 eV at x = 1.000 um"},
        {"below EC", narrows, "2", "1", everywhere, "gap of 0.900 eV at x = 1.000 um"},
        {"above Ei", narrows, "1", "0.6", everywhere, "gap of 0.900 eV at x = 1.000 um"},
        {"negative: outside anywhere", narrows, "0", "-0.1", everywhere, "eV at x = "},
        // Eg(t) = 1.5 - 0.6 t - 1.6 t (1-t) has its minimum 1.5 - 1.21/1.6 at t = 2.2/3.2.
        {"least between the ends", "1.5 0.9 1.6 0 1 1.5 0.9 2 1", "0", "0.8", everywhere,
         "gap of 0.744 eV at x = 0.688 um"},
        {"one row of a file on composition", "1.5 1.5 0 0 1 1.5 1.5 12 0 " + dip, "0", "1", everywhere,
         "gap of 0.800 eV at x = 0.503 um"},
        // Nt(t) = (1-t) max(1 - 2t, 0) 1e20
        {"no defect where the gap is narrow", narrows, "0", "1", "1e20 0 2e20 0 1 1e20 0 2 1", ""},
        {"no defect yet", narrows, "0", "1", "0", "gap of 0.900 eV"},
        {"a file with values that no gap has", "1.5 1.5 0 0 1 1.5 1.5 12 1 " + none, "0", "9", everywhere,
         "none.grad, line 2: the value -1 is outside its range"},
        {"a gap that is not known", "1.5 1.5 0 0 1 1.5 1.5 12 1 gone.grad", "0", "9", everywhere, "is not there"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const std::string text = "layer\nd : 1e-6\ncomposition grading : 0 1 0 0 1 0 1 1 1\nEg : " + row.Eg +
                                 "\nsrhrecombination\ntype : neutral\nReference for defect energy : " + row.reference +
                                 "\nEt : " + row.Et + "\nNt(x) : " + row.Nt + "\nfront contact\nworking point\n";
        expect_findings(check_file(*s, scratch.put("x.def", text).string()),
                        row.expected.empty() ? Expected{} : Expected{row.expected});
    }
}

TEST(CheckFile, TellsEachMentionOfAMissingFileAtItsLine)
{
    const ScratchFolder scratch;
    const auto s = session();
    const std::string filter = "optical filter : reflection\nwavelength independent : 0\nfilterfile : gone.ftr\n";
    const std::string grading = " : 1 1 0 0 1 1 1 12 1 gone.grad\n";
    const std::string two_layers = "back contact\n" + filter + "layer\nd : 1e-6\nchi" + grading + "Eg" + grading +
                                   "absorptionmodel : from file\nabsorptionfile : gone.abs\nsrhrecombination\n"
                                   "type : neutral\nNt(x)" +
                                   grading + "Metastable properties : transition 0\nNt(x)" + grading +
                                   "DonorDefect : 0\nEact_EE : 0.5\n" +
                                   "layer\nd : 1e-6\nabsorptionmodel pure A material (y=0) : from file\n"
                                   "absorptionfile pure A material (y=0) : gone.abs\nfront contact\n" +
                                   filter + "working point\n";
    expect_findings(
        check_file(*s, scratch.put("x.def", two_layers).string()),
        {":4: Filter file (left contact): 'gone.ftr' is not there", ":7: Layer 1: chi grading file",
         ":8: Layer 1: Eg grading file", ":10: Layer 1: absorption file (pure A)",
         ":10: Layer 1: absorption file (pure B)", ":13: Layer 1 defect 1: Defect density grading",
         ":14: layer 1, metastable transition 1: its donor configuration, defect 1, has no state of charge 0",
         ":14: layer 1, metastable transition 1: no defect stands for its acceptor configuration",
         ":14: metastable pairs settle at the second working point; x.act is not there",
         ":15: Layer 1 metastable transition 1: Defect density grading",
         ":17: layer 1, metastable transition 1: Eact_EE follows from the others as 2.000 eV, not 0.500",
         ":21: Layer 2: absorption file", ":25: Filter file (right contact)"});
    const std::string dark = "dark : 0\n", light = "incident spectrum from file : gone.spe\n";
    const std::string second = "Secondworkpoint ";
    expect_findings(check_file(*s, scratch.put("x.act", second + dark + second + light + dark + light).string()),
                    {":2: Spectrum file (initial wp): 'gone.spe'", ":4: Spectrum file: 'gone.spe' is not there"});
}

TEST(CheckFile, TellsOpticalCaptureThatGivesNothing)
{
    const ScratchFolder scratch;
    const auto s = session();
    const std::string text = read_whole_file(KOVIN_SOURCE_DIR "/home/def/impurity-photovoltaic.def").value_or("");
    const char* const unnamed =
        "layer 2, defect 1: level 1, optical capture of holes: it is to absorb by the model, but no line 'optical "
        "capture data' names it";
    const struct {
        const char *line, *changed;
        Expected expected;
    } rows[] = {
        {"holes, Emax (eV): 1.1",
         "holes, Emax (eV): 0.15",
         {":127: layer 2, defect 1: level 1, optical capture of holes: the model ends at Emax, 0.150 eV, and begins at "
          "0.157 eV: nothing is absorbed"}},
        {"electrons, Emax (eV): 1.1", "electrons, Emax (eV): 0.5", {}},  // from a file
        {"electrons, data from model: 0", "electrons, data from model: 1", {}},
        {"Emax (eV): 1.1", "Emax (eV): 0.9", {}},
        {"holes, m*/m0: 1.0",
         "holes, m*/m0: 0.0",
         {":125: layer 2, defect 1: level 1, optical capture of holes: the model"}},
        {"holes, m*/m0: 1.0",
         "holes, m*/m0: 1e-12 ",
         {":125: layer 2, defect 1: level 1, optical capture of holes: the model gives more than 1e-12 m2, the cross "
          "section of no defect, with n of 3.42, m*/m0 of 1e-12, Eeff/E0 of "}},
        {"holes, Emax (eV): 1.100000",
         "holes, Emax (eV): 1e300",
         {":127: layer 2, defect 1: level 1, optical capture of holes: no cross section can be calculated up to Emax"}},
        {"data (holes)",
         "data (hole)",
         {":122: unknown line \"optical capture data (hole)\"; did you mean \"optical capture data (holes)\"?",
          unnamed}},
        {"optical capture of electrons, n",
         "optical capture of electron, n",
         {":118: unknown line \"optical capture of electron, n\""}},
        {"(holes): Si",
         "[holes]: level 2, Si",
         {":122: optical capture data [holes] = \"level 2, Si_In_holes.opt\": there is no such level", unnamed}},
        {"(holes): Si", "[holes]: level 1.5, Si", {":122: optical capture data [holes]", unnamed}},
        {"(holes): Si", "[holes]: level 1, Si", {}},
        {"(holes): Si_In_holes.opt", "[holes]: level 1, none", {unnamed}},
        {"0/-\t\nsigma_n : 2.000e-26", "charged\nsigma_n : 2.000e-26", {":112: leveltype = \"charged\": these charge"}},
    };
    for (const auto& row : rows) {
        std::string changed = text;
        const auto at = changed.find(row.line);
        ASSERT_NE(at, std::string::npos) << row.line;
        changed.replace(at, std::string(row.line).size(), row.changed);
        expect_findings(check_file(*s, scratch.put("x.def", changed).string()), row.expected);
    }
}

TEST(CheckFile, TellsTypesOfLayersThatAreNoneAndAnMisStructureWithoutInsulator)
{
    const ScratchFolder scratch;
    const auto s = session();
    const std::string text = read_whole_file(KOVIN_SOURCE_DIR "/home/def/mis-silicon.def").value_or("");
    const std::string key = "functional type :  ";
    const auto at = text.find(key + '2');
    ASSERT_NE(at, std::string::npos);
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
    const std::string place = ':' + std::to_string(line) + ": ";
    const std::string none = place + "x.act asks for the C-V of an MIS structure: it takes one electrical interlayer";
    const struct {
        const char* type;
        bool insulates, known;
    } rows[] = {{"2", true, true},    {"3", true, true},     {"1", false, true},
                {"11", false, true},  {"13", false, true},   {"4", false, false},
                {"-1", false, false}, {"2.5", false, false}, {"x", false, false}};
    for (const char* asks : {"0", "1"})
        for (const auto& row : rows) {
            SCOPED_TRACE(row.type);
            scratch.put("x.act", std::string("MIS CV_calculate : ") + asks + '\n');
            std::string changed = text;
            changed.replace(at, key.size() + 1, key + row.type);
            Expected expected;
            if (!row.known) expected.push_back(place + "functional type");
            if (!row.insulates && *asks == '1') expected.push_back(none);
            expect_findings(check_file(*s, scratch.put("x.def", changed).string()), expected);
        }
}

TEST(CheckFile, TellsPairsThatAreCountedWrongAndWhereTheySettle)
{
    const ScratchFolder scratch;
    const auto s = session();
    std::string text = read_whole_file(KOVIN_SOURCE_DIR "/home/def/metastable-cigs.def").value_or("");
    const auto begin = text.find("Metastable properties"), end = text.find("interface properties");
    const std::string pair = text.substr(begin, end - begin);
    const auto number = [&](const char* digit) {
        std::string other = pair;
        return text.substr(0, end) + other.replace(other.find(" 0"), 2, digit) + text.substr(end);
    };
    const Expected nowhere = {":97: metastable pairs settle at the second working point; x.act has no lines of it"};
    const struct {
        std::string cell, actions;
        Expected expected;
    } rows[] = {
        {text, "dark : 1\n", nowhere},
        {text, "Secondworkpoint dark : 1\n", {}},
        {number(" 0"), "Secondworkpoint dark : 1\n", {":120: Metastable properties = \"transition 0\": pair 0 stands"}},
        {number(" 2"),
         "Secondworkpoint dark : 1\n",
         {":120: Metastable properties = \"transition 2\": the pairs of a layer have the numbers 0 to 1; it is read as "
          "0",
          ":120: Metastable properties = \"transition 2\": pair 0 stands already in line 97"}},
        {std::string(text).replace(text.find("Electron process :  1"), 21, "Electron process :  2"),
         "Secondworkpoint dark : 1\n",
         {":105: layer 1, metastable transition 1: Electron process 2 is none; it counts as 1"}},
        {number(" 1"),
         "Secondworkpoint dark : 1\n",
         {":123: layer 1, metastable transition 2: defect 1 takes part twice",
          ":124: layer 1, metastable transition 2: defect 2 takes part twice"}},
    };
    for (const auto& row : rows) {
        scratch.put("x.act", row.actions);
        expect_findings(check_file(*s, scratch.put("x.def", row.cell).string()), row.expected);
    }
}

TEST(CheckFile, TellsAGradingFileThatIsSharedWithNobody)
{
    const ScratchFolder scratch;
    const auto s = session();
    const auto profile = [&](const char* name) {
        return " : 1 1 0 0 1 1 1 12 1 " + scratch.put(name, "> range: shared\n0 1.2\n1 1.3\n2 1.4\n").string() + '\n';
    };
    for (const bool joined : {true, false}) {
        const std::string text = "layer\nd : 1e-6\nEg" + profile("a.grad") + "layer\nd : 1e-6\nEg" +
                                 profile(joined ? "a.grad" : "b.grad") + "front contact\nworking point\n";
        expect_findings(check_file(*s, scratch.put("x.def", text).string()),
                        joined ? Expected{} : Expected{"x.def:3: Layer 1 (): Eg: ", "x.def:6: Layer 2 (): Eg: "});
    }
}

TEST(CheckFile, TellsWhatStandsInPlaceOfAFile)
{
    const ScratchFolder scratch;
    const auto s = session();
    std::filesystem::create_directory(scratch.path() / "folder.abs");
    scratch.put("empty.abs", "");
    ASSERT_EQ(::mkfifo((scratch.path() / "pipe.abs").c_str(), 0600), 0);
    for (const auto& [name, fault] : {std::pair{"folder.abs", "is a folder"},
                                      {"empty.abs", "is empty"},
                                      {"pipe.abs", "is not a regular file"},
                                      {"none.abs", "is not there"}}) {
        const std::string file = (scratch.path() / name).string();
        const std::string text =
            "layer\nd : 1e-6\nabsorptionmodel pure A material (y=0) : from file\n"
            "absorptionfile pure A material (y=0) : " +
            file + "\nfront contact\nworking point\n";
        expect_findings(check_file(*s, scratch.put("x.def", text).string()),
                        {":4: Layer 1: absorption file (pure A): '" + file + "' " + fault});
    }
}

TEST(CheckFile, LooksIntoTheFilesThatAreNamed)
{
    const ScratchFolder scratch;
    const auto s = session();
    const auto table = scratch.put("weak.abs", "300 10\n400 1\n");
    const auto def =
        scratch.put("x.def", std::string("layer\nd : 1e-6\nabsorptionmodel : from file\nabsorptionfile : ") +
                                 table.string() + "\nfront contact\nworking point\n");
    // Once, although both pure materials have it.
    expect_findings(check_file(*s, def.string()), {table.string() + ":1: "});
    scratch.put("weak.abs", "no numbers\n");
    const CheckResult useless = check_file(*s, def.string());
    EXPECT_FALSE(useless.readable);
    EXPECT_EQ(useless.findings.at(0).file, table);
}

}  // namespace
}  // namespace kovin
