#include "MeterSim.h"

#include <cmath>

#include "support/VbConvert.h"

namespace {

constexpr double Pi = 3.14159265358979323846;

double Wrap(double value, double rollover) {
    if (rollover <= 0) return value;
    double wrapped = std::fmod(value, rollover);
    return wrapped < 0 ? wrapped + rollover : wrapped;
}

}  // namespace

double MeterSim::RateAt(DateTime now) const {
    double middle = (spec_.RateLow + spec_.RateHigh) / 2;
    double swing = (spec_.RateHigh - spec_.RateLow) / 2;
    if (swing == 0) return middle;
    double seconds = now * 86400.0;
    return middle + swing * std::sin(2 * Pi * std::fmod(seconds, spec_.PeriodSeconds) / spec_.PeriodSeconds);
}

void MeterSim::Advance(DateTime now) {
    if (!started_) {
        started_ = true;
        last_ = now;
        units_ = spec_.Kind == MeterKind::Pulse ? spec_.Start * spec_.UnitsPerPulse : spec_.Start;
        return;
    }
    double hours = (now - last_) * 24.0;
    if (hours > 0) units_ += (RateAt(last_) + RateAt(now)) / 2 * hours;
    last_ = now;
}

double MeterSim::Value() const {
    switch (spec_.Kind) {
    case MeterKind::Rate: return RateAt(last_);
    case MeterKind::Total: return Wrap(units_, spec_.Rollover);
    case MeterKind::Pulse: return Wrap(std::floor(units_ / spec_.UnitsPerPulse + 1e-9), spec_.Rollover);
    case MeterKind::HourPulse: {
        // Counts full hours of the pulsing clock; never 0, so every change is a pulse.
        double hours = std::floor((last_ + spec_.ClockOffsetSeconds / 86400.0) * 24.0 + 1e-7);
        double cycle = spec_.Rollover > 0 ? spec_.Rollover : 1000;
        return Wrap(hours, cycle) + 1;
    }
    }
    return 0;
}

std::string MeterSim::Text() const {
    std::string text = FormatFixed(Value(), spec_.Decimals);
    if (!spec_.Unit.empty()) text += " " + spec_.Unit;
    return text;
}
