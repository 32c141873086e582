#include "history/ResultReader.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

TEST(ResultReader, KeepsThePagesUsedLastWithinItsMemory)
{
    ResultScript script{.Progress = {100'000, true, {}}, .BytesPerPage = 1024 * 1024};
    {
        ResultReader reader(std::make_shared<ScriptedResult>(script));
        for (qint64 row = 0; row < 100'000; ++row) ASSERT_EQ(reader.Cell(row, 0), Variant(static_cast<qint32>(row)));
        EXPECT_EQ(script.PagesAsked.size(), 1000) << "each page once";
        EXPECT_EQ(script.LivePages.use_count(), 1 + 9) << "8 MB and the page in use";
        EXPECT_EQ(reader.KeptBytes(), 9 * script.BytesPerPage);

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
    class Stubborn : public ScriptedResult
    {
    public:
        using ScriptedResult::ScriptedResult;
        ResultPageRef PageOf(qint64) override { return ScriptedResult::PageOf(0); }
    };
    ResultScript script{.Progress = {5'000'000'000, false, {}}};
    ResultReader reader(std::make_shared<Stubborn>(script));
    EXPECT_EQ(reader.RowCount(), 40'000'000);
    EXPECT_EQ(reader.Cell(99, 0), Variant(qint32{99}));
    try {
        reader.Cell(100, 0);
        ADD_FAILURE() << "a wrong page was taken";
    } catch (const ServerError& error) {
        EXPECT_EQ(error.Description(), QStringLiteral("The server sent a page without row 100."));
    }
}
