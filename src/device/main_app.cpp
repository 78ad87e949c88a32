#include "device/main_app.h"

#include "platform/text.h"

namespace velto {

QStringList MainApp::modeRows() {
    return {QStringLiteral("Pulse"),  QStringLiteral("Bounce"),    QStringLiteral("Continuous"),
            QStringLiteral("A Split"), QStringLiteral("B Split"),  QStringLiteral("Wave"),
            QStringLiteral("Waterfall"), QStringLiteral("Squeeze"), QStringLiteral("Milk"),
            QStringLiteral("Throb"),  QStringLiteral("Thrust"),    QStringLiteral("Random"),
            QStringLiteral("Step"),   QStringLiteral("Training")};
}

MainApp::MainApp(Platform& platform)
    : watchDog(platform.clock, QStringLiteral("watchDog"), 2500, Timer::Multiple),
      slaveIdle(platform.clock, QStringLiteral("slaveIdle"), 600000, Timer::Off),
      randomTimer(platform.clock, QStringLiteral("randomTimer"), 1000, Timer::Off),
      loopTimer(platform.clock, QStringLiteral("loopTimer"), 3600000, Timer::Off),
      moveTimer(platform.clock, QStringLiteral("moveTimer"), 1000, Timer::Off),
      rampTimer(platform.clock, QStringLiteral("rampTimer"), 1000, Timer::Multiple),
      runTimer(platform.clock, QStringLiteral("runTimer"), 1000, Timer::Multiple),
      seqTimer(platform.clock, QStringLiteral("seqTimer"), 200, Timer::Multiple),
      captionTimer(platform.clock, QStringLiteral("captionTimer"), 20000, Timer::Off),
      elapsedTimer(platform.clock, QStringLiteral("elapsedTimer"), 1000, Timer::Off),
      rampDown(platform.clock, QStringLiteral("rampDown"), 1000, Timer::Off),
      adtimer(platform.clock, QStringLiteral("adtimer"), 1000, Timer::Off),
      velto(platform.serial),
      remoteControl(platform.remoteControl),
      brokerSocket(platform.brokerSocket),
      connectSocket(platform.connectSocket),
      advertising(platform.advertising),
      requestWait(platform.clock, QStringLiteral("requestWait"), kRequestWaitMs, Timer::Off),
      activityLog(platform.clock),
      p_(platform) {
    platform.clock.setBoundary(&platform.boundary);
    wireTimers();
    wireSockets();
    wireControls();
    velto.setBaudRate(9600);
    remoteControl.port = 7846;
    advertising.port = 37846;
    advertising.routerHops = 32;
    advertising.sendToSelf = false;
    window.setTitle(QString::fromLatin1(kTitle));
    window.setVisible(true);
    // Auto power needs firmware 2.119; until a box has answered, the firmware is 0.
    powerDynamic.setEnabled(firmwareVersion >= 2119);
}

MainApp::~MainApp() {
    // The platform's objects outlive this one: leave no callback into a dead controller.
    velto.onDataAvailable = nullptr;
    velto.onError = nullptr;
    for (TcpSocket* s : std::initializer_list<TcpSocket*>{&remoteControl, &brokerSocket, &connectSocket}) {
        s->onConnected = nullptr;
        s->onDataAvailable = nullptr;
        s->onError = nullptr;
    }
    brokerSocket.onTlsError = nullptr;
    connectSocket.onTlsError = nullptr;
    advertising.onDataAvailable = nullptr;
}

void MainApp::wireTimers() {
    watchDog.action = [this] { watchDog_Action(); };
    slaveIdle.action = [this] { slaveIdle_Action(); };
    elapsedTimer.action = [this] { elapsedTimer_Action(); };
    captionTimer.action = [this] { captionTimer_Action(); };
}

void MainApp::wireSockets() {
    ExceptionBoundary& b = p_.boundary;
    velto.onDataAvailable = b.wrap([this] { velto_DataAvailable(); });
    velto.onError = b.wrap([this] { velto_Error(); });
}

void MainApp::wireControls() {
    ExceptionBoundary& b = p_.boundary;
    // Every control event runs through the boundary, as the framework's dispatch did.
    auto on = [&b](Signal<>& event, std::function<void()> handler) {
        event.connect(b.wrap(std::move(handler)));
    };
    on(Connect.action, [this] { Connect_Action(); });
    on(Reset.action, [this] { Reset_Action(); });
    on(allStop.action, [this] { allStop_Action(); });
    on(halt.action, [this] { halt_Action(); });

    on(ModeControl.change, [this] { ModeControl_Change(); });
    on(channelA.valueChanged, [this] {
        SourceScope source(*this, CommandSource::Slider);
        channelA_ValueChanged();
    });
    on(channelB.valueChanged, [this] {
        SourceScope source(*this, CommandSource::Slider);
        channelB_ValueChanged();
    });
    on(channelC.valueChanged, [this] { channelC_ValueChanged(); });
    on(channelD.valueChanged, [this] { channelD_ValueChanged(); });
    auto step = [this](void (MainApp::*handler)()) {
        return [this, handler] {
            SourceScope source(*this, CommandSource::Step);
            (this->*handler)();
        };
    };
    on(aPlus.action, step(&MainApp::aPlus_Action));
    on(aMinus.action, step(&MainApp::aMinus_Action));
    on(bPlus.action, step(&MainApp::bPlus_Action));
    on(bMinus.action, step(&MainApp::bMinus_Action));
    on(cPlus.action, [this] { cPlus_Action(); });
    on(cMinus.action, [this] { cMinus_Action(); });
    on(dPlus.action, [this] { dPlus_Action(); });
    on(dMinus.action, [this] { dMinus_Action(); });
    on(powerHi.action, [this] { powerHi_Action(); });
    on(powerLo.action, [this] { powerLo_Action(); });
    on(powerDynamic.action, [this] { powerDynamic_Action(); });
    on(joinChannels.action, [this] { joinChannels_Action(); });

    on(activityLog.window.closed, [this] { activityLog_Close(); });
    wireFavourites();
    wireAbout();
    wirePlayback();
    wireRemote();
    wirePrefsWindow();
    wireBroker();
    wireMessages();
    wireConnectService();
    AddMenuHandlers();

    // The sliders' Open events: the created ranges and page steps are replaced here.
    channelA_Open();
    channelB_Open();
    channelC_Open();
    channelD_Open();
    setHelpTags();
}

// ---- Connect, reset, stop ------------------------------------------------------------------

void MainApp::Connect_Action() {
    advancedRemote = false;

    if (!same(systemMode, QStringLiteral("master"))) {
        velto.setPortName(serialPortName);
        velto.close();
        highSpeedEnabled = false;
        if (velto.open()) {
            velto.write(QByteArrayLiteral("\r"));
            velto.xmitWait();
            watchDog.setEnabled(true);
            awaitingBox = false;
        } else {
            p_.dialogs.message(QStringLiteral("Unable to connect"));
            if (reopenGoneBox) {
                // A box server started before its box is plugged in takes it when it comes.
                awaitingBox = true;
                watchDog.setEnabled(true);
                log(QStringLiteral("No box on ") + serialPortName +
                    QStringLiteral(" yet: it is opened when it is there"));
            }
        }
    }

    if (remoteControl.isConnected() && same(systemMode, QStringLiteral("solo")))
        remoteControl.disconnect();

    if (same(systemMode, QStringLiteral("slave"))) {
        if (!useBroker) {
            remoteControl.port = remotePort;
            overrideTimeout = false;
            if (httpSlave) httpResponse = true;
            if (listenForPeer()) {
                adtimer.setPeriod(5000);
                adtimer.setMode(Timer::Multiple);
                localAddr.setText(QStringLiteral("Address: ") + remoteControl.localAddress());
                if (httpSlave) localAddr.setText(localAddr.text() + QStringLiteral(" (HTTP mode)"));
                logIf(localAddr.text() + QStringLiteral("\r\n"));
            } else {
                // No address to give out, nor to advertise, until a Connect can listen.
                adtimer.setMode(Timer::Off);
                localAddr.setText({});
            }
        } else {
            logIf(QStringLiteral("Connecting to broker\r\n"));
            if (brokerSocket.isConnected()) {
                brokerSocket.disconnect();
                hostInfo.setText({});
                brokerConnected = false;
            }
            startBroker(true);
        }
    }

    if (same(systemMode, QStringLiteral("master"))) {
        if (!useBroker) {
            remoteControl.address = remoteHostname;
            remoteControl.port = remotePort;
            remoteControl.connect();
        } else {
            logIf(QStringLiteral("Connecting to broker\r\n"));
            if (brokerSocket.isConnected()) {
                brokerSocket.disconnect();
                brokerConnected = false;
            }
            startBroker(false);
        }
    }

    serveWebPage();
}

void MainApp::Reset_Action() { sendStimData(QStringLiteral("E")); }

void MainApp::allStop_Action() {
    overrideTimeout = false;
    sendStimData(QStringLiteral("K"));
    if (window.visible()) playbackStop.push();
}

void MainApp::halt_Action() { resetAll(); }

void MainApp::resetAll() {
    loopMode = false;
    randomPlay = false;
    randomSequence.clear();
    randomTimer.setMode(Timer::Off);
    randomStatus.setText(QStringLiteral("Stopped"));
    randMode.setText({});
    manualControl = true;
    overrideTimeout = false;
    sequenceTicks = 0;
    seqTimer.setMode(Timer::Off);
    runTimer.setMode(Timer::Off);
    rampTimer.setMode(Timer::Off);
    moveTimer.setMode(Timer::Off);
    loopTimer.setMode(Timer::Off);
    rampStep = 1;
    cmdSequence.clear();
    stimSequence.clear();
    logIf(QStringLiteral("Mode change: timers reset"));
}

// ---- Timers of the session -----------------------------------------------------------------

void MainApp::watchDog_Action() {
    if (same(systemMode, QStringLiteral("master"))) return;
    if (!velto.isOpen()) {
        if (reopenGoneBox) reopenBox();
        return;
    }
    // Straight to the port: not a command, so lastCommand and the clock are left alone.
    velto.write(QByteArrayLiteral("V\r"));
    velto.xmitWait();
}

void MainApp::slaveIdle_Action() {
    sendStimData(QStringLiteral("K"));
    errText.setText(QStringLiteral("Slave mode timeout"));
    playbackStop.push();
    logIf(QStringLiteral("Slave mode timeout\r\n"));
}

void MainApp::elapsedTimer_Action() {
    if (channelA.value() >= 1 || channelB.value() >= 1) ++elapsedTime;
    if (channelA.value() == 0 && channelB.value() == 0)
        tickCounter.setText(QStringLiteral("OFF"));
    else if (elapsedTime > 60)
        tickCounter.setText(Str(elapsedTime / 60) + QLatin1Char('m') + Str(elapsedTime % 60));
    else
        tickCounter.setText(Str(elapsedTime) + QLatin1Char('s'));
}

bool MainApp::tickCounter_MouseDown() {
    p_.dialogs.message(QStringLiteral("Clicky click"));
    // The modes are read and then not used; the timers simply stay stopped.
    [[maybe_unused]] const int loopWas = loopTimer.mode();
    [[maybe_unused]] const int seqWas = seqTimer.mode();
    [[maybe_unused]] const int rampWas = rampTimer.mode();
    loopTimer.setMode(Timer::Off);
    seqTimer.setMode(Timer::Off);
    rampTimer.setMode(Timer::Off);
    return false;
}

void MainApp::Event_Activate() { modeLabel.setText(QStringLiteral("Mode: ") + systemMode); }

}  // namespace velto
