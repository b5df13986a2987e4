#pragma once
// Keeps the PC clock in step with a host tag that marks the full hour: when the tag's reading
// changes while the clock is within five minutes of a full hour, the clock is set to that hour
// plus Offset seconds, the step is written to the clock log and handed back to the scan.
#include <cstdint>
#include <functional>
#include <string>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

class clsClockSync {
public:
    // The point library's tag read, by zero-based tag index. The monitor connects it to the host.
    using TagReadingCall = std::function<VbResult<float>(int32_t tag)>;
    // Sets the PC's local date and time; a refusal is an error (the platform's ClockSet by default).
    using ClockSetCall = std::function<VbError(DateTime localDateTime)>;

    clsClockSync();

    // Host input tag carrying the hour pulse, 1..1024; anything else switches synchronisation off (0).
    int32_t InputTag() const { return inputTag_; }
    void InputTag(int32_t value) { inputTag_ = (value >= 1 && value <= 1024) ? value : 0; }
    // Seconds past the full hour to set, limited to 0..120.
    int32_t Offset() const { return offset_; }
    void Offset(int32_t value) { offset_ = value < 0 ? 0 : (value > 120 ? 120 : value); }

    // The tag's reading at the previous Update; -1 until the first reading.
    float LastPulseReading() const { return lastPulseReading_; }
    // Program folder + "\" + program name + "_PC_Clock.log" unless set.
    const std::string& ClockLogFile() const { return clockLogFile_; }
    void ClockLogFile(const std::string& fileText) { clockLogFile_ = fileText; }

    void SetTagReading(TagReadingCall call) { getTagReading_ = std::move(call); }
    void SetClockSet(ClockSetCall call) { clockSet_ = std::move(call); }

    // One look at the hour tag, once a second. Returns the seconds the PC clock was moved
    // (negative: back), 0 when it was not moved or the platform refused the change.
    double Update();

private:
    int32_t inputTag_ = 0;
    int32_t offset_ = 0;
    float lastPulseReading_ = -1.0f;
    std::string clockLogFile_;
    TagReadingCall getTagReading_;
    ClockSetCall clockSet_;
};
