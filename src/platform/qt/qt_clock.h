#pragma once
// Real time on the Qt event loop: one precise QTimer per armed Timer, created on first use.

#include <QElapsedTimer>
#include <QObject>
#include <unordered_map>

#include "platform/clock.h"

class QTimer;

namespace velto {

class QtClock final : public Clock {
public:
    QtClock();
    ~QtClock() override;

    qint64 nowUs() const override { return elapsed_.nsecsElapsed() / 1000; }
    QDateTime localNow() const override { return QDateTime::currentDateTime(); }
    void arm(Timer* timer, qint64 delayMs) override;
    void disarm(Timer* timer) override;
    void forget(Timer* timer) override;
    void post(qint64 delayMs, std::function<void()> event) override;
    void yield() override;

protected:
    void waitUntilMs(qint64 untilMs) override;

private:
    QElapsedTimer elapsed_;
    /// Owns the pending posted events: they go with the clock.
    QObject context_;
    std::unordered_map<Timer*, QTimer*> timers_;
};

}  // namespace velto
