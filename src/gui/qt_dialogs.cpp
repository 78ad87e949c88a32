#include "gui/qt_dialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>

namespace velto {

namespace {
QMessageBox::Icon qtIcon(Dialogs::Icon icon) {
    switch (icon) {
        case Dialogs::Information: return QMessageBox::Information;
        case Dialogs::Warning: return QMessageBox::Warning;
        case Dialogs::Critical: return QMessageBox::Critical;
        case Dialogs::Question: return QMessageBox::Question;
        default: return QMessageBox::NoIcon;
    }
}

int ask(const QString& text, Dialogs::Icon icon, QMessageBox::StandardButtons buttons,
        QMessageBox::StandardButton fallback, const QString& title = {}) {
    // The system's texts break lines with CR alone, which a Qt label doesn't show as a break.
    QString shown = text;
    shown.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    QMessageBox box(qtIcon(icon), title.isEmpty() ? QApplication::applicationDisplayName() : title, shown, buttons,
                    QApplication::activeWindow());
    box.setDefaultButton(fallback);
    return box.exec();
}

// The platform's own dialog has no place for a prompt; Qt's has, below its fields.
std::optional<QString> chooseFile(const Dialogs::FileDialog& d, QFileDialog::AcceptMode mode, const QString& start) {
    QFileDialog dialog(QApplication::activeWindow(), d.title, start, d.filter);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    if (!d.prompt.isEmpty()) {
        if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout())) {
            auto* prompt = new QLabel(d.prompt);
            prompt->setObjectName(QStringLiteral("prompt"));
            prompt->setWordWrap(true);
            grid->addWidget(prompt, grid->rowCount(), 0, 1, grid->columnCount());
        }
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().constFirst();
}
}  // namespace

void QtDialogs::message(const QString& text) {
    ask(text, NoIcon, QMessageBox::Ok, QMessageBox::Ok);
}

void QtDialogs::notice(const QString& text, Icon icon, const QString& title) {
    ask(text, icon, QMessageBox::Ok, QMessageBox::Ok, title);
}

bool QtDialogs::okCancel(const QString& text, Icon icon) {
    return ask(text, icon, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok) == QMessageBox::Ok;
}

bool QtDialogs::yesNo(const QString& text, Icon icon, const QString& title) {
    return ask(text, icon, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, title) == QMessageBox::Yes;
}

std::optional<QString> QtDialogs::openFile(const FileDialog& d) {
    return chooseFile(d, QFileDialog::AcceptOpen, d.initialFolder);
}

std::optional<QString> QtDialogs::saveFile(const FileDialog& d) {
    const QString start = d.suggestedName.isEmpty() ? d.initialFolder : d.initialFolder + QLatin1Char('/') + d.suggestedName;
    return chooseFile(d, QFileDialog::AcceptSave, start);
}

}  // namespace velto
