// Decoding of the box's status line: the only way the controls follow the device. On a slave
// the line is also relayed to the peer.

#include <algorithm>

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {

bool isOneOf(qint64 value, std::initializer_list<qint64> set) {
    for (qint64 v : set)
        if (v == value) return true;
    return false;
}

QByteArray withLineEnd(const QString& reply) {
    QByteArray bytes = reply.toLatin1();
    if (!bytes.endsWith('\n')) bytes += "\r\n";
    return bytes;
}

}  // namespace

void MainApp::statusRefresh(const QString& reply) {
    const QStringList field = Split(reply, QStringLiteral(":"));
    veltoStatus.setText(reply);

    if (Ubound(field) == 8) {
        batteryLabel.setText(QStringLiteral("Battery ") + Format((Val(field[0]) - 320.0) / 422.0, QStringLiteral("#%")));
        systemRefresh = true;

        const double a = Val(field[1]) / 2.0, b = Val(field[2]) / 2.0;
        const double c = Val(field[3]) / 2.0, d = Val(field[4]) / 2.0;
        const qint64 mode = ValInt(field[5]);
        const bool dMeaningless = isOneOf(mode, {2, 9, 10});
        if (a != channelA.value() || b != channelB.value() || c != channelC.value() ||
            (d != channelD.value() && !dMeaningless))
            elapsedTime = 0;

        auto level = [](double halved) {
            return static_cast<int>(std::clamp<qint64>(Trunc(halved), -1000000, 1000000));
        };
        channelA.setValue(level(a));
        channelB.setValue(level(b));
        channelC.setValue(level(c));
        // A mode the popup has no row for leaves it where it is.
        if (mode >= 0 && mode < ModeControl.listCount()) ModeControl.setListIndex(static_cast<int>(mode));

        if (manualControl && (channelA.value() != 0 || channelB.value() != 0))
            elapsedTimer.setMode(Timer::Multiple);
        if (!dMeaningless) channelD.setValue(level(d));

        if (same(field[6], QStringLiteral("H"))) {
            powerHi.setValue(true);
            powerLo.setValue(false);
            powerDynamic.setValue(false);
        } else if (same(field[6], QStringLiteral("L"))) {
            powerLo.setValue(true);
            powerHi.setValue(false);
            powerDynamic.setValue(false);
        } else if (same(field[6], QStringLiteral("D"))) {
            powerDynamic.setValue(true);
            powerHi.setValue(false);
            powerLo.setValue(false);
        }

        if (field[7] == QLatin1String("1") && joinChannels.state() != 1)
            joinChannels.setValue(true);
        else if (field[7] == QLatin1String("0") && joinChannels.state() == 1)
            joinChannels.setValue(false);

        systemRefresh = false;

        firmwareLabel.setText(QStringLiteral("Firmware ") + field[8]);
        firmwareVersion = Trunc(1000.0 * Val(field[8]));
        if (firmwareVersion == 2000 && field[8].contains(QLatin1Char('B'), Qt::CaseInsensitive)) {
            firmwareVersion = 2104;
            firmwareLabel.setText(firmwareLabel.text() + QString::fromUtf8(" \u00df"));
        }
        powerDynamic.setEnabled(firmwareVersion >= 2119);
        if (firmwareVersion >= 2119 && !same(ModeControl.list(3), QStringLiteral("Intense")))
            ModeControl.insertRow(3, QStringLiteral("Intense"));
        if (firmwareVersion >= 2119 && !highSpeedEnabled) switchToHighSpeed();

        // Relay to the peer.
        if (showSecondStatus) ++statusCount;
        if (remoteControl.isConnected() && same(systemMode, QStringLiteral("slave"))) {
            if (httpSlave && !httpResponse && statusCount < 2) sendHTTPheaders();
            if (!httpResponse) {
                if (!showSecondStatus || statusCount == 2) {
                    remoteControl.write(withLineEnd(reply));
                    remoteControl.flush();
                }
                if (statusCount == 2) {
                    showSecondStatus = false;
                    statusCount = 0;
                }
                if (httpSlave && !showSecondStatus) resetHTTPslave();
            }
            limitPeerOutput();
        }
        if (brokerConnected && same(systemMode, QStringLiteral("slave"))) {
            if (!showSecondStatus || statusCount == 2) {
                brokerSocket.write(withLineEnd(reply));
                brokerSocket.flush();
            }
            if (statusCount == 2) {
                showSecondStatus = false;
                statusCount = 0;
            }
        }
    }

    // A slave that could not listen keeps saying so.
    if (same(systemMode, QStringLiteral("slave")) && !remoteControl.isConnected() &&
        !brokerSocket.isConnected() && !listenFailed_)
        hostInfo.setText({});
    if (updateEvocam && !evoCamName.isEmpty()) evoCamCaption(reply, evoCamName);
}

}  // namespace velto
