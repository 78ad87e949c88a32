#pragma once
// For tests on the real event loop: runs it until a condition holds or the time is up.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace velto {

/// True when `done` came true within `timeoutMs`.
inline bool runUntil(const std::function<bool()>& done, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs, Qt::PreciseTimer);
    QTimer wake;
    wake.setSingleShot(true);
    while (!done() && !deadline.hasExpired()) {
        wake.start(int(std::max<qint64>(1, deadline.remainingTime())));
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

}  // namespace velto
