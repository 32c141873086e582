#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"

#include <QLocale>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

std::string Overflow(double number)
{
    try {
        return std::to_string(RoundToInt32(number));
    } catch (const ValueError& error) {
        return error.Description().toStdString();
    }
}

} // namespace

TEST(NumberText, ReadsWhatPeopleTypeAndNothingElse)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German)); // must make no difference
    const std::pair<QStringView, double> numbers[] = {{u"25", 25},
                                                      {u" +5\t", 5},
                                                      {u"-.5", -0.5},
                                                      {u"5.", 5},
                                                      {u"007", 7},
                                                      {u"1e3", 1000},
                                                      {u"1E-03", 0.001},
                                                      {u"-1E400", -Infinity},
                                                      {u"1E-400", 0},
                                                      {u"0e99999999999", 0},
                                                      {u"5E-324", 5E-324},
                                                      {u"1e-320", 1E-320},
                                                      {u"1E99999999999999999999", Infinity}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(ParseNumber(text), number) << text.toString().toStdString();
    }
    const char16_t* const refused[] = {u"",          u" ",     u".",    u"-",   u"+-1",    u"1e",
                                       u"1e+",       u"e5",    u"1,5",  u"inf", u"nan",    u"12abc",
                                       u"1.000.000", u"1 000", u"0x10", u"5\n", u"\u0663", u"\uFF15"};
    for (const QStringView text : refused) {
        EXPECT_FALSE(IsNumeric(text)) << text.toString().toStdString();
    }
    QLocale::setDefault(before);
}

TEST(NumberText, TheHeadOfATextCountsAsItsNumber)
{
    const std::pair<QStringView, double> heads[] = {
        {u"3abc", 3}, {u" -2.5e1x", -25}, {u"1e+", 1}, {u"abc", 0}, {u"", 0}};
    for (const auto& [text, number] : heads) {
        EXPECT_EQ(ParseLeadingNumber(text), number) << text.toString().toStdString();
    }
}

TEST(NumberText, SinglesAreRoundedOnce)
{
    // As a double this is the middle of two singles; rounded from there it would become the even one, 1.
    EXPECT_EQ(ParseSingle(u"1.00000005960464477540"), std::nextafter(1.0F, 2.0F));
    EXPECT_EQ(ParseSingle(u"1E39"), std::numeric_limits<float>::infinity());
}

TEST(NumberText, RoundsHalvesToEvenWithin32Bits)
{
    const std::pair<double, const char*> roundings[] = {{2.5, "2"},
                                                        {3.5, "4"},
                                                        {-0.5, "0"},
                                                        {2147483647.4, "2147483647"},
                                                        {2147483647.5, "Overflow"},
                                                        {-2147483648.5, "-2147483648"},
                                                        {3e9, "Overflow"},
                                                        {std::nan(""), "Overflow"},
                                                        {Infinity, "Overflow"}};
    for (const auto& [number, rounded] : roundings) {
        EXPECT_EQ(Overflow(number), rounded) << number;
    }
}

TEST(NumberText, SpellsDoubles)
{
    const std::pair<double, const char*> doubles[] = {{25, "25"},
                                                      {1000000, "1000000"},
                                                      {-123456.75, "-123456.75"},
                                                      {100000000000000, "100000000000000"},
                                                      {1E15, "1E+15"},
                                                      {1E20, "1E+20"},
                                                      {-1.5E300, "-1.5E+300"},
                                                      {0.0001, "0.0001"},
                                                      {0.00001, "1E-05"},
                                                      {5E-324, "5E-324"},
                                                      {0.1, "0.1"},
                                                      {0.1 + 0.2, "0.30000000000000004"},
                                                      {0.0, "0"},
                                                      {-Infinity, "-Infinity"},
                                                      {std::nan(""), "NaN"}};
    for (const auto& [number, text] : doubles) {
        EXPECT_EQ(FormatDouble(number).toStdString(), text);
    }
}

TEST(NumberText, SpellsSinglesForReadingAndExactly)
{
    struct Spelling
    {
        float Number;
        const char* Short;
        const char* Exact;
    };
    const Spelling spellings[] = {{25.0F, "25", "25"},
                                  {0.1F, "0.1", "0.1"},
                                  {1000000.0F, "1000000", "1000000"},
                                  {1234567.75F, "1234568", "1234567.8"},
                                  {9999999.0F, "9999999", "9999999"},
                                  {16777216.0F, "1.677722E+07", "1.6777216E+07"},
                                  {3.4028235E38F, "3.402823E+38", "3.4028235E+38"},
                                  {0.0001F, "0.0001", "0.0001"},
                                  {-1E-5F, "-1E-05", "-1E-05"}};
    for (const auto& [number, rounded, exact] : spellings) {
        EXPECT_EQ(FormatSingle(number).toStdString(), rounded);
        EXPECT_EQ(FormatSingleExactly(number).toStdString(), exact);
    }
}

TEST(NumberText, WhatIsSpelledReadsBackTheSame)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 20'000; ++i) {
        const quint64 bits = random();
        const auto number = std::bit_cast<double>(bits);
        const auto single = std::bit_cast<float>(static_cast<quint32>(bits));
        if (!std::isfinite(number) || !std::isfinite(single)) continue;
        EXPECT_EQ(ParseNumber(FormatDouble(number)), number);
        EXPECT_EQ(ParseSingle(FormatSingleExactly(single)), single);
    }
}
