#include "broker/failure_limit.h"

#include <algorithm>

namespace velto::broker {

bool FailureLimit::allows(const QByteArray& key, qint64 nowMs) const {
    const auto it = paidAt_.constFind(key);
    return it == paidAt_.cend() || *it - nowMs <= (burst_ - 1) * intervalMs_;
}

void FailureLimit::fail(const QByteArray& key, qint64 nowMs) {
    qint64& paidAt = paidAt_[key];
    paidAt = std::max(paidAt, nowMs) + intervalMs_;
    if (paidAt_.size() >= sweepAt_) forgetPaid(nowMs);
}

void FailureLimit::forgetPaid(qint64 nowMs) {
    paidAt_.removeIf([nowMs](const auto& entry) { return entry.value() <= nowMs; });
    // Under a spread-out attack most keys still owe; sweep again only when twice as many.
    sweepAt_ = std::max<qsizetype>(1024, paidAt_.size() * 2);
}

}  // namespace velto::broker
