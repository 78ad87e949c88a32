#pragma once
// Virtual time for tests and benchmarks: nothing happens until advance(), which fires every due
// timer and posted event in time order (ties in the order they were armed) at its exact time.

#include <QDateTime>
#include <map>
#include <unordered_map>
#include <utility>

#include "platform/clock.h"

namespace velto {

class VirtualClock final : public Clock {
public:
    explicit VirtualClock(QDateTime wallStart = QDateTime(QDate(2026, 1, 1), QTime(12, 0)));
    ~VirtualClock() override;

    qint64 nowUs() const override { return nowUs_; }
    QDateTime localNow() const override { return wallStart_.addMSecs(nowUs_ / 1000); }
    void arm(Timer* timer, qint64 delayMs) override;
    void disarm(Timer* timer) override;
    void post(qint64 delayMs, std::function<void()> event) override;
    void yield() override;

    /// Moves time forward by `ms`, running everything that falls due on the way.
    void advance(qint64 ms);
    /// Runs until nothing is due any more or `limitMs` has passed; returns the time used.
    qint64 runUntilIdle(qint64 limitMs);
    /// Number of events (timer firings and posted events) run so far.
    quint64 eventsRun() const { return eventsRun_; }
    bool isArmed(const Timer* timer) const { return armed_.count(const_cast<Timer*>(timer)) != 0; }

protected:
    void waitUntilMs(qint64 untilMs) override;

private:
    struct Key {
        qint64 dueUs;
        quint64 seq;
        bool operator<(const Key& o) const { return dueUs != o.dueUs ? dueUs < o.dueUs : seq < o.seq; }
    };
    struct Entry {
        Timer* timer = nullptr;
        std::function<void()> event;
    };
    bool runNext(qint64 untilUs);
    void runTo(qint64 untilUs);

    QDateTime wallStart_;
    qint64 nowUs_ = 0;
    quint64 seq_ = 0;
    quint64 eventsRun_ = 0;
    std::map<Key, Entry> queue_;
    std::unordered_map<Timer*, Key> armed_;
};

}  // namespace velto
