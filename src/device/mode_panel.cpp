// The front panel of the box: sliders, plus and minus, power, join, and the mode popup with its
// captions and diagram. Each user action is one command; a change made by statusRefresh
// (systemRefresh set) sends nothing.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {

struct ModeFace {
    const char* cLabel;
    const char* dLabel;
    const char* picture;
};

// By index on firmware below 2.119; the newer family has "Intense" at 3 and the rest moved up.
constexpr ModeFace kOlder[] = {
    {"Pulse speed", "Pulse feel", "pulse"},     {"Pulse speed", "Pulse feel", "bounce"},
    {"Pulse feel", "n/a", "continuous"},        {"Pulse speed", "Pulse feel", "split"},
    {"Pulse speed", "Pulse feel", "split"},     {"Rate change", "Pulse feel", "wave"},
    {"Rate change", "Pulse feel", "waterfall"}, {"Pulse speed", "Pulse feel", "squeeze"},
    {"Pulse speed", "Pulse feel", "milk"},      {"Throb range", "n/a", "throb"},
    {"Thrust range", "n/a", "thrust"},          {"Randomness", "Pulse feel", "blank"},
    {"Step range", "Pulse feel", "blank"},      {"Jump range", "Pulse feel", "blank"},
};
constexpr ModeFace kIntense = {"Pulse feel", "n/a", "continuous"};

}  // namespace

void MainApp::ModeControl_Change() {
    newMode = ModeControl.listIndex();
    if (!systemRefresh) sendStimData(QStringLiteral("M") + Str(newMode));
    showModeLabels(newMode);
}

void MainApp::showModeLabels(qint64 index) {
    const qint64 count = static_cast<qint64>(std::size(kOlder));
    const ModeFace* face = nullptr;
    if (firmwareVersion < 2119) {
        if (index >= 0 && index < count) face = &kOlder[index];
    } else if (index == 3) {
        face = &kIntense;
    } else if (index >= 0 && index <= count) {
        face = &kOlder[index < 3 ? index : index - 1];
    }
    if (!face) return;
    cLabel.setText(QString::fromLatin1(face->cLabel));
    dLabel.setText(QString::fromLatin1(face->dLabel));
    QString picture = QString::fromLatin1(face->picture);
    // The newer branch asks for Squeeze at 7, where neither it nor Milk stands: so index 8
    // (Squeeze there) shows the milk picture too. Kept as it is.
    if (firmwareVersion >= 2119 && index == 8) picture = QStringLiteral("milk");
    waveDiag.setBackdrop(picture);
}

void MainApp::channelA_ValueChanged() { levelChanged(QStringLiteral("A"), channelA, settingA); }
void MainApp::channelB_ValueChanged() { levelChanged(QStringLiteral("B"), channelB, settingB); }
void MainApp::channelC_ValueChanged() { levelChanged(QStringLiteral("C"), channelC, settingC); }
void MainApp::channelD_ValueChanged() { levelChanged(QStringLiteral("D"), channelD, settingD); }

void MainApp::levelChanged(const QString& letter, const Slider& slider, Label& number) {
    if (!systemRefresh) sendStimData(letter + Str(qint64(slider.value())));
    number.setText(Str(qint64(slider.value())));
}

void MainApp::channelA_Open() {
    channelA.setMinimum(0);
    channelA.setMaximum(100);
    channelA.setPageStep(3);
}

void MainApp::channelB_Open() {
    channelB.setMinimum(0);
    channelB.setMaximum(100);
    channelB.setPageStep(3);
}

void MainApp::channelC_Open() {
    channelC.setMinimum(2);
    channelC.setMaximum(100);
    channelC.setPageStep(5);
}

void MainApp::channelD_Open() {
    channelD.setMinimum(2);
    channelD.setMaximum(100);
    channelD.setPageStep(5);
}

void MainApp::aPlus_Action() { channelA.setValue(channelA.value() + 1); }
void MainApp::aMinus_Action() { channelA.setValue(channelA.value() - 1); }
void MainApp::bPlus_Action() { channelB.setValue(channelB.value() + 1); }
void MainApp::bMinus_Action() { channelB.setValue(channelB.value() - 1); }
void MainApp::cPlus_Action() { channelC.setValue(channelC.value() + 1); }
void MainApp::cMinus_Action() { channelC.setValue(channelC.value() - 1); }
void MainApp::dPlus_Action() { channelD.setValue(channelD.value() + 1); }
void MainApp::dMinus_Action() { channelD.setValue(channelD.value() - 1); }

void MainApp::powerHi_Action() {
    if (!systemRefresh) sendStimData(QStringLiteral("H"));
}

void MainApp::powerLo_Action() {
    if (!systemRefresh) sendStimData(QStringLiteral("L"));
}

void MainApp::powerDynamic_Action() {
    if (!systemRefresh) sendStimData(QStringLiteral("Y"));
}

void MainApp::joinChannels_Action() {
    // No systemRefresh test: a reply that ticks the box echoes it to the device, harmlessly.
    if (firmwareVersion > 2104)
        sendStimData(joinChannels.value() ? QStringLiteral("J1") : QStringLiteral("J0"));
}

}  // namespace velto
