// The four extended commands that answer: GETSTATUS, PROGRESS, SYSTEM and GETFAVS. Every line
// goes through sendRemoteData, so it reaches the peer on whichever transport is in use.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {
QString word(bool b) { return b ? QStringLiteral("true") : QStringLiteral("false"); }
}  // namespace

bool MainApp::statusCommand(const QString& key) {
    if (same(key, QStringLiteral("GETSTATUS"))) {
        if (httpSlave) sendHTTPheaders();
        const QStringList lines = {
            QStringLiteral(";STATUS:delayfirst=") + checkboxToText(delayFirst),
            QStringLiteral(";STATUS:delayvalue=") + firstDelay.text(),
            QStringLiteral(";STATUS:delaybetween=") + checkboxToText(delayBetween),
            QStringLiteral(";STATUS:mindelay=") + minDelay.text(),
            QStringLiteral(";STATUS:maxdelay=") + maxDelay.text(),
            QStringLiteral(";STATUS:randomtimes=") + checkboxToText(randomTimes),
            QStringLiteral(";STATUS:minrun=") + minRun.text(),
            QStringLiteral(";STATUS:maxrun=") + maxRun.text(),
            QStringLiteral(";STATUS:randompower=") + checkboxToText(randomPower),
            QStringLiteral(";STATUS:looppower=") + checkboxToText(loopPower),
            QStringLiteral(";STATUS:loopboosta=") + loopBoostA.text(),
            QStringLiteral(";STATUS:loopboostb=") + loopBoostB.text(),
            QStringLiteral(";STATUS:looptimeout=") + checkboxToText(loopTimeout),
            QStringLiteral(";STATUS:loopruntime=") + loopRuntime.text(),
            QStringLiteral(";STATUS:checks=") + word(remoteChecks),
            QStringLiteral(";STATUS:autoadjust=") + word(autoAdjust),
            QStringLiteral(";STATUS:timeout=") + Str(slaveTimeout),
            QStringLiteral(";STATUS:random=") + word(randomPlay),
            QStringLiteral(";STATUS:loop=") + word(loopMode),
            QStringLiteral(";STATUS:sequence=") + word(!stimSequence.empty()),
            QStringLiteral(";STATUS:countdown=") + Str(sequenceTicks),
            QStringLiteral(";STATUS:percent=") + (rampTimer.mode() != Timer::Off
                                                       ? Str(MulSat(rampStep, 10))
                                                       : QStringLiteral("DONE")),
            QStringLiteral(";STATUS:targeta=") + Str(targetA),
            QStringLiteral(";STATUS:targetb=") + Str(targetB),
            QStringLiteral(";STATUS:version=") + QString::fromLatin1(kVersion),
            QStringLiteral(";STATUS:buildno=") + Str(qint64(kBuild)),
            QStringLiteral(";STATUS:type=QTR,") + Str(qint64(kBuild)),
            QStringLiteral(";STATUS:connection=") + (httpSlave ? QStringLiteral("http") : QStringLiteral("tcp")),
        };
        for (const QString& line : lines) sendRemoteData(line);
        flushRemote();
        if (httpSlave) resetHTTPslave();
    } else if (same(key, QStringLiteral("PROGRESS"))) {
        // The cheapest poll, and deliberately bare: no head, no flush, no end of the exchange.
        QString kind = QStringLiteral("sequence");
        if (stimSequence.empty() && rampTimer.mode() == Timer::Off && seqComplete) kind = QStringLiteral("done");
        if (randomPlay) kind = QStringLiteral("random");
        if (loopMode) kind = QStringLiteral("loop");
        sendRemoteData(QStringLiteral(";PROGRESS:") + Str(MulSat(rampStep, 10)) + QLatin1Char(',') +
                       Str(sequenceTicks) + QLatin1Char(',') + kind);
    } else if (same(key, QStringLiteral("SYSTEM"))) {
        log(QStringLiteral("Entered system sub"));  // written whether or not the log is on
        sendRemoteData(QStringLiteral(";STATUS:type=QTR,25"));
        if (httpSlave) resetHTTPslave();
    } else if (same(key, QStringLiteral("GETFAVS"))) {
        if (httpSlave) sendHTTPheaders();
        if (favsList.lastIndex() == -1) {
            sendRemoteData(QStringLiteral(";NODATA"));
        } else {
            for (int row = 0; row < favsList.listCount(); ++row) {
                QStringList fields;
                for (int c = 0; c < 4; ++c) fields.append(favsList.cell(row, c));
                fields.append(Str(qint64(favsList.cellState(row, 4))));
                for (int c = 5; c <= 10; ++c) fields.append(favsList.cell(row, c));
                sendRemoteData(QStringLiteral(";FAV:") + fields.join(QLatin1Char(',')));
            }
        }
        flushRemote();
        if (httpSlave) resetHTTPslave();
    }
    return true;
}

}  // namespace velto
