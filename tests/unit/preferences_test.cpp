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
    ScopedEnv(const char* name, const QString& value)
        : name(name), saved(qgetenv(name)), had(qEnvironmentVariableIsSet(name)) {
        if (value.isNull()) qunsetenv(name);
        else qputenv(name, value.toLocal8Bit());
    }
    ~ScopedEnv() {
        if (had) qputenv(name, saved);
        else qunsetenv(name);
    }
    const char* name;
    QByteArray saved;
    bool had;
};

}  // namespace

TEST(Preferences, TheFolderFollowsXdgConfigHomeAndIsMadePrivate) {
    QTemporaryDir root;
    const QString home = root.filePath(QStringLiteral("home"));
    ASSERT_TRUE(QDir().mkpath(home));
    const QString inHome = home + QStringLiteral("/.config/velto");
    const QString custom = root.filePath(QStringLiteral("xdg/config/velto"));
    const struct {
        const char* what;
        QString xdg;  // null: unset
        QString expected;
        QString madeFrom;  // the first folder the program had to make
    } cases[] = {
        {"absolute, folders missing", root.filePath(QStringLiteral("xdg/config")), custom,
         root.filePath(QStringLiteral("xdg"))},
        {"unset", QString(), inHome, home + QStringLiteral("/.config")},
        {"relative: ignored", QStringLiteral("xdg/config"), inHome, home + QStringLiteral("/.config")},
    };
    for (const auto& c : cases) {
        QDir(root.filePath(QStringLiteral("xdg"))).removeRecursively();
        QDir(home + QStringLiteral("/.config")).removeRecursively();
        ScopedEnv homeEnv("HOME", home);
        ScopedEnv xdgEnv("XDG_CONFIG_HOME", c.xdg);
        const Preferences prefs = Preferences::platformDefault();
        ASSERT_TRUE(prefs.available());
        EXPECT_EQ(QDir::cleanPath(*prefs.folder()), c.expected) << c.what;
        EXPECT_EQ(prefs.child(QStringLiteral("veltoprefs.ini")), c.expected + QStringLiteral("/veltoprefs.ini"));
        for (QString made = c.expected; made.startsWith(c.madeFrom); made = QFileInfo(made).path()) {
            ASSERT_TRUE(QFileInfo(made).isDir()) << made.toStdString();
            EXPECT_EQ(QFileInfo(made).permissions() & 0x7077, QFileDevice::Permissions(0x7000))
                << made.toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(QDir::current().filePath(QStringLiteral("xdg/config/velto"))));
    }
    // A folder that is there already keeps its mode; a file in its way means no folder at all.
    ScopedEnv homeEnv("HOME", home);
    ScopedEnv xdgEnv("XDG_CONFIG_HOME", root.filePath(QStringLiteral("shared")));
    ASSERT_TRUE(QDir().mkpath(root.filePath(QStringLiteral("shared/velto"))));
    QFile::setPermissions(root.filePath(QStringLiteral("shared/velto")), QFileDevice::Permissions(0x7755));
    EXPECT_TRUE(Preferences::platformDefault().available());
    EXPECT_EQ(QFileInfo(root.filePath(QStringLiteral("shared/velto"))).permissions() & 0x7077,
              QFileDevice::Permissions(0x7055));
    QFile blocker(root.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ScopedEnv blockedEnv("XDG_CONFIG_HOME", root.filePath(QStringLiteral("blocked")));
    EXPECT_FALSE(Preferences::platformDefault().available());
}

#endif
