#include "core/MonitorTimer.h"

#include <QTimer>

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

void MonitorTimer::Start() {
    timer_->setInterval(ClockTickMilliseconds());
    timer_->start();
}

void MonitorTimer::Stop() { timer_->stop(); }

bool MonitorTimer::Active() const { return timer_->isActive(); }

int MonitorTimer::Interval() const { return timer_->interval(); }
