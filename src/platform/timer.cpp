#include "platform/timer.h"

#include "platform/clock.h"

namespace velto {

Timer::Timer(Clock& clock, QString name, qint64 period, int mode)
    : clock_(clock), name_(std::move(name)), period_(period), mode_(mode) {
    if (running()) start();
}

Timer::~Timer() { clock_.forget(this); }

// A period under 1 ms would spin; the framework never fired faster either.
void Timer::start() { clock_.arm(this, period_ < 1 ? 1 : period_); }

void Timer::setMode(int mode) {
    if (mode < Off || mode > Multiple) mode = Off;
    if (mode == mode_) return;
    const bool wasRunning = running();
    mode_ = mode;
    if (!running())
        clock_.disarm(this);
    else if (!wasRunning)
        start();
}

void Timer::setEnabled(bool enabled) {
    if (enabled == enabled_) return;
    enabled_ = enabled;
    if (running())
        start();
    else
        clock_.disarm(this);
}

void Timer::reset() {
    if (running()) start();
}

void Timer::fire() {
    if (!running()) return;
    if (mode_ == Single)
        mode_ = Off;
    else
        start();  // the next round, with the period as it is now
    if (action) action();
}

}  // namespace velto
