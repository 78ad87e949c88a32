#include <gtest/gtest.h>

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <functional>
#include <limits>
#include <optional>

#include "platform/boundary.h"
#include "shell/json_item.h"

using namespace velto;

namespace {

const QString kReply = QStringLiteral(
    R"({"status":"ok","appinfo":{"latestbuild":261,"latestversion":"2.6.2","notes":"Fixes","url":"https://example.org/dl"}})");

// The JSONException a call throws, or none.
std::optional<std::pair<int, QString>> errorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const JSONException& e) {
        EXPECT_EQ(QString::fromUtf8(e.what()), e.message());
        return std::make_pair(e.errorNumber(), e.message());
    }
    return std::nullopt;
}

QString written(const QVariant& value) {
    JSONItem item;
    item.Append(value);
    const QString text = item.ToString();
    return text.mid(1, text.size() - 2);
}

QJsonValue toQJson(const QVariant& value) {
    if (!value.canConvert<JSONItem>()) return QJsonValue::fromVariant(value);
    const JSONItem item = value.value<JSONItem>();
    if (item.IsArray()) {
        QJsonArray array;
        for (qsizetype i = 0; i < item.Count(); ++i) array.append(toQJson(item.Value(i)));
        return array;
    }
    QJsonObject object;
    for (const QString& name : item.Names()) object.insert(name, toQJson(item.Value(name)));
    return object;
}

}  // namespace

TEST(JSONItem, EmptyContainersSelfHoldingItemsAndSlashes) {
    EXPECT_TRUE(JSONItem(QStringLiteral(" [ ] ")).IsArray());
    EXPECT_EQ(JSONItem(QStringLiteral("[]")).ToString(), QStringLiteral("[]"));
    EXPECT_FALSE(JSONItem(QStringLiteral("{}")).IsArray());
    EXPECT_EQ(JSONItem(QStringLiteral("{}")).ToString(), QStringLiteral("{}"));

    JSONItem outer;
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(outer));
    EXPECT_EQ(errorOf([&] { outer.ToString(); })->second,
              QStringLiteral("Circular Reference Detected"));
    JSONItem inner;
    inner.Append(QVariant::fromValue(outer));
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(inner));  // two levels round
    EXPECT_EQ(errorOf([&] { inner.ToString(); })->first, 14);
    JSONItem shared;  // the same item twice, side by side, is no circle
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(shared));
    outer.setValue(QStringLiteral("again"), QVariant::fromValue(shared));
    EXPECT_EQ(inner.ToString(), QStringLiteral(R"([{"self":{},"again":{}}])"));

    JSONItem path;
    path.setValue(QStringLiteral("p"), QStringLiteral("a/b"));
    EXPECT_EQ(path.ToString(), QStringLiteral(R"({"p":"a\/b"})"));
    path.EscapeSlashes() = false;
    EXPECT_EQ(path.ToString(), QStringLiteral(R"({"p":"a/b"})"));
}

TEST(JSONItem, EveryErrorHasItsNumberMessageAndPosition) {
    const QString deep = QString(600, u'[') + QString(600, u']');
    const struct {
        QString text;
        int number;
        const char* message;
    } parseCases[] = {
        {QString(), 1, "Parse Error: Expecting '{' or '[' at position 1"},
        {QStringLiteral("  x"), 1, "Parse Error: Expecting '{' or '[' at position 3"},
        {QStringLiteral("[1;2]"), 2, "A parsing error occurred at position 3"},
        {QStringLiteral("[1] x"), 2, "A parsing error occurred at position 5"},
        {deep, 2, "A parsing error occurred at position 513"},
        {QStringLiteral("[-x]"), 3, "Illegal Number Format at position 3"},
        {QStringLiteral("[1.e5]"), 3, "Illegal Number Format at position 4"},
        {QStringLiteral("[1e+]"), 3, "Illegal Number Format at position 5"},
        {QStringLiteral("[1e999]"), 3, "Illegal Number Format at position 2"},
        {QStringLiteral(R"({"a" 1})"), 5, "Missing : at position 6"},
        {QStringLiteral(R"({"a":1 "b":2})"), 6, "Missing , or } at position 8"},
        {QStringLiteral("{a:1}"), 7, "Missing \" at position 2"},
        {QStringLiteral(R"({"a":1,})"), 7, "Missing \" at position 8"},
        {QStringLiteral(R"(["abc)"), 7, "Missing \" at position 6"},
        {QStringLiteral(R"(["\u12G4"])"), 8, "Illegal Unicode Character Format at position 3"},
        {QStringLiteral(R"(["x\ud83d"])"), 8, "Illegal Unicode Character Format at position 4"},
        {QStringLiteral(R"(["\ude00"])"), 8, "Illegal Unicode Character Format at position 3"},
        {QStringLiteral(R"(["\x"])"), 9, "Illegal Character at position 3"},
        {QStringLiteral("[\"a\tb\"]"), 9, "Illegal Character at position 4"},
        {QStringLiteral("[nul]"), 10, "Illegal Value at position 2"},
        {QStringLiteral("[1,]"), 10, "Illegal Value at position 4"},
    };
    for (const auto& c : parseCases) {
        JSONItem item;
        item.setValue(QStringLiteral("kept"), true);
        const auto error = errorOf([&] { item.Load(c.text); });
        ASSERT_TRUE(error) << c.text.left(40).toStdString();
        EXPECT_EQ(error->first, c.number) << c.message;
        EXPECT_EQ(error->second, QString::fromLatin1(c.message));
        EXPECT_EQ(item.ToString(), QStringLiteral(R"({"kept":true})"));  // bad text changes nothing
    }

    JSONItem object(QStringLiteral("{}"));
    JSONItem array(QStringLiteral("[]"));
    const struct {
        std::function<void()> call;
        int number;
        const char* message;
    } useCases[] = {
        {[&] {
             object.setValue(QStringLiteral("d"), QDate(2024, 1, 1));
             object.ToString();
         },
         11, "Unrecognized Object: QDate"},
        {[&] {
             array.Append(std::numeric_limits<double>::infinity());
             array.ToString();
         },
         11, "Unrecognized Object: inf"},
        {[&] { object.Append(1); }, 12, "JSONItem is not a array"},
        {[&] { object.Insert(0, 1); }, 12, "JSONItem is not a array"},
        {[&] { object.Remove(0); }, 12, "JSONItem is not a array"},
        {[&] { object.Child(0); }, 12, "JSONItem is not a array"},
        {[&] { object.setValue(0, 1); }, 12, "JSONItem is not a array"},
        {[&] { object.Value(0); }, 12, "JSONItem is not an array"},
        {[&] { array.Value(QStringLiteral("a")); }, 13, "JSONItem is an array"},
        {[&] { array.setValue(QStringLiteral("a"), 1); }, 13, "JSONItem is an array"},
        {[&] { array.HasName(QStringLiteral("a")); }, 13, "JSONItem is an array"},
        {[&] { array.Names(); }, 13, "JSONItem is an array"},
    };
    for (const auto& c : useCases) {
        const auto error = errorOf(c.call);
        ASSERT_TRUE(error) << c.message;
        EXPECT_EQ(error->first, c.number) << c.message;
        EXPECT_EQ(error->second, QString::fromLatin1(c.message));
    }
}

TEST(JSONItem, UpdateServiceReplyRoundTrips) {
    const JSONItem reply(kReply);
    EXPECT_EQ(reply.Value(QStringLiteral("status")).toString(), QStringLiteral("ok"));
    const JSONItem info = reply.Child(QStringLiteral("appinfo"));
    EXPECT_EQ(info.Value(QStringLiteral("latestbuild")).metaType(), QMetaType::fromType<qint64>());
    EXPECT_EQ(info.Value(QStringLiteral("latestbuild")).toInt(), 261);
    EXPECT_EQ(info.Value(QStringLiteral("latestbuild")).toString(), QStringLiteral("261"));
    EXPECT_EQ(info.Value(QStringLiteral("url")).toString(),
              QStringLiteral("https://example.org/dl"));
    EXPECT_EQ(info.Lookup(QStringLiteral("missing"), 7).toInt(), 7);
    EXPECT_THROW(info.Value(QStringLiteral("missing")), OutOfBounds);
    EXPECT_THROW(reply.Child(QStringLiteral("status")), std::invalid_argument);

    QString expected = kReply;
    expected.replace(u'/', QStringLiteral("\\/"));
    EXPECT_EQ(reply.ToString(), expected);
    EXPECT_EQ(JSONItem(reply.ToString()).ToString(), expected);

    // The same reply built by hand, as the service's fallback is.
    JSONItem built;
    built.setValue(QStringLiteral("status"), QStringLiteral("ok"));
    JSONItem appinfo;
    appinfo.setValue(QStringLiteral("latestbuild"), 261);
    appinfo.setValue(QStringLiteral("latestversion"), QStringLiteral("2.6.2"));
    appinfo.setValue(QStringLiteral("notes"), QStringLiteral("Fixes"));
    appinfo.setValue(QStringLiteral("url"), QStringLiteral("https://example.org/dl"));
    built.setValue(QStringLiteral("appinfo"), QVariant::fromValue(appinfo));
    EXPECT_EQ(built.ToString(), expected);
    appinfo.setValue(QStringLiteral("notes"),
                     QStringLiteral("Changed"));  // nested items are shared
    EXPECT_TRUE(built.ToString().contains(QStringLiteral("Changed")));
}

TEST(JSONItem, EntriesKeepTheirOrderAndModesTheirRules) {
    JSONItem parsed(QStringLiteral(R"({"b":1,"a":2,"b":3})"));
    EXPECT_EQ(parsed.Names(), QStringList({QStringLiteral("b"), QStringLiteral("a")}));
    EXPECT_EQ(parsed.Value(QStringLiteral("b")).toInt(), 3);  // a repeated name keeps its place

    JSONItem item;
    for (const char* name : {"z", "a", "m"}) item.setValue(QString::fromLatin1(name), name);
    item.setValue(QStringLiteral("a"), 5);
    EXPECT_EQ(item.ToString(), QStringLiteral(R"({"z":"z","a":5,"m":"m"})"));
    item.Remove(QStringLiteral("z"));
    item.Remove(QStringLiteral("absent"));
    item.setValue(QStringLiteral("z"), QVariant());
    EXPECT_EQ(item.ToString(), QStringLiteral(R"({"a":5,"m":"m","z":null})"));
    EXPECT_EQ(item.Name(2), QStringLiteral("z"));
    EXPECT_EQ(item.Value(QStringLiteral("m")).toString(), QStringLiteral("m"));  // names re-indexed
    EXPECT_THROW(item.Name(3), OutOfBounds);

    JSONItem list;  // a fresh item turns into an array
    list.Append(2);
    list.Insert(0, 1);
    list.Insert(2, 4);
    list.setValue(2, 3);
    EXPECT_TRUE(list.IsArray());
    EXPECT_THROW(list.Insert(4, 5), OutOfBounds);
    EXPECT_THROW(list.setValue(3, 5), OutOfBounds);
    list.Remove(1);
    EXPECT_EQ(list.ToString(), QStringLiteral("[1,3]"));
    list.Clear();
    EXPECT_TRUE(list.IsArray());
    EXPECT_EQ(list.ToString(), QStringLiteral("[]"));

    const QVariant held = QVariant::fromValue(list);
    EXPECT_TRUE(held.canConvert<JSONItem>());
    EXPECT_TRUE(held.value<JSONItem>().isSameItem(list));
}

TEST(JSONItem, WrittenOutWithLinesAndIndentation) {
    JSONItem item(QStringLiteral(R"({"a":1,"b":[1,{"c":null}],"e":{},"f":[]})"));
    item.Compact() = false;
    EXPECT_EQ(item.ToString(),
              QStringLiteral("{\n  \"a\": 1,\n  \"b\": [\n    1,\n    {\n      \"c\": "
                             "null\n    }\n  ],\n  \"e\": {},\n  \"f\": []\n}"));
    item.IndentSpacing() = 1;
    EXPECT_TRUE(item.ToString().startsWith(QStringLiteral("{\n \"a\": 1,\n \"b\": [\n  1,")));
    EXPECT_EQ(JSONItem(item.ToString()).ToString(),
              QStringLiteral(R"({"a":1,"b":[1,{"c":null}],"e":{},"f":[]})"));
}

TEST(JSONItem, StringsAreEscapedAtTheTableBoundaries) {
    EXPECT_EQ(written(QStringLiteral("\\\"\b\f\n\r\t/")), QStringLiteral(R"("\\\"\b\f\n\r\t\/")"));
    const struct {
        char16_t code;
        bool escaped;
    } cases[] = {{0, true},     {31, true},    {32, false},    {126, false},  {127, true},
                 {128, false},  {172, false},  {173, true},    {174, false},  {1535, false},
                 {1536, true},  {1540, true},  {1541, false},  {1806, false}, {1807, true},
                 {1808, false}, {6067, false}, {6068, true},   {6069, true},  {6070, false},
                 {8203, false}, {8204, true},  {8207, true},   {8208, false}, {8231, false},
                 {8232, true},  {8239, true},  {8240, false},  {8287, false}, {8288, true},
                 {8303, true},  {8304, false}, {65278, false}, {65279, true}, {65519, false},
                 {65520, true}, {65535, true}};
    for (const auto& c : cases) {
        const QString text(QChar(c.code));
        const QString expected =
            c.escaped ? QStringLiteral("\"\\u%1\"").arg(uint(c.code), 4, 16, QLatin1Char('0'))
                      : QLatin1Char('"') + text + QLatin1Char('"');
        EXPECT_EQ(written(text), expected) << int(c.code);
        EXPECT_EQ(JSONItem(QLatin1Char('[') + expected + QLatin1Char(']')).Value(0).toString(),
                  text)
            << int(c.code);
    }
    const JSONItem pair(QStringLiteral(R"(["\ud83D\uDE00\u00e9"])"));
    EXPECT_EQ(pair.Value(0).toString(), QString::fromUtf8("\xF0\x9F\x98\x80\xC3\xA9"));
    EXPECT_EQ(pair.ToString(), QString::fromUtf8("[\"\xF0\x9F\x98\x80\xC3\xA9\"]"));
}

TEST(JSONItem, NumbersFollowTheDecimalFormat) {
    EXPECT_EQ(written(1.0), QStringLiteral("1.0"));
    EXPECT_EQ(written(-2.25), QStringLiteral("-2.25"));
    EXPECT_EQ(written(1234567.5), QStringLiteral("1234567.5"));
    EXPECT_EQ(written(1.0 / 3), QStringLiteral("0.333333333333333"));
    EXPECT_EQ(written(-1e-20), QStringLiteral("0.0"));
    EXPECT_EQ(written(0.5f), QStringLiteral("0.5"));
    EXPECT_EQ(written(std::numeric_limits<qint64>::min()), QStringLiteral("-9223372036854775808"));
    EXPECT_EQ(written(std::numeric_limits<quint64>::max()), QStringLiteral("18446744073709551615"));
    EXPECT_EQ(written(true) + written(false), QStringLiteral("truefalse"));

    JSONItem item;
    item.DecimalFormat() = QStringLiteral("#.##");
    item.Append(0.5);
    item.Append(2.0);
    item.Append(-0.126);
    EXPECT_EQ(item.ToString(), QStringLiteral("[.5,2,-.13]"));
    item.DecimalFormat() = QStringLiteral("#,##0.0");
    EXPECT_THROW(item.ToString(), std::invalid_argument);

    const JSONItem parsed(QStringLiteral("[1.5e2,-7,12345678901234567890,-0,1E-2,fals ,TRUE]"));
    EXPECT_EQ(parsed.Value(0), QVariant(150.0));
    EXPECT_EQ(parsed.Value(1), QVariant(qint64(-7)));
    EXPECT_EQ(parsed.Value(2).metaType(), QMetaType::fromType<double>());
    EXPECT_EQ(parsed.Value(3), QVariant(qint64(0)));
    EXPECT_EQ(parsed.Value(4), QVariant(0.01));
    EXPECT_EQ(parsed.Value(5), QVariant(false));  // the keywords are read by four characters
    EXPECT_EQ(parsed.Value(6), QVariant(true));
}

TEST(JSONItem, ParsesAsQJsonDocumentDoes) {
    const QString texts[] = {
        kReply,
        QStringLiteral(R"([1, -2.5, 3e2, "x\"y\\z\/", true, false, null, [], {}, [[{"k": [0]}]]])"),
        QStringLiteral(
            " \r\n\t{ \"a\" : { \"b\" : [ 1 , 2 ] } , \"\\u00e9\\n\" : \"\\uD834\\uDD1E\" } \n"),
    };
    for (const QString& text : texts) {
        QJsonParseError error;
        const QJsonDocument reference = QJsonDocument::fromJson(text.toUtf8(), &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << text.toStdString();
        const JSONItem item(text);
        const QJsonValue mine = toQJson(QVariant::fromValue(item));
        EXPECT_EQ(mine, reference.isArray() ? QJsonValue(reference.array())
                                            : QJsonValue(reference.object()))
            << text.toStdString();
    }
}

TEST(JSONItem, DeepNestingBuiltInCodeNeedsNoStack) {
    constexpr int kDepth = 100000;
    JSONItem root;
    JSONItem level = root;
    for (int i = 0; i < kDepth; ++i) {
        JSONItem next;
        level.Append(QVariant::fromValue(next));
        level = next;
    }
    EXPECT_EQ(root.ToString(),
              QString(kDepth, u'[') + QStringLiteral("{}") + QString(kDepth, u']'));
}
