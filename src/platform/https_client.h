#pragma once
// A blocking HTTPS form post. The caller waits for the reply while the event loop goes on
// serving timers, sockets and the window, so a slow service freezes nothing but the caller.

#include <QByteArray>
#include <QString>
#include <utility>
#include <vector>

namespace velto {

class HttpsClient {
public:
    using Form = std::vector<std::pair<QString, QString>>;

    virtual ~HttpsClient() = default;

    /// Posts `form`, URL-encoded, to `url` and returns the reply's body. Any failure (no
    /// connection, no complete reply within `timeoutMs`, an HTTP error status, a certificate
    /// that doesn't verify) gives an empty array; the caller can't tell them apart.
    virtual QByteArray post(const QString& url, const Form& form, int timeoutMs) = 0;
};

}  // namespace velto
