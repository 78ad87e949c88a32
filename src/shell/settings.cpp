// "veltoprefs.ini": one key, "=" and value a line. The value is only the text up to the next
// "="; keys are matched whole and without trimming; an unknown key is skipped.

#include <QFile>
#include <QTextStream>
#include <algorithm>

#include "device/main_app.h"
#include "platform/boundary.h"
#include "platform/text.h"

namespace velto {

namespace {
bool isTrue(const QString& value) { return same(value, QStringLiteral("true")); }
qint64 levelCap(const QString& value) { return std::clamp<qint64>(ValInt(value), 0, 100); }
}  // namespace

void MainApp::readSettingsLine(const QString& line) {
    const QStringList item = Split(line, QStringLiteral("="));
    if (item.isEmpty()) return;
    const QString& key = item[0];
    // A known key with no "=" reads past the end: the failure is left to the boundary.
    auto value = [&item]() -> const QString& { return at(item, 1); };

    if (same(key, QStringLiteral("serial"))) serialPortName = value();
    else if (same(key, QStringLiteral("port"))) remotePort = ValInt(value());
    else if (same(key, QStringLiteral("host"))) remoteHostname = value();
    else if (same(key, QStringLiteral("timeout"))) slaveTimeout = ValInt(value());
    else if (same(key, QStringLiteral("evocam"))) evoCamName = value();
    else if (same(key, QStringLiteral("mode"))) systemMode = value();
    else if (same(key, QStringLiteral("evolink"))) updateEvocam = isTrue(value());
    else if (same(key, QStringLiteral("autoadjust"))) autoAdjust = isTrue(value());
    else if (same(key, QStringLiteral("http"))) httpSlave = isTrue(value());
    else if (same(key, QStringLiteral("brokerid"))) brokerID = value();
    else if (same(key, QStringLiteral("brokerpin"))) brokerPIN = value();
    else if (same(key, QStringLiteral("brokerprofile"))) brokerProfile = value();
    else if (same(key, QStringLiteral("usebroker"))) useBroker = isTrue(value());
    else if (same(key, QStringLiteral("brokerauto"))) brokerauto = Trim(value());
    else if (same(key, QStringLiteral("brokeraccept"))) brokerAccept.append(Trim(value()));
    else if (same(key, QStringLiteral("brokerreject"))) brokerReject.append(Trim(value()));
    else if (same(key, QStringLiteral("errorcorrection"))) checkResponses = isTrue(value());
    else if (same(key, QStringLiteral("favsfile"))) App.favsName = Trim(value());
    else if (same(key, QStringLiteral("webpage"))) webpage = isTrue(value());
    else if (same(key, QStringLiteral("maxlevela"))) maxLevelA = levelCap(value());
    else if (same(key, QStringLiteral("maxlevelb"))) maxLevelB = levelCap(value());
}

void MainApp::readSettings(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return;
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        if (CountFields(line, QStringLiteral("=")) >= 1) readSettingsLine(line);
        p_.clock.yield();
    }
}

}  // namespace velto
