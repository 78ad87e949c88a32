#pragma once
// HTTPS on Qt's network access manager. Certificates are always verified against the default
// TLS configuration, which the program may extend with a CA of its own (--ca-file).

#include <QNetworkAccessManager>
#include <memory>

#include "platform/https_client.h"

namespace velto {

class QtHttpsClient final : public HttpsClient {
public:
    QByteArray post(const QString& url, const Form& form, int timeoutMs) override;

private:
    // Made at the first post: most runs never check for updates.
    std::unique_ptr<QNetworkAccessManager> manager_;
};

}  // namespace velto
