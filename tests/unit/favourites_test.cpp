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
    return QDir(rig.prefsDir.path())
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

}  // namespace

TEST(Favourites, StoredAndNewFavouritesTheDetailLineDeleteAndTheSpinners) {
    Rig rig;
    rig.open();
    MainApp& app = *rig;
    // With "Intense" in the popup a stored name is the older table's at the index; the last row
    // fails before a row is added. The Edit tab's 14 rows go by the firmware's (2119: one behind).
    app.firmwareVersion = 2119;
    app.ModeControl.insertRow(3, u"Intense"_s);
    const std::tuple<int, int, int, int, int, RadioButton MainApp::*, bool> cases[] = {
        {50, 50, 9, 9, 3, &MainApp::powerDynamic, false},
        {51, 0, 2, 100, 13, &MainApp::powerHi, false},
        {0, 51, 20, 30, 6, &MainApp::powerHi, true},
        {0, 0, 0, 0, 14, &MainApp::powerHi, false}};
    for (const auto& [a, b, c, d, mode, power, remote] : cases) {
        app.channelA.setValue(a), app.channelB.setValue(b);
        app.channelC.setValue(c), app.channelD.setValue(d);
        app.settingD.setText("x");
        app.ModeControl.setListIndex(mode);
        (app.*power).setValue(true);
        remote ? app.storeCurrentSettings(true) : app.saveCurrent.push();
    }
    app.newA.setText("51abc"), app.newB.setText(""), app.newC.setText(" 7"), app.newD.setText("x");
    app.newPower.setListIndex(1);
    app.createNewFav.push();
    app.newA.setText("50"), app.newB.setText("50.5");
    app.newPower.setListIndex(0);
    app.selectMode.setListIndex(9);
    app.createNewFav.push();
    // Rise 60 above 50 on either channel; Dynamic stores as low. A stored name is taken from the
    // labels (D's says "x"), its levels from the sliders; a new one from the fields as they stand.
    EXPECT_EQ(rowsOf(app.favsList),
              QStringList({"Asplit-50-50-9-x,30,180,10,1,Asplit,50,50,9,9,L",
                           "Training-51-0-2-x,60,180,10,1,Training,51,0,2,100,H",
                           "R-Waterfall-0-51-20-x,60,180,10,1,Waterfall,0,51,20,30,H",
                           "Pulse-51abc-- 7-x,60,180,10,1,Pulse,51abc,, 7,x,H",
                           "Milk-50-50.5- 7-x,60,180,10,1,Milk,50,50.5, 7,x,L"}));
    EXPECT_TRUE(outOfBoundsReported(rig));
    // The detail line of the selection, for any case of "H"; Delete removes only that row.
    app.favsList.setCell(3, 10, "h");
    app.favsList.setListIndex(3);
    EXPECT_EQ(app.favInfo.text(), "Pulse, high power, A51abc B C 7 Dx");
    app.favsList.setListIndex(4);
    EXPECT_EQ(app.favInfo.text(), "Milk, low power, A50 B50.5 C 7 Dx");
    app.deleteSelected.push();
    EXPECT_TRUE(app.favsList.listCount() == 4 && app.favsList.cell(3, 5) == "Pulse");
    // The spinners step between 0 and 99, each its own field only.
    TextField* fields[] = {&app.newA, &app.newB, &app.newC, &app.newD};
    UpDownArrows* arrows[] = {&app.spinnerA, &app.spinnerB, &app.spinnerC, &app.spinnerD};
    const std::tuple<int, const char*, bool, const char*> spins[] = {
        {0, "98", true, "99"}, {0, "99", true, "99"}, {1, "0.5", false, "-0.5"},
        {1, "0", false, "0"},  {2, "", true, "1"},    {3, "5", false, "4"}};
    for (const auto& [i, before, up, after] : spins) {
        fields[i]->setText(before);
        up ? arrows[i]->up() : arrows[i]->down();
        EXPECT_EQ(fields[i]->text(), after) << i << " '" << before << "' " << up;
    }
}

TEST(FavouritesFile, RoundTripAndTheWaysTheReaderDiffersFromTheWriter) {
    Rig rig;
    rig->firmwareVersion = 2106;
    addRows(rig->favsList,
            {"slow one,5,6,7,0,Wave,1,2,3,4,H", "R-far,1,2,3,1,Wave,1,2,3,4,H",
             "Mixed,30,180,10,2,Milk,5,6,7,8,L", "Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L"});
    addRows(rig->favsList, {"Left,right|30|180|10|1|Step|9|9|9|9|L"}, u'|');  // a comma in the name
    // A remote row stays out of the file; one dragged to the top is written first.
    rig->favsList.setRowTag(1, u"remote"_s);
    rig->favsList.moveRow(3, 0);
    rig->saveFavourites();
    const QString written =
        u";firmware=2106\nPulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L\n"
        "slow one,5,6,7,0,Wave,1,2,3,4,H\nMixed,30,180,10,2,Milk,5,6,7,8,L\n"
        "Left,right,30,180,10,1,Step,9,9,9,9,L\n"_s;
    EXPECT_EQ(readText(rig.prefPath(kDefault)), written);
    // Read back on other firmware: the header changes nothing, counts anywhere in any case; the
    // mixed state comes back unticked, the comma moves later fields along, past 11 are ignored.
    Rig again;
    again.writePref(kDefault, written +
                                  u"a,1,2,3,1,Pulse,1,2,3,4,L,extra\n;FIRMWARE=9\n"
                                  ";Firmware\nb,1,2,3,true,Wave,5,6,7,8,H\n"_s);
    again->firmwareVersion = 2119;
    again.open();
    EXPECT_EQ(rowsOf(again->favsList),
              QStringList({"Pulse-40-40-0-0,30,180,10,1,Pulse,40,40,0,0,L",
                           "slow one,5,6,7,0,Wave,1,2,3,4,H", "Mixed,30,180,10,0,Milk,5,6,7,8,L",
                           "Left,right,30,180,0,1,Step,9,9,9,9", "a,1,2,3,1,Pulse,1,2,3,4,L",
                           "b,1,2,3,0,Wave,5,6,7,8,H"}));
    EXPECT_EQ(again->firmwareVersion, 2119);
}

TEST(FavouritesFile, ShortLinesFailThroughTheBoundaryAndTheRowsReadSoFarStay) {
    // An empty file is one empty line; a row is added from its first four fields, then the rest.
    for (const auto& [content, rows] :
         {std::pair{"", ""},
          {"a,1,2,3,1,Pulse,1,2,3,4,L\nb,1,2,3\nc,1,2,3,1,Pulse,1,2,3,4,L\n",
           "a,1,2,3,1,Pulse,1,2,3,4,L|b,1,2,3,0,,,,,,"}}) {
        Rig rig;
        rig.writePref(kDefault, content);
        rig.boundary.run([&] { rig.open(); });
        EXPECT_EQ(rowsOf(rig->favsList).join(u'|'), rows) << content;
        EXPECT_TRUE(outOfBoundsReported(rig)) << content;
    }
}

TEST(FavouritesFile, SaveFollowsLastIndexAndIsAllOrNothing) {
    // Nothing to save to, or nothing to save: no file is made, and nothing is said.
    for (const int why : {0, 1, 2}) {  // no Preferences folder, no row ever, a folder gone
        Rig rig(why != 0);
        rig.open();
        if (why != 1) rig->createNewFav.push();
        if (why == 2) rig->App.favsName = rig.prefPath("gone/mine.qvf");
        rig.boundary.run([&] { rig->saveFavourites(); });
        EXPECT_TRUE(rig.boundary.reports().isEmpty() && rig.dialogs.messages.isEmpty()) << why;
        EXPECT_EQ(filesIn(rig), QStringList()) << why;
    }
    // The old file stays whole, with no temporary left beside it, when the walk fails: every row
    // deleted after one was read, the visit to row 0 fails.
    Rig rig;
    const QString old = u"a,1,2,3,1,Pulse,1,2,3,4,L\n"_s;
    rig.writePref(kDefault, old);
    rig.open();
    rig->favsList.setListIndex(0);
    rig->deleteSelected.push();
    rig.boundary.run([&] { rig->saveFavourites(); });
    EXPECT_TRUE(outOfBoundsReported(rig));
    EXPECT_EQ(readText(rig.prefPath(kDefault)), old);
    EXPECT_EQ(filesIn(rig), QStringList{kDefault});
}

TEST(FavouritesMenus, OpenTakesOnlyAFileThatExistsAndSaveAsWritesUnderTheNewName) {
    Rig rig;
    rig.writePref(kDefault, "start,1,2,3,1,Pulse,1,2,3,4,L\n");
    rig.writePref("mine.qvf", ";firmware=2106\nmine,1,2,3,1,Wave,5,6,7,8,H\n");
    rig.open();
    const QString title = rig->window.title();
    // The texts of both dialogs, cancelled.
    EXPECT_TRUE(rig->_openFavs_Action());
    EXPECT_TRUE(rig->_SaveAs_Action());
    ASSERT_EQ(rig.dialogs.fileDialogs.size(), 2u);
    const Dialogs::FileDialog &o = rig.dialogs.fileDialogs[0], &s = rig.dialogs.fileDialogs[1];
    EXPECT_EQ(QStringList({o.title, o.prompt, o.initialFolder, o.filter, s.title, s.prompt,
                           s.suggestedName, s.initialFolder, s.filter}),
              QStringList({"Load favourites file", "Select a favourites file (.qvf) to load",
                           rig.prefsDir.path(), "Velto Favourites (*.qvf)", "Save Favourites",
                           "Enter a name for your favourites file", "MyFavourites.qvf",
                           rig.prefsDir.path(), "Velto Favourites (*.qvf)"}));
    rig.dialogs.files.push_back(rig.prefPath("mine.qvf"));
    rig->_openFavs_Action();
    EXPECT_EQ(rowsOf(rig->favsList), QStringList{"mine,1,2,3,1,Wave,5,6,7,8,H"});
    EXPECT_EQ(rig->window.title(), title + u" - mine.qvf"_s);
    // A name that is not there keeps the list, but is taken as the file; a save creates it.
    rig.dialogs.files.push_back(rig.prefPath("later.qvf"));
    rig->_openFavs_Action();
    rig->saveFavourites();
    const QString mine = u";firmware=0\nmine,1,2,3,1,Wave,5,6,7,8,H\n"_s;
    EXPECT_EQ(readText(rig.prefPath("later.qvf")), mine);
    EXPECT_EQ(readText(rig.prefPath(kDefault)), "start,1,2,3,1,Pulse,1,2,3,4,L\n");
    // Save As writes at once under the new name; Save writes both files.
    const QString chosen = rig.prefPath("MyFavourites.qvf");
    rig.dialogs.files.push_back(chosen);
    rig->_SaveAs_Action();
    EXPECT_EQ(readText(chosen), mine);
    rig->createNewFav.push();
    EXPECT_TRUE(rig->_saveAll_Action());
    EXPECT_EQ(readText(chosen), mine + u"Pulse----,30,180,10,1,Pulse,,,,,L\n"_s);
    EXPECT_TRUE(QFileInfo::exists(rig.prefPath("veltorandom.ini")));
}
