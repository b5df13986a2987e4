#include "core/ClockStepWatch.h"

#include <cmath>

namespace {

constexpr double SecondsPerDay = 86400.0;

}  // namespace

double ClockStepWatch::Step(DateTime now, double steadySeconds, double speed) const {
    if (!marked_ || speed != speed_) return 0;
    const double moved = (now - clock_) * SecondsPerDay;
    const double passed = (steadySeconds - steady_) * speed;
    const double step = moved - passed;
    if (!std::isfinite(step) || std::fabs(step) < MinimumStepSeconds) return 0;
    return step;
}

void ClockStepWatch::Mark(DateTime now, double steadySeconds, double speed) {
    marked_ = true;
    clock_ = now;
    steady_ = steadySeconds;
    speed_ = speed;
}
