// The connect service end to end: `velto --headless --connect-key` against stand-in services on
// 127.0.0.1 with the throw-away certificates of tests/data, the test speaking for them.

#include <gtest/gtest.h>

#include "support/tls_test_data.h"
#include "support/velto_process.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

QStringList options(const TlsStandIn& service, const QString& key) {
    return {"--headless", "--connect-key",          key, "--connect-service", service.hostPort(),
            "--ca-file",  testDataPath(u"ca.pem"_s)};
}

}  // namespace

TEST(ConnectServiceProgram, AKeyOpensASessionThatFollowsTheServiceCodesOnATrustedServiceOnly) {
    TlsStandIn service{u"server"_s};
    // The key as a link to the service named on the command line, with blanks after it.
    VeltoProcess velto(options(service, u"https://127.0.0.1/connect/?key=abCD1234efGH5678  "_s) +
                       QStringList{u"--log"_s});

    // The opening line, upper-cased and ended by LF alone, is all the service hears at first.
    ASSERT_TRUE(runUntil([&] { return service.received.endsWith('\n'); }, 15000))
        << velto.out.toStdString();
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));

    // Each answer waits for the program to have read the one before: one read, one line. A
    // server message stays open; an expired key is shown and closes the program's end.
    service.client->write(";210The box is on battery\r\n");
    ASSERT_TRUE(velto.said(u"message: Server message: The box is on battery"_s));
    EXPECT_EQ(service.closes, 0);
    service.client->write(";402\n");
    ASSERT_TRUE(velto.said(
        u"message: The Connect Key has expired. Please ask the other user for a new one"_s));
    EXPECT_TRUE(runUntil([&] { return service.closes == 1; }, 15000));
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));
    EXPECT_FALSE(velto.err.contains(u"unhandled"_s));

    // A service whose certificate isn't trusted is refused before a byte is sent; with no --log,
    // the refusal is logged all the same.
    TlsStandIn untrusted{u"untrusted"_s};
    VeltoProcess refused(options(untrusted, u"abCD1234efGH5678"_s));
    ASSERT_TRUE(refused.said(u": TLS: "_s))
        << refused.out.toStdString() << refused.err.toStdString();
    EXPECT_TRUE(untrusted.received.isEmpty());
    EXPECT_FALSE(refused.out.contains(u"Talking to server"_s));
}
