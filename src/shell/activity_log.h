#pragma once
// The activity log window: an on-screen trace, the only store of which is its text. Lines are
// appended (not the whole text rebuilt) and only the last 10,000 are kept, so a server that runs
// for weeks with the log open stays small.

#include "platform/controls.h"

namespace velto {

class Clock;

class ActivityLog {
public:
    static constexpr int kMaxLines = 10000;

    explicit ActivityLog(Clock& clock);

    Window window{QStringLiteral("activityLog"), QStringLiteral("Velto activity")};
    TextArea log{QStringLiteral("log")};
    CheckBox logSerial{QStringLiteral("logSerial"), QStringLiteral("Log serial commands")};

    /// Appends "<local long time>: <trimmed item>" and CR LF.
    void logItem(const QString& item);
    /// The window went away: its text and the serial tick go with it.
    void discard();

    /// Raised with each line as logged, without its line end (headless echo to stdout).
    Signal<const QString&> lineLogged;

private:
    Clock& clock_;
};

}  // namespace velto
