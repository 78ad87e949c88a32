#pragma once
// Real message boxes and file dialogs, for the windowed program.

#include "platform/dialogs.h"

namespace velto {

class QtDialogs final : public Dialogs {
public:
    void message(const QString& text) override;
    void notice(const QString& text, Icon icon, const QString& title) override;
    bool okCancel(const QString& text, Icon icon) override;
    bool yesNo(const QString& text, Icon icon, const QString& title) override;
    std::optional<QString> openFile(const FileDialog& dialog) override;
    std::optional<QString> saveFile(const FileDialog& dialog) override;
};

}  // namespace velto
