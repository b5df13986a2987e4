#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>
#include <utility>

#include "common/TempPrefix.h"
#include "platform/Files.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
protected:
    void TearDown() override {
        std::error_code ec;
        for (auto& entry : fs::recursive_directory_iterator(prefix.Root(), ec))
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ec);
    }
    static int Entries(const fs::path& folder) {
        int count = 0;
        for ([[maybe_unused]] auto& entry : fs::directory_iterator(folder)) ++count;
        return count;
    }
    void Write(const fs::path& path, const std::string& text) { TempPrefix::Write(path, text); }
    std::string Read(const fs::path& path) { return TempPrefix::Read(path); }
    TempPrefix prefix;
    fs::path c = PrefixDriveFolder('c');
};

TEST_F(FilesTest, ExistenceIgnoresCaseAndTellsFilesFromFolders) {
    Write(c / "Telvane" / "Job1" / "Setup.MTG", "tags");
    EXPECT_TRUE(FileExists("C:\\TELVANE\\job1\\setup.mtg"));
    EXPECT_FALSE(FileExists("C:\\TELVANE\\job1"));
    EXPECT_TRUE(FolderExists("c:/telvane/JOB1/"));
    EXPECT_FALSE(FolderExists("C:\\TELVANE\\job1\\setup.mtg"));
    EXPECT_FALSE(FileExists("C:\\TELVANE\\job2\\setup.mtg"));
}

TEST_F(FilesTest, MissingFileAndMissingFolderGiveDifferentErrors) {
    fs::create_directories(c / "Data");
    Write(c / "Data" / "plain", "x");  // a file where a folder is expected
    const std::pair<int, int> cases[] = {
        {ReadWholeFile("C:\\data\\none.txt").Error.Number, ErrFileNotFound},
        {ReadWholeFile("C:\\nofolder\\none.txt").Error.Number, ErrPathNotFound},
        {FileLength("C:\\data\\none.txt").Error.Number, ErrFileNotFound},
        {FileDateTime("C:\\nofolder\\none.txt").Error.Number, ErrPathNotFound},
        {DeleteFile("C:\\data\\none.txt").Number, ErrFileNotFound},
        {CopyFileReplacing("C:\\data\\none.txt", "C:\\data\\b.txt").Number, ErrFileNotFound},
        {MoveFile("C:\\data\\none.txt", "C:\\data\\b.txt").Number, ErrFileNotFound},
        {DeleteFolder("C:\\nofolder").Number, ErrPathNotFound},
        {AppendToFile("C:\\nofolder\\log.txt", "x").Number, ErrPathNotFound},
        {WriteFileAtomically("C:\\nofolder\\x.ini", "x").Number, ErrPathNotFound},
        {ReadWholeFile("C:\\data\\plain\\inner.txt").Error.Number, ErrPathNotFound},
        {MakeFolderPath("C:\\data\\plain").Number, ErrPathFileAccess}};
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].first, cases[i].second) << "case " << i;
    EXPECT_STREQ(VbErrorMessage(ReadWholeFile("C:\\data\\none.txt").Error.Number), "File not found");
}

TEST(VbErrorTest, ClassicNumbersCarryTheirStandardMessages) {
    const std::pair<int, const char*> classic[] = {
        {5, "Invalid procedure call or argument"}, {6, "Overflow"}, {9, "Subscript out of range"},
        {11, "Division by zero"}, {13, "Type mismatch"}, {52, "Bad file name or number"},
        {53, "File not found"}, {61, "Disk full"}, {62, "Input past end of file"},
        {70, "Permission denied"}, {75, "Path/File access error"}, {76, "Path not found"}};
    for (const auto& [number, message] : classic) {
        EXPECT_STREQ(VbErrorMessage(number), message) << number;
        EXPECT_EQ(VbError(number).Description, message);
    }
    EXPECT_STREQ(VbErrorMessage(12345), "Application-defined or object-defined error");
    EXPECT_FALSE(VbError().Failed());
    EXPECT_EQ(VbErrorFromErrno(ENOSPC).Number, ErrDiskFull);
    EXPECT_EQ(VbErrorFromErrno(EACCES).Number, ErrPermissionDenied);
}

TEST_F(FilesTest, PermissionDenied) {
    if (::geteuid() == 0) GTEST_SKIP() << "root is not stopped by file permissions";
    Write(c / "Locked" / "a.txt", "secret");
    fs::permissions(c / "Locked" / "a.txt", fs::perms::none);
    EXPECT_EQ(ReadWholeFile("C:\\locked\\A.TXT").Error.Number, ErrPermissionDenied);
    fs::permissions(c / "Locked", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(AppendToFile("C:\\locked\\new.txt", "x").Number, ErrPermissionDenied);
    EXPECT_EQ(WriteFileAtomically("C:\\Locked\\new.ini", "x").Number, ErrPermissionDenied);
    EXPECT_EQ(CopyFileReplacing("C:\\locked\\a.txt", "C:\\locked\\b.txt").Number, ErrPermissionDenied);
}

TEST_F(FilesTest, MakeFolderPathCreatesEveryLevelAndReusesExistingSpelling) {
    fs::create_directories(c / "Telvane");
    EXPECT_FALSE(MakeFolderPath("C:\\TELVANE\\Job1\\Data\\Voltaris"));
    EXPECT_TRUE(fs::is_directory(c / "Telvane" / "Job1" / "Data" / "Voltaris"));
    EXPECT_FALSE(fs::exists(c / "TELVANE"));
    EXPECT_FALSE(MakeFolderPath("c:\\telvane\\job1"));  // already there
    EXPECT_FALSE(MakeFolderPath("D:\\Backup"));         // drive folder created on the way
    EXPECT_TRUE(FolderExists("d:\\backup"));
}

TEST_F(FilesTest, CopyReplacesAndKeepsBytes) {
    std::string bytes("a\0b\r\n\xff", 6);
    Write(c / "Data" / "Site0611.lum", bytes);
    Write(c / "Backup" / "SITE0611.LUM", "old and longer content");
    EXPECT_FALSE(CopyFileReplacing("C:\\data\\site0611.lum", "C:\\BACKUP\\site0611.lum"));
    EXPECT_EQ(Read(c / "Backup" / "SITE0611.LUM"), bytes);
    EXPECT_EQ(Entries(c / "Backup"), 1);
    EXPECT_EQ(CopyFileReplacing("C:\\data\\site0611.lum", "C:\\nobackup\\x.lum").Number, ErrPathNotFound);
    // Copying a file onto itself (under another spelling) must not destroy it.
    EXPECT_TRUE(CopyFileReplacing("C:\\data\\site0611.lum", "C:\\DATA\\SITE0611.LUM"));
    EXPECT_EQ(Read(c / "Data" / "Site0611.lum"), bytes);
}

TEST_F(FilesTest, MoveRenamesButNeverOverwrites) {
    Write(c / "Old" / "a.ini", "settings");
    Write(c / "New" / "Existing.ini", "keep");
    EXPECT_EQ(MoveFile("C:\\old\\A.INI", "C:\\new\\existing.INI").Number, ErrFileExists);
    EXPECT_EQ(Read(c / "New" / "Existing.ini"), "keep");
    EXPECT_FALSE(MoveFile("C:\\old\\A.INI", "C:\\NEW\\Moved.ini"));
    EXPECT_EQ(Read(c / "New" / "Moved.ini"), "settings");
    EXPECT_FALSE(fs::exists(c / "Old" / "a.ini"));
    EXPECT_EQ(MoveFile("C:\\new\\moved.ini", "C:\\none\\moved.ini").Number, ErrPathNotFound);
    // Only the letter case changes.
    EXPECT_FALSE(MoveFile("C:\\new\\moved.ini", "C:\\new\\MOVED.INI"));
    EXPECT_TRUE(fs::exists(c / "New" / "MOVED.INI"));
    EXPECT_EQ(Entries(c / "New"), 2);
}

TEST_F(FilesTest, DeleteFileAndFolder) {
    Write(c / "Tmp" / "Sub" / "x.txt", "x");
    EXPECT_EQ(DeleteFolder("C:\\tmp\\sub").Number, ErrPathFileAccess);  // not empty
    EXPECT_EQ(DeleteFile("C:\\tmp\\sub").Number, ErrFileNotFound);       // a folder is no file
    EXPECT_FALSE(DeleteFile("C:\\TMP\\SUB\\X.TXT"));
    EXPECT_FALSE(fs::exists(c / "Tmp" / "Sub" / "x.txt"));
    EXPECT_FALSE(DeleteFolder("C:\\TMP\\SUB"));
    EXPECT_FALSE(fs::exists(c / "Tmp" / "Sub"));
}

TEST_F(FilesTest, LengthAndModificationTime) {
    Write(c / "a.bin", std::string(1234, 'z'));
    VbResult<int64_t> length = FileLength("C:\\A.BIN");
    ASSERT_TRUE(length.Ok());
    EXPECT_EQ(length.Value, 1234);
    EXPECT_EQ(FileLength("C:\\").Error.Number, ErrFileNotFound);

    std::tm local{9, 7, 14, 5, 2, 124, 0, 0, -1, 0, nullptr};  // 2024-03-05 14:07:09 local time
    fs::last_write_time(c / "a.bin",
                        fs::file_time_type::clock::from_sys(std::chrono::system_clock::from_time_t(::mktime(&local))));
    VbResult<DateTime> stamp = FileDateTime("c:\\a.bin");
    ASSERT_TRUE(stamp.Ok());
    EXPECT_NEAR(stamp.Value, MakeDateTime(2024, 3, 5, 14, 7, 9), 0.5 / 86400);
}

TEST_F(FilesTest, ListFilesMatchesPatternAndSortsByUpperCaseName) {
    for (const char* name : {"b.CSV", "a.csv", "C.csv", "notes.txt", "x.csvx", "_first.csv"}) Write(c / "In" / name, "1");
    fs::create_directories(c / "In" / "folder.csv");
    // Upper-case byte order: "_" (0x5F) comes after the letters, "b" before "C".
    EXPECT_EQ(ListFiles("C:\\IN", "*.CSV"), (std::vector<std::string>{"a.csv", "b.CSV", "C.csv", "_first.csv"}));
    EXPECT_EQ(ListFiles("C:\\IN", "?.csv"), (std::vector<std::string>{"a.csv", "b.CSV", "C.csv"}));
    EXPECT_EQ(ListFiles("C:\\IN", "*").size(), 6u);
    EXPECT_TRUE(ListFiles("C:\\missing", "*").empty());
}

TEST(PatternTest, WildcardsWithoutCase) {
    // "*.*" is every name, with or without an extension.
    for (auto [name, pattern] : {std::pair{"Site0611.lum", "site????.LUM"}, {"abc", "*"}, {"", "*"},
                                 {"log.2.txt", "*.txt"}, {"aXbXc", "a*b*c"}, {"mississippi", "*sip*"},
                                 {"README", "*.*"}, {"a.b", "*.*"}})
        EXPECT_TRUE(MatchesPattern(name, pattern)) << name << " " << pattern;
    for (auto [name, pattern] : {std::pair{"Site061.lum", "site????.LUM"}, {"", "?"}, {"log.txt.bak", "*.txt"},
                                 {"aXbXd", "a*b*c"}, {"README", "*.txt"}})
        EXPECT_FALSE(MatchesPattern(name, pattern)) << name << " " << pattern;
}

TEST_F(FilesTest, ReadAndAppend) {
    EXPECT_FALSE(AppendToFile("C:\\Log.txt", "one\r\n"));
    EXPECT_FALSE(AppendToFile("C:\\LOG.TXT", "two\r\n"));
    EXPECT_EQ(Entries(c), 1);
    VbResult<std::string> all = ReadWholeFile("c:\\log.txt");
    ASSERT_TRUE(all.Ok());
    EXPECT_EQ(all.Value, "one\r\ntwo\r\n");
    EXPECT_EQ(ReadWholeFile("C:\\").Error.Number, ErrPathFileAccess);
}

TEST_F(FilesTest, AtomicWriteReplacesOrFailsWithoutLeavingATemporary) {
    Write(c / "Setup" / "Voltaris.ini", "old");
    const fs::perms rw = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(c / "Setup" / "Voltaris.ini", rw);
    EXPECT_FALSE(WriteFileAtomically("C:\\SETUP\\VOLTARIS.INI", "new content"));
    EXPECT_EQ(Read(c / "Setup" / "Voltaris.ini"), "new content");
    EXPECT_EQ(fs::status(c / "Setup" / "Voltaris.ini").permissions() & fs::perms::all, rw);
    EXPECT_FALSE(WriteFileAtomically("C:\\SETUP\\Fresh.ini", ""));
    EXPECT_TRUE(fs::exists(c / "Setup" / "Fresh.ini"));
    EXPECT_EQ(Entries(c / "Setup"), 2);

    // The rename fails because the target is a folder that is not empty.
    Write(c / "Setup" / "Target.ini" / "inner.txt", "inner");
    EXPECT_TRUE(WriteFileAtomically("C:\\Setup\\target.ini", "new"));
    EXPECT_EQ(Read(c / "Setup" / "Target.ini" / "inner.txt"), "inner");
    EXPECT_EQ(Read(c / "Setup" / "Voltaris.ini"), "new content");
    EXPECT_EQ(Entries(c / "Setup"), 3);
}

}  // namespace
