#pragma once
// Timer1: calls its handler once a "second" of the PC clock. Under a simulated clock a second
// passes in 1000 / speed ms, so the interval is read again at every tick and a change of the
// clock's speed takes effect at once.
#include <functional>
#include <memory>

class QTimer;

class MonitorTimer {
public:
    explicit MonitorTimer(std::function<void()> onTick);
    ~MonitorTimer();
    MonitorTimer(const MonitorTimer&) = delete;
    MonitorTimer& operator=(const MonitorTimer&) = delete;

    void Start();
    void Stop();
    bool Active() const;
    int Interval() const;

private:
    std::function<void()> onTick_;
    std::unique_ptr<QTimer> timer_;
};
