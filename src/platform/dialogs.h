#pragma once
// Message boxes and file dialogs. The window shows real ones; headless, each message goes to
// standard error and takes the negative answer; tests script the answers in advance.

#include <QString>
#include <optional>

namespace velto {

class Dialogs {
public:
    enum Icon { NoIcon, Information, Warning, Critical, Question };

    virtual ~Dialogs() = default;

    /// A message box with only OK.
    virtual void message(const QString& text) = 0;
    /// A message box with only OK, its own title and an icon. Where a platform can't show them,
    /// it is the plain message.
    virtual void notice(const QString& text, Icon icon, const QString& title) {
        Q_UNUSED(icon);
        Q_UNUSED(title);
        message(text);
    }
    /// OK and Cancel: true for OK.
    virtual bool okCancel(const QString& text, Icon icon = Question) = 0;
    /// Yes and No: true for Yes. An empty title leaves the application's name on the box.
    virtual bool yesNo(const QString& text, Icon icon = Question, const QString& title = {}) = 0;

    struct FileDialog {
        QString title;
        QString prompt;
        QString initialFolder;
        QString suggestedName;
        QString filter;  // as a Qt name filter, e.g. "Velto Favourites (*.qvf)"
    };
    /// The chosen file's full path, or nothing on Cancel.
    virtual std::optional<QString> openFile(const FileDialog& dialog) = 0;
    virtual std::optional<QString> saveFile(const FileDialog& dialog) = 0;
};

}  // namespace velto
