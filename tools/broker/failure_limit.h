#pragma once
// Failed logins allowed per key (an address, an identity): a burst of `burst`, then one more
// every `intervalMs`. Each key keeps one time, the moment its debt is paid off.

#include <QByteArray>
#include <QHash>

namespace velto::broker {

class FailureLimit {
public:
    FailureLimit(int burst, qint64 intervalMs) : burst_(burst), intervalMs_(intervalMs) {}

    /// Whether a login from `key` may be tried now.
    bool allows(const QByteArray& key, qint64 nowMs) const;
    /// Counts a failed login against `key`.
    void fail(const QByteArray& key, qint64 nowMs);
    /// Keys that still carry a debt; the rest are forgotten along the way.
    qsizetype size() const { return paidAt_.size(); }

private:
    void forgetPaid(qint64 nowMs);

    int burst_;
    qint64 intervalMs_;
    QHash<QByteArray, qint64> paidAt_;
    qsizetype sweepAt_ = 1024;
};

}  // namespace velto::broker
