#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <tuple>
#include <string>

#include "common/TempPrefix.h"
#include "platform/Files.h"
#include "platform/Prefix.h"
#include "support/IniText.h"
#include "support/Profile.h"

namespace {

namespace fs = std::filesystem;

// One text exercising every reading rule at once.
const std::string Sample =
    "junk=before any section\r\n; comment=not a key\r\n[General]\r\n  StoreFilePrefix  =  Site A  \r\n"
    "\tTabbed\t=\tvalue\t\r\nquoted=\"  padded  \"\r\nsingle='x'\r\nmixed=\"x'\r\nlone=\"\r\nformula=a=b=c\r\n"
    "bare line\r\n; StoreFilePrefix=commented\r\ndup=first\r\ndup=second\r\nempty=\r\n"
    "[ Spaced Name ]\nk=lf only\n[\xC4rger\r\n\xE9t\xE9=accent\r\n[general]\r\nonlyInSecond=lost\r\n";

TEST(IniText, ReadingRules) {
    auto find = [](std::string_view s, std::string_view k) { return IniFindValue(Sample, s, k); };
    // Windows-1252 letters fold too; a header without "]" runs to the end of its line.
    for (auto [section, key, value] :
         {std::tuple{"GENERAL", "storefileprefix", "Site A"}, {"general", "tabbed", "value"},
          {"general", "quoted", "  padded  "}, {"general", "single", "x"}, {"general", "mixed", "\"x'"},
          {"general", "lone", "\""}, {"general", "formula", "a=b=c"}, {"general", "dup", "first"}, {"general", "empty", ""},
          {"  general\t", " dup ", "first"}, {"spaced name", "K", "lf only"}, {"\xE4RGER", "\xC9T\xC9", "accent"}})
        EXPECT_EQ(find(section, key), value) << section << "/" << key;
    // Not keys: text before the first section, comments, lines without "=", keys of a section's
    // second occurrence.
    for (const char* key : {"junk", "; comment", "bare line", "onlyInSecond", "missing"})
        EXPECT_FALSE(find("general", key)) << key;
    EXPECT_FALSE(find("missing", "dup"));
}

TEST(IniText, SetValueChangesOnlyTheValue) {
    const std::string text = "; head\r\n[A]\r\n  Key =  old value\r\nother=1\r\n\r\n[B]\r\nkey=b\r\n";
    EXPECT_EQ(IniSetValue(text, "a", "KEY", "new"),
              "; head\r\n[A]\r\n  Key =  new\r\nother=1\r\n\r\n[B]\r\nkey=b\r\n");
    // Only the first of duplicate keys, in the first of duplicate sections.
    EXPECT_EQ(IniSetValue("[s]\nk=1\nk=2\n[S]\nk=3\n", "s", "k", "9"), "[s]\nk=9\nk=2\n[S]\nk=3\n");
}

TEST(IniText, DeletesKeysAndSections) {
    const std::string text = "top\r\n[Peaks]\r\n1PeakValue=5\r\n; keep\r\n1peakvalue=6\r\n\r\n"
                             "[passwords]\r\nuser=x\r\n\r\n[Other]\r\n1PeakValue=7\r\n[PASSWORDS]\r\nmore=y";
    EXPECT_EQ(IniDeleteKey(text, "peaks", "1PEAKVALUE"),
              "top\r\n[Peaks]\r\n; keep\r\n\r\n[passwords]\r\nuser=x\r\n\r\n[Other]\r\n1PeakValue=7\r\n[PASSWORDS]\r\nmore=y\r\n");
    EXPECT_EQ(IniDeleteSection(text, "Passwords"),
              "top\r\n[Peaks]\r\n1PeakValue=5\r\n; keep\r\n1peakvalue=6\r\n\r\n[Other]\r\n1PeakValue=7\r\n");
    EXPECT_EQ(IniDeleteSection(text, "absent"), text);
    EXPECT_EQ(IniDeleteKey("[a]\nk=1", "a", "k"), "[a]\n");
}

// The finer points where the platform's profile functions are easy to get wrong.
TEST(IniText, LineEndsBlanksAndByteOrderMark) {
    // CR-only line ends, as old Macintosh-made files have: every lone CR ends a line.
    const std::string crOnly = "[a]\rk=1\rj = 2 \r[b]\rk=3";
    EXPECT_EQ(IniFindValue(crOnly, "a", "j"), "2");
    EXPECT_EQ(IniFindValue(crOnly, "b", "k"), "3");
    EXPECT_EQ(IniSetValue(crOnly, "a", "new", "v"), "[a]\rk=1\rj = 2 \rnew=v\r[b]\rk=3\r");
    EXPECT_EQ(IniSetValue(crOnly, "c", "k", "v"), crOnly + "\r[c]\rk=v\r");
    // A CR inside a CR LF file is a line end too, and CR CR LF is two of them.
    EXPECT_EQ(IniFindValue("[a]\r\nk=1\rj=2\r\r\nz=3\r\n", "A", "j"), "2");
    EXPECT_EQ(IniFindValue("[a]\r\nk=1\rj=2\r\r\nz=3\r\n", "A", "z"), "3");

    // Vertical tabs are blanks around names and values; form feeds are not.
    const std::string vt = "[\v s \v]\n\vkey\v=\v v \v\n\fff=x\f\n";
    EXPECT_EQ(IniFindValue(vt, "s", "key"), "v");
    EXPECT_EQ(IniFindValue(vt, "s", "\fff"), "x\f");
    EXPECT_FALSE(IniFindValue(vt, "s", "ff"));
    EXPECT_EQ(IniTrim("\v\t x \r\v"), "x");

    // A UTF-8 byte-order mark belongs to the file: the first section is found, and a file that
    // holds only the mark gets its first section right after it.
    const std::string bom = "\xEF\xBB\xBF";
    EXPECT_EQ(IniFindValue(bom + "[general]\r\nk=1\r\n", "general", "k"), "1");
    EXPECT_EQ(IniSetValue(bom, "general", "k", "1"), bom + "[general]\r\nk=1\r\n");
    EXPECT_EQ(IniSetValue(bom + "[a]", "a", "k", "1"), bom + "[a]\r\nk=1\r\n");
    EXPECT_EQ(IniDeleteSection(bom + "[a]\r\nk=1\r\n[b]\r\n", "a"), bom + "[b]\r\n");
    EXPECT_EQ(IniDeleteSection(bom + "[a]\r\nk=1\r\n", "a"), bom);
    // Only at the very start: elsewhere the same bytes are text.
    EXPECT_FALSE(IniFindValue("[x]\r\n" + bom + "[general]\r\nk=1\r\n", "general", "k"));
}

TEST(IniText, EditsLikeThePlatform) {
    // New key after the last key, before trailing comments and blank lines; LF file stays LF.
    EXPECT_EQ(IniSetValue("[a]\nx=1\nbare\n; note\n\n[b]\ny=2\n", "A", "new", "v"),
              "[a]\nx=1\nbare\nnew=v\n; note\n\n[b]\ny=2\n");
    // A new section follows the last line directly, with no blank line before it; CR LF for a new text.
    EXPECT_EQ(IniSetValue("[a]\r\nx=1\r\n\r\n", "b", "k", "v"), "[a]\r\nx=1\r\n\r\n[b]\r\nk=v\r\n");
    EXPECT_EQ(IniSetValue("[a]\nx=1\n", "b", "k", "v"), "[a]\nx=1\n[b]\nk=v\n");
    EXPECT_EQ(IniSetValue("", " sec ", " key ", "v"), "[sec]\r\nkey=v\r\n");
    // A section that is only named in text before any header or in a comment does not count.
    EXPECT_EQ(IniSetValue("b=1\n;[b]\n", "b", "k", "v"), "b=1\n;[b]\n[b]\nk=v\n");
    EXPECT_EQ(IniSetValue("[a", "a", "k", "v"), "[a\r\nk=v\r\n");

    // A last line without a line break gets one whenever the text is rewritten, whatever the edit.
    EXPECT_EQ(IniSetValue("[a]\r\nx=1", "a", "x", "2"), "[a]\r\nx=2\r\n");
    EXPECT_EQ(IniSetValue("[a]\r\nx=1\r\n[b]\r\ny=1", "a", "x", "2"), "[a]\r\nx=2\r\n[b]\r\ny=1\r\n");
    EXPECT_EQ(IniSetValue("[a]\nx=1\n[b]\ny=1", "a", "z", "2"), "[a]\nx=1\nz=2\n[b]\ny=1\n");
    EXPECT_EQ(IniSetValue("[a]\nx=1", "b", "k", "v"), "[a]\nx=1\n[b]\nk=v\n");
    EXPECT_EQ(IniSetValue("[a]\nx=1", "a", "k", "v"), "[a]\nx=1\nk=v\n");
    EXPECT_EQ(IniDeleteKey("[a]\nx=1\ny=2", "a", "x"), "[a]\ny=2\n");
    EXPECT_EQ(IniDeleteSection("[a]\nx=1\n[b]\ny=2", "a"), "[b]\ny=2\n");
    // ...but an edit that changes nothing leaves the text alone.
    EXPECT_EQ(IniDeleteKey("[a]\nx=1", "a", "y"), "[a]\nx=1");
    EXPECT_EQ(IniDeleteSection("[a]\nx=1", "b"), "[a]\nx=1");

    // Deleting a section keeps the comments that stood inside it.
    EXPECT_EQ(IniDeleteSection("[a]\r\n; about a\r\nx=1\r\n  ;indented\r\nbare\r\n\r\n[b]\r\ny=2\r\n", "A"),
              "; about a\r\n  ;indented\r\n[b]\r\ny=2\r\n");

    // A value with line breaks is written as it is: the next read sees the part before the first.
    EXPECT_EQ(IniSetValue("[a]\r\nk=1\r\n", "a", "k", "x\r\ny"), "[a]\r\nk=x\r\ny\r\n");
    EXPECT_EQ(IniSetValue("[a]\r\n", "a", "k", "x\ny\r"), "[a]\r\nk=x\ny\r\r\n");
    EXPECT_EQ(IniSetValue("", "a", "k", "p\rq"), "[a]\r\nk=p\rq\r\n");
    EXPECT_EQ(IniFindValue(IniSetValue("[a]\r\nk=1\r\n", "a", "k", "x\r\ny=2"), "a", "k"), "x");
    EXPECT_EQ(IniFindValue(IniSetValue("[a]\r\nk=1\r\n", "a", "k", "x\r\ny=2"), "a", "y"), "2");

    // Replacing a key keeps the file's spelling of both the key and its section.
    EXPECT_EQ(IniSetValue("[PeAkS]\r\n1pEaKvAlUe=1\r\n", "PEAKS", "1PeakValue", "2"), "[PeAkS]\r\n1pEaKvAlUe=2\r\n");
    EXPECT_EQ(IniSetValue("[\xC9t\xE9]\r\n\xC9T\xC9=1\r\n", "\xE9T\xC9", "\xE9t\xE9", "2"), "[\xC9t\xE9]\r\n\xC9T\xC9=2\r\n");
}

class ProfileTest : public ::testing::Test {
protected:
    static void Write(const fs::path& path, const std::string& text) { TempPrefix::Write(path, text); }
    static std::string Read(const fs::path& path) { return ReadWholeFile(path.string()).Value; }
    TempPrefix prefix;
    fs::path root = prefix.Root();
    std::string ini = (root / "VoltarisSetup.ini").string();
};

TEST_F(ProfileTest, ReadsCutToTheBufferAndFallBackToTheDefault) {
    Write(ini, "[general]\r\nerrorlog=yes please\r\nSCADArun=YES\r\n");
    const std::string missing = (root / "none.ini").string();
    // {key, default, buffer size, file, expected}: defaults lose their trailing spaces (only spaces:
    // tabs and leading blanks stay) and are cut like values.
    for (auto [key, dflt, size, file, expected] :
         {std::tuple{"errorlog", "off", 4, ini, "yes"}, {"errorlog", "off", 80, ini, "yes please"},
          {"errorlog", "off", 1, ini, ""}, {"errorlog", "off", 0, ini, ""}, {"errorlog", "off", -5, ini, ""},
          {"DiagFile", "c:\\lumdiag.txt  ", 80, ini, "c:\\lumdiag.txt"}, {"DiagFile", "  abcdef", 4, ini, "  a"},
          {"DiagFile", "a\t ", 80, ini, "a\t"}, {"DiagFile", " \ta \t  ", 80, ini, " \ta \t"},
          {"DiagFile", "   ", 80, ini, ""}, {"DiagFile", "a\v ", 80, ini, "a\v"},
          {"SCADArun", "yes", 4, missing, "yes"}, {"SCADArun", "d", 80, root.string(), "d"}})  // the last is a folder
        EXPECT_EQ(GetPrivateProfileString("general", key, dflt, size, file), expected) << key << " " << size;
    EXPECT_EQ(GetPrivateProfileString("nosection", "SCADArun", "yes", 4, ini), "yes");
    EXPECT_EQ(GetPrivateProfileInt("general", "timer1scan", 30, missing), 30);
    EXPECT_FALSE(fs::exists(missing));
}

TEST_F(ProfileTest, IntegerReads) {
    const std::pair<const char*, int> cases[] = {
        {"42", 42}, {"  -17", -17}, {"+5", 5}, {"12abc", 12}, {"abc", 0}, {"", 0}, {"- 3", 0},
        {"0x1F", 0}, {"077", 77}, {"1e3", 1}, {"\"7\"", 7}, {"2147483647", 2147483647},
        {"-2147483648", -2147483647 - 1}, {"2147483648", -2147483647 - 1}, {"4294967297", 1}};  // 32-bit wrap
    std::string text = "[n]\r\n";
    for (std::size_t i = 0; i < std::size(cases); ++i) text += "k" + std::to_string(i) + "=" + cases[i].first + "\r\n";
    Write(ini, text);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(GetPrivateProfileInt("N", "K" + std::to_string(i), -99, ini), cases[i].second) << cases[i].first;
    EXPECT_EQ(GetPrivateProfileInt("n", "absent", -99, ini), -99);
}

TEST_F(ProfileTest, WriteKeepsEveryOtherByte) {
    const std::string before = "; written by the setup program\r\n[general]\r\ntimer1scan = 2\r\nStoreFilePrefix=Site\r\n"
                               "\r\n; peaks follow\r\n[Peaks]\r\n1PeakValue=12.5\r\n[passwords]\r\nadmin=secret\r\n\r\n"
                               "[Foreign]\nx=1\n";  // another program's LF line ends stay as they are
    Write(ini, before);
    ASSERT_TRUE(WritePrivateProfileString("GENERAL", "timer1scan", "5", ini));
    ASSERT_TRUE(WritePrivateProfileString("Peaks", "1PeakTime", "01/02/24 10:30:00", ini));
    ASSERT_TRUE(WritePrivateProfileString("passwords", nullptr, nullptr, ini));
    ASSERT_TRUE(WritePrivateProfileString("general", "StoreFilePrefix", nullptr, ini));
    ASSERT_TRUE(WritePrivateProfileString("AutoRun", "File1", "report.exe", ini));
    EXPECT_EQ(Read(ini), "; written by the setup program\r\n[general]\r\ntimer1scan = 5\r\n\r\n; peaks follow\r\n"
                         "[Peaks]\r\n1PeakValue=12.5\r\n1PeakTime=01/02/24 10:30:00\r\n[Foreign]\nx=1\n"
                         "[AutoRun]\r\nFile1=report.exe\r\n");
    // The atomic replace leaves no temporary behind.
    for (auto& e : fs::directory_iterator(root))
        EXPECT_TRUE(e.path().filename() == "VoltarisSetup.ini" || e.is_directory()) << e.path();
}

TEST_F(ProfileTest, WriteCreatesFilesButNotFolders) {
    ASSERT_TRUE(WritePrivateProfileString("Sockets", "VoltarisMonitorPortNo", "1007", ini));
    EXPECT_EQ(Read(ini), "[Sockets]\r\nVoltarisMonitorPortNo=1007\r\n");
    EXPECT_EQ(GetPrivateProfileInt("sockets", "voltarismonitorportno", 0, ini), 1007);

    EXPECT_FALSE(WritePrivateProfileString("a", "b", "c", (root / "no" / "such" / "x.ini").string()));
    EXPECT_FALSE(fs::exists(root / "no"));
    // Deleting from a missing file has nothing to do and creates nothing.
    const std::string other = (root / "other.ini").string();
    EXPECT_TRUE(WritePrivateProfileString("a", "b", nullptr, other));
    EXPECT_TRUE(WritePrivateProfileString("a", nullptr, nullptr, other));
    EXPECT_FALSE(fs::exists(other));
    EXPECT_FALSE(WritePrivateProfileString(nullptr, "b", "c", other));
    EXPECT_FALSE(fs::exists(other));
}

TEST_F(ProfileTest, PathTextsResolveThroughThePrefix) {
    EXPECT_FALSE(WritePrivateProfileString("TagSetup", "TagFile", "site.MTG",
                                           "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini"));
    fs::create_directories(PrefixDriveFolder('c') / "Telvane" / "Job1" / "Setup");
    ASSERT_TRUE(WritePrivateProfileString("TagSetup", "TagFile", "site.MTG",
                                          "C:\\TELVANE\\job1\\setup\\VoltarisSetup.ini"));
    EXPECT_EQ(Read(PrefixDriveFolder('c') / "Telvane" / "Job1" / "Setup" / "VoltarisSetup.ini"),
              "[TagSetup]\r\nTagFile=site.MTG\r\n");
    // Another spelling of the file's own name rewrites that file: never a second one beside it.
    ASSERT_TRUE(WritePrivateProfileString("tagsetup", "TagFile", "b.MTG", "c:\\telvane\\JOB1\\Setup\\VOLTARISSETUP.INI"));
    EXPECT_EQ(Read(PrefixDriveFolder('c') / "Telvane" / "Job1" / "Setup" / "VoltarisSetup.ini"),
              "[TagSetup]\r\nTagFile=b.MTG\r\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(PrefixDriveFolder('c') / "Telvane" / "Job1" / "Setup"),
                            fs::directory_iterator()), 1);
    // A bare name means the Windows folder; the system profile is win.ini there.
    ASSERT_TRUE(WritePrivateProfileString("TelvnV5", "directory", "C:\\Telvane", "win.ini"));
    EXPECT_EQ(GetProfileString("telvnv5", "DIRECTORY", "", 255), "C:\\Telvane");
    ASSERT_TRUE(WriteProfileString("telvold", "name1", "Job1"));
    EXPECT_EQ(Read(SystemProfilePath()), "[TelvnV5]\r\ndirectory=C:\\Telvane\r\n[telvold]\r\nname1=Job1\r\n");
    EXPECT_EQ(GetProfileString("telvold", "missing", "dflt ", 255), "dflt");
}

TEST_F(ProfileTest, ReadOnlyFileIsLeftAsItWas) {
    const std::string before = "[general]\r\ntimer1scan=2\r\n";
    Write(ini, before);
    fs::permissions(ini, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    EXPECT_FALSE(WritePrivateProfileString("general", "timer1scan", "5", ini));
    EXPECT_FALSE(WritePrivateProfileString("general", nullptr, nullptr, ini));
    EXPECT_EQ(Read(ini), before);
    // Writing what the file already holds is no change and succeeds.
    EXPECT_TRUE(WritePrivateProfileString("general", "timer1scan", "2", ini));
}

// Several keys written with one replacement of the file give the bytes of writing them one by one.
TEST_F(ProfileTest, BatchWriteGivesTheBytesOfKeyByKeyWrites) {
    const std::string original = "; kept\r\n[general]\r\nA=1\r\n\r\n[Peaks]\r\n2PeakValue = 5 \r\n[Other]\r\nx=y\r\n";
    const std::vector<std::pair<std::string, std::string>> writes = {
        {"3PeakValue", "5"}, {"2PEAKVALUE", "7.5"}, {"1PeakTime", "Nov 05, 26. 14:00"}, {"3PeakValue", "9"}};
    const std::string batch = (root / "batch.ini").string();
    Write(ini, original);
    Write(batch, original);
    for (const auto& [key, value] : writes) ASSERT_TRUE(WritePrivateProfileString("Peaks", key.c_str(), value.c_str(), ini));
    ASSERT_TRUE(WritePrivateProfileStrings("Peaks", writes, batch));
    EXPECT_EQ(Read(batch), Read(ini));

    // A missing file is created; a folder where the file should be is refused and left alone.
    const std::string fresh = (root / "fresh.ini").string();
    ASSERT_TRUE(WritePrivateProfileStrings("Peaks", writes, fresh));
    EXPECT_EQ(GetPrivateProfileString("Peaks", "3PeakValue", "", 256, fresh), "9");
    fs::create_directories(root / "folder.ini");
    EXPECT_FALSE(WritePrivateProfileStrings("Peaks", writes, (root / "folder.ini").string()));
    EXPECT_TRUE(fs::is_directory(root / "folder.ini"));
}

}  // namespace
