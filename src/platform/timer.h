#pragma once
// The Timer control: Mode 0 off, 1 single shot, 2 repeating; Period in ms. Setting the mode it
// already has changes nothing; a start or Reset counts the period from now; a Period change
// takes effect at the next start (for a repeating timer: the next round). A single shot turns
// itself off (Mode 0) before its action runs.

#include <QString>
#include <functional>

namespace velto {

class Clock;

class Timer {
public:
    enum Mode { Off = 0, Single = 1, Multiple = 2 };

    Timer(Clock& clock, QString name, qint64 period, int mode);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    const QString& name() const { return name_; }

    int mode() const { return mode_; }
    void setMode(int mode);

    qint64 period() const { return period_; }
    void setPeriod(qint64 ms) { period_ = ms; }

    /// Independent of Mode: a disabled timer never fires. Enabling it starts a fresh count.
    bool enabled() const { return enabled_; }
    void setEnabled(bool enabled);

    /// Restarts the count of a running timer from now.
    void reset();

    bool running() const { return enabled_ && mode_ != Off; }

    std::function<void()> action;

    /// Called by the clock when the armed time has come.
    void fire();

private:
    void start();

    Clock& clock_;
    QString name_;
    qint64 period_;
    int mode_;
    bool enabled_ = true;
};

}  // namespace velto
