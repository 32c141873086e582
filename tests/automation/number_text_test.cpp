#include "core/automation/NumberText.h"
#include "tests/automation/Outcome.h"
#include "tests/support/PrintQt.h"

#include <QLocale>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(NumberText, ReadsWhatPeopleTypeAndNothingElse)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German)); // must make no difference
    QString numbers, heads;
    for (const QStringView text : {u" +5\t", u"-.5", u"5.", u"007", u"1e3", u"1E-03", u"5E-324", u"-1E400",
                                   u"1E99999999999999999999", u"1E-400"})
        numbers += FormatDouble(ParseNumber(text).value_or(-1)) + u' ';
    EXPECT_EQ(numbers, u"5 -0.5 5 7 1000 0.001 5E-324 -Infinity Infinity 0 ");
    for (const QStringView text : {u"", u" ", u".", u"-", u"+-1", u"1e", u"1e+", u"e5", u"1,5", u"inf", u"nan",
                                   u"12abc", u"1.000.000", u"1 000", u"0x10", u"5\n", u"\u0663", u"\uFF15"})
        EXPECT_FALSE(IsNumeric(text)) << text.toString().toStdString();
    QLocale::setDefault(before);
    for (const QStringView text : {u"3abc", u" -2.5e1x", u"1e+", u"abc", u""})
        heads += FormatDouble(ParseLeadingNumber(text)) + u' ';
    EXPECT_EQ(heads, u"3 -25 1 0 0 ");
}

TEST(NumberText, RoundsHalvesToEvenWithin32BitsAndSinglesOnce)
{
    std::string rounded;
    for (const double number : {2.5, 3.5, -0.5, 2147483647.4, -2147483648.5, 2147483647.5, -Infinity, std::nan("")})
        rounded += Outcome([=] { return Variant(RoundToInt32(number)); }) + ' ';
    EXPECT_EQ(rounded, "2 4 0 2147483647 -2147483648 Overflow Overflow Overflow ");
    // As a double this is the middle of two singles; rounded from there it would become the even one, 1.
    EXPECT_EQ(ParseSingle(u"1.00000005960464477540"), std::nextafter(1.0F, 2.0F));
}

TEST(NumberText, SpellsDoublesAndSinglesForReadingAndSoThatTheyReadBackTheSame)
{
    QString texts;
    for (const double number :
         {-123456.75, 1E14, 1E15, -1.5E300, 0.0001, 0.00001, 0.1 + 0.2, 0.0, -Infinity, std::nan("")})
        texts += FormatDouble(number) + u' ';
    EXPECT_EQ(texts, u"-123456.75 100000000000000 1E+15 -1.5E+300 0.0001 1E-05 0.30000000000000004 0 -Infinity NaN ");
    texts.clear();
    for (const float number : {0.1F, 1234567.75F, 9999999.0F, 16777216.0F, -1E-5F})
        texts += FormatSingle(number) + u' ' + FormatSingleExactly(number) + u' ';
    EXPECT_EQ(texts, u"0.1 0.1 1234568 1234567.8 9999999 9999999 1.677722E+07 1.6777216E+07 -1E-05 -1E-05 ");
    std::mt19937_64 random(1);
    for (int i = 0; i < 20'000; ++i) {
        const quint64 bits = random();
        const auto number = std::bit_cast<double>(bits);
        const auto single = std::bit_cast<float>(static_cast<quint32>(bits));
        EXPECT_TRUE(ParseNumber(FormatDouble(number)) == number || !std::isfinite(number)) << number;
        EXPECT_TRUE(ParseSingle(FormatSingleExactly(single)) == single || !std::isfinite(single)) << single;
    }
}

} // namespace
