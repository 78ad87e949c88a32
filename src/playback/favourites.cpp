// The favourites store and its files.

#include "device/main_app.h"

namespace velto {

void MainApp::wireFavourites() {}

void MainApp::readFavourites(const QString& path) {
    // The reader of the favourites format arrives with the favourites store.
    Q_UNUSED(path);
}

}  // namespace velto
