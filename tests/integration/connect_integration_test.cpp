// The connect service end to end: `velto --headless --connect-key` against a stand-in service
// on 127.0.0.1 with the throw-away certificates of tests/data, the test speaking for it; and a
// service whose certificate isn't trusted, refused before a byte is sent.

#include <gtest/gtest.h>

#include "support/tls_test_data.h"
#include "support/velto_process.h"

using namespace velto;

namespace {

QStringList options(const TlsStandIn& service, const QString& key) {
    return {QStringLiteral("--headless"),        QStringLiteral("--connect-key"),
            key,                                 QStringLiteral("--connect-service"),
            service.hostPort(),                  QStringLiteral("--ca-file"),
            testDataPath(QStringLiteral("ca.pem"))};
}

}  // namespace

TEST(ConnectServiceProgram, AKeyOnTheCommandLineOpensASessionThatFollowsTheServiceCodes) {
    TlsStandIn service{QStringLiteral("server")};
    ASSERT_TRUE(service.ok);
    // The key as a link to the service named on the command line, with blanks after it.
    VeltoProcess velto(options(service, QStringLiteral("https://127.0.0.1/connect/?key="
                                                       "abCD1234efGH5678  ")) +
                       QStringList{QStringLiteral("--log")});

    // The opening line, upper-cased and ended by LF alone, is all the service hears at first.
    ASSERT_TRUE(runUntil([&] { return service.received.endsWith('\n'); }, 15000))
        << velto.out.toStdString();
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));

    // Each answer waits for the program to have read the one before: one read, one line. A
    // server message stays open; an expired key is shown and closes the program's end.
    service.client->write(";210The box is on battery\r\n");
    ASSERT_TRUE(velto.said(QStringLiteral("message: Server message: The box is on battery")));
    EXPECT_EQ(service.closes, 0);
    service.client->write(";402\n");
    ASSERT_TRUE(velto.said(QStringLiteral(
        "message: The Connect Key has expired. Please ask the other user for a new one")));
    EXPECT_TRUE(runUntil([&] { return service.closes == 1; }, 15000));
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));
    EXPECT_FALSE(velto.err.contains(QLatin1String("unhandled")));
}

TEST(ConnectServiceProgram, AnUntrustedCertificateIsRefusedBeforeAnythingIsSent) {
    TlsStandIn service{QStringLiteral("untrusted")};
    ASSERT_TRUE(service.ok);
    // No --log: the refusal is logged all the same.
    VeltoProcess velto(options(service, QStringLiteral("abCD1234efGH5678")));
    ASSERT_TRUE(velto.said(QStringLiteral(": TLS: "))) << velto.out.toStdString()
                                                       << velto.err.toStdString();
    EXPECT_TRUE(service.received.isEmpty());
    EXPECT_FALSE(velto.out.contains(QLatin1String("Talking to server")));
}
