#pragma once
// Opens a web page in the user's browser.

#include <QString>
#include <QStringList>
#include <functional>

namespace velto {

class Browser {
public:
    virtual ~Browser() = default;
    virtual void open(const QString& url) = 0;
};

/// With no window there is no browser: the address goes to the log, for the user to open.
class HeadlessBrowser final : public Browser {
public:
    explicit HeadlessBrowser(std::function<void(const QString&)> log) : log_(std::move(log)) {}
    void open(const QString& url) override { log_(QStringLiteral("Open in a browser: ") + url); }

private:
    std::function<void(const QString&)> log_;
};

/// Records what would have been opened.
class RecordingBrowser final : public Browser {
public:
    void open(const QString& url) override { opened.append(url); }
    QStringList opened;
};

}  // namespace velto
