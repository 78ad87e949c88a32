#pragma once
// Opens a web page in the user's browser.

#include <QString>
#include <QStringList>
#include <cstdio>

namespace velto {

class Browser {
public:
    virtual ~Browser() = default;
    virtual void open(const QString& url) = 0;
};

/// With no window there is no browser: the address is printed for the user instead.
class HeadlessBrowser final : public Browser {
public:
    void open(const QString& url) override {
        std::fprintf(stderr, "browser: %s\n", url.toUtf8().constData());
        std::fflush(stderr);
    }
};

/// Records what would have been opened.
class RecordingBrowser final : public Browser {
public:
    void open(const QString& url) override { opened.append(url); }
    QStringList opened;
};

}  // namespace velto
