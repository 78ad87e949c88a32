#include "shell/activity_log.h"

#include <QLocale>

#include "platform/clock.h"
#include "platform/text.h"

namespace velto {

ActivityLog::ActivityLog(Clock& clock) : clock_(clock) {
    log.setMaxLines(kMaxLines);
    window.setHelpTag({});
}

void ActivityLog::logItem(const QString& item) {
    const QString line =
        QLocale::system().toString(clock_.localNow().time(), QLocale::LongFormat) +
        QStringLiteral(": ") + Trim(item);
    log.append(line + QStringLiteral("\r\n"));
    lineLogged(line);
}

void ActivityLog::discard() {
    log.setText({});
    logSerial.setValue(false);
}

}  // namespace velto
