#include "host/TelvaneRecorder.h"

#include "host/HostNumbering.h"
#include "host/Telvane.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

int32_t TelvaneRecorder::IndexMax() const {
    if (host_ == nullptr) return 0;
    return host_->V4() ? 5 : host_->V5() ? 1 : 0;
}

void TelvaneRecorder::Index(int32_t value) { index_ = value >= IndexMin() && value <= IndexMax() ? value : 0; }

bool TelvaneRecorder::Enabled() {
    if (index_ <= 0 || host_ == nullptr) return false;
    VbResult<int32_t> count = host_->Libraries().GetRecorderCount();
    return count.Ok() && count.Value >= index_;
}

std::string TelvaneRecorder::IndexReference() const {
    if (index_ <= 0) return {};
    std::string reference = "R";
    reference += std::to_string(index_);
    return reference;
}

void TelvaneRecorder::IndexReference(const std::string& reference) {
    if (Left(reference, 1) == "R") Index(SelectionNumber(Val(Mid(reference, 2))));
    else Index(0);
}
