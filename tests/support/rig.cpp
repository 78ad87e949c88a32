#include "rig.h"

#include <QFile>

namespace velto {

Rig::Rig(bool withPrefs) {
    serial.existing = {QStringLiteral("/dev/tty.usbserial")};
    platform = std::make_unique<Platform>(Platform{
        clock, boundary, serial, remoteControl, brokerSocket, connectSocket, advertising, udp,
        network, dialogs,
        Preferences(withPrefs ? std::optional<QString>(prefsDir.path()) : std::nullopt)});
    platform->seed = [] { return std::optional<quint64>(12345); };
    platform->serialPorts = &serialPorts;
    platform->scripts = &scripts;
    platform->https = &https;
    app = std::make_unique<MainApp>(*platform);
}

QString Rig::prefPath(const QString& name) const { return prefsDir.filePath(name); }

void Rig::writePref(const QString& name, const QString& content) {
    QFile file(prefPath(name));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(content.toUtf8());
}

void Rig::connect() {
    open();
    app->Connect.push();
    clock.advance(100);
}

QStringList Rig::commandsSince(size_t from) const {
    QByteArray bytes;
    for (size_t i = from; i < serial.writes.size(); ++i) bytes += serial.writes[i].bytes;
    QStringList out = QString::fromLatin1(bytes).split(QLatin1Char('\r'));
    if (!out.isEmpty() && out.last().isEmpty()) out.removeLast();
    return out;
}

void Rig::connectLogging(const QString& firmware) {
    box().setFirmware(firmware);
    open();
    app->_activityToggle_Action();
    app->Connect.push();
    clock.advance(100);
}

QStringList Rig::commandsAfter(size_t from) const {
    QStringList out = commandsSince(from);
    out.removeAll(QStringLiteral("V"));
    return out;
}

int addFav(MainApp& app, const Fav& f) {
    const int row = app.favsList.addRow(
        {f.name, f.rise, f.run, f.fall, {}, f.mode, f.a, f.b, f.c, f.d, f.power});
    app.favsList.setCellCheck(row, 4, f.ticked);
    return row;
}

QString readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                          : QStringLiteral("<missing>");
}

QStringList Rig::logLines() const {
    QStringList out;
    for (const QString& line : app->activityLog.log.text().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts)) {
        const qsizetype colon = line.indexOf(QLatin1String(": "));
        out.append(colon >= 0 ? line.mid(colon + 2) : line);
    }
    return out;
}

}  // namespace velto
