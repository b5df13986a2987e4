// Timer1: once a second the date and time, the host watch, the clock and watchdog, the countdown,
// and when it reaches zero one scan.
#include <cmath>

#include "core/InputGeneral.h"
#include "core/Monitor.h"
#include "core/MonitorTrap.h"
#include "core/ResumeAfterRestart.h"
#include "core/ScanContext.h"
#include "files/CsvImport.h"
#include "files/HalfHourSave.h"
#include "files/StartUpFileInfo.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"
#include "platform/Clock.h"
#include "support/Log.h"
#include "support/VbConvert.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

constexpr double SecondsPerDay = 86400.0;

// Marks the monitor busy for one handler; a tick that arrives meanwhile (the handler lets
// events run) finds it busy and is dropped.
class BusyGuard {
public:
    explicit BusyGuard(bool& busy) : busy_(busy) { busy_ = true; }
    ~BusyGuard() { busy_ = false; }
    BusyGuard(const BusyGuard&) = delete;
    BusyGuard& operator=(const BusyGuard&) = delete;

private:
    bool& busy_;
};

}  // namespace

void Monitor::Timer1_Timer() {
    if (!loaded_ || ended_ || busy_) return;
    BusyGuard busy(busy_);
    Tick();
}

DateTime Monitor::ReadClock() {
    const ClockReading clock = ClockRead();
    const double steady = steadySeconds_();
    if (const double step = clockSteps_.Step(clock.Now, steady, clock.Speed); step != 0) OnClockStep(step);
    clockSteps_.Mark(clock.Now, steady, clock.Speed);
    return clock.Now;
}

void Monitor::MarkClock() {
    const ClockReading clock = ClockRead();
    clockSteps_.Mark(clock.Now, steadySeconds_(), clock.Speed);
}

void Monitor::Tick() {
    if (State.StartingUp == 1) {
        FormLoadPart2();
        if (!ended_) AutoRun();
        return;
    }

    TrapErrors("Timer1_Timer", [this] {
        const DateTime now = ReadClock();
        view_.SetPanelText(StatusPanel::Panel3D1, FormatDate(now, "ddd, mmm d yyyy") + NL(1) + FormatDate(now, "hh:mm:ss"));

        if (!Host->JobRun()) {
            view_.CloseMainWindow();
            if (ended_) return;
        }

        const double moved = ClockSync->Update();
        if (moved != 0) {
            ShiftRememberedTimes(moved);
            MarkClock();  // the monitor's own move is no step
        }
        Watchdog->Update();
        if (ended_) return;

        if (Settings.ScanSeconds == 0) {
            view_.SetPanelText(StatusPanel::Panel3D4, "Off Line");
            return;
        }
        if (Countdown(ReadClock())) RunScan();
    });
}

// The time bases of the online measured tags move by days; the pulse times too when asked.
void Monitor::ShiftTagTimes(double days, bool pulseTimesToo) {
    for (int n = 1; n <= Setup.TagCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        if (i >= Setup.TagTable.size() || i >= Values.size()) break;
        const TagRecord& tag = Setup.TagTable[i];
        if (tag.Online != 1 || tag.TagType != TagTypeMeasured) continue;
        Values[i].LastReadTime += days;
        if (pulseTimesToo) Values[i].PulseTime += days;
    }
}

void Monitor::ShiftRememberedTimes(double seconds) {
    const double days = seconds / SecondsPerDay;
    LastScanTime += days;
    ShiftTagTimes(days, false);
}

// A step the monitor did not make (set by hand, local time moving for summer time) is no time
// passing: the tags' time bases move with it, so no span is booked for it either way. The period
// that ran before it is saved at the next scan, however the clock now names the period.
void Monitor::OnClockStep(double seconds) {
    AddToLog("PC clock stepped by " + std::to_string(static_cast<long long>(RoundHalfEven(seconds))) + " secs");
    if (State.ClockStepFrom == 0) State.ClockStepFrom = clockSteps_.LastMark();
    ShiftTagTimes(seconds / SecondsPerDay, true);
}

// now: when the period save last looked, which tells the period the values belong to.
void Monitor::KeepValuesIfAsked(DateTime now) {
    if (Settings.ResumeAfterRestart == 0 || Settings.Demo != 0) return;
    const VbError error = KeepTagValues(Setup, Values, Settings, now);
    // Reported once, and again only after it worked in between: a full disk would fill the log.
    if (error && !keepFailed_) ReportError("KeepTagValues", error);
    keepFailed_ = error.Failed();
}

bool Monitor::Countdown(DateTime now) {
    double remaining = Settings.ScanSeconds - (now - LastScanTime) * SecondsPerDay;
    bool restarted = false;
    if (remaining > Settings.ScanSeconds) {
        // The clock went back past the last scan: count a whole interval from now.
        remaining = 0;
        LastScanTime = now;
        restarted = true;
    }
    if (remaining > 0 || restarted) {
        const auto seconds = static_cast<long long>(RoundHalfEven(remaining));
        view_.SetPanelText(StatusPanel::Panel3D4, " Scan in " + std::to_string(seconds) + " secs");
        ShowIdleStatus();
        return false;
    }
    return true;
}

void Monitor::ShowStatus(const std::string& text) {
    view_.SetPanelText(StatusPanel::Panel3D2, text);
    view_.DoEvents();
}

void Monitor::ShowIdleStatus() {
    view_.SetPanelText(StatusPanel::Panel3D2, "Voltaris Monitor" + NL(1) + LCase(Trim(Settings.StoreFilePath)));
}

void Monitor::RunScan() {
    view_.SetPanelText(StatusPanel::Panel3D4, " Scan in 0 secs");
    if (Settings.Demo != 0)
        view_.SetPanelText(StatusPanel::Panel3D2, "Scanning Now - Demo Random Data" + NL(1) + "Demo Mode - No File Storage");
    else
        view_.SetPanelText(StatusPanel::Panel3D2, "Scanning Now" + NL(1) + LCase(Trim(Settings.StoreFilePath)));
    LastScanTime = ReadClock();

    ShowStatus("Checking Setup File");
    if (ended_) return;
    const DateTime previousStamp = State.SetupFileStamp;
    const VbResult<DateTime> stamp = ReadSetupFileStamp(State.SetupMtgFile);
    if (stamp.Ok())
        State.SetupFileStamp = stamp.Value;
    else
        ReportError("Timer1_Timer", stamp.Error);
    if (previousStamp < State.SetupFileStamp) {
        // Saved by the setup program since the last look: settings and tags again, then this
        // same scan goes on with the new setup.
        view_.ShowWait("Please wait while loading");
        ReadSettings();
        sckHost_->OpenHostSocket(Host->JobSetupFolder());
        StoreContext store = Store();
        if (StartUpFileInfo(store, ReadClock()) == SetupLoadResult::ProgramEnds) {
            MarkEnded();
            return;
        }
        view_.CloseWait();
    }

    ShowStatus("Checking Auto Close");
    if (ended_) return;
    if (CutAtNull(Settings.SCADArun) == "yes" && !Host->TelvnRun()) {
        view_.CloseMainWindow();
        if (ended_) return;
    }

    if (CsvOnlyMode == 0) {
        ShowStatus("Calling Input_General");
        if (ended_) return;
        ScanContext scan = Scan();
        Input_General(scan);

        ShowStatus("Calling Half Hour Save");
        if (ended_) return;
        StoreContext store = Store();
        const DateTime saveTime = ReadClock();
        HalfHourSave(store, saveTime);
        KeepValuesIfAsked(saveTime);
    }

    // CSV log files are imported whatever the mode.
    {
        StoreContext store = Store();
        CSV_GetData(store);
    }
    view_.DoEvents();
    if (ended_) return;

    ShowStatus("Display if Data is OK");
    if (ended_) return;
    const RgbColour colour = State.DataOkFlag == 1 ? ColourDarkBlue : ColourRed;
    for (StatusPanel panel : {StatusPanel::Panel3D1, StatusPanel::Panel3D2, StatusPanel::Panel3D4})
        view_.SetPanelColour(panel, colour);

    ShowStatus("Find Tags not used");
    if (ended_) return;

    ShowIdleStatus();
    view_.DoEvents();
}
