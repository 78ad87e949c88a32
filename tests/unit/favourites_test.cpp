// The favourites store: adding, editing and deleting rows, the file format with its reader and
// writer, the menus, and the all-or-nothing save.

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include "support/rig.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

const QString kDefault = u"veltofavourites.ini"_s;

/// The eleven cells of each row, with column 4 given as its check state.
QStringList rowsOf(const Listbox& list) {
    QStringList rows;
    for (int r = 0; r < list.listCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < 11; ++c)
            cells.append(c == 4 ? QString::number(list.cellState(r, 4)) : list.cell(r, c));
        rows.append(cells.join(u','));
    }
    return rows;
}

/// Rows from lines of cells; column 4 is given as the check state.
void addRows(Listbox& list, const QStringList& lines, QChar sep = u',') {
    for (const QString& line : lines) {
        const QStringList f = line.split(sep);
        list.setCellState(list.addRow(f), 4, f.value(4).toInt());
    }
}

bool outOfBoundsReported(const Rig& rig) {
    return rig.boundary.reports().size() == 1 && rig.boundary.reports()[0].contains("OutOfBounds");
}

QStringList filesIn(const Rig& rig) {
    return QDir(rig.prefsDir.path()).entryList(QDir::Files | QDir::Hidden);
}

}  // namespace

TEST(Favourites, AddFavouriteStoresTheLiveSettings) {
    const struct {
        int a, b, c, d, mode;
        RadioButton MainApp::*power;
        bool remote;
        const char* row;
    } cases[] = {
        {40, 40, 50, 50, 0, &MainApp::powerLo, false, "Pulse-40-40-50-50,30,180,10,1,Pulse,40,40,50,50,L"},
        {51, 0, 2, 100, 13, &MainApp::powerHi, false, "Training-51-0-2-100,60,180,10,1,Training,51,0,2,100,H"},
        {50, 50, 9, 9, 3, &MainApp::powerDynamic, false, "Asplit-50-50-9-9,30,180,10,1,Asplit,50,50,9,9,L"},
        {0, 51, 20, 30, 6, &MainApp::powerHi, true, "R-Waterfall-0-51-20-30,60,180,10,1,Waterfall,0,51,20,30,H"},
    };
    for (const auto& k : cases) {
        Rig rig;
        rig.open();
        MainApp& app = *rig;
        app.channelA.setValue(k.a), app.channelB.setValue(k.b);
        app.channelC.setValue(k.c), app.channelD.setValue(k.d);
        app.ModeControl.setListIndex(k.mode);
        (app.*k.power).setValue(true);
        k.remote ? app.storeCurrentSettings(true) : app.saveCurrent.push();
        EXPECT_EQ(rowsOf(app.favsList), QStringList{k.row});
        EXPECT_EQ(app.favsList.lastIndex(), 0);
    }
    // The name is taken from the labels as shown, the level cells from the sliders.
    Rig rig;
    rig->channelA.setValue(30);
    rig->settingA.setText("31");
    rig->storeCurrentSettings(false);
    EXPECT_EQ(rowsOf(rig->favsList), QStringList{"Pulse-31-0-50-50,30,180,10,1,Pulse,30,0,50,50,L"});
}

TEST(Favourites, ModeNamesFollowTheTablesNotTheControls) {
    // The Edit tab's 14 rows against the firmware's table: from 2119 on, one row behind.
    const struct {
        qint64 firmware;
        int row;
        const char* stored;
    } cases[] = {{2106, 3, "Asplit"}, {2106, 13, "Training"}, {2119, 2, "Continuous"},
                 {2119, 3, "Intense"}, {2119, 13, "Step"}};
    for (const auto& k : cases) {
        Rig r;
        r->firmwareVersion = k.firmware;
        r->selectMode.setListIndex(k.row);
        r->createNewFav.push();
        EXPECT_EQ(r->favsList.cell(0, 5), k.stored) << k.firmware << " " << k.row;
        EXPECT_TRUE(r->favsList.cell(0, 0).startsWith(k.stored + u"-"_s));
    }

    // On a newer box "Intense" in the popup stores the older table's name at its index, and
    // the last row, past that table, fails.
    Rig box;
    box.box().setFirmware("2.119");
    box.connect();
    box.advance(3000);
    box->ModeControl.setListIndex(3);
    box->saveCurrent.push();
    EXPECT_EQ(box->favsList.cell(0, 5), "Asplit");
    box->ModeControl.setListIndex(14);
    box->saveCurrent.push();
    EXPECT_TRUE(outOfBoundsReported(box));
    EXPECT_EQ(box->favsList.listCount(), 1);
}

TEST(Favourites, CreateNewFavTakesTheEditFieldsAsTheyStandAndTheSpinnersStepThem) {
    Rig rig;
    MainApp& app = *rig;
    app.newA.setText("51abc"), app.newB.setText(""), app.newC.setText(" 7"), app.newD.setText("x");
    app.newPower.setListIndex(1);
    app.createNewFav.push();
    app.newA.setText("50"), app.newB.setText("50.5");
    app.newPower.setListIndex(0);
    app.selectMode.setListIndex(9);
    app.createNewFav.push();
    EXPECT_EQ(rowsOf(app.favsList), QStringList({"Pulse-51abc-- 7-x,60,180,10,1,Pulse,51abc,, 7,x,H",
                                                 "Throb-50-50.5- 7-x,60,180,10,1,Throb,50,50.5, 7,x,L"}));
    EXPECT_EQ(app.favsList.lastIndex(), 1);

    // The spinners step between 0 and 99, each its own field only.
    const struct {
        const char* before;
        bool up;
        const char* after;
    } cases[] = {{"", true, "1"},     {"99", true, "99"}, {"150", true, "99"}, {"2.5", true, "3.5"},
                 {"5", false, "4"},   {"0", false, "0"},  {"0.5", false, "-0.5"}};
    TextField* fields[] = {&app.newA, &app.newB, &app.newC, &app.newD};
    UpDownArrows* arrows[] = {&app.spinnerA, &app.spinnerB, &app.spinnerC, &app.spinnerD};
    for (int i = 0; i < 4; ++i) {
        for (const auto& k : cases) {
            for (TextField* f : fields) f->setText("7");
            fields[i]->setText(k.before);
            k.up ? arrows[i]->up() : arrows[i]->down();
            QStringList texts, expected{"7", "7", "7", "7"};
            for (TextField* f : fields) texts << f->text();
            expected[i] = k.after;
            EXPECT_EQ(texts, expected) << i << " '" << k.before << "' " << k.up;
        }
    }
}

TEST(Favourites, SelectionShowsTheDetailLineAndDeleteRemovesOnlyTheSelectedRow) {
    Rig rig;
    MainApp& app = *rig;
    addRows(app.favsList, {"one,30,180,10,1,Pulse,40,41,50,51,H", "two,30,180,10,0,Wave,1,2,3,4,h",
                           "three,30,180,10,1,Milk,5,6,7,8,L"});
    QStringList shown;
    for (int row : {0, 1, 2}) {
        app.favsList.setListIndex(row);
        shown << app.favInfo.text();
    }
    EXPECT_EQ(shown, QStringList({"Pulse, high power, A40 B41 C50 D51", "Wave, high power, A1 B2 C3 D4",
                                  "Milk, low power, A5 B6 C7 D8"}));

    app.favsList.setListIndex(1);
    app.deleteSelected.push();
    EXPECT_EQ(rowsOf(app.favsList),
              QStringList({"one,30,180,10,1,Pulse,40,41,50,51,H", "three,30,180,10,1,Milk,5,6,7,8,L"}));
    EXPECT_EQ(app.favsList.listIndex(), -1);
    EXPECT_TRUE(app.favInfo.text().isEmpty());
    // With nothing selected nothing goes, and nothing is said.
    app.deleteSelected.push();
    EXPECT_EQ(app.favsList.listCount(), 2);
    EXPECT_TRUE(rig.dialogs.messages.isEmpty() && rig.boundary.reports().isEmpty());
}

TEST(FavouritesFile, RoundTripAndTheWaysTheReaderDiffersFromTheWriter) {
    Rig rig;
    rig->firmwareVersion = 2106;
    addRows(rig->favsList, {"Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L", "slow one,5,6,7,0,Wave,1,2,3,4,H",
                            "Mixed,30,180,10,2,Milk,5,6,7,8,L"});
    addRows(rig->favsList, {"Left,right|30|180|10|1|Step|9|9|9|9|L"}, u'|');  // a comma in the name
    rig->saveFavourites();
    const QString written =
        u";firmware=2106\nPulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L\nslow one,5,6,7,0,Wave,1,2,3,4,H\n"
        "Mixed,30,180,10,2,Milk,5,6,7,8,L\nLeft,right,30,180,10,1,Step,9,9,9,9,L\n"_s;
    EXPECT_EQ(readText(rig.prefPath(kDefault)), written);

    // Read back at start-up, on a box with other firmware: the header changes nothing; the
    // mixed state comes back unticked and the comma moves every later field along.
    Rig again;
    again.writePref(kDefault, written);
    again->firmwareVersion = 2119;
    again.boundary.run([&] { again.open(); });
    EXPECT_TRUE(again.boundary.reports().isEmpty());
    EXPECT_EQ(rowsOf(again->favsList),
              QStringList({"Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L", "slow one,5,6,7,0,Wave,1,2,3,4,H",
                           "Mixed,30,180,10,0,Milk,5,6,7,8,L", "Left,right,30,180,0,1,Step,9,9,9,9"}));
    EXPECT_EQ(again->favsList.lastIndex(), 3);
    EXPECT_EQ(again->App.favsName, kDefault);
    EXPECT_EQ(again->firmwareVersion, 2119);

    // The header counts anywhere, in any case; fields past the eleventh are ignored.
    Rig third;
    third.writePref(kDefault, u"a,1,2,3,1,Pulse,1,2,3,4,L,extra,more\n;FIRMWARE=9999\n"
                              ";Firmware\nb,1,2,3,true,Wave,5,6,7,8,H\n"_s);
    third.boundary.run([&] { third.open(); });
    EXPECT_TRUE(third.boundary.reports().isEmpty());
    EXPECT_EQ(rowsOf(third->favsList), QStringList({"a,1,2,3,1,Pulse,1,2,3,4,L", "b,1,2,3,0,Wave,5,6,7,8,H"}));
}

TEST(FavouritesFile, ShortLinesFailThroughTheBoundaryAndTheRowsReadSoFarStay) {
    const struct {
        const char *content, *rows;  // rows kept, joined by "|"
        bool fails;
    } cases[] = {
        {"", "", true},  // an empty file is one empty line
        {"a,1,2,3,1,Pulse,1,2,3,4,L\nb,1,2\n", "a,1,2,3,1,Pulse,1,2,3,4,L", true},
        // The row is added from its first four fields before the rest are read.
        {"b,1,2,3\n", "b,1,2,3,0,,,,,,", true},
        {"c,1,2,3,1,Wave,5,6\nd,1,2,3,1,Pulse,1,2,3,4,L\n", "c,1,2,3,1,Wave,5,6,,,", true},
        {"e,1,2,3,1,Pulse,1,2,3,4,L", "e,1,2,3,1,Pulse,1,2,3,4,L", false},  // no final line end
    };
    for (const auto& k : cases) {
        Rig rig;
        rig.writePref(kDefault, k.content);
        rig.boundary.run([&] { rig.open(); });
        EXPECT_EQ(rowsOf(rig->favsList).join(u'|'), k.rows) << k.content;
        EXPECT_EQ(outOfBoundsReported(rig), k.fails) << k.content;
    }
    // The reader lets other events run after each line.
    Rig rig;
    rig.writePref(kDefault, u"a,1,2,3,1,Pulse,1,2,3,4,L\nb,1,2,3,1,Pulse,1,2,3,4,L\n"_s);
    std::vector<int> seen;
    rig.clock.post(0, [&] { seen.push_back(rig->favsList.listCount()); });
    rig->readFavourites(rig.prefPath(kDefault));
    EXPECT_EQ(seen, std::vector<int>{1});
    EXPECT_EQ(rig->favsList.listCount(), 2);
}

TEST(FavouritesFile, SaveFollowsLastIndexAndIsAllOrNothing) {
    {  // No Preferences folder: nothing to save to.
        Rig rig(false);
        rig.open();
        rig->createNewFav.push();
        rig->saveFavourites();
        EXPECT_TRUE(rig.boundary.reports().isEmpty());
        EXPECT_EQ(filesIn(rig), QStringList());
    }
    // The old file stays whole, with no temporary left beside it, when the walk fails: every row
    // deleted after one was read (the visit to row 0 fails), or rows taken away as it yields.
    const QString old = u"a,1,2,3,1,Pulse,1,2,3,4,L\n"_s;
    for (const bool midway : {false, true}) {
        Rig rig;
        rig.writePref(kDefault, old);
        if (midway) {
            addRows(rig->favsList, {"a,1,2,3,1,Pulse,1,2,3,4,L", "b,1,2,3,1,Pulse,1,2,3,4,L"});
            rig.clock.post(0, [&] { rig->favsList.deleteAllRows(); });
        } else {
            rig.open();
            rig->favsList.setListIndex(0);
            rig->deleteSelected.push();
        }
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(outOfBoundsReported(rig)) << midway;
        EXPECT_EQ(readText(rig.prefPath(kDefault)), old);
        EXPECT_EQ(filesIn(rig), QStringList{kDefault});
    }
    {  // A folder that is gone: nothing is made, nothing is said.
        Rig rig;
        rig->App.favsName = rig.prefPath("gone/mine.qvf");
        rig->createNewFav.push();
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(rig.boundary.reports().isEmpty() && rig.dialogs.messages.isEmpty());
        EXPECT_FALSE(QFileInfo::exists(rig.prefPath("gone")));
    }
}

TEST(FavouritesFile, RemoteRowsStayOutOfTheFileAndTheirNeighboursKeepTheirOrder) {
    Rig rig;
    addRows(rig->favsList, {"c,1,2,3,1,Pulse,1,2,3,4,L", "R-far,1,2,3,1,Wave,1,2,3,4,H", "a,1,2,3,0,Milk,1,2,3,4,L",
                            "R-far2,1,2,3,1,Step,1,2,3,4,L", "b,1,2,3,1,Throb,1,2,3,4,L"});
    rig->favsList.setRowTag(1, u"remote"_s);
    rig->favsList.setRowTag(3, u"remote"_s);
    rig->favsList.moveRow(4, 0);  // dragged to the top
    rig->saveFavourites();
    EXPECT_EQ(readText(rig.prefPath(kDefault)),
              ";firmware=0\nb,1,2,3,1,Throb,1,2,3,4,L\nc,1,2,3,1,Pulse,1,2,3,4,L\na,1,2,3,0,Milk,1,2,3,4,L\n");
    EXPECT_EQ(rig->favsList.listCount(), 5);
}

TEST(FavouritesMenus, OpenReplacesTheListOnlyForAFileThatExists) {
    Rig rig;
    rig.writePref(kDefault, "start,1,2,3,1,Pulse,1,2,3,4,L\n");
    rig.writePref("mine.qvf", ";firmware=2106\nmine,1,2,3,1,Wave,5,6,7,8,H\n");
    rig->createNewFav.push();
    rig.open();  // start-up appends to what the list already holds
    ASSERT_EQ(rig->favsList.listCount(), 2);
    const QString title = u"Velto Control/Server for OS X"_s;

    EXPECT_TRUE(rig->_openFavs_Action());  // cancelled: nothing changes
    ASSERT_EQ(rig.dialogs.fileDialogs.size(), 1u);
    const Dialogs::FileDialog& d = rig.dialogs.fileDialogs[0];
    EXPECT_EQ(QStringList({d.title, d.prompt, d.initialFolder, d.filter}),
              QStringList({"Load favourites file", "Select a favourites file (.qvf) to load", rig.prefsDir.path(),
                           "Velto Favourites (*.qvf)"}));
    EXPECT_EQ(rig->favsList.listCount(), 2);
    EXPECT_EQ(rig->App.favsName, kDefault);
    EXPECT_EQ(rig->window.title(), title);

    const QString mine = rig.prefPath("mine.qvf");
    rig.dialogs.files.push_back(mine);
    rig->_openFavs_Action();
    EXPECT_EQ(rowsOf(rig->favsList), QStringList{"mine,1,2,3,1,Wave,5,6,7,8,H"});
    EXPECT_EQ(rig->App.favsName, mine);
    EXPECT_EQ(rig->window.title(), title + u" - mine.qvf"_s);

    // A name that is not there keeps the list, but is taken as the file; a save creates it.
    const QString later = rig.prefPath("later.qvf");
    rig.dialogs.files.push_back(later);
    rig->_openFavs_Action();
    EXPECT_EQ(rig->favsList.listCount(), 1);
    EXPECT_EQ(rig->window.title(), title + u" - later.qvf"_s);
    rig->saveFavourites();
    EXPECT_EQ(readText(later), ";firmware=0\nmine,1,2,3,1,Wave,5,6,7,8,H\n");
    EXPECT_EQ(readText(rig.prefPath(kDefault)), "start,1,2,3,1,Pulse,1,2,3,4,L\n");
}

TEST(FavouritesMenus, SaveAsTakesTheNewNameAndSaveWritesBothFiles) {
    Rig rig;
    rig.open();
    const QString title = rig->window.title();
    EXPECT_TRUE(rig->_SaveAs_Action());  // cancelled
    ASSERT_EQ(rig.dialogs.fileDialogs.size(), 1u);
    const Dialogs::FileDialog& d = rig.dialogs.fileDialogs[0];
    EXPECT_EQ(QStringList({d.title, d.prompt, d.suggestedName, d.initialFolder, d.filter}),
              QStringList({"Save Favourites", "Enter a name for your favourites file", "MyFavourites.qvf",
                           rig.prefsDir.path(), "Velto Favourites (*.qvf)"}));
    EXPECT_EQ(rig->App.favsName, kDefault);

    // With nothing added (and no file read) the new name is taken and nothing written.
    const QString chosen = rig.prefPath("MyFavourites.qvf");
    rig.dialogs.files.push_back(chosen);
    rig->_SaveAs_Action();
    EXPECT_EQ(rig->App.favsName, chosen);
    EXPECT_EQ(rig->window.title(), title);
    EXPECT_EQ(filesIn(rig), QStringList());
    rig->createNewFav.push();
    rig.dialogs.files.push_back(chosen);
    rig->_SaveAs_Action();
    const QString one = u";firmware=0\nPulse----,30,180,10,1,Pulse,,,,,L\n"_s;
    EXPECT_EQ(readText(chosen), one);

    rig->createNewFav.push();
    EXPECT_TRUE(rig->_saveAll_Action());
    EXPECT_EQ(readText(chosen), one + u"Pulse----,30,180,10,1,Pulse,,,,,L\n"_s);
    EXPECT_TRUE(QFileInfo::exists(rig.prefPath("veltorandom.ini")));
    EXPECT_FALSE(QFileInfo::exists(rig.prefPath(kDefault)));
}
