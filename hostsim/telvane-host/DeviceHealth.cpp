#include "DeviceHealth.h"

#include <algorithm>

bool DeviceHealth::Up() {
    if (state_ == State::Up) return false;
    log_(what_ + (state_ == State::Unknown ? ": connected" : ": back"));
    state_ = State::Up;
    return true;
}

bool DeviceHealth::Down(const std::string& reason) {
    if (state_ == State::Down) return false;
    log_(what_ + ": lost (" + reason + "); its points are in error");
    state_ = State::Down;
    return true;
}

double Backoff::Next() {
    double wait = next_;
    next_ = std::min(next_ * 2, ceiling_);
    return wait;
}
