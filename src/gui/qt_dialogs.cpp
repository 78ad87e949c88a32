#include "gui/qt_dialogs.h"

#include <QApplication>
#include <QFileDialog>
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
        QMessageBox::StandardButton fallback) {
    QMessageBox box(qtIcon(icon), QApplication::applicationDisplayName(), text, buttons,
                    QApplication::activeWindow());
    box.setDefaultButton(fallback);
    return box.exec();
}
}  // namespace

void QtDialogs::message(const QString& text) {
    ask(text, NoIcon, QMessageBox::Ok, QMessageBox::Ok);
}

bool QtDialogs::okCancel(const QString& text, Icon icon) {
    return ask(text, icon, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok) == QMessageBox::Ok;
}

bool QtDialogs::yesNo(const QString& text, Icon icon) {
    return ask(text, icon, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes;
}

std::optional<QString> QtDialogs::openFile(const FileDialog& d) {
    const QString path = QFileDialog::getOpenFileName(QApplication::activeWindow(), d.title, d.initialFolder, d.filter);
    if (path.isEmpty()) return std::nullopt;
    return path;
}

std::optional<QString> QtDialogs::saveFile(const FileDialog& d) {
    const QString start = d.suggestedName.isEmpty() ? d.initialFolder : d.initialFolder + QLatin1Char('/') + d.suggestedName;
    const QString path = QFileDialog::getSaveFileName(QApplication::activeWindow(), d.title, start, d.filter);
    if (path.isEmpty()) return std::nullopt;
    return path;
}

}  // namespace velto
