#pragma once
// The whole monitor under test: the stand-in host installed in a temporary prefix with its job
// running and its main window open, a settings file and a tag setup file in the job's setup
// folder, a simulated PC clock that stands still unless a test moves it, and the monitor itself
// on a recording view.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTcpServer>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "../host/HostFixture.h"
#include "RecordingView.h"
#include "common/FreePort.h"
#include "common/TempPrefix.h"
#include "core/Monitor.h"
#include "net/HostSocketServer.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "platform/Clock.h"
#include "platform/Programs.h"
#include "platform/SingleInstance.h"
#include "platform/WindowRegistry.h"

// 19 November 2026, 10:05:00: well inside a demand period.
inline DateTime MonitorTestStart() { return MakeDateTime(2026, 11, 19, 10, 5, 0); }
inline DateTime Secs(double n) { return n / 86400.0; }

// Tag setup texts: a rate tag read from a host tag, and a display tag of a tag (isTag 1) or of a
// center's total (0, center 0 the site).
inline std::string TagSetupText(const std::string& tags) {
    return "[Header]\nSetupVersion = 250\nPeriodsPerDay = 48\n" + tags;
}
inline std::string RateTag(int n, const std::string& name, int hostTag, int online = 1, int inTotal = 0) {
    return "[Tag " + std::to_string(n) + "]\nTagName = \"" + name + "\"\nOnline = " + std::to_string(online) +
           "\nTagType = 1\nScanType = 24\nPageNo = " + std::to_string(hostTag) + "\nUnitsPerPulse = 1\nInTotal = " +
           std::to_string(inTotal) + "\n";
}
inline std::string DisplayTag(int n, const std::string& name, int isTag, int source) {
    return "[Tag " + std::to_string(n) + "]\nTagName = \"" + name + "\"\nOnline = 1\nTagType = 3\nDisplaySourceIsTag = " +
           std::to_string(isTag) + "\nDisplaySource = " + std::to_string(source) + "\n";
}
// A rate tag read from host tag 1, a display tag showing it, an off-line tag.
inline const std::string DefaultTagSetup =
    TagSetupText(RateTag(1, "Flow", 1) + DisplayTag(2, "Shown", 1, 1) + RateTag(3, "Spare", 3, 0));

// The monitor lets events run and its socket server lives on the event loop.
inline void EnsureCoreApplication() {
    if (QCoreApplication::instance() != nullptr) return;
    static int argc = 1;
    static char name[] = "test_core";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

inline const char* const DefaultSettings = "[general]\r\nStoreFilePrefix=Test\r\ntimer1scan=30\r\n";

class MonitorTest : public ::testing::Test {
protected:
    static constexpr const char* SetupFolderText = "C:\\Telvane\\Job1\\Setup";

    void SetUp() override {
        if (!HostFixture::LibrariesBuilt()) GTEST_SKIP() << "host libraries not built in VT_BIN_DIR";
        EnsureCoreApplication();
        ASSERT_TRUE(host.Install(5));
        host.State().SetJobRunning(1);
        RegisterWindow("TelvaneV5", "Telvane", true);
        RegisterWindow("Tray32WndClass", "tray", false);
        ClockSimulate(MonitorTestStart(), 1e-9);
        WriteText(SetupFolderText + std::string("\\WinSockets.ini"),
                  "[Sockets]\r\nVoltarisMonitorPortNo=" + std::to_string(FreePort()) + "\r\n");
        WriteSettings(DefaultSettings);
        WriteTagSetup(DefaultTagSetup);
        CommandLineIs({});
    }

    void TearDown() override {
        monitor.reset();
        ReleaseSingleInstance(Monitor::InstanceName);
        SetDebugMode(false);
        SetLogFailurePrompt(nullptr, nullptr);
    }

    static void CommandLineIs(std::vector<std::string> args) {
        std::vector<char*> argv;
        static char program[] = "voltamon";
        argv.push_back(program);
        for (std::string& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        SetCommandLine(static_cast<int>(argv.size() - 1), argv.data());
    }

    static void WriteText(const std::string& pathText, const std::string& text) {
        HostFixture::WriteFile(LocalPath(pathText), text);
    }
    static std::string ReadText(const std::string& pathText) { return TempPrefix::Read(LocalPath(pathText)); }
    void WriteSettings(const std::string& text) { WriteText(SetupFolderText + std::string("\\VoltarisSetup.ini"), text); }
    void WriteTagSetup(const std::string& description) {
        const SetupDescriptionResult parsed = ReadSetupDescription(description);
        ASSERT_EQ(parsed.Error, "");
        const VbResult<std::string> bytes = EncodeSetupFile(parsed.Image);
        ASSERT_TRUE(bytes.Ok()) << bytes.Error.Description;
        WriteText(MtgPathText(), bytes.Value);
    }
    // Saved again by the setup program.
    static void TouchTagSetup() {
        std::filesystem::last_write_time(LocalPath(MtgPathText()),
                                         std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));
    }
    static std::string MtgPathText() { return SetupFolderText + std::string("\\VoltarisMonitor.mtg"); }

    // Builds the monitor and runs stage 1.
    void Load() {
        monitor = std::make_unique<Monitor>(view, view);
        monitor->SetSteadyClock([this] { return steady_; });
        view.SetCommands(*monitor);
        monitor->Form_Load();
    }
    // Stage 1 and the first tick (stage 2 and AutoRun).
    void Start() {
        Load();
        monitor->Timer1_Timer();
        ASSERT_EQ(monitor->State.StartingUp, 0);
    }

    static DateTime Now() { return ClockNow(); }
    // Moves the PC clock to start + seconds, as time passing: the steady clock moves with it.
    void At(double seconds) {
        const DateTime target = MonitorTestStart() + Secs(seconds);
        steady_ += (target - ClockNow()) * 86400 / ClockSpeed();
        ClockSet(target);
    }
    // Moves the PC clock as a step: no time passes.
    static void StepTo(double seconds) { ClockSet(MonitorTestStart() + Secs(seconds)); }

    // One tick with the recording started afresh.
    void Tick() {
        view.Clear();
        monitor->Timer1_Timer();
    }
    void TickAt(double seconds) {
        At(seconds);
        Tick();
    }
    bool Scanned() const {
        return std::count(view.StatusTexts.begin(), view.StatusTexts.end(), "Checking Setup File") != 0;
    }

    static bool Logged(const std::string& line) {
        const std::vector<std::string> lines = MainLogLines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    double steady_ = 0;
    HostFixture host;
    RecordingMonitorView view;
    std::unique_ptr<Monitor> monitor;
};
