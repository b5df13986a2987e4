#include "host/TelvaneTagAlarmRelays.h"

#include "host/HostNumbering.h"
#include "host/Telvane.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {
constexpr const char* Prefix = "TagAlarmRelay";
}

int32_t TelvaneTagAlarmRelays::IndexMin() const { return host_ != nullptr && host_->V4() ? 1 : 0; }
int32_t TelvaneTagAlarmRelays::IndexMax() const { return host_ != nullptr && host_->V4() ? 512 : 0; }

void TelvaneTagAlarmRelays::Index(int32_t value) { index_ = value >= IndexMin() && value <= IndexMax() ? value : 0; }

std::string TelvaneTagAlarmRelays::IndexReference() const { return index_ > 0 ? Prefix + std::to_string(index_) : std::string(); }

void TelvaneTagAlarmRelays::IndexReference(const std::string& reference) {
    std::string prefix = Prefix;
    if (Left(reference, prefix.size()) == prefix) Index(SelectionNumber(Val(Mid(reference, prefix.size() + 1))));
    else Index(0);
}

bool TelvaneTagAlarmRelays::Answers() const { return index_ > 0 && host_ != nullptr && host_->V4(); }

std::string TelvaneTagAlarmRelays::Name() {
    if (!Answers()) return {};
    VbResult<std::string> r = host_->Libraries().GetTagRelayLabel(index_ - 1);
    return r.Ok() ? r.Value : std::string();
}

std::string TelvaneTagAlarmRelays::Address() {
    if (!Answers()) return {};
    VbResult<std::string> r = host_->Libraries().GetTagRelayAddressSZ(index_ - 1);
    return r.Ok() ? r.Value : std::string();
}

bool TelvaneTagAlarmRelays::Enabled() {
    if (!Answers()) return false;
    VbResult<int32_t> r = host_->Libraries().IsTagRelayActive(index_ - 1);
    return r.Ok() && r.Value == 1;
}
