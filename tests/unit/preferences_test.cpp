// Where the settings live without --prefs: the XDG configuration folder, private to the user.

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include "platform/preferences.h"

using namespace velto;

#if defined(Q_OS_UNIX) && !defined(Q_OS_MACOS)
namespace {
/// Sets an environment variable for one scope (unset when `value` is null).
struct ScopedEnv {
    ScopedEnv(const char* name, const QString& value) : name(name), saved(qgetenv(name)) {
        value.isNull() ? qunsetenv(name) : qputenv(name, value.toLocal8Bit());
    }
    ~ScopedEnv() { saved.isNull() ? qunsetenv(name) : qputenv(name, saved); }
    const char* name;
    QByteArray saved;
};

// The owner's, the group's and the others' bits, without Qt's "user" ones.
QFileDevice::Permissions mode(const QString& path) {
    return QFileInfo(path).permissions() & QFileDevice::Permissions(0x7077);
}
}  // namespace

TEST(Preferences, TheFolderFollowsXdgConfigHomeAndIsMadePrivate) {
    QTemporaryDir root;
    const QString home = root.filePath(QStringLiteral("home"));
    ScopedEnv homeEnv("HOME", home);
    const QString xdg = root.filePath(QStringLiteral("xdg"));
    const QString dotConfig = home + QStringLiteral("/.config");
    const struct {
        QString setting;   // null: unset
        QString madeFrom;  // the first folder the program has to make
        QString expected;
    } cases[] = {
        {xdg + QStringLiteral("/config"), xdg, xdg + QStringLiteral("/config/velto")},
        {QString(), dotConfig, dotConfig + QStringLiteral("/velto")},
        {QStringLiteral("xdg/config"), dotConfig,
         dotConfig + QStringLiteral("/velto")},  // relative
    };
    for (const auto& c : cases) {
        QDir(xdg).removeRecursively();
        QDir(dotConfig).removeRecursively();
        ScopedEnv xdgEnv("XDG_CONFIG_HOME", c.setting);
        const Preferences prefs = Preferences::platformDefault();
        ASSERT_TRUE(prefs.available());
        EXPECT_EQ(QDir::cleanPath(*prefs.folder()), c.expected);
        for (QString made = c.expected; made.startsWith(c.madeFrom); made = QFileInfo(made).path())
            EXPECT_TRUE(QFileInfo(made).isDir() && mode(made) == QFileDevice::Permissions(0x7000))
                << made.toStdString();
    }
    // A file in the way means no folder at all.
    QFile blocker(root.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ScopedEnv blockedEnv("XDG_CONFIG_HOME", blocker.fileName());
    EXPECT_FALSE(Preferences::platformDefault().available());
}

#endif
