#include "core/automation/SafeArray.h"
#include "history/CellFace.h"
#include "history/ResultReader.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(CellFace, ShowsEveryKindOfValue)
{
    const QString longText(2000, u'x'), blob = u"AB"_s.repeated(16), date = u"2024-02-29 06:00:00.250"_s;
    const std::tuple<Variant, CellKind, QString, QString> cases[] = {
        {Variant(Null{}), CellKind::Remark, u"NULL"_s, {}},
        {Variant(u"NULL"_s), CellKind::Text, u"NULL"_s, u"NULL"_s}, // differs from Null
        {Variant(), CellKind::Text, {}, {}},
        {Variant(0.1), CellKind::Number, u"0.1"_s, u"0.1"_s},
        {Variant(Currency{125000}), CellKind::Number, u"12.5"_s, u"12.5"_s},
        {Variant(Date{45351.25 + 0.25 / 86400}), CellKind::Text, date, date},
        {Variant(Date{1e9}), CellKind::Text, u"1000000000"_s, u"1000000000"_s}, // outside the calendar
        {Variant(u"<b>one</b>\r\ntwo"_s), CellKind::Text, u"<b>one</b> two"_s, u"<b>one</b>\r\ntwo"_s},
        {Variant(longText), CellKind::Text, longText.left(1000) + u'\u2026', longText},
        {Variant(SafeArray(QList<quint8>{7})), CellKind::Text, u"0x07 (1 byte)"_s, u"0x07"_s},
        {Variant(SafeArray(QList<quint8>(17, 0xAB))), CellKind::Text, u"0x%1\u2026 (17 bytes)"_s.arg(blob),
         u"0x%1AB"_s.arg(blob)},
        {Variant(ObjectRef()), CellKind::Text, u"..."_s, u"..."_s},
    };
    for (const auto& [value, kind, text, whole] : cases) {
        EXPECT_EQ(FaceOf(value).Text, text);
        EXPECT_EQ(FaceOf(value).Kind, kind) << text.toStdString();
        EXPECT_EQ(WholeText(value), whole);
    }
}

TEST(ResultReader, KeepsThePagesUsedLastWithinItsMemory)
{
    ResultScript script{.Progress = {100'000, true, {}}, .BytesPerPage = 1024 * 1024};
    {
        ResultReader reader(std::make_shared<ScriptedResult>(script));
        for (qint64 row = 0; row < 100'000; ++row) ASSERT_EQ(reader.Cell(row, 0), Variant(static_cast<qint32>(row)));
        EXPECT_EQ(script.PagesAsked.size(), 1000) << "each page once";
        EXPECT_EQ(script.Life.use_count(), 1 + 1 + 9) << "the result, 8 MB and the page in use";

        reader.Cell(99'100, 0); // makes the oldest one the newest
        reader.Cell(0, 0);
        script.PagesAsked.clear();
        for (const qint64 row : {99'199, 99'200}) reader.Cell(row, 1);
        EXPECT_EQ(script.PagesAsked, QList<qint64>{99'200});
    }
    EXPECT_EQ(script.Life.use_count(), 1);
}

TEST(ResultReader, RefusesPagesThatDoNotHoldTheRowAndCountsNoMoreThanAGridTakes)
{
    ResultScript script{.Columns = {}, .Progress = {5'000'000'000, false, {}}, .RowsPerPage = -1};
    ResultReader reader(std::make_shared<ScriptedResult>(script));
    EXPECT_EQ(reader.RowCount(), 40'000'000);
    EXPECT_THROW(reader.Cell(100, 0), ServerError);
}
