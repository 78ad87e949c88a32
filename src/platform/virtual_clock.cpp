#include "platform/virtual_clock.h"

#include "platform/timer.h"

#include <algorithm>
#include <limits>

namespace velto {

VirtualClock::VirtualClock(QDateTime wallStart) : wallStart_(std::move(wallStart)) {}

VirtualClock::~VirtualClock() = default;

namespace {

// As on the real clock, a delay is what a timer can hold: 0 to the longest int of milliseconds.
// Clamped before the change to microseconds, so that no period overflows.
qint64 delayUs(qint64 delayMs) {
    return std::clamp<qint64>(delayMs, 0, std::numeric_limits<int>::max()) * 1000;
}

}  // namespace

void VirtualClock::arm(Timer* timer, qint64 delayMs) {
    disarm(timer);
    const Key key{nowUs_ + delayUs(delayMs), seq_++};
    queue_.emplace(key, Entry{timer, {}});
    armed_[timer] = key;
}

void VirtualClock::disarm(Timer* timer) {
    auto it = armed_.find(timer);
    if (it == armed_.end()) return;
    queue_.erase(it->second);
    armed_.erase(it);
}

void VirtualClock::post(qint64 delayMs, std::function<void()> event) {
    queue_.emplace(Key{nowUs_ + delayUs(delayMs), seq_++},
                   Entry{nullptr, std::move(event)});
}

bool VirtualClock::runNext(qint64 untilUs) {
    if (queue_.empty()) return false;
    auto it = queue_.begin();
    if (it->first.dueUs > untilUs) return false;
    const qint64 due = it->first.dueUs;
    Entry entry = std::move(it->second);
    queue_.erase(it);
    if (due > nowUs_) nowUs_ = due;
    ++eventsRun_;
    if (entry.timer) {
        armed_.erase(entry.timer);
        Timer* timer = entry.timer;
        dispatch([timer] { timer->fire(); });
    } else {
        dispatch(entry.event);
    }
    return true;
}

void VirtualClock::runTo(qint64 untilUs) {
    while (runNext(untilUs)) {
    }
    if (untilUs > nowUs_) nowUs_ = untilUs;
}

void VirtualClock::advance(qint64 ms) { runTo(nowUs_ + ms * 1000); }

qint64 VirtualClock::runUntilIdle(qint64 limitMs) {
    const qint64 start = nowUs_;
    const qint64 limit = nowUs_ + limitMs * 1000;
    while (runNext(limit)) {
    }
    return (nowUs_ - start) / 1000;
}

void VirtualClock::yield() {
    // Only what is due now runs; time does not move.
    const qint64 now = nowUs_;
    while (runNext(now)) {
    }
}

void VirtualClock::waitUntilMs(qint64 untilMs) { runTo(untilMs * 1000); }

}  // namespace velto
