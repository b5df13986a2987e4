#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/Paths.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;

class PathsTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-paths-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        prefix = root / "prefix";
        ::setenv("VOLTARIS_PREFIX", prefix.c_str(), 1);
        oldCwd = fs::current_path();
        fs::create_directories(root / "work");
        fs::current_path(root / "work");
    }
    void TearDown() override {
        fs::current_path(oldCwd);
        ::unsetenv("VOLTARIS_PREFIX");
        std::error_code ec;
        fs::remove_all(root, ec);
    }
    static void Touch(const fs::path& path) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "x";
    }
    fs::path root, prefix, oldCwd;
};

TEST_F(PathsTest, PrefixIsCreatedWithStandardFoldersAndFollowsEnvironment) {
    EXPECT_EQ(PrefixRoot(), prefix);
    EXPECT_TRUE(fs::is_directory(prefix / "windows"));
    EXPECT_TRUE(fs::is_directory(prefix / "drives" / "c"));
    EXPECT_TRUE(fs::is_directory(prefix / "run"));
    EXPECT_EQ(SystemProfilePath(), prefix / "windows" / "win.ini");
    EXPECT_EQ(PrefixDriveFolder('D'), prefix / "drives" / "d");

    // A prefix removed while running comes back on the next use.
    fs::remove_all(prefix);
    EXPECT_EQ(PrefixRunFolder(), prefix / "run");
    EXPECT_TRUE(fs::is_directory(prefix / "run"));

    fs::path other = root / "other";
    ::setenv("VOLTARIS_PREFIX", other.c_str(), 1);
    EXPECT_EQ(PrefixWindowsFolder(), other / "windows");
    EXPECT_TRUE(fs::is_directory(other / "drives" / "c"));
}

TEST_F(PathsTest, PrefixDefaultsToHomeThenTemporaryFolder) {
    const char* savedHome = std::getenv("HOME");
    std::string home = savedHome ? savedHome : "";
    ::unsetenv("VOLTARIS_PREFIX");
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

TEST_F(PathsTest, DriveLettersAndSeparators) {
    fs::path c = prefix / "drives" / "c";
    EXPECT_EQ(LocalPath("C:\\lumdiag.txt"), c / "lumdiag.txt");
    EXPECT_EQ(LocalPath("c:/lumdiag.txt"), c / "lumdiag.txt");
    EXPECT_EQ(LocalPath("C:"), c);
    EXPECT_EQ(LocalPath("C:\\"), c);
    EXPECT_EQ(LocalPath("D:\\Data\\x.csv"), prefix / "drives" / "d" / "Data" / "x.csv");
    EXPECT_EQ(LocalPath("C:\\\\Telvane//Job1\\\\\\a.txt"), c / "Telvane" / "Job1" / "a.txt");
    EXPECT_EQ(LocalPath("C:\\Telvane\\"), c / "Telvane");
    EXPECT_EQ(LocalPath("/var\\tmp"), fs::path("/var/tmp"));
    EXPECT_EQ(LocalPath("sub\\file.txt"), root / "work" / "sub" / "file.txt");
}

TEST_F(PathsTest, DotAndDotDot) {
    fs::path c = prefix / "drives" / "c";
    EXPECT_EQ(LocalPath("C:\\a\\.\\b\\..\\c.txt"), c / "a" / "c.txt");
    // A drive root cannot be left upwards.
    EXPECT_EQ(LocalPath("C:\\..\\..\\x"), c / "x");
    EXPECT_EQ(LocalPath("..\\x"), root / "x");
    EXPECT_EQ(LocalPath("."), root / "work");
    // Back out of a missing folder into an existing one that is matched again.
    Touch(c / "Data" / "Site.lum");
    EXPECT_EQ(LocalPath("C:\\DATA\\missing\\..\\SITE.LUM"), c / "Data" / "Site.lum");
}

TEST_F(PathsTest, ExistingComponentsMatchedWithoutCaseAtEveryDepth) {
    fs::path c = prefix / "drives" / "c";
    Touch(c / "Telvane" / "Job1" / "Data" / "Voltaris" / "Site0611.lum");
    EXPECT_EQ(LocalPath("C:\\TELVANE\\job1\\DATA\\voltaris\\SITE0611.LUM"),
              c / "Telvane" / "Job1" / "Data" / "Voltaris" / "Site0611.lum");
    EXPECT_EQ(LocalPath("c:\\telvane"), c / "Telvane");
    // Absolute and relative local paths are matched the same way.
    EXPECT_EQ(LocalPath((c / "TELVANE" / "JOB1").string()), c / "Telvane" / "Job1");
    fs::current_path(c);
    EXPECT_EQ(LocalPath("telvane\\JOB1\\data"), c / "Telvane" / "Job1" / "Data");
}

TEST_F(PathsTest, MissingComponentsKeepTheirCase) {
    fs::path c = prefix / "drives" / "c";
    fs::create_directories(c / "Telvane");
    // The new file takes the name as written, below the existing folder as spelled on disk.
    EXPECT_EQ(LocalPath("C:\\TELVANE\\NewJob\\New.LUM"), c / "Telvane" / "NewJob" / "New.LUM");
    // A missing folder stops the matching: an existing-looking name below it is not searched.
    EXPECT_EQ(LocalPath("C:\\Missing\\TELVANE"), c / "Missing" / "TELVANE");
}

TEST_F(PathsTest, ExactSpellingWinsAndCaseTwinsAreDeterministic) {
    fs::path dir = prefix / "drives" / "c" / "twins";
    Touch(dir / "b.txt");
    Touch(dir / "B.txt");
    Touch(dir / "B.TXT");
    EXPECT_EQ(LocalPath("C:\\twins\\b.txt"), dir / "b.txt");
    EXPECT_EQ(LocalPath("C:\\twins\\B.TXT"), dir / "B.TXT");
    // No exact match: the first in byte order.
    EXPECT_EQ(LocalPath("C:\\twins\\b.TXT"), dir / "B.TXT");
}

TEST_F(PathsTest, LookupSeesFilesCreatedAndDeletedBetweenCalls) {
    fs::path dir = prefix / "drives" / "c" / "store";
    fs::create_directories(dir);
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "site.lum");
    Touch(dir / "SITE.LUM");
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "SITE.LUM");
    fs::remove(dir / "SITE.LUM");
    EXPECT_EQ(LocalPath("C:\\STORE\\site.lum"), dir / "site.lum");
}

TEST(PathTextTest, FolderFileAndJoin) {
    EXPECT_EQ(PathFolderPart("C:\\a\\b.txt"), "C:\\a");
    EXPECT_EQ(PathFilePart("C:\\a\\b.txt"), "b.txt");
    EXPECT_EQ(PathFolderPart("C:/a/b.txt"), "C:/a");
    EXPECT_EQ(PathFilePart("C:\\a/b.txt"), "b.txt");
    EXPECT_EQ(PathFolderPart("C:\\b.txt"), "C:");
    EXPECT_EQ(PathFolderPart("C:b.txt"), "C:");
    EXPECT_EQ(PathFilePart("C:b.txt"), "b.txt");
    EXPECT_EQ(PathFolderPart("/b.txt"), "/");
    EXPECT_EQ(PathFolderPart("b.txt"), "");
    EXPECT_EQ(PathFilePart("b.txt"), "b.txt");
    EXPECT_EQ(PathFilePart("C:\\a\\"), "");

    EXPECT_EQ(PathJoin("C:\\a", "b.txt"), "C:\\a\\b.txt");
    EXPECT_EQ(PathJoin("C:\\a\\", "b.txt"), "C:\\a\\b.txt");
    EXPECT_EQ(PathJoin("C:\\a", "\\b.txt"), "C:\\a\\b.txt");
    EXPECT_EQ(PathJoin("/opt/x/", "b.txt"), "/opt/x/b.txt");
    EXPECT_EQ(PathJoin("", "b.txt"), "b.txt");
}

}  // namespace
