// What the main window's menu items ask of the monitor.
#include "core/Monitor.h"
#include "core/MonitorTrap.h"
#include "files/StartUpFileInfo.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"
#include "platform/Clock.h"
#include "platform/Programs.h"
#include "support/Log.h"
#include "support/clsAPI.h"

void Monitor::ReloadSetup() {
    // Not in the middle of a scan: the pass walks the very tables a reload resizes.
    if (ended_ || busy_ || !loaded_) return;
    TrapErrors("ldstup_Click", [this] {
        StoreContext store = Store();
        if (StartUpFileInfo(store, ClockNow()) == SetupLoadResult::ProgramEnds) MarkEnded();
    });
}

void Monitor::StartSetupProgram() {
    TrapErrors("loadvoltarisset_Click", [] {
        if (VbError e = StartProgram(ProgramFolder() + "\\vt-setup.exe", "", WindowShow::Normal))
            ReportError("loadvoltarisset_Click", e);
    });
}

void Monitor::StartReportProgram() {
    TrapErrors("loadvoltaris_Click", [] {
        if (VbError e = StartProgram(ProgramFolder() + "\\vtreport.exe", "", WindowShow::Normal))
            ReportError("loadvoltaris_Click", e);
    });
}

void Monitor::ViewLog() {
    TrapErrors("mnuO_ViewLog_Click", [] { clsAPI().MyShellExecute(LogFolder() + "\\voltamon.log"); });
}

AboutInfo Monitor::About() const {
    AboutInfo info;
    if (Host) info.TelvaneVersion = Host->Version();
    info.SetupIniFile = State.SetupIniFile;
    info.SetupMtgFile = State.SetupMtgFile;
    info.SocketPort = sckHost_->LocalPort();
    info.SocketListening = sckHost_->IsListening();
    return info;
}
