#pragma once
// Dialogs told their answers in advance. Every message is recorded; with no answer scripted,
// a question takes its negative answer and a file dialog is cancelled.

#include <QStringList>
#include <deque>

#include "platform/dialogs.h"

namespace velto {

class ScriptedDialogs final : public Dialogs {
public:
    void message(const QString& text) override { messages.append(text); }
    void notice(const QString& text, Icon icon, const QString& title) override {
        messages.append(text);
        notices.push_back({text, icon, title});
    }
    bool okCancel(const QString& text, Icon icon) override { return answer({text, icon, {}}); }
    bool yesNo(const QString& text, Icon icon, const QString& title) override { return answer({text, icon, title}); }
    std::optional<QString> openFile(const FileDialog& d) override { return file(d); }
    std::optional<QString> saveFile(const FileDialog& d) override { return file(d); }

    std::deque<bool> answers;
    std::deque<std::optional<QString>> files;
    QStringList messages;
    /// The questions asked (OK/Cancel and Yes/No), with their icons and titles.
    struct Asked {
        QString text;
        Icon icon;
        QString title;
    };
    std::vector<Asked> questions;
    /// The OK boxes that had a title and an icon of their own.
    std::vector<Asked> notices;
    std::vector<FileDialog> fileDialogs;

private:
    bool answer(const Asked& asked) {
        messages.append(asked.text);
        questions.push_back(asked);
        if (answers.empty()) return false;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }
    std::optional<QString> file(const FileDialog& d) {
        fileDialogs.push_back(d);
        if (files.empty()) return std::nullopt;
        auto f = files.front();
        files.pop_front();
        return f;
    }
};

}  // namespace velto
