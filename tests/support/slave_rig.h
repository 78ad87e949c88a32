#pragma once
// A slave that has pressed Connect, with a peer on the fake socket: the starting point of the
// remote link's tests.

#include <QRegularExpression>

#include "rig.h"

namespace velto {

struct SlaveRig : Rig {
    /// `settings`: extra lines of "veltoprefs.ini" after "mode=slave".
    explicit SlaveRig(const QString& settings = {}, qint64 settle = 1) : settle_(settle) {
        writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\n") + settings);
        connect();
        remoteControl.peerConnects(QStringLiteral("127.0.0.7"));
        advance(1);
    }
    /// The peer sends one read; then `settle` ms pass (the default given at construction).
    void send(const QByteArray& line, qint64 settle = -1) {
        remoteControl.peerSends(line);
        advance(settle < 0 ? settle_ : settle);
    }
    /// What the slave wrote to the peer, line by line.
    QStringList peerLines() const {
        QStringList out = QString::fromUtf8(remoteControl.sent).split(QStringLiteral("\r\n"));
        out.removeAll(QString());
        return out;
    }
    QStringList extendedLines() const { return peerLines().filter(QRegularExpression(QStringLiteral("^;"))); }
    /// A ticked favourite: Pulse, A 40, B 20, C 50, D 60, low power, 30/180/10 seconds.
    void addFavourite(const QString& name) {
        const int row = app->favsList.addRow({name, QStringLiteral("30"), QStringLiteral("180"), QStringLiteral("10")});
        app->favsList.setCellCheck(row, 4, true);
        const QStringList rest = {QStringLiteral("Pulse"), QStringLiteral("40"), QStringLiteral("20"),
                                  QStringLiteral("50"), QStringLiteral("60"), QStringLiteral("L")};
        for (int c = 5; c <= 10; ++c) app->favsList.setCell(row, c, rest[c - 5]);
    }

private:
    qint64 settle_;
};

}  // namespace velto
