#include "core/Monitor.h"

#include "core/MonitorTimer.h"
#include "core/ScanContext.h"
#include "host/DdeLinkLabel.h"
#include "host/Telvane.h"
#include "net/HostSocketServer.h"
#include "platform/Dde.h"

std::string TelvaneHostFolders::JobDataFolder() const { return host_ ? host_->JobDataFolder() : std::string(); }

std::string TelvaneHostFolders::TelvaneFolder() const { return host_ ? host_->TelvaneFolder() : std::string(); }

std::string TelvaneHostFolders::JobSetupFolder() const { return host_ ? host_->JobSetupFolder() : std::string(); }

bool TelvaneHostFolders::V4() const { return host_ && host_->V4(); }

int MonitorTagAccess::MaxTags() const {
    // Never beyond the values actually held, whatever the store file's header claims.
    const int held = static_cast<int>(values_.size()) - 1;
    return setup_.MaxTags < held ? setup_.MaxTags : held;
}

float MonitorTagAccess::ReadField(int tagNo, TagField field) const {
    const TagValue& v = values_[static_cast<std::size_t>(tagNo)];
    switch (field) {
    case TagField::Integrated: return v.Integrated;
    case TagField::Rate: return v.Rate;
    case TagField::Current: return v.Current;
    }
    return 0;
}

void MonitorTagAccess::WriteField(int tagNo, TagField field, float value) {
    TagValue& v = values_[static_cast<std::size_t>(tagNo)];
    switch (field) {
    case TagField::Integrated: v.Integrated = value; break;
    case TagField::Rate: v.Rate = value; break;
    case TagField::Current: v.Current = value; break;
    }
}

Monitor::Monitor(MonitorView& view, SocketTrace& trace)
    : view_(view),
      trace_(trace),
      folders_(Host),
      tagAccess_(Setup, Values),
      sckHost_(std::make_unique<HostSocketServer>(tagAccess_, trace_)),
      timer1_(std::make_unique<MonitorTimer>([this] { Timer1_Timer(); })) {}

Monitor::~Monitor() {
    StopTimer();
    sckHost_->CloseHostSocket();
    // The host keeps a pointer to the label until it goes.
    if (Host) Host->DdeLabel(nullptr);
}

StoreContext Monitor::Store() { return StoreContext{Setup, Values, Settings, State, folders_, view_}; }

ScanContext Monitor::Scan() {
    return ScanContext{Setup, Values, Settings, State, *Host, view_, DdeInputs, CsvOnlyMode};
}

void Monitor::StartTimer() {
    if (!ended_) timer1_->Start();
}

void Monitor::StopTimer() { timer1_->Stop(); }
