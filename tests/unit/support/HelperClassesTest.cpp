#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "common/TempPrefix.h"
#include "platform/Files.h"
#include "platform/Prefix.h"
#include "support/Log.h"
#include "support/clsAPI.h"
#include "support/clsIni.h"
#include "support/clsMisc.h"

namespace {

namespace fs = std::filesystem;

class HelperClassesTest : public ::testing::Test {
protected:
    static void Write(const fs::path& path, const std::string& text) { TempPrefix::Write(path, text); }
    static std::string Read(const fs::path& path) { return ReadWholeFile(path.string()).Value; }
    static clsIni At(const std::string& file, const std::string& app, const std::string& key) {
        clsIni i;
        i.FileName(file);
        i.AppName(app);
        i.KeyName(key);
        return i;
    }
    TempPrefix prefix;
    fs::path root = prefix.Root();
    std::string ini = (root / "WinSockets.ini").string();
};

TEST_F(HelperClassesTest, IniReadsAreCutTo255AndAtNul) {
    const std::string long300(300, 'x');
    Write(ini, "[Sockets]\r\nlong=" + long300 + "\r\nnul=ab " + std::string(1, '\0') + "cd\r\n=nameless\r\n");
    EXPECT_EQ(At(ini, "sockets", "LONG").GetIni(), std::string(255, 'x'));
    EXPECT_EQ(At(ini, "Sockets", "nul").GetIni(), "ab ");  // cut at NUL, not trimmed
    EXPECT_EQ(At(ini, "Sockets", "missing").GetIni(), "");

    clsAPI api;
    EXPECT_EQ(api.GetIni("sockets", "long", ini), std::string(255, 'x'));
    EXPECT_EQ(api.GetIni("Sockets", "nul", ini), "ab");  // TrimNull trims
    EXPECT_EQ(api.GetIni("Sockets", "missing", ini), "");
    EXPECT_EQ(api.GetIni("Sockets", "long", (root / "none.ini").string()), "");
}

TEST_F(HelperClassesTest, IniNeedsAllThreeProperties) {
    // The file has a key with an empty name, so a read that reached the file would find it.
    Write(ini, "[Sockets]\r\n=nameless\r\n");
    EXPECT_EQ(At(ini, "Sockets", "").GetIni(), "");
    EXPECT_EQ(At(ini, "", "").GetIni(), "");
    EXPECT_EQ(At("", "Sockets", "port").GetIni(), "");

    At(ini, "Sockets", "").SetIni("1");
    At(ini, "", "port").SetIni("1");
    At("", "Sockets", "port").SetIni("1");
    EXPECT_EQ(Read(ini), "[Sockets]\r\n=nameless\r\n");
}

TEST_F(HelperClassesTest, SetIniWritesEmptyValuesAndKeepsTheRest) {
    Write(ini, "[Sockets]\r\nOtherProgramPortNo=1008\r\nVoltarisMonitorPortNo=0\r\n");
    clsIni port = At(ini, "Sockets", "VoltarisMonitorPortNo");
    port.SetIni("1007");
    EXPECT_EQ(port.GetIni(), "1007");
    At(ini, "Sockets", "Note").SetIni("");
    EXPECT_EQ(Read(ini), "[Sockets]\r\nOtherProgramPortNo=1008\r\nVoltarisMonitorPortNo=1007\r\nNote=\r\n");

    // A write that cannot happen is silent.
    At((root / "no" / "x.ini").string(), "a", "b").SetIni("c");
    EXPECT_FALSE(fs::exists(root / "no"));
}

TEST_F(HelperClassesTest, ShellExecuteStartsAProgramWithItsParameters) {
    const fs::path marker = root / "started.txt";
    const fs::path script = root / "program" / "report.sh";
    Write(script, "#!/bin/sh\necho \"$1\" > '" + marker.string() + "'\n");
    fs::permissions(script, fs::perms::owner_all);
    clsAPI api;
    api.MyShellExecute((root / "program" / "missing.exe").string());  // nothing happens, nothing thrown
    api.MyShellExecute(script.string(), "Site0611");
    for (int i = 0; i < 100 && Read(marker).empty(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(Read(marker), "Site0611\n");
    EXPECT_FALSE(FileExists(clsLog().ErrFile()));
}

struct FakeWindow : CenterableWindow, TopMostWindow {
    int screenW = 15360, screenH = 11520, w = 4800, h = 3600;
    VbError moveResult;
    std::vector<std::pair<int, int>> moves;
    int topMostCalls = 0;
    int ScreenWidth() const override { return screenW; }
    int ScreenHeight() const override { return screenH; }
    int Width() const override { return w; }
    int Height() const override { return h; }
    VbError Move(int left, int top) override {
        moves.emplace_back(left, top);
        return moveResult;
    }
    void PlaceTopMost() override { ++topMostCalls; }
};

TEST_F(HelperClassesTest, CenterFormPlacesTheWindowInTheMiddleAndReportsAFailedMove) {
    clsMisc misc;
    FakeWindow win;
    misc.CenterForm(win);
    win.w = 20000;  // wider than the screen
    win.h = 11521;  // one twip taller: half a twip rounds to even
    misc.CenterForm(win);
    win.w = 15363;
    win.h = 11517;
    misc.CenterForm(win);
    const std::vector<std::pair<int, int>> expected{{5280, 3960}, {-2320, 0}, {-2, 2}};
    EXPECT_EQ(win.moves, expected);
    EXPECT_FALSE(FileExists(clsLog().ErrFile()));
    clsAPI().SetWindowTopMost(win);
    EXPECT_EQ(win.topMostCalls, 1);
    EXPECT_EQ(win.moves.size(), 3u);  // topmost never moves the window

    win.moveResult = VbError(ErrInvalidCall);
    misc.CenterForm(win);
    VbResult<std::string> err = ReadWholeFile(clsLog().ErrFile());
    ASSERT_TRUE(err.Ok()) << clsLog().ErrFile();
    EXPECT_NE(err.Value.find("clsMisc,CenterForm,,5,Invalid procedure call or argument"), std::string::npos)
        << err.Value;
    EXPECT_EQ(win.moves.size(), 4u);
}

}  // namespace
