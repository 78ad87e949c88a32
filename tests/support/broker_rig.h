#pragma once
// A copy logged in to the fake brokering service: Connect pressed with the broker chosen, the
// handshake done and the service's greeting answered.

#include "rig.h"

namespace velto {

struct BrokerRig : Rig {
    /// `prefs`: extra lines of "veltoprefs.ini".
    explicit BrokerRig(const QString& mode, const QString& prefs = {}) {
        writePref(
            QStringLiteral("veltoprefs.ini"),
            QStringLiteral("mode=") + mode +
                QStringLiteral("\nbrokerid=me@velto.example\nbrokerpin=4321\nusebroker=true\n") +
                prefs);
        open();
        app->Connect.push();
        brokerSocket.peerConnects();
        say(";INFO:welcome");
    }
    /// The service sends `lines` and one more line end.
    void say(const QByteArray& lines) {
        brokerSocket.peerSends(lines + "\r\n");
        advance(1);
    }
    /// What the copy wrote to the service since the last call.
    QString sent() {
        const QString s = QString::fromUtf8(brokerSocket.sent);
        brokerSocket.sent.clear();
        return s;
    }
};

}  // namespace velto
