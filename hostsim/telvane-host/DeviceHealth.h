#pragma once
// Whether a device or broker answers, as the host's log tells it: one line when it is first
// reached or lost, and one when it comes back, however many polls fail or succeed in between.
#include <functional>
#include <string>

using HostLogger = std::function<void(const std::string&)>;

class DeviceHealth {
public:
    DeviceHealth(std::string what, HostLogger log) : what_(std::move(what)), log_(std::move(log)) {}

    // True when this is a change of state (and a line was logged).
    bool Up();
    bool Down(const std::string& reason);
    bool IsUp() const { return state_ == State::Up; }
    const std::string& What() const { return what_; }

private:
    enum class State { Unknown, Up, Down };
    std::string what_;
    HostLogger log_;
    State state_ = State::Unknown;
};

// Seconds to wait before the next reconnection attempt: doubling from one second to a ceiling.
class Backoff {
public:
    explicit Backoff(double ceilingSeconds = 10) : ceiling_(ceilingSeconds) {}
    double Next();
    void Reset() { next_ = 1; }

private:
    double ceiling_;
    double next_ = 1;
};
