// The favourites store: adding, editing and deleting rows, the file format with its reader and
// writer, the two readers, the menus, and the all-or-nothing save.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "support/rig.h"

using namespace velto;

namespace {

const QString kDefault = QStringLiteral("veltofavourites.ini");

QString readText(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return QStringLiteral("<missing>");
    return QString::fromUtf8(file.readAll());
}

/// The eleven cells of a row, with column 4 given as its check state.
QString rowText(const Listbox& list, int row) {
    QStringList cells;
    for (int c = 0; c < 11; ++c)
        cells.append(c == 4 ? QString::number(list.cellState(row, 4)) : list.cell(row, c));
    return cells.join(QLatin1Char(','));
}

QStringList rowsOf(const Listbox& list) {
    QStringList rows;
    for (int r = 0; r < list.listCount(); ++r) rows.append(rowText(list, r));
    return rows;
}

/// Rows from lines of cells; column 4 is given as the check state.
void addRows(Listbox& list, const QStringList& lines, QChar sep = QLatin1Char(',')) {
    for (const QString& line : lines) {
        const QStringList f = line.split(sep);
        const int row = list.addRow(f);
        list.setCellState(row, 4, f.value(4).toInt());
    }
}

bool outOfBoundsReported(const Rig& rig) {
    return rig.boundary.reports().size() == 1 &&
           rig.boundary.reports()[0].contains(QStringLiteral("OutOfBounds"));
}

}  // namespace

TEST(Favourites, TheListIsSetUpAsItIsCreated) {
    Rig rig;
    const Listbox& list = rig->favsList;
    EXPECT_EQ(list.columnCount(), 11);
    EXPECT_EQ(list.columnWidths(), QStringLiteral("6*,1*,1*,1*,1*,0,0,0,0,0,0"));
    EXPECT_EQ(list.headings(),
              (QStringList{QStringLiteral("Name"), QStringLiteral("Rise"), QStringLiteral("Run"),
                           QStringLiteral("Fall"), QStringLiteral("Seq")}));
    for (int c = 0; c <= 3; ++c) EXPECT_EQ(list.columnType(c), Listbox::TypeEditable) << c;
    EXPECT_EQ(list.columnType(4), Listbox::TypeCheckbox);
    EXPECT_EQ(list.columnType(5), Listbox::TypeDefault);
    EXPECT_TRUE(list.dragReorder());
    EXPECT_EQ(list.listIndex(), -1);
    EXPECT_EQ(list.lastIndex(), -1);
}

TEST(Favourites, AddFavouriteStoresTheLiveSettings) {
    struct Case {
        int a, b, c, d, mode;
        RadioButton MainApp::*power;
        bool remote;
        const char* row;
    } cases[] = {
        {40, 40, 50, 50, 0, &MainApp::powerLo, false,
         "Pulse-40-40-50-50,30,180,10,1,Pulse,40,40,50,50,L"},
        {51, 0, 2, 100, 13, &MainApp::powerHi, false,
         "Training-51-0-2-100,60,180,10,1,Training,51,0,2,100,H"},
        {50, 50, 9, 9, 3, &MainApp::powerDynamic, false,
         "Asplit-50-50-9-9,30,180,10,1,Asplit,50,50,9,9,L"},
        {0, 51, 20, 30, 6, &MainApp::powerHi, true,
         "R-Waterfall-0-51-20-30,60,180,10,1,Waterfall,0,51,20,30,H"},
    };
    for (const Case& k : cases) {
        Rig rig;
        rig.open();
        MainApp& app = *rig;
        app.channelA.setValue(k.a);
        app.channelB.setValue(k.b);
        app.channelC.setValue(k.c);
        app.channelD.setValue(k.d);
        app.ModeControl.setListIndex(k.mode);
        (app.*k.power).setValue(true);
        if (k.remote)
            app.storeCurrentSettings(true);
        else
            app.saveCurrent.push();
        ASSERT_EQ(app.favsList.listCount(), 1) << k.row;
        EXPECT_EQ(rowText(app.favsList, 0), QString::fromLatin1(k.row));
        EXPECT_EQ(app.favsList.lastIndex(), 0);
    }

    // The name is taken from the labels as shown, the level cells from the sliders.
    Rig rig;
    rig->channelA.setValue(30);
    rig->settingA.setText(QStringLiteral("31"));
    rig->storeCurrentSettings(false);
    EXPECT_EQ(rowText(rig->favsList, 0),
              QStringLiteral("Pulse-31-0-50-50,30,180,10,1,Pulse,30,0,50,50,L"));
}

TEST(Favourites, ModeNamesFollowTheTablesNotTheControls) {
    Rig rig;
    EXPECT_EQ(rig->modeTable(false).size(), 14);
    EXPECT_EQ(rig->modeTable(true).size(), 14);
    rig->firmwareVersion = 2118;
    EXPECT_EQ(rig->modeTable(true).size(), 14);
    rig->firmwareVersion = 2119;
    const QStringList newer = rig->modeTable(true);
    ASSERT_EQ(newer.size(), 15);
    EXPECT_EQ(newer[3], QStringLiteral("Intense"));
    EXPECT_EQ(newer[4], QStringLiteral("Asplit"));
    EXPECT_EQ(rig->modeTable(false)[3], QStringLiteral("Asplit"));
    EXPECT_EQ(rig->modeTable(false)[13], QStringLiteral("Training"));

    // The Edit tab's 14 rows against the firmware's table: from 2119 on, one row behind.
    struct Case {
        qint64 firmware;
        int row;
        const char* stored;
    } cases[] = {
        {2106, 3, "Asplit"},  {2106, 13, "Training"}, {2119, 0, "Pulse"}, {2119, 2, "Continuous"},
        {2119, 3, "Intense"}, {2119, 4, "Asplit"},    {2119, 13, "Step"},
    };
    for (const Case& k : cases) {
        Rig r;
        r->firmwareVersion = k.firmware;
        r->selectMode.setListIndex(k.row);
        r->createNewFav.push();
        ASSERT_EQ(r->favsList.listCount(), 1);
        EXPECT_EQ(r->favsList.cell(0, 5), QString::fromLatin1(k.stored))
            << k.firmware << " row " << k.row;
        EXPECT_TRUE(
            r->favsList.cell(0, 0).startsWith(QString::fromLatin1(k.stored) + QLatin1Char('-')));
    }
}

TEST(Favourites, OnNewerFirmwareAddFavouriteIsOneOffAndFailsOnTraining) {
    Rig rig;
    rig.box().setFirmware(QStringLiteral("2.119"));
    rig.connect();
    rig.advance(3000);
    ASSERT_EQ(rig->firmwareVersion, 2119);
    ASSERT_EQ(rig->ModeControl.list(3), QStringLiteral("Intense"));

    // "Intense" in the popup stores the 14-entry table's name at its index.
    rig->ModeControl.setListIndex(3);
    rig->saveCurrent.push();
    ASSERT_EQ(rig->favsList.listCount(), 1);
    EXPECT_EQ(rig->favsList.cell(0, 5), QStringLiteral("Asplit"));

    rig->ModeControl.setListIndex(14);
    ASSERT_EQ(rig->ModeControl.text(), QStringLiteral("Training"));
    rig->saveCurrent.push();
    EXPECT_TRUE(outOfBoundsReported(rig));
    EXPECT_EQ(rig->favsList.listCount(), 1);
    EXPECT_EQ(rig->favsList.lastIndex(), 0);
}

TEST(Favourites, CreateNewFavTakesTheEditFieldsAsTheyStand) {
    Rig rig;
    MainApp& app = *rig;
    app.newA.setText(QStringLiteral("51abc"));
    app.newB.setText(QString());
    app.newC.setText(QStringLiteral(" 7"));
    app.newD.setText(QStringLiteral("x"));
    app.newPower.setListIndex(1);
    app.createNewFav.push();
    app.newA.setText(QStringLiteral("50"));
    app.newB.setText(QStringLiteral("50.5"));
    app.newPower.setListIndex(0);
    app.selectMode.setListIndex(9);
    app.createNewFav.push();
    EXPECT_EQ(rowsOf(app.favsList),
              (QStringList{QStringLiteral("Pulse-51abc-- 7-x,60,180,10,1,Pulse,51abc,, 7,x,H"),
                           QStringLiteral("Throb-50-50.5- 7-x,60,180,10,1,Throb,50,50.5, 7,x,L")}));
    EXPECT_EQ(app.favsList.lastIndex(), 1);
}

TEST(Favourites, SpinnersStepBetweenZeroAnd99) {
    struct Case {
        const char* before;
        bool up;
        const char* after;
    } cases[] = {
        {"", true, "1"},      {"98", true, "99"},     {"99", true, "99"}, {"150", true, "99"},
        {"abc", true, "1"},   {"2.5", true, "3.5"},   {"-4", true, "-3"}, {"5", false, "4"},
        {"1", false, "0"},    {"0", false, "0"},      {"", false, "0"},   {"-3", false, "0"},
        {"100", false, "99"}, {"0.5", false, "-0.5"},
    };
    Rig rig;
    MainApp& app = *rig;
    TextField* fields[] = {&app.newA, &app.newB, &app.newC, &app.newD};
    UpDownArrows* arrows[] = {&app.spinnerA, &app.spinnerB, &app.spinnerC, &app.spinnerD};
    for (int i = 0; i < 4; ++i) {
        for (const Case& k : cases) {
            for (TextField* f : fields) f->setText(QStringLiteral("7"));
            fields[i]->setText(QString::fromLatin1(k.before));
            if (k.up)
                arrows[i]->up();
            else
                arrows[i]->down();
            EXPECT_EQ(fields[i]->text(), QString::fromLatin1(k.after))
                << i << " '" << k.before << "' " << k.up;
            for (int j = 0; j < 4; ++j) {
                if (j != i) {
                    EXPECT_EQ(fields[j]->text(), QStringLiteral("7"));
                }
            }
        }
    }
}

TEST(Favourites, SelectionShowsTheDetailLineAndDeleteRemovesOnlyTheSelectedRow) {
    Rig rig;
    MainApp& app = *rig;
    addRows(app.favsList, {QStringLiteral("one,30,180,10,1,Pulse,40,41,50,51,H"),
                           QStringLiteral("two,30,180,10,0,Wave,1,2,3,4,h"),
                           QStringLiteral("three,30,180,10,1,Milk,5,6,7,8,L")});
    app.favsList.setListIndex(0);
    EXPECT_EQ(app.favInfo.text(), QStringLiteral("Pulse, high power, A40 B41 C50 D51"));
    app.favsList.setListIndex(1);
    EXPECT_EQ(app.favInfo.text(), QStringLiteral("Wave, high power, A1 B2 C3 D4"));
    app.favsList.setListIndex(2);
    EXPECT_EQ(app.favInfo.text(), QStringLiteral("Milk, low power, A5 B6 C7 D8"));

    app.favsList.setListIndex(1);
    app.deleteSelected.push();
    EXPECT_EQ(rowsOf(app.favsList),
              (QStringList{QStringLiteral("one,30,180,10,1,Pulse,40,41,50,51,H"),
                           QStringLiteral("three,30,180,10,1,Milk,5,6,7,8,L")}));
    EXPECT_EQ(app.favsList.listIndex(), -1);
    EXPECT_TRUE(app.favInfo.text().isEmpty());

    // With nothing selected nothing goes, and nothing is said.
    app.deleteSelected.push();
    EXPECT_EQ(app.favsList.listCount(), 2);
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}

TEST(FavouritesFile, RoundTripAndTheWaysTheReaderDiffersFromTheWriter) {
    Rig rig;
    MainApp& app = *rig;
    app.firmwareVersion = 2106;
    addRows(app.favsList, {QStringLiteral("Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L"),
                           QStringLiteral("slow one,5,6,7,0,Wave,1,2,3,4,H"),
                           QStringLiteral("Mixed,30,180,10,2,Milk,5,6,7,8,L")});
    // An edited name with a comma in it.
    addRows(app.favsList, {QStringLiteral("Left,right|30|180|10|1|Step|9|9|9|9|L")},
            QLatin1Char('|'));
    app.saveFavourites();
    const QString written = QStringLiteral(
        ";firmware=2106\n"
        "Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L\n"
        "slow one,5,6,7,0,Wave,1,2,3,4,H\n"
        "Mixed,30,180,10,2,Milk,5,6,7,8,L\n"
        "Left,right,30,180,10,1,Step,9,9,9,9,L\n");
    EXPECT_EQ(readText(rig.prefPath(kDefault)), written);

    // Read back at start-up, on a box with other firmware: the header changes nothing; the
    // mixed state comes back unticked and the comma moves every later field along.
    Rig again;
    again.writePref(kDefault, written);
    again->firmwareVersion = 2119;
    again.boundary.run([&] { again.open(); });
    EXPECT_TRUE(again.boundary.reports().isEmpty());
    EXPECT_EQ(rowsOf(again->favsList),
              (QStringList{QStringLiteral("Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L"),
                           QStringLiteral("slow one,5,6,7,0,Wave,1,2,3,4,H"),
                           QStringLiteral("Mixed,30,180,10,0,Milk,5,6,7,8,L"),
                           QStringLiteral("Left,right,30,180,0,1,Step,9,9,9,9")}));
    EXPECT_EQ(again->favsList.lastIndex(), 3);
    EXPECT_EQ(again->App.favsName, kDefault);
    EXPECT_EQ(again->firmwareVersion, 2119);

    // The header counts anywhere, in any case; fields past the eleventh are ignored.
    Rig third;
    third.writePref(kDefault, QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L,extra,more\n"
                                             ";FIRMWARE=9999\n"
                                             ";Firmware\n"
                                             "b,1,2,3,true,Wave,5,6,7,8,H\n"));
    third.boundary.run([&] { third.open(); });
    EXPECT_TRUE(third.boundary.reports().isEmpty());
    EXPECT_EQ(rowsOf(third->favsList), (QStringList{QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L"),
                                                    QStringLiteral("b,1,2,3,0,Wave,5,6,7,8,H")}));
}

TEST(FavouritesFile, ShortLinesFailThroughTheBoundaryAndTheRowsReadSoFarStay) {
    struct Case {
        const char* content;
        const char* rows;  // rows kept, joined by "|"
        bool fails;
    } cases[] = {
        {"", "", true},  // an empty file is one empty line
        {"a,1,2,3,1,Pulse,1,2,3,4,L\n\nb,1,2,3,1,Pulse,1,2,3,4,L\n", "a,1,2,3,1,Pulse,1,2,3,4,L",
         true},
        {"a,1,2,3,1,Pulse,1,2,3,4,L\nb,1,2\n", "a,1,2,3,1,Pulse,1,2,3,4,L", true},
        // The row is added from its first four fields before the rest are read.
        {"b,1,2,3\n", "b,1,2,3,0,,,,,,", true},
        {"c,1,2,3,1,Wave,5,6\nd,1,2,3,1,Pulse,1,2,3,4,L\n", "c,1,2,3,1,Wave,5,6,,,", true},
        {"e,1,2,3,1,Pulse,1,2,3,4,L", "e,1,2,3,1,Pulse,1,2,3,4,L",
         false},  // no line end at the end
    };
    for (const Case& k : cases) {
        Rig rig;
        rig.writePref(kDefault, QString::fromLatin1(k.content));
        rig.boundary.run([&] { rig.open(); });
        EXPECT_EQ(rowsOf(rig->favsList).join(QLatin1Char('|')), QString::fromLatin1(k.rows))
            << k.content;
        EXPECT_EQ(outOfBoundsReported(rig), k.fails) << k.content;
    }

    // No file at all: an empty list and not a word.
    Rig none;
    none.boundary.run([&] { none.open(); });
    EXPECT_EQ(none->favsList.listCount(), 0);
    EXPECT_TRUE(none.boundary.reports().isEmpty());
    EXPECT_TRUE(none.dialogs.messages.isEmpty());
}

TEST(FavouritesFile, TheReaderLetsOtherEventsRunAfterEachLine) {
    Rig rig;
    rig.writePref(kDefault, QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L\nb,1,2,3,1,Pulse,1,2,3,4,L\n"
                                           "c,1,2,3,1,Pulse,1,2,3,4,L\n"));
    std::vector<int> seen;
    rig.clock.post(0, [&] { seen.push_back(rig->favsList.listCount()); });
    rig->readFavourites(rig.prefPath(kDefault));
    EXPECT_EQ(seen, std::vector<int>{1});
    EXPECT_EQ(rig->favsList.listCount(), 3);
}

TEST(FavouritesFile, SaveFollowsLastIndexNotTheRowCount) {
    {  // No file at start and nothing added: nothing is written, an existing file stays.
        Rig rig;
        rig.open();
        rig.writePref(kDefault, QStringLiteral("kept\n"));
        rig->saveFavourites();
        EXPECT_EQ(readText(rig.prefPath(kDefault)), QStringLiteral("kept\n"));
        // Save As with nothing added takes the new name and writes nothing either.
        const QString other = rig.prefPath(QStringLiteral("other.qvf"));
        rig.dialogs.files.push_back(other);
        EXPECT_TRUE(rig->_SaveAs_Action());
        EXPECT_EQ(rig->App.favsName, other);
        EXPECT_FALSE(QFileInfo::exists(other));
    }
    {  // A list read from a file has a LastIndex, and saves as it stands.
        Rig rig;
        rig.writePref(kDefault, QStringLiteral(";firmware=0\na,1,2,3,1,Pulse,1,2,3,4,L\n"));
        rig.open();
        rig->favsList.setCell(0, 1, QStringLiteral("9"));
        rig->saveFavourites();
        EXPECT_EQ(readText(rig.prefPath(kDefault)),
                  QStringLiteral(";firmware=0\na,9,2,3,1,Pulse,1,2,3,4,L\n"));
    }
    {  // No Preferences folder: nothing to save to.
        Rig rig(false);
        rig.open();
        rig->createNewFav.push();
        rig->saveFavourites();
        EXPECT_TRUE(rig.boundary.reports().isEmpty());
        EXPECT_EQ(QDir(rig.prefsDir.path()).entryList(QDir::Files), QStringList());
    }
    {  // Every row deleted after one was added: the visit to row 0 fails. The save is all or
       // nothing, so the old file stays whole rather than shrinking to the header.
        Rig rig;
        rig.writePref(kDefault, QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L\n"));
        rig.open();
        rig->favsList.setListIndex(0);
        rig->deleteSelected.push();
        ASSERT_EQ(rig->favsList.listCount(), 0);
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(outOfBoundsReported(rig));
        EXPECT_EQ(readText(rig.prefPath(kDefault)), QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L\n"));
        EXPECT_EQ(QDir(rig.prefsDir.path()).entryList(QDir::Files), QStringList{kDefault});
    }
}

TEST(FavouritesFile, RemoteRowsStayOutOfTheFileAndTheirNeighboursKeepTheirOrder) {
    Rig rig;
    addRows(rig->favsList, {QStringLiteral("c,1,2,3,1,Pulse,1,2,3,4,L"),
                            QStringLiteral("R-far,1,2,3,1,Wave,1,2,3,4,H"),
                            QStringLiteral("a,1,2,3,0,Milk,1,2,3,4,L"),
                            QStringLiteral("R-far2,1,2,3,1,Step,1,2,3,4,L"),
                            QStringLiteral("b,1,2,3,1,Throb,1,2,3,4,L")});
    rig->favsList.setRowTag(1, QStringLiteral("remote"));
    rig->favsList.setRowTag(3, QStringLiteral("remote"));
    rig->favsList.moveRow(4, 0);  // dragged to the top
    rig->saveFavourites();
    EXPECT_EQ(readText(rig.prefPath(kDefault)), QStringLiteral(";firmware=0\n"
                                                               "b,1,2,3,1,Throb,1,2,3,4,L\n"
                                                               "c,1,2,3,1,Pulse,1,2,3,4,L\n"
                                                               "a,1,2,3,0,Milk,1,2,3,4,L\n"));
    EXPECT_EQ(rig->favsList.listCount(), 5);
}

TEST(FavouritesFile, AFailedOrInterruptedSaveLeavesTheOldFileWhole) {
    const QString old = QStringLiteral(";firmware=0\nold,1,2,3,1,Pulse,1,2,3,4,L\n");
    auto filesIn = [](const Rig& rig) {
        return QDir(rig.prefsDir.path()).entryList(QDir::Files | QDir::Hidden);
    };

    {  // Rows taken away while the save yields: the walk fails part-way through the file.
        Rig rig;
        rig.writePref(kDefault, old);
        addRows(rig->favsList, {QStringLiteral("a,1,2,3,1,Pulse,1,2,3,4,L"),
                                QStringLiteral("b,1,2,3,1,Pulse,1,2,3,4,L"),
                                QStringLiteral("c,1,2,3,1,Pulse,1,2,3,4,L")});
        rig.clock.post(0, [&] { rig->favsList.deleteAllRows(); });
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(outOfBoundsReported(rig));
        EXPECT_EQ(readText(rig.prefPath(kDefault)), old);
        EXPECT_EQ(filesIn(rig), QStringList{kDefault});
    }
    {  // A folder that is gone: nothing is made, nothing is said.
        Rig rig;
        rig->App.favsName = rig.prefPath(QStringLiteral("gone/mine.qvf"));
        rig->createNewFav.push();
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(rig.boundary.reports().isEmpty());
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        EXPECT_FALSE(QFileInfo::exists(rig.prefPath(QStringLiteral("gone"))));
    }
}

TEST(FavouritesMenus, OpenClearsTheListOnlyForAFileThatExists) {
    Rig rig;
    rig.writePref(kDefault, QStringLiteral("start,1,2,3,1,Pulse,1,2,3,4,L\n"));
    rig.writePref(QStringLiteral("mine.qvf"),
                  QStringLiteral(";firmware=2106\nmine,1,2,3,1,Wave,5,6,7,8,H\n"));
    // Start-up appends to what the list already holds.
    rig->createNewFav.push();
    rig.open();
    ASSERT_EQ(rig->favsList.listCount(), 2);

    // Cancel: nothing changes.
    EXPECT_TRUE(rig->_openFavs_Action());
    ASSERT_EQ(rig.dialogs.fileDialogs.size(), 1u);
    const Dialogs::FileDialog& d = rig.dialogs.fileDialogs[0];
    EXPECT_EQ(d.title, QStringLiteral("Load favourites file"));
    EXPECT_EQ(d.prompt, QStringLiteral("Select a favourites file (.qvf) to load"));
    EXPECT_EQ(d.initialFolder, rig.prefsDir.path());
    EXPECT_EQ(d.filter, QStringLiteral("Velto Favourites (*.qvf)"));
    EXPECT_EQ(rig->favsList.listCount(), 2);
    EXPECT_EQ(rig->App.favsName, kDefault);
    EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));

    // A file that exists replaces the list.
    const QString mine = rig.prefPath(QStringLiteral("mine.qvf"));
    rig.dialogs.files.push_back(mine);
    rig->_openFavs_Action();
    EXPECT_EQ(rowsOf(rig->favsList), QStringList{QStringLiteral("mine,1,2,3,1,Wave,5,6,7,8,H")});
    EXPECT_EQ(rig->App.favsName, mine);
    EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X - mine.qvf"));

    // A name that is not there keeps the list, but is taken as the file; a save creates it.
    const QString later = rig.prefPath(QStringLiteral("later.qvf"));
    rig.dialogs.files.push_back(later);
    rig->_openFavs_Action();
    EXPECT_EQ(rig->favsList.listCount(), 1);
    EXPECT_EQ(rig->App.favsName, later);
    EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X - later.qvf"));
    rig->saveFavourites();
    EXPECT_EQ(readText(later), QStringLiteral(";firmware=0\nmine,1,2,3,1,Wave,5,6,7,8,H\n"));
    EXPECT_EQ(readText(rig.prefPath(kDefault)), QStringLiteral("start,1,2,3,1,Pulse,1,2,3,4,L\n"));
}

TEST(FavouritesMenus, SaveAsTakesTheNewNameAndSaveWritesBothFiles) {
    Rig rig;
    rig.open();
    rig->createNewFav.push();
    const QString title = rig->window.title();

    EXPECT_TRUE(rig->_SaveAs_Action());  // cancelled
    ASSERT_EQ(rig.dialogs.fileDialogs.size(), 1u);
    const Dialogs::FileDialog& d = rig.dialogs.fileDialogs[0];
    EXPECT_EQ(d.title, QStringLiteral("Save Favourites"));
    EXPECT_EQ(d.prompt, QStringLiteral("Enter a name for your favourites file"));
    EXPECT_EQ(d.suggestedName, QStringLiteral("MyFavourites.qvf"));
    EXPECT_EQ(d.initialFolder, rig.prefsDir.path());
    EXPECT_EQ(d.filter, QStringLiteral("Velto Favourites (*.qvf)"));
    EXPECT_EQ(rig->App.favsName, kDefault);
    EXPECT_EQ(QDir(rig.prefsDir.path()).entryList(QDir::Files), QStringList());

    const QString chosen = rig.prefPath(QStringLiteral("MyFavourites.qvf"));
    rig.dialogs.files.push_back(chosen);
    rig->_SaveAs_Action();
    EXPECT_EQ(rig->App.favsName, chosen);
    EXPECT_EQ(rig->window.title(), title);
    const QString one = QStringLiteral(";firmware=0\nPulse----,30,180,10,1,Pulse,,,,,L\n");
    EXPECT_EQ(readText(chosen), one);

    rig->createNewFav.push();
    EXPECT_TRUE(rig->_saveAll_Action());
    EXPECT_EQ(readText(chosen), one + QStringLiteral("Pulse----,30,180,10,1,Pulse,,,,,L\n"));
    EXPECT_TRUE(QFileInfo::exists(rig.prefPath(QStringLiteral("veltorandom.ini"))));
    EXPECT_FALSE(QFileInfo::exists(rig.prefPath(kDefault)));
}
