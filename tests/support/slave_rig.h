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

private:
    qint64 settle_;
};

}  // namespace velto
