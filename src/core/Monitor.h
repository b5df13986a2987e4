#pragma once
// The monitor: everything the main window owns and does. Start-up in two stages, the one-second
// tick that counts down to and runs each scan, the closing rule and the menu commands. It drives
// the screen only through MonitorView, so the Qt main window, the headless view and the tests'
// recording view all run the same monitor.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/ClockStepWatch.h"
#include "core/DdeInputLinks.h"
#include "core/MonitorCommands.h"
#include "core/MonitorTagAccess.h"
#include "core/MonitorView.h"
#include "core/TelvaneHostFolders.h"
#include "files/MonitorSettings.h"
#include "files/SetupData.h"
#include "files/StoreContext.h"
#include "files/TagValues.h"
#include "net/SocketTrace.h"
#include "platform/DateSerial.h"
#include "support/clsClockSync.h"
#include "support/clsWatchdog.h"

class DdeLink;
class DdeLinkLabel;
class HostSocketServer;
class Telvane;
struct ScanContext;
class MonitorTimer;

class Monitor : public MonitorCommands {
public:
    // The main window's caption: the single-instance message starts with it.
    static constexpr const char* Caption = "Voltaris Monitor";
    // The name the single-instance lock is held under.
    static constexpr const char* InstanceName = "voltamon";

    Monitor(MonitorView& view, SocketTrace& trace);
    ~Monitor() override;
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // Stage 1, when the main window loads: flags, host object, settings and setup file paths,
    // clock synchronisation and watchdog, switches, the please-wait window.
    void Form_Load();
    // Stage 2, run by the first tick: settings, single instance, tag setup, grid, first pass.
    void FormLoadPart2();
    // The programs of the settings' "AutoRun" section, started once after stage 2.
    void AutoRun();
    // One tick of Timer1.
    void Timer1_Timer();

    // Timer1 on the running Qt event loop; each interval follows the clock's tick length.
    void StartTimer();
    void StopTimer();

    // MonitorCommands
    bool QueryClose() override;
    void RequestExit() override;
    void ReloadSetup() override;
    void StartSetupProgram() override;
    void StartReportProgram() override;
    void ViewLog() override;
    AboutInfo About() const override;

    // True once the monitor has ended (the closing rule let the window close, or start-up ended
    // the program); nothing runs after that.
    bool Ended() const { return ended_; }
    // Whether the host job runs now (false without a host).
    bool HostJobRunning();
    // The steady clock in seconds against which steps of the PC clock are told from time passing
    // (by default the machine's monotonic clock); tests that move a frozen clock give their own.
    void SetSteadyClock(std::function<double()> seconds) { steadySeconds_ = std::move(seconds); }

    // Called once when stage 2 begins (the please-wait window closes itself from then on).
    void SetStage2Hook(std::function<void()> hook) { stage2Hook_ = std::move(hook); }

    const std::string& SetupIniFile() const { return State.SetupIniFile; }
    void SetupIniFile(const std::string& value) { State.SetupIniFile = value; }
    const std::string& SetupMtgFile() const { return State.SetupMtgFile; }
    void SetupMtgFile(const std::string& value) { State.SetupMtgFile = value; }

    // The main window's state. StartingUp, DataOkFlag, SetupFileStamp and the two file paths
    // live in State, where the file procedures read and write them.
    MonitorState State;
    DateTime LastScanTime = 0;
    int16_t ExitRequested = 0;
    int16_t DebugMode = 0;
    int16_t CsvOnlyMode = 0;
    // "/log" was given: scan logging stays on whatever the settings say.
    bool ScanLoggingSwitch = false;

    SetupData Setup;
    TagValues Values;
    MonitorSettings Settings;
    std::unique_ptr<Telvane> Host;
    std::unique_ptr<clsClockSync> ClockSync;
    std::unique_ptr<clsWatchdog> Watchdog;
    DdeInputLinks DdeInputs;

    HostSocketServer& SocketServer() { return *sckHost_; }

private:
    StoreContext Store();
    ScanContext Scan();
    // GetIniData and what follows every read of the settings.
    void ReadSettings();
    // Counts down; true when this tick starts a scan.
    bool Countdown(DateTime now);
    void RunScan();
    void ShiftRememberedTimes(double seconds);
    void ShiftTagTimes(double days, bool pulseTimesToo);
    // The body of a tick, between the busy mark and the look at the clock that ends it.
    void Tick();
    // The clock stepped by seconds without the monitor moving it.
    void OnClockStep(double seconds);
    // Now, from the PC clock. Every read the scan works with comes through here, so a step is seen
    // at the first read after it, before any calculation uses the new time.
    DateTime ReadClock();
    // Where the clock stands now counts as time passing (after the monitor moved it itself).
    void MarkClock();
    // The tag values to the resume file, when the settings ask for it.
    void KeepValuesIfAsked(DateTime now);
    void ShowIdleStatus();
    void ShowStatus(const std::string& text);
    // The closing rule allowed the close or start-up ended the program.
    void MarkEnded();
    void ConnectHelpers();

    MonitorView& view_;
    SocketTrace& trace_;
    TelvaneHostFolders folders_;
    MonitorTagAccess tagAccess_;
    std::unique_ptr<HostSocketServer> sckHost_;
    std::unique_ptr<DdeLink> lblDDE_;
    std::unique_ptr<DdeLinkLabel> ddeLabel_;
    std::unique_ptr<MonitorTimer> timer1_;
    std::function<void()> stage2Hook_;
    ClockStepWatch clockSteps_;
    std::function<double()> steadySeconds_;
    bool keepFailed_ = false;  // the last keeping of the tag values failed (and was reported)
    bool loaded_ = false;
    bool busy_ = false;   // stage 2 or a scan is running (it lets events run, which may bring a tick)
    bool ended_ = false;
};
