#pragma once
// The one seam for time. Timers, deferred events and pause all run on a Clock: QtClock in the
// program, VirtualClock in tests, where hours of playback take milliseconds and every firing
// happens at its exact virtual time.

#include <QDateTime>
#include <functional>

namespace velto {

class Timer;
class ExceptionBoundary;

class Clock {
public:
    virtual ~Clock() = default;

    /// Monotonic time since the clock began, in microseconds.
    virtual qint64 nowUs() const = 0;
    qint64 nowMs() const { return nowUs() / 1000; }
    /// Local date and time, for the log's time stamps.
    virtual QDateTime localNow() const = 0;

    /// Arms `timer` to fire once after `delayMs`, replacing any earlier arming.
    virtual void arm(Timer* timer, qint64 delayMs) = 0;
    virtual void disarm(Timer* timer) = 0;
    /// The timer is going away: drop whatever the clock keeps for it.
    virtual void forget(Timer* timer) { disarm(timer); }

    /// Runs `event` on the event loop after `delayMs` (0: as soon as the loop is free).
    virtual void post(qint64 delayMs, std::function<void()> event) = 0;

    /// Lets the event loop run the events that are due, once, and returns.
    virtual void yield() = 0;

    /// Waits until more than `ms` whole milliseconds have passed, running other events meanwhile.
    void pause(qint64 ms);

    /// Every timer firing and posted event runs through this boundary.
    void setBoundary(ExceptionBoundary* boundary) { boundary_ = boundary; }
    ExceptionBoundary* boundary() const { return boundary_; }

protected:
    /// Waits (running events) until the time in ms reaches `untilMs` or later.
    virtual void waitUntilMs(qint64 untilMs) = 0;
    void dispatch(const std::function<void()>& event);

private:
    ExceptionBoundary* boundary_ = nullptr;
};

}  // namespace velto
