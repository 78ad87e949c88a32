// The one all-or-nothing save behind every file the program writes: a write the disk refuses
// half-way, or a folder that is gone, leaves the old file as it was and nothing beside it.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include <sys/resource.h>

#include <csignal>
#endif

#include "platform/save_file.h"

using namespace velto;

TEST(SaveWhole, AFailedWriteLeavesTheOldFileWhole) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("veltoprefs.ini"));
    auto read = [&path] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    };
    ASSERT_TRUE(saveWhole(path, "old\n"));
    EXPECT_FALSE(saveWhole(dir.filePath(QStringLiteral("gone/mine.qvf")), "x"));
#ifdef Q_OS_UNIX
    // The disk refuses the write half-way: a file size limit holds even for root.
    const QByteArray big(64 * 1024, 'x');
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    auto* previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = saveWhole(path, big);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);
    EXPECT_FALSE(written);
    EXPECT_EQ(read(), QByteArray("old\n"));
    EXPECT_EQ(
        QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot),
        QStringList{"veltoprefs.ini"});
    EXPECT_TRUE(saveWhole(path, big));  // with room again the same save goes through
    EXPECT_EQ(read(), big);
#endif
}
