// The headless box server through real faults: a favourites file cut short, its box unplugged
// and plugged in again (velto-sim ended and started anew behind the same name), and a peer that
// drops in the middle of a line. It says each, goes on, and writes back nothing it was not told to.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <memory>

#include "support/free_port.h"
#include "support/run_until.h"
#include "support/sim_process.h"

using namespace velto;

namespace {

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

TEST(Faults, TheBoxServerSaysEachFaultGoesOnAndKeepsTheDamagedFile) {
    QTemporaryDir prefs;
    const QString plug = prefs.filePath(QStringLiteral("box"));  // as a device link that follows the box
    auto box = std::make_unique<SimProcess>();
    ASSERT_TRUE(QFile::link(box->path, plug));
    const quint16 port = freePort();
    const QString favourites = prefs.filePath(QStringLiteral("veltofavourites.ini"));
    const QByteArray cut = ";firmware=0\nOne,30,180,10,1,Pulse,40,40,0,0,L\nTwo,30,1";
    ASSERT_TRUE(write(favourites, cut));
    ASSERT_TRUE(write(prefs.filePath(QStringLiteral("veltoprefs.ini")),
                      QStringLiteral("mode=slave\nport=%1\nserial=%2\n").arg(port).arg(plug).toUtf8()));

    QProcess server;
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start(QStringLiteral(VELTO_APP_PATH),
                 {QStringLiteral("--headless"), QStringLiteral("--prefs"), prefs.path(), QStringLiteral("--connect"), QStringLiteral("--log"),
                  QStringLiteral("--listen"), QStringLiteral("127.0.0.1"), QStringLiteral("--broadcast"),
                  QStringLiteral("127.255.255.255")});
    QByteArray out;
    auto says = [&](const char* text, int timeoutMs = 8000) {
        return runUntil([&] { return (out += server.readAll()).contains(text); }, timeoutMs);
    };
    auto peer = [port] {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QStringLiteral("127.0.0.1"), port);
        QByteArray got;
        runUntil([&] { return (got += socket->readAll()).contains(";STATUS:type=QTR,25"); }, 5000);
        return got.contains(";STATUS:type=QTR,25") ? std::move(socket) : nullptr;
    };

    EXPECT_TRUE(says("Could not read all of"));
    ASSERT_TRUE(says("Address: "));  // listening
    auto first = peer();
    ASSERT_TRUE(first);
    first->write("A30\r\n");
    EXPECT_TRUE(box->took(QStringLiteral("A30")));

    // Unplugged: said, and picked up again once a box is behind the name.
    box.reset();
    EXPECT_TRUE(says("The box is gone"));
    box = std::make_unique<SimProcess>();
    ASSERT_TRUE(QFile::remove(plug) && QFile::link(box->path, plug));
    EXPECT_TRUE(says("The box is back"));
    first->write("A20\r\n");
    EXPECT_TRUE(box->took(QStringLiteral("A20")));
    EXPECT_TRUE(box->took(QStringLiteral("V")));

    // A peer that drops mid-line loses control: the box stops, and the next peer is taken.
    first->write("B1");
    first->flush();
    first->abort();
    EXPECT_TRUE(says("The peer closed the link: the box is stopped"));
    EXPECT_TRUE(box->took(QStringLiteral("K")));
    EXPECT_TRUE(peer());

    server.terminate();
    ASSERT_TRUE(server.waitForFinished(5000));
    EXPECT_EQ(read(favourites), cut) << "the damaged file is written over";
    EXPECT_EQ(out.count("unhandled:"), 1) << out.toStdString();  // the cut favourite, and nothing else
}
