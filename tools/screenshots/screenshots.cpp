// Renders the main window, one PNG per tab, with the simulated box behind it so that the
// window shows a live state, and the Preferences window. Used by scripts/screenshots and the
// README.
//   velto-screenshots OUTPUT_DIR

#include <QApplication>
#include <QDir>
#include <QTabWidget>
#include <QTimer>

#include "gui/main_window_view.h"
#include "support/rig.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(out);

    velto::Rig rig;
    rig.box().setLevelA(35);
    rig.box().setLevelB(28);
    rig.box().setMode(5);
    rig.box().setBattery(650);
    rig.connect();
    rig.advance(2600);
    auto add = [&](const QStringList& cells, const QString& mode, int a, int b, const QString& power) {
        const int row = rig->favsList.addRow(cells);
        rig->favsList.setCellCheck(row, 4, true);
        rig->favsList.setCell(row, 5, mode);
        rig->favsList.setCell(row, 6, QString::number(a));
        rig->favsList.setCell(row, 7, QString::number(b));
        rig->favsList.setCell(row, 8, QStringLiteral("50"));
        rig->favsList.setCell(row, 9, QStringLiteral("50"));
        rig->favsList.setCell(row, 10, power);
    };
    add({QStringLiteral("Pulse-40-40-50-50"), QStringLiteral("30"), QStringLiteral("180"), QStringLiteral("10")},
        QStringLiteral("Pulse"), 40, 40, QStringLiteral("L"));
    add({QStringLiteral("Gentle wave"), QStringLiteral("60"), QStringLiteral("300"), QStringLiteral("20")},
        QStringLiteral("Wave"), 30, 25, QStringLiteral("L"));
    add({QStringLiteral("Evening waterfall"), QStringLiteral("45"), QStringLiteral("240"), QStringLiteral("15")},
        QStringLiteral("Waterfall"), 45, 35, QStringLiteral("H"));
    rig->favsList.setListIndex(1);
    rig->elapsedTime = 75;
    rig->elapsedTimer_Action();

    velto::MainWindowView view(*rig);
    view.show();
    auto* tabs = view.findChild<QTabWidget*>(QStringLiteral("FavRand"));
    const QStringList names = {QStringLiteral("favourites"), QStringLiteral("random"), QStringLiteral("edit")};
    for (int i = 0; i < names.size(); ++i) {
        rig->FavRand.setValue(i);
        QApplication::processEvents();
        view.grab().save(QDir(out).filePath(QStringLiteral("main-window-") + names[i] + QStringLiteral(".png")));
    }
    Q_UNUSED(tabs);

    // The Preferences window of a slave whose USB adapter the scan has just found.
    rig->systemMode = QStringLiteral("slave");
    rig.serialPorts.names = {QStringLiteral("ttyS0"), QStringLiteral("ttyUSB0")};
    rig->MenuBar1.prefsMenu.push();
    QApplication::processEvents();  // its activation fills the fields
    rig->prefsWindow.portAutoDetect.push();
    rig->prefsWindow.brokerOpts.setValue(1);
    QApplication::processEvents();
    if (auto* prefs = view.findChild<QWidget*>(QStringLiteral("prefsWindow")))
        prefs->grab().save(QDir(out).filePath(QStringLiteral("preferences.png")));
    return 0;
}
