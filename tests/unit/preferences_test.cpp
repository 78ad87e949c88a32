// Where the settings live when no --prefs is given: the XDG configuration folder, made on
// first use and private to the user.

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
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value.toLocal8Bit());
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
    ASSERT_TRUE(QDir().mkpath(home));
    ScopedEnv homeEnv("HOME", home);
    const QString xdg = root.filePath(QStringLiteral("xdg"));
    const struct {
        QString setting;   // null: unset
        QString madeFrom;  // the first folder the program has to make
        QString expected;
    } cases[] = {
        {xdg + QStringLiteral("/config"), xdg, xdg + QStringLiteral("/config/velto")},
        {QString(), home + QStringLiteral("/.config"), home + QStringLiteral("/.config/velto")},
        {QStringLiteral("xdg/config"), home + QStringLiteral("/.config"),  // relative: ignored
         home + QStringLiteral("/.config/velto")},
    };
    for (const auto& c : cases) {
        QDir(xdg).removeRecursively();
        QDir(home + QStringLiteral("/.config")).removeRecursively();
        ScopedEnv xdgEnv("XDG_CONFIG_HOME", c.setting);
        const Preferences prefs = Preferences::platformDefault();
        ASSERT_TRUE(prefs.available());
        EXPECT_EQ(QDir::cleanPath(*prefs.folder()), c.expected);
        for (QString made = c.expected; made.startsWith(c.madeFrom); made = QFileInfo(made).path())
            EXPECT_TRUE(QFileInfo(made).isDir() && mode(made) == QFileDevice::Permissions(0x7000))
                << made.toStdString();
    }
    // A folder that is there already keeps its mode; a file in its way means no folder at all.
    const QString shared = root.filePath(QStringLiteral("shared"));
    ASSERT_TRUE(QDir().mkpath(shared + QStringLiteral("/velto")));
    QFile::setPermissions(shared + QStringLiteral("/velto"), QFileDevice::Permissions(0x7755));
    ScopedEnv sharedEnv("XDG_CONFIG_HOME", shared);
    EXPECT_TRUE(Preferences::platformDefault().available());
    EXPECT_EQ(mode(shared + QStringLiteral("/velto")), QFileDevice::Permissions(0x7055));
    QFile blocker(root.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ScopedEnv blockedEnv("XDG_CONFIG_HOME", blocker.fileName());
    EXPECT_FALSE(Preferences::platformDefault().available());
}

#endif
