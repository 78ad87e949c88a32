#include <gtest/gtest.h>

#include <QDate>
#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "platform/boundary.h"
#include "shell/json_item.h"

using namespace velto;

namespace {

const QString kReply = QStringLiteral(
    R"({"status":"ok","appinfo":{"latestbuild":261,"latestversion":"2.6.2","url":"https://example.org/dl"}})");

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

}  // namespace

TEST(JSONItem, EmptyContainersSelfHoldingItemsAndSlashes) {
    EXPECT_EQ(JSONItem(QStringLiteral(" [ ] ")).ToString(), QStringLiteral("[]"));
    JSONItem outer;
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(outer));
    EXPECT_EQ(errorOf([&] { outer.ToString(); }),
              std::make_pair(14, QStringLiteral("Circular Reference Detected")));
    JSONItem shared;  // the same item twice, side by side, is no circle
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(shared));
    outer.setValue(QStringLiteral("again"), QVariant::fromValue(shared));
    EXPECT_EQ(outer.ToString(), QStringLiteral(R"({"self":{},"again":{}})"));
    JSONItem path;
    path.setValue(QStringLiteral("p"), QStringLiteral("a/b"));
    EXPECT_EQ(path.ToString(), QStringLiteral(R"({"p":"a\/b"})"));
    path.EscapeSlashes() = false;
    EXPECT_EQ(path.ToString(), QStringLiteral(R"({"p":"a/b"})"));
}

TEST(JSONItem, EveryErrorHasItsNumberMessageAndPosition) {
    JSONItem kept;
    kept.setValue(QStringLiteral("kept"), true);
    const auto load = [&](const char* text) {
        return [&kept, text] { kept.Load(QString::fromUtf8(text)); };
    };
    const std::string deep = std::string(600, '[') + std::string(600, ']');
    JSONItem object(QStringLiteral("{}"));
    JSONItem array(QStringLiteral("[]"));
    const auto write = [](JSONItem& item, const QVariant& value) {
        item.setValue(QStringLiteral("v"), value);
        item.ToString();
    };
    const struct {
        std::function<void()> call;
        int number;
        const char* message;
    } cases[] = {
        {load("  x"), 1, "Parse Error: Expecting '{' or '[' at position 3"},
        {load("[1;2]"), 2, "A parsing error occurred at position 3"},
        {load(deep.c_str()), 2, "A parsing error occurred at position 513"},
        {load("[1.e5]"), 3, "Illegal Number Format at position 4"},
        {load("[1e999]"), 3, "Illegal Number Format at position 2"},
        {load(R"({"a" 1})"), 5, "Missing : at position 6"},
        {load(R"({"a":1 "b":2})"), 6, "Missing , or } at position 8"},
        {load(R"({"a":1,})"), 7, "Missing \" at position 8"},
        {load(R"(["\u12G4"])"), 8, "Illegal Unicode Character Format at position 3"},
        {load(R"(["x\ud83d"])"), 8, "Illegal Unicode Character Format at position 4"},
        {load(R"(["\ude00"])"), 8, "Illegal Unicode Character Format at position 3"},
        {load(R"(["\u00e9)"), 7, "Missing \" at position 9"},  // its digits end the text
        {load(R"(["\x"])"), 9, "Illegal Character at position 3"},
        {load("[1,]"), 10, "Illegal Value at position 4"},
        {[&] { write(object, QDate(2024, 1, 1)); }, 11, "Unrecognized Object: QDate"},
        {[&] { write(object, std::numeric_limits<double>::infinity()); }, 11,
         "Unrecognized Object: inf"},
        {[&] { object.Append(1); }, 12, "JSONItem is not a array"},
        {[&] { object.Value(0); }, 12, "JSONItem is not an array"},
        {[&] { array.Value(QStringLiteral("a")); }, 13, "JSONItem is an array"},
    };
    for (const auto& c : cases) {
        const auto error = errorOf(c.call);
        ASSERT_TRUE(error) << c.message;
        EXPECT_EQ(error->first, c.number) << c.message;
        EXPECT_EQ(error->second, QString::fromLatin1(c.message));
    }
    EXPECT_EQ(kept.ToString(), QStringLiteral(R"({"kept":true})"));  // bad text changes nothing
}

TEST(JSONItem, UpdateServiceReplyRoundTripsAndSharesItsChildren) {
    const JSONItem reply(kReply);
    JSONItem info = reply.Child(QStringLiteral("appinfo"));
    EXPECT_EQ(info.Value(QStringLiteral("latestbuild")).metaType(), QMetaType::fromType<qint64>());
    EXPECT_EQ(info.Lookup(QStringLiteral("missing"), 7).toInt(), 7);
    EXPECT_THROW(info.Value(QStringLiteral("missing")), OutOfBounds);
    EXPECT_THROW(reply.Child(QStringLiteral("status")), std::invalid_argument);
    info.setValue(QStringLiteral("url"), QStringLiteral("changed"));
    EXPECT_TRUE(reply.ToString().contains(QStringLiteral(R"("url":"changed")")));
}

TEST(JSONItem, EntriesKeepTheirOrderAndModesTheirRules) {
    JSONItem parsed(QStringLiteral(R"({"b":1,"a":2,"b":3})"));
    EXPECT_EQ(parsed.Names(), QStringList({QStringLiteral("b"), QStringLiteral("a")}));
    EXPECT_EQ(parsed.Value(QStringLiteral("b")).toInt(), 3);  // a repeated name keeps its place
    JSONItem item;
    for (const char* name : {"z", "a", "m"}) item.setValue(QString::fromLatin1(name), name);
    item.setValue(QStringLiteral("a"), 5);
    item.Remove(QStringLiteral("z"));
    item.setValue(QStringLiteral("z"), QVariant());
    EXPECT_EQ(item.ToString(), QStringLiteral(R"({"a":5,"m":"m","z":null})"));
    EXPECT_EQ(item.Value(QStringLiteral("m")).toString(), QStringLiteral("m"));  // names re-indexed
    EXPECT_THROW(item.Name(3), OutOfBounds);
    JSONItem list;  // a fresh item turns into an array
    list.Append(2);
    list.Insert(0, 1);
    list.Insert(2, 4);
    list.setValue(2, 3);
    EXPECT_THROW(list.Insert(4, 5), OutOfBounds);
    list.Remove(1);
    EXPECT_EQ(list.ToString(), QStringLiteral("[1,3]"));
}

TEST(JSONItem, WrittenOutWithLinesAndIndentation) {
    JSONItem item(QStringLiteral(R"({"a":1,"b":[1,{"c":null}],"e":{},"f":[]})"));
    item.Compact() = false;
    EXPECT_EQ(item.ToString(),
              QStringLiteral("{\n  \"a\": 1,\n  \"b\": [\n    1,\n    {\n      \"c\": "
                             "null\n    }\n  ],\n  \"e\": {},\n  \"f\": []\n}"));
    // White space of every kind between tokens, and the escapes, read back as written.
    const JSONItem spaced(
        QStringLiteral(" \r\n\t{ \"a\" : [ 1 , {} ] , \"\\u00e9\\u00Aa\\u00Ff\\n\" : "
                       "\"x\\\"y\\\\z\\/\\uD834\\uDD1E\" } \n"));
    EXPECT_EQ(spaced.ToString(), QString::fromUtf8(R"({"a":[1,{}],"éªÿ\n":"x\"y\\z\/𝄞"})"));
}

TEST(JSONItem, StringsAreEscapedAtTheTableBoundaries) {
    EXPECT_EQ(written(QStringLiteral("\\\"\b\f\n\r\t/")), QStringLiteral(R"("\\\"\b\f\n\r\t\/")"));
    // Each edge of the table of characters written as codes, and its neighbour outside.
    QString text;
    QString codes;
    for (const char16_t c : {0x1f, 0x7f, 0xad, 0x600, 0x604, 0x70f, 0x17b4, 0x17b5, 0x200c, 0x200f,
                             0x2028, 0x202f, 0x2060, 0x206f, 0xfeff, 0xfff0}) {
        text += QChar(c);
        codes += QStringLiteral("\\u%1").arg(uint(c), 4, 16, QLatin1Char('0'));
    }
    const QString plain = QStringLiteral(" \u05ff\u0605\u200b\u2010\u2027\u2030\u205f\u2070\uffef");
    text += plain;
    const QString expected = QLatin1Char('"') + codes + plain + QLatin1Char('"');
    EXPECT_EQ(written(text), expected);
    EXPECT_EQ(JSONItem(QLatin1Char('[') + expected + QLatin1Char(']')).Value(0).toString(), text);
    const JSONItem pair(QStringLiteral(R"(["\ud83D\uDE00\u00e9"])"));
    EXPECT_EQ(pair.ToString(), QString::fromUtf8("[\"\xF0\x9F\x98\x80\xC3\xA9\"]"));
}

TEST(JSONItem, NumbersFollowTheDecimalFormat) {
    JSONItem item;
    for (const QVariant& value :
         {QVariant(1.0), QVariant(-2.25), QVariant(1.0 / 3), QVariant(-1e-20), QVariant(0.5f),
          QVariant(std::numeric_limits<qint64>::min()),
          QVariant(std::numeric_limits<quint64>::max()), QVariant(true), QVariant(false)})
        item.Append(value);
    EXPECT_EQ(item.ToString(), QStringLiteral("[1.0,-2.25,0.333333333333333,0.0,0.5,"
                                              "-9223372036854775808,18446744073709551615,true,"
                                              "false]"));
    item.Clear();
    item.DecimalFormat() = QStringLiteral("#.##");
    for (const double x : {0.5, 2.0, -0.126}) item.Append(x);
    EXPECT_EQ(item.ToString(), QStringLiteral("[.5,2,-.13]"));
    // Whole numbers stay whole; the keywords are read by their first four characters.
    const JSONItem parsed(QStringLiteral("[1.5e2,-7,12345678901234567890,1E-2,fals ,TRUE]"));
    EXPECT_EQ(parsed.ToString(),
              QStringLiteral("[150.0,-7,12345678901234567168.0,0.01,false,true]"));
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
