#include "platform/text.h"

#include <QtNumeric>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace velto {

double Val(const QString& text) {
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n && (text[i] == QLatin1Char(' ') || text[i] == QLatin1Char('\t'))) ++i;
    const qsizetype start = i;
    if (i < n && (text[i] == QLatin1Char('+') || text[i] == QLatin1Char('-'))) ++i;
    qsizetype digits = 0;
    while (i < n && text[i].isDigit() && text[i].unicode() < 128) ++i, ++digits;
    if (i < n && text[i] == QLatin1Char('.')) {
        ++i;
        while (i < n && text[i].isDigit() && text[i].unicode() < 128) ++i, ++digits;
    }
    if (digits == 0) return 0.0;
    // An exponent counts only when digits follow it.
    if (i < n && (text[i] == QLatin1Char('e') || text[i] == QLatin1Char('E'))) {
        qsizetype j = i + 1;
        if (j < n && (text[j] == QLatin1Char('+') || text[j] == QLatin1Char('-'))) ++j;
        const qsizetype expStart = j;
        while (j < n && text[j].isDigit() && text[j].unicode() < 128) ++j;
        if (j > expStart) i = j;
    }
    bool ok = false;
    const double value = text.mid(start, i - start).toDouble(&ok);
    if (!ok || std::isnan(value)) return 0.0;
    return value;
}

qint64 Trunc(double value) {
    if (std::isnan(value)) return 0;
    // Saturate: a cast of an out-of-range real would be undefined.
    constexpr double lo = -9223372036854775808.0;
    constexpr double hi = 9223372036854775807.0;
    if (value <= lo) return std::numeric_limits<qint64>::min();
    if (value >= hi) return std::numeric_limits<qint64>::max();
    return static_cast<qint64>(std::trunc(value));
}

qint64 ValInt(const QString& text) { return Trunc(Val(text)); }

namespace {
constexpr qint64 kMin = std::numeric_limits<qint64>::min();
constexpr qint64 kMax = std::numeric_limits<qint64>::max();
}  // namespace

qint64 AddSat(qint64 a, qint64 b) {
    qint64 sum = 0;
    if (qAddOverflow(a, b, &sum)) return b < 0 ? kMin : kMax;
    return sum;
}

qint64 SubSat(qint64 a, qint64 b) {
    qint64 difference = 0;
    if (qSubOverflow(a, b, &difference)) return b < 0 ? kMax : kMin;
    return difference;
}

qint64 MulSat(qint64 a, qint64 b) {
    qint64 product = 0;
    if (qMulOverflow(a, b, &product)) return (a < 0) != (b < 0) ? kMin : kMax;
    return product;
}

qint64 Distance(qint64 a, qint64 b) { return a >= b ? SubSat(a, b) : SubSat(b, a); }

QString Str(qint64 value) { return QString::number(value); }

QString Str(double value) {
    if (std::isfinite(value) && value == std::trunc(value) && std::fabs(value) < 1e15)
        return QString::number(static_cast<qint64>(value));
    return QString::number(value, 'g', 15);
}

static QString roundedText(double value) {
    const double r = std::round(value);
    if (!std::isfinite(r) || std::fabs(r) >= 1e18) return QString::number(r, 'f', 0);
    const qint64 whole = static_cast<qint64>(r);
    return QString::number(whole);  // never "-0": a whole 0 prints as "0"
}

QString Format(double value, const QString& mask) {
    if (mask == QLatin1String("#")) return roundedText(value);
    if (mask == QLatin1String("#%")) return roundedText(value * 100.0) + QLatin1Char('%');
    throw std::invalid_argument("unsupported format mask: " + mask.toStdString());
}

QString Trim(const QString& text) { return text.trimmed(); }

QString Left(const QString& text, qsizetype count) { return count <= 0 ? QString() : text.left(count); }

QString Right(const QString& text, qsizetype count) {
    return count <= 0 ? QString() : text.right(count);
}

QString Mid(const QString& text, qsizetype start, qsizetype count) {
    if (start < 1) start = 1;
    if (start > text.size()) return QString();
    return count < 0 ? text.mid(start - 1) : text.mid(start - 1, count);
}

qsizetype InStr(const QString& text, const QString& find) {
    if (find.isEmpty()) return text.isEmpty() ? 0 : 1;
    return text.indexOf(find, 0, Qt::CaseInsensitive) + 1;
}

QString Replace(const QString& text, const QString& find, const QString& with) {
    if (find.isEmpty()) return text;
    const qsizetype at = text.indexOf(find, 0, Qt::CaseInsensitive);
    if (at < 0) return text;
    QString result = text;
    result.replace(at, find.size(), with);
    return result;
}

QString ReplaceAll(const QString& text, const QString& find, const QString& with) {
    if (find.isEmpty()) return text;
    QString result = text;
    return result.replace(find, with, Qt::CaseInsensitive);
}

QStringList Split(const QString& text, const QString& sep) {
    if (text.isEmpty()) return {};
    return text.split(sep, Qt::KeepEmptyParts, Qt::CaseInsensitive);
}

qsizetype CountFields(const QString& text, const QString& sep) { return Split(text, sep).size(); }

QString NthField(const QString& text, const QString& sep, qsizetype n) {
    const QStringList fields = Split(text, sep);
    if (n < 1 || n > fields.size()) return QString();
    return fields[n - 1];
}

QString Uppercase(const QString& text) { return text.toUpper(); }

bool same(const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) == 0; }

}  // namespace velto
