// The two start-up stages and the programs started after them.
#include "core/CommandLineSwitches.h"
#include "core/InputGeneral.h"
#include "core/Monitor.h"
#include "core/MonitorTrap.h"
#include "core/ResumeAfterRestart.h"
#include "core/ScanContext.h"
#include "core/SupportHostCalls.h"
#include "files/StartUpFileInfo.h"
#include "files/clsVoltarisUpgrade.h"
#include "host/DdeLinkLabel.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"
#include "platform/Clock.h"
#include "platform/Dde.h"
#include "platform/Programs.h"
#include "platform/SingleInstance.h"
#include "support/Log.h"
#include "support/VbText.h"
#include "support/clsAPI.h"

namespace {

constexpr const char* PleaseWaitCaption = "Please wait while loading";

}  // namespace

void Monitor::Form_Load() {
    TrapErrors("Form_Load", [this] {
        State.StartingUp = 1;
        State.DataOkFlag = 0;
        LastScanTime = ClockNow();

        view_.CloseLogWindow();
        view_.SetMenuVisible(MenuItem::mnuLog, false);
        view_.SetMenuChecked(MenuItem::mnuLWindowsSocket, false);
        ExitRequested = 0;

        Host = std::make_unique<Telvane>();
        lblDDE_ = std::make_unique<DdeLink>();
        ddeLabel_ = std::make_unique<DdeLinkLabel>(*lblDDE_);
        Host->DdeLabel(ddeLabel_.get());

        {
            // Older installations' files move to their current places before anything reads them.
            clsVoltarisUpgrade upgrade(&folders_);
            upgrade.Update();
            State.SetupIniFile = upgrade.SetupIniFile();
            State.SetupMtgFile = upgrade.SetupMonitorFile();
        }

        ClockSync = std::make_unique<clsClockSync>();
        Watchdog = std::make_unique<clsWatchdog>();
        ConnectClockSync(*ClockSync, *Host);
        ConnectWatchdog(*Watchdog, *Host, view_);

        const CommandLineSwitches switches = ReadCommandLineSwitches(CommandLine());
        DebugMode = switches.DebugMode ? 1 : 0;
        CsvOnlyMode = switches.CsvOnlyMode ? 1 : 0;
        ScanLoggingSwitch = switches.ScanLogging;
        Settings.ScanLogging = switches.ScanLogging ? 1 : 0;
        SetDebugMode(DebugMode != 0);
        SetLogFailurePrompt(
            [this](const std::string& title, const std::string& text) {
                return view_.Ask(text, title, MessageButtons::YesNo, MessageIcon::Exclamation) == MessageAnswer::Yes;
            },
            [this] { view_.CloseMainWindow(); });

        view_.ShowWait(PleaseWaitCaption);
        view_.DoEvents();
    });
    // Even a half-done stage 1 lets the timer run stage 2, which reports what is missing.
    loaded_ = Host && ClockSync && Watchdog;
}

void Monitor::ReadSettings() {
    GetIniData(State.SetupIniFile, Settings, *ClockSync, *Watchdog, folders_, view_, ClockNow());
    // Asked for on the command line, scan logging outlives every read of the settings.
    if (ScanLoggingSwitch) {
        Settings.ScanLogging = 1;
        view_.SetViewLogAvailable(true);
    }
}

void Monitor::FormLoadPart2() {
    if (stage2Hook_) stage2Hook_();
    TrapErrors("FormLoadPart2", [this] {
        ReadSettings();

        const bool diagnostics = CutAtNull(Settings.errorlog) == "yes";
        if (!AcquireSingleInstance(InstanceName)) {
            view_.ShowMessage(std::string(Caption) + " is already loaded", Caption, MessageIcon::Critical);
            if (diagnostics) WriteDiagnosticLine(CutAtNull(Settings.DiagFile), " Voltaris Monitor already Loaded ");
            // Ends without the closing rule: a second copy must never ask the host to close.
            MarkEnded();
            view_.EndProgram();
            return;
        }
        if (diagnostics) WriteDiagnosticLine(CutAtNull(Settings.DiagFile), " energy monitor Loaded ");

        StoreContext store = Store();
        if (StartUpFileInfo(store, ClockNow()) == SetupLoadResult::ProgramEnds) {
            // The view has shown why and closed the window.
            MarkEnded();
            return;
        }

        view_.SetupGrid(Setup.TagCount);
        for (StatusPanel panel : {StatusPanel::Panel3D4, StatusPanel::Panel3D2, StatusPanel::Panel3D1})
            view_.SetPanelColour(panel, ColourRed);

        const DateTime now = ReadClock();
        const std::size_t maxTags = Setup.MaxTags < 0 ? 0 : static_cast<std::size_t>(Setup.MaxTags);
        for (std::size_t n = 1; n <= maxTags && n < Values.size(); ++n) {
            Values[n].Integrated = 0;
            Values[n].Current = 0;
            Values[n].LastReadTime = now;
        }

        if (CsvOnlyMode == 0) {
            if (Settings.ResumeAfterRestart != 0) {
                const int taken = TakeBackTagValues(Setup, Values, Settings, now);
                if (taken > 0) AddToLog("Resumed " + std::to_string(taken) + " tags from before the restart");
            }
            ScanContext scan = Scan();
            Input_General(scan);
            EndTakeBack(Values);
            KeepValuesIfAsked(ReadClock());
        } else {
            for (int row = 1; row <= Setup.TagCount; ++row) {
                view_.SetGridCell(row, 2, "CSV Only");
                view_.SetGridCell(row, 3, "CSV Only");
            }
        }
    });
    if (ended_) return;
    // Whatever failed above, start-up is over: the next tick counts down, never a second stage 2.
    State.StartingUp = 0;
    TrapErrors("FormLoadPart2", [this] {
        Host->RefreshData();
        sckHost_->OpenHostSocket(Host->JobSetupFolder());
    });
}

void Monitor::AutoRun() {
    TrapErrors("AutoRun", [this] {
        const clsAPI api;
        for (int i = 1;; ++i) {
            const std::string file = api.GetIni("AutoRun", "File" + std::to_string(i), State.SetupIniFile);
            if (file.empty()) break;
            if (VbError e = StartProgram(ProgramFolder() + "\\" + file, "", WindowShow::Normal)) ReportError("AutoRun", e);
            for (int k = 0; k < 3; ++k) view_.DoEvents();
            if (ended_) return;
        }
    });
}
