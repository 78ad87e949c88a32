// The favourites store and its files.

#include "device/main_app.h"

namespace velto {

QStringList MainApp::modeTable(bool byFirmware) const {
    QStringList table{QStringLiteral("Pulse"), QStringLiteral("Bounce"), QStringLiteral("Continuous"),
                      QStringLiteral("Asplit"), QStringLiteral("Bsplit"), QStringLiteral("Wave"),
                      QStringLiteral("Waterfall"), QStringLiteral("Squeeze"), QStringLiteral("Milk"),
                      QStringLiteral("Throb"), QStringLiteral("Thrust"), QStringLiteral("Random"),
                      QStringLiteral("Step"), QStringLiteral("Training")};
    if (byFirmware && firmwareVersion >= 2119) table.insert(3, QStringLiteral("Intense"));
    return table;
}

void MainApp::wireFavourites() {}

void MainApp::readFavourites(const QString& path) {
    // The reader of the favourites format arrives with the favourites store.
    Q_UNUSED(path);
}

}  // namespace velto
