// telvane-host as a program: a fresh prefix, the host run in the background, and the other
// commands, the window registry, the system profile and DDE seen from this separate process.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

#include "HostProcess.h"
#include "platform/Clock.h"
#include "platform/Dde.h"
#include "platform/Paths.h"
#include "platform/WindowRegistry.h"
#include "support/Profile.h"

namespace {

const char* const V5Scenario = R"(
[host]
job = Plant
install name = Test site

[point T50]
name = Spare input
value = 3

[page 2]
label = Boiler house
files = Boiler1.dat, Boiler2.dat
)";

const char* const V4Scenario = R"(
[host]
job = Works
data folder = D:\Store

[meter Incomer]
point = [R1P2L3]
kind = rate
rate = 250

[page 2]
files = R1P2.dat
)";

bool HasWindow(const std::string& windowClass) {
    const std::vector<WindowInfo> open = OpenWindows();
    return std::any_of(open.begin(), open.end(), [&](const WindowInfo& w) { return w.ClassName == windowClass; });
}

VbError OpenLink(DdeLink& link, const std::string& topic, const std::string& item, DdeLinkMode mode = DdeLinkMode::Manual) {
    link.SetTopic(topic);
    link.SetItem(item);
    return link.SetMode(mode);
}

}  // namespace

TEST(HostProgram, V5RunStatusSetGetAndStop) {
    TestPrefix prefix;
    std::string scenario = prefix.WriteFile("v5.scn", V5Scenario);
    BackgroundHost host(prefix, {"--generation", "5", "--scenario", scenario});
    ASSERT_TRUE(host.WaitRunning()) << host.Output();

    auto status = Status(prefix);
    EXPECT_EQ(status["generation"], "5");
    EXPECT_EQ(status["job running"], "yes");
    EXPECT_EQ(status["job name"], "Plant");
    EXPECT_EQ(status["windows"], "TelvaneV5, Tray32WndClass, Korvex32printserver");
    // The folders and registration the host object reads are checked through it (HostObjectTest).
    EXPECT_EQ(GetPrivateProfileString("setup", "installname", "", 255, PathJoin(status["host folder"], "Startup.ini")),
              "Test site");
    std::string map = ReadAll(LocalPath(PathJoin(status["job data folder"], "Page2.map")));
    ASSERT_EQ(map.size(), 512u);
    EXPECT_EQ(std::string(map.c_str()), PathJoin(status["job data folder"], "Boiler1.dat"));
    EXPECT_TRUE(std::filesystem::exists(LocalPath(PathJoin(status["job data folder"], "Boiler2.dat"))));

    // set then get, in every point form; a scenario value is there from the start.
    EXPECT_EQ(GetValue(prefix, "T50"), 3);
    ToolResult set = RunTool(prefix, {"set", "T50=12.5", "[P3L4]=7", "[T4999]=-1.25"});
    ASSERT_EQ(set.ExitCode, 0) << set.Err;
    ToolResult get = RunTool(prefix, {"get", "[T50]", "P3L4", "L24", "T4999"});
    ASSERT_EQ(get.ExitCode, 0) << get.Err;
    EXPECT_EQ(get.Out, "12.5\n7\n7\n-1.25\n");
    // One bad assignment and none is made.
    ToolResult bad = RunTool(prefix, {"set", "T50=99", "T5001=1"});
    EXPECT_EQ(bad.ExitCode, 2);
    EXPECT_NE(bad.Err.find("T5001"), std::string::npos);
    EXPECT_EQ(GetValue(prefix, "T50"), 12.5);
    EXPECT_EQ(RunTool(prefix, {"set", "T50=abc"}).ExitCode, 2);  // point texts are HostPointRef's

    // A second host in the same prefix is refused while the first runs.
    ToolResult second = RunTool(prefix, {"run", "--generation", "5"});
    EXPECT_EQ(second.ExitCode, 1);
    EXPECT_NE(second.Err.find("already running"), std::string::npos) << second.Err;

    EXPECT_EQ(RunTool(prefix, {"stop"}).ExitCode, 0);
    EXPECT_EQ(host.Wait(5s), 0) << host.Output();
    status = Status(prefix);
    EXPECT_EQ(status["job running"], "no");
    EXPECT_EQ(status["windows"], "");
    EXPECT_EQ(status["host process"], "not running");
    for (const char* windowClass : {"TelvaneV5", "Tray32WndClass", "Korvex32printserver"}) {
        EXPECT_FALSE(HasWindow(windowClass)) << windowClass;
    }
    // Points keep their values after the job stopped.
    EXPECT_EQ(GetValue(prefix, "T50"), 12.5);
}

TEST(HostProgram, V4InstallDdeWritesAndCloseRequest) {
    TestPrefix prefix;
    std::string scenario = prefix.WriteFile("v4.scn", V4Scenario);
    BackgroundHost host(prefix, {"--generation", "4", "--scenario", scenario});
    ASSERT_TRUE(host.WaitRunning()) << host.Output();

    auto status = Status(prefix);
    EXPECT_EQ(status["generation"], "4");
    EXPECT_EQ(status["windows"], "LoaderWClass, SYSCON, Tray32WndClass");
    EXPECT_EQ(status["job folder"], status["host folder"]);
    EXPECT_EQ(status["job data folder"], "D:\\Store");
    EXPECT_EQ(GetProfileString("telvold", "name1", "", 255), "Works");
    EXPECT_EQ(GetProfileString("TelvnV5", "directory", "", 255), "");
    struct stat service {};
    ASSERT_EQ(::stat(LocalPath(PathJoin(status["host folder"], "hostsvc.exe")).c_str(), &service), 0);
    EXPECT_TRUE(service.st_mode & S_IXUSR);
    EXPECT_EQ(GetPrivateProfileString("Recorder 1 Page 2", "file0", "", 255, PathJoin(status["host folder"], "Record.ini")),
              "D:\\Store\\R1P2.dat");

    // The meter on recorder 1, page 2, line 3 shows its constant rate.
    EXPECT_TRUE(WaitFor([&] { return GetValue(prefix, "[R1P2L3]") == 250; }, 10s));

    // What the host's DDE does not serve is refused: a page beyond a recorder's ten, an unknown
    // command, an unknown execute. What it serves is covered through the host object.
    DdeLink link;
    ASSERT_FALSE(OpenLink(link, "Recorder 2|SetData", "11,1"));
    link.SetText("42.5");
    EXPECT_EQ(link.Poke().Number, ErrDdeRefused);
    link.SetTopic("Recorder 2|NoSuchCommand");
    EXPECT_EQ(link.SetMode(DdeLinkMode::Manual).Number, ErrDdeNoServer);
    DdeLink tags;
    ASSERT_FALSE(OpenLink(tags, "TagServer|Tags", "2005,AL1Setpoint"));
    EXPECT_EQ(tags.Execute("Format").Number, ErrDdeRefused);

    // The close request a monitor posts to the tray window ends the job and closes the windows.
    ASSERT_TRUE(PostRegisteredMessage("Tray32WndClass", "APPCLOSE"));
    EXPECT_EQ(host.Wait(5s), 0) << host.Output();
    EXPECT_FALSE(HasWindow("LoaderWClass"));
    EXPECT_FALSE(HasWindow("Tray32WndClass"));
    EXPECT_EQ(Status(prefix)["job running"], "no");
    // Its DDE topics went with it.
    EXPECT_EQ(tags.Execute("Save", 2000).Number, ErrDdeNoServer);
}

TEST(HostProgram, KilledHostLeavesNoLiveWindowsAndAStopClearsItsJob) {
    TestPrefix prefix;
    {
        BackgroundHost host(prefix, {"--generation", "5"});
        ASSERT_TRUE(host.WaitRunning()) << host.Output();
        ASSERT_TRUE(HasWindow("TelvaneV5"));
        host.Kill();
    }
    for (const char* windowClass : {"TelvaneV5", "Tray32WndClass", "Korvex32printserver"})
        EXPECT_FALSE(HasWindow(windowClass)) << windowClass;
    auto status = Status(prefix);
    EXPECT_EQ(status["host process"], "not running");
    EXPECT_EQ(status["windows"], "");
    EXPECT_EQ(status["job running"], "no");  // its job flag is still set, but its owner is dead
    EXPECT_EQ(RunTool(prefix, {"stop"}).ExitCode, 0);

    // Nothing the dead host held blocks the next one: instance lock, DDE names, windows.
    BackgroundHost again(prefix, {"--generation", "5"});
    ASSERT_TRUE(again.WaitRunning()) << again.Output();
    EXPECT_EQ(RunTool(prefix, {"stop"}).ExitCode, 0);
    EXPECT_EQ(again.Wait(5s), 0);
}

// The meters following the prefix clock are seen in the scenario tests.
TEST(HostProgram, ClockSetPrintedAndMalformedOnesRefused) {
    TestPrefix prefix;
    ASSERT_EQ(RunTool(prefix, {"clock", "2026-03-02T09:59:50", "10"}).ExitCode, 0);
    ToolResult printed = RunTool(prefix, {"clock"});
    ASSERT_EQ(printed.ExitCode, 0);
    EXPECT_GE(printed.Out, "2026-03-02T09:59:50");
    EXPECT_LT(printed.Out, "2026-03-02T10:02");
    EXPECT_TRUE(ClockIsSimulated());
    ASSERT_EQ(RunTool(prefix, {"clock", "real"}).ExitCode, 0);
    EXPECT_FALSE(ClockIsSimulated());
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"clock", "yesterday"}, {"clock", "2026-02-30T00:00:00"}, {"clock", "2026-03-02T00:00:00", "0"}})
        EXPECT_EQ(RunTool(prefix, args).ExitCode, 2) << args[1];
}

TEST(HostProgram, DdeItemsReachAutomaticLinks) {
    TestPrefix prefix;
    ASSERT_EQ(RunTool(prefix, {"dde-set", "Weather|Now", "Temp", "1"}).ExitCode, 1);  // no host yet
    std::string scenario = prefix.WriteFile("dde.scn", R"(
[meter Site gas]
dde topic = MeterSrv|Meters
dde item = Gas
kind = total
start = 500
rate = 36000
unit = m3

[dde Weather|Now]
Temp = 11.0 C
)");
    BackgroundHost host(prefix, {"--generation", "5", "--scenario", scenario});
    ASSERT_TRUE(host.WaitRunning()) << host.Output();

    DdeLink gas;
    std::vector<std::string> seen;
    gas.SetOnChange([&seen](const std::string& text) { seen.push_back(text); });
    ASSERT_FALSE(OpenLink(gas, "MeterSrv|Meters", "gas", DdeLinkMode::Automatic));
    auto deadline = std::chrono::steady_clock::now() + 5s;
    while (seen.size() < 3 && std::chrono::steady_clock::now() < deadline) DdePump(50);
    ASSERT_GE(seen.size(), 3u);
    EXPECT_GE(Val(seen.front()), 500);
    EXPECT_GT(Val(seen.back()), Val(seen.front()));  // a running total, pushed as it grows
    EXPECT_EQ(seen.back().substr(seen.back().size() - 3), " m3");

    DdeLink temp;
    ASSERT_FALSE(OpenLink(temp, "Weather|Now", "Temp", DdeLinkMode::Automatic));
    EXPECT_EQ(temp.Text(), "11.0 C");
    ToolResult set = RunTool(prefix, {"dde-set", "Weather|Now", "Temp", "12.5 C"});
    ASSERT_EQ(set.ExitCode, 0) << set.Err;
    EXPECT_TRUE(WaitFor([&] {
        DdePump(0);
        return temp.Text() == "12.5 C";
    }, 3s));
    // A new application is served from the first dde-set on.
    ASSERT_EQ(RunTool(prefix, {"dde-set", "Steam|Flow", "Header 1", "3.25"}).ExitCode, 0);
    DdeLink steam;
    ASSERT_FALSE(OpenLink(steam, "Steam|Flow", "Header 1"));
    ASSERT_FALSE(steam.Request());
    EXPECT_EQ(steam.Text(), "3.25");
    // The host's own applications are not generic topics.
    EXPECT_EQ(RunTool(prefix, {"dde-set", "telvane-host|Control", "x", "1"}).ExitCode, 1);

    EXPECT_EQ(RunTool(prefix, {"stop"}).ExitCode, 0);
    EXPECT_EQ(host.Wait(5s), 0);
    // The link notices its server went away.
    EXPECT_TRUE(WaitFor([&] { return gas.Mode() == DdeLinkMode::None; }, 3s));
}

// --help, --version and a refused option are checked on the installed package.
TEST(HostProgram, BadArgumentsAndMissingHost) {
    TestPrefix prefix;
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"run"}, {"run", "--generation", "6"}, {"set"}, {"dde-set", "Weather|Now", "Temp"}, {"status", "--verbose"},
             {"run", "--generation", "5", "--speed", "2"}, {"get", "--all"}, {"--scenario", "x.scn"}})
        EXPECT_EQ(RunTool(prefix, args).ExitCode, 2) << args.size();
    const std::string help = RunTool(prefix, {"--help"}).Out;
    EXPECT_NE(help.find("The host libraries are installed from " +
                        std::filesystem::path(TELVANE_HOST_PROGRAM).parent_path().string() + ".\n"),
              std::string::npos)
        << help;
    EXPECT_EQ(RunTool(prefix, {"frobnicate"}).Err, "telvane-host: unknown command 'frobnicate'\n" + help);
    // After "--" a DDE text may look like an option; with no host running the item cannot be set.
    ToolResult dash = RunTool(prefix, {"dde-set", "--", "Weather|Now", "Temp", "--5"});
    EXPECT_EQ(dash.ExitCode, 1) << dash.Err;

    // Nothing installed: the point commands say so instead of inventing a host.
    ToolResult get = RunTool(prefix, {"get", "T1"});
    EXPECT_EQ(get.ExitCode, 1);
    EXPECT_NE(get.Err.find("no host installed"), std::string::npos);
    EXPECT_EQ(RunTool(prefix, {"status"}).ExitCode, 1);

    std::string broken = prefix.WriteFile("broken.scn", "[host]\ngeneration = 5\n\n[meter Gas]\npoint = T12\nrate = fast\n");
    ToolResult run = RunTool(prefix, {"run", "--scenario", broken});
    EXPECT_EQ(run.ExitCode, 1);
    EXPECT_NE(run.Err.find("line 6"), std::string::npos) << run.Err;
    EXPECT_EQ(RunTool(prefix, {"run", "--scenario", (prefix.Root() / "missing.scn").string()}).ExitCode, 1);
    // Tag 1500 exists on V5 but lies between the V4 input and output ranges.
    std::string v5Only = prefix.WriteFile("v5only.scn", "[meter Gas]\npoint = T1500\nrate = 1\n");
    ToolResult v4 = RunTool(prefix, {"run", "--generation", "4", "--scenario", v5Only});
    EXPECT_EQ(v4.ExitCode, 1);
    EXPECT_NE(v4.Err.find("no such point"), std::string::npos) << v4.Err;
}
