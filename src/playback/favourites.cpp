// The favourites store and its files. The rows of favsList are the store: eleven text cells
// (name, rise, run, fall, seq, mode, A, B, C, D, power) and the check state of column 4.
// One file format serves "veltofavourites.ini" and the user's ".qvf" files: a ";firmware="
// header, then one line per row, the cells joined by commas with no quoting.

#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <algorithm>

#include "device/main_app.h"
#include "platform/save_file.h"
#include "platform/boundary.h"
#include "platform/text.h"

namespace velto {

namespace {

const QString kRemoteTag = QStringLiteral("remote");

QString favsFilter() {
    return QStringLiteral("Velto Favourites (*.qvf)");
}

/// Rise time of a new favourite: longer for strong settings.
QString riseFor(double levelA, double levelB) {
    return std::max(levelA, levelB) > 50 ? QStringLiteral("60") : QStringLiteral("30");
}

/// One line of a favourites file into the list. The row is added from fields 0 to 3 before the
/// later fields are read, so a line cut short leaves its row half filled, and the failure of
/// the read goes on to the boundary.
void readFavouriteLine(Listbox& list, const QString& line) {
    // The firmware of the header is not compared with anything: a file from one box plays on
    // any other.
    if (same(Left(line, 9), QStringLiteral(";firmware"))) return;
    const QStringList fields = Split(line, QStringLiteral(","));
    const int row = list.addRow({at(fields, 0), at(fields, 1), at(fields, 2), at(fields, 3)});
    // Only "1" ticks: a third state written as "2" is lost here.
    list.setCellCheck(row, 4, at(fields, 4) == QLatin1String("1"));
    for (int column = 5; column <= 10; ++column) list.setCell(row, column, at(fields, column));
}

// The arrows of the Edit tab stop at 99, though a level may be 100 elsewhere.
void spinUp(TextField& field) {
    const double value = Val(field.text());
    field.setText(99 > value ? Str(value + 1) : QStringLiteral("99"));
}

void spinDown(TextField& field) {
    const double value = Val(field.text());
    field.setText(value > 0 ? Str(value - 1) : QStringLiteral("0"));
}

}  // namespace

QStringList MainApp::modeTable(bool byFirmware) const {
    QStringList table{
        QStringLiteral("Pulse"),     QStringLiteral("Bounce"),  QStringLiteral("Continuous"),
        QStringLiteral("Asplit"),    QStringLiteral("Bsplit"),  QStringLiteral("Wave"),
        QStringLiteral("Waterfall"), QStringLiteral("Squeeze"), QStringLiteral("Milk"),
        QStringLiteral("Throb"),     QStringLiteral("Thrust"),  QStringLiteral("Random"),
        QStringLiteral("Step"),      QStringLiteral("Training")};
    if (byFirmware && firmwareVersion >= 2119) table.insert(3, QStringLiteral("Intense"));
    return table;
}

void MainApp::wireFavourites() {
    ExceptionBoundary& b = p_.boundary;
    auto on = [&b](Signal<>& event, std::function<void()> handler) {
        event.connect(b.wrap(std::move(handler)));
    };
    on(saveCurrent.action, [this] { storeCurrentSettings(false); });
    on(createNewFav.action, [this] { createNewFav_Action(); });
    on(deleteSelected.action, [this] { deleteSelected_Action(); });
    on(favsList.change, [this] { favsList_Change(); });
    on(spinnerA.up, [this] { spinnerA_Up(); });
    on(spinnerA.down, [this] { spinnerA_Down(); });
    on(spinnerB.up, [this] { spinnerB_Up(); });
    on(spinnerB.down, [this] { spinnerB_Down(); });
    on(spinnerC.up, [this] { spinnerC_Up(); });
    on(spinnerC.down, [this] { spinnerC_Down(); });
    on(spinnerD.up, [this] { spinnerD_Up(); });
    on(spinnerD.down, [this] { spinnerD_Down(); });
    // The list's Open event: it is set up as it is created.
    favsList_Open();
}

void MainApp::favsList_Open() {
    favsList.setColumnWidths(QStringLiteral("6*,1*,1*,1*,1*,0,0,0,0,0,0"));
    favsList.setHeadings({QStringLiteral("Name"), QStringLiteral("Rise"), QStringLiteral("Run"),
                          QStringLiteral("Fall"), QStringLiteral("Seq")});
    for (int column = 0; column <= 3; ++column)
        favsList.setColumnType(column, Listbox::TypeEditable);
    favsList.setColumnType(4, Listbox::TypeCheckbox);
    favsList.setDragReorder(true);
}

void MainApp::favsList_Change() {
    const int row = favsList.listIndex();
    if (row < 0) {
        favInfo.setText(QString());
        return;
    }
    const bool high = same(favsList.cell(row, 10), QStringLiteral("H"));
    favInfo.setText(favsList.cell(row, 5) +
                    (high ? QStringLiteral(", high power") : QStringLiteral(", low power")) +
                    QStringLiteral(", A") + favsList.cell(row, 6) + QStringLiteral(" B") +
                    favsList.cell(row, 7) + QStringLiteral(" C") + favsList.cell(row, 8) +
                    QStringLiteral(" D") + favsList.cell(row, 9));
}

void MainApp::storeCurrentSettings(bool isRemote) {
    // Always the 14-entry table, whatever ModeControl holds: with "Intense" in the popup the
    // names are one off, and "Training" at 14 reads past the end before any row is added.
    const QStringList table = modeTable(false);
    const QString mode = at(table, ModeControl.listIndex());
    const QString dash = QStringLiteral("-");
    QString name = mode + dash + settingA.text() + dash + settingB.text() + dash + settingC.text() +
                   dash + settingD.text();
    if (isRemote) name = QStringLiteral("R-") + name;

    const int row = favsList.addRow({name, riseFor(channelA.value(), channelB.value()),
                                     QStringLiteral("180"), QStringLiteral("10")});
    favsList.setCellCheck(row, 4, true);
    favsList.setCell(row, 5, mode);
    favsList.setCell(row, 6, Str(qint64(channelA.value())));
    favsList.setCell(row, 7, Str(qint64(channelB.value())));
    favsList.setCell(row, 8, Str(qint64(channelC.value())));
    favsList.setCell(row, 9, Str(qint64(channelD.value())));
    // Dynamic power is neither: it stores as low.
    favsList.setCell(row, 10, powerHi.value() ? QStringLiteral("H") : QStringLiteral("L"));
}

void MainApp::createNewFav_Action() {
    // selectMode keeps its 14 rows while the table follows the firmware: from 2119 on, each row
    // past "Continuous" stores the name of the row above it.
    const QStringList table = modeTable(true);
    const QString mode = at(table, selectMode.listIndex());
    const QString dash = QStringLiteral("-");
    const QString name =
        mode + dash + newA.text() + dash + newB.text() + dash + newC.text() + dash + newD.text();

    const int row = favsList.addRow({name, riseFor(Val(newA.text()), Val(newB.text())),
                                     QStringLiteral("180"), QStringLiteral("10")});
    favsList.setCellCheck(row, 4, true);
    favsList.setCell(row, 5, mode);
    favsList.setCell(row, 6, newA.text());
    favsList.setCell(row, 7, newB.text());
    favsList.setCell(row, 8, newC.text());
    favsList.setCell(row, 9, newD.text());
    favsList.setCell(row, 10,
                     newPower.listIndex() != 0 ? QStringLiteral("H") : QStringLiteral("L"));
}

void MainApp::deleteSelected_Action() {
    // The count is read again on each round, as rows go while the walk runs.
    for (int row = 0; row < favsList.listCount(); ++row) {
        if (favsList.selected(row)) {
            favsList.setSelected(row, false);
            favsList.removeRow(row);
        }
    }
}

void MainApp::spinnerA_Up() {
    spinUp(newA);
}
void MainApp::spinnerA_Down() {
    spinDown(newA);
}
void MainApp::spinnerB_Up() {
    spinUp(newB);
}
void MainApp::spinnerB_Down() {
    spinDown(newB);
}
void MainApp::spinnerC_Up() {
    spinUp(newC);
}
void MainApp::spinnerC_Down() {
    spinDown(newC);
}
void MainApp::spinnerD_Up() {
    spinUp(newD);
}
void MainApp::spinnerD_Down() {
    spinDown(newD);
}

void MainApp::readFavourites(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return;
    QTextStream in(&file);
    // The end is tested after the line: an empty file is one empty line, and fails as one.
    do {
        readFavouriteLine(favsList, in.readLine());
        p_.clock.yield();
    } while (!in.atEnd());
}

void MainApp::saveFavourites() {
    // LastIndex, not the count: a start with no file and no additions leaves any file alone.
    if (favsList.lastIndex() == -1) return;
    const Preferences& prefs = p_.preferences;
    if (!prefs.available()) return;

    QString path;
    if (same(App.favsName, QString::fromLatin1(kFavsDefault))) {
        path = prefs.child(App.favsName);
    } else if (const auto item = fileItem(App.favsName)) {
        path = *item;
    } else {
        return;  // a path whose folder is gone can't be created: an I/O error, and silent
    }

    // Saved whole: a walk below that fails on an empty list with a LastIndex still raises its
    // failure, and the old file stays as it was.
    QString out = QStringLiteral(";firmware=") + Str(firmwareVersion) + QLatin1Char('\n');

    // The test stands at the end of the loop, so row 0 is visited even in an empty list.
    int row = 0;
    do {
        if (!same(favsList.rowTag(row).toString(), kRemoteTag)) {
            QStringList cells;
            for (int column = 0; column < 11; ++column)
                cells.append(column == 4 ? Str(qint64(favsList.cellState(row, 4)))
                                         : favsList.cell(row, column));
            out += cells.join(QLatin1Char(',')) + QLatin1Char('\n');
        }
        p_.clock.yield();
        ++row;
    } while (row != favsList.listCount());

    saveWhole(path, out.toUtf8());  // a failed save is not reported
}

bool MainApp::_openFavs_Action() {
    const Preferences& prefs = p_.preferences;
    const std::optional<QString> chosen =
        p_.dialogs.openFile({QStringLiteral("Load favourites file"),
                             QStringLiteral("Select a favourites file (.qvf) to load"),
                             prefs.folder().value_or(QString()), QString(), favsFilter()});
    if (!chosen) return true;
    const QFileInfo info(*chosen);
    if (info.isFile()) {
        favsList.deleteAllRows();
        readFavourites(info.absoluteFilePath());
    }
    // A name that is not there yet is kept: the next save creates it.
    App.favsName = info.absoluteFilePath();
    window.setTitle(QString::fromLatin1(kTitle) + QStringLiteral(" - ") + info.fileName());
    return true;
}

bool MainApp::_SaveAs_Action() {
    const Preferences& prefs = p_.preferences;
    const std::optional<QString> chosen = p_.dialogs.saveFile(
        {QStringLiteral("Save Favourites"), QStringLiteral("Enter a name for your favourites file"),
         prefs.folder().value_or(QString()), QStringLiteral("MyFavourites.qvf"), favsFilter()});
    if (!chosen) return true;
    App.favsName = QFileInfo(*chosen).absoluteFilePath();
    saveFavourites();
    return true;
}

bool MainApp::_saveAll_Action() {
    saveFavourites();
    saveRandom();
    return true;
}

}  // namespace velto
