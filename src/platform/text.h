#pragma once
// The text functions the system's logic is written in. Positions count from 1, Val reads a
// leading number or gives 0, and Split of an empty text gives no fields at all: the handlers
// rely on exactly these rules, so every parse in the program goes through here.

#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace velto {

/// The leading number of a text (after leading blanks), or 0 when there is none.
double Val(const QString& text);
/// Val truncated towards zero, saturated to the 64-bit range.
qint64 ValInt(const QString& text);
/// A real number truncated towards zero, saturated to the 64-bit range.
qint64 Trunc(double value);

/// Whole-number arithmetic on numbers from peers, files and fields: the result stops at the ends
/// of the 64-bit range instead of wrapping, so ";TIMEOUT=1E16" is a long time-out, not a short one.
qint64 AddSat(qint64 a, qint64 b);
qint64 SubSat(qint64 a, qint64 b);
qint64 MulSat(qint64 a, qint64 b);
/// |a - b|, saturated: how far apart two levels are, whatever a peer made of one of them.
qint64 Distance(qint64 a, qint64 b);

/// Decimal text of a number.
QString Str(qint64 value);
QString Str(double value);

/// "#": the nearest whole number, no grouping; "#%": x * 100 rounded, and "%".
/// Any other mask is a programming error and throws.
QString Format(double value, const QString& mask);

QString Trim(const QString& text);
QString Left(const QString& text, qsizetype count);
QString Right(const QString& text, qsizetype count);
/// From 1-based `start`, `count` characters (all the rest when count < 0).
QString Mid(const QString& text, qsizetype start, qsizetype count = -1);
/// 1-based position of `find` in `text` (case-insensitive), 0 when absent.
qsizetype InStr(const QString& text, const QString& find);
/// Replaces the first occurrence (case-insensitive).
QString Replace(const QString& text, const QString& find, const QString& with);
QString ReplaceAll(const QString& text, const QString& find, const QString& with);
/// Fields cut at every `sep`; an empty text has no fields.
QStringList Split(const QString& text, const QString& sep);
qsizetype CountFields(const QString& text, const QString& sep);
/// 1-based field; "" when there is no such field.
QString NthField(const QString& text, const QString& sep, qsizetype n);
QString Uppercase(const QString& text);
/// Text equality as the system knows it: case is ignored.
bool same(const QString& a, const QString& b);
/// Upper bound of a split, as the handlers test it: -1 for no fields.
inline qsizetype Ubound(const QStringList& list) { return list.size() - 1; }

}  // namespace velto
