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
    double middle = (config_.RateLow + config_.RateHigh) / 2;
    double swing = (config_.RateHigh - config_.RateLow) / 2;
    if (swing == 0) return middle;
    double seconds = now * 86400.0;
    return middle + swing * std::sin(2 * Pi * std::fmod(seconds, config_.PeriodSeconds) / config_.PeriodSeconds);
}

void MeterSim::Advance(DateTime now) {
    if (!started_) {
        started_ = true;
        last_ = now;
        units_ = config_.Kind == MeterKind::Pulse ? config_.Start * config_.UnitsPerPulse : config_.Start;
        return;
    }
    double hours = (now - last_) * 24.0;
    if (hours > 0) units_ += (RateAt(last_) + RateAt(now)) / 2 * hours;
    last_ = now;
}

double MeterSim::Value() const {
    switch (config_.Kind) {
    case MeterKind::Rate: return RateAt(last_);
    case MeterKind::Total: return Wrap(units_, config_.Rollover);
    case MeterKind::Pulse: return Wrap(std::floor(units_ / config_.UnitsPerPulse + 1e-9), config_.Rollover);
    case MeterKind::HourPulse: {
        // Counts full hours of the pulsing clock; never 0, so every change is a pulse.
        double hours = std::floor((last_ + config_.ClockOffsetSeconds / 86400.0) * 24.0 + 1e-7);
        double cycle = config_.Rollover > 0 ? config_.Rollover : 1000;
        return Wrap(hours, cycle) + 1;
    }
    }
    return 0;
}

std::string MeterSim::Text() const {
    std::string text = FormatFixed(Value(), config_.Decimals);
    if (!config_.Unit.empty()) text += " " + config_.Unit;
    return text;
}
