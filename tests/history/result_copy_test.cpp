#include "core/automation/SafeArray.h"
#include "tests/history/HistoryWindow.h"

namespace {

constexpr Qt::KeyboardModifiers Headers = Qt::ShiftModifier, Csv = Qt::AltModifier;

class ResultCopy : public HistoryWindow
{
protected:
    /// As Ctrl+A and Ctrl+C by the operator; goes on while events run.
    void BeginCopyOfAll(const ResultProgress& progress = {200'000, true, {}})
    {
        m_Script.Progress = progress;
        Execute();
        QGuiApplication::clipboard()->setText(u"before"_s);
        Grid().selectAll();
        CopyByKey();
    }
    void ExpectUntouched()
    {
        QTest::qWait(300);
        EXPECT_EQ(Clipboard() + m_Main.Status(), u"beforeReady.");
    }
};

} // namespace

TEST_F(ResultCopy, WritesTheSelectionInEachFormat)
{
    m_Script.Columns = {u"a"_s, u"b, c"_s, u"a"_s};
    m_Script.Cell = [](qint64 row, int column) -> Variant {
        if (column == 1) return row == 1 ? Variant(Null{}) : Variant(u"x\t\"y\r\n"_s);
        return column == 0 ? Variant(static_cast<qint32>(row)) : Variant(row == 1 ? QString() : u"say \"0\""_s);
    };
    Execute();
    EXPECT_EQ(CopyByKey(), u"before") << "nothing is selected";
    const std::tuple<Cells, Qt::KeyboardModifiers, QString> cases[] = {
        {{1, 1, 1, 1}, {}, {}},              // NULL
        {{0, 1, 0, 1}, {}, u"x\t\"y\r\n"_s}, // a single cell as it is
        {{0, 0, 1, 2}, {}, u"0\t\"x\t\"\"y\r\n\"\tsay \"0\"\n1\t\t"_s},
        {{0, 0, 1, 2}, Headers, u"a\tb, c\ta\n0\t\"x\t\"\"y\r\n\"\tsay \"0\"\n1\t\t"_s},
        {{0, 0, 1, 2}, Csv, u"a,\"b, c\",a\r\n0,\"x\t\"\"y\r\n\",\"say \"\"0\"\"\"\r\n1,,\"\"\r\n"_s},
        {{1, 1, 1, 1}, Csv, u"\"b, c\"\r\n\r\n"_s},
    };
    for (const auto& [cells, more, text] : cases) EXPECT_EQ(CopyOf(cells, more), text);
    Select({2, 2, 3, 2});
    Select({0, 0, 1, 0}, true);
    Select({3, 0, 3, 0}, true);
    EXPECT_EQ(CopyByKey(), u"0\t\n1\t\n\tsay \"0\"\n3\tsay \"0\"") << "what is not selected stays empty";
    EXPECT_EQ(CopyByKey(Csv), u"a,a\r\n0,\r\n1,\r\n,\"say \"\"0\"\"\"\r\n3,\"say \"\"0\"\"\"\r\n");
}

TEST_F(ResultCopy, OfManyRowsRunsBetweenOtherEventsUntilAnythingEndsItOrItIsTooLarge)
{
    BeginCopyOfAll();
    EXPECT_EQ(Clipboard(), u"before");
    EXPECT_TRUE(m_Main.Status().startsWith(u"Copy... ") && m_Main.Status().endsWith(u" of 200000 rows (Esc ends it)"));
    ASSERT_TRUE(QTest::qWaitFor([] { return Clipboard() != u"before"; }, 20'000));
    const QString copied = Clipboard();
    EXPECT_EQ(copied.count(u'\n'), 199'999);
    EXPECT_TRUE(copied.startsWith(u"0\tname 0\n1\t") && copied.endsWith(u"\n199999\tname 199999"));
    EXPECT_EQ(m_Main.Status(), u"Ready.");

    BeginCopyOfAll();
    QTest::keyClick(&Grid(), Qt::Key_Escape);
    ExpectUntouched();
    BeginCopyOfAll();
    Execute(u"another result"_s);
    ExpectUntouched();
    BeginCopyOfAll();
    m_Script.Fail(u"PageOf", u"The server is not running."_s);
    ExpectUntouched();
    EXPECT_EQ(TakeLog(), QStringList{u"The server is not running."_s});

    m_Script.Fail({}, {});
    const QString refused = u"The selection is too large to be copied: it has more than 50000000 characters. "
                            "\"velsqlscript --query\" writes it to a file."_s;
    const Variant cells[] = {Variant(QString(1'000'000, u'x')), SafeArray(QList<quint8>(26'000'000))};
    for (const Variant& cell : cells) {
        m_Script.Cell = [&](qint64, int) { return cell; };
        BeginCopyOfAll({60, true, {}});
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Log().isEmpty(); }, 20'000));
        EXPECT_EQ(TakeLog(), QStringList{refused});
        ExpectUntouched();
    }
}
