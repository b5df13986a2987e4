#include "core/MonitorTimer.h"

#include <QTimer>

#include <algorithm>

#include "platform/Clock.h"

MonitorTimer::MonitorTimer(std::function<void()> onTick) : onTick_(std::move(onTick)), timer_(std::make_unique<QTimer>()) {
    timer_->setSingleShot(false);
    QObject::connect(timer_.get(), &QTimer::timeout, [this] {
        // The interval first: the handler may run for a while and let further events in.
        const int interval = ClockTickMilliseconds();
        if (timer_->interval() != interval) timer_->setInterval(interval);
        onTick_();
    });
}

MonitorTimer::~MonitorTimer() = default;

// The first tick runs start-up stage 2: it comes soon after the window is up, not a whole
// second later; every later tick keeps the clock's interval.
constexpr int FirstTickMilliseconds = 100;

void MonitorTimer::Start() {
    timer_->setInterval(std::min(ClockTickMilliseconds(), FirstTickMilliseconds));
    timer_->start();
}

void MonitorTimer::Stop() { timer_->stop(); }

bool MonitorTimer::Active() const { return timer_->isActive(); }

int MonitorTimer::Interval() const { return timer_->interval(); }
