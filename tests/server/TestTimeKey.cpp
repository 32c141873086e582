#include "server/sqlitehistory/Summaries.h"
#include "server/sqlitehistory/TimeKey.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <QDateTime>

TEST(TimeKey, NeverGoesDownWhereTextsGoUp)
{
    QByteArrayList texts = {"",
                            " ",
                            "0000-01-01",
                            "1969-12-31 23:59:59.999999",
                            "1970",
                            "2024-0",
                            "2024-00-05",
                            "2024-01-31",
                            "2024-01-31 00",
                            "2024-01-31 00:00",
                            "2024-01-31 00:00:00.0",
                            "2024-01-31 0x",
                            "2024-01-31 00:00:00.000000",
                            "2024-01-31 00:00:00.0000001",
                            "2024-01-31 12:60:00",
                            "2024-01-31 99",
                            "2024-01-31T12:00:00",
                            "2024-02-29 24:00",
                            "2024-02-30",
                            "2024-1",
                            "2024-12-31",
                            "2024-13",
                            "2024.",
                            "20240",
                            "9999-12-31 23:59:59.999999",
                            "soon",
                            "\xff"};
    std::sort(texts.begin(), texts.end());
    for (qsizetype i = 1; i < texts.size(); ++i)
        EXPECT_LE(TimeKeyOf(texts[i - 1]).Local, TimeKeyOf(texts[i]).Local)
            << texts[i - 1].data() << " " << texts[i].data();
    for (const QByteArray& text : texts) {
        const TimeKey key = TimeKeyOf(text);
        const TimeText again = SpellTime(key.Local);
        EXPECT_EQ(key.IsCanonical, QByteArrayView(again.data(), again.size()) == text) << text.data();
        const bool isTime =
            QDateTime::fromString(QString::fromLatin1(text.left(23).replace("24:00", "xx")), Qt::ISODate).isValid();
        const bool isKnown = text.size() > 13 && !text.contains('T');
        EXPECT_TRUE(!isKnown || key.IsTime == (isTime && text.size() < 27)) << text.data();
    }
}

TEST(Minutes, ArePackedWithoutLoss)
{
    SummaryMaker maker(Minute);
    for (int i = 0; i < 1000; ++i) {
        HistoryRow row;
        row.Local = 1'706'659'200'000'000 + i * Minute / 7;
        row.State = i / 100 == 3 ? 1 : 0;
        if (i / 50 != 5) row.Value = NumericCell(i % 3 == 0 ? i * 0.1 : i);
        maker.Add(row);
    }
    std::vector<Summary> minutes;
    for (const auto& [start, minute] : maker.Made()) minutes.push_back(minute);
    std::vector<Summary> again = UnpackMinutes(PackMinutes(maker.Made()));
    for (Summary& minute : again)
        if (minute.Numbers == 0) minute.FirstUtc = minute.LastUtc = 0;
    EXPECT_EQ(again, minutes);
}
