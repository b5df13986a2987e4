#include "support/clsWatchdog.h"

#include <cmath>
#include <cstdint>

#include "platform/Clock.h"

namespace {

// Second boundaries crossed from one time to a later one (the time parts are doubles, so a
// boundary a hair away counts as reached).
int64_t SecondBoundaries(DateTime from, DateTime to) {
    constexpr double SecondsPerDay = 86400;
    constexpr double Slack = 1e-5;
    return static_cast<int64_t>(std::floor(to * SecondsPerDay + Slack)) -
           static_cast<int64_t>(std::floor(from * SecondsPerDay + Slack));
}

}  // namespace

clsWatchdog::clsWatchdog() : lastToggleTime_(ClockNow()) {}

void clsWatchdog::Update() {
    if (outputTag_ <= 2000) return;
    if (SecondBoundaries(lastToggleTime_, ClockNow()) < toggleSecs_) return;

    watchdogState_ = watchdogState_ == 0 ? 1.0f : 0.0f;
    if (label_) label_(watchdogState_ == 1.0f);
    // A failing write is not retried: the next toggle sends the other value.
    if (setTagOutputValue_) setTagOutputValue_(outputTag_ - 2001, watchdogState_, 0, 0);
    lastToggleTime_ = ClockNow();
    if (doEvents_) doEvents_();
}
