#include "platform/boundary.h"

namespace velto {

void ExceptionBoundary::run(const std::function<void()>& handler) noexcept {
    try {
        handler();
    } catch (const std::exception& e) {
        report(QString::fromUtf8(e.what()));
    } catch (...) {
        report(QStringLiteral("unknown exception"));
    }
}

void ExceptionBoundary::report(const QString& what) noexcept {
    try {
        const QString text = QStringLiteral("An exception of class ") +
                             (what.contains(QLatin1String("out of bounds"))
                                  ? QStringLiteral("OutOfBoundsException")
                                  : QStringLiteral("RuntimeException")) +
                             QStringLiteral(" was not handled: ") + what;
        reports_.append(text);
        if (reports_.size() > 100) reports_.removeFirst();
        if (reporter_) reporter_(text);
    } catch (...) {
        // A reporter that fails must not take the program down with it.
    }
}

}  // namespace velto
