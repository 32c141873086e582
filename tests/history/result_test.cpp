#include "core/automation/SafeArray.h"
#include "history/CellFace.h"
#include "history/ResultModel.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/PrintQt.h"

#include <QAbstractItemModelTester>
#include <QTest>

#include <gtest/gtest.h>

#include <limits>

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
        {Variant(true), CellKind::Text, u"True"_s, u"True"_s},
        {Variant(Date{45351.25 + 0.25 / 86400}), CellKind::Text, date, date},
        {Variant(Date{1e9}), CellKind::Text, u"1000000000"_s, u"1000000000"_s}, // outside the calendar
        {Variant(Date{std::numeric_limits<double>::quiet_NaN()}), CellKind::Text, u"NaN"_s, u"NaN"_s},
        {Variant(u"<b>one</b>\r\ntwo"_s), CellKind::Text, u"<b>one</b> two"_s, u"<b>one</b>\r\ntwo"_s},
        {Variant(longText), CellKind::Text, longText.left(1000) + u'\u2026', longText},
        {Variant(SafeArray(QList<quint8>{7})), CellKind::Text, u"0x07 (1 byte)"_s, u"0x07"_s},
        {Variant(SafeArray(QList<quint8>())), CellKind::Text, u"0x (0 bytes)"_s, u"0x"_s},
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
        EXPECT_EQ(script.LivePages.use_count(), 1 + 9) << "8 MB and the page in use";

        reader.Cell(99'100, 0); // makes the oldest one the newest
        reader.Cell(0, 0);
        script.PagesAsked.clear();
        reader.Cell(99'199, 1);
        reader.Cell(99'200, 1);
        EXPECT_EQ(script.PagesAsked, QList<qint64>{99'200});
    }
    EXPECT_EQ(script.LivePages.use_count(), 1);
}

TEST(ResultReader, RefusesPagesThatDoNotHoldTheRowAndCountsNoMoreThanAGridTakes)
{
    struct Stubborn : ScriptedResult
    {
        using ScriptedResult::ScriptedResult;
        ResultPageRef PageOf(qint64) override { return ScriptedResult::PageOf(0); }
    };
    ResultScript script{.Progress = {5'000'000'000, false, {}}};
    ResultReader reader(std::make_shared<Stubborn>(script));
    EXPECT_EQ(reader.RowCount(), 40'000'000);
    EXPECT_EQ(reader.Cell(99, 0), Variant(qint32{99}));
    EXPECT_THROW(reader.Cell(100, 0), ServerError);
}

TEST(ResultModel, KeepsTheRulesOfModelsWhileItsResultGrowsAndChanges)
{
    ResultScript script{.Progress = {3, false, {}}};
    ResultModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.Bind(ResultReader(std::make_shared<ScriptedResult>(script)));
    model.SetActive(true);
    model.Prepare({0, 2, 0, 1}, 1000);
    script.Progress = {150, true, {}};
    EXPECT_TRUE(QTest::qWaitFor([&] { return model.rowCount() == 150; }));
    model.Prepare({100, 149, 0, 1}, 0); // the rest follows by itself
    EXPECT_TRUE(QTest::qWaitFor([&] { return model.index(149, 1).data() == u"name 149"_s; }));
    model.Bind(ResultReader());
    EXPECT_EQ(model.columnCount() + model.rowCount(), 0);
}
