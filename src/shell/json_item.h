#pragma once
// JSONItem: a JSON object or array that keeps its entries in insertion order, parses text and
// writes it. Its errors, escapes and number format are the system's own rules, so it is not
// QJsonDocument. An item is a handle: copies share one value, as nested items do, so an item
// can be made to hold itself (which serialising reports as an error).

#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <stdexcept>

namespace velto {

class JSONException : public std::runtime_error {
public:
    /// The plain form: the message as it stands.
    JSONException(const QString& message, int errorNumber);
    /// The parse form: message, " at position " and the position, counted from 1.
    JSONException(const QString& message, int errorNumber, qsizetype position);
    /// The detailed form: message, ": " and the detail.
    JSONException(const QString& message, int errorNumber, const QString& detail);

    const QString& message() const { return message_; }
    int errorNumber() const { return errorNumber_; }

private:
    QString message_;
    int errorNumber_;
};

class JSONItem {
public:
    /// An empty object.
    JSONItem();
    /// Parses `text`; throws JSONException on bad text.
    explicit JSONItem(const QString& text);

    /// Replaces the contents with those parsed from `text`; throws JSONException on bad text.
    void Load(const QString& text);
    /// The text of the item, per Compact, IndentSpacing, EscapeSlashes and DecimalFormat.
    QString ToString() const;
    QString Serialize() const { return ToString(); }

    // Serialising settings. They belong to the handle's shared value, like the entries.
    bool& Compact();
    int& IndentSpacing();
    bool& EscapeSlashes();
    QString& DecimalFormat();

    bool IsArray() const;
    qsizetype Count() const;
    /// Empties the item; an array stays an array.
    void Clear();

    // Object operations; on an array they throw error 13. Names are compared exactly.
    /// A missing name throws OutOfBounds.
    QVariant Value(const QString& name) const;
    /// Adds or replaces; a new name goes to the end.
    void setValue(const QString& name, const QVariant& value);
    QVariant Lookup(const QString& name, const QVariant& defaultValue) const;
    bool HasName(const QString& name) const;
    QString Name(qsizetype index) const;
    QStringList Names() const;
    /// The nested item under `name`; a missing name throws OutOfBounds, a value that is no
    /// item std::invalid_argument.
    JSONItem Child(const QString& name) const;
    /// A missing name is no error.
    void Remove(const QString& name);

    // Array operations; on an object they throw error 12. A new, empty item becomes an array
    // at its first array operation. Positions out of range throw OutOfBounds.
    QVariant Value(qsizetype index) const;
    void setValue(qsizetype index, const QVariant& value);
    void Append(const QVariant& value);
    void Insert(qsizetype index, const QVariant& value);
    void Remove(qsizetype index);
    JSONItem Child(qsizetype index) const;

    /// True when both handles share one value.
    bool isSameItem(const JSONItem& other) const { return d_ == other.d_; }

    struct Data;

private:
    explicit JSONItem(std::shared_ptr<Data> d) : d_(std::move(d)) {}
    std::shared_ptr<Data> d_;
};

}  // namespace velto

Q_DECLARE_METATYPE(velto::JSONItem)
