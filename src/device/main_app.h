#pragma once
// MainApp: the main window and the one control object of the program. It owns every property,
// control, timer and socket; all behaviour is its handlers, run one at a time on one thread.
// The state is in the controls: a level is a slider's value, a run state a timer's mode.
//
// The declaration is sectioned by subsystem. Each subsystem's handlers are defined in the file
// of that subsystem: device/ (session, command channel, status decoding, front panel),
// playback/, remote/, services/ and shell/.

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

#include "platform/controls.h"
#include "platform/listbox.h"
#include "platform/platform.h"
#include "platform/timer.h"
#include "shell/activity_log.h"
#include "shell/json_item.h"
#include "shell/menus.h"

namespace velto {

class MainApp {
public:
    static constexpr const char* kVersion = "2.6.1";
    static constexpr const char* kTitle = "Velto Control/Server for OS X";
    static constexpr const char* kFavsDefault = "veltofavourites.ini";

    explicit MainApp(Platform& platform);
    ~MainApp();
    MainApp(const MainApp&) = delete;
    MainApp& operator=(const MainApp&) = delete;

    Platform& platform() { return p_; }

    // ---- The application object --------------------------------------------------------------
    struct Application {
        QString favsName = QString::fromLatin1(kFavsDefault);
    } App;
    /// The application's Open event: timers off, then the settings, favourites and random files.
    void App_Event_Open();

    // ---- Control session: properties, in declaration order -----------------------------------
    qint64 newMode = 0;
    bool systemRefresh = false;
    QString veltoResults;
    QString systemMode = QStringLiteral("solo");
    QString remoteHostname;
    qint64 remotePort = 7846;
    QString serialPortName = QStringLiteral("/dev/tty.usbserial");
    bool httpSlave = false;
    bool httpResponse = false;
    QString lastCommand;
    qint64 slaveTimeout = 600;
    bool remoteChecks = true;
    bool overrideTimeout = false;
    bool showSecondStatus = false;
    qint64 statusCount = 0;
    bool serverLogging = false;
    QString evoCamName;
    bool updateEvocam = false;
    QStringList cmdSequence;
    qint64 sequenceTicks = 0;
    std::vector<qint64> stimSequence;
    qint64 targetA = 0, targetB = 0;
    qint64 rampStep = 10;
    bool seqComplete = false;
    bool continueAfterPlayback = false;
    qint64 fallTime = 10;
    bool randomPlay = false;
    std::vector<qint64> randomSequence;
    qint64 randomIndex = -1;
    bool loopMode = false;
    qint64 loopCount = 0;
    bool terminateLoop = false;
    qint64 startA = 0, startB = 0, diffA = 0, diffB = 0, directionA = 0, directionB = 0;
    qint64 moveStep = 0, moveSteps = 0;
    bool checkResponses = false;
    bool autoAdjust = true;
    qint64 elapsedTime = 0;
    bool manualControl = true;
    QString brokerID;
    QStringList brokerAccept;
    bool brokerConnected = false;
    QString brokerauto;
    QStringList brokerReject;
    bool useBroker = false;
    bool brokerAutoConnected = false;
    QString brokerPIN;
    QString currentPeer;
    QString brokerProfile = QStringLiteral("I'm using Velto Control/Server");
    QStringList brokerProfiles;
    bool advancedRemote = false;
    qint64 firmwareVersion = 0;
    bool useProgress = false;
    bool highSpeedEnabled = false;
    QString veltoKey;
    bool veltoLinked = false;

    // ---- Control session: timers -------------------------------------------------------------
    Timer watchDog, slaveIdle, randomTimer, loopTimer, moveTimer, rampTimer, runTimer, seqTimer,
        captionTimer, elapsedTimer, rampDown, adtimer;

    // ---- Control session: port and sockets ---------------------------------------------------
    SerialPort& velto;
    TcpSocket& remoteControl;
    SslSocket& brokerSocket;
    SslSocket& connectSocket;
    UdpSocket& advertising;

    // ---- Control session: handlers -----------------------------------------------------------
    void Connect_Action();
    void Reset_Action();
    void allStop_Action();
    void halt_Action();
    void resetAll();
    void watchDog_Action();
    void slaveIdle_Action();
    void elapsedTimer_Action();
    /// A click on the clock. Returns false, as the framework's mouse-down does.
    bool tickCounter_MouseDown();
    void Event_Activate();

    // ---- Device command channel --------------------------------------------------------------
    void sendStimData(const QString& command);
    void velto_DataAvailable();
    bool validateResponse(const QString& reply);
    void pause(qint64 milliseconds);
    /// The receive buffer's cap: a device that never ends its line can't grow it without end.
    static constexpr qsizetype kMaxSerialBuffer = qsizetype{64} * 1024;

    // ---- Safety: level caps and stopping when control is lost (device/safety.cpp) -------------
    /// Where a command comes from, for the log of capped levels.
    enum class CommandSource {
        Program, Slider, Step, Favourite, Ramp, Fall, Move, RandomDraw, LoopBoost, Tcp, Http, Broker
    };
    /// The highest level A and B may be given, 0..100; 100 changes nothing.
    qint64 maxLevelA = 100, maxLevelB = 100;
    /// The source of the commands sent now; set by the outermost handler that knows it.
    CommandSource commandSource = CommandSource::Program;
    /// The source of the commands waiting in cmdSequence.
    CommandSource queuedSource = CommandSource::Program;
    /// The box joins B to A ("J1"): a level for A then sets B too.
    bool boxJoined = false;
    /// Names the source of the commands sent while it lives, unless an outer handler did.
    class SourceScope {
    public:
        SourceScope(MainApp& app, CommandSource source) : app_(app), was_(app.commandSource) {
            if (was_ == CommandSource::Program) app.commandSource = source;
        }
        ~SourceScope() { app_.commandSource = was_; }
        SourceScope(const SourceScope&) = delete;
        SourceScope& operator=(const SourceScope&) = delete;

    private:
        MainApp& app_;
        CommandSource was_;
    };
    static QString sourceName(CommandSource source);
    /// A level command for A or B above its cap becomes the cap; the first of each source is logged.
    QString capLevel(const QString& command);
    /// Starts seqTimer on the queued commands, remembering who queued them.
    void startQueue();
    /// The source of a rise's steps: a boosted loop, a random draw, or a plain ramp.
    CommandSource rampSource() const;
    /// A slave lost its controlling peer: "K" and the end of playback, as STOP does.
    void stopOnLossOfControl(const QString& why);
    /// The serial line failed (the box was unplugged): playback and the queue end.
    void velto_Error();
    /// Without a window there is no Connect to press: the poll opens the port again instead,
    /// once the box is back.
    bool reopenGoneBox = false;
    /// The port is shut because the box went or was not there: only then does the poll reopen
    /// it, never while it is shut on purpose for the switch of rate.
    bool awaitingBox = false;
    void reopenBox();
    /// At exit: "K" to the box, waiting at most `limitMs` for it to leave. False if not sent.
    bool stopBoxForExit(int limitMs);

    // ---- Status reply decoding ---------------------------------------------------------------
    void statusRefresh(const QString& reply);

    // ---- Front panel: modes and output levels ------------------------------------------------
    void ModeControl_Change();
    void channelA_ValueChanged();
    void channelB_ValueChanged();
    void channelC_ValueChanged();
    void channelD_ValueChanged();
    void channelA_Open();
    void channelB_Open();
    void channelC_Open();
    void channelD_Open();
    void aPlus_Action();
    void aMinus_Action();
    void bPlus_Action();
    void bMinus_Action();
    void cPlus_Action();
    void cMinus_Action();
    void dPlus_Action();
    void dMinus_Action();
    void powerHi_Action();
    void powerLo_Action();
    void powerDynamic_Action();
    void joinChannels_Action();
    /// The 14 start rows of ModeControl and selectMode.
    static QStringList modeRows();

    // ---- Favourites store and files (playback/favourites.cpp) --------------------------------
    /// Mode names by device mode number. `byFirmware` false: the 14-entry base table; true: the
    /// table of the reporting firmware (15 entries, "Intense" at 3, from 2119 on).
    QStringList modeTable(bool byFirmware) const;
    /// Sets up favsList's columns: widths, headings, cell types, drag reorder.
    void favsList_Open();
    /// Shows the selected favourite in favInfo.
    void favsList_Change();
    /// Adds a row from the live settings; `isRemote` prefixes the name with "R-" (a peer's SAVE).
    void storeCurrentSettings(bool isRemote);
    /// Adds a row from the fields of the Edit tab.
    void createNewFav_Action();
    void deleteSelected_Action();
    void spinnerA_Up();
    void spinnerA_Down();
    void spinnerB_Up();
    void spinnerB_Down();
    void spinnerC_Up();
    void spinnerC_Down();
    void spinnerD_Up();
    void spinnerD_Down();
    /// Reads a favourites file into favsList, appending. A short line throws OutOfBounds; the
    /// rows read before it stay.
    void readFavourites(const QString& path);
    /// Writes favsList to the current favourites file, all or nothing. I/O errors are silent.
    void saveFavourites();
    bool _openFavs_Action();
    bool _SaveAs_Action();
    /// Saves the favourites, then the random settings.
    bool _saveAll_Action();

    // ---- Favourite playback, level moves, sequences (playback/ramp.cpp, level_move.cpp,
    //      sequence.cpp) ------------------------------------------------------------------------
    /// Plays row `row` of favsList: mode and power, a rise in tenths, then (unless
    /// `continueAfter`, a go-to) the run and the fall. An absent row throws OutOfBounds.
    void playStimFavourite(qint64 row, bool continueAfter);
    void playSelected_Action();
    void gotoSelected_Action();
    /// Sends one queued command from the tail of cmdSequence; turns itself off when dry.
    void seqTimer_Action();
    void rampTimer_Action();
    void runTimer_Action();
    void rampDown_Action();

    void Adjust_Action();
    void adjustSelected_Action();
    /// Moves A and B to the given levels in whole steps over `seconds`; C and D are ignored.
    void setOutputLevels(qint64 levelA, qint64 levelB, qint64 levelC, qint64 levelD, qint64 seconds);
    void moveTimer_Action();
    /// The Adjust rule for one channel: "+n"/"-n" relative to `current`, else absolute,
    /// clamped to 0..100. MOVE from a peer uses the same rule.
    static qint64 adjustTarget(const QString& text, qint64 current);

    void createSequence_Action();
    /// Plays the next row of stimSequence, or clears randMode when none is left.
    void playStimSequence();
    /// Stop playback: halts everything and queues "K" twice.
    void playbackStop_Action();
    /// Unticks column 4 of every row.
    void seqAllOff();

    // ---- Random and loop playback (playback/random_loop.cpp) ----------------------------------
    void randomStart_Action();
    void randomLoop_Action();
    void randomStop_Action();
    void randomTimer_Action();
    void loopTimer_Action();
    void createRandomSequence();
    /// Plays the next favourite of randomSequence, starts a new round, or completes the run.
    void randomPlayback();
    /// Reads "veltorandom.ini" into the controls of the Random tab.
    void readRandomSettings(const QString& path);
    /// Writes "veltorandom.ini" whole, or leaves the old file as it was.
    void saveRandom();
    /// "true" when the box's state is exactly 1, else "false".
    static QString checkboxToText(const CheckBox& box);

private:
    /// Queues the pair of levels for the present step of a rise or fall.
    void queueRampStep();
    /// The ";PROGRESS:" or ";STATUS:" lines of a rise or fall step, when a peer listens.
    void reportRampStep(const char* direction);
    /// What follows a fall that reached zero outside a random run: the next row or the end.
    void sequenceFavouriteEnded();
    /// What follows a fall that reached zero in a random run: the end, a wait, or the next.
    void randomFavouriteEnded();
    /// Arms randomTimer for a wait of minDelay..maxDelay seconds before the next favourite.
    void waitBetweenFavourites();

public:
    // ---- Remote link (remote/remote_link.cpp) ------------------------------------------------
    static constexpr int kBuild = 25;
    void remoteControl_Connected();
    void remoteControl_DataAvailable();
    void remoteControl_Error();
    /// A slave's handling of one peer line, from the LAN or the broker: a device command or
    /// the extended language, then the idle time-out starts again.
    void slaveTakesLine(const QString& text);
    /// Queues one line (given without a line end) on the transport in use.
    void sendRemoteData(const QString& text);
    void flushRemote();
    /// Playback reports to a peer: a slave with a broker link, or a TCP peer not in HTTP mode.
    bool hasStatusPeer() const;

    // ---- Bounds on what peers can make the program do (remote/peer_limits.cpp) ---------------
    /// A read from a peer longer than this is no line: it is dropped whole.
    static constexpr qsizetype kMaxPeerRead = qsizetype{4} * 1024;
    /// A device command longer than this is not sent to the box.
    static constexpr qsizetype kMaxDeviceCommand = 64;
    /// An HTTP client that has sent no request this long after connecting is disconnected.
    static constexpr qint64 kRequestWaitMs = 10'000;
    /// A peer that leaves more output than this unread is disconnected.
    static constexpr qint64 kMaxPeerBacklog = qint64{1024} * 1024;
    /// Runs from an HTTP client's connection to its request.
    Timer requestWait;
    void requestWait_Action();
    /// The slave listens for its next peer; if it can't, the log and hostInfo say why. False then.
    bool listenForPeer();
    /// A peer that doesn't read what it asks for is disconnected once its backlog passes the bound.
    void limitPeerOutput();
    /// A peer read that passes kMaxPeerRead: true, and the first of each peer is logged.
    bool peerReadTooLong(qsizetype bytes, const QString& peer);
    /// A command for the box that passes kMaxDeviceCommand: true, and the first of each peer is
    /// logged.
    bool deviceCommandTooLong(const QString& command);
    /// A new peer: the bounds that log once log again for it.
    void newPeerForBounds() { boundsLogged_ = 0; }

    // ---- Extended commands and status commands (remote/extended_commands.cpp,
    //      remote/status_commands.cpp) -----------------------------------------------------------
    /// A slave's reading of a line that began with ";". True for the four that answer.
    bool extendedCommands(const QString& text);
    /// GETSTATUS, PROGRESS, SYSTEM and GETFAVS: the commands that answer. Returns true.
    bool statusCommand(const QString& key);
    /// The slider an APLUS ... DMINUS command steps, or null for any other key.
    Slider* stepSlider(const QString& key);

    // ---- Extended responses (remote/extended_responses.cpp) ----------------------------------
    /// A master's reading of a line that began with ";".
    void extendedResponse(const QString& text);

    // ---- HTTP mode (remote/http_mode.cpp) ----------------------------------------------------
    void sendHTTPheaders();
    void resetHTTPslave();
    /// The remote page for browsers, one port above the remote port: served while this copy is
    /// a direct slave and the setting "webpage" asks for it.
    bool webpage = false;
    void serveWebPage();

    // ---- LAN discovery and remote play (remote/discovery.cpp) --------------------------------
    static constexpr qint64 kDiscoveryPort = 37846;
    void adtimer_Action();
    void advertising_DataAvailable();
    /// The scan of the preferences window: listen for the first slave's advertisement.
    void scanButton_Action();
    void playRemote(qint64 a, qint64 b, qint64 c, qint64 d, qint64 rise, qint64 ticks, qint64 fall,
                    qint64 mode, const QString& power);

    // ---- Messages (services/messages.cpp) -----------------------------------------------------
    struct MessagesWindow {
        static constexpr int kWidth = 800, kHeight = 250;
        MessagesWindow() { msgReply.setCueText(QStringLiteral("Reply to messages here, then click Send")); }
        Window window{QStringLiteral("msgWindow"), QStringLiteral("Messages")};
        TextArea messageBox{QStringLiteral("messageBox")};
        TextField msgReply{QStringLiteral("msgReply")};
        PushButton sendReply{QStringLiteral("sendReply"), QStringLiteral("Send")};
    } msgWindow;
    /// Appends CR and the text to the transcript; the first message opens the window.
    void showMessage(const QString& text);
    /// A reply from either role, on a LAN or broker link only; with none nothing happens.
    void sendReply_Action();

    struct ComposeWindow {
        static constexpr int kWidth = 600, kHeight = 100;
        Window window{QStringLiteral("compose"), QStringLiteral("Compose a message")};
        Label Label1{QStringLiteral("Label1"),
                     QStringLiteral("Enter a message and click Send to display it on the remote slave screen")};
        TextField composeBox{QStringLiteral("composeBox")};
        PushButton sendMsg{QStringLiteral("sendMsg"), QStringLiteral("Send")};
    } compose;
    /// A master's new message, by the master's send path; the window closes, empty next time.
    void sendMsg_Action();

    // ---- Connect service (services/connect_service.cpp) ---------------------------------------
    /// The connect service's one fixed address; --connect-service replaces it.
    static constexpr const char* kConnectServiceHost = "connect.velto.example";
    static constexpr qint64 kConnectServicePort = 57846;
    QString connectServiceHost = QString::fromLatin1(kConnectServiceHost);
    qint64 connectServicePort = kConnectServicePort;
    struct ConnectWindow {
        static constexpr int kWidth = 507, kHeight = 223;
        ConnectWindow() { connectKey.setCueText(QStringLiteral("Enter the Connect Key or URL here")); }
        Window window{QStringLiteral("connectWindow"), QStringLiteral("Velto Connect")};
        Label Label1{QStringLiteral("Label1"),
                     QStringLiteral("Velto Connect is a service provided by Velto Systems Ltd, which allows you to "
                                    "control someone else's 2B.\n\nThe other person needs to be running the Velto "
                                    "Connect app on their computer. When they connect, they will be given a code "
                                    "to share with you. Paste the code - or the whole link containing it - into "
                                    "the box below, and click the Connect button.\n\nVelto Control/Server will "
                                    "configure connection settings automatically.")};
        TextField connectKey{QStringLiteral("connectKey")};
        PushButton connectButton{QStringLiteral("connectButton"), QStringLiteral("Connect")};
    } connectWindow;
    /// The start of a link that carries a key: "https://", the service's host, "/connect/?".
    QString connectLinkPrefix() const;
    /// Offers the key in use, if any.
    void connectWindow_Open();
    /// Takes a 16-character key, or the last 16 characters of a link, and starts.
    void connectButton_Action();
    /// Ends any connect session, makes this copy a master off every other link, and connects.
    void startVeltoConnect();
    void connectSocket_Connected();
    /// One read is one status line: a service code from its front, or a reply of the far box.
    void connectSocket_DataAvailable();
    /// The service closed the link: said in the log; the key links again.
    void connectSocket_Error();

    // ---- Preferences window (shell/prefs_window.cpp) -----------------------------------------
    // A plain view on properties of MainApp: filled at each activation, written back by Done
    // and at the close. Help tags are set in wirePrefsWindow.
    struct PrefsWindow {
        Window window{QStringLiteral("prefsWindow"), QStringLiteral("Preferences")};
        GroupBox GroupBox1{QStringLiteral("GroupBox1"), QStringLiteral("Control mode")};
        RadioButton modeSolo{QStringLiteral("modeSolo"), QStringLiteral("Solo")};
        RadioButton modeMaster{QStringLiteral("modeMaster"), QStringLiteral("Master")};
        RadioButton modeSlave{QStringLiteral("modeSlave"), QStringLiteral("Slave")};
        Label Label5{QStringLiteral("Label5"), QStringLiteral("Serial port")};
        Label Label6{QStringLiteral("Label6"),
                     QStringLiteral("For Solo or Slave mode, enter the device name or select the port to which the "
                                    "velto unit is connected.")};
        TextField portName{QStringLiteral("portName")};
        PushButton portAutoDetect{QStringLiteral("portAutoDetect"), QStringLiteral("Auto detect")};
        Label portsInfo{QStringLiteral("portsInfo")};
        PopupMenu comPorts{QStringLiteral("comPorts"), {}, -1};
        Label Label7{QStringLiteral("Label7"), QStringLiteral("Slave timeout")};
        Label Label8{QStringLiteral("Label8"),
                     QStringLiteral("If no communication is received from Master within this time, output will be "
                                    "set to zero. Default is 600 seconds")};
        TextField timeoutPref{QStringLiteral("timeoutPref")};
        CheckBox errorCorrect{QStringLiteral("errorCorrect"), QStringLiteral("Use error correction")};
        CheckBox autoAdjustMove{QStringLiteral("autoAdjustMove"), QStringLiteral("Auto fix adjust and ramp times")};
        CheckBox evoCamLink{QStringLiteral("evoCamLink"), QStringLiteral("EvoCam link")};
        TextField evoCamName{QStringLiteral("evoCamName")};
        TabPanel brokerOpts{QStringLiteral("brokerOpts"),
                            {QStringLiteral("VeltoBroker"), QStringLiteral("Manual Settings")}};
        // Tab 1, the broker.
        CheckBox useBroker{QStringLiteral("useBroker"), QStringLiteral("Use VeltoBroker")};
        Label Label11{QStringLiteral("Label11"), QStringLiteral("Email")};
        TextField brokerID{QStringLiteral("brokerID")};
        Label Label12{QStringLiteral("Label12"), QStringLiteral("PIN")};
        TextField brokerPIN{QStringLiteral("brokerPIN")};  // shown in clear
        PushButton brokerOptionsButton{QStringLiteral("brokerOptionsButton"), QStringLiteral("Advanced...")};
        Label Label10{QStringLiteral("Label10"),
                      QStringLiteral("VeltoBroker links a Master and a Slave over the internet, with no router or "
                                     "firewall set-up at either end. Sign in with the email and PIN of your "
                                     "VeltoBroker account.")};
        // Tab 2, a direct link.
        Label Label1{QStringLiteral("Label1"), QStringLiteral("Port number")};
        Label Label2{QStringLiteral("Label2"),
                     QStringLiteral("For remote access, port must be same on both Master and Slave systems. Choose a "
                                    "number above 1024. Default is 7846")};
        TextField portNumber{QStringLiteral("portNumber")};
        Label Label3{QStringLiteral("Label3"), QStringLiteral("Remote host")};
        Label Label9{QStringLiteral("Label9"),
                     QStringLiteral("For Master mode, enter the public IP address or hostname of the system you want "
                                    "to control. Click Scan to search your LAN")};
        TextField remoteHost{QStringLiteral("remoteHost")};
        PushButton scanButton{QStringLiteral("scanButton"), QStringLiteral("Scan")};
        CheckBox httpMode{QStringLiteral("httpMode"), QStringLiteral("HTTP slave")};
        // The level caps, under the time-out.
        Label Label13{QStringLiteral("Label13"), QStringLiteral("Level caps")};
        Label Label14{QStringLiteral("Label14"),
                      QStringLiteral("No control, favourite, playback or remote peer can set channel A or B above "
                                     "these levels. 100 means no cap")};
        TextField maxLevelA{QStringLiteral("maxLevelA")};
        TextField maxLevelB{QStringLiteral("maxLevelB")};
        PushButton settingsDone{QStringLiteral("settingsDone"), QStringLiteral("Done")};
    } prefsWindow;
    static constexpr const char* kWebScriptsUrl = "https://www.velto.example/webscripts/";
    /// The window's Activate event: every field from its property.
    void prefsWindow_Activate();
    /// The window's Close event, by Done or the close box: takes over the port name and the
    /// boxes, then writes "veltoprefs.ini" whole. No Preferences folder throws.
    void prefsWindow_Close();
    void settingsDone_Action();
    void modeSolo_Action();
    void modeMaster_Action();
    void modeSlave_Action();
    /// Puts the last USB serial port the platform lists into portName, and all of them in
    /// portsInfo.
    void portAutoDetect_Action();
    void brokerOptionsButton_Action();

    // ---- Broker session (services/broker_session.cpp) -----------------------------------------
    /// The brokering service's one fixed address; --broker replaces it.
    static constexpr const char* kBrokerHost = "broker.velto.example";
    static constexpr qint64 kBrokerPort = 37846;
    QString brokerHost = QString::fromLatin1(kBrokerHost);
    qint64 brokerPort = kBrokerPort;
    /// Logs in to the service. The flag (true from a slave) changes nothing.
    void startBroker(bool slave);
    void brokerSocket_Connected();
    /// The service is gone, in any state of the session: a slave stops its box, and the next
    /// Connect logs in afresh.
    void brokerSocket_Error();
    /// ";quit" was sent: the service's close that follows is no loss.
    bool brokerQuitAsked = false;
    /// Every whole line of the read goes to parseBrokerData; the piece after the last line end
    /// is dropped, as no receive buffer is kept.
    void brokerSocket_DataAvailable();
    /// A failed handshake or certificate: logged, whether or not logging is on.
    void brokerSocket_TlsError(const QString& reason);
    /// One line from the service: its service meaning, then the peer line of a linked session.
    void parseBrokerData(const QString& line);

    // ---- Broker windows (services/broker_windows.cpp) ----------------------------------------
    struct BrokerUsers {
        static constexpr int kWidth = 364, kHeight = 267;
        Window window{QStringLiteral("brokerUsers"), QStringLiteral("VeltoBroker")};
        PopupMenu userList{QStringLiteral("userList"), {}, -1};
        PushButton requestConnect{QStringLiteral("requestConnect"), QStringLiteral("Request Connection")};
        PushButton brokerChat{QStringLiteral("brokerChat"), QStringLiteral("Send Message")};
        Label userProfile{QStringLiteral("userProfile")};
        Label Label1{QStringLiteral("Label1"),
                     QStringLiteral("To connect, select a user from the list below, and then click Request "
                                    "Connection. The other user will have to accept your request before you can "
                                    "control their Velto unit. You can also send a message to a user before "
                                    "connecting.")};
        /// Open has run since the window was last closed; a closed window comes back empty.
        bool opened = false;
    } brokerUsers;
    /// brokerUsers as the service's lines refer to it: recreated empty, and opened, if closed.
    BrokerUsers& brokerUsersWindow();
    void brokerUsers_Open();
    void brokerUsers_Close();
    void userList_Change();
    void requestConnect_Action();
    void brokerChat_Action();

    struct BrokerOptions {
        static constexpr int kWidth = 360, kHeight = 513;
        Window window{QStringLiteral("brokerOptions"), QStringLiteral("VeltoBroker options")};
        Label Label1{QStringLiteral("Label1"),
                     QStringLiteral("Use this page to configure automatic VeltoBroker connections and rejection, "
                                    "and set your profile")};
        Label Label2{QStringLiteral("Label2"), QStringLiteral("Auto connect")};
        Label Label3{QStringLiteral("Label3"),
                     QStringLiteral("If an id is entered below, and your app is operating in Master Mode, it will "
                                    "attempt to connect automatically to the specified VeltoBroker user")};
        TextField autoUser{QStringLiteral("autoUser")};
        Label Label4{QStringLiteral("Label4"),
                     QStringLiteral("Automatically accept or reject connections from the VeltoBroker users "
                                    "listed below")};
        Label Label5{QStringLiteral("Label5"), QStringLiteral("Accept")};
        Label Label6{QStringLiteral("Label6"), QStringLiteral("Reject")};
        Listbox acceptList{QStringLiteral("acceptList"), 1};
        Listbox rejectList{QStringLiteral("rejectList"), 1};
        Label Label7{QStringLiteral("Label7"),
                     QStringLiteral("Drag names between boxes to change change their setting, or drag out of a "
                                    "box to delete them from the list. To add a new name, type it below and "
                                    "click the Add button")};
        TextField addNew{QStringLiteral("addNew")};
        PushButton BevelButton1{QStringLiteral("BevelButton1"), QStringLiteral("Add")};
        Label Label8{QStringLiteral("Label8"), QString::fromUtf8("Profile (eg name, Skype id, looking for\u2026)")};
        TextField vbProfile{QStringLiteral("vbProfile")};
        PushButton boptsSave{QStringLiteral("boptsSave"), QStringLiteral("Done")};
    } brokerOptions;
    /// Shows brokerOptions; a closed one comes back filled afresh from the properties.
    void showBrokerOptions();
    void brokerOptions_Open();
    void BevelButton1_Action();
    /// A drag leaves its list at once: the row's text, which the drop (if any) adds elsewhere.
    QString acceptList_DragRow(int row);
    QString rejectList_DragRow(int row);
    void acceptList_DropObject(const QString& text);
    void rejectList_DropObject(const QString& text);
    void boptsSave_Action();

    /// A conversation with one user; any number can be open, more than one per user too.
    struct BrokerChat {
        static constexpr int kWidth = 300, kHeight = 415;
        Window window{QStringLiteral("brokerChat"), QStringLiteral("VeltoBroker Chat")};
        TextArea liveChat{QStringLiteral("liveChat")};
        TextField chatComposer{QStringLiteral("chatComposer")};
        PushButton sendChat{QStringLiteral("sendChat"), QStringLiteral("Send")};
        QString remoteuser;
    };
    /// The chat windows ever made, in order. A closed one is reused for the next conversation.
    std::vector<std::unique_ptr<BrokerChat>> brokerChats;
    /// Raised for each chat window model made, so that a view can show it.
    Signal<BrokerChat&> brokerChatCreated;
    /// A new chat window with the user, shown.
    BrokerChat& newBrokerChat(const QString& user);
    void sendChat_Action(BrokerChat& chat);
    void UpdateChat(BrokerChat& chat, const QString& sender, const QString& text);

    // ---- EvoCam captions (shell/evocam.cpp) ---------------------------------------------------
    /// The status caption of a status line: mode name, power and the four levels halved. A line
    /// of fewer than seven fields, or a mode past the table's end, throws OutOfBounds.
    void evoCamCaption(const QString& status, const QString& camera);
    /// Shows a message caption and clears it 20 s after the last message.
    void evoCamMessage(const QString& text, const QString& camera);
    void captionTimer_Action();

    // ---- Settings ----------------------------------------------------------------------------
    /// Applies one line of "veltoprefs.ini".
    void readSettingsLine(const QString& line);
    void readSettings(const QString& path);
    /// Runs `reader` on a file at start-up; an unreadable or damaged file is logged and reported,
    /// and start-up goes on.
    void readAtStart(const QString& path, void (MainApp::*reader)(const QString&));
    /// A file reference from a full path, or nothing when the path can't name a file.
    static std::optional<QString> fileItem(const QString& path);

    // ---- Activity log ------------------------------------------------------------------------
    ActivityLog activityLog;
    void log(const QString& text) { activityLog.logItem(text); }
    bool _activityToggle_Action();
    void activityLog_Close();

    // ---- Update check and about (shell/update_check.cpp) --------------------------------------
    /// The build the update check and the About window know. Peers are told kBuild instead.
    static constexpr int kBuildNumber = 260;
    static constexpr int kUpdateTimeoutMs = 30000;
    static constexpr const char* kUpdateServiceDefault = "https://update.velto.example";
    static constexpr const char* kChangesUrl = "https://www.velto.example/changes";
    static constexpr const char* kDocsUrl = "https://www.velto.example/docs";
    /// Scheme, host and port of the update service; the check posts to its "/appinfo/".
    QString updateServiceUrl = QString::fromLatin1(kUpdateServiceDefault);
    /// Asks the service for the latest build. A failed exchange comes back as status "error";
    /// a reply that isn't JSON throws JSONException.
    JSONItem checkSoftwareVersion();
    enum class UpdateOutcome { UpToDate, Offered, Failed };
    /// The check with its messages and the offer to download; a reply lacking a key throws.
    UpdateOutcome offerUpdate();

    struct AboutWindow {
        static constexpr int kWidth = 400, kHeight = 400;
        Window window{QStringLiteral("aboutQTR"), QStringLiteral("About this app")};
        Canvas Canvas1{QStringLiteral("Canvas1")};
        Label Label1{QStringLiteral("Label1"), QStringLiteral("Velto Control/Server")};
        Label versionMajor{QStringLiteral("versionMajor")};
        Label buildInfo{QStringLiteral("buildInfo")};
        Label appInfoText{QStringLiteral("appInfoText")};
        Label changelog{QStringLiteral("changelog"), QStringLiteral("View latest changes")};
        PushButton docsButton{QStringLiteral("docsButton"), QStringLiteral("Documentation")};
        PushButton aboutVBbutton{QStringLiteral("aboutVBbutton"), QStringLiteral("VeltoBroker")};
    } aboutQTR;
    void aboutQTR_Open();
    /// A click on the change list link. Returns false, as the framework's mouse-down does.
    bool changelog_MouseDown();
    void docsButton_Action();
    void aboutVBbutton_Action();

    // ---- Main window: menus, keys, enablement (shell/main_window.cpp) -------------------------
    MenuBar MenuBar1;
    /// Binds each menu item to its handler.
    void AddMenuHandlers();
    /// A key pressed in the window; always false (the key goes on to the framework).
    bool Event_KeyDown(const QString& key);
    /// Run before a menu is shown.
    void Event_EnableMenuItems();
    bool _FileNewmessage_Action();
    bool _prefsMenu_Action();
    bool _FileCheckforupdate_Action();
    bool _aboutMenu_Action();
    bool _openStore_Action();
    bool _aboutVB_Action();
    bool _vbConnect_Action();
    bool _vbQuit_Action();
    bool _vbRequest_Action();
    bool _vbDisconnect_Action();
    bool _vbBlock_Action();
    bool _vbManager_Action();
    bool _veltoConnect_Action();
    bool _disconnect_Action();
    static constexpr const char* kServiceAboutUrl = "https://broker.velto.example/about";
    static constexpr const char* kStoreUrl = "https://store.velto.example/";

    // ---- Main window: controls, in creation order --------------------------------------------
    Window window{QStringLiteral("MainApp"), QStringLiteral("Velto Control/Server")};
    GroupBox GroupBox3{QStringLiteral("GroupBox3")};
    Label randMode{QStringLiteral("randMode")};
    Label tickCounter{QStringLiteral("tickCounter")};
    PopupMenu ModeControl{QStringLiteral("ModeControl"), modeRows(), 0};
    PushButton Connect{QStringLiteral("Connect"), QStringLiteral("Connect")};
    Slider channelA{QStringLiteral("channelA"), 0, 100, 0};
    Slider channelB{QStringLiteral("channelB"), 0, 100, 0};
    Label veltoStatus{QStringLiteral("veltoStatus"), QStringLiteral("(not connected)")};
    Label settingA{QStringLiteral("settingA"), QStringLiteral("0")};
    Label settingB{QStringLiteral("settingB"), QStringLiteral("0")};
    Label versionName{QStringLiteral("versionName"), QStringLiteral("Version")};
    GroupBox GroupBox1{QStringLiteral("GroupBox1")};
    RadioButton powerHi{QStringLiteral("powerHi"), QStringLiteral("High")};
    RadioButton powerLo{QStringLiteral("powerLo"), QStringLiteral("Low"), true};
    RadioButton powerDynamic{QStringLiteral("powerDynamic"), QStringLiteral("Auto")};
    Label batteryLabel{QStringLiteral("batteryLabel"), QStringLiteral("Battery")};
    Label settingC{QStringLiteral("settingC"), QStringLiteral("50")};
    Slider channelC{QStringLiteral("channelC"), 2, 100, 50};
    Label cLabel{QStringLiteral("cLabel"), QStringLiteral("Setting C")};
    Label settingD{QStringLiteral("settingD"), QStringLiteral("50")};
    Slider channelD{QStringLiteral("channelD"), 2, 100, 50};
    Label dLabel{QStringLiteral("dLabel"), QStringLiteral("Setting D")};
    PushButton allStop{QStringLiteral("allStop"), QStringLiteral("STOP")};
    Canvas waveDiag{QStringLiteral("waveDiag")};
    Label modeLabel{QStringLiteral("modeLabel")};
    Label hostInfo{QStringLiteral("hostInfo")};
    Label localAddr{QStringLiteral("localAddr")};
    PushButton Reset{QStringLiteral("Reset"), QStringLiteral("Default")};
    PushButton aPlus{QStringLiteral("aPlus"), QStringLiteral("+")};
    PushButton aMinus{QStringLiteral("aMinus"), QStringLiteral("-")};
    PushButton bPlus{QStringLiteral("bPlus"), QStringLiteral("+")};
    PushButton bMinus{QStringLiteral("bMinus"), QStringLiteral("-")};
    PushButton cPlus{QStringLiteral("cPlus"), QStringLiteral("+")};
    PushButton cMinus{QStringLiteral("cMinus"), QStringLiteral("-")};
    PushButton dPlus{QStringLiteral("dPlus"), QStringLiteral("+")};
    PushButton dMinus{QStringLiteral("dMinus"), QStringLiteral("-")};
    Label lastCmd{QStringLiteral("lastCmd")};
    Label errText{QStringLiteral("errText")};
    CheckBox joinChannels{QStringLiteral("joinChannels"), QStringLiteral("join")};
    GroupBox GroupBox2{QStringLiteral("GroupBox2"), QStringLiteral("Adjust levels")};
    TextField adjustA{QStringLiteral("adjustA")};
    TextField adjustB{QStringLiteral("adjustB")};
    TextField adjustTime{QStringLiteral("adjustTime")};
    PushButton Adjust{QStringLiteral("Adjust"), QStringLiteral("Adjust")};
    PushButton halt{QStringLiteral("halt"), QStringLiteral("Halt")};
    TabPanel FavRand{QStringLiteral("FavRand"),
                     {QStringLiteral("Favourites"), QStringLiteral("Random"), QStringLiteral("Edit")}};
    Listbox favsList{QStringLiteral("favsList"), 11};
    PushButton saveCurrent{QStringLiteral("saveCurrent"), QStringLiteral("Add favourite")};
    PushButton gotoSelected{QStringLiteral("gotoSelected"), QStringLiteral("Go to")};
    PushButton adjustSelected{QStringLiteral("adjustSelected"), QStringLiteral("Adjust to")};
    PushButton playSelected{QStringLiteral("playSelected"), QStringLiteral("Play")};
    PushButton deleteSelected{QStringLiteral("deleteSelected"), QStringLiteral("Delete selected")};
    PushButton createSequence{QStringLiteral("createSequence"), QStringLiteral("Play sequence")};
    PushButton playbackStop{QStringLiteral("playbackStop"), QStringLiteral("Stop playback")};
    PushButton randomStart{QStringLiteral("randomStart"), QStringLiteral("Random play")};
    PushButton randomLoop{QStringLiteral("randomLoop"), QStringLiteral("Random loop")};
    PushButton randomStop{QStringLiteral("randomStop"), QStringLiteral("Stop")};
    TextField firstDelay{QStringLiteral("firstDelay")};
    CheckBox delayFirst{QStringLiteral("delayFirst"), QStringLiteral("delay before first setting (minutes)")};
    TextField minDelay{QStringLiteral("minDelay")};
    CheckBox delayBetween{QStringLiteral("delayBetween"), QStringLiteral("delay between settings (seconds)")};
    TextField minRun{QStringLiteral("minRun")};
    CheckBox randomTimes{QStringLiteral("randomTimes"), QStringLiteral("randomly adjust run times (seconds)")};
    CheckBox randomPower{QStringLiteral("randomPower"), QString::fromUtf8("randomly adjust power (\u00b110%)")};
    TextField loopBoostA{QStringLiteral("loopBoostA")};
    CheckBox loopPower{QStringLiteral("loopPower"), QStringLiteral("boost power on each loop (<10)")};
    TextField loopRuntime{QStringLiteral("loopRuntime")};
    CheckBox loopTimeout{QStringLiteral("loopTimeout"), QStringLiteral("stop loop after (minutes)")};
    TextField maxDelay{QStringLiteral("maxDelay")};
    TextField maxRun{QStringLiteral("maxRun")};
    TextField loopBoostB{QStringLiteral("loopBoostB")};
    PopupMenu selectMode{QStringLiteral("selectMode"), modeRows(), 0};
    PopupMenu newPower{QStringLiteral("newPower"), {QStringLiteral("Low"), QStringLiteral("High")}, 0};
    TextField newA{QStringLiteral("newA")};
    UpDownArrows spinnerA{QStringLiteral("spinnerA")};
    TextField newB{QStringLiteral("newB")};
    UpDownArrows spinnerB{QStringLiteral("spinnerB")};
    TextField newC{QStringLiteral("newC")};
    UpDownArrows spinnerC{QStringLiteral("spinnerC")};
    TextField newD{QStringLiteral("newD")};
    UpDownArrows spinnerD{QStringLiteral("spinnerD")};
    PushButton createNewFav{QStringLiteral("createNewFav"), QStringLiteral("Add")};
    Label favInfo{QStringLiteral("favInfo")};
    Label randomStatus{QStringLiteral("randomStatus")};
    Label firmwareLabel{QStringLiteral("firmwareLabel"), QStringLiteral("Firmware")};

    /// Static captions of the window, by name (Label1 "Select mode" ...).
    static const std::vector<std::pair<QString, QString>>& staticCaptions();

private:
    /// Sources that have had a level capped, one bit each.
    unsigned cappedSources_ = 0;
    /// Bounds that have logged for the present peer, one bit each.
    unsigned boundsLogged_ = 0;
    /// The last listen failed: hostInfo says so until a listen succeeds.
    bool listenFailed_ = false;
    void wireControls();
    void setHelpTags();
    /// Each subsystem binds its own controls' and timers' events.
    void wireFavourites();
    void wireRemote();
    void wireAbout();
    void wirePrefsWindow();
    void wireBroker();
    void wireMessages();
    void wireConnectService();
    /// What a menu item does until the window behind it exists.
    bool notAvailableYet(const QString& what);
    void wirePlayback();
    void wireTimers();
    void wireSockets();
    void logIf(const QString& text) {
        if (serverLogging) log(text);
    }
    bool logSerialOn() const { return serverLogging && activityLog.logSerial.value(); }
    /// The switch of the serial line to the high rate, run from statusRefresh.
    void switchToHighSpeed();
    /// A slider's change: its command (unless a reply moved it) and its number label.
    void levelChanged(const QString& letter, const Slider& slider, Label& number);
    /// Sets the C and D captions and the diagram for a mode index.
    void showModeLabels(qint64 index);

    Platform& p_;
};

}  // namespace velto
