// The headless box server on 127.0.0.1 through real faults, many times under load in
// scripts/stress: a favourites file cut short, a favourite stopped as it rises, its box unplugged
// and plugged in again (a new velto-sim behind the same name), a peer that drops mid-line. It
// says each, goes on, and writes back nothing it was not told to.

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <ctime>
#include <memory>

#include "support/free_port.h"
#include "support/rig.h"
#include "support/run_until.h"
#include "support/sim_process.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

}  // namespace

TEST(Faults, TheBoxServerSaysEachFaultGoesOnAndKeepsTheDamagedFile) {
    QTemporaryDir prefs;
    const QString plug = prefs.filePath(u"box"_s);  // as a device link that follows the box
    auto box = std::make_unique<SimProcess>();
    ASSERT_TRUE(QFile::link(box->path, plug));
    const quint16 port = freePort();
    const QString favourites = prefs.filePath(u"veltofavourites.ini"_s);
    const QByteArray cut = ";firmware=0\nOne,30,180,10,1,Pulse,40,40,0,0,L\nTwo,30,1";
    ASSERT_TRUE(write(favourites, cut));
    ASSERT_TRUE(write(prefs.filePath(u"veltoprefs.ini"_s),
                      u"mode=slave\nport=%1\nserial=%2\n"_s.arg(port).arg(plug).toUtf8()));

    QProcess server;
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start(QStringLiteral(VELTO_APP_PATH),
                 {"--headless", "--prefs", prefs.path(), "--connect", "--log", "--listen",
                  "127.0.0.1", "--broadcast", "127.255.255.255"});
    QByteArray out;
    auto says = [&](const char* text) {
        return runUntil([&] { return (out += server.readAll()).contains(text); }, 8000);
    };
    auto peer = [port](const QString& address = u"127.0.0.1"_s) {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(address, port);
        QByteArray got;
        runUntil(
            [&] {
                return (got += socket->readAll()).contains(";STATUS:type=QTR,25") ||
                       socket->state() == QAbstractSocket::UnconnectedState;
            },
            5000);
        return got.contains(";STATUS:type=QTR,25") ? std::move(socket) : nullptr;
    };

    EXPECT_TRUE(says("Could not read all of"));
    ASSERT_TRUE(says("Address: 127.0.0.1"));  // listening, and advertising the address given
    EXPECT_FALSE(peer(u"127.0.0.2"_s));       // another loopback address
    auto first = peer();
    ASSERT_TRUE(first);
    first->write("A30\r\n");
    EXPECT_TRUE(box->took(u"A30"_s));

    // A favourite stopped as it rises: the line to the box goes on (the polls every 2.5 s).
    first->write(";PLAY=40,30,50,50,20,10,10,0,L\r\n");
    ASSERT_TRUE(box->took(u"M0"_s));
    first->write(";STOPSEQ\r\n");
    runUntil([] { return false; }, 6000);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto taken = box->stamped();
    qint64 longest = qint64(now.tv_sec) * 1000000 + now.tv_nsec / 1000 - taken.back().first;
    for (size_t i = 1; i < taken.size(); ++i)
        longest = std::max(longest, taken[i].first - taken[i - 1].first);
    EXPECT_LT(longest, 3'000'000) << out.toStdString();

    // Unplugged: said, and picked up again once a box is behind the name.
    box.reset();
    EXPECT_TRUE(says("The box is gone"));
    box = std::make_unique<SimProcess>();
    ASSERT_TRUE(QFile::remove(plug) && QFile::link(box->path, plug));
    EXPECT_TRUE(says("The box is back"));
    first->write("A20\r\n");
    EXPECT_TRUE(box->took(u"A20"_s));
    EXPECT_TRUE(box->took(u"V"_s));

    // A peer that drops mid-line loses control: the box stops, and the next peer is taken.
    first->write("B1");
    first->flush();
    first->abort();
    EXPECT_TRUE(says("The peer closed the link: the box is stopped"));
    EXPECT_TRUE(box->took(u"K"_s));
    auto second = peer();
    ASSERT_TRUE(second);
    second->write("A10\r\n");
    EXPECT_TRUE(box->took(u"A10"_s));

    server.terminate();
    ASSERT_TRUE(server.waitForFinished(5000));
    EXPECT_TRUE(runUntil([&] { return box->commands().last() == "K"; }, 3000));  // box stopped
    EXPECT_EQ(readText(favourites), QString::fromUtf8(cut)) << "the damaged file is written over";
    EXPECT_EQ(out.count("The box is gone"), 1);  // one failure of the line, said once
    EXPECT_EQ(out.count("unhandled:"), 1)
        << out.toStdString();  // the cut favourite, and nothing else
}
