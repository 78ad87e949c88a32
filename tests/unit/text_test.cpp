#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "platform/text.h"

using namespace velto;

TEST(Text, ValReadsALeadingNumberOrGivesZero) {
    const std::pair<const char*, double> cases[] = {
        {"  12abc", 12}, {"-10", -10},  {"+", 0},  {"-", 0},      {"abc", 0},
        {".5", 0.5},     {"1e3", 1000}, {"7e", 7}, {"2.000B", 2}, {"2.119", 2.119}};
    for (const auto& [text, value] : cases)
        EXPECT_DOUBLE_EQ(Val(QString::fromLatin1(text)), value) << text;
    EXPECT_EQ(ValInt(QStringLiteral("-30.9")), -30);
    EXPECT_EQ(ValInt(QStringLiteral("1e300")), std::numeric_limits<qint64>::max());
}

TEST(Text, FormatRoundsHalvesAwayFromZeroAndNeverWritesMinusZero) {
    for (const auto& [x, format, text] : std::vector<std::tuple<double, const char*, const char*>>{
             {2.5, "#", "3"}, {2.4999, "#", "2"}, {-0.2, "#", "0"}, {-0.0474, "#%", "-5%"}})
        EXPECT_EQ(Format(x, QLatin1String(format)), text) << x;
    EXPECT_THROW(Format(1, QStringLiteral("0.00")), std::invalid_argument);
}

TEST(Text, FieldsAndPositionsCountFromOneAndIgnoreCase) {
    EXPECT_TRUE(Split(QString(), QStringLiteral(":")).isEmpty());
    EXPECT_EQ(CountFields(QStringLiteral("l1\n\nl2\n"), QStringLiteral("\n")), 4);
    EXPECT_EQ(NthField(QStringLiteral("a=b=c"), QStringLiteral("="), 2), QStringLiteral("b"));
    EXPECT_EQ(NthField(QStringLiteral("a=b"), QStringLiteral("="), 3), QString());
    EXPECT_EQ(Mid(QStringLiteral("GET /A50 HTTP"), 6, 3), QStringLiteral("A50"));
    EXPECT_EQ(Mid(QStringLiteral("ab"), 3), QString());
    EXPECT_EQ(InStr(QStringLiteral("Firmware 2.000B"), QStringLiteral("b")), 15);
    EXPECT_EQ(InStr(QStringLiteral("abc"), QStringLiteral("x")), 0);
    EXPECT_EQ(Replace(QStringLiteral("a-a"), QStringLiteral("A"), QStringLiteral("b")),
              QStringLiteral("b-a"));
    EXPECT_EQ(ReplaceAll(QStringLiteral("a-A"), QStringLiteral("a"), QStringLiteral("b")),
              QStringLiteral("b-b"));
    EXPECT_TRUE(same(QStringLiteral("Slave"), QStringLiteral("SLAVE")));
    EXPECT_FALSE(same(QStringLiteral("K "), QStringLiteral("K")));
    EXPECT_EQ(Str(4.0), QStringLiteral("4"));
    EXPECT_EQ(Str(2.5), QStringLiteral("2.5"));
}
