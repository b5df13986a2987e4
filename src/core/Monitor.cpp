#include "core/Monitor.h"

#include <chrono>

#include "core/MonitorTimer.h"
#include "core/ScanContext.h"
#include "host/DdeLinkLabel.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"
#include "platform/Dde.h"
#include "support/Log.h"

Monitor::Monitor(MonitorView& view, SocketTrace& trace)
    : view_(view),
      trace_(trace),
      folders_(Host),
      tagAccess_(Setup, Values),
      sckHost_(std::make_unique<HostSocketServer>(tagAccess_, trace_)),
      timer1_(std::make_unique<MonitorTimer>([this] { Timer1_Timer(); })),
      steadySeconds_([] {
          return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
      }) {}

Monitor::~Monitor() {
    StopTimer();
    // The log's failure question asks this monitor's view.
    SetLogFailurePrompt(nullptr, nullptr);
    sckHost_->CloseHostSocket();
    // The host keeps a pointer to the label until it goes.
    if (Host) Host->DdeLabel(nullptr);
}

StoreContext Monitor::Store() { return StoreContext{Setup, Values, Settings, State, folders_, view_}; }

ScanContext Monitor::Scan() {
    return ScanContext{Setup, Values, Settings, State, *Host, view_, DdeInputs, CsvOnlyMode, [this] { return ReadClock(); }};
}

void Monitor::StartTimer() {
    if (!ended_) timer1_->Start();
}

void Monitor::StopTimer() { timer1_->Stop(); }
