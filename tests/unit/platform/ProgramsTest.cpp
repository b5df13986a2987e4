#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "common/TempPrefix.h"
#include "platform/Prefix.h"
#include "platform/Programs.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Restores an environment variable when the test ends.
struct SavedEnv {
    explicit SavedEnv(const char* name) : name(name) {
        if (const char* value = std::getenv(name)) saved = value;
    }
    ~SavedEnv() { saved ? ::setenv(name, saved->c_str(), 1) : ::unsetenv(name); }
    const char* name;
    std::optional<std::string> saved;
};

class ProgramsTest : public ::testing::Test {
protected:
    // A script that writes its window hint and arguments, one per line, to out.txt.
    fs::path MakeScript(const fs::path& path, bool executable = true, bool shebang = true) {
        const std::string out = output.string();
        TempPrefix::Write(path, std::string(shebang ? "#!/bin/sh\n" : "") +
                                    "{ echo \"$VOLTARIS_WINDOW_SHOW\"; for a in \"$@\"; do echo \"[$a]\"; done; } > '" +
                                    out + ".part'\n/bin/mv '" + out + ".part' '" + out + "'\n");
        fs::permissions(path, executable ? fs::perms::owner_all : fs::perms::owner_read | fs::perms::owner_write);
        return path;
    }
    // The script's output (then removed), or empty when it has not appeared within a few seconds.
    std::string TakeOutput() {
        for (auto until = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < until;) {
            if (fs::exists(output)) {
                std::string text = TempPrefix::Read(output);
                fs::remove(output);
                return text;
            }
            std::this_thread::sleep_for(10ms);
        }
        return {};
    }
    TempPrefix temp;
    fs::path root = temp.Root(), programDir = temp.ProgramDir(), c = PrefixDriveFolder('c'), output = root / "out.txt";
};

TEST_F(ProgramsTest, FindsAndStartsProgramsWithArgumentsAndWindowHint) {
    MakeScript(c / "Tools" / "Report");
    EXPECT_FALSE(StartProgram("C:\\TOOLS\\report", "one \"two three\"  four", WindowShow::Minimised));
    EXPECT_EQ(TakeOutput(), "minimised\n[one]\n[two three]\n[four]\n");
    EXPECT_FALSE(StartProgram("C:\\Tools\\Report", "", WindowShow::Hidden));
    EXPECT_EQ(TakeOutput(), "hidden\n");
    // ".exe" is dropped when only the bare file exists.
    MakeScript(c / "Telvane" / "setup");
    EXPECT_FALSE(StartProgram("C:\\Telvane\\SETUP.EXE", "", WindowShow::Normal));
    EXPECT_EQ(TakeOutput(), "normal\n");
    // A script without an interpreter line runs in the shell.
    MakeScript(c / "plain", true, false);
    EXPECT_FALSE(StartProgram("C:\\plain", "z", WindowShow::Normal));
    EXPECT_EQ(TakeOutput(), "normal\n[z]\n");

    // A bare name is looked for in the program folder, then on the path.
    MakeScript(programDir / "helper");
    EXPECT_FALSE(StartProgram("helper.exe", "x", WindowShow::Normal));
    EXPECT_EQ(TakeOutput(), "normal\n[x]\n");
    SavedEnv path("PATH");
    MakeScript(root / "onpath" / "pathtool");
    ::setenv("PATH", ("/nonexistent::" + (root / "onpath").string()).c_str(), 1);
    EXPECT_FALSE(StartProgram("pathtool", "y", WindowShow::Normal));
    EXPECT_EQ(TakeOutput(), "normal\n[y]\n");
}

TEST_F(ProgramsTest, FailuresAreReportedNotThrown) {
    EXPECT_EQ(StartProgram("C:\\missing\\tool.exe", "", WindowShow::Normal).Number, ErrFileNotFound);
    EXPECT_EQ(StartProgram("no-such-program-anywhere", "", WindowShow::Normal).Number, ErrFileNotFound);
    EXPECT_EQ(StartProgram("", "", WindowShow::Normal).Number, ErrFileNotFound);
    MakeScript(c / "notes.txt", false);
    EXPECT_EQ(StartProgram("C:\\notes.txt", "", WindowShow::Normal).Number, ErrInvalidCall);
    EXPECT_EQ(ShellOpen("C:\\nothing\\here.doc", "").Number, ErrFileNotFound);
    EXPECT_EQ(ShellOpen("C:\\nothing.exe", "").Number, ErrFileNotFound);
}

TEST_F(ProgramsTest, NeverWaitsAndLeavesNoChildBehind) {
    TempPrefix::Write(c / "slow", "#!/bin/sh\n: > '" + output.string() + "'\nexec sleep 3\n");
    fs::permissions(c / "slow", fs::perms::owner_all);
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(StartProgram("C:\\slow", "", WindowShow::Normal));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    TakeOutput();  // running, and still running when we carry on
    // The started program is not our child: nothing to reap, nothing to become a zombie.
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ProgramsTest, ShellOpenStartsProgramsAndGivesDocumentsToTheViewer) {
    MakeScript(c / "Viewer" / "run");
    EXPECT_FALSE(ShellOpen("C:\\viewer\\RUN.exe", "p"));
    EXPECT_EQ(TakeOutput(), "normal\n[p]\n");

    TempPrefix::Write(c / "Help.txt", "help");
    SavedEnv path("PATH"), display("DISPLAY"), wayland("WAYLAND_DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    MakeScript(root / "desktop" / "xdg-open");
    ::setenv("PATH", (root / "desktop").c_str(), 1);
    ::setenv("DISPLAY", ":0", 1);
    EXPECT_FALSE(ShellOpen("c:\\HELP.TXT", ""));
    EXPECT_EQ(TakeOutput(), "normal\n[" + (c / "Help.txt").string() + "]\n");

    // No desktop, or no viewer: nothing is shown and the call returns at once.
    ::unsetenv("DISPLAY");
    EXPECT_EQ(ShellOpen("c:\\HELP.TXT", "").Number, ErrDeviceUnavailable);
    ::setenv("DISPLAY", ":0", 1);
    ::setenv("PATH", "/nonexistent", 1);
    EXPECT_EQ(ShellOpen("c:\\HELP.TXT", "").Number, ErrDeviceUnavailable);
    EXPECT_FALSE(fs::exists(output));
}

// The command line's switches are read in tests/unit/core (MonitorFixture sets them).
TEST_F(ProgramsTest, ProgramFolderFromTheEnvironmentElseBesideTheProgram) {
    ::setenv("VOLTARIS_PROGRAM_DIR", (programDir.string() + "//").c_str(), 1);
    EXPECT_EQ(ProgramFolder(), programDir.string());
    ::unsetenv("VOLTARIS_PROGRAM_DIR");
    fs::path self = fs::read_symlink("/proc/self/exe");
    EXPECT_EQ(ProgramFolder(), self.parent_path().string());
    EXPECT_EQ(ProgramName(), self.stem().string());
}

}  // namespace
