#include "shell/json_item.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/boundary.h"

namespace velto {

struct JSONItem::Data {
    Data() = default;
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;
    ~Data();

    bool isArray = false;
    // A fresh item is an object that may still turn into an array; a parse or a write by name
    // settles its mode.
    bool modeSettled = false;
    QStringList names;  // object mode only, parallel to values
    QVariantList values;
    QHash<QString, qsizetype> positions;  // names to their place in insertion order

    bool compact = true;
    int indentSpacing = 2;
    bool escapeSlashes = true;
    QString decimalFormat = QStringLiteral("-0.0##############");

    static JSONItem wrap(std::shared_ptr<Data> d) { return JSONItem(std::move(d)); }
    static const std::shared_ptr<Data>& of(const JSONItem& item) { return item.d_; }

    void put(const QString& name, const QVariant& value) {
        const auto found = positions.constFind(name);
        if (found != positions.cend()) {
            values[*found] = value;
            return;
        }
        positions.insert(name, names.size());
        names.append(name);
        values.append(value);
    }
};

namespace {

bool holdsItem(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<JSONItem>();
}

}  // namespace

// A deep chain of items would otherwise be destroyed one destructor inside the other; take the
// children whose last owner we are apart level by level instead.
JSONItem::Data::~Data() {
    std::vector<QVariant> pending;
    for (QVariant& value : values)
        if (holdsItem(value)) pending.push_back(std::move(value));
    while (!pending.empty()) {
        QVariant value = std::move(pending.back());
        pending.pop_back();
        std::shared_ptr<Data> child = of(value.value<JSONItem>());
        value = QVariant();
        if (child.use_count() != 1) continue;
        for (QVariant& grandChild : child->values)
            if (holdsItem(grandChild)) pending.push_back(std::move(grandChild));
        child->values.clear();
    }
}

JSONException::JSONException(const QString& message, int errorNumber)
    : std::runtime_error(message.toStdString()), message_(message), errorNumber_(errorNumber) {}

JSONException::JSONException(const QString& message, int errorNumber, qsizetype position)
    : JSONException(message + QStringLiteral(" at position ") + QString::number(position),
                    errorNumber) {}

JSONException::JSONException(const QString& message, int errorNumber, const QString& detail)
    : JSONException(message + QStringLiteral(": ") + detail, errorNumber) {}

namespace {

// Nesting beyond this is refused rather than followed down the stack.
constexpr int kMaxDepth = 512;

// Reads one object or array. Positions in errors count from 1, in characters of the text
// (UTF-16 code units); a fault at the end of the text is reported at its length plus one.
class Parser {
public:
    explicit Parser(const QString& text) : text_(text) {}

    std::shared_ptr<JSONItem::Data> document() {
        auto root = std::make_shared<JSONItem::Data>();
        if (peek() == 0xFEFF) ++pos_;  // a byte order mark left over from decoding
        skipWhite();
        if (peek() == u'{')
            object(*root);
        else if (peek() == u'[')
            array(*root);
        else
            fail("Parse Error: Expecting '{' or '['", 1);
        // White space may follow the value; anything else is not part of one JSON text.
        skipWhite();
        if (pos_ < text_.size()) fail("A parsing error occurred", 2);
        return root;
    }

private:
    [[noreturn]] void fail(const char* message, int number) const {
        throw JSONException(QString::fromLatin1(message), number, pos_ + 1);
    }
    [[noreturn]] void failAt(qsizetype position, const char* message, int number) {
        pos_ = position;
        fail(message, number);
    }

    // -1 at the end, so that a NUL in the text is not taken for it.
    int peek() const { return pos_ < text_.size() ? text_.at(pos_).unicode() : -1; }
    static bool isDigit(int c) { return c >= u'0' && c <= u'9'; }

    void skipWhite() {
        while (peek() == u' ' || peek() == u'\t' || peek() == u'\n' || peek() == u'\r') ++pos_;
    }

    void enter() {
        if (++depth_ > kMaxDepth) fail("A parsing error occurred", 2);
    }

    void object(JSONItem::Data& d) {
        if (peek() != u'{') fail("Missing {", 4);
        enter();
        ++pos_;
        d.isArray = false;
        d.modeSettled = true;
        skipWhite();
        if (peek() == u'}') {
            ++pos_;
            --depth_;
            return;
        }
        for (;;) {
            skipWhite();
            const QString name = string();
            skipWhite();
            if (peek() != u':') fail("Missing :", 5);
            ++pos_;
            skipWhite();
            d.put(name, value());
            skipWhite();
            if (peek() == u',') {
                ++pos_;
            } else if (peek() == u'}') {
                ++pos_;
                break;
            } else {
                fail("Missing , or }", 6);
            }
        }
        --depth_;
    }

    void array(JSONItem::Data& d) {
        if (peek() != u'[') fail("Unsupported Format", 1);
        enter();
        ++pos_;
        d.isArray = true;
        d.modeSettled = true;
        skipWhite();
        if (peek() == u']') {
            ++pos_;
            --depth_;
            return;
        }
        for (;;) {
            skipWhite();
            d.values.append(value());
            skipWhite();
            if (peek() == u',') {
                ++pos_;
            } else if (peek() == u']') {
                ++pos_;
                break;
            } else {
                fail("A parsing error occurred", 2);
            }
        }
        --depth_;
    }

    // The keywords are known by their first four characters, in any case; the rest of the
    // word is passed over unread.
    bool keyword(QLatin1StringView start, qsizetype length) {
        if (QStringView(text_).mid(pos_, 4).compare(start, Qt::CaseInsensitive) != 0) return false;
        pos_ = std::min(pos_ + length, text_.size());
        return true;
    }

    QVariant value() {
        const int c = peek();
        if (c == u'"') return string();
        if (c == u'{' || c == u'[') {
            auto child = std::make_shared<JSONItem::Data>();
            if (c == u'{')
                object(*child);
            else
                array(*child);
            return QVariant::fromValue(JSONItem::Data::wrap(std::move(child)));
        }
        if (c == u'-' || isDigit(c)) return number();
        if (keyword(QLatin1StringView("true"), 4)) return true;
        if (keyword(QLatin1StringView("fals"), 5)) return false;
        if (keyword(QLatin1StringView("null"), 4)) return QVariant();
        fail("Illegal Value", 10);
    }

    QVariant number() {
        const qsizetype start = pos_;
        if (peek() == u'-') ++pos_;
        auto digits = [this] {
            if (!isDigit(peek())) fail("Illegal Number Format", 3);
            while (isDigit(peek())) ++pos_;
        };
        digits();
        bool whole = true;
        if (peek() == u'.') {
            ++pos_;
            digits();
            whole = false;
        }
        if (peek() == u'e' || peek() == u'E') {
            ++pos_;
            if (peek() == u'+' || peek() == u'-') ++pos_;
            digits();
            whole = false;
        }
        const QStringView text = QStringView(text_).mid(start, pos_ - start);
        if (whole) {
            bool ok = false;
            const qint64 n = text.toLongLong(&ok);
            if (ok) return n;
        }
        // Too small a number reads as 0; too large a one has no value.
        const double x = text.toDouble();
        if (!std::isfinite(x)) failAt(start, "Illegal Number Format", 3);
        return x;
    }

    // Four hexadecimal digits at `at`, or -1.
    int hex4(qsizetype at) const {
        if (at + 4 > text_.size()) return -1;
        int code = 0;
        for (qsizetype i = at; i < at + 4; ++i) {
            const char16_t c = text_.at(i).unicode();
            const int digit = c >= u'0' && c <= u'9'   ? c - u'0'
                              : c >= u'a' && c <= u'f' ? c - u'a' + 10
                              : c >= u'A' && c <= u'F' ? c - u'A' + 10
                                                       : -1;
            if (digit < 0) return -1;
            code = code * 16 + digit;
        }
        return code;
    }

    // The character a one-letter escape stands for, or 0.
    static char16_t simpleEscape(int kind) {
        switch (kind) {
            case u'"':
            case u'\\':
            case u'/':
                return char16_t(kind);
            case u'b':
                return u'\b';
            case u'f':
                return u'\f';
            case u'n':
                return u'\n';
            case u'r':
                return u'\r';
            case u't':
                return u'\t';
            default:
                return 0;
        }
    }

    QString string() {
        if (peek() != u'"') fail("Missing \"", 7);
        ++pos_;
        QString out;
        for (;;) {
            const int c = peek();
            if (c < 0) fail("Missing \"", 7);
            if (c == u'"') {
                ++pos_;
                return out;
            }
            if (c < 0x20) fail("Illegal Character", 9);
            if (c != u'\\') {
                out.append(text_.at(pos_++));
                continue;
            }
            const qsizetype escape = pos_++;
            const int kind = peek();
            ++pos_;
            if (const char16_t simple = simpleEscape(kind)) {
                out.append(QChar(simple));
                continue;
            }
            if (kind != u'u') failAt(escape, "Illegal Character", 9);
            const int code = hex4(pos_);
            if (code < 0 || QChar::isLowSurrogate(char32_t(code)))
                failAt(escape, "Illegal Unicode Character Format", 8);
            pos_ += 4;
            out.append(QChar(char16_t(code)));
            if (!QChar::isHighSurrogate(char32_t(code))) continue;
            // Only a pair of escapes makes one character beyond the first plane.
            const bool pair =
                peek() == u'\\' && pos_ + 1 < text_.size() && text_.at(pos_ + 1) == u'u';
            const int low = pair ? hex4(pos_ + 2) : -1;
            if (low < 0 || !QChar::isLowSurrogate(char32_t(low)))
                failAt(escape, "Illegal Unicode Character Format", 8);
            out.append(QChar(char16_t(low)));
            pos_ += 6;
        }
    }

    const QString& text_;
    qsizetype pos_ = 0;
    int depth_ = 0;
};

// The output of serialising: it grows from 1024 bytes as text comes in and is handed over
// as UTF-8.
class JSONStringBuffer {
public:
    JSONStringBuffer() { bytes_.reserve(1024); }
    void append(char c) { bytes_.append(c); }
    void append(const char* ascii) { bytes_.append(ascii); }
    void append(QStringView text) { bytes_.append(text.toUtf8()); }
    void appendSpaces(qsizetype count) { bytes_.append(count, ' '); }
    QByteArray take() { return std::move(bytes_); }

private:
    QByteArray bytes_;
};

// Code points written as "\u" and four hexadecimal digits: the controls and the invisible
// characters that would otherwise pass unseen or break a line in some readers.
bool escapedAsCode(char16_t c) {
    return c <= 31 || c == 127 || c == 173 || (c >= 1536 && c <= 1540) || c == 1807 || c == 6068 ||
           c == 6069 || (c >= 8204 && c <= 8207) || (c >= 8232 && c <= 8239) ||
           (c >= 8288 && c <= 8303) || c == 65279 || c >= 65520;
}

// A number pattern of the form "-0.0##": an optional "-", digits for the whole part ("0"
// always shown, "#" only when needed), and after "." the decimals ("0" always, "#" when not
// zero). Negative numbers keep their "-" in any case: the text must say the same number.
struct DecimalPattern {
    int minWhole = 0;
    int minDecimals = 0;
    int maxDecimals = 0;

    static DecimalPattern parse(const QString& format) {
        DecimalPattern p;
        qsizetype i = format.startsWith(u'-') ? 1 : 0;
        for (; i < format.size() && (format.at(i) == u'0' || format.at(i) == u'#'); ++i)
            if (format.at(i) == u'0') ++p.minWhole;
        if (i < format.size() && format.at(i) == u'.') {
            for (++i; i < format.size() && (format.at(i) == u'0' || format.at(i) == u'#'); ++i) {
                ++p.maxDecimals;
                if (format.at(i) == u'0') p.minDecimals = p.maxDecimals;
            }
        }
        if (i != format.size())
            throw std::invalid_argument("unsupported DecimalFormat \"" + format.toStdString() +
                                        "\"");
        return p;
    }

    QString format(double x) const {
        QString text = QString::number(std::fabs(x), 'f', maxDecimals);
        const qsizetype point = text.indexOf(u'.');
        QString whole = point < 0 ? text : text.left(point);
        QString decimals = point < 0 ? QString() : text.mid(point + 1);
        while (decimals.size() > minDecimals && decimals.endsWith(u'0')) decimals.chop(1);
        if (whole == QLatin1StringView("0") && minWhole == 0) whole.clear();
        if (whole.size() < minWhole) whole.prepend(QString(minWhole - whole.size(), u'0'));
        QString out = whole;
        if (!decimals.isEmpty()) out += QLatin1Char('.') + decimals;
        if (out.isEmpty()) out = QStringLiteral("0");
        // A value that rounds to nothing is written without a sign.
        const bool zero =
            std::all_of(out.cbegin(), out.cend(), [](QChar c) { return c == u'0' || c == u'.'; });
        if (x < 0 && !zero) out.prepend(u'-');
        return out;
    }
};

class Writer {
public:
    explicit Writer(const JSONItem::Data& settings)
        : compact_(settings.compact),
          indent_(std::max(0, settings.indentSpacing)),
          escapeSlashes_(settings.escapeSlashes),
          decimal_(DecimalPattern::parse(settings.decimalFormat)) {}

    // Iterative, so that depth costs heap and not stack.
    QByteArray write(std::shared_ptr<const JSONItem::Data> root) {
        open(std::move(root));
        while (!stack_.empty()) {
            Frame& top = stack_.back();
            const JSONItem::Data& d = *top.data;
            if (top.next == d.values.size()) {
                const char close = d.isArray ? ']' : '}';
                onPath_.remove(&d);
                stack_.pop_back();
                newline();
                out_.append(close);
                continue;
            }
            const qsizetype i = top.next++;
            if (i > 0) out_.append(',');
            newline();
            if (!d.isArray) {
                string(d.names.at(i));
                out_.append(compact_ ? ":" : ": ");
            }
            value(d.values.at(i));  // may push: `top` is not used after this
        }
        return out_.take();
    }

private:
    struct Frame {
        std::shared_ptr<const JSONItem::Data> data;
        qsizetype next = 0;
    };

    void open(std::shared_ptr<const JSONItem::Data> d) {
        if (onPath_.contains(d.get()))
            throw JSONException(QStringLiteral("Circular Reference Detected"), 14);
        if (d->values.isEmpty()) {
            out_.append(d->isArray ? "[]" : "{}");
            return;
        }
        out_.append(d->isArray ? '[' : '{');
        onPath_.insert(d.get());
        stack_.push_back({std::move(d), 0});
    }

    void newline() {
        if (compact_) return;
        out_.append('\n');
        out_.appendSpaces(qsizetype(stack_.size()) * indent_);
    }

    void value(const QVariant& v) {
        switch (v.metaType().id()) {
            case QMetaType::UnknownType:
            case QMetaType::Nullptr:
                out_.append("null");
                return;
            case QMetaType::Bool:
                out_.append(v.toBool() ? "true" : "false");
                return;
            case QMetaType::QString:
                string(v.toString());
                return;
            case QMetaType::Int:
            case QMetaType::Long:
            case QMetaType::LongLong:
            case QMetaType::Short:
            case QMetaType::Char:
            case QMetaType::SChar:
                out_.append(QString::number(v.toLongLong()));
                return;
            case QMetaType::UInt:
            case QMetaType::ULong:
            case QMetaType::ULongLong:
            case QMetaType::UShort:
            case QMetaType::UChar:
                out_.append(QString::number(v.toULongLong()));
                return;
            case QMetaType::Double:
            case QMetaType::Float: {
                const double x = v.toDouble();
                // JSON has no text for these.
                if (!std::isfinite(x))
                    throw JSONException(QStringLiteral("Unrecognized Object"), 11,
                                        QString::number(x));
                out_.append(decimal_.format(x));
                return;
            }
            default:
                break;
        }
        if (holdsItem(v)) {
            open(JSONItem::Data::of(v.value<JSONItem>()));
            return;
        }
        throw JSONException(QStringLiteral("Unrecognized Object"), 11,
                            QString::fromLatin1(v.metaType().name()));
    }

    void string(const QString& s) {
        out_.append('"');
        qsizetype runStart = 0;
        auto flush = [&](qsizetype end) {
            out_.append(QStringView(s).mid(runStart, end - runStart));
        };
        for (qsizetype i = 0; i < s.size(); ++i) {
            const char16_t c = s.at(i).unicode();
            const char* shortEscape = nullptr;
            switch (c) {
                case u'\\':
                    shortEscape = "\\\\";
                    break;
                case u'"':
                    shortEscape = "\\\"";
                    break;
                case u'\b':
                    shortEscape = "\\b";
                    break;
                case u'\f':
                    shortEscape = "\\f";
                    break;
                case u'\n':
                    shortEscape = "\\n";
                    break;
                case u'\r':
                    shortEscape = "\\r";
                    break;
                case u'\t':
                    shortEscape = "\\t";
                    break;
                case u'/':
                    shortEscape = escapeSlashes_ ? "\\/" : nullptr;
                    break;
                default:
                    break;
            }
            if (!shortEscape && !escapedAsCode(c)) continue;
            flush(i);
            runStart = i + 1;
            if (shortEscape) {
                out_.append(shortEscape);
            } else {
                // Lower-case hexadecimal digits.
                out_.append("\\u");
                out_.append(QString::number(c, 16).rightJustified(4, u'0'));
            }
        }
        flush(s.size());
        out_.append('"');
    }

    const bool compact_;
    const qsizetype indent_;
    const bool escapeSlashes_;
    const DecimalPattern decimal_;
    JSONStringBuffer out_;
    std::vector<Frame> stack_;
    QSet<const JSONItem::Data*> onPath_;
};

[[noreturn]] void throwNotAnArray(const char* spelling) {
    throw JSONException(QString::fromLatin1(spelling), 12);
}

constexpr const char* kNotAArray = "JSONItem is not a array";
constexpr const char* kNotAnArray = "JSONItem is not an array";

OutOfBounds missingName(const QString& name) {
    return OutOfBounds("name \"" + name.toStdString() + "\" out of bounds: no such name");
}

}  // namespace

JSONItem::JSONItem() : d_(std::make_shared<Data>()) {}

JSONItem::JSONItem(const QString& text) : JSONItem() {
    Load(text);
}

void JSONItem::Load(const QString& text) {
    // The item is left as it was when the text is bad.
    const std::shared_ptr<Data> parsed = Parser(text).document();
    d_->isArray = parsed->isArray;
    d_->modeSettled = true;
    d_->names = std::move(parsed->names);
    d_->values = std::move(parsed->values);
    d_->positions = std::move(parsed->positions);
}

QString JSONItem::ToString() const {
    return QString::fromUtf8(Writer(*d_).write(d_));
}

bool& JSONItem::Compact() {
    return d_->compact;
}
int& JSONItem::IndentSpacing() {
    return d_->indentSpacing;
}
bool& JSONItem::EscapeSlashes() {
    return d_->escapeSlashes;
}
QString& JSONItem::DecimalFormat() {
    return d_->decimalFormat;
}

bool JSONItem::IsArray() const {
    return d_->isArray;
}
qsizetype JSONItem::Count() const {
    return d_->values.size();
}

void JSONItem::Clear() {
    d_->names.clear();
    d_->values.clear();
    d_->positions.clear();
}

namespace {

void requireObject(const JSONItem& item) {
    if (item.IsArray()) throw JSONException(QStringLiteral("JSONItem is an array"), 13);
}

JSONItem childOf(const QVariant& value, const QString& where) {
    if (!holdsItem(value))
        throw std::invalid_argument(where.toStdString() + " holds no JSONItem but a " +
                                    (value.isValid() ? value.metaType().name() : "null"));
    return value.value<JSONItem>();
}

}  // namespace

QVariant JSONItem::Value(const QString& name) const {
    requireObject(*this);
    const auto found = d_->positions.constFind(name);
    if (found == d_->positions.cend()) throw missingName(name);
    return d_->values.at(*found);
}

void JSONItem::setValue(const QString& name, const QVariant& value) {
    requireObject(*this);
    d_->modeSettled = true;
    d_->put(name, value);
}

QVariant JSONItem::Lookup(const QString& name, const QVariant& defaultValue) const {
    requireObject(*this);
    const auto found = d_->positions.constFind(name);
    return found == d_->positions.cend() ? defaultValue : d_->values.at(*found);
}

bool JSONItem::HasName(const QString& name) const {
    requireObject(*this);
    return d_->positions.contains(name);
}

QString JSONItem::Name(qsizetype index) const {
    requireObject(*this);
    return at(std::as_const(d_->names), index);
}

QStringList JSONItem::Names() const {
    requireObject(*this);
    return d_->names;
}

JSONItem JSONItem::Child(const QString& name) const {
    return childOf(Value(name), QStringLiteral("\"") + name + QLatin1Char('"'));
}

void JSONItem::Remove(const QString& name) {
    requireObject(*this);
    const auto found = d_->positions.constFind(name);
    if (found == d_->positions.cend()) return;
    const qsizetype place = *found;
    d_->names.removeAt(place);
    d_->values.removeAt(place);
    d_->positions.remove(name);
    for (qsizetype i = place; i < d_->names.size(); ++i) d_->positions[d_->names.at(i)] = i;
}

// Turns a fresh item into an array, or throws error 12 with the caller's spelling.
static void requireArray(JSONItem::Data& d, const char* spelling) {
    if (d.isArray) return;
    if (d.modeSettled || !d.values.isEmpty()) throwNotAnArray(spelling);
    d.isArray = true;
    d.modeSettled = true;
}

QVariant JSONItem::Value(qsizetype index) const {
    requireArray(*d_, kNotAnArray);
    return at(std::as_const(d_->values), index);
}

void JSONItem::setValue(qsizetype index, const QVariant& value) {
    requireArray(*d_, kNotAArray);
    at(d_->values, index) = value;
}

void JSONItem::Append(const QVariant& value) {
    requireArray(*d_, kNotAArray);
    d_->values.append(value);
}

void JSONItem::Insert(qsizetype index, const QVariant& value) {
    requireArray(*d_, kNotAArray);
    if (index < 0 || index > d_->values.size())
        throw OutOfBounds("index " + std::to_string(index) + " out of bounds (size " +
                          std::to_string(d_->values.size()) + ")");
    d_->values.insert(index, value);
}

void JSONItem::Remove(qsizetype index) {
    requireArray(*d_, kNotAArray);
    (void)at(std::as_const(d_->values), index);  // checks the position
    d_->values.removeAt(index);
}

JSONItem JSONItem::Child(qsizetype index) const {
    requireArray(*d_, kNotAArray);
    return childOf(at(std::as_const(d_->values), index),
                   QStringLiteral("position ") + QString::number(index));
}

}  // namespace velto
