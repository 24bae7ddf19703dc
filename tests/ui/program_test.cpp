// The program from outside: exit statuses, files, what goes to which stream.
#include "base/scratch_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace kovin {
namespace {

const std::string home = std::string(KOVIN_SOURCE_DIR) + "/home";

struct Ended {
    int status;
    std::string out, err;
};

std::string contents(const std::filesystem::path& file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

/// Runs the program; its own home is that beside it.
Ended kovin(const ScratchFolder& scratch, const std::string& arguments, const std::string& program = KOVIN_PROGRAM)
{
    const auto out = scratch.path() / "stdout", err = scratch.path() / "stderr";
    const std::string line = "cd '" + scratch.path().string() + "' && '" + program + "' " + arguments + " > '" +
                             out.string() + "' 2> '" + err.string() + "'";
    const int code = std::system(line.c_str());
    return {WIFEXITED(code) ? WEXITSTATUS(code) : -1, contents(out), contents(err)};
}

TEST(Program, EndsWithTheStatusThatTellsWhy)
{
    const ScratchFolder scratch;
    scratch.put("broken.def", "layer\nname : x\nd : many [m]\n");
    scratch.put("a file", "in the way of a folder");
    std::filesystem::copy(home + "/def/silicon-pn.def", scratch.path() / "my cell.def");
    const std::string cell = home + "/def/silicon-pn.def";
    std::filesystem::copy(cell, scratch.path() / "gone.def");
    // A cut curve: a probe of too many photons, for this cell alone.
    std::string probed = contents(cell);
    probed.replace(probed.find("1.00e+19"), 8, "1.00e+36");
    scratch.put("probed.def", probed);
    scratch.put("probed.act", contents(home + "/def/silicon-pn.act") + "\nQE_calculate : 1\n");
    scratch.put("far.act",
                "dark : 1\nCV_startV : 0\nCV_stopV : 900\nCV_points : 3\nCV_calculate : 1\nCf_calculate : 1\n");
    std::string refused = contents(home + "/def/cigs-baseline.def");
    refused.insert(refused.find("\nlayer\n", refused.find("interface properties")),
                   "\ninterface recombination\ntype : amphoteric\nN : 1e14\n");
    scratch.put("refused.def", refused);
    const std::string pairs = contents(home + "/def/metastable-cigs.def");
    scratch.put("pairs.def", "convergence\nmaxmetaiter_full : 1\n" + pairs.substr(pairs.find("back contact")));
    scratch.put("gone.act", "dark : 0\nincident spectrum from file : gone.spe\n");
    for (const char* earlier : {"out/probed.qe", "out/refused.eb"}) scratch.put(earlier, "of an earlier run");
    scratch.put("slip.act", "dark : 1\nRs [ohm cm2] : 1\n");
    scratch.put("commas.spe", "300, 0.5\n400, 0.6\n");
    const std::string grading = scratch.put("bad.grad", "interpolation: lin\n0 1.1\n0.5 1,1\n").string();
    std::string graded = contents(cell);
    const auto at = graded.find("\nEg :") + 1;
    graded.replace(at, graded.find('\n', at) - at, "Eg : 1.124 1.124 1 1 1 1.124 1.124 12 1\t" + grading);
    scratch.put("graded.def", graded);
    for (const char* pipe : {"pipe.def", "pipe.act"}) ASSERT_EQ(::mkfifo((scratch.path() / pipe).c_str(), 0600), 0);
    const std::string run = "run '" + cell + "' -o out ";
    struct Row {
        const char* what;
        std::string arguments;
        int status;
        const char* on_stderr;
    };
    const Row rows[] = {
        {"no arguments", "", 2, "kovin"},
        {"unknown option", "--nonsense", 2, "nonsense"},
        {"help", "--help", 0, ""},
        {"version", "--version", 0, ""},
        {"loads and ends", "'" + cell + "'", 0, ""},
        {"cell without a file", "run missing.def -o out", 3, "missing.def"},
        {"loading without a file", "missing.def", 3, "missing.def"},
        {"damaged cell", "run broken.def -o out", 3, "many"},
        {"no cell", "run x.act -o out", 3, ".def"},
        {"unknown kind of file", "run readme.txt '" + cell + "' -o out", 3, "readme.txt"},
        {"nothing of a known kind", "foo.xyz 'b.txt'", 3, "no file of a known kind is given: 'foo.xyz', 'b.txt'"},
        {"something of an unknown kind", "foo.xyz '" + cell + "'", 0, ""},
        {"a pipe", "run pipe.def -o out", 3, "is not a regular file"},
        {"a pipe for an action list", "run '" + cell + "' pipe.act -o out", 3, "is not a regular file"},
        {"kind that is not there yet", "x.script", 3, "x.script"},
        {"light without a file", "run '" + cell + "' moon.spe -o out", 3, "moon.spe"},
        {"a spectrum with commas", "run 'my cell.def' commas.spe -o out", 3, "first line is: 300, 0.5"},
        {"a grading file with commas", "run graded.def -o out", 3, "two numbers are expected"},
        {"and with an action list", "run graded.def '" + home + "/def/silicon-pn.act' -o out", 3,
         "two numbers are expected"},
        {"input file that is missing", "run gone.def -o out", 3, "gone.spe not found (Set to standard AM1.5G"},
        {"and is replaced", "run gone.def --repair -o out", 1, "standard KOVIN AM1.5G 1 sun spectrum set"},
        {"a measurement that cannot be made", "run probed.def -o out -f", 1, "A probe of 1.00e+36 photons"},
        {"a curve that is cut", "run '" + cell + "' far.act -o far", 1, "C(V) calculation cut at V = 0.000000 Volt"},
        {"nothing to find", "check '" + cell + "'", 0, "nothing found"},
        {"findings", "check broken.def", 1, ""},
        {"clean but for a file that it names", "check gone.act", 3, ""},
        {"findings and a file without", "check broken.def missing.def", 3, ""},
        {"check of what cannot be checked", "check x.script", 3, ""},
        {"results where a file is", "run '" + cell + "' -o 'a file'", 6, "a file"},
        {"deep depletion of what is no MIS structure", run + "--deep-depletion", 2, "MIS CV_calculate"},
        {"route that is none", run + "--route scenic", 2, "--route"},
        {"route that is told", "'" + cell + "' --route classic -v", 0, "classic route (--route)"},
        {"scheme that is none", run + "--scheme 15", 2, "--scheme"},
        {"switch without a scheme", run + "--switch 3", 2, "--scheme"},
        {"switch before the first pass", run + "--scheme 14 --switch 1", 2, "--switch"},
        {"termination at 0", run + "--termination 0", 2, "'0' is no positive number"},
        {"termination below 0", run + "--termination=-1e-3", 2, "'-1e-3' is no positive number"},
        {"termination with a unit", run + "--termination 1e-3kT", 2, "'1e-3kT' is no positive number"},
        {"termination that is no number", run + "--termination nan", 2, "'nan' is no positive number"},
        {"rows that are not known", run + "--cut-curves half", 2, "--cut-curves"},
        {"setting of an analysis that is none", run + "--analysis nuo=1e12", 2, "did you mean 'nu0'?"},
        {"value of an analysis that is none", run + "--analysis mode=4", 2, "'4' is no value of mode (whole, 0 to 3)"},
        {"layer that the cell does not have", run + "--analysis layer=5", 2, "layer 5: the cell has 3"},
        {"defect that the layer of the junction does not have", run + "--analysis defect=7", 2,
         "defect 7: layer 2 has"},
        {"a slip in an action list", "run 'my cell.def' slip.act -o slip", 0,
         "slip.act:2: unknown line \"Rs [ohm cm2]"},
        {"pairs that do not settle", "run pairs.def -o pairs", 1, "No convergence in update metastable defects"},
        {"nothing to analyse", run + "-f --analyse", 1, "No CV or Cf-calculations are available !"},
        {"physics that is not there yet", "run refused.def -o out -f", 1, "defect with several levels (amphoteric)"},
        {"no action list", "run 'my cell.def' -o out", 0, "no action list"},
        {"results that are there", "run 'my cell.def' -o out", 6, "my cell.iv"},
        {"and are overwritten", "run 'my cell.def' -o out -f", 0, ""},
        {"but not what is read", "run 'my cell.def' 'out/my cell.gen' -o out -f", 6, "is read by this run"},
        {"two cells", "run 'my cell.def' '" + cell + "' -o two", 3, "'my cell.def': a run takes one file of its kind"},
    };
    for (const Row& row : rows) {
        const Ended ended = kovin(scratch, row.arguments);
        EXPECT_EQ(ended.status, row.status) << row.what << '\n' << ended.err;
        EXPECT_NE(ended.err.find(row.on_stderr), std::string::npos) << row.what << '\n' << ended.err;
    }
    for (const char* kind : {"iv", "eb", "gen", "occ"})
        EXPECT_TRUE(std::filesystem::exists(scratch.path() / "out" / (std::string("my cell.") + kind))) << kind;
    for (const char* kind : {"iv", "cv", "cf", "ac"})
        EXPECT_TRUE(std::filesystem::exists(scratch.path() / "far" / (std::string("silicon-pn.") + kind))) << kind;
    for (const char* kind : {"iv", "occ"})
        EXPECT_NE(contents(scratch.path() / "pairs" / (std::string("pairs.") + kind))
                      .find("remark: metastable pairs did not settle"),
                  std::string::npos)
            << kind;
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "out/refused.eb")) << "nothing half right";
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "out/probed.qe")) << "nothing of another run";
    EXPECT_NE(kovin(scratch, "run probed.def -o out -f --json").out.find("\"points\":0,\"cut\":true"),
              std::string::npos);
}

/// A figure of a summary, nan if it is not there.
double figure(const std::string& json, const std::string& name)
{
    const auto at = json.find('"' + name + "\":");
    return at == std::string::npos ? std::nan("") : std::strtod(json.c_str() + at + name.size() + 3, nullptr);
}

// All schemes solve the same equations; how far a result is from their solution is a matter of the termination.
TEST(Program, SchemesAgreeAtATightTermination)
{
    const ScratchFolder scratch;
    const auto FF = [&](const std::string& options) {
        return figure(kovin(scratch, "run cigs-baseline.def --json -f -o out " + options).out, "FF");
    };
    const double loose = FF("--termination 3"), tight = FF("--termination 1e-7");
    EXPECT_GT(std::fabs(loose / tight - 1.0), 1e-5) << "the option has no effect";
    for (const char* scheme : {"11", "12", "13", "14", "14 --switch 3"})
        EXPECT_NEAR(FF(std::string("--termination 1e-7 --scheme ") + scheme) / tight, 1.0, 1e-7) << scheme;
}

TEST(Program, PutsDataOnStandardOutputAndFilesWhereTold)
{
    const ScratchFolder scratch;
    const Ended run = kovin(scratch, "run silicon-pn.def --json -o out");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.find("{\"problem\":\"silicon-pn\",\"converged\":true,\"iv\":{\"Voc\":0.64"), 0u) << run.out;
    EXPECT_NE(run.out.find("\"points\":41,"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("/out/silicon-pn.iv\""), std::string::npos) << run.out;
    EXPECT_EQ(run.out.substr(run.out.size() - 3), "]}\n");
    EXPECT_NE(run.err.find("silicon-pn.act"), std::string::npos) << "the list beside the cell is taken, and told";

    const std::string iv = contents(scratch.path() / "out/silicon-pn.iv");
    EXPECT_EQ(iv.find("KOVIN 3.3.12 NARVEL-ODRIM: Version "), 0u);
    EXPECT_NE(iv.find("\nVoc =\t"), std::string::npos);

    EXPECT_EQ(kovin(scratch, "check out/silicon-pn.gen").status, 0) << "what the program writes is clean";

    // A generation file of a run can be the light of the next: same collection, no spectrum.
    scratch.put("given.act",
                "Temperature : 300 K\ndark : 0\ngeneration G(x) specified\ngeneration from file : 1\n"
                "IV_startV : 0\nIV_stopV : 0.7\nIV_points : 15\nIV_calculate : 1\n");
    const Ended given = kovin(scratch, "run silicon-pn.def given.act out/silicon-pn.gen --json -o again");
    EXPECT_EQ(given.status, 0) << given.err;
    EXPECT_NEAR(figure(given.out, "Voc"), figure(run.out, "Voc"), 1e-3);
    EXPECT_NEAR(figure(given.out, "Jsc") / figure(run.out, "Jsc"), 1.0, 1e-3);
}

// C-V and C-f of a shipped cell, whose base has Na = 1e16 cm-3: what is read out of them stands in summary and files.
TEST(Program, AnalysesCapacitanceCurves)
{
    const ScratchFolder scratch;
    scratch.put("dark.act",
                "dark : 1\nFrequency : 1e4\nCV_startV : -0.8\nCV_stopV : 0\nCV_points : 17\nCV_calculate : 1\n"
                "Cf_startf : 1e2\nCf_stopf : 1e8\nCf_total points : 31\nCf_calculate : 1\n");
    const std::string run = "run silicon-pn.def dark.act --json -f ";
    const Ended usual = kovin(scratch, run + "-o out"), own = kovin(scratch, run + "-o out --analyse"),
                other = kovin(scratch, run + "-o out --analysis epsilon=23.8 --analysis nu0=1e12 --analysis points=5"),
                few = kovin(scratch, run + "-o few --analysis points=31");
    EXPECT_EQ(own.status, 0) << own.err;
    EXPECT_EQ(usual.out.find("\"as\":"), std::string::npos);
    EXPECT_NEAR(figure(own.out, "N"), 1e16, 0.05e16);
    EXPECT_NEAR(figure(usual.out, "N") / figure(own.out, "N"), 1.0, 1e-9) << "the file says nothing of it";
    EXPECT_NEAR(figure(other.out, "N") / figure(own.out, "N"), 0.5, 1e-9);
    EXPECT_NEAR(figure(own.out, "Vbi"), 0.83, 0.06);
    EXPECT_NEAR(figure(other.out, "W_um") / figure(own.out, "W_um"), 2.0, 1e-6);
    const std::string as = contents(scratch.path() / "out/silicon-pn.as");
    EXPECT_NE(as.find("Admittance analysis: mode 0\tnu0 = 1.0000e+12 1/s"), std::string::npos) << as;
    EXPECT_NE(contents(scratch.path() / "out/silicon-pn.cv").find("constant value of epsilon\t23.8"),
              std::string::npos);
    EXPECT_EQ(few.status, 1);
    EXPECT_NE(few.err.find("The C-f curve has no more than the 31 points"), std::string::npos) << few.err;
    // What an earlier run left goes with the next, for what that one does not measure too.
    scratch.put("C-V.act",
                "dark : 1\nFrequency : 1e4\nCV_startV : 0\nCV_stopV : -1\nCV_points : 3\nCV_calculate : 1\n");
    const Ended later = kovin(scratch, "run silicon-pn.def C-V.act --json -f -o out");
    for (const char* gone : {"out/silicon-pn.cf", "out/silicon-pn.as"}) {
        EXPECT_FALSE(std::filesystem::exists(scratch.path() / gone)) << gone;
        EXPECT_NE(later.err.find(gone), std::string::npos) << later.err;
    }
    EXPECT_NEAR(figure(later.out, "N") / figure(own.out, "N"), 1.0, 0.02) << "of a curve without N(W)";

    // Series resistance makes a step of C that is no level; a state that has no small signals is told.
    scratch.put("odd.act",
                "dark : 1\nVoltage : -20\nFrequency : 1e4\nCf_startf : 1e2\nCf_stopf : 1e8\n"
                "Cf_total points : 31\nCf_calculate : 1\nRs present : 1\nRs : 1\n");
    scratch.put("Rs.act",
                "dark : 1\nCf_startf : 1e2\nCf_stopf : 1e8\nCf_total points : 31\nCf_calculate : 1\n"
                "Rs present : 1\nRs : 1\n"
                "CV_startV : 0\nCV_stopV : 0\nCV_points : 4\nCV_calculate : 1\n");
    const Ended rolled = kovin(scratch, "run silicon-pn.def Rs.act --analyse -o Rs"),
                odd = kovin(scratch, "run silicon-pn.def odd.act --json -o odd");
    EXPECT_NE(rolled.out.find("level (AS)         - eV\n  the step of the C-f curve is that of the series"),
              std::string::npos)
        << rolled.out;
    // A C-V that stays at one voltage has no line and no doping, in words and in figures.
    EXPECT_NE(rolled.out.find("Vbi (C-V)          - V\n  N (C-V)            - /cm3\n"), std::string::npos)
        << rolled.out;
    EXPECT_EQ(contents(scratch.path() / "Rs/silicon-pn.cv").find("inf"), std::string::npos);
    EXPECT_EQ(odd.status, 1);
    EXPECT_NE(odd.out.find("\"capacitance\":null"), std::string::npos) << odd.out;
    for (const char* told : {"No solution at V = -20.000000 Volt\nThe small-signal", "No solution at f = "})
        EXPECT_NE(odd.err.find(told), std::string::npos) << odd.err;
}

TEST(Program, HomeIsPrintedAndMade)
{
    const ScratchFolder scratch;
    scratch.put("mine/def/cigs-baseline.def", "my own");
    const std::string mine = (scratch.path() / "mine").string();
    const Ended made = kovin(scratch, "home --init mine");
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.out, mine + '\n');
    EXPECT_EQ(contents(mine + "/def/cigs-baseline.def"), "my own") << "what is there stays";
    EXPECT_TRUE(std::filesystem::exists(mine + "/spectrum/AM1_5G 1 sun.spe"));
    EXPECT_TRUE(std::filesystem::is_directory(mine + "/scaling"));
    EXPECT_EQ(kovin(scratch, "home --home mine").out, mine + '\n');
    EXPECT_EQ(kovin(scratch, "home").out, std::filesystem::path(KOVIN_PROGRAM).parent_path().string() + '\n');
    scratch.put("a file", "");
    EXPECT_EQ(kovin(scratch, "home --init 'a file/home'").status, 6);

    // Without the shipped files there is nothing to fill a home with.
    const std::filesystem::path alone = scratch.path() / "bin/kovin";
    std::filesystem::create_directory(alone.parent_path());
    std::filesystem::copy(KOVIN_PROGRAM, alone);
    const Ended bare = kovin(scratch, "--home none home --init new", alone.string());
    EXPECT_EQ(bare.status, 3);
    EXPECT_NE(bare.err.find("the shipped files are neither beside the program in '" + alone.parent_path().string()),
              std::string::npos)
        << bare.err;
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "new"));
    EXPECT_EQ(kovin(scratch, "--home mine home --init new", alone.string()).status, 0) << "from the present home";
    EXPECT_EQ(kovin(scratch, "--home mine home --init mine/def/sub", alone.string()).status, 6) << "into itself";

    // With a log nobody is asked: what is missing is repaired, and the terminal names the log.
    scratch.put("lit.act", "dark : 0\nincident spectrum from file : gone.spe\n");
    const Ended repaired = kovin(scratch, "--home mine mine/def/silicon-pn.def lit.act --error-log new");
    EXPECT_EQ(repaired.status, 1);
    EXPECT_NE(repaired.err.find("mine/KOVINErrorLogFile.log"), std::string::npos) << repaired.err;
    const Ended run = kovin(scratch, "--home mine run mine/def/silicon-pn.def lit.act --error-log new -o out");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("missing files were repaired"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("mine/KOVINErrorLogFile.log"), std::string::npos) << run.err;
}

TEST(Program, FindingsAndMessagesGoWhereTheyAreWanted)
{
    const ScratchFolder scratch;
    scratch.put("x.def", "layer\nd : 1e-6\ncolour : red\nfront contact\nworking point\n");
    const Ended check = kovin(scratch, "--home mine check x.def");
    EXPECT_EQ(check.status, 1);
    EXPECT_EQ(check.out, (scratch.path() / "x.def").string() + ":3: unknown line \"colour\"\n");
    EXPECT_EQ(check.err, "");
    // Messages go to a log in the home, which a second run continues or begins anew.
    struct Row {
        const char* mode;
        int entries;
        bool shown;
    };
    for (const Row& row : {Row{"new", 1, false}, Row{"append", 2, false}, Row{"both", 1, true}}) {
        const Ended run =
            kovin(scratch, std::string("--home mine --error-log ") + row.mode + " run missing.def -o out");
        EXPECT_EQ(run.status, 3);
        EXPECT_EQ(run.err.find("missing.def") != std::string::npos, row.shown) << row.mode;
        EXPECT_EQ(run.err.find("KOVINErrorLogFile.log") == std::string::npos, row.shown) << row.mode << run.err;
        const std::string log = contents(scratch.path() / "mine/KOVINErrorLogFile.log");
        int entries = 0;
        for (auto at = log.find("could not be loaded"); at != std::string::npos;
             at = log.find("could not be loaded", at + 1))
            ++entries;
        EXPECT_EQ(entries, row.entries) << row.mode;
        EXPECT_NE(log.find("KOVIN error message whilst reading set-up files"), std::string::npos) << row.mode;
    }
}

}  // namespace
}  // namespace kovin
