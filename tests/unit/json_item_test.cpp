#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "platform/boundary.h"
#include "shell/json_item.h"

using namespace velto;

namespace {

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

}  // namespace

TEST(JSONItem, EveryErrorHasItsNumberMessageAndPosition) {
    JSONItem kept;
    kept.setValue(QStringLiteral("kept"), true);
    const auto load = [&](const char* text) {
        return [&kept, text] { kept.Load(QString::fromUtf8(text)); };
    };
    const std::string deep = std::string(600, '[') + std::string(600, ']');
    JSONItem object(QStringLiteral("{}"));
    JSONItem array(QStringLiteral("[]"));
    JSONItem outer;
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(outer));
    const struct {
        std::function<void()> call;
        int number;
        const char* message;
    } cases[] = {
        {load("  x"), 1, "Parse Error: Expecting '{' or '[' at position 3"},
        {load(deep.c_str()), 2, "A parsing error occurred at position 513"},
        {load("[1e999]"), 3, "Illegal Number Format at position 2"},
        {load(R"({"a" 1})"), 5, "Missing : at position 6"},
        {load(R"({"a":1 "b":2})"), 6, "Missing , or } at position 8"},
        {load(R"({"a":1,})"), 7, "Missing \" at position 8"},
        {load(R"(["x\ud83d"])"), 8, "Illegal Unicode Character Format at position 4"},
        {load(R"(["\u00e9)"), 7, "Missing \" at position 9"},  // its digits end the text
        {load(R"(["\x"])"), 9, "Illegal Character at position 3"},
        {load("[1,]"), 10, "Illegal Value at position 4"},
        {[&] {
             array.Append(std::numeric_limits<double>::infinity());
             array.ToString();
         },
         11, "Unrecognized Object: inf"},
        {[&] { object.Append(1); }, 12, "JSONItem is not a array"},
        {[&] { object.Value(0); }, 12, "JSONItem is not an array"},
        {[&] { array.Value(QStringLiteral("a")); }, 13, "JSONItem is an array"},
        {[&] { outer.ToString(); }, 14, "Circular Reference Detected"},
    };
    for (const auto& c : cases) {
        const auto error = errorOf(c.call);
        ASSERT_TRUE(error) << c.message;
        EXPECT_EQ(*error, std::make_pair(c.number, QString::fromLatin1(c.message)));
    }
    EXPECT_EQ(kept.ToString(), QStringLiteral(R"({"kept":true})"));  // bad text changes nothing
    JSONItem shared;  // the same item twice, side by side, is no circle
    outer.setValue(QStringLiteral("self"), QVariant::fromValue(shared));
    outer.setValue(QStringLiteral("again"), QVariant::fromValue(shared));
    outer.setValue(QStringLiteral("p"), QStringLiteral("a/b"));
    EXPECT_EQ(outer.ToString(), QStringLiteral(R"({"self":{},"again":{},"p":"a\/b"})"));
}

TEST(JSONItem, EntriesKeepTheirOrderAndChildrenAreShared) {
    const JSONItem parsed(QStringLiteral(R"({"b":1,"a":{"c":2},"b":3})"));
    EXPECT_EQ(parsed.Names(), QStringList({QStringLiteral("b"), QStringLiteral("a")}));
    parsed.Child(QStringLiteral("a")).setValue(QStringLiteral("c"), QVariant());
    EXPECT_EQ(parsed.ToString(), QStringLiteral(R"({"b":3,"a":{"c":null}})"));
    JSONItem item;
    for (const char* name : {"z", "a", "m"}) item.setValue(QString::fromLatin1(name), name);
    item.Remove(QStringLiteral("z"));
    EXPECT_EQ(item.Value(QStringLiteral("m")).toString(), QStringLiteral("m"));  // names re-indexed
    JSONItem list;  // a fresh item turns into an array
    list.Append(3);
    list.Insert(0, 1);
    EXPECT_THROW(list.Insert(3, 5), OutOfBounds);
    list.Insert(2, 4);
    list.Remove(1);
    EXPECT_EQ(list.ToString(), QStringLiteral("[1,4]"));
}

TEST(JSONItem, StringsNumbersAndLayoutFollowTheirFormats) {
    // Each edge of the table of characters written as codes, and its neighbour outside.
    QString text = QStringLiteral("\\\"\b\f\n\r\t/");
    QString codes = QStringLiteral(R"(\\\"\b\f\n\r\t\/)");
    for (const char16_t c : {0x1f, 0x7f, 0xad, 0x600, 0x604, 0x70f, 0x17b4, 0x17b5, 0x200c, 0x200f,
                             0x2028, 0x202f, 0x2060, 0x206f, 0xfeff, 0xfff0}) {
        text += QChar(c);
        codes += QStringLiteral("\\u%1").arg(uint(c), 4, 16, QLatin1Char('0'));
    }
    const QString plain = QStringLiteral(" \u05ff\u0605\u200b\u2010\u2027\u2030\u205f\u2070\uffef");
    text += plain;
    const QString expected = QLatin1String("[\"") + codes + plain + QLatin1String("\"]");
    JSONItem escaped;
    escaped.Append(text);
    EXPECT_EQ(escaped.ToString(), expected);
    const JSONItem pair(QStringLiteral(R"(["\ud83D\uDE00\u00Aa"])"));
    EXPECT_EQ(pair.ToString(), QString::fromUtf8("[\"\xF0\x9F\x98\x80\xC2\xAA\"]"));
    // Whole numbers stay whole; the keywords are read by their first four characters.
    JSONItem item(
        QStringLiteral(" \r\n\t{ \"a\" : [1.5e2,-7,12345678901234567890,1E-2,fals ,TRUE],"
                       "\"b\":[{\"c\":null}],\"e\":{},\"f\":[]}\n"));
    item.Compact() = false;
    EXPECT_EQ(item.ToString(),
              QStringLiteral("{\n  \"a\": [\n    150.0,\n    -7,\n    12345678901234567168.0,\n"
                             "    0.01,\n    false,\n    true\n  ],\n  \"b\": [\n    {\n"
                             "      \"c\": null\n    }\n  ],\n  \"e\": {},\n  \"f\": []\n}"));
    JSONItem list;
    for (const QVariant& value :
         {QVariant(1.0 / 3), QVariant(-1e-20), QVariant(std::numeric_limits<quint64>::max())})
        list.Append(value);
    EXPECT_EQ(list.ToString(), QStringLiteral("[0.333333333333333,0.0,18446744073709551615]"));
    list.Clear();
    list.DecimalFormat() = QStringLiteral("#.##");
    for (const double x : {0.5, 2.0, -0.126}) list.Append(x);
    EXPECT_EQ(list.ToString(), QStringLiteral("[.5,2,-.13]"));
}
