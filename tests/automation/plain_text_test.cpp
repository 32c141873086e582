#include "core/automation/SafeArray.h"
#include "tests/automation/Outcome.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(PlainText, OfEveryType)
{
    // clang-format off
    const std::pair<Variant, const char*> texts[] = {
        {Variant(), ""}, {Null(), "Type mismatch"}, {true, "True"}, {qint8(-5), "-5"}, {quint8(65), "65"},
        {quint32(4294967295), "4294967295"}, {16777216.0F, "1.677722E+07"}, {0.1, "0.1"}, {Currency{10000}, "1"},
        {Currency{-1}, "-0.0001"}, {Currency{10500}, "1.05"},
        {Currency{std::numeric_limits<qint64>::min()}, "-922337203685477.5808"},
        {Date{45322.5}, "2024-01-31 12:00:00"}, {QStringLiteral(" <b>a</b> "), " <b>a</b> "},
        {ObjectRef(), "Type mismatch"}, {SafeArray(QList<qint32>{1}), "Type mismatch"},
    };
    // clang-format on
    for (const auto& [value, text] : texts) EXPECT_EQ(Outcome([&] { return value; }), text) << "type " << value.Type();
}

TEST(PlainText, DatesCountTheTimeOfDayForwardsOnBothSidesOfDayZero)
{
    // clang-format off
    const std::pair<double, const char*> dates[] = {
        {-0.25, "1899-12-30 06:00:00"}, {-1.25, "1899-12-29 06:00:00"}, {-657434.75, "0100-01-01 18:00:00"},
        {2958465.5, "9999-12-31 12:00:00"}, {1.0 + 1.5 / 86'400, "1899-12-31 00:00:01.500"},
        {45322.0 + 1.500001 / 86'400, "2024-01-31 00:00:01.500001"}, {-1.9999999999, "1899-12-29 23:59:59.999991"},
        {1.99999999999999, "1900-01-01 00:00:00"}, // the last half microsecond belongs to the next day
        {-1.99999999999999, "1899-12-30 00:00:00"},
    };
    // clang-format on
    for (const auto& [days, text] : dates) EXPECT_EQ(FormatDate(Date{days}, true).toStdString(), text) << days;
    for (const double days : {-657435.0, 2958466.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(Outcome([=] { return Date{days}; }), "Overflow") << days;
    for (const QString& clock : {QStringLiteral("1899-12-29 18:00:00.001"), QStringLiteral("2024-02-29 23:59:59.999")})
        EXPECT_EQ(FormatDate(FromDateTime(QDateTime::fromString(clock, Qt::ISODateWithMs)), true), clock);
}

} // namespace
