#pragma once
// Shared by the playback tests: commands with their virtual times (the polls left out), and the
// lines a peer received.

#include <QRegularExpression>
#include <ostream>
#include <vector>

#include "support/rig.h"

namespace velto::playback_test {

struct Sent {
    qint64 t;  // ms after the mark
    QString cmd;
    bool operator==(const Sent& o) const { return t == o.t && cmd == o.cmd; }
};

inline void PrintTo(const Sent& s, std::ostream* os) {
    *os << s.t << ":" << s.cmd.toStdString();
}

/// Timed commands from a list such as "200 L, 400 M0".
inline std::vector<Sent> timed(const char* list) {
    std::vector<Sent> out;
    for (const QString& item : QString::fromLatin1(list).split(u',')) {
        const QStringList parts = item.simplified().split(u' ');
        out.push_back({parts.value(0).toLongLong(), parts.value(1)});
    }
    return out;
}

/// Commands written since write `mark`, timed from `t0`; the "V" polls are left out.
inline std::vector<Sent> sentSince(const Rig& rig, size_t mark, qint64 t0) {
    std::vector<Sent> out;
    for (size_t i = mark; i < rig.serial.writes.size(); ++i) {
        const QString text = QString::fromLatin1(rig.serial.writes[i].bytes).trimmed();
        if (text != QLatin1String("V")) out.push_back({rig.serial.writes[i].timeMs - t0, text});
    }
    return out;
}

/// The tick counter's text after each of the steps, `ms` apart from the last.
inline QStringList labelsAfter(Rig& rig, const std::vector<qint64>& steps) {
    QStringList out;
    for (qint64 ms : steps) {
        rig.advance(ms);
        out << rig->tickCounter.text();
    }
    return out;
}

/// A Rig connected to its box, for playback: `fromNow()` marks where `sent()` starts.
struct Player : Rig {
    explicit Player(bool logging = false, bool autoAdjust = true) {
        connect();
        if (logging) app->_activityToggle_Action();
        app->autoAdjust = autoAdjust;
    }
    void add(std::initializer_list<Fav> favs) {
        for (const Fav& f : favs) addFav(*this, f);
    }
    void fromNow() { from = mark(), t0 = clock.nowMs(); }
    std::vector<Sent> sent() const { return sentSince(*this, from, t0); }
    size_t from = 0;
    qint64 t0 = 0;
};

/// The extended lines the peer received on the direct link (relayed replies left out).
inline QStringList statusLines(const Rig& rig) {
    return QString::fromUtf8(rig.remoteControl.sent)
        .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts)
        .filter(QRegularExpression(QStringLiteral("^;")));
}

/// A connected slave with a peer on the direct link, so that playback reports to it.
inline void connectSlaveWithPeer(Rig& rig) {
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.connect();
    rig.remoteControl.peerConnects();
    rig.advance(1);
    rig.remoteControl.sent.clear();
}

}  // namespace velto::playback_test
