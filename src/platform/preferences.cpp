#include "platform/preferences.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace velto {

namespace {

// Folders the program makes are the user's alone (0700), as the XDG base directories ask.
bool makePrivatePath(const QString& path) {
    const QFileInfo info(path);
    if (info.isDir()) return true;
    const QString parent = info.path();
    if (parent != path && !makePrivatePath(parent)) return false;
    return QDir().mkdir(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner) ||
           QFileInfo(path).isDir();
}

}  // namespace

Preferences Preferences::platformDefault() {
#if defined(Q_OS_MACOS)
    const QString folder = QDir::homePath() + QStringLiteral("/Library/Preferences");
#elif defined(Q_OS_WIN)
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
#else
    // A relative XDG_CONFIG_HOME is invalid and is ignored, as the XDG base directory rules say.
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (QDir::isRelativePath(base)) base = QDir::homePath() + QStringLiteral("/.config");
    const QString folder = base + QStringLiteral("/velto");
#endif
    if (folder.isEmpty() || !makePrivatePath(QDir::cleanPath(folder))) return Preferences(std::nullopt);
    return Preferences(folder);
}

QString Preferences::child(const QString& fileName) const {
    if (!folder_) return {};
    return QDir(*folder_).filePath(fileName);
}

}  // namespace velto
