// How the program comes up: timers off, then the settings, the favourites and the random
// settings, in this order. Nothing touches the device or the network here.

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "device/main_app.h"
#include "platform/boundary.h"
#include "platform/text.h"

namespace velto {

std::optional<QString> MainApp::fileItem(const QString& path) {
    if (path.isEmpty() || path.contains(QChar(0))) return std::nullopt;
    const QFileInfo info(path);
    if (info.isRelative() || !info.dir().exists()) return std::nullopt;
    return info.absoluteFilePath();
}

void MainApp::App_Event_Open() {
    watchDog.setEnabled(false);
    window.setTitle(QString::fromLatin1(kTitle));
    versionName.setText(QStringLiteral("Version ") + QString::fromLatin1(kVersion));
    seqTimer.setMode(Timer::Off);
    runTimer.setMode(Timer::Off);
    rampTimer.setMode(Timer::Off);
    moveTimer.setMode(Timer::Off);

    const Preferences& prefs = p_.preferences;
    if (!prefs.available()) return;

    const QString settings = prefs.child(QStringLiteral("veltoprefs.ini"));
    if (QFileInfo::exists(settings)) readAtStart(settings, &MainApp::readSettings);

    QString favourites;
    if (same(App.favsName, QString::fromLatin1(kFavsDefault))) {
        favourites = prefs.child(App.favsName);
    } else if (const auto item = fileItem(App.favsName)) {
        favourites = *item;
        window.setTitle(window.title() + QStringLiteral(" - ") + QFileInfo(*item).fileName());
    } else {
        p_.dialogs.message(QStringLiteral("Can't find the requested favourites file. Using default"));
        App.favsName = QString::fromLatin1(kFavsDefault);
        favourites = prefs.child(App.favsName);
    }

    const QString random = prefs.child(QStringLiteral("veltorandom.ini"));
    if (QFileInfo::exists(favourites)) readAtStart(favourites, &MainApp::readFavourites);
    if (QFileInfo::exists(random)) readAtStart(random, &MainApp::readRandomSettings);
}

// A damaged file costs only itself: what it gave before the fault stays, the fault is logged
// and reported, and the files after it are read all the same. Nothing is written back: the
// damaged file stays as it is until the user saves.
void MainApp::readAtStart(const QString& path, void (MainApp::*reader)(const QString&)) {
    QFile probe(path);
    if (!probe.open(QIODevice::ReadOnly)) {
        log(QStringLiteral("Could not read ") + path + QStringLiteral(": ") + probe.errorString());
        return;
    }
    probe.close();
    p_.boundary.run([&] {
        try {
            (this->*reader)(path);
        } catch (const std::exception& e) {
            log(QStringLiteral("Could not read all of ") + path + QStringLiteral(" (") +
                QString::fromUtf8(e.what()) + QStringLiteral("): what came before it is kept"));
            throw;
        }
    });
}

}  // namespace velto
