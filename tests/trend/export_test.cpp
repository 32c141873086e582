#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"
#include "trend/export/ValueTable.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr Micros Second = MicrosASecond;

/// A folder for tables, and what is asked for.
class ValueTableTest : public ::testing::Test
{
protected:
    ExportedPen& Add(const QString& item, PenKind kind, const QString& unit = {})
    {
        m_Order.Pens.push_back({.Settings = *PenOf(u"PLC1\\"_s + item), .Kind = kind});
        m_Order.Pens.back().Settings.Unit = unit;
        return m_Order.Pens.back();
    }
    WrittenTable Write(const HistoryRef& history = nullptr)
    {
        return WriteValueTable(m_Order, history, {[this] { return m_IsWanted; }, m_Tell});
    }
    QByteArray Bytes() const
    {
        QFile file(m_Order.Path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_Folder;
    ExportOrder m_Order{.Path = m_Folder.filePath(u"a.csv"_s), .Of = {0, 4 * Second}};
    bool m_IsWanted = true;
    std::function<void(Micros, qint64)> m_Tell = [](Micros, qint64) {};
};

void Execute(VelSQLHistory& history, const QString& statement)
{
    const ResultSetRef result = history.Execute(statement);
    while (!result->Progress().Complete) QThread::msleep(1);
    ASSERT_EQ(result->Progress().Failure, QString());
}

} // namespace

TEST_F(ValueTableTest, HoldsWhatWasHeardWhereThereIsNoHistory)
{
    ExportedPen& level = Add(u"Level, left"_s, PenKind::Numbers, u"m"_s);
    level.Held = Variant(1.5);
    level.Heard = {{Second, Variant(2.0)}, {Second, Variant(3.0)}, {5 * Second / 2, Variant(std::nan(""))}};
    Add(u"Pump"_s, PenKind::Boolean).Heard = {{Second, CellOf(Variant(1.0), true, PenKind::Boolean)}};
    Add(u"Message"_s, PenKind::Texts).Heard = {{2 * Second + 1, Variant(u"a \"b\""_s)}};
    const WrittenTable written = Write();
    EXPECT_EQ(Bytes(), QByteArray("Time,UTC,\"PLC1\\Level, left [m]\",PLC1\\Pump,PLC1\\Message\r\n"
                                  "1970-01-01 00:00:00.000,1970-01-01T00:00:00.000000Z,1.5,,\r\n"
                                  "1970-01-01 00:00:01.000,1970-01-01T00:00:01.000000Z,2,True,\r\n"
                                  "1970-01-01 00:00:01.000,1970-01-01T00:00:01.000000Z,3,,\r\n"
                                  "1970-01-01 00:00:02.000001,1970-01-01T00:00:02.000001Z,,,\"a \"\"b\"\"\"\r\n"
                                  "1970-01-01 00:00:02.500,1970-01-01T00:00:02.500000Z,NaN,,\r\n"));
    EXPECT_EQ(written.Rows, 5);
    EXPECT_EQ(written.Missing,
              (QStringList{u"PLC1\\Pump: nothing of it is recorded; what was heard begins at 1970-01-01 00:00:01"_s,
                           u"PLC1\\Message: nothing of it is recorded; what was heard begins at "
                           "1970-01-01 00:00:02.000001"_s}));
}

// Values in pairs of the same time, in pages of a few hundred and more; what the history does not have yet was heard.
TEST_F(ValueTableTest, HoldsEachRecordedValueOnceAndNoHalfFile)
{
    constexpr int Pairs = 3000;
    RealServer server;
    server.Start();
    RemoteLibrary library(server.SocketPath(), QString());
    const HistoryRef history = library.AttachEngine()->get_History();
    QStringList rows = {u"('PLC1','N','before','1971-01-01 00:00:00')"_s,
                        u"('PLC1','T','"_s + QString(2'000'000, u'x') + u"','1971-01-02 00:00:01')"_s};
    for (int i = 0; i < 2 * Pairs; ++i)
        rows << u"('PLC1','N','%1','1971-01-02 %2')"_s.arg(i).arg(QTime(0, 0).addSecs(i / 2).toString());
    for (int i = 0; i < 1000; ++i) rows << u"('PLC1','Many','%1','1971-01-02 01:00:00')"_s.arg(i); // fills a page
    Execute(*history, u"INSERT INTO velsql_history (controller_name, item_name, item_value, item_time) VALUES "_s +
                          rows.join(u','));
    const Micros begin = 366 * 86'400 * Second;
    m_Order.Of = {begin, begin + 86'400 * Second};
    Add(u"N"_s, PenKind::Numbers).Heard = {{begin + 5 * Second, Variant(0.0)}, {begin + 7200 * Second, Variant(-1.0)}};
    Add(u"T"_s, PenKind::Texts);
    Add(u"Many"_s, PenKind::Numbers);
    EXPECT_EQ(Write(history).Rows, 2 * Pairs + 1000 + 1);
    const QList<QByteArray> lines = Bytes().split('\n');
    for (int i = 0; i < 2 * Pairs; ++i) {
        const QList<QByteArray> cells = lines[i + 1].trimmed().split(',');
        ASSERT_EQ(cells[2].toInt(), i);
        ASSERT_EQ(cells[3].size(), i == 2 ? 2'000'000 : 0) << "whole texts";
    }
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(lines[2 * Pairs + 1 + i].trimmed().split(',')[4].toInt(), i);
    EXPECT_TRUE(lines[2 * Pairs + 1001].endsWith("T02:00:00.000000Z,-1,,\r"));

    m_Order.Of.From += 90 * Second + 1;
    const WrittenTable later = Write(history);
    const QString held = QString::fromUtf8(Bytes().left(150));
    EXPECT_TRUE(held.contains(QRegularExpression(u"T00:01:30.000001Z,18[01],xxx"_s))) << held.toStdString();
    EXPECT_EQ(later.Missing, QStringList());

    const QByteArray before = Bytes();
    m_Tell = [&](Micros, qint64) { m_IsWanted = false; };
    EXPECT_THROW(Write(history), ExportCancelled);
    m_IsWanted = true;
    m_Tell = [&](Micros, qint64 count) { count == 50 ? server.Kill() : void(); };
    EXPECT_THROW(Write(history), DescribedError);
    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(QDir(m_Folder.path()).entryList(QDir::Files).size(), 1);
}
