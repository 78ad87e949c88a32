#include "platform/preferences.h"

#include <QDir>
#include <QStandardPaths>

namespace velto {

Preferences Preferences::platformDefault() {
#if defined(Q_OS_MACOS)
    const QString folder = QDir::homePath() + QStringLiteral("/Library/Preferences");
#elif defined(Q_OS_WIN)
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
#else
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty()) base = QDir::homePath() + QStringLiteral("/.config");
    const QString folder = base + QStringLiteral("/velto");
#endif
    if (folder.isEmpty() || !QDir().mkpath(folder)) return Preferences(std::nullopt);
    return Preferences(folder);
}

QString Preferences::child(const QString& fileName) const {
    if (!folder_) return {};
    return QDir(*folder_).filePath(fileName);
}

}  // namespace velto
