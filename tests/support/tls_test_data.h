#pragma once
// TLS for the integration tests' stand-in services: the files in tests/data, a server side with
// one of its certificates, and clients that trust its CA.

#include <QByteArray>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QString>

#ifndef VELTO_TEST_DATA
#error "tls_test_data.h is for the integration tests, which define VELTO_TEST_DATA"
#endif

namespace velto {

inline QString testDataPath(const QString& name) {
    return QStringLiteral(VELTO_TEST_DATA) + QLatin1Char('/') + name;
}

/// The file's contents, or empty when it cannot be read.
inline QByteArray testData(const QString& name) {
    QFile file(testDataPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A server side with `certificate`: "server" (signed by tests/data/ca.pem) or "untrusted"
/// (self-signed). Its certificate or key is null when the file could not be read.
inline QSslConfiguration serverTls(const QString& certificate) {
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setLocalCertificate(QSslCertificate(testData(certificate + QStringLiteral(".pem"))));
    tls.setPrivateKey(QSslKey(testData(certificate + QStringLiteral(".key")), QSsl::Rsa));
    tls.setPeerVerifyMode(QSslSocket::VerifyNone);
    return tls;
}

/// From now on, TLS clients in this process trust tests/data/ca.pem.
inline void trustTestCa() {
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.addCaCertificates(testDataPath(QStringLiteral("ca.pem")));
    QSslConfiguration::setDefaultConfiguration(tls);
}

}  // namespace velto
