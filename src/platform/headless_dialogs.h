#pragma once
// Dialogs with no window: each message box is one line "message: <text>" on standard error,
// and takes its negative answer (No, Cancel, or OK where it is the only button).

#include <cstdio>

#include "platform/dialogs.h"

namespace velto {

class HeadlessDialogs final : public Dialogs {
public:
    explicit HeadlessDialogs(std::FILE* out = stderr) : out_(out) {}
    void message(const QString& text) override { print(text); }
    bool okCancel(const QString& text, Icon) override { return print(text), false; }
    bool yesNo(const QString& text, Icon, const QString&) override { return print(text), false; }
    std::optional<QString> openFile(const FileDialog&) override { return std::nullopt; }
    std::optional<QString> saveFile(const FileDialog&) override { return std::nullopt; }

private:
    void print(const QString& text);
    std::FILE* out_;
};

}  // namespace velto
