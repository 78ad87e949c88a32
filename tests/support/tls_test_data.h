#pragma once
// TLS for the integration tests' stand-in services: the files in tests/data, a server side with
// one of its certificates, and clients that trust its CA.

#include <QByteArray>
#include <QFile>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QString>
#include <functional>
#include <memory>

#ifndef VELTO_TEST_DATA
#error "tls_test_data.h is for the integration tests, which define VELTO_TEST_DATA"
#endif

namespace velto {

inline QString testDataPath(const QString& name) {
    return QStringLiteral(VELTO_TEST_DATA) + QLatin1Char('/') + name;
}

/// From now on, TLS clients in this process trust tests/data/ca.pem.
inline void trustTestCa() {
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.addCaCertificates(testDataPath(QStringLiteral("ca.pem")));
    QSslConfiguration::setDefaultConfiguration(tls);
}

/// A TLS service on 127.0.0.1 with `certificate`, "server" (signed by tests/data/ca.pem) or
/// "untrusted" (self-signed), that keeps every byte its clients send. `onRead`, when set, gets
/// the client and its bytes not yet taken, and removes what it takes.
class TlsStandIn {
public:
    using Reader = std::function<void(QTcpSocket& client, QByteArray& unread)>;
    explicit TlsStandIn(const QString& certificate, Reader onRead = {})
        : onRead_(std::move(onRead)) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setLocalCertificate(
            QSslCertificate::fromPath(testDataPath(certificate + QStringLiteral(".pem"))).value(0));
        QFile key(testDataPath(certificate + QStringLiteral(".key")));
        if (key.open(QIODevice::ReadOnly)) tls.setPrivateKey(QSslKey(&key, QSsl::Rsa));
        tls.setPeerVerifyMode(QSslSocket::VerifyNone);
        server_.setSslConfiguration(tls);
        QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                client = socket;
                auto unread = std::make_shared<QByteArray>();
                QObject::connect(socket, &QTcpSocket::disconnected, socket, [this, socket] {
                    ++closes;
                    socket->deleteLater();
                });
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, unread] {
                    const QByteArray bytes = socket->readAll();
                    received += bytes;
                    *unread += bytes;
                    if (onRead_) onRead_(*socket, *unread);
                });
            }
        });
        ok = !tls.localCertificate().isNull() && !tls.privateKey().isNull() &&
             server_.listen(QHostAddress::LocalHost, 0);
    }
    QString hostPort() const { return QStringLiteral("127.0.0.1:%1").arg(server_.serverPort()); }

    bool ok = false;
    QByteArray received;
    QPointer<QTcpSocket> client;  // the latest
    int closes = 0;

private:
    Reader onRead_;
    QSslServer server_;
};

}  // namespace velto
