#pragma once
// An HTTPS client for tests: it records each request and answers with a scripted body after a
// scripted wait in virtual time, serving the clock's other events meanwhile as the real one
// does. A wait as long as the time-out gives an empty reply, as a silent service would.

#include <algorithm>

#include "platform/https_client.h"
#include "platform/virtual_clock.h"

namespace velto {

class FakeHttpsClient final : public HttpsClient {
public:
    explicit FakeHttpsClient(VirtualClock& clock) : clock_(clock) {}

    struct Request {
        QString url;
        Form form;
        int timeoutMs = 0;
        qint64 atMs = 0;
    };

    QByteArray post(const QString& url, const Form& form, int timeoutMs) override {
        requests.push_back({url, form, timeoutMs, clock_.nowMs()});
        const qint64 wait = std::min<qint64>(replyAfterMs, timeoutMs);
        if (wait > 0) clock_.advance(wait);
        else clock_.yield();
        return replyAfterMs < timeoutMs ? reply : QByteArray();
    }

    QByteArray reply;
    qint64 replyAfterMs = 0;
    std::vector<Request> requests;

private:
    VirtualClock& clock_;
};

}  // namespace velto
