#include <gtest/gtest.h>

#include <tuple>

#include "platform/text.h"

using namespace velto;

TEST(Text, ValReadsALeadingNumberOrGivesZero) {
    struct Case {
        const char* text;
        double value;
    } cases[] = {
        {"42", 42},      {"  12abc", 12},  {"+10", 10},     {"-10", -10},   {"+", 0},
        {"", 0},         {"abc", 0},       {"3.75", 3.75},  {"2.000B", 2},  {"2.119", 2.119},
        {"1e3", 1000},   {"7e", 7},        {".5", 0.5},     {"-", 0},       {"12:34", 12},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(Val(QString::fromLatin1(c.text)), c.value) << c.text;
    EXPECT_EQ(ValInt(QStringLiteral("30.9")), 30);
    EXPECT_EQ(ValInt(QStringLiteral("-30.9")), -30);
    EXPECT_EQ(ValInt(QStringLiteral("1e300")), std::numeric_limits<qint64>::max());
}

TEST(Text, FormatRoundsToTheNearestWholeNumber) {
    // Halves away from zero, no grouping, and a tiny negative is a plain 0 the box can read.
    for (const auto& [x, format, text] : std::vector<std::tuple<double, const char*, const char*>>{
             {2.5, "#", "3"}, {2.4999, "#", "2"}, {0.2, "#", "0"}, {-0.2, "#", "0"},
             {12345678, "#", "12345678"}, {1.0, "#%", "100%"}, {-0.0474, "#%", "-5%"},
             {51.0 / 50.0, "#%", "102%"}})
        EXPECT_EQ(Format(x, QLatin1String(format)), text) << x;
    EXPECT_THROW(Format(1, QStringLiteral("0.00")), std::invalid_argument);
}

TEST(Text, FieldsAndPositionsCountFromOne) {
    EXPECT_TRUE(Split(QString(), QStringLiteral(":")).isEmpty());  // no fields at all
    EXPECT_EQ(Ubound(Split(QString(), QStringLiteral(":"))), -1);
    EXPECT_EQ(Split(QStringLiteral("a::b"), QStringLiteral(":")).size(), 3);
    EXPECT_EQ(CountFields(QStringLiteral("l1\nl2\n"), QStringLiteral("\n")), 3);
    EXPECT_EQ(CountFields(QString(), QStringLiteral("=")), 0);
    EXPECT_EQ(NthField(QStringLiteral("a=b=c"), QStringLiteral("="), 2), QStringLiteral("b"));
    EXPECT_EQ(NthField(QStringLiteral("a=b"), QStringLiteral("="), 3), QString());
    EXPECT_EQ(Mid(QStringLiteral("A51"), 2), QStringLiteral("51"));
    EXPECT_EQ(Mid(QStringLiteral("GET /A50 HTTP"), 6, 3), QStringLiteral("A50"));
    EXPECT_EQ(Mid(QStringLiteral("ab"), 5), QString());
    EXPECT_EQ(Left(QStringLiteral("abc"), 1), QStringLiteral("a"));
    EXPECT_EQ(Right(QStringLiteral("abc"), 2), QStringLiteral("bc"));
    EXPECT_EQ(InStr(QStringLiteral("Firmware 2.000B"), QStringLiteral("b")), 15);
    EXPECT_EQ(InStr(QStringLiteral("abc"), QStringLiteral("x")), 0);
    EXPECT_EQ(Replace(QStringLiteral("a-a-a"), QStringLiteral("A"), QStringLiteral("b")), QStringLiteral("b-a-a"));
    EXPECT_EQ(ReplaceAll(QStringLiteral("a-a"), QStringLiteral("a"), QStringLiteral("b")), QStringLiteral("b-b"));
    EXPECT_EQ(Trim(QStringLiteral(" \t x \r\n")), QStringLiteral("x"));
    EXPECT_TRUE(same(QStringLiteral("Slave"), QStringLiteral("SLAVE")));
    EXPECT_FALSE(same(QStringLiteral("K "), QStringLiteral("K")));
    EXPECT_EQ(Str(qint64(-3)), QStringLiteral("-3"));
    EXPECT_EQ(Str(4.0), QStringLiteral("4"));
    EXPECT_EQ(Str(2.5), QStringLiteral("2.5"));
}
