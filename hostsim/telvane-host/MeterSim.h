#pragma once
// One simulated meter, driven by the prefix clock: a rate that is constant or swings between two
// values, integrated into a running total or a pulse count with rollover, or an hour-pulse counter
// that changes on the full hour.
#include <string>

#include "Scenario.h"
#include "platform/DateSerial.h"

class MeterSim {
public:
    explicit MeterSim(MeterConfig entry) : config_(std::move(entry)) {}

    // Units per hour at a clock time.
    double RateAt(DateTime now) const;
    // Moves the meter to now. The first call only sets the start; a clock that went back
    // adds nothing (a meter counts what flowed, not what the PC clock says).
    void Advance(DateTime now);
    // The reading the host shows for the meter.
    double Value() const;
    // The reading as a DDE item's text: fixed decimals and the unit after a blank.
    std::string Text() const;
    const MeterConfig& Config() const { return config_; }

private:
    MeterConfig config_;
    bool started_ = false;
    DateTime last_ = 0;
    double units_ = 0;  // quantity since the start (the start value included)
};
