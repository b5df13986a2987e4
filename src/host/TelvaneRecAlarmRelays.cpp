#include "host/TelvaneRecAlarmRelays.h"

#include "host/HostNumbering.h"
#include "host/Telvane.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {
constexpr const char* Word = "RecAlarmRelay";
constexpr int32_t RelaysPerRecorder = 32;
}  // namespace

int32_t TelvaneRecAlarmRelays::IndexMax() const {
    if (host_ == nullptr) return 0;
    return host_->V4() ? 160 : host_->V5() ? 320 : 0;
}

void TelvaneRecAlarmRelays::Index(int32_t value) { index_ = value >= IndexMin() && value <= IndexMax() ? value : 0; }

int32_t TelvaneRecAlarmRelays::RecorderNumber() const {
    if (index_ <= 0) return 0;
    return host_->V4() ? (index_ - 1) / RelaysPerRecorder + 1 : 1;
}

int32_t TelvaneRecAlarmRelays::RecorderRelayNumber() const {
    if (index_ <= 0) return 0;
    return host_->V4() ? index_ - (RecorderNumber() - 1) * RelaysPerRecorder : index_;
}

std::string TelvaneRecAlarmRelays::IndexReference() const {
    if (index_ <= 0) return {};
    std::string relay = Word + std::to_string(RecorderRelayNumber());
    if (!host_->V4()) return relay;
    std::string reference = "R";
    reference += std::to_string(RecorderNumber());
    return reference + relay;
}

void TelvaneRecAlarmRelays::IndexReference(const std::string& reference) {
    std::string word = Word;
    std::size_t at = reference.find(word);
    if (at == 0) {
        Index(SelectionNumber(Val(reference.substr(word.size()))));
    } else if (at != std::string::npos && at >= 2 && reference[0] == 'R') {
        double recorder = Val(reference.substr(1, at - 1));
        double relay = Val(reference.substr(at + word.size()));
        Index(SelectionNumber((recorder - 1) * RelaysPerRecorder + relay));
    } else {
        Index(0);
    }
}

bool TelvaneRecAlarmRelays::Answers() const { return index_ > 0 && host_ != nullptr && host_->Hostrec32Loaded(); }

std::string TelvaneRecAlarmRelays::Name() {
    if (!Answers()) return {};
    VbResult<std::string> r = host_->Libraries().GetRelayLabel(index_ - 1);
    return r.Ok() ? r.Value : std::string();
}

std::string TelvaneRecAlarmRelays::Address() {
    if (!Answers()) return {};
    VbResult<std::string> r = host_->Libraries().GetRelayAddressSZ(index_ - 1);
    return r.Ok() ? r.Value : std::string();
}

bool TelvaneRecAlarmRelays::Enabled() {
    if (!Answers()) return false;
    VbResult<int32_t> r = host_->Libraries().IsRelayActive(index_ - 1);
    return r.Ok() && r.Value == 1;
}
