#include "sim2b.h"

#include <cmath>
#include <optional>

namespace velto::sim {

namespace {

constexpr char kCR = '\r';
constexpr char kLF = '\n';
// The box has a small line buffer; a line that never ends is thrown away.
constexpr qsizetype kMaxLine = 256;

/// The whole of `text` as a signed decimal number, saturated; nothing when it is not one.
std::optional<int> wholeNumber(const QString& text) {
    qsizetype i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        negative = text[i++] == QLatin1Char('-');
    if (i == text.size()) return std::nullopt;
    long long value = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9') return std::nullopt;
        if (value < 1000000) value = value * 10 + (c - u'0');
    }
    return static_cast<int>(negative ? -value : value);
}

/// The leading number of a text, 0 when there is none.
double leadingNumber(const QString& text) {
    const QString t = text.trimmed();
    qsizetype end = 0;
    if (end < t.size() && (t[end] == QLatin1Char('-') || t[end] == QLatin1Char('+'))) ++end;
    bool digits = false;
    bool point = false;
    for (; end < t.size(); ++end) {
        if (t[end].unicode() >= u'0' && t[end].unicode() <= u'9') {
            digits = true;
        } else if (t[end] == QLatin1Char('.') && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (!digits) return 0.0;
    const double value = t.left(end).toDouble();
    return std::isfinite(value) ? value : 0.0;
}

}  // namespace

std::vector<QByteArray> Sim2B::receive(const QByteArray& bytes) {
    return receiveAt(baud_, bytes);
}

std::vector<QByteArray> Sim2B::receiveAt(int lineBaud, const QByteArray& bytes) {
    std::vector<QByteArray> out;
    for (const char byte : bytes) {
        // Checked at every byte: after a "Z" the rest of the same write is already noise.
        if (lineBaud != baud_) {
            ++noiseBytes_;
            input_.clear();
            continue;
        }
        if (byte != kCR) {
            input_ += byte;
            if (input_.size() > kMaxLine) input_.clear();
            continue;
        }
        const QString command = QString::fromLatin1(input_).trimmed();
        input_.clear();
        commands_ << command;
        if (onCommand) onCommand(command);
        std::pair<int, int> answer{0, 0};
        if (!execute(command.toUpper(), answer) || take(Fault::DropReply)) continue;
        reply(replyLine(answer), out);
    }
    return out;
}

QByteArray Sim2B::statusLine() const {
    const QChar power = QLatin1Char(power_);
    return QStringLiteral("%1:%2:%3:%4:%5:%6:%7:%8:%9")
        .arg(battery_)
        .arg(levelA_ * 2)
        .arg(levelB_ * 2)
        .arg(settingC_ * 2)
        .arg(settingD_ * 2)
        .arg(mode_)
        .arg(power)
        .arg(joined_ ? 1 : 0)
        .arg(firmware_)
        .toLatin1();
}

void Sim2B::setMode(int index) {
    mode_ = index < 0 ? 0 : index >= modeCount() ? modeCount() - 1 : index;
}

void Sim2B::setPower(char letter) {
    if (letter == 'L' || letter == 'H' || letter == 'D') power_ = letter;
}

void Sim2B::setFirmware(const QString& text) {
    firmware_ = text;
    const double scaled = std::trunc(1000.0 * leadingNumber(text));
    firmwareVersion_ = scaled > 1e9 ? 1000000000 : scaled < -1e9 ? -1000000000 : int(scaled);
    if (firmwareVersion_ == 2000 && text.contains(QLatin1Char('B'), Qt::CaseInsensitive))
        firmwareVersion_ = 2104;
    setMode(mode_);
}

void Sim2B::inject(Fault fault, int times) {
    if (times > 0) faults_[index(fault)] += times;
}

void Sim2B::clearFaults() {
    faults_.fill(0);
    held_.clear();
}

bool Sim2B::take(Fault fault) {
    int& left = faults_[index(fault)];
    if (left == 0) return false;
    --left;
    return true;
}

bool Sim2B::execute(const QString& command, std::pair<int, int>& answer) {
    if (command == QLatin1String("Z")) {
        baud_ = kHighBaud;
        return false;
    }
    const QChar letter = command.isEmpty() ? QChar() : command[0];
    const std::optional<int> number = wholeNumber(command.mid(1));
    if (number && QStringLiteral("ABCDM").contains(letter)) {
        if (letter == QLatin1Char('M')) {
            if (*number >= 0 && *number < modeCount()) mode_ = *number;
            return true;
        }
        const int value = clampLevel(*number);
        const int field = letter.unicode() - u'A' + 1;
        if (take(Fault::WrongLevel)) {
            answer = {field, value == 100 ? 99 : value + 1};
            return true;
        }
        switch (field) {
            case 1:
                levelA_ = value;
                if (joined_) levelB_ = value;
                break;
            case 2:
                levelB_ = value;
                break;
            case 3:
                settingC_ = value;
                break;
            default:
                settingD_ = value;
                break;
        }
        return true;
    }
    const bool powerChange = command == QLatin1String("L") || command == QLatin1String("H") ||
                             (command == QLatin1String("Y") && firmwareVersion_ >= 2119);
    if (powerChange) {
        // The box drops both outputs whenever it is given a power level.
        power_ = command == QLatin1String("Y") ? 'D' : command[0].toLatin1();
        levelA_ = levelB_ = 0;
    } else if ((command == QLatin1String("J1") || command == QLatin1String("J0")) &&
               firmwareVersion_ > 2104) {
        joined_ = command == QLatin1String("J1");
    } else if (command == QLatin1String("K")) {
        levelA_ = levelB_ = 0;
    } else if (command == QLatin1String("E")) {
        levelA_ = levelB_ = 0;
        power_ = 'L';
        mode_ = 0;
        settingC_ = settingD_ = 50;
    }
    // "V", "S", an empty line and anything unknown: just the status.
    return true;
}

QByteArray Sim2B::replyLine(std::pair<int, int> answer) {
    if (take(Fault::LoneQuestion)) return QByteArrayLiteral("?\n");
    QList<QByteArray> fields = statusLine().split(':');
    if (answer.first > 0) fields[answer.first] = QByteArray::number(answer.second * 2);
    if (take(Fault::BadLength)) fields.removeLast();
    return fields.join(':') + kLF;
}

void Sim2B::reply(const QByteArray& line, std::vector<QByteArray>& out) {
    QByteArray chunk = line;
    if (!held_.isEmpty()) {
        chunk.prepend(held_);
        held_.clear();
    } else if (take(Fault::DoubleReply)) {
        held_ = chunk;
        return;
    }
    if (take(Fault::SplitReply) && chunk.size() > 1) {
        const qsizetype half = chunk.size() / 2;
        out.push_back(chunk.left(half));
        out.push_back(chunk.mid(half));
        return;
    }
    out.push_back(chunk);
}

}  // namespace velto::sim
