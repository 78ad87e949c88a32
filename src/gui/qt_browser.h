#pragma once
// Web pages open in the user's default browser.

#include <QDesktopServices>
#include <QUrl>

#include "platform/browser.h"

namespace velto {

class QtBrowser final : public Browser {
public:
    void open(const QString& url) override { QDesktopServices::openUrl(QUrl(url)); }
};

}  // namespace velto
