#include "base/folders.h"

#include "base/scratch_folder.h"

#include <gtest/gtest.h>

#include <set>

namespace kovin {
namespace {

TEST(FileKinds, ByExtension)
{
    struct Row {
        const char* path;
        FileKind kind;
    };
    constexpr Row rows[] = {{"a.def", FileKind::definition},
                            {"A CELL.DEF  ", FileKind::definition},
                            {"x/y.z/a.b.definition", FileKind::definition},
                            {"C:\\KOVIN\\a.kvn", FileKind::all_settings},
                            {"a.kov", FileKind::all_settings},
                            {"a.scr", FileKind::script},
                            {"a.gen", FileKind::generation},
                            {"a.wp2", FileKind::work_point_2},
                            {"a.material", FileKind::material},
                            {"a.defx", FileKind::unknown},
                            {"x.def/a", FileKind::unknown},
                            {"x.def\\a", FileKind::unknown},
                            {"a.", FileKind::unknown},
                            {"def", FileKind::unknown},
                            {"", FileKind::unknown}};
    for (const Row& r : rows) EXPECT_EQ(DetermineKOVINFiletype(r.path), r.kind) << r.path;
}

TEST(Folders, EveryKindHasAPlace)
{
    const Folders folders{"/home", "/out"};
    EXPECT_EQ(folders.of(FileKind::work_point_2), "/home/def");
    EXPECT_EQ(folders.of(FileKind::batch_list), "/home/bdf");
    EXPECT_EQ(folders.of(static_cast<FileKind>(22)), "/home/optcapt");
    for (const int kind : {-1, 14, 15, 16, 17, 18, 19, 20, 23, 24, 25})
        EXPECT_EQ(folders.of(static_cast<FileKind>(kind)), "/out") << kind;
    const std::set<std::string_view> known(std::begin(folder_names), std::end(folder_names));
    EXPECT_EQ(known.size(), 14u);
    for (int kind = -1; kind <= 31; ++kind) {
        const auto folder = folders.of(static_cast<FileKind>(kind));
        EXPECT_TRUE(folder == "/out" || known.contains(folder.filename().native())) << kind;
    }
}

TEST(Folders, NamesBecomePaths)
{
    const ScratchFolder home;
    const Folders folders{home.path(), home.path() / "results"};
    ASSERT_TRUE(make_folders(folders));
    const auto abs = home.path() / "absorption";
    home.put("absorption/CdS.abs", "1 2\n");
    home.put("absorption/twice.abs", "1 2\n");
    home.put("absorption/Twice.abs", "1 2\n");
    const auto elsewhere = home.put("else where/b.abs", "1 2\n");

    struct Row {
        const char* what;
        std::string given;
        std::filesystem::path expected;
    };
    const Row rows[] = {
        {"bare name", "CdS.abs", abs / "CdS.abs"},
        {"trailing blanks", "CdS.abs \t", abs / "CdS.abs"},
        {"bare name that is not there", "new.abs", abs / "new.abs"},
        {"other case, one match", "cds.ABS", abs / "CdS.abs"},
        {"other case, two matches", "TWICE.abs", abs / "TWICE.abs"},
        {"exact name before any other case", "Twice.abs", abs / "Twice.abs"},
        {"foreign absolute path", "C:\\KOVIN\\absorption\\cds.abs", abs / "CdS.abs"},
        {"foreign path to nothing", "C:\\KOVIN\\none.abs", abs / "none.abs"},
        {"drive without folder", "C:CdS.abs", abs / "CdS.abs"},
        {"path that exists", elsewhere.string(), elsewhere},
        {"relative to the home, foreign spelling", "else where\\b.abs", elsewhere},
        {"absolute path to nothing, file known", "/gone/CdS.abs", abs / "CdS.abs"},
        {"absolute path to nothing", "/gone/none.abs", "/gone/none.abs"},
    };
    for (const Row& r : rows) EXPECT_EQ(CheckKOVINPaths(folders, r.given, FileKind::absorption), r.expected) << r.what;
    EXPECT_EQ(CheckKOVINPaths(folders, "a.iv", FileKind::iv), home.path() / "results" / "a.iv");

    EXPECT_EQ(file_part("C:\\x\\a b.abs  "), "a b.abs");
    EXPECT_EQ(file_part("x/"), "");
    EXPECT_FALSE(make_folders({elsewhere, home.path()})) << "a file stands where the root should be";
}

}  // namespace
}  // namespace kovin
