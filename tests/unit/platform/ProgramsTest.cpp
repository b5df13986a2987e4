#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "platform/Prefix.h"
#include "platform/Programs.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Restores an environment variable when the test ends.
class SavedEnv {
public:
    explicit SavedEnv(const char* name) : name(name) {
        const char* value = std::getenv(name);
        if (value) saved = value;
        had = value != nullptr;
    }
    ~SavedEnv() {
        if (had)
            ::setenv(name, saved.c_str(), 1);
        else
            ::unsetenv(name);
    }

private:
    const char* name;
    std::string saved;
    bool had = false;
};

class ProgramsTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-programs-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        programDir = root / "bin";
        fs::create_directories(programDir);
        ::setenv("VOLTARIS_PREFIX", (root / "prefix").c_str(), 1);
        ::setenv("VOLTARIS_PROGRAM_DIR", programDir.c_str(), 1);
        c = PrefixDriveFolder('c');
        fs::create_directories(c);
        output = root / "out.txt";
    }
    void TearDown() override {
        ::unsetenv("VOLTARIS_PREFIX");
        ::unsetenv("VOLTARIS_PROGRAM_DIR");
        std::error_code ec;
        fs::remove_all(root, ec);
    }
    // A script that writes its window hint and arguments, one per line, to out.txt.
    fs::path MakeScript(const fs::path& path, bool executable = true, bool shebang = true) {
        fs::create_directories(path.parent_path());
        std::ofstream script(path);
        if (shebang) script << "#!/bin/sh\n";
        script << "{ echo \"$VOLTARIS_WINDOW_SHOW\"; for a in \"$@\"; do echo \"[$a]\"; done; } > '"
               << output.string() << ".part'\n"
               << "/bin/mv '" << output.string() << ".part' '" << output.string() << "'\n";
        script.close();
        fs::permissions(path, executable ? fs::perms::owner_all : fs::perms::owner_read | fs::perms::owner_write);
        return path;
    }
    // The script's output, or empty when it has not appeared within a few seconds.
    std::string WaitForOutput() {
        for (auto until = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < until;) {
            if (fs::exists(output)) {
                std::ifstream in(output);
                std::stringstream all;
                all << in.rdbuf();
                return all.str();
            }
            std::this_thread::sleep_for(10ms);
        }
        return {};
    }
    fs::path root, programDir, c, output;
};

TEST_F(ProgramsTest, StartsProgramWithArgumentsAndWindowHint) {
    MakeScript(c / "Tools" / "Report");
    EXPECT_FALSE(StartProgram("C:\\TOOLS\\report", "one \"two three\"  four", WindowShow::Minimised));
    EXPECT_EQ(WaitForOutput(), "minimised\n[one]\n[two three]\n[four]\n");
    fs::remove(output);
    EXPECT_FALSE(StartProgram("C:\\Tools\\Report", "", WindowShow::Hidden));
    EXPECT_EQ(WaitForOutput(), "hidden\n");
}

TEST_F(ProgramsTest, ExeEndingIsDroppedWhenOnlyTheBareFileExists) {
    MakeScript(c / "Telvane" / "setup");
    EXPECT_FALSE(StartProgram("C:\\Telvane\\SETUP.EXE", "", WindowShow::Normal));
    EXPECT_EQ(WaitForOutput(), "normal\n");
}

TEST_F(ProgramsTest, BareNameLooksInProgramFolderThenPath) {
    MakeScript(programDir / "helper");
    EXPECT_FALSE(StartProgram("helper.exe", "x", WindowShow::Normal));
    EXPECT_EQ(WaitForOutput(), "normal\n[x]\n");
    fs::remove(output);

    SavedEnv path("PATH");
    MakeScript(root / "onpath" / "pathtool");
    ::setenv("PATH", ("/nonexistent::" + (root / "onpath").string()).c_str(), 1);
    EXPECT_FALSE(StartProgram("pathtool", "y", WindowShow::Normal));
    EXPECT_EQ(WaitForOutput(), "normal\n[y]\n");
}

TEST_F(ProgramsTest, ScriptWithoutInterpreterLineRunsInShell) {
    MakeScript(c / "plain", true, false);
    EXPECT_FALSE(StartProgram("C:\\plain", "z", WindowShow::Normal));
    EXPECT_EQ(WaitForOutput(), "normal\n[z]\n");
}

TEST_F(ProgramsTest, FailuresAreReportedNotThrown) {
    EXPECT_EQ(StartProgram("C:\\missing\\tool.exe", "", WindowShow::Normal).Number, ErrFileNotFound);
    EXPECT_EQ(StartProgram("no-such-program-anywhere", "", WindowShow::Normal).Number, ErrFileNotFound);
    EXPECT_EQ(StartProgram("", "", WindowShow::Normal).Number, ErrFileNotFound);
    MakeScript(c / "notes.txt", false);
    EXPECT_EQ(StartProgram("C:\\notes.txt", "", WindowShow::Normal).Number, ErrInvalidCall);
}

TEST_F(ProgramsTest, NeverWaitsAndLeavesNoChildBehind) {
    fs::path slow = c / "slow";
    {
        std::ofstream script(slow);
        script << "#!/bin/sh\n: > '" << output.string() << "'\nexec sleep 3\n";
    }
    fs::permissions(slow, fs::perms::owner_all);
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(StartProgram("C:\\slow", "", WindowShow::Normal));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    WaitForOutput();  // running, and still running when we carry on
    // The started program is not our child: nothing to reap, nothing to become a zombie.
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ProgramsTest, ShellOpenStartsProgramsAndGivesDocumentsToTheViewer) {
    MakeScript(c / "Viewer" / "run");
    EXPECT_FALSE(ShellOpen("C:\\viewer\\RUN.exe", "p"));
    EXPECT_EQ(WaitForOutput(), "normal\n[p]\n");
    fs::remove(output);

    std::ofstream(c / "Help.txt") << "help";
    SavedEnv path("PATH");
    SavedEnv display("DISPLAY");
    SavedEnv wayland("WAYLAND_DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    MakeScript(root / "desktop" / "xdg-open");
    ::setenv("PATH", (root / "desktop").c_str(), 1);
    ::setenv("DISPLAY", ":0", 1);
    EXPECT_FALSE(ShellOpen("c:\\HELP.TXT", ""));
    EXPECT_EQ(WaitForOutput(), "normal\n[" + (c / "Help.txt").string() + "]\n");
    fs::remove(output);

    // No desktop: nothing is shown and the call returns at once.
    ::unsetenv("DISPLAY");
    EXPECT_EQ(ShellOpen("c:\\HELP.TXT", "").Number, ErrDeviceUnavailable);
    ::setenv("DISPLAY", ":0", 1);
    ::setenv("PATH", "/nonexistent", 1);
    EXPECT_EQ(ShellOpen("c:\\HELP.TXT", "").Number, ErrDeviceUnavailable);
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(ProgramsTest, ShellOpenOfMissingTargetFailsQuietly) {
    EXPECT_EQ(ShellOpen("C:\\nothing\\here.doc", "").Number, ErrFileNotFound);
    EXPECT_EQ(ShellOpen("C:\\nothing.exe", "").Number, ErrFileNotFound);
}

TEST_F(ProgramsTest, ProgramFolderNameAndCommandLine) {
    ::setenv("VOLTARIS_PROGRAM_DIR", (programDir.string() + "//").c_str(), 1);
    EXPECT_EQ(ProgramFolder(), programDir.string());
    ::unsetenv("VOLTARIS_PROGRAM_DIR");
    fs::path self = fs::read_symlink("/proc/self/exe");
    EXPECT_EQ(ProgramFilePath(), self.string());
    EXPECT_EQ(ProgramFolder(), self.parent_path().string());
    EXPECT_EQ(ProgramName(), self.stem().string());

    char program[] = "voltamon", debug[] = "/d", csv[] = "/CSV";
    char* argv[] = {program, debug, csv, nullptr};
    SetCommandLine(3, argv);
    EXPECT_EQ(CommandLine(), "/d /CSV");
    SetCommandLine(1, argv);
    EXPECT_EQ(CommandLine(), "");
}

}  // namespace
