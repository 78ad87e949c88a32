#pragma once
// A simulated 2B box. It takes the bytes the host writes, runs each CR-terminated command and
// answers with one status line per command (none for "Z"), as the box's firmware does. Faults
// can be armed to make the box misbehave the way real lines do: lost, short, torn or merged
// replies, a lone "?", a level the box did not take.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <vector>

namespace velto::sim {

class Sim2B {
public:
    static constexpr int kLowBaud = 9600;
    static constexpr int kHighBaud = 57600;

    enum class Fault {
        DropReply,     // the reply is never sent
        BadLength,     // the reply has 8 fields
        LoneQuestion,  // the reply is "?\n"
        SplitReply,    // the reply comes in two reads
        DoubleReply,   // the reply is held back and sent with the next one, in one read
        WrongLevel,    // an A/B/C/D command is not taken and answered one step off
    };
    static constexpr int kFaultCount = 6;

    /// Feeds bytes sent at `lineBaud`. Returns the reply chunks in order; each chunk is meant
    /// to reach the host as a separate read. Bytes at any rate but the box's own are noise:
    /// they are counted, spoil a half-received command, and get no answer.
    std::vector<QByteArray> receiveAt(int lineBaud, const QByteArray& bytes);
    /// Feeds bytes sent at the rate the box has now.
    std::vector<QByteArray> receive(const QByteArray& bytes);

    /// The status line for the present state, without the line feed.
    QByteArray statusLine() const;

    int battery() const { return battery_; }
    void setBattery(int raw) { battery_ = raw; }
    int levelA() const { return levelA_; }
    void setLevelA(int level) { levelA_ = clampLevel(level); }
    int levelB() const { return levelB_; }
    void setLevelB(int level) { levelB_ = clampLevel(level); }
    int settingC() const { return settingC_; }
    void setSettingC(int value) { settingC_ = clampLevel(value); }
    int settingD() const { return settingD_; }
    void setSettingD(int value) { settingD_ = clampLevel(value); }
    int mode() const { return mode_; }
    /// Clamped into the firmware's mode list.
    void setMode(int index);
    /// 'L', 'H' or 'D'; any other letter is ignored.
    char power() const { return power_; }
    void setPower(char letter);
    bool joined() const { return joined_; }
    void setJoined(bool on) { joined_ = on; }

    const QString& firmware() const { return firmware_; }
    void setFirmware(const QString& text);
    /// 1000 times the firmware number, truncated; "2.000B" counts as 2104.
    int firmwareVersion() const { return firmwareVersion_; }
    /// 14 modes below 2.119, 15 from it.
    int modeCount() const { return firmwareVersion_ >= 2119 ? 15 : 14; }

    int baud() const { return baud_; }
    void setBaud(int baud) { baud_ = baud; }

    /// Every command taken so far, trimmed, as it came (an empty line is "").
    const QStringList& commands() const { return commands_; }
    /// Bytes that arrived at the wrong rate.
    qint64 noiseBytes() const { return noiseBytes_; }
    /// Called with each command as it is taken, before it runs.
    std::function<void(const QString& command)> onCommand;

    /// Arms `fault` for the next `times` replies (for WrongLevel: level commands).
    void inject(Fault fault, int times = 1);
    int pending(Fault fault) const { return faults_[index(fault)]; }
    void clearFaults();

private:
    static int clampLevel(int value) { return value < 0 ? 0 : value > 100 ? 100 : value; }
    static std::size_t index(Fault fault) { return static_cast<std::size_t>(fault); }
    bool take(Fault fault);
    /// Runs one command; returns false when it gets no reply. `answer` receives a level to
    /// report instead of the true one, as {field, value}.
    bool execute(const QString& command, std::pair<int, int>& answer);
    QByteArray replyLine(std::pair<int, int> answer);
    void reply(const QByteArray& line, std::vector<QByteArray>& out);

    int battery_ = 700;
    int levelA_ = 0;
    int levelB_ = 0;
    int settingC_ = 50;
    int settingD_ = 50;
    int mode_ = 0;
    char power_ = 'L';
    bool joined_ = false;
    QString firmware_ = QStringLiteral("2.106");
    int firmwareVersion_ = 2106;
    int baud_ = kLowBaud;

    QByteArray input_;
    QByteArray held_;
    QStringList commands_;
    qint64 noiseBytes_ = 0;
    std::array<int, kFaultCount> faults_{};
};

}  // namespace velto::sim
