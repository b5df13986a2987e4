// The closing rule: the monitor outlives a running host job unless the user chose Log > Exit.
#include "core/Monitor.h"
#include "core/MonitorTrap.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"

bool Monitor::QueryClose() {
    if (ended_) return true;
    bool close = true;
    TrapErrors("Form_QueryUnload", [this, &close] {
        if (ExitRequested != 0) return;
        if (!Host || !Host->JobRun()) return;
        // The host goes first: ask it to close; the tick that finds its job stopped ends us.
        Host->TelvnClose();
        close = false;
    });
    if (close) MarkEnded();
    return close;
}

bool Monitor::HostJobRunning() { return Host && Host->JobRun(); }

void Monitor::RequestExit() { ExitRequested = 1; }

void Monitor::MarkEnded() {
    ended_ = true;
    StopTimer();
    sckHost_->CloseHostSocket();
}
