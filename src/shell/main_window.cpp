// The main window's fixed texts, and the toggling of the activity log.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

const std::vector<std::pair<QString, QString>>& MainApp::staticCaptions() {
    static const std::vector<std::pair<QString, QString>> captions = {
        {QStringLiteral("Label1"), QStringLiteral("Select mode")},
        {QStringLiteral("Label3"), QStringLiteral("Channel A")},
        {QStringLiteral("Label4"), QStringLiteral("Channel B")},
        {QStringLiteral("Label6"), QStringLiteral("Power output")},
        {QStringLiteral("Label7"), QStringLiteral("A")},
        {QStringLiteral("Label8"), QStringLiteral("B")},
        {QStringLiteral("Label9"), QStringLiteral("in")},
        {QStringLiteral("Label10"), QStringLiteral("secs")},
        {QStringLiteral("Label11"), QStringLiteral("to")},
        {QStringLiteral("Label12"), QStringLiteral("to")},
        {QStringLiteral("Label13"), QStringLiteral("B")},
        {QStringLiteral("Label14"), QStringLiteral("A")},
        {QStringLiteral("Label15"), QStringLiteral("from")},
        {QStringLiteral("Label16"), QStringLiteral("from")},
        {QStringLiteral("Label17"), QStringLiteral("Enter values to create a new favourite directly, then click Add")},
        {QStringLiteral("Label19"), QStringLiteral("Outputs")},
        {QStringLiteral("Label18"), QStringLiteral("A")},
        {QStringLiteral("Label5"), QStringLiteral("B")},
        {QStringLiteral("Label22"), QStringLiteral("Settings")},
        {QStringLiteral("Label21"), QStringLiteral("C")},
        {QStringLiteral("Label20"), QStringLiteral("D")},
        {QStringLiteral("Label2"), QStringLiteral("Velto status")},
    };
    return captions;
}

void MainApp::setHelpTags() {
    ModeControl.setHelpTag(QStringLiteral("Power mode. Click to see the available modes for the Velto 2B"));
    Connect.setHelpTag(QStringLiteral("Connect to the Velto unit and reset network connection in Slave or Master mode"));
    channelA.setHelpTag(QStringLiteral("A channel value. Click on the slider to move by 3 steps at a time, or drag to a value"));
    channelB.setHelpTag(QStringLiteral("B channel value. Click on the slider to move by 3 steps at a time, or drag to a value"));
    GroupBox1.setHelpTag(QStringLiteral("Select the power level. Outputs will be reset to zero"));
    channelC.setHelpTag(QStringLiteral("Click on the slider to move five steps at a time, or drag to a value"));
    channelD.setHelpTag(QStringLiteral("Click on the slider to move five steps at a time, or drag to a value"));
    allStop.setHelpTag(QStringLiteral("Reset both channels to zero, and cancel all sequences or random modes"));
    Reset.setHelpTag(QStringLiteral("Reset outputs to 0, power to low, mode to Pulse"));
    aPlus.setHelpTag(QStringLiteral("Increase channel A by 1"));
    aMinus.setHelpTag(QStringLiteral("Decrease channel A by 1"));
    bPlus.setHelpTag(QStringLiteral("Increase channel B by 1"));
    bMinus.setHelpTag(QStringLiteral("Decrease channel B by 1"));
    cPlus.setHelpTag(QStringLiteral("Increase setting C by 1"));
    cMinus.setHelpTag(QStringLiteral("Decrease setting C by 1"));
    dPlus.setHelpTag(QStringLiteral("Increase setting D by 1"));
    dMinus.setHelpTag(QStringLiteral("Decrease setting D by 1"));
    joinChannels.setHelpTag(QStringLiteral("Join channels; when ticked, the + / - buttons affect both channel A and B"));
    adjustA.setHelpTag(QStringLiteral("Enter the new target level for channel A"));
    adjustB.setHelpTag(QStringLiteral("Enter the new target level for channel B"));
    adjustTime.setHelpTag(QStringLiteral("Enter the time taken to change from the current levels to the new ones, in seconds"));
    Adjust.setHelpTag(QStringLiteral("Adjust A and B power levels from the current to the specified settings, taking the number of seconds given (default 30)."));
    halt.setHelpTag(QStringLiteral("Cancel all timers, loops and sequences, leaving outputs at their current level"));
    favsList.setHelpTag(QStringLiteral("Favourites. Click on an entry to change its name or any of the other values. Drag items up and down to change the playback order for sequences"));
    saveCurrent.setHelpTag(QStringLiteral("Add the current Velto settings to the favourites list"));
    gotoSelected.setHelpTag(QStringLiteral("Set the output of the Velto unit to the highlighted favourite, taking Rise seconds to reach the specified power from zero"));
    adjustSelected.setHelpTag(QStringLiteral("Set the power levels of the Velto unit to those of the highlighted favourite, taking Rise seconds, starting from the current levels. Mode and power level will remain unchanged"));
    playSelected.setHelpTag(QStringLiteral("Set the output of the Velto to the selected favourite, taking Rise seconds to reach the power, continuing for Run seconds, then dropping to zero in Fall seconds"));
    deleteSelected.setHelpTag(QStringLiteral("Remove the selected item from the Favourites list"));
    createSequence.setHelpTag(QStringLiteral("Play all the favourites with Seq ticked in turn, for the using the Rise and Run times for each one"));
    playbackStop.setHelpTag(QStringLiteral("Cancel all Play and random sequences, setting Velto outputs to zero"));
    randomStart.setHelpTag(QStringLiteral("Run once through the Favourites with Seq ticked, in random order"));
    randomLoop.setHelpTag(QStringLiteral("Repeatedly loop through the Favourites with Seq ticked, in random order"));
    randomStop.setHelpTag(QStringLiteral("Cancel the random sequence, and set Velto outputs to zero"));
    delayFirst.setHelpTag(QStringLiteral("Wait before starting the random sequence"));
    delayBetween.setHelpTag(QStringLiteral("Wait between each Favourite in the sequence. Specify min and max values; each wait will be random. If unticked, there will be no pause"));
    randomTimes.setHelpTag(QStringLiteral("Specify min and max times for each Favourite to play. A random time will be used for each one. If not ticked, the specified Run time of the Favourite will be used"));
    randomPower.setHelpTag(QStringLiteral("Randomly alter the power output for each Favourite in the sequence by up to 10% of its specified setting (ie, a setting of 50 could change between 45 and 55). Power can do down as well as up. A and B channels are altered independently"));
    loopPower.setHelpTag(QStringLiteral("If ticked, after the first run through a loop, the specified amounts will be added to the power of A and B channels on each subsequent iteration. Random power adjustments, if selected, are made after this amount has been added"));
    loopTimeout.setHelpTag(QStringLiteral("Stop loop mode automatically, when the Favourite that is playing at this time finishes. If not ticked, loop mode continues indefinitely"));
    selectMode.setHelpTag(QStringLiteral("Select program mode for new Favourite"));
    newPower.setHelpTag(QStringLiteral("Select power level for new Favourite"));
    spinnerA.setHelpTag(QStringLiteral("Increase or decrease A channel power for new Favourite"));
    spinnerB.setHelpTag(QStringLiteral("Increase or decrease B channel power for new Favourite"));
    spinnerC.setHelpTag(QStringLiteral("Increase or decrease C setting for new Favourite"));
    spinnerD.setHelpTag(QStringLiteral("Increase or decrease D setting for new Favourite"));
    createNewFav.setHelpTag(QStringLiteral("Add new Favourite to the list, with default times, and Seq ticked"));
}

bool MainApp::_activityToggle_Action() {
    if (serverLogging) {
        activityLog.window.close();
    } else {
        serverLogging = true;
        activityLog.window.show();
    }
    return true;
}

void MainApp::AddMenuHandlers() {
    ExceptionBoundary& b = p_.boundary;
    auto on = [&b](MenuItem& item, const std::function<bool()>& handler) {
        item.action.connect(b.wrap([handler] { handler(); }));
    };
    MenuBar& m = MenuBar1;
    on(m.prefsMenu, [this] { return _prefsMenu_Action(); });
    on(m.activityToggle, [this] { return _activityToggle_Action(); });
    on(m.saveAll, [this] { return _saveAll_Action(); });
    on(m.FileNewmessage, [this] { return _FileNewmessage_Action(); });
    on(m.openStore, [this] { return _openStore_Action(); });
    on(m.SaveAs, [this] { return _SaveAs_Action(); });
    on(m.openFavs, [this] { return _openFavs_Action(); });
    on(m.FileCheckforupdate, [this] { return _FileCheckforupdate_Action(); });
    on(m.aboutVB, [this] { return _aboutVB_Action(); });
    on(m.vbQuit, [this] { return _vbQuit_Action(); });
    on(m.vbRequest, [this] { return _vbRequest_Action(); });
    on(m.vbDisconnect, [this] { return _vbDisconnect_Action(); });
    on(m.vbConnect, [this] { return _vbConnect_Action(); });
    on(m.vbBlock, [this] { return _vbBlock_Action(); });
    on(m.vbManager, [this] { return _vbManager_Action(); });
    on(m.aboutMenu, [this] { return _aboutMenu_Action(); });
    on(m.veltoConnect, [this] { return _veltoConnect_Action(); });
    on(m.disconnect, [this] { return _disconnect_Action(); });
}

bool MainApp::Event_KeyDown(const QString& key) {
    SourceScope source(*this, CommandSource::Step);
    if (key == QLatin1String("\x1b")) {
        // Escape stops everything, whichever control has the focus.
        allStop.push();
    } else if (key == QLatin1String("K") || key == QLatin1String("k")) {
        overrideTimeout = false;
        sendStimData(QStringLiteral("K"));
        if (allStop.visible()) playbackStop.push();
    } else if (key == QLatin1String("+") || key == QLatin1String("U") || key == QLatin1String("u") ||
               key == QLatin1String(">")) {
        channelA.setValue(channelA.value() + 1);
        if (joinChannels.state() == 1) {
            pause(500);
            channelB.setValue(channelB.value() + 1);
        }
    } else if (key == QLatin1String("-") || key == QLatin1String("d") || key == QLatin1String("D") ||
               key == QLatin1String("<")) {
        channelA.setValue(channelA.value() - 1);
        if (joinChannels.state() == 1) {
            pause(500);
            channelB.setValue(channelB.value() - 1);
        }
    } else if (key == QLatin1String("N") || key == QLatin1String("n")) {
        newMode = ModeControl.listIndex() + 1;
        if (newMode == ModeControl.listCount()) newMode = 0;
        if (!systemRefresh) sendStimData(QStringLiteral("M") + Str(newMode));
    }
    return false;
}

void MainApp::Event_EnableMenuItems() {
    MenuBar& m = MenuBar1;
    // Without a Connect Key the broker items keep what the broker session last gave them.
    if (!same(systemMode, QStringLiteral("solo")) && !brokerID.isEmpty() && !brokerPIN.isEmpty() &&
        !veltoKey.isEmpty()) {
        const bool up = brokerSocket.isConnected();
        m.vbConnect.setEnabled(!up);
        m.vbQuit.setEnabled(up);
        m.vbRequest.setEnabled(up && !brokerConnected);
        m.vbDisconnect.setEnabled(up && brokerConnected);
        m.vbBlock.setEnabled(up && brokerConnected && same(systemMode, QStringLiteral("slave")));
    }
    m.disconnect.setEnabled(!veltoKey.isEmpty() && connectSocket.isConnected());
}

bool MainApp::notAvailableYet(const QString& what) {
    p_.dialogs.message(what + QStringLiteral(" is not available yet in this version."));
    return true;
}

bool MainApp::_prefsMenu_Action() {
    prefsWindow.window.show();
    return true;
}

bool MainApp::_openStore_Action() {
    if (p_.browser) p_.browser->open(QString::fromLatin1(kStoreUrl));
    return true;
}

bool MainApp::_aboutVB_Action() {
    if (p_.browser) p_.browser->open(QString::fromLatin1(kServiceAboutUrl));
    return true;
}

void MainApp::activityLog_Close() {
    // The close inverts the flag rather than clearing it; the text goes with the window.
    serverLogging = !serverLogging;
    activityLog.discard();
}

}  // namespace velto
