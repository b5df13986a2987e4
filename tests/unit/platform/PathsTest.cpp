#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "common/TempPrefix.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;

class PathsTest : public ::testing::Test {
protected:
    void SetUp() override {
        oldCwd = fs::current_path();
        fs::create_directories(root / "work");
        fs::current_path(root / "work");
    }
    void TearDown() override { fs::current_path(oldCwd); }
    static void Touch(const fs::path& path) { TempPrefix::Write(path, "x"); }
    // Each Windows-style text and the local path it must give.
    static void ExpectLocal(std::initializer_list<std::pair<std::string, fs::path>> cases) {
        for (const auto& [text, local] : cases) EXPECT_EQ(LocalPath(text), local) << text;
    }
    TempPrefix temp;
    fs::path root = temp.Root(), prefix = temp.Prefix(), oldCwd;
    fs::path c = prefix / "drives" / "c";
};

TEST_F(PathsTest, PrefixIsCreatedWithStandardFoldersAndFollowsEnvironment) {
    EXPECT_EQ(PrefixRoot(), prefix);
    for (const char* folder : {"windows", "drives/c", "run"}) EXPECT_TRUE(fs::is_directory(prefix / folder)) << folder;
    EXPECT_EQ(SystemProfilePath(), prefix / "windows" / "win.ini");
    EXPECT_EQ(PrefixDriveFolder('D'), prefix / "drives" / "d");

    // A prefix removed while running comes back on the next use.
    fs::remove_all(prefix);
    EXPECT_EQ(PrefixRunFolder(), prefix / "run");
    EXPECT_TRUE(fs::is_directory(prefix / "run"));

    UsePrefix(root / "other");
    EXPECT_EQ(PrefixWindowsFolder(), root / "other" / "windows");
    EXPECT_TRUE(fs::is_directory(root / "other" / "drives" / "c"));
}

TEST_F(PathsTest, PrefixDefaultsToHomeThenTemporaryFolder) {
    const char* savedHome = std::getenv("HOME");
    std::string home = savedHome ? savedHome : "";
    UsePrefix({});
    ::setenv("HOME", (root / "home").c_str(), 1);
    EXPECT_EQ(PrefixRoot(), root / "home" / ".voltaris");
    ::unsetenv("HOME");
    fs::path fallback = fs::path("/tmp") / (".voltaris-" + std::to_string(::getuid()));
    bool existed = fs::exists(fallback);
    EXPECT_EQ(PrefixRoot(), fallback);
    std::error_code ec;
    if (!existed) fs::remove_all(fallback, ec);
    if (savedHome) ::setenv("HOME", home.c_str(), 1);
}

TEST_F(PathsTest, WindowsFolderTextResolvesToWindowsFolder) {
    EXPECT_EQ(LocalPath(WindowsFolderText()), prefix / "windows");
    EXPECT_EQ(LocalPath(WindowsFolderText() + "\\WIN.INI"), prefix / "windows" / "WIN.INI");
    Touch(prefix / "windows" / "win.ini");
    EXPECT_EQ(LocalPath(WindowsFolderText() + "\\WIN.INI"), SystemProfilePath());
}

TEST_F(PathsTest, DriveLettersSeparatorsAndDots) {
    ExpectLocal({{"C:\\lumdiag.txt", c / "lumdiag.txt"},
                 {"c:/lumdiag.txt", c / "lumdiag.txt"},
                 {"C:", c},
                 {"C:\\", c},
                 {"D:\\Data\\x.csv", prefix / "drives" / "d" / "Data" / "x.csv"},
                 {"C:\\\\Telvane//Job1\\\\\\a.txt", c / "Telvane" / "Job1" / "a.txt"},
                 {"C:\\Telvane\\", c / "Telvane"},
                 {"/var\\tmp", "/var/tmp"},
                 {"sub\\file.txt", root / "work" / "sub" / "file.txt"},
                 {"C:\\a\\.\\b\\..\\c.txt", c / "a" / "c.txt"},
                 {"C:\\..\\..\\x", c / "x"},  // a drive root cannot be left upwards
                 {"..\\x", root / "x"},
                 {".", root / "work"}});
    // Back out of a missing folder into an existing one that is matched again.
    Touch(c / "Data" / "Site.lum");
    EXPECT_EQ(LocalPath("C:\\DATA\\missing\\..\\SITE.LUM"), c / "Data" / "Site.lum");
}

TEST_F(PathsTest, ExistingComponentsMatchedWithoutCaseAndMissingOnesKeepTheirCase) {
    Touch(c / "Telvane" / "Job1" / "Data" / "Voltaris" / "Site0611.lum");
    ExpectLocal({{"C:\\TELVANE\\job1\\DATA\\voltaris\\SITE0611.LUM", c / "Telvane" / "Job1" / "Data" / "Voltaris" / "Site0611.lum"},
                 {"c:\\telvane", c / "Telvane"},
                 // Absolute local paths are matched the same way.
                 {(c / "TELVANE" / "JOB1").string(), c / "Telvane" / "Job1"},
                 // A new name is taken as written, below the existing folder as spelled on disk.
                 {"C:\\TELVANE\\NewJob\\New.LUM", c / "Telvane" / "NewJob" / "New.LUM"},
                 // A missing folder stops the matching: an existing-looking name below it is not searched.
                 {"C:\\Missing\\TELVANE", c / "Missing" / "TELVANE"}});
    fs::current_path(c);
    EXPECT_EQ(LocalPath("telvane\\JOB1\\data"), c / "Telvane" / "Job1" / "Data");
}

TEST_F(PathsTest, ExactSpellingWinsAndCaseTwinsAreDeterministic) {
    fs::path dir = c / "twins";
    for (const char* name : {"b.txt", "B.txt", "B.TXT"}) Touch(dir / name);
    // No exact match: the first in byte order.
    ExpectLocal({{"C:\\twins\\b.txt", dir / "b.txt"}, {"C:\\twins\\B.TXT", dir / "B.TXT"}, {"C:\\twins\\b.TXT", dir / "B.TXT"}});
}

TEST_F(PathsTest, LookupSeesFilesCreatedAndDeletedBetweenCalls) {
    fs::path dir = c / "store";
    fs::create_directories(dir);
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "site.lum");
    Touch(dir / "SITE.LUM");
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "SITE.LUM");
    fs::remove(dir / "SITE.LUM");
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "site.lum");
}

TEST(PathTextTest, FolderFileAndJoin) {
    // {path, folder part, file part}
    for (auto [path, folder, file] : {std::tuple{"C:\\a\\b.txt", "C:\\a", "b.txt"}, {"C:/a/b.txt", "C:/a", "b.txt"},
                                      {"C:\\a/b.txt", "C:\\a", "b.txt"}, {"C:\\b.txt", "C:", "b.txt"},
                                      {"C:b.txt", "C:", "b.txt"}, {"/b.txt", "/", "b.txt"}, {"b.txt", "", "b.txt"},
                                      {"C:\\a\\", "C:\\a", ""}}) {
        EXPECT_EQ(PathFolderPart(path), folder) << path;
        EXPECT_EQ(PathFilePart(path), file) << path;
    }
    for (auto [a, b, joined] : {std::tuple{"C:\\a", "b.txt", "C:\\a\\b.txt"}, {"C:\\a\\", "b.txt", "C:\\a\\b.txt"},
                                {"C:\\a", "\\b.txt", "C:\\a\\b.txt"}, {"/opt/x/", "b.txt", "/opt/x/b.txt"},
                                {"", "b.txt", "b.txt"}})
        EXPECT_EQ(PathJoin(a, b), joined) << a << " + " << b;
}

}  // namespace
