#pragma once
// What one acquisition pass keeps while it walks the tags: the time it reads, and the center sums
// its display tags share. Both are worked out again once events have run.
#include <functional>
#include <map>
#include <utility>

#include "core/ScanContext.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/VbError.h"

// "Now" for a pass: read when the pass starts and again after events have run, since a handler
// may take any time. The tags handled in between share it: they lie microseconds apart.
class PassClock {
public:
    explicit PassClock(std::function<DateTime()> read = {}) : read_(std::move(read)) {}
    DateTime Now() {
        if (stale_) {
            now_ = read_ ? read_() : ClockNow();
            stale_ = false;
        }
        return now_;
    }
    void EventsRan() {
        stale_ = true;
        ++rounds_;
    }
    // Changes whenever events have run: what the pass worked out before may no longer hold.
    unsigned Rounds() const { return rounds_; }

private:
    std::function<DateTime()> read_;
    DateTime now_ = 0;
    bool stale_ = true;
    unsigned rounds_ = 0;
};

// The sum of Integrated over a center's measured tags other than maths tags (center 0: every such
// tag in the site total), added left to right in tag order. Display tags of the same center share it until events have
// run, since a socket request may set a tag in between.
class CenterSums {
public:
    // The center's sum into sum; a fault of the addition (overflow) or a table too short comes back.
    VbError Sum(const ScanContext& scan, const PassClock& clock, int center, float& sum);

private:
    std::map<int, float> sums_;
    unsigned rounds_ = 0;
};
