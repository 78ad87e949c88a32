#include "platform/qt/qt_clock.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <limits>

#include "platform/timer.h"

namespace velto {

QtClock::QtClock() { elapsed_.start(); }

QtClock::~QtClock() {
    for (auto& [timer, qtimer] : timers_) delete qtimer;
}

void QtClock::arm(Timer* timer, qint64 delayMs) {
    QTimer*& qtimer = timers_[timer];
    if (!qtimer) {
        qtimer = new QTimer;
        qtimer->setSingleShot(true);
        qtimer->setTimerType(Qt::PreciseTimer);
        QObject::connect(qtimer, &QTimer::timeout, qtimer, [this, timer] {
            dispatch([timer] { timer->fire(); });
        });
    }
    qtimer->start(static_cast<int>(std::clamp<qint64>(delayMs, 0, std::numeric_limits<int>::max())));
}

void QtClock::disarm(Timer* timer) {
    auto it = timers_.find(timer);
    if (it != timers_.end()) it->second->stop();
}

void QtClock::forget(Timer* timer) {
    auto it = timers_.find(timer);
    if (it == timers_.end()) return;
    delete it->second;
    timers_.erase(it);
}

void QtClock::post(qint64 delayMs, std::function<void()> event) {
    QTimer::singleShot(static_cast<int>(std::clamp<qint64>(delayMs, 0, std::numeric_limits<int>::max())),
                       Qt::PreciseTimer, &context_, [this, event = std::move(event)] { dispatch(event); });
}

void QtClock::yield() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

void QtClock::waitUntilMs(qint64 untilMs) {
    // A nested loop that sleeps in the event dispatcher rather than spinning.
    while (nowMs() < untilMs) {
        QEventLoop loop;
        QTimer::singleShot(static_cast<int>(untilMs - nowMs()), Qt::PreciseTimer, &loop,
                           &QEventLoop::quit);
        loop.exec();
    }
}

}  // namespace velto
