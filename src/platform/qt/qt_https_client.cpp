#include "platform/qt/qt_https_client.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QTimer>
#include <QUrlQuery>

namespace velto {

QByteArray QtHttpsClient::post(const QString& url, const Form& form, int timeoutMs) {
    if (!manager_) manager_ = std::make_unique<QNetworkAccessManager>();

    QUrlQuery query;
    for (const auto& [name, value] : form) query.addQueryItem(name, value);
    QNetworkRequest request{QUrl(url)};
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/x-www-form-urlencoded"));
    // The limit is on the whole exchange, not on silence: a service that trickles still ends.
    request.setTransferTimeout(0);

    QNetworkReply* reply = manager_->post(request, query.toString(QUrl::FullyEncoded).toUtf8());
    QEventLoop loop;
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.setTimerType(Qt::PreciseTimer);  // a coarse timer may end the wait 5% early
    QObject::connect(&deadline, &QTimer::timeout, reply, &QNetworkReply::abort);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    deadline.start(timeoutMs);
    // Other events are served meanwhile, as the caller's handler waits.
    if (!reply->isFinished()) loop.exec();
    deadline.stop();

    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    QByteArray body;
    if (reply->error() == QNetworkReply::NoError && status >= 200 && status < 300) body = reply->readAll();
    reply->deleteLater();
    return body;
}

}  // namespace velto
